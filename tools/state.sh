# The state folder: what is in it is for nobody else's eyes; sourced after common.sh.

# make_state_folder FOLDER...: $state, and these in it.
make_state_folder() {
    local folder
    umask 077
    mkdir -p "$state" 2>/dev/null || fail "the state folder \"$state\" cannot be made or is not writable."
    close_state_folder
    mkdir -p "$@" 2>/dev/null || fail "the state folder \"$state\" cannot be made or is not writable."
    for folder in "$state" "$@"; do
        [ -w "$folder" ] || fail "the state folder $folder is not writable."
    done
}

# Takes from others what rights they have on $state, unless it is a folder that they may need or have had their hands in.
close_state_folder() {
    local folder mode
    folder=$(realpath "$state")
    [ -O "$folder" ] || fail "the state folder $folder belongs to another user; give --state a folder of your own."
    mode=$((8#$(stat -c %a "$folder")))
    [ "$folder" != "$(realpath -q "${HOME:-/}")" ] && [ "$folder" != / ] && ((!(mode & 8#1000))) ||
        fail "the folder $folder is for more than a state, or for more than one user; give --state a folder of its own."
    ((mode & 8#77)) || return 0
    [ -z "$(ls -A "$folder")" ] || [ -e "$folder/.lock" ] || [ -e "$folder/localdata" ] || [ -e "$folder/parameters.sqlite" ] ||
        fail "the folder $folder holds other things, which others may read; give --state a folder of its own."
    # What the web server was given is made anew.
    [ -z "$(find "$folder" ! -path "$folder/html/*" ! -user "$(id -u)" -print -quit)" ] ||
        fail "others could write into the state folder $folder and have done so; give --state another one."
    chmod go= "$folder" || fail "the state folder $folder cannot be closed to others."
}

# Gives $state as a full path, with what the application expects around it.
prepare_state() {
    make_state_folder "$state/html" "$state/package" "$state/localdata"
    state=$(realpath "$state")
    { exec 8>"$state/.lock"; } 2>/dev/null || fail "the state folder $state is not writable."
    flock -n 8 || fail "another ./run uses $state; end it, or give this one a --state folder of its own."
}
