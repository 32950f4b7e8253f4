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

# Runs one stage of the tests, to its first failure, and notes how it ended and how long it took.
stage() {  # NAME COMMAND...
    local name=$1 status=0 begun=$SECONDS
    shift
    printf '\n=== %s ===\n' "$name"
    set +e
    (set -e; "$@")
    status=$?
    set -e
    if ((status == 0)); then
        summary+=("$(printf 'ok      %5d s  %s' $((SECONDS - begun)) "$name")")
    else
        summary+=("$(printf 'FAILED  %5d s  %s' $((SECONDS - begun)) "$name")")
        failures=$((failures + 1))
    fi
}

run_ctest() {  # PRESET
    make_toolchain "$1"
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
# 32-bit programs.
fetch_i386_libc() {  # FOLDER
    local folder=$1 object id
    [[ -e $folder/complete ]] && return
    update_lists i386
    unpack_packages i386 "$folder" libc6 libc6-dbg libgcc-s1 libstdc++6
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

run_memcheck_system() {
    run_system_tests host "valgrind -q --error-exitcode=99 --leak-check=full \
        --suppressions=$PWD/tests/support/valgrind.supp"
}

# What fits into 25 minutes on two processors: each word size, each kind of checker on one of them,
# budgets and interface also of ARM, whose compiler is fetched in seconds. With --all, every checker
# on everything, every target, and what takes a whole system.
run_tests() {  # [--all]
    local preset all=0
    if [[ ${1:-} == --all ]]; then
        all=1
    else
        size_targets=(host i386 armhf)
        abi_targets=("${size_targets[@]}")
    fi
    need "${needs_test[@]}" "${needs_lint[@]}" "${needs_size[@]}" "${needs_abi[@]}"

    stage "lint" lint
    stage "host: tests" run_ctest host
    stage "i386: tests" run_ctest i386
    stage "i386-sanitize: tests" run_ctest i386-sanitize
    stage "host: tests under valgrind" run_memcheck host
    stage "budgets of size" size_of_libraries
    stage "binary interface" check_abi
    stage "gardend: tour" demo --tour
    stage "gardend: system tests, i386" run_system_tests i386
    stage "gardend: system tests, i386-sanitize" run_system_tests i386-sanitize
    if ((all)); then
        for preset in host-sanitize host-clang i386-musl armhf armhf-musl i386-uclibc; do
            stage "$preset: tests" run_ctest "$preset"
        done
        stage "i386: tests under valgrind" run_memcheck_i386
        stage "gardend: system tests, host" run_system_tests host
        stage "gardend: system tests, host-sanitize" run_system_tests host-sanitize
        stage "gardend: system tests under valgrind" run_memcheck_system
        stage "gardend: on small targets" demo --target
        stage "packages" make_packages
        stage "packages on a clean Debian" try_packages
    fi

    printf '\n=== summary ===\n'
    printf '%s\n' "${summary[@]}"
    ((failures == 0))
}
