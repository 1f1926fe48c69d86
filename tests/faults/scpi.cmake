# SPDX-License-Identifier: Apache-2.0
lumenar_fault_test(scpi_faults_test SOURCES scpi_faults_test.cpp LINK scpi_fixture)
