# SPDX-License-Identifier: Apache-2.0
# 32-bit ARM with floating-point registers, Debian's armhf: ARMv7 with VFPv3-D16.
set(LUMENAR_DEBIAN_ARCHITECTURE armhf)
set(LUMENAR_TRIPLET arm-linux-gnueabihf)
set(LUMENAR_QEMU qemu-arm)
set(CMAKE_SYSTEM_PROCESSOR armv7)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
