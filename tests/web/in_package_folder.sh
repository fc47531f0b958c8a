#!/usr/bin/env bash
# in_package_folder.sh PROGRAM...: runs it where the camera's folder for the application's pages exists, empty, and is
# nobody else's.
set -euo pipefail
for part in common view; do
    # shellcheck source=/dev/null
    source "$(dirname "${BASH_SOURCE[0]}")/../../tools/$part.sh"
done
folder=$(mktemp -d)
trap 'remove_real_paths; rm -rf "$folder"' EXIT
place=/usr/local/packages/korvex_orvel/html=$folder
view=()
private_view view "$place"
if bwrap "${view[@]}" true 2>"$folder/view.log"; then
    rm "$folder/view.log"
    bwrap "${view[@]}" --die-with-parent "$@"
else
    [ "$(id -u)" -eq 0 ] || fail "no private view can be made here: $(head -n 1 "$folder/view.log")"
    rm "$folder/view.log"
    real_paths "$place"
    "$@"
fi
