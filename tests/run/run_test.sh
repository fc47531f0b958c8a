#!/usr/bin/env bash
# ./run on the built-in scene, with the programs of the build given as the argument.
source "$(dirname "$0")/lib.sh"
export KORVEX_BUILD_DIR=$1
state=$work/state
# What a view covers must look the same afterwards.
list_places() { ls -laR --time-style=+ /usr/local/packages /mnt/flash 2>&1 || true; }
before=$(list_places)

start() {
    # Slow passes under a sanitizer must not hide the status that is waited for.
    "$run" --state "$state" --set MainLoopTime=2000 "$@" >"$work/out" 2>"$work/err" &
    pid=$!
}
running() { kill -0 "$pid" 2>/dev/null; }
has() { grep -q -s -E "$1" "$2"; }
ended_after_term() {
    kill -TERM "$pid"
    # Under a sanitizer the running pass alone may take seconds: the limit is generous, the time is for ./run's users.
    within 20 not running && wait "$pid"
}
not() { ! "$@"; }
count_is() { [ "$(grep -c -E "$2" "$3")" -eq "$1" ]; }

start
check "without the agreement it says how to accept it" within 60 has '\./run --accept-eula' "$work/err"
check "and its passes have status 408" within 60 has '^status 408' "$work/out"
check "a second ./run with the same state is refused" refused 'another ./run uses' --state "$state"
check "TERM ends it with status 0" ended_after_term

start --accept-eula
check "with the agreement it reaches status 200" within 120 has '^status (200|50[234]) .* ms' "$work/out"
check "and detects the scene's vehicles" within 60 has '(Car|Bus|Truck) 0\.' "$work/out"
check "TERM ends it with status 0 again" ended_after_term
check "each run's log ends with its last line" count_is 2 '\|STOPPING korvex_orvel$' "$state/localdata/OrvelLog.txt"
check "nothing of it runs on" not pgrep -f "chdir $state"
KORVEX_AXPARAMETER_STORE=$state/parameters.sqlite "$1/platform/axparameter/korvex_parameter" EulaAccepted >"$work/eula"
check "the agreement stays accepted" has '^true$' "$work/eula"

start
check "a closed terminal" within 60 has '^status' "$work/out"
kill -INT "$pid" 2>/dev/null || true
kill -HUP "$pid"
check "ends it cleanly too" within 20 not running

check "unknown parameters are refused with the list" refused '^  MainLoopTime$' --state "$state" --set Nope=1
check "so are values of another kind" refused 'MainLoopTime: it takes a whole number' --state "$state" --set MainLoopTime=x
check "so is a model that is none" refused 'it is no TensorFlow Lite file' --state "$state" --model "$run"
check "so is a video that is not there" refused 'there is no video "/no/such.mp4"' --source /no/such.mp4
check "so is an unknown option" refused '"--bogus" is no option' --bogus
check "so is an option without its value" refused '--source needs a value' --source
check "so is an aspect that is none" refused '--aspect is fit, crop or stretch' --aspect wide
check "so are threads that are no number" refused '--threads is a number' --threads many
check "so is --json without --replay" refused 'belong to --replay' --json "$work/x"
check "the fixed paths are as they were" test "$(list_places)" = "$before"
finish
