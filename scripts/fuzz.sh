# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# The fuzzers.

# Goes on from where it stopped the last time: inputs that reach something new stay in build/fuzz.
# What makes a target fail goes to build/fuzz/found, and from there, mended, to fuzz/corpus.
fuzz() {
    local seconds=300 target name log bad=0
    [[ ${1:-} == --quick ]] && seconds=10
    need "${needs_fuzz[@]}"
    cmake --preset fuzz >/dev/null
    cmake --build --preset fuzz -j "$jobs" --target fuzz/all -- --quiet
    mkdir -p build/fuzz/found
    for target in build/fuzz/fuzz/*_fuzz; do
        name=$(basename "$target" _fuzz)
        log=$target.log
        mkdir -p "$target.inputs"
        if "$target" -max_total_time=$seconds -max_len=4000 -timeout=10 -rss_limit_mb=1000 \
            -artifact_prefix="build/fuzz/found/$name-" "$target.inputs" "fuzz/corpus/$name" \
            >"$log" 2>&1; then
            printf 'clean     %-16s %s\n' "$name" "$(grep '^Done' "$log")"
        else
            printf 'FAILED    %s, the end of %s:\n' "$name" "$log"
            tail -n 40 "$log"
            bad=1
        fi
    done
    return $bad
}
