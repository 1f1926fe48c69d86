# SPDX-License-Identifier: Apache-2.0
# 64-bit ARM, Debian's arm64.
set(LUMENAR_DEBIAN_ARCHITECTURE arm64)
set(LUMENAR_TRIPLET aarch64-linux-gnu)
set(LUMENAR_QEMU qemu-aarch64)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
