# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# Turns a dumped catalog of one-line messages into a list for C++ of {ID, TEXT}.
# Usage: cmake -P english.cmake DUMP LIST
file(READ ${CMAKE_ARGV3} dump)
if(dump MATCHES "\\)text\"[^\n]")
    message(FATAL_ERROR "A message has )text\" in it, which ends the string where it would stand")
endif()

# A line is known by the line end before it: its text may look like another line.
string(REGEX REPLACE "\n$" "" lines "\n${dump}")
string(REGEX REPLACE "\n(CATALOG|  SET) [^\n]*" "" lines "${lines}")
string(
    REGEX REPLACE "\n    __xmsg__\\((0x[0-9a-f]+)\\): \"([^\n]*)\"" "{\\1, R\"text(\\2)text\"},\n"
                  lines "${lines}"
)
if(lines MATCHES "(^|\n)\n([^\n]*)")
    message(FATAL_ERROR "This is not a message of one line: ${CMAKE_MATCH_2}")
endif()
file(WRITE ${CMAKE_ARGV4} "${lines}")
