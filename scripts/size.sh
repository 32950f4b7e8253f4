# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# What the libraries weigh, and what they take at run time.

# Where a program runs under emulation its memory cannot be told from the emulator's: there, only
# the libraries are looked at.
size_targets=(host i386 armhf i386-musl armhf-musl)

size_of_libraries() {
    need "${needs_size[@]}"
    local target language catalogs=build/size-host/catalogs builds=()
    for target in "${size_targets[@]}"; do
        make_toolchain "$target"
        cmake --preset "$target" -B "build/size-$target" -DCMAKE_BUILD_TYPE=MinSizeRel \
            -DZOL_BUILD_TESTS=OFF -DZOL_BUILD_EXAMPLES=OFF -DZOL_BUILD_TOOLS=OFF >/dev/null
        cmake --build "build/size-$target" -j "$jobs" --target all idle_daemon -- --quiet
        builds+=("build/size-$target")
    done
    cmake build/size-host -DZOL_BUILD_TOOLS=ON >/dev/null
    cmake --build build/size-host -j "$jobs" --target zolcat -- --quiet
    for language in en de; do
        mkdir -p "$catalogs/$language"
        build/size-host/tools/zolcat/zolcat compile -o "$catalogs/$language/texts.cat" \
            "examples/gardend/texts/$language.msg"
    done
    bench/footprint.py "${builds[@]}"
}
