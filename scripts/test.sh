# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# Every test on every target.

# Test cases that do not run under valgrind, by program, as patterns of GoogleTest; with the reasons.
declare -A left_out=(
    # valgrind does not let a program lower its own limit of descriptors.
    [net_server_test]="Server.WithoutDescriptorsPausesAndServesOnceTheyComeBack"
    # A year takes minutes there, and memory is used in the same way in every zone: one is enough.
    [sched_year_test]="*Utc:*Kolkata:*NewYork:*LordHowe"
    # A million turns each, all alike.
    [sim_test]="SimEndless.*"
    # valgrind dies of some programs that cannot be executed, and ten thousand children take minutes.
    [xexec_test]="*WithAMissingInterpreter:*TenThousand*"
)

# Test programs that bring a malloc or an operator new of their own: valgrind leaves those alone.
own_allocator=(
    alloc_faults_test core_force_test evlp_alloc_test gardend_faults_test sim_alloc_test
    xexec_alloc_test
)

summary=()
failures=0

# Runs one stage of the tests, to its first failure, and notes how it ended.
stage() {  # NAME COMMAND...
    local name=$1 status=0
    shift
    printf '\n=== %s ===\n' "$name"
    set +e
    (set -e; "$@")
    status=$?
    set -e
    if ((status == 0)); then
        summary+=("ok      $name")
    else
        summary+=("FAILED  $name")
        failures=$((failures + 1))
    fi
}

run_ctest() {  # PRESET
    build "$1"
    ctest --preset "$1" -j "$jobs"
}

# Runs one test program under valgrind, with a program loader where one is given.
check_memory() {  # PROGRAM [LOADER...]
    local program=$1 name log special=()
    local check=(valgrind -q --error-exitcode=1 --leak-check=full)
    shift
    name=$(basename "$program")
    log=$program.memcheck.log
    check+=(--suppressions=tests/support/valgrind.supp)
    [[ " ${own_allocator[*]} " == *" $name "* ]] &&
        special=(--soname-synonyms=somalloc=nouserintercepts)
    if "${check[@]}" "${special[@]}" "$@" "$program" \
        --gtest_filter="-${left_out[$name]:-}" >"$log" 2>&1; then
        echo "clean     $name ($(grep -c '^\[       OK' "$log") tests)" \
            "${left_out[$name]:+left out: ${left_out[$name]}}"
    else
        echo "FAILED    $name, the end of $log:"
        grep -vE '^(\[( RUN|       OK|---)|--[0-9])' "$log" | tail -n 60
        return 1
    fi
}

# Runs the test programs of a preset under valgrind, as many at a time as there are processors.
run_memcheck() {  # PRESET [LOADER...]
    local preset=$1 programs program running=0 bad=0
    shift
    mapfile -t programs < <(find "build/$preset/tests" -name '*_test' -type f -executable | sort)
    ((${#programs[@]} > 0)) || { echo "There are no test programs." && return 1; }
    for program in "${programs[@]}"; do
        if ((running == jobs)); then
            wait -n || bad=1
            running=$((running - 1))
        fi
        check_memory "$program" "$@" &
        running=$((running + 1))
    done
    for (( ; running > 0; running--)); do
        wait -n || bad=1
    done
    return $bad
}

# Fetches a private C library for i386, with the debug files without which valgrind does not run
# 32-bit programs. The system's own package lists stay as they are.
fetch_i386_libc() {  # FOLDER
    local folder=$1 lists object id options
    [[ -e $folder/complete ]] && return
    mkdir -p "$folder"
    lists=$(mktemp -d)
    mkdir -p "$lists/lists/partial" "$lists/cache/archives/partial"
    touch "$lists/status"
    options=(-qq -oAPT::Architecture=i386 -oAPT::Architectures=i386
             -oDir::State::Lists="$lists/lists" -oDir::State::status="$lists/status"
             -oDir::Cache="$lists/cache" -oAPT::Sandbox::User=root)
    # An update that fails for one of several sources may have what is wanted all the same.
    apt-get "${options[@]}" update || true
    if ! (cd "$lists" && apt-get "${options[@]}" download libc6 libc6-dbg libgcc-s1 libstdc++6); then
        echo "Debian's libc6 and libc6-dbg for i386 cannot be fetched: valgrind needs them." >&2
        return 1
    fi
    for object in "$lists"/*.deb; do
        dpkg-deb -x "$object" "$folder"
    done
    rm -rf "$lists"
    # valgrind looks for the debug files beside their objects.
    for object in "$folder"/lib/i386-linux-gnu/{ld-linux.so.2,libc.so.6}; do
        id=$(readelf -n "$object" | sed -n 's/.*Build ID: //p')
        ln -sf "$folder/usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug" \
            "$(dirname "$object")/${id:2}.debug"
    done
    touch "$folder/complete"
}

run_memcheck_i386() {
    local libc=$PWD/build/i386-libc
    fetch_i386_libc "$libc"
    run_memcheck i386 "$libc/lib/i386-linux-gnu/ld-linux.so.2" \
        --library-path "$libc/lib/i386-linux-gnu:$libc/usr/lib/i386-linux-gnu"
}

# Visits the gardend of a preset, which may run under a WRAPPER. A week in virtual time passes only
# without one and without sanitizers: the virtual clock has to be loaded before everything else.
run_system_tests() {  # PRESET [WRAPPER]
    local simulator=() script
    build_gardend "$1"
    [[ $1 == *-sanitize || -n ${2:-} ]] || simulator=(--simulator "stage/$1/bin/evlp-sim")
    for script in tests/system/*_system_test.py; do
        LSAN_OPTIONS=suppressions=$PWD/tests/system/leaks.supp \
            /usr/bin/python3 "$script" --programs "build/gardend-$1" --wrapper "${2:-}" \
            "${simulator[@]}"
    done
}

run_tests() {
    local preset
    need "${needs_test[@]}"
    stage "lint" lint
    for preset in "${presets[@]}"; do
        stage "$preset: tests" run_ctest "$preset"
    done
    stage "host: tests under valgrind" run_memcheck host
    stage "i386: tests under valgrind" run_memcheck_i386
    stage "gardend: tour" demo --tour
    for preset in "${presets[@]}"; do
        stage "gardend: system tests, $preset" run_system_tests "$preset"
    done
    stage "gardend: system tests under valgrind" run_system_tests host \
        "valgrind -q --error-exitcode=99 --leak-check=full \
            --suppressions=$PWD/tests/support/valgrind.supp"

    printf '\n=== summary ===\n'
    printf '%s\n' "${summary[@]}"
    ((failures == 0))
}
