# SPDX-License-Identifier: Apache-2.0
# One INTERFACE target carries the flags of every target of ours.
#
# -ffp-contract=off: a fused multiply-add would give other bits on processors that have one.
# -fno-semantic-interposition: a function may be inlined although a shared library may show it; nobody replaces ours.
add_library(lumenar_flags INTERFACE)
target_compile_features(lumenar_flags INTERFACE cxx_std_20)
if(PROJECT_IS_TOP_LEVEL)  # a project around this one has warnings of its own
  target_compile_options(lumenar_flags INTERFACE
    "$<BUILD_INTERFACE:-Wall;-Wextra;-Wshadow;-Wnon-virtual-dtor>")
endif()
target_compile_options(lumenar_flags INTERFACE -ffp-contract=off -fno-strict-aliasing -fno-semantic-interposition)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)  # files beyond 2 GiB, and file systems whose numbers need 64 bits
  target_compile_definitions(lumenar_flags INTERFACE $<BUILD_INTERFACE:_FILE_OFFSET_BITS=64>)
endif()
target_include_directories(lumenar_flags INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/lumenar>)
set_target_properties(lumenar_flags PROPERTIES EXPORT_NAME flags)
add_library(lumenar::flags ALIAS lumenar_flags)

option(LUMENAR_WERROR "Treat warnings as errors" OFF)
if(LUMENAR_WERROR)
  target_compile_options(lumenar_flags INTERFACE $<BUILD_INTERFACE:-Werror>)
endif()
set(LUMENAR_SANITIZE "" CACHE STRING "Sanitizers, as given to -fsanitize=")
if(LUMENAR_SANITIZE)
  add_compile_options(-fsanitize=${LUMENAR_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${LUMENAR_SANITIZE})
  if(LUMENAR_SANITIZE MATCHES "undefined" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # As a shared library beside that of the address sanitizer it writes to standard error alone, whatever log_path says.
    add_link_options(-static-libubsan)
  endif()
endif()
option(LUMENAR_FUZZ "Build the fuzz programs (clang)" OFF)
if(LUMENAR_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link -fno-sanitize-recover=all)
else()
  # Clang leaves the sanitizers' own symbols to the program, so its sanitized libraries have undefined ones.
  target_link_options(lumenar_flags INTERFACE $<BUILD_INTERFACE:-Wl,--no-undefined>)
endif()

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# What a shared library shows, its map of exports says. Static libraries leave that to whoever links them.
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

# Several files to a translation unit: what they include is read once, which halves the time of a build. The `clang` preset
# compiles each file by itself, so each still includes what it uses.
option(LUMENAR_UNITY "Compile several files of a target as one" OFF)
set(CMAKE_UNITY_BUILD ${LUMENAR_UNITY})
if(LUMENAR_UNITY AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options(-Wno-subobject-linkage)  # each .cpp seems to be a header then
endif()
set(CMAKE_UNITY_BUILD_BATCH_SIZE 8)

find_program(LUMENAR_CCACHE ccache)
if(LUMENAR_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${LUMENAR_CCACHE})
endif()

# A static library of one folder: lumenar_folder_library(NAME SOURCES ... LINK ...). Its target is lumenar_NAME, since a
# project around this one may have a NAME of its own; it is linked as lumenar::NAME, here and where it is installed.
function(lumenar_folder_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  set(target lumenar_${name})
  if(ARG_SOURCES)
    add_library(${target} STATIC ${ARG_SOURCES})
    set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET default)
    target_link_libraries(${target} PUBLIC lumenar_flags ${ARG_LINK})
  else()
    add_library(${target} INTERFACE)
    target_link_libraries(${target} INTERFACE lumenar_flags ${ARG_LINK})
  endif()
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
  add_library(lumenar::${name} ALIAS ${target})
endfunction()
