#!/usr/bin/env bash
# Checks the floors, the layout of every C++ source with clang-format, and the sources of a build with clang-tidy.
# Usage: tools/check-style.sh [BUILD_DIR], default build/asan; --fix as the first argument lays the sources out instead.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
cd "$root"

mapfile -t sources < <(git ls-files '*.cpp' '*.h')
if [ "${1:-}" = --fix ]; then
    clang-format -i "${sources[@]}"
    exit 0
fi
build_dir=${1:-build/asan}
[ -f "$build_dir/compile_commands.json" ] || fail "$build_dir is not configured; run: cmake --preset asan"

tools/check_floors.py
clang-format --dry-run -Werror "${sources[@]}"
git ls-files '*.cpp' | grep -v '^bench/' |
    xargs -P "$(nproc)" -n 1 clang-tidy --quiet -p "$build_dir" 2>&1 |
    { grep -v -E '^[0-9]+ warnings? (generated|treated)|^Suppressed' || true; }
