#!/usr/bin/env bash
# One inference service for two cameras, with the programs of the build given as the argument.
source "$(dirname "$0")/lib.sh"
export KORVEX_BUILD_DIR=$1
socket=$work/inference/socket
has() { grep -q -s -E "$1" "$2"; }
not() { ! "$@"; }
running() { kill -0 "$1" 2>/dev/null; }
ended() {
    kill -TERM "$1"
    within 60 not running "$1" && wait "$1"
}
started=()
trap 'kill "${started[@]}" 2>/dev/null || true; wait; rm -rf "$work"' EXIT

check "a service that nobody started is refused" refused 'no inference service listens at' --inference "$socket"
"$run" --inference-service "$socket" 2>"$work/service.err" &
service=$!
started+=("$service")
check "the service listens, in a folder that is nobody else's" within 60 test -S "$socket"
check "so that others cannot enter it" test "$(stat -c %a "$work/inference")" = 700
check "a second one there is refused" refused 'another service listens there' --inference-service "$socket"

for camera in gate yard; do
    "$run" --state "$work/$camera" --accept-eula --niceness 0 --model fast --inference "$socket" \
        --set MainLoopTime=2000 >"$work/$camera.out" 2>"$work/$camera.err" &
    started+=("$!")
    check "a camera reaches status 200 with it" within 240 has '^status (200|50[234]) .* ms' "$work/$camera.out"
done
children() { cat "/proc/$1/task/$1/children"; }
check "no camera has one of its own" test -z "$(pgrep -f 'korvex_larod --client' | while read -r pid; do
    grep -q -s "$work" "/proc/$pid/environ" && echo "$pid"
done)"
check "the cameras share its workers" test -n "$(children "$service")"
check "a camera ends with status 0" ended "${started[1]}"
check "and the other one" ended "${started[2]}"
check "the service ends with status 0" ended "$service"
check "and leaves no socket" not test -e "$socket"
finish
