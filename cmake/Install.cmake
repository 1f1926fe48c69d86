# SPDX-License-Identifier: Apache-2.0
# What `cmake --install` lays down besides programs and engine libraries: all that is needed to write a client or an
# instrument, the transport configuration, and the pages. The tree runs from wherever it is moved. Each piece names the
# component, which is a package of cmake/Packages.cmake, that it belongs to.
include(CMakePackageConfigHelpers)
include(PublicParts)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Lumenar)
set(header_dir ${CMAKE_INSTALL_INCLUDEDIR}/lumenar)
set(page_dir ${CMAKE_INSTALL_DATAROOTDIR}/doc/lumenar)
set(products_dir ${PROJECT_BINARY_DIR}/package)

# Libraries and headers, with the paths by which the code includes them: for clients the shared library, for instruments the
# static ones that become part of an engine library.
lumenar_public_libraries(libraries lumenar::instruments_common lumenar::local_arguments)
install(TARGETS ${libraries} lumenar_client_shared EXPORT LumenarTargets
  LIBRARY COMPONENT libraries NAMELINK_COMPONENT development ARCHIVE COMPONENT development)
get_target_property(client_headers lumenar_client_shared LUMENAR_PUBLIC_HEADERS)
file(GLOB instrument_headers RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/instruments/common/*.h
  ${PROJECT_SOURCE_DIR}/platform/components/*.h ${PROJECT_SOURCE_DIR}/platform/components/*/*.h)
lumenar_with_included_headers(headers ${client_headers} ${instrument_headers}
  platform/program/engine_entry.h platform/program/local_arguments.h)
# Whose types are the client library's promise (scripts/abi-check).
lumenar_with_included_headers(promised ${client_headers})
list(TRANSFORM promised PREPEND ${PROJECT_SOURCE_DIR}/)
file(GLOB idl_headers ${PROJECT_SOURCE_DIR}/idl/*.idl)
list(TRANSFORM idl_headers REPLACE ".*/(.*)\\.idl" "${PROJECT_BINARY_DIR}/idl/generated/\\1.hh")
list(JOIN promised "\n" promised)
list(JOIN idl_headers "\n" idl_headers)
file(WRITE ${PROJECT_BINARY_DIR}/public_headers "${promised}\n${idl_headers}\n")

foreach(header IN LISTS headers)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${header_dir}/${folder} COMPONENT development)
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/generated/platform/program/built_for.h DESTINATION ${header_dir}/platform/program
  COMPONENT development)
install(DIRECTORY ${PROJECT_BINARY_DIR}/idl/generated/ DESTINATION ${header_dir} COMPONENT development
  FILES_MATCHING PATTERN "*.hh")
install(DIRECTORY idl/ DESTINATION ${CMAKE_INSTALL_DATADIR}/idl/lumenar COMPONENT development
  FILES_MATCHING PATTERN "*.idl")

# For users of CMake.
install(EXPORT LumenarTargets NAMESPACE lumenar:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/LumenarConfig.cmake.in ${products_dir}/LumenarConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${products_dir}/LumenarConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${products_dir}/LumenarConfig.cmake ${products_dir}/LumenarConfigVersion.cmake
  cmake/EngineLibrary.cmake cmake/engine_exports.map instruments/common/entry_points.cpp DESTINATION ${package_dir} COMPONENT development)

# For users of pkg-config: to write a client, and to write an instrument.
file(RELATIVE_PATH pc_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
lumenar_pc_file(lumenar-client "Client of the math engine and its instruments"
  TARGETS lumenar_client_shared REQUIRES omniORB4 omnithread4 LINK -pthread)
lumenar_pc_file(lumenar-instrument "Instrument beside the math engine"
  TARGETS lumenar::instruments_common REQUIRES omniORB4 omniDynamic4 omnithread4 fmt LINK -lboost_thread -lboost_chrono -pthread)

# The transport configuration stands where the programs look for it: below the prefix where that is.
file(RELATIVE_PATH conf_dir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_SYSCONFDIR})
if(conf_dir MATCHES "^\\.\\.")
  set(conf_dir ${CMAKE_INSTALL_FULL_SYSCONFDIR})
endif()
install(FILES packaging/tcp.conf DESTINATION ${conf_dir}/lumenar COMPONENT tools)

# A platform by hand.
install(PROGRAMS scripts/platform DESTINATION ${CMAKE_INSTALL_BINDIR} RENAME lumenar COMPONENT services)

# Pages of the manual. Packages have pages with the help of each verb, which are made when the programs can be run.
if(NOT LUMENAR_PACKAGES)
  if(NOT TARGET sigrok_scan)
    set(without_sigrok PATTERN sigrok_scan.1 EXCLUDE)
  endif()
  install(DIRECTORY packaging/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 FILES_MATCHING PATTERN "*.1" ${without_sigrok})
endif()

# Licence and pages, side by side as in the source tree, so that their links hold.
install(FILES LICENSE README.md CHANGELOG.md DESTINATION ${page_dir} COMPONENT documentation)
install(FILES tools/mathctl/README.md DESTINATION ${page_dir}/tools/mathctl COMPONENT documentation)
install(DIRECTORY docs/ DESTINATION ${page_dir}/docs COMPONENT documentation)
install(DIRECTORY examples DESTINATION ${page_dir} COMPONENT development)

include(SystemdUnits)
include(Packages)
