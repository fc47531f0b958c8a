# What the commands share: sourced, never run. Gives $root, the folder of the repository.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

# Progress goes to stderr: stdout belongs to what a command was asked for.
say() {
    echo "$*" >&2
}

# One sentence, and the end.
fail() {
    echo "${0##*/}: $*" >&2
    exit 1
}

# can_write FILE: it can be written, or made. It is not made here: something else may still be wrong.
can_write() {
    if [ -e "$1" ]; then
        [ ! -d "$1" ] && [ -w "$1" ]
    else
        [ -d "$(dirname "$1")" ] && [ -w "$(dirname "$1")" ]
    fi
}

user_umask=$(umask)
# make_output FILE: what is asked for by name is made as its user makes files, whatever the state folder's are made like.
make_output() {
    { (umask "$user_umask" && : >"$1"); } 2>/dev/null || fail "\"$1\" cannot be written."
}
