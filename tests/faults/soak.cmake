# SPDX-License-Identifier: Apache-2.0
lumenar_fault_test(soak_faults_test SOURCES soak_faults.cpp no_loss_faults.cpp LINK fault_traffic)
