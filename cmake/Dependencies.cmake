# SPDX-License-Identifier: Apache-2.0
# Seen in the whole tree, also by a project around this one that links our libraries.
set(CMAKE_FIND_PACKAGE_TARGETS_GLOBAL ON)
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(Boost 1.74 REQUIRED COMPONENTS thread chrono system)
find_package(fmt REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(CLI11 REQUIRED)
pkg_check_modules(omniORB REQUIRED IMPORTED_TARGET GLOBAL omniORB4 omniDynamic4 omnithread4)
pkg_check_modules(libzstd REQUIRED IMPORTED_TARGET GLOBAL libzstd)
pkg_check_modules(libcrypto REQUIRED IMPORTED_TARGET GLOBAL libcrypto)
pkg_check_modules(minizip REQUIRED IMPORTED_TARGET GLOBAL minizip)
pkg_check_modules(libsigrok IMPORTED_TARGET GLOBAL libsigrok)  # one instrument's alone
find_package(CycloneDDS REQUIRED)
pkg_check_modules(MPFR REQUIRED IMPORTED_TARGET GLOBAL mpfr)
if(LUMENAR_BUILD_TESTS)
  find_package(GTest REQUIRED)
endif()
