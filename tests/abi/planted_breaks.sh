#!/bin/bash
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
#
# What would break programs that are linked with the release is seen: a function that is gone, a
# virtual function before others, a field before others, each planted in a copy of the tree.
# usage: planted_breaks.sh SOURCE_DIR RECORDED_ABI
set -euo pipefail
source=$1
recorded=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Edits a file of the copy, and fails when that changes nothing.
plant() {  # FILE SED_SCRIPT
    cp "$work/tree/$1" "$work/before"
    sed -i "$2" "$work/tree/$1"
    ! cmp -s "$work/before" "$work/tree/$1" || { echo "Nothing was planted in $1" && exit 1; }
}

mkdir "$work/tree"
(cd "$source" && tar cf - CMakeLists.txt cmake docs/CMakeLists.txt include libzol.map \
    bench/footprint tools/gdb cat core event net platform plugin sched util) | tar xf - -C "$work/tree"
plant libzol.map 's/xsock_\*;/xsock_[!a]*;/'  # xsock_accept is gone
plant include/zol/sched.h 's/^    virtual void onScheduledEvent/    virtual void onPlanted() {}\n&/'
plant include/zol/server.h 's/^    const char\* m_name;/    int m_planted;\n&/'

cmake -S "$work/tree" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DZOL_BUILD_TESTS=OFF \
    -DZOL_BUILD_TOOLS=OFF -DZOL_BUILD_EXAMPLES=OFF "${@:3}" >/dev/null
cmake --build "$work/build" --target zol -- --quiet

status=0
abidiff --no-show-locs --suppressions "$source/tests/abi/opaque.suppr" "$recorded" \
    "$work/build/libzol.so" >"$work/report" || status=$?
if ((status != 12)); then
    echo "abidiff has ended with $status, not with 12, for an incompatible change:"
    cat "$work/report"
    exit 1
fi
for seen in 'xsock_accept' 'onPlanted' "m_planted"; do
    grep -q "$seen" "$work/report" || { echo "Not seen: $seen" && cat "$work/report" && exit 1; }
done
echo "All three planted breaks are seen."
