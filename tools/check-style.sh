#!/usr/bin/env bash
# Checks the floors, the layout of every C++ source with clang-format, that of the pages and their tests with prettier, and
# the sources of a build with clang-tidy.
# Usage: tools/check-style.sh [BUILD_DIR], default build/asan; --fix as the first argument lays the sources out instead.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
source "$root/tests/pages/tools.sh"
cd "$root"

install_page_tools
prettier() {
    git ls-files 'html/js/*.js' 'html/css/*.css' 'tests/pages/*.mjs' 'tests/pages/tsconfig*.json' 'tests/pages/package.json' |
        xargs tests/pages/node_modules/.bin/prettier --log-level warn "$@"
}

mapfile -t sources < <(git ls-files '*.cpp' '*.h')
if [ "${1:-}" = --fix ]; then
    clang-format -i "${sources[@]}"
    prettier --write
    exit 0
fi
build_dir=${1:-build/asan}
[ -f "$build_dir/compile_commands.json" ] || fail "$build_dir is not configured; run: cmake --preset asan"

tools/check_floors.py
clang-format --dry-run -Werror "${sources[@]}"
prettier --check
git ls-files '*.cpp' | grep -v '^bench/' |
    xargs -P "$(nproc)" -n 1 clang-tidy --quiet -p "$build_dir" 2>&1 |
    { grep -v -E '^[0-9]+ warnings? (generated|treated)|^Suppressed' || true; }
