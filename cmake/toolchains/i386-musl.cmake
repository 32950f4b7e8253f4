# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# 32-bit x86 with musl. Programs name the loader in the toolchain's folder and run as they are;
# "env" makes CMake treat the build as one that can be tested.
include(${CMAKE_CURRENT_LIST_DIR}/private.cmake)
set(CMAKE_SYSTEM_PROCESSOR i686)
use_private_toolchain(i386-musl i686-linux-musl)
set(CMAKE_CROSSCOMPILING_EMULATOR env)
