# How a command ends by a TERM while it does what takes long; sourced. The trap is the caller's, and never changes.

is_heard=
asked_to_end() {
    trap '' TERM HUP
    [ -z "$is_heard" ] || end_all "${!-}"
    exit 143
}

# heard COMMAND...: runs what takes long, so that a signal ends it at once; bash would hear one only after it.
heard() {
    local status=0
    is_heard=1
    "$@" &
    wait $! || status=$?
    is_heard=
    return "$status"
}

# all_of PID: it and all that it started, one a line.
all_of() {
    local child
    echo "$1"
    for child in $(cat "/proc/$1/task/"*/children 2>/dev/null); do
        all_of "$child"
    done
}

# end_all PID: ends it and all that it started, and waits for their ends.
end_all() {
    local pid i
    local -a all=()
    mapfile -t all < <(all_of "$1")
    kill -TERM "${all[@]}" 2>/dev/null || true
    for pid in "${all[@]}"; do
        for ((i = 0; i < 250; i++)); do
            grep -q -s '^State:[[:space:]]*[^ZX]' "/proc/$pid/status" || break
            sleep 0.02
        done
    done
}
