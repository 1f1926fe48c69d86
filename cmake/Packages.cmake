# SPDX-License-Identifier: Apache-2.0
# Debian packages, one for each component: `cpack -G DEB` in a build with LUMENAR_PACKAGES, as scripts/package makes it.
if(NOT LUMENAR_PACKAGES)
  return()
endif()
include(PackageFiles)

get_cmake_property(CPACK_COMPONENTS_ALL COMPONENTS)
list(REMOVE_ITEM CPACK_COMPONENTS_ALL Unspecified)
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_PACKAGE_NAME lumenar)
set(CPACK_PACKAGE_CONTACT "The maintainers of lumenar <maintainers@lumenar.example>")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${package_release})
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# Of others who link the client library: a later version serves them, too. Ours name the same version besides.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_CROSSCOMPILING)
  # This machine's package database does not know the other processor's libraries. They have the same names, which
  # scripts/package makes sure of, and the packages for this processor tell their versions.
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${LUMENAR_DEBIAN_ARCHITECTURE})
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
endif()

set(same_version "(= ${PROJECT_VERSION}-${package_release})")
set(math_library liblumenar-math${PROJECT_VERSION_MAJOR})

# lumenar_package(COMPONENT NAME SUMMARY MORE [DEPENDS ...] [RECOMMENDS ...] [SECTION s] [CONTROL files...])
macro(lumenar_package component name summary more)
  cmake_parse_arguments(ARG "" "SECTION" "DEPENDS;RECOMMENDS;CONTROL" ${ARGN})
  string(TOUPPER ${component} upper)
  list(JOIN ARG_DEPENDS ", " depends)
  if(CMAKE_CROSSCOMPILING AND LUMENAR_NATIVE_DEPENDS_${component})
    set(depends "${LUMENAR_NATIVE_DEPENDS_${component}}")
  endif()
  list(JOIN ARG_RECOMMENDS ", " recommends)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${depends}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_RECOMMENDS "${recommends}")
  set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA "${ARG_CONTROL}")
  set(CPACK_COMPONENT_${upper}_DESCRIPTION "${summary}\n${more}")
  if(ARG_SECTION)
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${ARG_SECTION})
  endif()
  lumenar_package_files(${component} ${name})
endmacro()

lumenar_package(libraries ${math_library} "math engine for measuring instruments"
  "An engine library that computes differences, averages, peaks and sums of live\nmeasurements, with units and decibels; and the library of its clients."
  SECTION libs CONTROL ${package_dir_of}/libraries/triggers)
lumenar_package(development liblumenar-dev "clients and instruments of the math engine, development"
  "Headers, libraries, IDL, CMake and pkg-config files and examples for who\nwrites a client or an instrument."
  SECTION libdevel
  DEPENDS "${math_library} ${same_version}" libomniorb4-dev libboost-dev libboost-thread-dev libfmt-dev)
lumenar_package(tools lumenar-tools "command line of the math engine"
  "Shows readings of instruments, and creates, watches and removes math objects\nover them."
  DEPENDS "${math_library} ${same_version}" RECOMMENDS gnuplot-nox graphviz CONTROL ${package_dir_of}/tools/conffiles)
set(services_control ${package_dir_of}/services/postinst ${package_dir_of}/services/prerm ${package_dir_of}/services/postrm)
if(TARGET math_web)
  list(APPEND services_control ${package_dir_of}/services/conffiles)
endif()
lumenar_package(services lumenar-services "math engine of an instrument, as services"
  "The engine host, the topic manager, the hardware enumeration and a page for\nbrowsers, with units of the service manager; and the command lumenar, a platform\nby hand."
  DEPENDS "${math_library} ${same_version}" "lumenar-tools ${same_version}" omniorb-nameserver
    "init-system-helpers (>= 1.54)"
  RECOMMENDS "lumenar-instruments ${same_version}"
  CONTROL ${services_control})
lumenar_package(instruments lumenar-instruments "instruments for the math engine"
  "Engine libraries that supply readings: of this machine (probe), of recordings\n(replay), of a simulation (sim), of instruments that speak SCPI (scpi)."
  DEPENDS "${math_library} ${same_version}" "lumenar-services ${same_version}"
  RECOMMENDS python3:any  # of the server that plays instruments, for who has none
  CONTROL ${package_dir_of}/instruments/conffiles ${package_dir_of}/instruments/triggers
    ${package_dir_of}/instruments/prerm ${package_dir_of}/instruments/postrm)
if(sigrok IN_LIST CPACK_COMPONENTS_ALL)
  # libsigrok is under the GNU General Public License; nothing else of ours loads it.
  lumenar_package(sigrok lumenar-instrument-sigrok "instrument for devices that libsigrok supports"
    "An engine library that supplies readings of multimeters, oscilloscopes and\nother devices with drivers of libsigrok."
    DEPENDS "${math_library} ${same_version}" "lumenar-services ${same_version}"
    CONTROL ${package_dir_of}/sigrok/conffiles ${package_dir_of}/sigrok/triggers
      ${package_dir_of}/sigrok/prerm ${package_dir_of}/sigrok/postrm)
endif()
lumenar_package(documentation lumenar-doc "pages on the math engine"
  "What results mean, the interfaces, how clients and instruments are written, and\nhow the system is run."
  SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
if(python IN_LIST CPACK_COMPONENTS_ALL)
  lumenar_package(python python3-lumenar "Python package for clients of the math engine"
    "Readings as numpy arrays, math objects that go with their block, and publishing\nreadings of one's own."
    SECTION python DEPENDS "${math_library} ${same_version}" "python3 (>= 3.11), python3 (<< 3.12)" python3-numpy
    CONTROL ${package_dir_of}/python/postinst ${package_dir_of}/python/prerm)
endif()
include(CPack)
