# SPDX-License-Identifier: Apache-2.0
# Cross builds with Debian's compilers against the sysroot that scripts/arm-sysroot makes; to be included by the file of
# one processor, which sets LUMENAR_DEBIAN_ARCHITECTURE, LUMENAR_TRIPLET and LUMENAR_QEMU.
#
# Neither processor needs flags of its own for equal results: scalar and vector instructions of arm64 keep IEEE 754's rules,
# and Debian's armhf has no NEON, whose instructions would flush denormal numbers to zero.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${LUMENAR_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${LUMENAR_TRIPLET}-g++)

set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/sysroot/${LUMENAR_DEBIAN_ARCHITECTURE})
cmake_path(ABSOLUTE_PATH CMAKE_SYSROOT NORMALIZE)
if(NOT EXISTS ${CMAKE_SYSROOT}/packages)
  message(FATAL_ERROR "${CMAKE_SYSROOT} is not there: run scripts/arm-sysroot ${LUMENAR_DEBIAN_ARCHITECTURE}")
endif()

# Programs (omniidl, idlc) run here; everything else is the other processor's.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/${LUMENAR_TRIPLET}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)

set(CMAKE_CROSSCOMPILING_EMULATOR ${LUMENAR_QEMU} -L ${CMAKE_SYSROOT})
