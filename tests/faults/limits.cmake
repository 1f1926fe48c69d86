# SPDX-License-Identifier: Apache-2.0
lumenar_fault_test(limits_faults_test
  SOURCES system_limits_test.cpp access_test.cpp exposure_test.cpp ForeignUser.cpp ListeningSockets.cpp NetworkNamespace.cpp
    remote_client_test.cpp)
