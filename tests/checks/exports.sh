#!/bin/sh
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# The names that a library exports are those of its lists, no more and no fewer.
# usage: exports.sh LIBRARY LIST...
set -eu
library=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Without the symbol versions, and with types that differ between word sizes (size_t) folded; FILE
# is another struct for uClibc.
nm -D --defined-only "$library" | sed -n 's/.* [A-Za-z] //p' | sed 's/@.*//' | c++filt |
    sed 's/\<__STDIO_FILE_STRUCT\>/_IO_FILE/g' |
    grep -v '^[A-Z_]*_[0-9.]*$' | LC_ALL=C sort -u >"$work/exported"
grep -hv '^#' "$@" | LC_ALL=C sort -u >"$work/listed"
[ -s "$work/listed" ]
diff -u "$work/listed" "$work/exported"
echo "$(wc -l <"$work/listed") names, as listed"
