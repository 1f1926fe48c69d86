# SPDX-License-Identifier: Apache-2.0
# What stands in packages besides what is installed everywhere: copyright and changelog of each, scripts of the package
# manager, manual pages and completion.
find_program(GZIP gzip REQUIRED)
find_program(HELP2MAN help2man REQUIRED)
set(package_release 1)
set(package_dir_of ${PROJECT_BINARY_DIR}/package_files)

# lumenar_compressed(INPUT OUTPUT): as the package manager's rules want it, without a time.
function(lumenar_compressed input output)
  execute_process(COMMAND ${GZIP} -9nc ${input} OUTPUT_FILE ${output} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

configure_file(packaging/debian/changelog.in ${package_dir_of}/changelog @ONLY)
lumenar_compressed(${package_dir_of}/changelog ${package_dir_of}/changelog.Debian.gz)

# lumenar_package_files(COMPONENT PACKAGE): its copyright and its changelog, and its scripts where it has any. One that carries what is others'
# has a copyright of its own.
function(lumenar_package_files component package)
  set(copyright packaging/debian/copyright)
  if(EXISTS ${PROJECT_SOURCE_DIR}/packaging/debian/${component}/copyright)
    set(copyright packaging/debian/${component}/copyright)
  endif()
  install(FILES ${copyright} ${package_dir_of}/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
  file(GLOB scripts CONFIGURE_DEPENDS packaging/debian/${component}/*)
  foreach(script IN LISTS scripts)
    get_filename_component(name ${script} NAME)
    if(name STREQUAL copyright)
      continue()
    endif()
    configure_file(${script} ${package_dir_of}/${component}/${name} @ONLY)
    if(NOT name MATCHES "conffiles|triggers")
      file(CHMOD ${package_dir_of}/${component}/${name} PERMISSIONS
        OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    endif()
  endforeach()
endfunction()

# Manual pages come from what the programs say of themselves.
set(manual_pages)
function(lumenar_manual_page program component summary)
  set(page ${package_dir_of}/${program}.1.gz)
  set(run ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${program}>)
  set(depends ${program})
  if(NOT TARGET ${program})
    set(run ${ARGN})
    set(depends ${ARGN})
  endif()
  add_custom_command(OUTPUT ${page}
    COMMAND ${PROJECT_SOURCE_DIR}/packaging/manual-page ${page} ${program} ${PROJECT_VERSION} ${summary} ${run}
    DEPENDS ${depends} ${PROJECT_SOURCE_DIR}/packaging/manual-page VERBATIM)
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${component})
  set(manual_pages ${manual_pages} ${page} PARENT_SCOPE)
endfunction()
# Of programs that are not built everywhere.
if(TARGET math_web)
  lumenar_manual_page(math_web services "shows readings and math objects in a browser")
endif()
if(TARGET scpi_scan)
  lumenar_manual_page(scpi_scan instruments "asks the instrument at an address who it is")
endif()
if(TARGET sigrok_scan)
  lumenar_manual_page(sigrok_scan sigrok "looks for devices that libsigrok has a driver for")
endif()
lumenar_manual_page(mathctl tools "shows readings and works with math objects")
lumenar_manual_page(engine_host services "runs an engine library")
lumenar_manual_page(topic_manager services "delivers samples to subscribers")
lumenar_manual_page(hw_enumeration services "tracks which engines have started")
lumenar_manual_page(lumenar services "a platform of the math engine by hand" ${PROJECT_SOURCE_DIR}/scripts/platform)

# Completion, as the command line itself gives it.
set(completion ${package_dir_of}/completion)
add_custom_command(OUTPUT ${completion}/bash ${completion}/zsh
  COMMAND ${PROJECT_SOURCE_DIR}/packaging/completion ${completion} ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:mathctl>
  DEPENDS mathctl ${PROJECT_SOURCE_DIR}/packaging/completion VERBATIM)
install(FILES ${completion}/bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME mathctl
  COMPONENT tools)
install(FILES ${completion}/zsh DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions RENAME _mathctl
  COMPONENT tools)
install(FILES packaging/lumenar.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME lumenar
  COMPONENT services)
add_custom_target(package_files ALL DEPENDS ${manual_pages} ${completion}/bash ${completion}/zsh)
