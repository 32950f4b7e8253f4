#!/bin/bash
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# Installs the library into a stage, and builds the programs of docs/guide.md there as a reader
# does: through the CMake package, and one by one through pkg-config. Each does what its transcript
# says.
# usage: guide_test.sh BUILD_DIR SOURCE_DIR CC CXX TOOLCHAIN_FILE FLAGS...
set -euo pipefail
build=$1 source=$(realpath "$2") cc=$3 cxx=$4 toolchain=$5
shift 5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
guide=$source/examples/guide
stage=$work/stage
cmake --install "$build" --prefix "$stage" >/dev/null

steps=()
for transcript in "$guide"/*.txt; do
    [[ $transcript == */CMakeLists.txt ]] || steps+=("$(basename "$transcript" .txt)")
done
((${#steps[@]} == 7))

run_steps() {  # PROGRAMS
    local language
    for language in cc c; do
        "$source/tests/guide/run.py" --sources "$guide" --programs "$1" \
            --simulator "$stage/bin/evlp-sim" --language "$language" "${steps[@]}"
    done
}

echo "- the CMake package"
# A copy, as somebody takes it away.
cp -r "$stage/share/doc/zol/examples/guide" "$work/guide"
diff -r "$guide" "$work/guide"
cmake -G Ninja -S "$work/guide" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$stage" \
    -DCMAKE_FIND_ROOT_PATH="$stage" ${toolchain:+-DCMAKE_TOOLCHAIN_FILE="$toolchain"} \
    -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_C_FLAGS="$*" \
    -DCMAKE_CXX_FLAGS="$*" >/dev/null
cmake --build "$work/cmake" >/dev/null
run_steps "$work/cmake"

echo "- pkg-config"
mkdir "$work/pc"
cd "$work/pc"
pc=$(find "$stage" -name zol.pc)
libdir=$(dirname "$(dirname "$pc")")
PKG_CONFIG_PATH=$(dirname "$pc")
export PKG_CONFIG_PATH
read -ra cflags <<<"-Wall -Wextra -Werror -I. $(pkg-config --cflags zol)"
read -ra libs <<<"$(pkg-config --libs zol) -Wl,-rpath,$libdir"
read -ra service_libs <<<"$(pkg-config --libs xexec evlp)"
for language in en fr; do
    "$stage/bin/zolcat" compile -o $language.cat "$guide/texts/$language.msg"
done
"$stage/bin/zolcat" header -o lampd_messages.h "$guide/texts/en.msg"
for step in "${steps[@]}"; do
    "$cxx" -std=c++17 "$@" "${cflags[@]}" "$guide/$step.cc" -o "${step}_cc" -rdynamic "${libs[@]}"
    "$cc" -std=c99 -D_POSIX_C_SOURCE=200809L "$@" "${cflags[@]}" "$guide/$step.c" \
        -o "${step}_c" -rdynamic "${service_libs[@]}" "${libs[@]}" -ldl
done
"$cxx" -std=c++17 "$@" "${cflags[@]}" -fPIC -shared -fvisibility=hidden \
    -fvisibility-inlines-hidden "$guide/6_driver.cc" -o 6_driver_cc.so "${libs[@]}"
"$cc" -std=c99 "$@" "${cflags[@]}" -fPIC -shared "$guide/6_driver.c" -o 6_driver_c.so
run_steps "$work/pc"
