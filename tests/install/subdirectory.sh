#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# A project that takes this one in with add_subdirectory gets its targets and functions, and keeps its own settings and the
# short names: libraries here are called lumenar_NAME.
# Usage: subdirectory.sh SOURCE_DIRECTORY BUILD_DIRECTORY
set -euo pipefail
source=$1
# shellcheck source=scripts/lib.sh
. "$source/scripts/lib.sh"
clean_up_at_end
make_private_directory lumenar-subdirectory

cat >"$private_directory/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.25)
project(outside VERSION 7.8 LANGUAGES CXX)
foreach(name IN ITEMS client value judge recording topics probe replay sim)
  add_custom_target(\${name})
endforeach()
add_subdirectory($source inside)
add_executable(follower $source/examples/follow_average.cpp)
target_link_libraries(follower PRIVATE Lumenar::client)
lumenar_instrument(meter SOURCES $source/examples/load_meter.cpp)
get_target_property(version meter VERSION)
if(CMAKE_BUILD_TYPE OR CMAKE_CXX_VISIBILITY_PRESET OR TARGET system_test OR version STREQUAL PROJECT_VERSION)
  message(FATAL_ERROR "settings of one project in the other")
endif()

# The math engine is called as its file, which is given.
function(check_names folder)
  get_property(targets DIRECTORY \${folder} PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(type \${target} TYPE)
    if(NOT target MATCHES "^lumenar_|^math_factory_hh$" AND type MATCHES "LIBRARY")
      message(SEND_ERROR "library \${target} may clash with a target of the project around")
    endif()
  endforeach()
  get_property(folders DIRECTORY \${folder} PROPERTY SUBDIRECTORIES)
  foreach(inner IN LISTS folders)
    check_names(\${inner})
  endforeach()
endfunction()
check_names($source)
END
step "$private_directory/configure.log" \
  cmake -G Ninja -S "$private_directory" -B "$private_directory/build"

# All commands can be had; building them takes minutes, and is the same as in the tree itself.
ninja -C "$private_directory/build" -t commands follower meter >"$private_directory/commands"
grep -q -e ' -o follower ' "$private_directory/commands"
grep -q -e ' -o libmeter\.so' "$private_directory/commands"
if grep -q -e -Wshadow "$private_directory/commands"; then
  echo "our warnings are switched on in the project around"
  exit 1
fi
