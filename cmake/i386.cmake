# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# Where it lay before, for build folders that know that.
include(${CMAKE_CURRENT_LIST_DIR}/toolchains/i386.cmake)
