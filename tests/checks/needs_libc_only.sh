#!/bin/sh
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# What the libraries need at run time is the C library and one another: no runtime of C++, not even
# through a symbol that somebody else would have to bring.
# usage: needs_libc_only.sh LIBRARY...
set -eu
for library; do
    LC_ALL=C readelf -dW "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | while read -r needed; do
        case $needed in
            libevlp.so.* | libxexec.so.* | libc.so* | ld-linux*.so* | ld64-uClibc.so.* | ld-uClibc.so.*) ;;
            *) echo "$(basename "$library") needs $needed" && exit 1 ;;
        esac
    done
    if nm -D --undefined-only "$library" | grep -E ' (_Z|__cxa_(throw|guard|begin)|_Unwind_)'; then
        echo "$(basename "$library") leaves these to a runtime of C++" && exit 1
    fi
    echo "$(basename "$library"): the C library only"
done
