# Runs one program, asks it once to end when this command is asked to, and waits for it; sourced after signals.sh,
# view.sh and priority.sh.

program_pid=
program_niceness=0 # an analysis that is to keep its pace asks for less
stopping=

stop_program() {
    [ -z "$stopping" ] || return 0
    stopping=1
    [ -z "$program_pid" ] || kill -TERM "$program_pid" 2>/dev/null || true
}

# child_of_view FILE: the program's own process id, as bwrap tells it once the program's process exists.
child_of_view() {
    sed -n 's/.*"child-pid": *\([0-9]*\).*/\1/p' "$1"
}

# supervise INFO COMMAND...: INFO is the file that bwrap's --info-fd 7 writes, empty when COMMAND is the program itself.
# Gives the program's exit status. It runs in a session of its own, so that a Ctrl-C reaches this command alone and the
# program is asked once; it ends with this command, however that ends.
supervise() {
    local info=$1 main status=0
    shift
    is_supervising=1
    if [ -n "$info" ]; then
        : >"$info"
        (with_niceness "$program_niceness" "$@") 7>"$info" 8>&- &
        main=$!
        while [ -z "$program_pid" ] && kill -0 "$main" 2>/dev/null; do
            program_pid=$(child_of_view "$info")
            [ -n "$program_pid" ] || sleep 0.02
        done
    else
        (with_niceness "$program_niceness" setpriv --pdeathsig TERM "$@") 8>&- &
        main=$!
        program_pid=$main
    fi
    # Asked before there was anything to ask.
    [ -z "$stopping" ] || kill -TERM "$program_pid" 2>/dev/null || true
    # A signal ends the wait, not the program.
    while wait "$main" && status=0 || status=$?; kill -0 "$main" 2>/dev/null; do
        await_end "$main"
    done
    is_supervising=
    return "$status"
}

# A program that was asked to end and does not is ended after 5 s.
await_end() {
    local i
    [ -n "$stopping" ] || return 0
    for ((i = 0; i < 250; i++)); do
        kill -0 "$1" 2>/dev/null || return 0
        sleep 0.02
    done
    say "The application did not end within 5 s of being asked; it is killed."
    kill -KILL "$program_pid" "$1" 2>/dev/null || true
}
