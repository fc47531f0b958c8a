#!/usr/bin/env bash
# What a person sees who starts ./run and waits, checked: for SECONDS (default 100) the built-in scene runs; the three
# alerts must come up and go with its vehicles (bench/acceptance_check.py has the rules), the same on the console, in the
# journal and at an MQTT client. Pictures of three streams are left for the eye.
# Usage: bench/acceptance.sh [SECONDS [FOLDER]]; FOLDER (default build/acceptance) gets everything that was said.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../tools/common.sh"

seconds=${1:-100}
folder=${2:-$root/build/acceptance}
programs=${KORVEX_BUILD_DIR:-$root/build/bench}
if [ -z "${KORVEX_BUILD_DIR:-}" ]; then
    source "$root/tools/build.sh"
    build bench street_truth
fi
command -v mosquitto_sub >/dev/null || fail "the MQTT client is missing; install mosquitto and mosquitto-clients."
PATH=$PATH:/usr/sbin
rm -rf "$folder"
mkdir -p "$folder"
folder=$(realpath "$folder")

"$root/tests/run/broker.sh" "$folder/broker" &
broker=$!
application=
trap 'kill $application $broker 2>/dev/null || true' EXIT
until [ -s "$folder/broker/port" ]; do
    sleep 0.1
done
port=$(cat "$folder/broker/port")

"$root/run" --accept-eula --state "$folder/state" --mqtt "127.0.0.1:$port" --set AnonOverlaysOn=true \
    --record "$folder/overlay.mp4" >"$folder/console.txt" 2>"$folder/said.txt" &
application=$!
until grep -q -E '^status (200|50[234]|600)' "$folder/console.txt"; do
    kill -0 "$application" 2>/dev/null || fail "./run ended: $(tail -n 1 "$folder/said.txt")"
    sleep 0.2
done
say "$(nproc) cores, load $(cut -d ' ' -f 1 /proc/loadavg); the application runs, $seconds s from now."
address=$(sed -n 's/^Its pages are at //p' "$folder/said.txt")
sleep $((seconds / 2))
for size in 1280x720 640x360 800x600; do
    curl --silent --show-error --fail --output "$folder/$size.jpg" "${address}stream/$size.jpg"
done
sleep $((seconds - seconds / 2))
say "load $(cut -d ' ' -f 1 /proc/loadavg) at the end."
kill -TERM "$application"
wait "$application" || fail "./run ended with status $?"
application=
sleep 0.5
kill "$broker"
broker=
"$programs/bench/street_truth" "$((seconds + 600))" >"$folder/truth.txt"
/usr/bin/python3 "$root/bench/acceptance_check.py" "$folder"
