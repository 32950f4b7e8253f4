# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# 32-bit x86 on a 64-bit Debian host. The -isystem makes it work with the versioned multilib
# package too (g++-12-multilib), which lacks the link to the asm headers but can stand beside
# cross compilers.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_FLAGS_INIT "-m32 -isystem /usr/include/x86_64-linux-gnu")
set(CMAKE_CXX_FLAGS_INIT "-m32 -isystem /usr/include/x86_64-linux-gnu")
# Programs run as they are; "env" makes CMake treat the build as one that can be tested.
set(CMAKE_CROSSCOMPILING_EMULATOR env)
