#!/usr/bin/env bash
# The end of ./run, whenever it is asked for and however it comes; with the programs of the build given as the argument.
source "$(dirname "$0")/lib.sh"
export KORVEX_BUILD_DIR=$1
state=$work/state
not() { ! "$@"; }
runs() { grep -q -s '^State:[[:space:]]*[^ZX]' "/proc/$1/status"; }

# start ARGUMENT...: in a group of its own. Without -m a shell lets what it starts in the background ignore SIGINT, and what
# sets that right would itself ignore one that comes too soon.
start() {
    rm -f "$work/out" "$work/err"
    set -m
    "$run" --state "$state" "$@" >"$work/out" 2>"$work/err" &
    set +m
    pid=$!
}

# left_over: what a ./run with this state folder started and still runs.
left_over() {
    local process
    for process in $(pgrep -f "$state|^lighttpd|korvex_live"); do
        case $(readlink "/proc/$process/cwd") in
        "$state"*) runs "$process" && ps -o pid=,args= -p "$process" ;;
        esac
    done
}
nothing_left() { [ -z "$(left_over)" ]; }

deaf=
for ((after = 0; after < 500; after += 30)); do
    start
    sleep "$(printf '0.%03d' "$after")"
    # To ./run alone, or to all of its group as a terminal does.
    [ $((after % 60)) -eq 0 ] && to=$pid || to=-$pid
    kill -INT -- "$to" 2>/dev/null || true
    within 60 not runs "$pid" || {
        deaf+=" $after"
        kill -KILL "$pid"
    }
    wait "$pid" 2>/dev/null || true
    within 20 nothing_left || deaf+=" $after (left: $(left_over))"
done
check "a SIGINT is heard whenever it comes in the first half second, and leaves nothing (deaf, in ms:$deaf)" test -z "$deaf"
check "nor does the pages' folder keep what was there for its web server" test ! -e "$state/html/pages"

# A shell between ./run and the application that neither becomes the application nor passes signals on.
mkdir -p "$work/build/host" "$work/build/platform"
for part in axparameter larod vdostream; do
    ln -s "$1/platform/$part" "$work/build/platform/$part"
done
printf '#!/bin/sh\nulimit -n 1000\n"%s" "$@"\nexit $?\n' "$1/host/korvex_live" >"$work/build/host/korvex_live"
chmod +x "$work/build/host/korvex_live"
ln -s "$1/host/korvex_run" "$work/build/host/korvex_run"
export KORVEX_BUILD_DIR=$work/build
application() { pgrep -f "^$1/host/korvex_live"; }

# of_state PID...: those that run in the state folder.
of_state() {
    local process
    for process in "$@"; do
        [ "$(readlink "/proc/$process/cwd")" != "$state" ] || echo "$process"
    done
}
for signal in KILL TERM; do
    start --accept-eula
    within 120 grep -q -s '^status' "$work/out"
    # shellcheck disable=SC2046 # one word each
    found=$(of_state $(application "$1"))
    check "behind a shell the application runs" test "$(wc -w <<<"$found")" -eq 1
    kill "-$signal" "$pid"
    wait "$pid" 2>/dev/null || true
    check "and ends with ./run by SIG$signal" within 60 not runs "$found"
    check "and so does the rest of it" within 60 nothing_left
    check "which had the time for its last words" grep -q 'STOPPING' "$state/localdata/OrvelLog.txt"
    rm -f "$state/localdata/OrvelLog.txt"
done
finish
