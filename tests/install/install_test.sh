#!/bin/sh
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# Installs the library into a stage, moves the stage, and builds users of it there: through the
# CMake package and through pkg-config, in C and in C++.
# usage: install_test.sh BUILD_DIR SOURCE_DIR CC CXX TOOLCHAIN_FILE FLAGS...
set -eu
build=$1 source=$2 cc=$3 cxx=$4 toolchain=$5
shift 5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/moved"
stage=$work/moved
pc=$(find "$stage" -name zol.pc)
libdir=$(dirname "$(dirname "$pc")")

# Without help for the loader: libzol finds its services by itself.
run() {
    answer=$("$@")
    echo "$(basename "$1"): $answer"
    case $answer in
    *"hello from C"*) ;;
    *) exit 1 ;;
    esac
}

echo "- the CMake package"
configure() {  # BUILD_DIR
    cmake -G Ninja -S "$source/tests/install/consumer" -B "$1" -DCMAKE_PREFIX_PATH="$stage" \
        -DCMAKE_FIND_ROOT_PATH="$stage" ${toolchain:+-DCMAKE_TOOLCHAIN_FILE="$toolchain"} \
        -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
        -DCMAKE_EXE_LINKER_FLAGS="$flags" >/dev/null
}
flags="$*"
configure "$work/build"
cmake --build "$work/build" >/dev/null
run "$work/build/consumer_c"
run "$work/build/consumer_cc"
run "$work/build/consumer_sim"

echo "- zolcat, of the package, and of the path where the package has none"
zolcat=$stage/bin/zolcat
run "$zolcat" dump "$work/build/hello.cat"
rm "$(dirname "$pc")/../cmake/zol/"zolToolsTargets*.cmake
PATH="$stage/bin:$PATH" configure "$work/build_path"
cmake --build "$work/build_path" --target catalog >/dev/null
run "$zolcat" dump "$work/build_path/hello.cat"

echo "- the command evlp-sim"
# Its timer is due after a millisecond, and time passes only when it is told to. (A preloaded
# library is not what a sanitizer's runtime expects to find first.)
evlp_sim=$stage/bin/evlp-sim
ASAN_OPTIONS=verify_asan_link_order=0 "$evlp_sim" run --control "$work/clock" \
    --date "2026-11-16 06:00:00" -- "$work/build/consumer_cc" >"$work/answer" &
[ "$("$evlp_sim" --control "$work/clock" date)" = "2026-11-16 06:00:00" ]
"$evlp_sim" --control "$work/clock" advance 1 || true  # it ends on the way, which is said
wait $!
run cat "$work/answer"

echo "- pkg-config"
pkg-config --validate "$pc"
export PKG_CONFIG_PATH="$(dirname "$pc")"
flags="$(pkg-config --cflags --libs zol) -Wl,-rpath,$libdir"
[ "$(pkg-config --modversion zol)" = "$(sed -n 's/^#define ZOL_VERSION_\(MAJOR\|MINOR\|PATCH\) //p' \
    "$source/include/zol/version.h" | paste -sd.)" ]
# shellcheck disable=SC2086 # lists of flags
"$cc" -std=c99 "$@" "$source/tests/install/consumer/consumer.c" -o "$work/pc_c" $flags
# shellcheck disable=SC2086
"$cxx" -std=c++17 "$@" "$source/tests/install/consumer/consumer.cc" -o "$work/pc_cc" $flags
# shellcheck disable=SC2086
"$cc" -std=c99 "$@" "$source/tests/install/consumer/consumer_sim.c" -o "$work/pc_sim" \
    -L"$libdir" -levlp_sim $flags
run "$work/pc_c"
run "$work/pc_cc"
run "$work/pc_sim"

echo "- the example of a lexer and a parser"
for file in config.l config.y parser.cmake parsers.md; do
    cmp "$stage/share/doc/zol/examples/parser/$file" "$(find "$source/examples/gardend" \
        "$source/docs" -name "$file")"
done
