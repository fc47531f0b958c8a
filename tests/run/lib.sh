# Sourced by the tests of the commands. Gives $work, a folder that goes at the end, and $run.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
run=$root/run
work=$(mktemp -d "${TMPDIR:-/tmp}/korvex_run_XXXXXX")
trap 'rm -rf "$work"' EXIT
failures=0

# check SENTENCE COMMAND...: the sentence is printed, and counts as failed, when the command fails.
check() {
    local sentence=$1
    shift
    if "$@"; then
        echo "ok: $sentence"
    else
        echo "FAILED: $sentence"
        failures=$((failures + 1))
    fi
}

# within SECONDS COMMAND...: until it succeeds.
within() {
    local until=$((SECONDS + $1))
    shift
    until "$@"; do
        [ "$SECONDS" -lt "$until" ] || return 1
        sleep 0.1
    done
}

# refused PATTERN ARGUMENT...: ./run fails, and what it says matches.
refused() {
    local pattern=$1 said
    shift
    if said=$("$run" "$@" 2>&1); then
        echo "was not refused: $*"
        return 1
    fi
    grep -q -E -e "$pattern" <<<"$said" || {
        echo "said: $said"
        return 1
    }
}

finish() {
    [ "$failures" -eq 0 ] || {
        echo "$failures failed"
        exit 1
    }
}
