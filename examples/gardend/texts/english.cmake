# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# Turns a dumped catalog of one-line messages into a list for C++ of {ID, TEXT}.
# Usage: cmake -P english.cmake DUMP LIST
file(READ ${CMAKE_ARGV3} dump)
string(REGEX REPLACE "(CATALOG|  SET) [^\n]*\n" "" messages "${dump}")
string(
    REGEX REPLACE "    __xmsg__\\((0x[0-9a-f]+)\\): \"([^\n]*)\"\n" "{\\1, R\"text(\\2)text\"},\n"
                  messages "${messages}"
)
file(WRITE ${CMAKE_ARGV4} "${messages}")
