# SPDX-License-Identifier: Apache-2.0
# How engine libraries are made, in this tree and in projects that use the installed package. Properties and not
# variables tell the functions what they need: whoever calls them has variables of his own.

include(CheckLinkerFlag)

# lumenar_engine_library_settings(VERSION, SOURCE of the entry points of instruments): once, before the functions.
macro(lumenar_engine_library_settings version entry_points)
  set_property(GLOBAL PROPERTY LUMENAR_VERSION ${version})
  set_property(GLOBAL PROPERTY LUMENAR_ENTRY_POINTS ${entry_points})
endmacro()

# An engine library, loaded by engine_host: lumenar_engine_library(NAME SOURCES ... LINK ... [COMPONENT of installing]).
#
# It exports the six symbols of an engine and nothing else, and stays mapped once loaded, because the ORB keeps
# pointers to the stubs that are linked into it.
function(lumenar_engine_library name)
  cmake_parse_arguments(ARG "" "COMPONENT" "SOURCES;LINK" ${ARGN})
  if(NOT ARG_COMPONENT)
    set(ARG_COMPONENT instruments)
  endif()
  get_property(version GLOBAL PROPERTY LUMENAR_VERSION)
  string(REGEX MATCH "^[0-9]+" so_version ${version})
  set(exports ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/engine_exports.map)
  add_library(${name} SHARED ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE lumenar::flags lumenar::local_arguments ${ARG_LINK})
  target_link_options(${name} PRIVATE -Wl,--version-script=${exports} -Wl,-z,nodelete -Wl,--gc-sections)
  # Most of its relocations are addresses of its own, in tables of virtual functions: packed, 300 kB less are read at start.
  check_linker_flag(CXX -Wl,--fatal-warnings,-z,pack-relative-relocs LUMENAR_PACKS_RELOCATIONS)
  if(LUMENAR_PACKS_RELOCATIONS)
    target_link_options(${name} PRIVATE -Wl,-z,pack-relative-relocs)
  endif()
  set_target_properties(${name} PROPERTIES
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
    SOVERSION ${so_version} VERSION ${version} INSTALL_RPATH "$ORIGIN" LINK_DEPENDS ${exports})
  install(TARGETS ${name} LIBRARY COMPONENT ${ARG_COMPONENT} NAMELINK_SKIP)
endfunction()

# The engine library of an instrument, libNAME.so: lumenar_instrument(NAME SOURCES ... LINK ... [TARGET target]
# [COMPONENT of installing]). The target is called as the library where none is given. One of the sources defines
# ThisInstrument(), which says what instrument it is.
function(lumenar_instrument name)
  cmake_parse_arguments(ARG "" "TARGET;COMPONENT" "SOURCES;LINK" ${ARGN})
  if(NOT ARG_TARGET)
    set(ARG_TARGET ${name})
  endif()
  get_property(entry_points GLOBAL PROPERTY LUMENAR_ENTRY_POINTS)
  lumenar_engine_library(${ARG_TARGET} SOURCES ${ARG_SOURCES} ${entry_points} LINK lumenar::instruments_common ${ARG_LINK}
    COMPONENT ${ARG_COMPONENT})
  target_compile_definitions(${ARG_TARGET} PRIVATE LUMENAR_ENGINE_FILE="./${name}.engine")
  set_target_properties(${ARG_TARGET} PROPERTIES OUTPUT_NAME ${name})
endfunction()
