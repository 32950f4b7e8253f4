# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
#
# For scripts that visit gardend and print what is typed and what comes back. To be sourced, with
# gardend in the PATH; goes to a fresh folder, which is removed at the end.

export LC_ALL=C  # gardenctl speaks the language of its user

daemon=
folder=$(mktemp -d) || exit 1
trap 'kill $daemon 2>/dev/null; rm -rf "$folder"' EXIT
cd "$folder" || exit 1
failures=0

# Starts the daemon in the background, and sets url once it is ready.
start_daemon() {  # COMMAND
    local name ready control
    printf '$ %s\n' "$1"
    mkfifo output || exit 1
    eval "exec timeout 300 $1" >output &  # so that $! is the one to be killed
    daemon=$!
    exec 3<output
    if ! IFS=' ' read -r -t 30 -u 3 name ready url control; then
        echo "gardend does not start"
        exit 1
    fi
    printf '%s %s %s %s\n' "$name" "$ready" "$url" "$control"
}

# Shows a command and its answer, which has to match a pattern.
expect() {  # EXIT_STATUS PATTERN COMMAND
    local answer status
    answer=$(eval "$3" 2>&1)
    status=$?
    printf '\n$ %s\n%s\n' "$3" "${answer//$'\r'/}"
    if ((status != $1)) || ! grep -qE -- "$2" <<<"$answer"; then
        printf '!!! exit status %d; expected was %d and an answer like: %s\n' "$status" "$1" "$2"
        failures=$((failures + 1))
    fi
}

# Ends the daemon, and the script: with 0 if every answer was the expected one.
finish() {
    local status
    echo
    echo "--- The end ---"
    expect 0 '^$' "gardenctl --socket control quit"
    wait "$daemon"
    status=$?
    printf '\n(gardend has ended with exit status %d)\n' "$status"
    ((status == 0)) || failures=$((failures + 1))
    expect 1 'no gardend' "gardenctl --socket control status"

    echo
    if ((failures > 0)); then
        echo "$failures answers were not the expected ones."
        exit 1
    fi
    echo "Every answer was the expected one."
    exit 0
}
