#!/usr/bin/env bash
# Everything that threads share, used at once: passes, saves, every answer, the log read and cleared, two viewers. Meant
# for the builds with sanitizers, whose findings end up among the lines on standard error.
# Usage: under_load_test.sh BUILD [SECONDS]
source "$(dirname "$0")/lib.sh"
export KORVEX_BUILD_DIR=$1
seconds=${2:-8}
not() { ! "$@"; }

# In memory where there is such a folder: a save is seventy commits, for which a slow disk may need minutes.
state=$(mktemp -d /dev/shm/korvex_load_XXXXXX 2>/dev/null) || state=$work/state
trap 'rm -rf "$work" "$state"' EXIT

"$run" --state "$state" --accept-eula --set AnonOverlaysOn=true >"$work/out" 2>"$work/err" &
pid=$!
running() { kill -0 "$pid" 2>/dev/null; }
analyses() { grep -q -s -E '^status (200|50[234]|600) .* ms' "$work/out"; }
within 120 analyses || {
    cat "$work/err"
    exit 1
}
address=$(grep -o -E 'http://[^ ]+/' "$work/err" | head -n 1)
endpoint="${address}local/korvex_orvel/korvex_orvel_fcgi.cgi"

# keep_asking NAME ACTIONS [CURL-OPTION...]: over one connection, without a pause. Standard error is not buffered, so
# that no answer is missing when the time is up.
keep_asking() {
    local answers=$work/answers.$1 actions=$2
    shift 2
    timeout "$seconds" curl -s -o /dev/null -w '%{stderr}%{http_code}\n' "$@" "$endpoint?again=[1-1000000]&action=$actions" \
        2>"$answers" || true
}
curl -s --max-time 60 "$endpoint?action=get_all_parameters" >"$work/document"
check "the settings can be asked for" test -s "$work/document"

# No more at once than the endpoint lets wait.
asking=()
keep_asking status '{get_status_code,get_status_string,get_execution_time,get_is_portrait}' &
asking+=($!)
keep_asking settings get_all_parameters &
asking+=($!)
keep_asking log '{get_logfile_as_plain_text,get_logfile_as_serialized_text,clear_logfile}' &
asking+=($!)
keep_asking saving set_post_parameters --data-binary "@$work/document" -H 'Content-Type: text/xml' &
asking+=($!)
for stream in 1280x720 640x360; do
    timeout "$seconds" curl -s -o "$work/viewed.$stream" "${address}stream/$stream.mjpg" &
    asking+=($!)
done
for asker in "${asking[@]}"; do
    wait "$asker" || true # a time that is up is how all of them end
done

# whole_lines FILE: curl writes each character by itself, and was ended at any of them.
whole_lines() { head -n "$(wc -l <"$1")" "$1"; }
for answers in "$work"/answers.*; do
    check "${answers##*.} was answered" grep -q '^200$' <(whole_lines "$answers")
    check "${answers##*.} was never refused" not grep -v '^200$' <(whole_lines "$answers")
done
for viewed in "$work"/viewed.*; do
    check "${viewed##*.} was seen" test -s "$viewed"
done
check "it still runs" running
kill -TERM "$pid"
within 30 not running || true
check "TERM ends it with status 0" wait "$pid"
check "no sanitizer had anything to say" not grep -h -A 40 -E 'Sanitizer|runtime error' "$work/out" "$work/err"
finish
