# SPDX-License-Identifier: Apache-2.0
# One test program: lumenar_test(NAME SOURCES ... LINK ... [LABELS ...] [SERIAL] [TIMEOUT seconds]). Its label is unit unless
# it has others.
include(GoogleTest)

# The test programs without the labels of those that start whole systems of processes: what scripts/test-sanitizers builds.
add_custom_target(tests_without_systems)
# Those of the label unit: what scripts/test --quick builds.
add_custom_target(unit_tests)

function(lumenar_test name)
  cmake_parse_arguments(ARG "SERIAL" "TIMEOUT" "SOURCES;LINK;LABELS" ${ARGN})
  if(NOT ARG_LABELS)
    set(ARG_LABELS unit)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE lumenar_flags ${ARG_LINK} GTest::gmock GTest::gtest_main)
  if(ARG_LABELS STREQUAL unit)
    add_dependencies(unit_tests ${name})
  endif()
  if(NOT "${ARG_LABELS}" MATCHES "system|fault|model")
    add_dependencies(tests_without_systems ${name})
  endif()
  set(properties)
  if(ARG_SERIAL)
    list(APPEND properties RUN_SERIAL ON)
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  if(CMAKE_CROSSCOMPILING OR LUMENAR_SANITIZE)  # under an emulator, or with checks in every access
    math(EXPR ARG_TIMEOUT "${ARG_TIMEOUT} * 10")
  endif()
  gtest_discover_tests(${name}
    DISCOVERY_MODE PRE_TEST
    PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}" ${properties})
endfunction()
