#!/bin/bash
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# The examples of the manual page zol(3), as somebody has them who has the pages and the installed
# package, and nothing else: the programs are taken from the page, and each command that it shows
# answers what it shows.
# usage: manual_test.sh [BUILD_DIR SOURCE_DIR]
# With these the library and its pages are installed into a stage first.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

if (($# == 2)); then
    cmake --install "$1" --prefix "$work/stage" >/dev/null
    "$2/docs/reference/make.py" "$2" "$work" >/dev/null
    PKG_CONFIG_PATH=$(dirname "$(find "$work/stage" -name zol.pc)")
    LD_LIBRARY_PATH=$(dirname "$PKG_CONFIG_PATH")
    export MANPATH=$work/man PKG_CONFIG_PATH LD_LIBRARY_PATH
fi

mkdir "$work/reader"
cd "$work/reader"
LC_ALL=C MANWIDTH=100 man 3 zol >../page
# Examples are indented further than text, which names the file of a program at its end.
section="" file=""
while IFS= read -r line; do
    case $line in
        [A-Z]*) section=$line ;;
        "           "* | "")
            [[ $section != EXAMPLES || -z $file ]] || printf '%s\n' "${line:11}" >>"$file"
            ;;
        *)
            file=transcript
            [[ ! $line =~ ([a-z]+\.cc?):$ ]] || file=${BASH_REMATCH[1]}
            ;;
    esac
done <../page

programs=(*.c *.cc)
((${#programs[@]} == 2))
grep . transcript >wanted
grep '^\$ ' wanted | while IFS= read -r command; do
    echo "$command"
    bash -euc "${command#\$ }" </dev/null 2>&1
done | tee replayed
diff wanted replayed
