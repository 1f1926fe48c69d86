# SPDX-License-Identifier: Apache-2.0
lumenar_fault_test(hostile_faults_test
  SOURCES hostile_any_test.cpp hostile_bytes_test.cpp mutated_streams_test.cpp DamagedRequests.cpp HostileMessages.cpp)
lumenar_fault_test(hostile_wire_faults_test SOURCES hostile_wire_test.cpp unread_answers_test.cpp WireAttacks.cpp Volley.cpp)
lumenar_fault_test(hostile_server_faults_test SOURCES hostile_server_test.cpp HostileServer.cpp)
