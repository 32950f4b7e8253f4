# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# Building the library and its showcase.

warnings="-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2 -Wundef"
warnings+=" -Wmissing-declarations -Werror"

build() {  # PRESET
    cmake --preset "$1" -DZOL_BUILD_TESTS=ON && cmake --build --preset "$1" -j "$jobs"
}

# Installs the library in stage/PRESET, and builds gardend against it in build/gardend-PRESET.
build_gardend() {  # PRESET
    local preset=$1 stage=$PWD/stage/$1 library=build/$1 gardend=build/gardend-$1
    local flags="-O2 -g $warnings" options=()
    [[ $preset == i386* ]] && options+=(--toolchain "$PWD/cmake/toolchains/i386.cmake")
    [[ $preset == *-sanitize ]] && flags+=" -fsanitize=address,undefined -fno-sanitize-recover=all"

    # Without the tests: where those have been built, nothing is left to do here.
    cmake --preset "$preset" -DZOL_BUILD_TESTS=OFF >/dev/null
    cmake --build "$library" -j "$jobs" -- --quiet
    rm -rf "$stage"
    cmake --install "$library" --prefix "$stage" >/dev/null

    cmake -S examples/gardend -B "$gardend" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="$flags" -DCMAKE_PREFIX_PATH="$stage" \
        "${options[@]}" >/dev/null
    cmake --build "$gardend" -j "$jobs" -- --quiet
}
