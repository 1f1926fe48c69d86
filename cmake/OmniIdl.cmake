# SPDX-License-Identifier: Apache-2.0
# Stubs, skeletons and any support of the IDL files, generated into the build tree: lumenar_idl_library(NAME FILES ...)
# makes the target lumenar_NAME, linked as lumenar::NAME.
find_program(OMNIIDL omniidl REQUIRED)
find_path(OMNIORB_IDL_DIR corbaidl.idl PATHS /usr/share/idl/omniORB REQUIRED NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)

function(lumenar_idl_library name)
  cmake_parse_arguments(ARG "" "" "FILES" ${ARGN})
  set(out ${CMAKE_CURRENT_BINARY_DIR}/generated)
  file(MAKE_DIRECTORY ${out})
  # omniidl names a header after each included file; the ORB keeps this one's declarations in CORBA.h.
  file(CONFIGURE OUTPUT ${out}/corbaidl.hh CONTENT "#include <omniORB4/CORBA.h>\n")
  set(sources)
  foreach(file IN LISTS ARG_FILES)
    get_filename_component(stem ${file} NAME_WE)
    set(products ${out}/${stem}.hh ${out}/${stem}SK.cc ${out}/${stem}DynSK.cc)
    list(TRANSFORM ARG_FILES PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/ OUTPUT_VARIABLE all_idl)
    add_custom_command(
      OUTPUT ${products}
      COMMAND ${OMNIIDL} -bcxx -Wba -I${OMNIORB_IDL_DIR} -I${CMAKE_CURRENT_SOURCE_DIR} -C${out}
              ${CMAKE_CURRENT_SOURCE_DIR}/${file}
      DEPENDS ${all_idl}
      COMMENT "omniidl ${file}"
      VERBATIM)
    list(APPEND sources ${products})
  endforeach()
  set(target lumenar_${name})
  add_custom_target(${target}_sources DEPENDS ${sources})
  add_dependencies(lumenar_generated_sources ${target}_sources)
  add_library(${target} STATIC ${sources})
  set_target_properties(${target} PROPERTIES
    UNITY_BUILD OFF EXPORT_NAME ${name} CXX_VISIBILITY_PRESET default)  # generated files share names
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_include_directories(${target} SYSTEM PUBLIC
    $<BUILD_INTERFACE:${out}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/lumenar>)
  target_link_libraries(${target} PUBLIC PkgConfig::omniORB)
  add_library(lumenar::${name} ALIAS ${target})
endfunction()
