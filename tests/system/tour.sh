#!/bin/bash
# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
#
# tour.sh FOLDER: a visit to gardend, which is in FOLDER, with curl and gardenctl. Prints what is
# typed and what comes back. Ends with 0 if every answer is the expected one.
set -uo pipefail

PATH=$(cd "$1" && pwd):$PATH
. "$(dirname "$0")/transcript.sh"

# As everybody has it: no proxy, no settings of the person who runs this.
curl() {
    command curl -q --noproxy '*' "$@"
}

# Repeats a command until its answer matches a pattern: the clients themselves are the pause.
repeat_until() {  # PATTERN COMMAND
    local end=$((SECONDS + 30))
    until eval "$2" 2>&1 | grep -qE -- "$1"; do
        ((SECONDS < end)) || return 1
    done
}

printf '#!/bin/sh\necho "$*" >>told\n' >hook
chmod +x hook
cat >garden.conf <<'END'
zone lawn  on line 0, 200 ml/s;
zone roses on line 1,  60 ml/s;
zone ivy-wall on line 2, 80 ml/s;
zone hedge on line 3, 120 ml/s;
log folder ".";
END
start_daemon "gardend --config garden.conf --listen 127.0.0.1:0 --socket control --tick 20 \
--hook ./hook --job self-test=true --job 'helper=sleep 1000'"

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
expect 0 '^$' "gardenctl --socket control open lawn 90"
expect 0 '^lawn open [0-9.]+ [0-9.]+ 5[0-9]{3}$' "gardenctl --socket control zones"
expect 0 '^lawn [0-9]+ [0-9.]+ [0-9.]+ [0-9.]+$' "gardenctl --socket control moisture"

echo
echo "--- Watering by the calendar ---"
# Whatever the time of day is, nothing may be watered during the visit.
roses_at=$(printf '%02d:30' $(((10#$(date +%H) + 10) % 24)))
lawn_at=$(printf '%02d:00' $(((10#$(date +%H) + 14) % 24)))
expect 0 '^1$' "gardenctl --socket control schedule add roses mon,wed,fri $roses_at 20"
expect 0 '^2$' "gardenctl --socket control schedule add lawn daily $lawn_at 30"
expect 0 "^1 roses mon,wed,fri $roses_at 20$" "gardenctl --socket control schedule list"
expect 0 "^next (roses|lawn) [a-z]{3} ($roses_at|$lawn_at)$" "gardenctl --socket control status"
expect 0 "<td>mon,wed,fri</td><td>$roses_at</td>" "curl -s $url | grep mon,wed,fri"
expect 0 '^$' "gardenctl --socket control schedule remove 1"
expect 0 "^2 lawn daily $lawn_at 30$" "gardenctl --socket control schedule list"

echo
echo "--- Drivers are plug-ins; jobs and hooks are programs of their own ---"
expect 0 '^sim_valve.so valves$' "gardenctl --socket control plugins"
repeat_until '^self-test idle - 1 0 0$' "gardenctl --socket control jobs"
expect 0 '^helper running [0-9]+ 1 0 -$' "gardenctl --socket control jobs"
expect 0 '^$' "gardenctl --socket control run self-test"
expect 1 'the job is running' "gardenctl --socket control run helper"
repeat_until '^self-test idle - 2 0 0$' "gardenctl --socket control jobs"
expect 0 '^self-test idle - 2 0 0$' "gardenctl --socket control jobs"
expect 0 '^$' "gardenctl --socket control close lawn"
repeat_until '^lawn closed$' "cat told"
expect 0 '^lawn closed$' "cat told"

echo
echo "--- In the language of the reader ---"
expect 0 '<h1>Der Garten' "curl -s --header 'Accept-Language: de-AT, en;q=0.5' $url | grep -A 3 '<h1>'"
expect 0 'nächste Bewässerung: lawn,' "curl -s --header 'Accept-Language: de' $url | grep '<footer>'"
expect 0 '<h1>Le jardin' "curl -s --header 'Accept-Language: fr' $url | grep -A 3 '<h1>'"
expect 0 '^Content-Language: fr' "curl -s --head --header 'Accept-Language: ja, fr;q=0.1' $url"
expect 0 ' of 4 valves open · .* next: lawn on ' "gardenctl --socket control summary"
expect 0 ' von 4 Ventilen offen · ' "gardenctl --socket control --lang de summary"
expect 0 ' sur 4 · eau distribuée' "LANG=fr_FR.UTF-8 LC_ALL= gardenctl --socket control summary"
expect 1 'diese Zone gibt es nicht' "gardenctl --socket control --lang de open ivy"

echo
echo "--- On the display of the device, which has ASCII and 20 columns ---"
expect 0 " $lawn_at lawn$" "gardenctl --socket control display"
expect 0 '^vannes fermees$' "gardenctl --socket control --lang fr display"

echo
echo "--- Another configuration: a mistake, a rule, and a user ---"
echo 'rule dry = moisture of rosse below 30 %;' >>garden.conf
expect 1 '^ +\^~~~~$' "gardenctl --socket control reload"
expect 0 '^zones 4$' "gardenctl --socket control status"
sed -i 's/rosse/roses/' garden.conf
cat >>garden.conf <<END
water roses daily at $roses_at for 20 minutes;
water roses only when dry and not between 11:00 and 17:00;
user "anna" password "sécret";
download key "tour" for 5 minutes;
END
expect 0 '^$' "gardenctl --socket control reload"
expect 0 " roses daily $roses_at 20" "gardenctl --socket control schedule list"
expect 0 '^WWW-Authenticate: Digest realm="gardend", nonce="' "curl -si $url"
expect 0 '^HTTP/1.1 401 Unauthorized' "curl -s --digest --user anna:guess --head $url"
expect 0 '"name":"roses"' "curl -s --digest --user anna:sécret ${url}status.json"
log=$(curl -s --digest --user anna:sécret "$url" | grep -o '/log/[^"]*/moisture\.log')
expect 0 ' roses [0-9.]+' "curl -s ${url%/}$log | head -n 4"
expect 0 '^HTTP/1.1 403 Forbidden' "curl -si ${url%/}${log/moisture/passwords}"

echo
echo "--- What it refuses ---"
expect 1 'no such zone' "gardenctl --socket control open ivy"
expect 2 'Try gardenctl --help' "gardenctl --socket control water everything"
expect 1 'no such zone' "gardenctl --socket control schedule add ivy daily 06:30 20"
expect 2 'the time must be' "gardenctl --socket control schedule add lawn daily 25:00 20"
expect 2 'the minutes must be' "gardenctl --socket control open roses soon"
expect 1 'no such schedule' "gardenctl --socket control schedule remove 1"
expect 1 'no gardend' "gardenctl --socket nowhere status"
expect 0 '^HTTP/1.1 404 Not Found' "curl -si --digest --user anna:sécret ${url}cellar"
expect 0 '^Allow: GET, HEAD' "curl -si --digest --user anna:sécret --data water=yes $url"
expect 0 '^HTTP/1.1 400 Bad Request' "curl -si --header 'Host:' $url"
expect 0 '^HTTP/1.1 413 Content Too Large' \
    "head -c 100000 /dev/zero | curl -si --header Expect: --data-binary @- $url"
expect 0 '^HTTP/1.1 431 ' "curl -si --header \"A: \$(printf '%09000d' 0)\" $url"

finish
