#!/bin/sh
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# What the libraries need at run time is the C library and one another: no runtime of C++, not even
# through a symbol that somebody else would have to bring.
# usage: needs_libc_only.sh LIBRARY...
set -eu
for library; do
    name=$(basename "$library")
    dynamic=$(LC_ALL=C readelf -dW "$library")
    symbols=$(nm -D --undefined-only "$library")
    needed=$(echo "$dynamic" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
    libc=
    for each in $needed; do
        case $each in
            libc.so*) libc=$each ;;
            libevlp.so.* | libxexec.so.* | ld-linux*.so* | ld-uClibc.so.*) ;;
            *) echo "$name needs $each" && exit 1 ;;
        esac
    done
    [ -n "$libc" ] || { echo "$name does not even need the C library: $dynamic" && exit 1; }
    if echo "$symbols" | grep -E ' (_Z|__cxa_(throw|guard|begin)|_Unwind_)'; then
        echo "$name leaves these to a runtime of C++" && exit 1
    fi
    echo "$name: the C library only"
done
