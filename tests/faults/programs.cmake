# SPDX-License-Identifier: Apache-2.0
lumenar_fault_test(programs_faults_test
  SOURCES bad_settings_faults.cpp signals_faults.cpp state_files_faults.cpp standard_output_faults.cpp ProgramRun.cpp)
list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
target_compile_definitions(programs_faults_test PRIVATE LUMENAR_EMULATOR="${emulator}")
add_dependencies(programs_faults_test math_web)
