# SPDX-License-Identifier: Apache-2.0
lumenar_test(lifetime_faults_test
  SOURCES lifetime_faults_test.cpp
  LINK fault_rows math_test_support
  LABELS stress TIMEOUT 120)

add_executable(cycle_host cycle_host.cpp)
target_link_libraries(cycle_host PRIVATE lumenar::platform_base lumenar::platform_signals PkgConfig::omniORB ${CMAKE_DL_LIBS})

lumenar_fault_test(engine_faults_test SOURCES engine_faults_test.cpp LINK fault_traffic)
add_dependencies(engine_faults_test cycle_host)

# Its operator new fails on demand: a program of its own.
lumenar_test(no_memory_faults_test
  SOURCES no_memory_faults_test.cpp AllocationFault.cpp
  LINK fault_rows math_test_support
  LABELS stress TIMEOUT 120)
