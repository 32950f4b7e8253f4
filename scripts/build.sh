# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# Building the library and its showcase.

warnings="-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2 -Wundef"
warnings+=" -Wmissing-declarations -Werror"

build() {  # PRESET
    cmake --preset "$1" -DZOL_BUILD_TESTS=ON && cmake --build --preset "$1" -j "$jobs"
}

# Installs the library in stage/PRESET.
stage_library() {  # PRESET
    # Without the tests: where those have been built, nothing is left to do here.
    cmake --preset "$1" -DZOL_BUILD_TESTS=OFF >/dev/null
    cmake --build "build/$1" -j "$jobs" -- --quiet
    rm -rf "stage/$1"
    cmake --install "build/$1" --prefix "$PWD/stage/$1" >/dev/null
}

# Installs the library in stage/PRESET, and builds gardend against it in build/gardend-PRESET.
build_gardend() {  # PRESET
    local preset=$1 stage=$PWD/stage/$1 gardend=build/gardend-$1
    local toolchain=$PWD/cmake/toolchains/${1%-sanitize}.cmake
    local flags="-O2 -g $warnings" options=() path=$PATH
    [[ -e $toolchain ]] && options+=(--toolchain "$toolchain")
    [[ $preset == *-sanitize ]] && flags+=" -fsanitize=address,undefined -fno-sanitize-recover=all"
    if [[ $preset == armhf* ]]; then
        # The catalog compiler of this machine, as the target's does not run on it.
        stage_library host
        path=$PWD/stage/host/bin:$path
    fi

    stage_library "$preset"
    PATH=$path cmake -S examples/gardend -B "$gardend" -G Ninja \
        -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="$flags" \
        -DCMAKE_PREFIX_PATH="$stage" "${options[@]}" >/dev/null
    cmake --build "$gardend" -j "$jobs" -- --quiet
}
