#!/usr/bin/env bash
# ./run --replay, with the programs of the build given as the argument.
source "$(dirname "$0")/lib.sh"
export KORVEX_BUILD_DIR=$1
state=$work/state

replay() { "$run" --state "$state" --replay "$@"; }
lines_are() { [ "$(wc -l <"$2")" -eq "$1" ]; }
has() { grep -q -E "$1" "$2"; }

check "it runs over the scene" replay scene --seconds 4 --json "$work/one.jsonl"
check "it ends with what there was" bash -c "'$run' --state '$state' --replay scene --seconds 15 2>&1 >/dev/null |
    grep -q -E '^[0-9]+ stays?, the longest a [A-Z][a-z]+.s of [0-9]+ s; [0-9]+ First Alerts?, '"
check "again" replay scene --seconds 4 --json "$work/two.jsonl"
check "and gives the same bytes" cmp "$work/one.jsonl" "$work/two.jsonl"
check "with one line a pass" lines_are 20 "$work/one.jsonl"
check "at the passes' times, status 200 however slow the machine is" has '^\{"time": 4\.000, "status": 200, ' "$work/one.jsonl"
check "and the scene's car" has '"label": "Car", "box": ' "$work/one.jsonl"
check "every line is as its schema says" /usr/bin/python3 -c 'if True:
    import json, jsonschema, sys
    schema = json.load(open(sys.argv[1]))
    for line in open(sys.argv[2]):
        jsonschema.validate(json.loads(line), schema)' "$root/host/replay.schema.json" "$work/one.jsonl"

check "recording changes nothing of it" replay scene --seconds 4 --json "$work/three.jsonl" --record "$work/one.mp4"
check "not a byte" cmp "$work/one.jsonl" "$work/three.jsonl"
check "the recording has a picture for each pass" has '^h264,1280,720,20$' <(ffprobe -v error -of csv=p=0 \
    -count_packets -show_entries stream=codec_name,width,height,nb_read_packets "$work/one.mp4")
check "another stream is recorded when it is asked for" replay scene --seconds 1 --json "$work/four.jsonl" \
    --record "$work/small.mp4" --stream 640x360
check "in its own size" has '^640,360$' <(ffprobe -v error -of csv=p=0 -show_entries stream=width,height "$work/small.mp4")

ffmpeg -v error -f lavfi -i testsrc=size=320x240:rate=10:duration=2 "$work/short.mp4"
check "a file ends by itself" replay "$work/short.mp4" --set MainLoopTime=500 --json "$work/file.jsonl"
check "after its last frame" lines_are 3 "$work/file.jsonl"
check "without --json the lines go to stdout" bash -c "'$run' --state '$state' --replay '$work/short.mp4' \
    --set MainLoopTime=500 2>/dev/null | cmp - '$work/file.jsonl'"
check "nothing is kept of it" test -z "$(ls -A "$state")"

echo "no video" >"$work/none.mp4"
check "a file that is no video is told" refused 'none.mp4 cannot be opened \(.+\)\.$' --state "$state" --replay "$work/none.mp4"
ffmpeg -v error -f lavfi -i testsrc=size=320x240:rate=10:duration=5 -movflags faststart "$work/whole.mp4"
head -c 3000 "$work/whole.mp4" >"$work/cut.mp4"
check "so is one that was cut short before its first picture" \
    refused 'cut.mp4 holds no picture that can be decoded\.$' --state "$state" --replay "$work/cut.mp4" --json "$work/no.jsonl"
check "and the lines' file is not begun" test ! -e "$work/no.jsonl"
ffmpeg -v error -f lavfi -i testsrc=size=320x240:rate=10:duration=0.1 "$work/blink.mp4"
check "so is one that ends before the first pass" refused 'there is no pass: the first one is at 200 ms' \
    --state "$state" --replay "$work/blink.mp4"
check "so is a file of lines that cannot be made, in one sentence" test "$("$run" --replay scene --json /no/such/x 2>&1)" = \
    'run: "/no/such/x" cannot be written.'

"$run" --state "$state" --replay scene --json "$work/long.jsonl" --record "$work/long.mp4" 2>"$work/said" &
replaying=$!
# The file has its beginning once the passes run.
within 60 test -s "$work/long.mp4"
sleep 2
kill -TERM "$replaying"
wait "$replaying" || true
check "asked to end it says so" has 'passes, then it was asked to end\.$' "$work/said"
check "the lines so far are whole" /usr/bin/python3 -c \
    'import json, sys; assert [json.loads(line) for line in open(sys.argv[1])]' "$work/long.jsonl"
check "and the recording can be played" has '^h264$' <(ffprobe -v error -of csv=p=0 -show_entries stream=codec_name "$work/long.mp4")
check "nothing is kept of all these" test -z "$(ls -A "$state")"

("$run" --state "$state" --replay scene --seconds 60 2>"$work/said" || true) | head -n 1 >/dev/null
check "who reads no further ends it, and nothing more is said" test "$(cat "$work/said")" = 'Replaying scene in its own time.'
check "a period of 0 is told" refused 'takes a whole number from 1 to' --state "$state" --replay scene --set MainLoopTime=0
check "a stream that the camera has not is told" refused 'the camera offers' --state "$state" --replay scene \
    --record "$work/x.mp4" --stream 100x100
finish
