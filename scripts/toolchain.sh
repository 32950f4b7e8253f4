# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# Toolchains for devices, in build/toolchains: Debian's packages unpacked there rather than
# installed, for its cross compilers and g++-multilib cannot be installed together.

toolchains=$PWD/build/toolchains

# The presets whose toolchains are made here.
devices=(armhf i386-musl armhf-musl i386-uclibc)

# Makes what a preset needs, which may be nothing.
make_toolchain() {  # PRESET
    case $1 in
        armhf)
            need "${needs_toolchain[@]}"
            make_part armhf cross_compiler arm-linux-gnueabihf
            ;;
        armhf-musl)
            make_toolchain armhf
            make_part armhf-musl musl armhf arm-linux-gnueabihf arm-linux-musleabihf
            ;;
        i386-musl)
            make_i686_compiler
            make_part i386-musl musl i386 i686-linux-gnu i686-linux-musl
            ;;
        i386-uclibc)
            make_i686_compiler
            make_part i386-uclibc uclibc i686-linux-gnu i686-linux-uclibc
            ;;
    esac
}

make_i686_compiler() {
    need "${needs_toolchain[@]}"
    make_part i686-glibc cross_compiler i686-linux-gnu
}

# Makes the folder NAME once. What is in it holds paths, so one that has moved is made anew; and so is
# one that was made in another way than now.
make_part() {  # NAME FUNCTION ARGUMENTS...
    local name=$1 folder=$toolchains/$1 made status
    shift
    if [[ $folder == *[[:space:]]* ]]; then
        echo "Compilers cannot be made in $folder: gcc's specs have no words with blanks." >&2
        return 1
    fi
    made="$folder $(cat scripts/toolchain.sh cmake/toolchains/{uclibc.config,find_object.c} | cksum)"
    [[ $(cat "$folder/complete" 2>/dev/null) == "$made" ]] && return
    echo "Making $folder" >&2
    rm -rf "$folder"
    mkdir -p "$folder"
    # Not as a condition: errexit would not count in it.
    set +e
    (
        set -e
        "$1" "$folder" "${@:2}"
    ) >"$folder/log" 2>&1
    status=$?
    set -e
    if ((status != 0)); then
        echo "The toolchain $name could not be made. The end of $folder/log:" >&2
        tail -n 20 "$folder/log" >&2
        return 1
    fi
    echo "$made" >"$folder/complete"
}

# --- Debian packages, of any architecture ---

# apt-get or apt-cache with lists of their own: the system's stay as they are, and nobody has to be
# root. No package counts as installed.
foreign_apt() {  # ARCHITECTURE apt-get|apt-cache ARGUMENTS...
    local state=$toolchains/apt/$1
    mkdir -p "$state/lists/partial" "$state/cache/archives/partial"
    touch "$state/status"
    "$2" -qq -oAPT::Architecture="$1" -oAPT::Architectures="$1" -oDir::State::Lists="$state/lists" \
        -oDir::State::status="$state/status" -oDir::Cache="$state/cache" \
        -oAPT::Sandbox::User=root "${@:3}"
}

# An update that fails for one of several sources may have what is wanted all the same.
update_lists() {  # ARCHITECTURE
    foreign_apt "$1" apt-get update || true
}

unpack_packages() {  # ARCHITECTURE FOLDER PACKAGE...
    local debs package
    mkdir -p "$2"
    debs=$(mktemp -d -p "$2")
    if ! (cd "$debs" && foreign_apt "$1" apt-get download "${@:3}"); then
        rm -rf "$debs"
        echo "Debian's packages ${*:3} for $1 cannot be fetched." >&2
        return 1
    fi
    for package in "$debs"/*.deb; do
        dpkg-deb -x "$package" "$2"
    done
    rm -rf "$debs"
}

# --- compilers ---

# Debian's cross compiler with the C library that belongs to it.
cross_compiler() {  # FOLDER TRIPLET
    local folder=$1 triplet=$2 machine packages script program arguments
    machine=$(dpkg --print-architecture)
    update_lists "$machine"
    mapfile -t packages < <(
        foreign_apt "$machine" apt-cache depends --recurse --no-recommends --no-suggests \
            --no-conflicts --no-breaks --no-replaces --no-enhances "g++-$triplet" |
            grep -E "^[a-z].*(-cross|$triplet)(-base)?\$" | sort -u
    )
    ((${#packages[@]} > 0)) || {
        echo "Debian has no package g++-$triplet for $machine, or its lists cannot be fetched."
        return 1
    }
    unpack_packages "$machine" "$folder/root" "${packages[@]}"
    # The linker's scripts name their libraries by where the packages would have put them.
    for script in "$folder/root/usr/$triplet"/lib/lib*.so; do
        if [[ ! -L $script ]] && grep -qsI GROUP "$script"; then
            sed -i "s# /usr/$triplet/# $folder/root/usr/$triplet/#g" "$script"
        fi
    done
    for program in "$folder/root/usr/bin/$triplet"-*; do
        arguments=()
        # Libraries that other libraries need are not looked for in this folder by itself.
        [[ $program == *-@(gcc|g++) ]] &&
            arguments=("-Wl,-rpath-link,$folder/root/usr/$triplet/lib")
        wrapper "$folder/bin/$(basename "$program")" "$program" \
            "LD_LIBRARY_PATH=$folder/root/usr/lib/$(uname -m)-linux-gnu" "${arguments[@]}"
    done
}

# A program that starts another one with further arguments, or with VARIABLE=VALUE set.
wrapper() {  # FILE PROGRAM [VARIABLE=VALUE | ARGUMENT]...
    local file=$1 program=$2 settings=() arguments=() item
    for item in "${@:3}"; do
        if [[ $item == [A-Z]*=* ]]; then
            settings+=("$item")
        else
            arguments+=("$item")
        fi
    done
    mkdir -p "$(dirname "$file")"
    {
        echo '#!/bin/sh'
        echo "exec env ${settings[*]@Q} ${program@Q} ${arguments[*]@Q} \"\$@\""
    } | sed 's/^exec env  /exec /; s/  / /g' >"$file"
    chmod +x "$file"
}

# Compilers and binutils under another triplet: those of a cross compiler, for another C library.
borrow_compiler() {  # FOLDER CROSS_BIN CROSS_TRIPLET TRIPLET
    local folder=$1 cross=$2/$3 triplet=$4 tool
    for tool in ar as ld nm objcopy objdump ranlib readelf size strip; do
        ln -s "$cross-$tool" "$folder/bin/$triplet-$tool"
    done
    wrapper "$folder/bin/$triplet-gcc" "$cross-gcc" "-specs=$folder/specs"
    wrapper "$folder/bin/$triplet-g++" "$cross-g++" "-specs=$folder/specs" -nostdinc++ \
        "-isystem$folder/c++/include" "-isystem$folder/c++/include/$triplet" "-L$folder/c++/lib"
}

# What gcc does differently for another C library. The C++ runtime and that of gcc are linked into
# every program and library, which does not export them.
write_specs() {  # FOLDER HEADERS GCC_HEADERS LIBRARIES LOADER [LIBGCC_HELPER]
    cat >"$1/specs" <<END
%rename cpp_options usual_cpp_options

*cpp_options:
-nostdinc -isystem $2 -isystem $3 %(usual_cpp_options)

*cc1:
%(cc1_cpu) -nostdinc -isystem $2 -isystem $3

*link_libgcc:
-L$4 -L$1/lib

*libgcc:
libgcc.a%s libgcc_eh.a%s ${6:-} -lc libgcc.a%s

*startfile:
%{!shared: $4/Scrt1.o} $4/crti.o crtbeginS.o%s

*endfile:
crtendS.o%s $4/crtn.o

*link:
-dynamic-linker $5 -nostdlib --eh-frame-hdr -z noexecstack %{shared:-shared --exclude-libs ALL} %{rdynamic:-export-dynamic} %{!shared:-pie}

*esp_link:


*esp_options:


*esp_cpp_options:


END
}

# The C++ runtime for another C library, from the sources of the cross compiler.
build_libstdcxx() {  # FOLDER TRIPLET
    local folder=$1 triplet=$2 version source work=$1/work gcc=$1/bin/$2-gcc
    version=$("$gcc" -dumpversion)
    unpack_packages "$(dpkg --print-architecture)" "$work" "gcc-$version-source"
    tar -C "$work" -xf "$work/usr/src/gcc-$version"/gcc-*.tar.* --wildcards \
        'gcc-*/libstdc++-v3' 'gcc-*/libgcc' 'gcc-*/config*' 'gcc-*/*.m4' 'gcc-*/*sh' \
        'gcc-*/missing' 'gcc-*/depcomp' 'gcc-*/include' 'gcc-*/gcc/BASE-VER' \
        'gcc-*/gcc/DATESTAMP' 'gcc-*/libiberty' 'gcc-*/mkinstalldirs'
    source=$(compgen -G "$work/gcc-*/libstdc++-v3")
    # Where it would lie after gcc itself had been built; without it there is no std::mutex.
    mkdir -p "$work/libgcc" "$work/libstdc++"
    ln -s "$(dirname "$source")/libgcc/gthr-posix.h" "$work/libgcc/gthr-default.h"
    cd "$work/libstdc++"
    # Not g++, which would link the tests of configure with a C++ runtime for glibc.
    "$source/configure" --build="$(uname -m)-pc-linux-gnu" --host="$triplet" --disable-multilib \
        --disable-nls --disable-libstdcxx-pch --enable-static --disable-shared \
        --prefix="$folder/c++" --with-gxx-include-dir="$folder/c++/include" \
        CC="$gcc" CXX="$gcc -nostdinc++" CPP="$gcc -E" CXXCPP="$gcc -nostdinc++ -E" \
        AR="$folder/bin/$triplet-ar" \
        RANLIB="$folder/bin/$triplet-ranlib" NM="$folder/bin/$triplet-nm" \
        CFLAGS="-O2 -fPIC" CXXFLAGS="-O2 -fPIC"
    make -j "$jobs"
    make install
    cd "$folder"
    rm -rf "$work"
}

# --- small C libraries ---

musl() {  # FOLDER ARCHITECTURE CROSS_TRIPLET TRIPLET
    local folder=$1 architecture=$2 cross=$3 triplet=$4 compiler headers libraries loader kernel
    compiler=$(compiler_folder "$cross")
    update_lists "$architecture"
    unpack_packages "$architecture" "$folder/root" musl musl-dev
    headers=$(compgen -G "$folder/root/usr/include/*-linux-musl*")
    libraries=$(compgen -G "$folder/root/usr/lib/*-linux-musl*")
    # The kernel's headers are those of the cross compiler.
    for kernel in asm asm-generic linux mtd; do
        ln -s "$compiler/root/usr/$cross/include/$kernel" "$headers/$kernel"
    done
    # The C library is its own loader. The package's link to it is for a machine that it is
    # installed on.
    loader=$(compgen -G "$folder/root/lib/ld-musl-*.so.1")
    ln -sf "$(compgen -G "$folder/root/lib/*-linux-musl*/libc.so")" "$libraries/libc.so"
    ln -sf "$libraries/libc.so" "$loader"
    # Where programs run as they are, they name the loader in this folder.
    [[ $architecture == i386 ]] || loader=/lib/$(basename "$loader")

    mkdir -p "$folder/lib" "$folder/bin"
    write_specs "$folder" "$headers" "$("$compiler/bin/$cross-gcc" -print-file-name=include)" \
        "$libraries" "$loader" -lfind_object
    finish_compiler "$folder" "$compiler" "$cross" "$triplet"
}

uclibc() {  # FOLDER CROSS_TRIPLET TRIPLET
    local folder=$1 cross=$2 triplet=$3 compiler make headers=$1/root/usr/include
    local libraries=$1/root/usr/lib kernel work=$1/work
    compiler=$(compiler_folder "$cross")
    update_lists "$(dpkg --print-architecture)"
    unpack_packages "$(dpkg --print-architecture)" "$work" uclibc-source
    tar -C "$work" --strip-components=1 -xf "$work"/usr/src/uClibc*.tar.*
    # With the kernel's headers of the cross compiler, and nothing else of it.
    mkdir -p "$headers"
    for kernel in asm asm-generic linux mtd; do
        ln -s "$compiler/root/usr/$cross/include/$kernel" "$headers/$kernel"
    done
    {
        cat cmake/toolchains/uclibc.config
        echo "KERNEL_HEADERS=\"$headers\""
        echo "CROSS_COMPILER_PREFIX=\"$compiler/bin/$cross-\""
        echo "RUNTIME_PREFIX=\"$folder/root/\""
        echo "DEVEL_PREFIX=\"$folder/root/usr/\""
    } >"$work/options"
    make=(make -C "$work" ARCH=i386)
    "${make[@]}" allnoconfig KCONFIG_ALLCONFIG="$work/options"
    "${make[@]}" -j "$jobs"
    "${make[@]}" install
    rm -rf "$work"
    # The linker's script names the shared ones without their folder.
    sed -i "/^GROUP/ s# \([^ ]*\.so\.[0-9]*\)# $folder/root/lib/\1#g" "$libraries/libc.so"

    mkdir -p "$folder/lib" "$folder/bin"
    write_specs "$folder" "$headers" "$("$compiler/bin/$cross-gcc" -print-file-name=include)" \
        "$libraries" "$folder/root/lib/ld-uClibc.so.1" -lfind_object
    finish_compiler "$folder" "$compiler" "$cross" "$triplet"
}

# What is on top of a C library.
finish_compiler() {  # FOLDER COMPILER_FOLDER CROSS_TRIPLET TRIPLET
    local folder=$1 triplet=$4
    borrow_compiler "$folder" "$2/bin" "$3" "$triplet"
    "$folder/bin/$triplet-gcc" -O2 -fPIC -c cmake/toolchains/find_object.c \
        -o "$folder/lib/find_object.o"
    "$folder/bin/$triplet-ar" rcs "$folder/lib/libfind_object.a" "$folder/lib/find_object.o"
    build_libstdcxx "$folder" "$triplet"
}

# The folder of make_part() that has the compiler.
compiler_folder() {  # TRIPLET
    dirname "$(dirname "$(compgen -G "$toolchains/*/bin/$1-gcc")")"
}
