# The camera's fixed paths, for one program alone; sourced after common.sh.
#
# A camera has the package at fixed places. Here they exist for the application only, in a private view of the file
# system that bubblewrap makes: the real one stays as it is. A place whose parents are missing cannot be made under a root
# that is only shown, so the nearest folder that exists is covered with an empty one in memory, into which its entries are
# put back; there the missing parents can be made.

# bring_back ARRAY FOLDER: adds bwrap's arguments that show each entry of FOLDER where it was.
bring_back() {
    local -n back_args=$1
    local entry
    for entry in "${2%/}"/* "${2%/}"/.[!.]*; do
        if [ -L "$entry" ]; then
            back_args+=(--symlink "$(readlink "$entry")" "$entry")
        elif [ -e "$entry" ]; then
            back_args+=(--dev-bind-try "$entry" "$entry")
        fi
    done
}

# private_view ARRAY TARGET=SOURCE...: sets ARRAY to bwrap's arguments for a view in which each TARGET is SOURCE.
private_view() {
    local -n view_args=$1
    local pair target folder
    local -a covers=() binds=()
    local -A covered=()
    shift
    for pair in "$@"; do
        target=${pair%%=*}
        folder=$target
        while [ ! -d "$folder" ]; do
            folder=$(dirname "$folder")
        done
        if [ "$folder" != "$target" ] && [ -z "${covered[$folder]:-}" ]; then
            covered[$folder]=1
            [ "$folder" = / ] || covers+=(--tmpfs "$folder")
            bring_back covers "$folder"
        fi
        binds+=(--bind "${pair#*=}" "$target")
    done
    # Without a root of its own a view starts empty.
    [ -n "${covered[/]:-}" ] || view_args=(--dev-bind / /)
    view_args+=("${covers[@]}" "${binds[@]}")
}

# real_paths TARGET=SOURCE...: the same on the real root, as links; what was made is kept for remove_real_paths: the links,
# and the folders, each before its parent.
made_paths=() made_folders=()
real_paths() {
    local pair target folder
    for pair in "$@"; do
        target=${pair%%=*}
        # The link of a command that was killed is taken over.
        [ ! -e "$target" ] || [ "$(readlink "$target")" = "${pair#*=}" ] ||
            fail "$target exists already and no private view can be made here; move it away first."
        folder=$(dirname "$target")
        while [ ! -d "$folder" ]; do
            made_folders+=("$folder")
            folder=$(dirname "$folder")
        done
        made_paths+=("$target")
        mkdir -p "$(dirname "$target")" && ln -sfn "${pair#*=}" "$target" || fail "$target cannot be made."
    done
}

# Folders that were there before stay, empty ones too.
remove_real_paths() {
    local made
    for made in "${made_paths[@]}"; do
        rm -f "$made"
    done
    for made in "${made_folders[@]}"; do
        rmdir --ignore-fail-on-non-empty "$made" 2>/dev/null || true
    done
    made_paths=() made_folders=()
}
