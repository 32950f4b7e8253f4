#!/bin/bash
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
#
# week.sh FOLDER TOOLS: a week in the life of gardend, which is in FOLDER, under a clock that moves
# only when evlp-sim, which is in TOOLS, tells it to. Prints what is typed and what comes back. Ends
# with 0 if every answer is the expected one: there is no chance in it.
set -uo pipefail

PATH=$(cd "$1" && pwd):$(cd "$2" && pwd):$PATH
. "$(dirname "$0")/transcript.sh"
export TZ=UTC0
SECONDS=0

clock="evlp-sim --control clock"

echo
echo "--- A week in seconds: it is Monday, midnight ---"
start_daemon "evlp-sim run --control clock --date '2026-11-16 00:00:00' -- \
gardend --listen 127.0.0.1:0 --socket control --log-stderr 2>log"
expect 0 '^1$' "gardenctl --socket control schedule add roses mon,wed,fri 06:30 20"
expect 0 '^2$' "gardenctl --socket control schedule add lawn daily 21:00 30"
expect 0 '^3$' "gardenctl --socket control schedule add lawn sun 21:20 30"
expect 0 '^next roses mon 06:30$' "gardenctl --socket control status"

echo
echo "--- Monday, to the second ---"
expect 0 '' "$clock to '2026-11-16 06:29:59'"
expect 0 '2026-11-16 06:29:59' "$clock date"
expect 0 '^roses closed 0\.0 0\.000$' "gardenctl --socket control zones"
expect 0 '' "$clock advance 1"
expect 0 '^roses open 0\.0 0\.000 1200$' "gardenctl --socket control zones"
expect 0 '' "$clock advance 600"
expect 0 '^roses open 100\.0 36\.000 600$' "gardenctl --socket control zones"
expect 0 '"name":"roses","open":true,"secondsLeft":600,' "curl -q -s --noproxy '*' ${url}status.json"
expect 0 '' "$clock advance 600"
expect 0 '^roses closed 100\.0 72\.000$' "gardenctl --socket control zones"
expect 0 '^next lawn mon 21:00$' "gardenctl --socket control status"
expect 0 '' "$clock to '2026-11-16 23:59:00'"
expect 0 '^roses 1440 0\.0 7\.6 100\.0$' "gardenctl --socket control moisture"
expect 0 '' "$clock advance 60"
expect 0 '^litres 432\.000$' "gardenctl --socket control status"

echo
echo "--- The other days ---"
for litres in 792.000 1224.000 1584.000 2016.000 2376.000; do
    expect 0 '' "$clock advance 86400"
    expect 0 "^litres $litres\$" "gardenctl --socket control status"
done
expect 0 '' "$clock to '2026-11-22 21:20:00'"
expect 0 '^lawn open 100\.0 2400\.000 1800$' "gardenctl --socket control zones"
expect 0 '' "$clock to '2026-11-23 00:00:00'"
expect 0 '^litres 2976\.000$' "gardenctl --socket control status"
expect 0 '^next roses mon 06:30$' "gardenctl --socket control status"
expect 0 '^3$' "grep -c 'schedule 1: roses for 20 minutes' log"
expect 0 '^7$' "grep -c 'valve of lawn opened' log"
printf '\n(The week has taken less than %d seconds.)\n' $((SECONDS + 1))

finish
