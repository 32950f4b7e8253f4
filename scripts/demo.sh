# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# The showcase daemon, to look at and as a tour.

demo() {
    local gardend=build/gardend-host folder
    need "${needs_demo[@]}"
    if [[ ${1:-} == --target ]]; then
        demo_on_targets
        return
    fi
    build_gardend host
    if [[ ${1:-} == --tour ]]; then
        tests/system/tour.sh "$gardend"
        tests/system/week.sh "$gardend" stage/host/bin
        return
    fi

    folder=$(mktemp -d)
    trap "rm -rf '$folder'" EXIT
    trap : INT  # gardend ends itself
    echo
    echo "The status page is at the address below. In another terminal, from $PWD:"
    echo "  $gardend/gardenctl --socket $folder/control open roses 5    (or: --help)"
    echo "Ctrl-C ends it."
    echo
    "$gardend/gardend" --listen 127.0.0.1:0 --socket "$folder/control" --log-stderr
}

# The same visit as on the host, to a gardend that is built as for a small device: with musl, and
# with nothing of C++ in what has to be installed.
demo_on_targets() {
    local preset
    for preset in i386-musl armhf-musl; do
        make_toolchain "$preset"
        build_gardend "$preset"
        echo
        echo "=== gardend on $preset ==="
        show_device "$preset"
        tests/system/tour.sh "$(startable_gardend "$preset")"
    done
    tests/system/week.sh build/gardend-i386-musl stage/i386-musl/bin
    echo
    echo "Left out: the week in virtual time on armhf-musl. There the emulator, a program of this"
    echo "machine, would have to load a library of the other machine first."
}

# What has to be on the device for gardend, and how large that is.
show_device() {  # PRESET
    local file stage=stage/$1/lib gardend=build/gardend-$1 strip stripped
    strip=$(compgen -G "$toolchains/$1/bin/*-strip")
    stripped=$(mktemp)
    for file in "$stage"/lib{zol,evlp,xexec}.so "$gardend/gardend" "$gardend/gardenctl"; do
        "$strip" -o "$stripped" "$file"
        printf '%-12s %7d bytes, needs%s\n' "$(basename "$file")" "$(stat -c %s "$stripped")" \
            "$(readelf -d "$file" | sed -n 's/.*NEEDED.*\[\(.*\)\]/ \1/p' | tr -d '\n')"
    done
    rm -f "$stripped"
}

# Prints the folder from which the kernel can start gardend and gardenctl: that of the programs, or
# one with scripts that have them emulated.
startable_gardend() {  # PRESET
    local programs=$PWD/build/gardend-$1 scripts=$PWD/build/gardend-$1/emulated name
    if [[ $1 != armhf* ]]; then
        echo "$programs"
        return
    fi
    mkdir -p "$scripts"
    for name in gardend gardenctl; do
        printf '#!/bin/sh\nexec qemu-arm -L %s %s "$@"\n' \
            "${toolchains@Q}/$1/root" "${programs@Q}/$name" >"$scripts/$name"
        chmod +x "$scripts/$name"
    done
    echo "$scripts"
}
