# SPDX-License-Identifier: Apache-2.0
# A library that is put before all others cannot come before a sanitizer's, nor into an emulator: then there is no meter.
if(TARGET lumenar_sigrok_devices AND TARGET lumenar::serial_meter)
  lumenar_fault_test(sigrok_faults_test SOURCES sigrok_faults_test.cpp ProgramRun.cpp LINK lumenar::serial_meter)
  target_compile_definitions(sigrok_faults_test PRIVATE LUMENAR_EMULATOR="")
  add_dependencies(sigrok_faults_test lumenar_sigrok_devices sigrok_scan)
endif()
