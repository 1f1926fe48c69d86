lumenar_fault_test(hostile_faults_test
  SOURCES hostile_any_test.cpp hostile_bytes_test.cpp HostileMessages.cpp HostileTargets.cpp ProcessFigures.cpp
          ${CMAKE_SOURCE_DIR}/tests/unit/platform/orb/RawClient.cpp ${CMAKE_SOURCE_DIR}/tests/unit/platform/orb/Wire.cpp)
