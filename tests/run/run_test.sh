#!/usr/bin/env bash
# ./run on the built-in scene, with the programs of the build given as the argument.
source "$(dirname "$0")/lib.sh"
export KORVEX_BUILD_DIR=$1
state=$work/state
# What a view covers must look the same afterwards.
list_places() { ls -laR --time-style=+ /usr/local/packages /mnt/flash 2>&1 || true; }
before=$(list_places)

start() {
    # What the last one said must not be taken for this one's.
    : >"$work/out"
    : >"$work/err"
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

# niceness_of PROGRAM...: of the one that runs in the state folder.
niceness_of() {
    local process
    for process in $(pgrep -f "^$1"); do
        case $(readlink "/proc/$process/cwd") in
        "$state" | "$state/html") ps -o ni= -p "$process" | tr -d ' ' ;;
        esac
    done
}

start --accept-eula --niceness 3
check "with the agreement it reaches status 200" within 120 has '^status (200|50[234]) .* ms' "$work/out"
check "and detects the scene's vehicles" within 60 has '(Car|Bus|Truck) 0\.' "$work/out"
check "it is as nice as it was told to be" test "$(niceness_of "$1/host/korvex_live")" = 3
check "and its web server gives way to it" test "$(niceness_of lighttpd)" = 10
check "TERM ends it with status 0 again" ended_after_term
check "each run's log ends with its last line" count_is 2 '\|STOPPING korvex_orvel$' "$state/localdata/OrvelLog.txt"
check "nothing of it runs on" not pgrep -f "chdir $state"
KORVEX_AXPARAMETER_STORE=$state/parameters.sqlite "$1/platform/axparameter/korvex_parameter" EulaAccepted >"$work/eula"
check "the agreement stays accepted" has '^true$' "$work/eula"

"$root/tests/run/broker.sh" "$work/broker" &
broker=$!
trap 'kill "$broker" 2>/dev/null || true; rm -rf "$work"' EXIT
within 20 test -s "$work/broker/port"
start --accept-eula --mqtt "127.0.0.1:$(cat "$work/broker/port")" --mqtt-prefix street --record "$work/live.mp4"
check "an alert is told on the console" within 120 has ' Korvex Orvel First Alert: started$' "$work/out"
check "and at the broker" within 20 has '^street/KorvexOrvelFirstAlert/state .*"ON"' "$work/broker/heard"
check "TERM ends it" ended_after_term
check "with the recording finished" has '^h264,1280,720$' <(ffprobe -v error -of csv=p=0 \
    -show_entries stream=codec_name,width,height "$work/live.mp4")
check "and the broker knows that it is gone" within 20 has '^street/availability offline' "$work/broker/heard"

start --accept-eula --record "$work/held.mp4"
check "it records again" within 120 has '^status (200|50[234])' "$work/out"
# The beginning of a request and no more.
node -e 'require("net").connect(process.argv[1]).write(Buffer.from([1, 1, 0, 1, 0, 8, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0]))' \
    "$state/html/korvex_orvel_fcgi.socket" &
holder=$!
sleep 1
check "TERM ends it while a client holds its web thread" ended_after_term
check "and the recording is finished all the same" has '^h264,1280,720$' <(ffprobe -v error -of csv=p=0 \
    -show_entries stream=codec_name,width,height "$work/held.mp4")
kill "$holder" 2>/dev/null || true

start
check "a closed terminal" within 60 has '^status' "$work/out"
kill -INT "$pid" 2>/dev/null || true
kill -HUP "$pid"
check "ends it cleanly too" within 20 not running

# The programs of this build, with another answer about the model.
mkdir -p "$work/build/platform/larod"
for part in host platform/axparameter platform/vdostream; do
    ln -s "$1/$part" "$work/build/$part"
done
printf '#!/bin/sh\necho "$1 $2 has rotted." >&2\nexit 1\n' >"$work/build/platform/larod/korvex_check_model"
chmod +x "$work/build/platform/larod/korvex_check_model"
export KORVEX_BUILD_DIR=$work/build
check "a default model that has rotted is told" refused 'detect_960_540.tflite  has rotted\.$' --state "$state"
check "and the one for a turned picture" refused 'detect_540_960.tflite --portrait has rotted\.$' --state "$work/turned" \
    --set root.Image.I0.Appearance.Rotation=90
check "and nothing was started" test ! -e "$work/turned/web_server.log"
export KORVEX_BUILD_DIR=$1

check "unknown parameters are refused with the list" refused '^  MainLoopTime$' --state "$state" --set Nope=1
check "so are values of another kind" refused 'MainLoopTime: it takes a whole number' --state "$state" --set MainLoopTime=x
check "so is a model that is none" refused 'it is no TensorFlow Lite file' --state "$state" --model "$run"
echo "no video" >"$work/none.mp4"
check "so is a file that is no video" refused 'none.mp4 cannot be opened \(.+\)\.$' --state "$state" --source "$work/none.mp4"
check "so is a turn that no camera makes" refused 'Rotation: it takes 0, 90, 180 or 270\.$' --state "$state" \
    --set root.Image.I0.Appearance.Rotation=45
check "so is a range of time that is none" refused '"monday" is no range of time' --state "$state" --stays monday
check "so are the stays of a folder that is not there" refused 'there is no state folder' --state "$work/nowhere" --stays 2026-11-22
check "and it is not made" test ! -e "$work/nowhere"
check "the stays are printed in columns" has '^ +1 +[A-Z][a-z]+ +20[0-9-]+ [0-9:]+ ' \
    <("$run" --state "$state" --stays "$(date -d yesterday +%F)..$(date -d 'tomorrow + 1 day' +%F)")
check "so is a state folder that cannot be made, in one sentence" test "$("$run" --state "$work/none.mp4/x" 2>&1)" = \
    "run: the state folder \"$work/none.mp4/x\" cannot be made or is not writable."
check "so is a wrong use, in one sentence" test "$("$run" --bogus 2>&1)" = 'run: "--bogus" is no option; ./run --help lists them.'
check "so is a model that is none, and the recording is not begun" refused 'no TensorFlow Lite file' --state "$state" \
    --model "$run" --record "$work/early.mp4"
check "before anything else was right" test ! -e "$work/early.mp4"
check "so is a size that the camera does not offer" refused 'the camera offers 1920x1080' --state "$state" \
    --accept-eula --record "$work/x.mp4" --stream 123x456
check "and leaves no recording" test ! -e "$work/x.mp4"
check "the fixed paths are as they were" test "$(list_places)" = "$before"
finish
