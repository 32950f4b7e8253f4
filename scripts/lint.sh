# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# The formatter and the static checks.

format() {
    need "${needs_format[@]}"
    local mode=(-i)
    [[ ${1:-} == --check ]] && mode=(--dry-run --Werror)
    find . -path ./build -prune -o -path ./stage -prune -o -path ./.git -prune -o \
        -name '*.h' -print -o -name '*.cc' -print -o -name '*.c' -print | sort |
        xargs clang-format "${mode[@]}"
}

# What the formatter and clang-tidy have to say; they do not change anything.
lint() {
    need "${needs_lint[@]}"
    format --check
    cmake --preset host-clang -B build/lint -DZOL_BUILD_TESTS=OFF \
        -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null
    printf '%s\n' cat/*.cc core/*.cc event/*.cc net/*.cc plugin/*.cc sched/*.cc util/*.cc \
        platform/*/*.cc tools/*/*.cc | xargs -n 4 -P "$jobs" clang-tidy -p build/lint --quiet
}
