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

# Prints by which file a program can be started: where EMULATOR runs it, a script of its name.
mkdir "$work/bin"
startable() {  # PROGRAM
    [ -n "${EMULATOR:-}" ] || { echo "$1" && return; }
    printf '#!/bin/sh\nexec %s %s "$@"\n' "$EMULATOR" "$1" >"$work/bin/$(basename "$1")"
    chmod +x "$work/bin/$(basename "$1")"
    echo "$work/bin/$(basename "$1")"
}

answers() {  # NAME ANSWER
    echo "$1: $2"
    case $2 in
    *"hello from C"*) ;;
    *) exit 1 ;;
    esac
}

# Without help for the loader: libzol finds its services by itself.
run() {  # PROGRAM ARGUMENTS...
    program=$(startable "$1")
    shift
    answer=$("$program" "$@")
    answers "$(basename "$program")" "$answer"
}

echo "- the CMake package"
configure() {  # BUILD_DIR
    cmake -G Ninja -S "$source/tests/install/consumer" -B "$1" -DCMAKE_PREFIX_PATH="$stage" \
        -DCMAKE_FIND_ROOT_PATH="$stage" ${toolchain:+-DCMAKE_TOOLCHAIN_FILE="$toolchain"} \
        -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
        -DCMAKE_EXE_LINKER_FLAGS="$flags" >/dev/null
}
flags="$*"
zolcat=$stage/bin/zolcat
# For another machine, in the place of the build machine's own.
[ -z "${EMULATOR:-}" ] || PATH=$(dirname "$(startable "$zolcat")"):$PATH
configure "$work/build"
cmake --build "$work/build" >/dev/null
run "$work/build/consumer_c"
run "$work/build/consumer_cc"
run "$work/build/consumer_service"
run "$work/build/consumer_sim"

echo "- zolcat, of the package, and of the path where the package has none"
run "$zolcat" dump "$work/build/hello.cat"
rm "$(dirname "$pc")/../cmake/zol/"zolToolsTargets*.cmake
PATH="$(dirname "$(startable "$zolcat")"):$PATH" configure "$work/build_path"
cmake --build "$work/build_path" --target catalog >/dev/null
run "$zolcat" dump "$work/build_path/hello.cat"

echo "- the command evlp-sim"
# Its timer is due after a millisecond, and time passes only when it is told to. (A preloaded
# library is not what a sanitizer's runtime expects to find first.)
evlp_sim=$(startable "$stage/bin/evlp-sim")
ASAN_OPTIONS=verify_asan_link_order=0 "$evlp_sim" run --control "$work/clock" \
    --date "2026-11-16 06:00:00" -- "$(startable "$work/build/consumer_cc")" >"$work/answer" &
[ "$("$evlp_sim" --control "$work/clock" date)" = "2026-11-16 06:00:00" ]
"$evlp_sim" --control "$work/clock" advance 1 || true  # it ends on the way, which is said
wait $!
answers consumer_cc "$(cat "$work/answer")"

echo "- pkg-config"
for file in "$(dirname "$pc")"/*.pc; do
    pkg-config --validate "$file"
done
export PKG_CONFIG_PATH="$(dirname "$pc")"
flags="$(pkg-config --cflags --libs zol) -Wl,-rpath,$libdir"
[ "$(pkg-config --modversion zol)" = "$(sed -n 's/^#define ZOL_VERSION_\(MAJOR\|MINOR\|PATCH\) //p' \
    "$source/include/zol/version.h" | paste -sd.)" ]
# shellcheck disable=SC2086 # lists of flags
"$cc" -std=c99 "$@" "$source/tests/install/consumer/consumer.c" -o "$work/pc_c" $flags
# shellcheck disable=SC2086
"$cxx" -std=c++17 "$@" "$source/tests/install/consumer/consumer.cc" -o "$work/pc_cc" $flags
# shellcheck disable=SC2046
"$cc" -std=c99 "$@" "$source/tests/install/consumer/consumer_service.c" -o "$work/pc_service" \
    $(pkg-config --cflags --libs xexec evlp) -Wl,-rpath,"$libdir"
# shellcheck disable=SC2046,SC2086
"$cc" -std=c99 "$@" "$source/tests/install/consumer/consumer_sim.c" -o "$work/pc_sim" \
    $(pkg-config --libs evlp_sim) $flags
run "$work/pc_c"
run "$work/pc_cc"
run "$work/pc_service"
run "$work/pc_sim"

echo "- the example of a lexer and a parser"
for file in config.l config.y parser.cmake parsers.md; do
    cmp "$stage/share/doc/zol/examples/parser/$file" "$(find "$source/examples/gardend" \
        "$source/docs" -name "$file")"
done
