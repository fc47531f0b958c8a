# Who goes first when there is more to do than the processors can; sourced.

# with_niceness N COMMAND...: replaces this shell by the command, in a session of its own. Some kernels share the
# processors among sessions first, and niceness counts within one only, so the session has its own. Below 0 only for
# those who may; for others it changes nothing.
with_niceness() {
    # shellcheck disable=SC2016 # it is the inner shell that expands
    exec setsid sh -c 'renice -n "$1" -p $$ >/dev/null 2>&1
        { echo "$1" >/proc/self/autogroup; } 2>/dev/null
        shift
        exec "$@"' with_niceness "$@"
}

# gently COMMAND...: the same for what gives way to the analysis, however much it has to do.
gently() { with_niceness 10 "$@"; }
