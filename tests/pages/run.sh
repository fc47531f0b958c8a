#!/usr/bin/env bash
# Tests the pages and the web server before them, with the programs of the build given as the argument; more arguments
# name the test files to run, or "types" for a check of all types. The pictures of every page are in the build's folder
# pages.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
export KORVEX_BUILD_DIR=${1:?the folder of the build}
shift
cd "$here"

source ./tools.sh
install_page_tools

[ $# -gt 0 ] || set -- types unit/*.test.mjs ./*.test.mjs
# The core has no document: it is checked as what runs without one.
projects=(tsconfig.core.json tsconfig.pages.json tsconfig.json)
works=()
for work in "$@"; do
    [ "$work" = types ] && works+=("${projects[@]}") || works+=("$work")
done
# Side by side: each mostly waits for a server, an application and a browser of its own.
results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT
for work in "${works[@]}"; do
    case $work in
    *.json) command=(node_modules/.bin/tsc -p) ;;
    *) command=(node) ;;
    esac
    { "${command[@]}" "$work" >"$results/${work//\//_}" 2>&1 && touch "$results/${work//\//_}.passed"; } &
done
wait
failed=()
for work in "${works[@]}"; do
    cat "$results/${work//\//_}"
    [ -e "$results/${work//\//_}.passed" ] || failed+=("$work")
done
[ "${#failed[@]}" -eq 0 ] || {
    echo "failed: ${failed[*]}"
    exit 1
}
