# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# What the libraries weigh.

size_of_libraries() {
    need "${needs_build[@]}" "${needs_i386[@]}"
    local preset library stripped
    stripped=$(mktemp)
    printf '%-6s %-24s %8s %8s %8s %8s %8s\n' target library text data bss file symbols
    for preset in host i386; do
        cmake --preset "$preset" -B "build/size-$preset" -DZOL_BUILD_TESTS=OFF \
            -DZOL_BUILD_EXAMPLES=OFF -DCMAKE_BUILD_TYPE=MinSizeRel >/dev/null
        cmake --build "build/size-$preset" -j "$jobs" >/dev/null
        while read -r library; do
            strip -o "$stripped" "$library"
            printf '%-6s %-24s %8d %8d %8d %8d %8d\n' "$preset" "$(basename "$library")" \
                $(size "$stripped" | awk 'NR == 2 {print $1, $2, $3}') \
                "$(stat -c %s "$stripped")" \
                "$(nm -D --defined-only "$stripped" | grep -vc ' A ')"
        done < <(find "build/size-$preset" -name 'lib*.so.*.*.*' -type f | sort)
    done
    rm -f "$stripped"
}
