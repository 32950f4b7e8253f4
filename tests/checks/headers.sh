#!/bin/sh
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# Each public header compiles alone, as C99 and as C++17, with every warning an error.
# usage: headers.sh SOURCE_DIR CC CXX FLAGS...
set -eu
source=$1 cc=$2 cxx=$3
shift 3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
warnings="-Wall -Wextra -Wpedantic -pedantic-errors -Wundef -Wshadow -Wstrict-aliasing -Werror"
count=0
for header in "$source"/include/zol/*.h "$source"/platform/*/include/*/*.h; do
    name=$(basename "$(dirname "$header")")/$(basename "$header")
    includes="-I$source/include"
    for service in "$source"/platform/*/include; do
        includes="$includes -I$service"
    done
    # Twice: the guard works. The unit is not empty even where a header has nothing for C.
    printf '#include "%s"\n#include "%s"\nextern int unused;\n' "$name" "$name" >"$work/unit.c"
    cp "$work/unit.c" "$work/unit.cc"
    # shellcheck disable=SC2086 # lists of flags
    "$cc" "$@" -std=c99 -D_POSIX_C_SOURCE=200809L $warnings $includes -fsyntax-only "$work/unit.c"
    # shellcheck disable=SC2086
    "$cxx" "$@" -std=c++17 $warnings $includes -fsyntax-only "$work/unit.cc"
    # shellcheck disable=SC2086
    "$cxx" "$@" -std=c++17 -fno-exceptions -fno-rtti $warnings $includes -fsyntax-only "$work/unit.cc"
    count=$((count + 1))
done
[ "$count" -ge 14 ]
echo "$count headers compile alone"
