# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# The showcase daemon, to look at and as a tour.

demo() {
    local gardend=build/gardend-host folder
    need "${needs_demo[@]}"
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
