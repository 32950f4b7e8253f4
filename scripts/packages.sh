# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# What has to be installed for which command.

# PACKAGE=COMMAND or PACKAGE=/FILE: by the command or file it is known that the package is there.
needs_build=(g++=g++ cmake=cmake ninja-build=ninja)
needs_demo=("${needs_build[@]}" curl=curl flex=flex bison=bison)
needs_i386=(g++-multilib=/usr/lib/gcc/x86_64-linux-gnu/*/32/libstdc++.so)
needs_docs=(
    doxygen=doxygen python3=/usr/bin/python3 groff-base=groff man-db=man mandoc=mandoc
)
needs_test=(
    "${needs_demo[@]}" "${needs_i386[@]}" googletest=/usr/src/googletest/CMakeLists.txt
    valgrind=valgrind libc6-dbg=/usr/lib/debug/.build-id python3=/usr/bin/python3
    pkg-config=pkg-config make=make openssl=openssl chromium=chromium gdb=gdb "${needs_docs[@]}"
    python3-kconfiglib=/usr/lib/python3/dist-packages/kconfiglib.py
)
needs_toolchain=(qemu-user=qemu-arm make=make xz-utils=xz)
needs_abi=("${needs_build[@]}" "${needs_i386[@]}" abigail-tools=abidiff)
needs_package=(
    "${needs_build[@]}" "${needs_docs[@]}" dpkg-dev=dpkg-shlibdeps lintian=lintian reuse=reuse
    fakeroot=fakeroot git=git
)
needs_chroot=("${needs_package[@]}" debootstrap=/usr/sbin/debootstrap)
needs_size=("${needs_build[@]}" "${needs_i386[@]}" python3=/usr/bin/python3)
needs_format=(clang-format=clang-format)
needs_lint=("${needs_build[@]}" "${needs_format[@]}" clang=clang++ clang-tidy=clang-tidy)
needs_fuzz=(
    "${needs_build[@]}" clang=clang++ flex=flex bison=bison
    libclang-rt-14-dev='/usr/lib/llvm-*/lib/clang/*/lib/linux/libclang_rt.fuzzer-x86_64.a'
)
needs_bench=(
    "${needs_build[@]}" python3=/usr/bin/python3 pkg-config=pkg-config
    libbenchmark-dev=/usr/include/benchmark/benchmark.h libevent-dev=/usr/include/event2/event.h
    libuv1-dev=/usr/include/uv.h libglib2.0-dev=/usr/include/glib-2.0/glib.h
    gettext=msgfmt libc-dev-bin=gencat libssl-dev=/usr/include/openssl/evp.h
)

is_there() {
    [[ $1 == /* ]] && compgen -G "$1" >/dev/null || command -v "$1" >/dev/null
}

need() {
    local missing=() item
    for item in "$@"; do
        is_there "${item#*=}" || missing+=("${item%%=*}")
    done
    if ((${#missing[@]} == 0)); then
        return
    fi
    if ((EUID != 0)); then
        echo "These packages are missing; to install them type:" >&2
        echo "  sudo apt-get install --no-install-recommends ${missing[*]}" >&2
        exit 1
    fi
    echo "Installing ${missing[*]}"
    apt-get -qq update
    DEBIAN_FRONTEND=noninteractive \
        apt-get -qq install -y --no-install-recommends "${missing[@]}" >/dev/null
}
