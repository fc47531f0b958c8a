# Makes the model and builds a preset; sourced after common.sh. Both are quick when there is nothing to do.

make_model() {
    need_own_folder
    [ -f "$root/build/model/converted.sha256" ] || say "Fetching the detection network's weights and making the model (8 MB)."
    "$root/model/make.sh" "$root/build/model" >&2 || fail "the model could not be made."
}

# A build knows the folder that it was made in, and belongs to whom made it.
need_own_build() {
    local made
    made=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$root/build/$1/CMakeCache.txt" 2>/dev/null) || true
    [ -z "$made" ] || [ "$made" -ef "$root" ] ||
        fail "build/$1 was made when this folder was $made; remove it (rm -r '$root/build/$1') and start again."
}

need_own_folder() {
    [ -w "$root" ] && { [ ! -e "$root/build" ] || [ -w "$root/build" ]; } ||
        fail "$root is $(stat -c %U "$root")'s, and you may not build in it; make a clone of your own: git clone $root"
}

# build PRESET [TARGET...]
build() {
    local preset=$1
    local -a targets=()
    shift
    [ $# -eq 0 ] || targets=(--target "$@")
    mkdir -p "$root/build"
    need_own_build "$preset"
    (
        # Two commands started at once build one after the other.
        flock 9
        cd "$root" || exit 1
        if [ ! -f "build/$preset/build.ninja" ]; then
            say "Configuring the $preset build."
            cmake --preset "$preset" >"build/$preset.configure.log" 2>&1 || {
                cat "build/$preset.configure.log" >&2
                exit 1
            }
        fi
        [ -f "build/$preset/.ninja_log" ] || say "Building the $preset build; this takes a few minutes the first time."
        cmake --build "build/$preset" "${targets[@]}" >&2
    ) 9>"$root/build/.lock" || fail "the $preset build failed."
}
