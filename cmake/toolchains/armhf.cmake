# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# 32-bit ARM with glibc, run by qemu-user.
include(${CMAKE_CURRENT_LIST_DIR}/private.cmake)
set(CMAKE_SYSTEM_PROCESSOR armv7)
use_private_toolchain(armhf arm-linux-gnueabihf)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm;-L;${zol_toolchain}/root/usr/arm-linux-gnueabihf)
# All is of one compiler: how older ones passed arguments does not matter.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
