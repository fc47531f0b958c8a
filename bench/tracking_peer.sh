#!/usr/bin/env bash
# Our tracking, area test, findings and alerts beside npm's node-moving-things-tracker, which tracks only, on the same
# 10,000 passes in the same run. Usage: bench/tracking_peer.sh [TRACKING_BENCH], default build/bench/bench/tracking_bench.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/../tools/common.sh"
program=${1:-$root/build/bench/bench/tracking_bench}
[ -x "$program" ] || fail "$program is not built; run: cmake --preset bench && cmake --build build/bench --target tracking_bench"
command -v npm >/dev/null || fail "npm is needed to fetch the peer (Debian: apt-get install npm)."

# The lock file holds the checksums of the peer and of all that it needs.
modules=$root/build/tracking_peer
mkdir -p "$modules"
cp "$root"/bench/tracking_peer/{package.json,package-lock.json,.npmrc} "$modules/"
(cd "$modules" && npm ci --no-audit --no-fund --loglevel=error >npm.log 2>&1) ||
    fail "the peer could not be installed: $(grep -m 1 -i -E 'integrity|network|ERR' "$modules/npm.log" | cut -c 1-200)"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$program" --street >"$work/street.jsonl"
# "name,iterations,real_time,..." with the time in nanoseconds a pass.
ours=$("$program" --benchmark_filter='^street$' --benchmark_repetitions=3 --benchmark_format=csv \
    --benchmark_report_aggregates_only=false 2>"$work/bench.log" |
    awk -F, '$1 == "\"street\"" && (best == "" || $3 < best) { best = $3 } END { if (best != "") printf "%.2f", best / 1000 }')
[ -n "$ours" ] || fail "the benchmark gave no result: $(head -n 1 "$work/bench.log")"
peer=$(node "$root/bench/tracking_peer/track.mjs" "$modules" "$work/street.jsonl")

awk -v ours="$ours" -v peer="$peer" 'BEGIN {
    printf "%-34s %10.2f us a pass\n", "tracking, area, findings, alerts", ours
    printf "%-34s %10.2f us a pass\n", "node-moving-things-tracker 0.9.1", peer
    printf "%-34s %10.1f (required: at least 20)\n", "times faster", peer / ours
    exit peer / ours < 20
}'
