#!/usr/bin/env bash
# The endpoint under load, beside a bare responder with a constant answer behind a lighttpd with the same rules, in the
# same run: requests a second, whether the analysis keeps its pace meanwhile, and what 100,000 requests leave behind.
#
# Usage: bench/web_load.sh [BUILD] [ROUNDS]
#   BUILD: the folder of a release build with `constant_responder`, default build/bench; ROUNDS: default 20
# KORVEX_LOAD_SOURCE is the video (default: scene), KORVEX_LOAD_PERIOD the analysis period in milliseconds.
set -euo pipefail
here=$(dirname "${BASH_SOURCE[0]}")
source "$here/../tools/common.sh"
source "$here/priority.sh"
programs=$(realpath "${1:-$root/build/bench}")
rounds=${2:-20}
responder=$programs/bench/constant_responder
application=$programs/host/korvex_live
period=${KORVEX_LOAD_PERIOD:-200}
for program in "$responder" "$application"; do
    [ -x "$program" ] || fail "$program is not built; run: cmake --preset bench && cmake --build build/bench"
done
command -v wrk >/dev/null || fail "wrk makes the requests; install it with: apt-get install wrk"
command -v curl >/dev/null || fail "curl watches the status; install it with: apt-get install curl"

work=$(mktemp -d)
run_pid='' responder_pid='' watcher_pid='' bare_web_pid=''
clean_up() {
    local pid
    for pid in $watcher_pid $bare_web_pid $responder_pid $run_pid; do
        kill -TERM "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    rm -rf "$work"
}
trap clean_up EXIT
# The visitors are in a session of their own, where a Ctrl-C does not reach them: without this it would be taken as theirs.
trap 'exit 130' INT

# within SECONDS COMMAND...: until it succeeds.
within() {
    local until=$((SECONDS + $1))
    shift
    until "$@"; do
        [ "$SECONDS" -lt "$until" ] || return 1
        sleep 0.2
    done
}

endpoint=local/korvex_orvel/korvex_orvel_fcgi.cgi
ask() { curl -s --max-time 10 "$app_address$endpoint?action=$1"; }

# The bare responder, where its lighttpd looks for the application, and as nice as the application's web thread: that has
# niceness 10 above what ./run gives the application.
folder=$work/bare
mkdir -p "$folder/uploads"
(with_niceness 5 "$responder" "$folder/korvex_orvel_fcgi.socket") &
responder_pid=$!
# start_bare_web PORT: 0 once it listens there.
start_bare_web() {
    local rules=$root/web/lighttpd name='(127\.0\.0\.1|localhost)'
    (
        export KORVEX_WEB_ADDRESS=127.0.0.1 KORVEX_WEB_PORT=$1 KORVEX_WEB_PID_FILE=$work/bare.pid
        export KORVEX_WEB_FOLDER=$folder KORVEX_WEB_RIGHTS=$rules/none.conf
        export KORVEX_WEB_PASSWORD_RULES=$rules/none.conf KORVEX_WEB_TLS_RULES=$rules/none.conf
        export KORVEX_WEB_HOSTS="(?i)^$name:$1\$" KORVEX_WEB_ORIGINS="(?i)^(http://$name:$1)?\$"
        export KORVEX_WEB_REFERERS="(?i)^(http://$name:$1/|\$)"
        cd "$folder" && PATH=$PATH:/usr/sbin gently lighttpd -D -f "$rules/korvex_orvel.conf"
    ) >"$work/bare.log" 2>&1 &
    bare_web_pid=$!
    until [ -s "$work/bare.pid" ]; do
        kill -0 "$bare_web_pid" 2>/dev/null || return 1
        sleep 0.02
    done
}
for ((port = 8080; port < 8100; port++)); do
    ! start_bare_web "$port" || break
done
[ -s "$work/bare.pid" ] || fail "the bare web server could not start: $(tail -n 1 "$work/bare.log")"
bare_address=http://127.0.0.1:$port/

# The application with its own lighttpd, as ./run starts it. The load has the other core, so that the network gets one.
state=$work/app
KORVEX_BUILD_DIR=$programs "$root/run" --state "$state" --accept-eula --source "${KORVEX_LOAD_SOURCE:-scene}" \
    --threads 1 --set MainLoopTime="$period" >"$work/run.out" 2>"$work/run.err" &
run_pid=$!
app_pid() {
    local process
    for process in $(pgrep -f "^$application"); do
        if [ "$(readlink "/proc/$process/cwd")" = "$state" ]; then
            echo "$process"
            return 0
        fi
    done
    return 1
}
find_address() {
    kill -0 "$run_pid" 2>/dev/null || fail "./run ended: $(tail -n 3 "$work/run.err")"
    app_address=$(grep -h -o -E 'http://[^ ]+/' "$work/run.out" "$work/run.err" | head -n 1) && [ -n "$app_address" ]
}
within 60 find_address || fail "./run printed no address: $(tail -n 3 "$work/run.err")"
analyses() { [[ "$(ask get_status_code)" =~ ^(200|50[234])$ ]]; }
within 120 analyses || fail "the application analyses nothing; its status is $(ask get_status_code)."
pid=$(app_pid) || fail "the application's process cannot be found."

# Status and pass time of every pass, for as long as there is load. Who watches gives way as the visitors do.
# shellcheck disable=SC2016 # it is the inner shell that expands
(gently bash -c 'while :; do
    curl -s -w " " --max-time 10 "$1get_status_code" --next -s -w "\n" --max-time 10 "$1get_execution_time"
    sleep 0.1
done' watch "$app_address$endpoint?action=") >"$work/watched" 2>/dev/null &
watcher_pid=$!

# visitors WRK-OPTION...: four that ask without a pause. Their own machines are elsewhere, so that here they give way.
visitors() { (gently wrk -t 1 -c 4 "$@"); }

# rate URL: requests a second, none of which may fail.
rate() {
    visitors -d 1s "$1" >"$work/wrk"
    ! grep -E 'Socket errors|Non-2xx' "$work/wrk" >&2 || fail "requests failed: $1"
    sed -n 's/^Requests\/sec: *//p' "$work/wrk"
}
visitors -d 2s "${app_address}$endpoint?action=get_all_parameters" >/dev/null
printf '%-8s %14s %18s %20s   requests a second\n' round bare get_status_code get_all_parameters
for ((round = 1; round <= rounds; round++)); do
    bare=$(rate "$bare_address$endpoint?action=get_status_code")
    code=$(rate "$app_address$endpoint?action=get_status_code")
    all=$(rate "$app_address$endpoint?action=get_all_parameters")
    printf '%-8s %14s %18s %20s\n' "$round" "$bare" "$code" "$all"
    echo "$bare $code $all" >>"$work/rates"
done
kill "$watcher_pid"
wait "$watcher_pid" 2>/dev/null || true
watcher_pid=''

# median AWK-EXPRESSION: of the rounds.
median() {
    awk "{ print $1 }" "$work/rates" | sort -g | awk '{ v[NR] = $1 } END { printf "%.1f", v[int((NR + 1) / 2)] }'
}
code_share=$(median '100 * $2 / $1') all_share=$(median '100 * $3 / $1')
slow=$(awk '$1 == 600' "$work/watched" | wc -l) late=$(awk -v p="$period" '$2 > p' "$work/watched" | wc -l)
longest=$(awk '$2 > m { m = $2 } END { print m + 0 }' "$work/watched")
printf '%-44s %8s %%  (required: at least 90)\n' "get_status_code, median of the rounds" "$code_share"
printf '%-44s %8s %%  (required: at least 60)\n' "get_all_parameters, median of the rounds" "$all_share"
printf '%-44s %8s ms of %s ms; of %s samples %s late, %s with status 600 (required: none)\n' \
    "longest pass under load" "$longest" "$period" "$(wc -l <"$work/watched")" "$late" "$slow"

# What 100,000 requests leave behind.
descriptors() { find "/proc/$pid/fd" -mindepth 1 | wc -l; }
resident() { awk '/^VmRSS/ { print $2 }' "/proc/$pid/status"; }
before_fd=$(descriptors) before_kb=$(resident) requests=0
while [ "$requests" -lt 100000 ]; do
    for action in get_status_code get_all_parameters get_status_string nonsense; do
        visitors -d 5s "$app_address$endpoint?action=$action" >"$work/wrk"
        requests=$((requests + $(sed -n 's/^ *\([0-9]*\) requests in.*/\1/p' "$work/wrk")))
    done
done
settled() { [ "$(descriptors)" -le "$before_fd" ]; } # the last requests are on their way out
within 10 settled || true
after_fd=$(descriptors) after_kb=$(resident)
printf '%-44s %8s -> %s descriptors, %s -> %s kB resident\n' "$requests requests" "$before_fd" "$after_fd" "$before_kb" "$after_kb"

awk -v c="$code_share" -v a="$all_share" -v s="$((slow + late))" -v f="$((after_fd - before_fd))" -v m="$((after_kb - before_kb))" \
    'BEGIN { exit !(c >= 90 && a >= 60 && s == 0 && f <= 0 && m <= 2048) }' || fail "a required value was missed."
