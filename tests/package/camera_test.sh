#!/usr/bin/env bash
# camera_test.sh ARCHIVE: the executable of a package on the virtual camera, from its installation to its upgrade. The
# network is a small one that sees a car in the area at once.
source "$(dirname "$0")/../run/lib.sh"
archive=$1
machine=aarch64
[[ $archive != *_x86_64.tar.gz ]] || machine=x86_64
state=$work/state
log=$state/package/localdata/OrvelLog.txt
has() { grep -q -s -e "$1" "$2"; }
has_times() { [ "$(grep -c -s -e "$2" "$3")" -eq "$1" ]; }
running() { kill -0 "$pid" 2>/dev/null; }
not() { ! "$@"; }
is_refused() { not "$@" >"$work/refused" 2>&1; }
page() { curl -s -f -m 20 "http://127.0.0.1:$port/local/korvex_orvel/$1"; }
ask() { page "korvex_orvel_fcgi.cgi?action=$1" "${@:2}"; }
status_is() { grep -q -x -E "$1" <<<"$(ask get_status_code)"; }

# of_version VERSION: the same package, as that version.
of_version() {
    local folder=$work/version_$1 other
    other=$work/korvex_orvel_$1_$machine.tar.gz
    mkdir "$folder"
    tar -xzf "$archive" -C "$folder"
    sed -i "s/^    \"version\": .*/    \"version\": \"$1\",/" "$folder/korvex_orvel/manifest.json"
    tar -czf "$other" -C "$folder" korvex_orvel
    echo "$other"
}

start() {
    port=$((20000 + RANDOM % 10000))
    "$root/package/try" "$1" --state "$state" --port "$port" --toy --set Alert1ThreshSeconds=1 >"$work/said" 2>&1 &
    pid=$!
    within 120 status_is '200|50[234]|600'
}

stop() {
    kill -TERM "$pid"
    within 60 not running && wait "$pid"
}

check "the package is installed and its executable comes to its passes" start "$archive"
check "three alert events are declared" has_times 3 '"declared"' "$state/events.jsonl"
check "the car that the passes see raises the first" within 120 has '"event".*First Alert","active":true' "$state/events.jsonl"
check "the pages come through the web server" cmp <(page index.html) "$root/html/index.html"
check "a stream shows the picture" test "$(curl -s -m 5 "http://127.0.0.1:$port/stream/640x360.mjpg" | head -c 20000 | wc -c)" -eq 20000
ask get_all_parameters | sed 's|<Alert3ThreshSeconds>[0-9]*<|<Alert3ThreshSeconds>77<|' >"$work/document"
post() { curl -s -f -m 60 -o "$work/answer" -H 'Content-Type: text/xml' --data-binary "@$work/document" \
    "http://127.0.0.1:$port/local/korvex_orvel/korvex_orvel_fcgi.cgi?action=set_post_parameters"; }
kept() { grep -q '<Alert3ThreshSeconds>77<' <<<"$(ask get_all_parameters)"; }
check "a setting is posted" post
check "and holds" kept
check "TERM ends it with status 0" stop
check "the log, which is written in portions, has its start" has 'STARTING korvex_orvel' "$log"
check "its model is on chip 12, at a camera's place" has \
    'Setting up larod connection with chip 12 and model /mnt/flash/usr/local/packages/korvex_orvel/detect_960_540.tflite' "$log"
check "and is loaded" has 'Model loaded successfully' "$log"
check "its last words are in the log" has 'STOPPING korvex_orvel' "$log"
check "the events are withdrawn" has_times 3 '"undeclared"' "$state/events.jsonl"

mv "$log" "$log.first"
check "it starts again" start "$archive"
check "with the setting" kept
check "and ends" stop
mv "$log" "$log.second"

newer=$(of_version 99.0.0)
check "a newer version goes over it" start "$newer"
check "and is there" has '"version": "99.0.0"' "$state/package/manifest.json"
check "the setting is kept" kept
check "the log is kept" has 'STOPPING korvex_orvel' "$log.first"
check "and ends as well" stop
check "an older version is refused" is_refused "$root/package/try" "$archive" --state "$state" --port "$port"
check "with a sentence" has '^package/install: version 99.0.0 is installed, and .* is older; nothing was changed.$' "$work/refused"
check "the newer one is still there" has '"version": "99.0.0"' "$state/package/manifest.json"
check "with its log" has 'STOPPING korvex_orvel' "$log"

printf 'x' | dd of="$work/version_99.0.0/korvex_orvel/html/index.html" conv=notrunc status=none
tar -czf "$newer" -C "$work/version_99.0.0" korvex_orvel
check "a damaged package is refused" is_refused "$root/package/try" "$newer" --state "$state" --port "$port"
check "with a sentence too" has '^package/install: html/index.html is damaged or missing; nothing was changed.$' "$work/refused"
check "and changes nothing" cmp "$state/package/html/index.html" "$root/html/index.html"
check "a package for another processor is refused" is_refused "$root/package/install" "$archive" "$work/other" --arch riscv64
check "with its name" has "the package is for $machine, and this camera is riscv64" "$work/refused"
check "and nothing is installed" test ! -e "$work/other"
[ "$failures" -eq 0 ] || cat "$work/said" "$log"
finish
