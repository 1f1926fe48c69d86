# SPDX-License-Identifier: Apache-2.0
# The units of a service manager, and the settings files of the engines that it starts. What all units say stands once,
# in packaging/systemd: running.conf and hardening.conf.
#
# They name programs where those are installed for good, so they are part of packages and not of a tree that is moved.
option(LUMENAR_PACKAGES "Install what packages of this system need besides: units, manual pages, completion" OFF)
set(sysconf_dir ${CMAKE_INSTALL_FULL_SYSCONFDIR})
foreach(part IN ITEMS running hardening)
  file(READ packaging/systemd/${part}.conf ${part})
  string(REGEX REPLACE "^# SPDX[^\n]*\n" "" ${part} "${${part}}")
endforeach()
set(units_dir ${PROJECT_BINARY_DIR}/units)
file(GLOB units RELATIVE ${PROJECT_SOURCE_DIR}/packaging/systemd CONFIGURE_DEPENDS packaging/systemd/*.service.in)
foreach(unit IN LISTS units)
  string(REPLACE ".in" "" name ${unit})
  configure_file(packaging/systemd/${unit} ${units_dir}/${name} @ONLY)
endforeach()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  packaging/systemd/running.conf packaging/systemd/hardening.conf)
configure_file(packaging/systemd/lumenar.target ${units_dir}/lumenar.target COPYONLY)
if(NOT LUMENAR_PACKAGES)
  return()
endif()
install(DIRECTORY ${units_dir}/ DESTINATION lib/systemd/system COMPONENT services)

# lumenar_settings_files(COMPONENT FILES...): settings that belong to the administrator once they are installed.
function(lumenar_settings_files component)
  set(installed)
  foreach(file IN LISTS ARGN)
    get_filename_component(name ${file} NAME)
    install(FILES ${file} DESTINATION ${conf_dir}/lumenar COMPONENT ${component})
    string(APPEND installed "${CMAKE_INSTALL_FULL_SYSCONFDIR}/lumenar/${name}\n")
  endforeach()
  file(WRITE ${PROJECT_BINARY_DIR}/package_files/${component}/conffiles "${installed}")
endfunction()
file(GLOB engine_settings CONFIGURE_DEPENDS packaging/engine-*.conf)
set(sigrok_settings ${engine_settings})
list(FILTER sigrok_settings INCLUDE REGEX "engine-sigrok")
list(FILTER engine_settings EXCLUDE REGEX "engine-sigrok")
lumenar_settings_files(instruments ${engine_settings})
if(TARGET sigrok_devices)
  lumenar_settings_files(sigrok ${sigrok_settings})
endif()
