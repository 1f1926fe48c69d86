# SPDX-License-Identifier: Apache-2.0
set(LUMENAR_NAMING_HOST "127.0.0.1" CACHE STRING "Host of the naming service that engines and programs are built for")
set(LUMENAR_TRANSPORT_CONF "${CMAKE_INSTALL_FULL_SYSCONFDIR}/lumenar/tcp.conf" CACHE STRING
  "Transport configuration file that engines and programs are built for")

# For targets with LUMENAR_LOCAL_ARGUMENTS, the argument list of their ORB.
add_library(local_arguments INTERFACE)
target_compile_definitions(local_arguments INTERFACE
  LUMENAR_NAMING_HOST="${LUMENAR_NAMING_HOST}" LUMENAR_TRANSPORT_CONF="${LUMENAR_TRANSPORT_CONF}")

# A property and not a variable: whoever calls the function has variables of his own.
set_property(GLOBAL PROPERTY LUMENAR_VERSION ${PROJECT_VERSION})

# An engine library, loaded by engine_host: lumenar_engine_library(NAME SOURCES ... LINK ...).
#
# It exports the six symbols of an engine and nothing else, and stays mapped once loaded, because the ORB keeps
# pointers to the stubs that are linked into it.
function(lumenar_engine_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  get_property(version GLOBAL PROPERTY LUMENAR_VERSION)
  string(REGEX MATCH "^[0-9]+" so_version ${version})
  set(exports ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/engine_exports.map)
  add_library(${name} SHARED ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE lumenar_flags local_arguments ${ARG_LINK})
  target_link_options(${name} PRIVATE -Wl,--version-script=${exports} -Wl,-z,nodelete)
  set_target_properties(${name} PROPERTIES SOVERSION ${so_version} VERSION ${version} LINK_DEPENDS ${exports})
  install(TARGETS ${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()
