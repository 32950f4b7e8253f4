#!/bin/bash
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
#
# tour.sh FOLDER: a visit to gardend, which is in FOLDER, with curl and gardenctl. Prints what is
# typed and what comes back. Ends with 0 if every answer is the expected one.
set -uo pipefail

PATH=$(cd "$1" && pwd):$PATH
daemon=
folder=$(mktemp -d) || exit 1
trap 'kill $daemon 2>/dev/null; rm -rf "$folder"' EXIT
failures=0

# As everybody has it: no proxy, no settings of the person who runs this.
curl() {
    command curl -q --noproxy '*' "$@"
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

# Repeats a command until its answer matches a pattern: the clients themselves are the pause.
repeat_until() {  # PATTERN COMMAND
    local end=$((SECONDS + 30))
    until eval "$2" 2>&1 | grep -qE -- "$1"; do
        ((SECONDS < end)) || return 1
    done
}

mkfifo "$folder/output" || exit 1
printf '$ gardend --listen 127.0.0.1:0 --socket control --tick 20\n'
timeout 300 gardend --listen 127.0.0.1:0 --socket "$folder/control" --tick 20 >"$folder/output" &
daemon=$!
exec 3<"$folder/output"
if ! IFS=' ' read -r -t 30 -u 3 name ready url control; then
    echo "gardend does not start"
    exit 1
fi
printf '%s %s %s control\n' "$name" "$ready" "$url"
cd "$folder" || exit 1

echo
echo "--- The status page, for people and for programs ---"
expect 0 '<tr><td>roses</td><td>closed</td>' "curl -s $url | grep '<td>'"
expect 0 '^Content-Type: text/html; charset=utf-8' "curl -s --head $url"
expect 0 '"name":"roses","open":false' "curl -s ${url}status.json"

echo
echo "--- Watering, through the control socket ---"
expect 0 '^roses closed [0-9.]+ 0\.000$' "gardenctl --socket control zones"
expect 0 '^$' "gardenctl --socket control open roses"
repeat_until '"name":"roses","open":true,[^}]*"litres":[0-9]+\.[0-9]*[1-9]' \
    "curl -s ${url}status.json"
expect 0 '"open":true,[^}]*"litres":[0-9]+\.[0-9]*[1-9]' "curl -s ${url}status.json"
expect 0 '^roses open ' "gardenctl --socket control zones"
expect 0 '^open 1$' "gardenctl --socket control status"
expect 0 '^$' "gardenctl --socket control close roses"
expect 0 '^open 0$' "gardenctl --socket control status"

echo
echo "--- What it refuses ---"
expect 1 'no such zone' "gardenctl --socket control open ivy"
expect 2 'Try gardenctl --help' "gardenctl --socket control water everything"
expect 1 'no gardend' "gardenctl --socket nowhere status"
expect 0 '^HTTP/1.1 404 Not Found' "curl -si ${url}cellar"
expect 0 '^Allow: GET, HEAD' "curl -si --data water=yes $url"
expect 0 '^HTTP/1.1 400 Bad Request' "curl -si --header 'Host:' $url"
expect 0 '^HTTP/1.1 413 Content Too Large' \
    "head -c 100000 /dev/zero | curl -si --header Expect: --data-binary @- $url"
expect 0 '^HTTP/1.1 431 ' "curl -si --header \"A: \$(printf '%09000d' 0)\" $url"

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
