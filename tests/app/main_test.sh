#!/usr/bin/env bash
# main_test.sh BUILD: the application's own program starts, writes its log, and ends with status 0 when it is asked to.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/html" "$work/localdata" "$work/package"
log=$work/localdata/OrvelLog.txt

export KORVEX_AXPARAMETER_STORE=$work/parameters.sqlite
# Passes that fail for want of a network fill the log, which is written in portions.
"$1/platform/axparameter/korvex_parameter" EulaAccepted=true MainLoopTime=10

"$1/host/korvex_in_camera" "$work" "$1/korvex_orvel" &
starter=$!

# logs TEXT: within 60 s.
logs() {
    local i
    for ((i = 0; i < 600; i++)); do
        ! grep -q -e "$1" "$log" 2>/dev/null || return 0
        kill -0 "$starter" 2>/dev/null || break
        sleep 0.1
    done
    echo "the log has no \"$1\":" && cat "$log"
    return 1
}

logs 'init: Socket: '
kill -TERM "$starter"
status=0
wait "$starter" || status=$?
[ "$status" = 0 ] || { echo "its status is $status" && exit 1; }
logs 'STOPPING'
