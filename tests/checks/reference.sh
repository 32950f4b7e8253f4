#!/bin/bash
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# The reference can be made: everything public is documented, and every link leads somewhere. Made of
# the same sources at another place it is the same, and no reader of manual pages has a complaint.
# usage: reference.sh SOURCE_DIR
set -euo pipefail
source=$(realpath "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir "$work/moved"
(cd "$source" && cp -r --parents ./*.md docs include platform/*/include tools/zolcat/zolcat.1 \
    "$work/moved")
"$source/docs/reference/make.py" "$source" "$work/first" >/dev/null
"$work/moved/docs/reference/make.py" "$work/moved" "$work/second" >/dev/null
diff -r "$work/first" "$work/second"

cd "$work/first/man"
mapfile -t pages < <(grep -L '^\.so ' man3/*.3)
mapfile -t aliases < <(grep -l '^\.so ' man3/*.3)
((${#pages[@]} > 150 && ${#aliases[@]} > 20))
for alias in "${aliases[@]}"; do
    [[ -f $(sed 's/^\.so //' "$alias") ]]
done
complaints=$(groff -man -ww -z -Tutf8 "${pages[@]}" 2>&1)
[[ -z $complaints ]] || { echo "$complaints" && exit 1; }
mandoc -T lint -W warning "${pages[@]}"

# Whoever asks for a function, a class or a header finds it.
for name in xstr_set xtab_insert md5Encode zolcrypt::hashEncode zol::CStr zol::cat::CFile zol-str \
    zol evlp evlp-sim xexec xexec_cmd timer_startCtx xlist_null xtabh_s xstr_rtrim; do
    [[ -f man3/$name.3 ]] || { echo "no page $name(3)" && exit 1; }
done
grep -ho '^ZOL_API .*\bx[a-z0-9]*_[A-Za-z0-9_]*(' "$source"/include/zol/*.h |
    sed 's/.*\b\(x[a-z0-9]*_[A-Za-z0-9_]*\)($/\1/' | while read -r name; do
    [[ -f man3/$name.3 ]] || { echo "no page $name(3)" && exit 1; }
done
echo "${#pages[@]} manual pages and ${#aliases[@]} aliases"
