# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# The source archive, Debian packages, and recipes for build systems of devices.

# Sets `release`, and the date of all that is made: that of the release.
read_release() {
    release=$(sed -n 's/^#define ZOL_VERSION_[MP][A-Z]* //p' include/zol/version.h | paste -sd.)
    SOURCE_DATE_EPOCH=$(date -ud "$(sed -n 's/^ -- .*>  //p' packaging/debian/changelog.in)" +%s)
    export SOURCE_DATE_EPOCH
}

# Packs what belongs to the tree, and nothing that was built in it.
pack_sources() {  # ARCHIVE
    git ls-files -z --cached --others --exclude-standard | LC_ALL=C sort -zu |
        LC_ALL=C comm -z -23 - <(git ls-files -z --deleted | LC_ALL=C sort -z) |
        tar --null --files-from - --create --mtime "@$SOURCE_DATE_EPOCH" --owner 0 --group 0 \
            --numeric-owner --mode u+w,go-w,a+rX --transform "s,^,zol-$release/," |
        gzip -9n >"$1"
}

# Builds the packages of the source archive in a folder, whose path must show nowhere.
build_packages() {  # ARCHIVE FOLDER
    local folder=$2 source=$2/zol-$release build=$2/build architecture flags
    architecture=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
    flags="-ffile-prefix-map=$source=. -ffile-prefix-map=$build=build"
    mkdir -p "$folder"
    tar --extract --file "$1" --directory "$folder"
    cmake -S "$source" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INSTALL_LIBDIR="lib/$architecture" \
        -DCMAKE_SKIP_RPATH=ON -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" \
        -DZOL_DEBIAN_PACKAGES=ON -DZOL_BUILD_DOCS=ON -DZOL_BUILD_TESTS=OFF >/dev/null
    # What runs while it is built, and dpkg-shlibdeps, find the libraries where they are not
    # installed yet.
    local -x LD_LIBRARY_PATH=$build/platform/evlp:$build/platform/xexec:$build
    cmake --build "$build" -j "$jobs" -- --quiet
    (cd "$build" && fakeroot cpack) >"$build/cpack.log" 2>&1 ||
        { cat "$build/cpack.log" && return 1; }
}

# The recipes, once the archive that they fetch is there: they name its checksum.
complete_recipes() {  # ARCHIVE FOLDER
    local checksum system
    checksum=$(sha256sum <"$1")
    for system in buildroot openwrt yocto; do
        cp -r "packaging/$system" "$2/"
    done
    grep -rlE '\b0{64}\b' "$2" | xargs sed -Ei "s/\b0{64}\b/${checksum%% *}/"
}

make_packages() {
    local archive folder=$PWD/build/package package release
    need "${needs_package[@]}"
    read_release
    rm -rf "$folder"
    mkdir -p "$folder/recipes"
    archive=$folder/zol-$release.tar.gz
    pack_sources "$archive"
    complete_recipes "$archive" "$folder/recipes"
    build_packages "$archive" "$folder/first"
    build_packages "$archive" "$folder/the_second"
    for package in "$folder"/first/build/*.deb; do
        cmp "$package" "$folder/the_second/build/$(basename "$package")"
        cp "$package" "$folder"
        echo "built twice, the same bytes: $(basename "$package")"
    done
    lintian --fail-on error,warning "$folder"/*.deb
    reuse lint
    echo "The source archive, the packages and the recipes: $folder"
}

# --- on a clean machine ---

# Makes a Debian 12 without any of ours in a folder: the compilers, pkg-config, man and CMake.
make_clean_debian() {  # FOLDER
    local folder=$1 log=$PWD/build/chroot/debootstrap.log mirror
    [[ ! -e $folder/complete ]] || return 0
    mirror=$(grep -rhE '^(URIs:|deb )' /etc/apt/sources.list* |
        grep -oE 'https?://[^ ]*/debian/?( |$)' | sed -n '1s/ *$//p') || true
    rm -rf "$folder"
    mkdir -p "$folder" build/chroot/debs
    echo "Making a clean Debian in $folder"
    debootstrap --variant=minbase --include=g++,pkg-config,man-db,cmake,make \
        --cache-dir="$PWD/build/chroot/debs" bookworm "$folder" \
        "${mirror:-http://deb.debian.org/debian}" >"$log" 2>&1 || { tail "$log" && return 1; }
    touch "$folder/complete"
}

# The files of a system, but for caches and what we put there.
list_files() {  # FOLDER
    (cd "$1" && find etc usr var/lib/dpkg/info | LC_ALL=C sort)
}

# What a command says is shown only when it fails.
quietly() {  # COMMAND...
    local said
    said=$("$@" 2>&1) || { echo "$said" >&2 && return 1; }
}

# Refuses to go on when a command succeeds that must not.
must_fail() {  # PATTERN COMMAND...
    local pattern=$1 said
    shift
    if said=$("$@" 2>&1) || [[ $said != *$pattern* ]]; then
        printf '"%s" should have failed with "%s", and said:\n%s\n' "$*" "$pattern" "$said" >&2
        return 1
    fi
}

# Installs the packages there as a user does, writes programs by the manual pages alone, and takes
# the packages away again.
try_packages() {
    local debian=$PWD/build/chroot/trial package release run
    need "${needs_chroot[@]}"
    read_release
    ((EUID == 0)) || { echo "A chroot needs root" >&2 && return 1; }
    mkdir -p build/chroot
    pack_sources build/chroot/sources.tar.gz
    if ! cmp -s build/chroot/sources.tar.gz "build/package/zol-$release.tar.gz" ||
        ! compgen -G "build/package/*_${release}_*.deb" >/dev/null; then
        make_packages
    fi
    make_clean_debian "$PWD/build/chroot/debian"
    rm -rf "$debian"
    cp -a --reflink=auto build/chroot/debian "$debian"
    list_files "$debian" >build/chroot/before
    mkdir "$debian/packages"
    cp build/package/*_"${release}"_*.deb tests/install/manual_test.sh "$debian/packages"
    run=(env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8
        DEBIAN_FRONTEND=noninteractive chroot "$debian")

    echo "- installing"
    quietly "${run[@]}" sh -c 'apt-get -y install --no-install-recommends /packages/*.deb'
    "${run[@]}" dpkg --audit
    for package in libzol1 libzol-dev zol-tools; do
        "${run[@]}" dpkg --verify "$package"
        "${run[@]}" dpkg-query -W \
            -f '${Package} ${Version}, ${Installed-Size} kB, needs ${Depends}\n' "$package"
    done

    echo "- programs as zol(3) says"
    "${run[@]}" man 3 xstr_set >build/chroot/page
    grep -q "zol/str.h" build/chroot/page
    "${run[@]}" /packages/manual_test.sh
    echo "- the programs of the guide, as its page says"
    quietly "${run[@]}" sh -ec 'cmake -S /usr/share/doc/zol/examples/guide -B /guide
        cmake --build /guide'
    [[ $("${run[@]}" /guide/1_text_c "kitchen 40") == "kitchen: 40 W"* ]]

    echo "- removing"
    must_fail "dependency problems" "${run[@]}" dpkg --remove libzol1
    quietly "${run[@]}" apt-get -y purge libzol1
    must_fail libzol.so.1 "${run[@]}" /guide/1_text_c
    for package in libzol-dev zol-tools; do
        must_fail "no packages found" "${run[@]}" dpkg-query -W "$package"
    done
    list_files "$debian" | diff build/chroot/before -
    rm -rf "$debian"
    echo "Installed, used and removed on a clean Debian 12"
}
