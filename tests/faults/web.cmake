# SPDX-License-Identifier: Apache-2.0
lumenar_fault_test(web_faults_test SOURCES web_faults.cpp LINK web_rig)
add_dependencies(web_faults_test math_web)
