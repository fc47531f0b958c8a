#!/usr/bin/env bash
# Makes every fault of this folder, one after the other, and prints a line for each; what they said is in BUILD/faults.
# Its exit status is 0 when none failed. Usage: all.sh BUILD [NAME...]
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
KORVEX_BUILD_DIR=$(realpath "${1:?the folder of the build}")
export KORVEX_BUILD_DIR
shift
# The faults are the programs whose name has no dot.
[ $# -gt 0 ] || mapfile -t names < <(find "$here" -maxdepth 1 -type f -perm -u+x ! -name '*.*' -printf '%f\n' | sort)
[ $# -eq 0 ] || names=("$@")
logs=$KORVEX_BUILD_DIR/faults
mkdir -p "$logs"

# outcome NAME STATUS: passed, failed or skipped, with the reason.
outcome() {
    case $2 in
    0) echo passed ;;
    77) echo "skipped: $(sed -n 's/^skipped: //p' "$logs/$1.log" | tail -n 1)" ;;
    124 | 137) echo "failed: it did not come to an end" ;;
    *) echo "failed: $(sed -n 's/^FAILED: //p' "$logs/$1.log" | head -n 1 | cut -c -200)" ;;
    esac
}

passed=0 failed=0 skipped=0
for name in "${names[@]}"; do
    began=$SECONDS status=0
    timeout -k 60 1200 "$here/$name" >"$logs/$name.log" 2>&1 </dev/null || status=$?
    result=$(outcome "$name" "$status")
    printf '%-18s %4d s  %s\n' "$name" $((SECONDS - began)) "$result"
    case $result in
    passed) passed=$((passed + 1)) ;;
    skipped*) skipped=$((skipped + 1)) ;;
    *) failed=$((failed + 1)) ;;
    esac
done
echo "$passed passed, $failed failed, $skipped skipped"
[ "$failed" -eq 0 ]
