#!/usr/bin/env bash
# Tests the pages and the web server before them, with the programs of the build given as the argument; more arguments
# name the test files to run. The pictures of every page are in the build's folder pages.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
export KORVEX_BUILD_DIR=${1:?the folder of the build}
shift
cd "$here"

source ./tools.sh
install_page_tools

[ $# -gt 0 ] || set -- unit/*.test.mjs {server,look,story,hand,trouble,host,firefox}.test.mjs
# The core has no document: it is checked as what runs without one.
types=(tsconfig.core.json tsconfig.pages.json tsconfig.json)
# Side by side: each suite mostly waits for a server, an application and a browser of its own.
results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT
for project in "${types[@]}"; do
    { node_modules/.bin/tsc -p "$project" >"$results/$project" 2>&1 && touch "$results/$project.passed"; } &
done
for file in "$@"; do
    { node "$file" >"$results/${file//\//_}" 2>&1 && touch "$results/${file//\//_}.passed"; } &
done
wait
failed=()
for file in "${types[@]}" "$@"; do
    cat "$results/${file//\//_}"
    [ -e "$results/${file//\//_}.passed" ] || failed+=("$file")
done
[ "${#failed[@]}" -eq 0 ] || {
    echo "failed: ${failed[*]}"
    exit 1
}
