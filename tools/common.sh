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
