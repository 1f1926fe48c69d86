# An engine library, loaded by engine_host: lumenar_engine_library(NAME SOURCES ... LINK ...).
#
# It exports the six symbols of an engine and nothing else, and stays mapped once loaded, because the ORB keeps
# pointers to the stubs that are linked into it.
function(lumenar_engine_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  set(exports ${CMAKE_SOURCE_DIR}/cmake/engine_exports.map)
  add_library(${name} SHARED ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE lumenar_flags ${ARG_LINK})
  target_link_options(${name} PRIVATE -Wl,--version-script=${exports} -Wl,-z,nodelete)
  set_target_properties(${name} PROPERTIES SOVERSION 1 VERSION 1 LINK_DEPENDS ${exports})
  install(TARGETS ${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()
