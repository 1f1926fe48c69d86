# SPDX-License-Identifier: Apache-2.0
lumenar_fault_test(size_limits_faults_test SOURCES size_limits_test.cpp)
