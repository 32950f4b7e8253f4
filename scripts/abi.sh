# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# The binary interface: what libabigail reads off the libraries is compared with what it read off
# those of the release, which lies in tests/abi/VERSION/TARGET.

# Every target has an interface of its own: word sizes, alignments and the C library's records. That
# of uClibc-ng, which is for tests and has seconds of 32 bits, is not promised to anybody.
abi_targets=(host i386 armhf i386-musl armhf-musl)

# Builds the shared libraries of a target, and sets `libraries` to their files.
build_libraries() {  # TARGET
    make_toolchain "$1"
    cmake --preset "$1" -DZOL_BUILD_TESTS=OFF >/dev/null
    cmake --build "build/$1" -j "$jobs" --target zol evlp xexec -- --quiet
    libraries=("build/$1"/{libzol,platform/evlp/libevlp,platform/xexec/libxexec}.so)
}

# Writes what libabigail reads off a library: its symbols, and the types that they lead to. Paths
# are those of the tree. The licence stands in the second line, since abidiff knows the kind of a
# file by its first.
read_interface() {  # LIBRARY OUTPUT
    abidw --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed \
        --type-id-style hash "$1" >"$2"
    sed -i "s#$PWD/##g" "$2"
    # REUSE-IgnoreStart
    sed -i '1a <!-- SPDX-FileCopyrightText: 2026 the libzol authors -->\
<!-- SPDX-License-Identifier: MIT -->' "$2"
    # REUSE-IgnoreEnd
}

# Complains about every difference: a compatible one belongs into the release's files with the
# change that makes it, by "./dev abi --record", which refuses the others. Told where the public
# headers are, abidiff 2.2 overlooks changes of the classes in them: so it is told which types
# nobody sees.
compare_interface() {  # RECORDED LIBRARY
    abidiff --no-show-locs --suppressions tests/abi/opaque.suppr "$1" "$2"
}

check_abi() {  # [--record]
    local target library libraries recorded folder status bad=0
    need "${needs_abi[@]}"
    folder=tests/abi/$(sed -n 's/^#define ZOL_VERSION_MAJOR //p' include/zol/version.h).0
    for target in "${abi_targets[@]}"; do
        build_libraries "$target"
        for library in "${libraries[@]}"; do
            recorded=$folder/$target/$(basename "$library" .so).abi
            status=0
            if [[ -e $recorded ]]; then
                compare_interface "$recorded" "$library" || status=$?
            elif [[ ${1:-} != --record ]]; then
                echo "There is no $recorded" >&2
                status=1
            fi
            # Bits of abidiff's exit status: 4 a change, 8 an incompatible one, else an error.
            if [[ ${1:-} == --record ]] && ((status == 0 || status == 4)); then
                mkdir -p "$(dirname "$recorded")"
                read_interface "$library" "$recorded"
                status=0
            fi
            ((status == 0)) && echo "as recorded: $recorded" || bad=1
        done
    done
    # A comparison that overlooks things would say the same of everything.
    [[ ${1:-} == --record ]] || tests/abi/planted_breaks.sh . "$folder/host/libzol.abi" || bad=1
    return $bad
}
