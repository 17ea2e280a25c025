#!/usr/bin/env bash
# Start-up time: `tagwickcli -ver` against `/bin/true`, side by side in one hyperfine run.
# Started once per track (find -exec, xargs -n1), the program pays its start-up on every track,
# so the goal is at most 1.3x the time of /bin/true. The figures compared are the medians,
# which stay steady while other work shares the machine.
#
# Usage: bench/startup.sh [path/to/tagwickcli]      (default: build/tagwickcli; or TAGWICK_CLI)
# Environment: RUNS (default 1000), WARMUP (default 50).
# Needs hyperfine (`apt-get install hyperfine`).
set -euo pipefail

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
RUNS="${RUNS:-1000}"
WARMUP="${WARMUP:-50}"
GOAL=1.3

need_hyperfine
need_cli

csv="$(mktemp)"
trap 'rm -f "$csv"' EXIT

# -N starts the commands without a shell, so only the programs themselves are timed.
hyperfine -N --style basic --warmup "$WARMUP" --runs "$RUNS" --export-csv "$csv" \
    -n "tagwickcli -ver" "$CLI -ver" -n "/bin/true" /bin/true

if ldd "$CLI" 2>&1 | grep -qE 'not a dynamic executable|statically linked'; then
    linking="static"
else
    linking="dynamic: $(ldd "$CLI" | awk '/=>/ { printf "%s ", $1 }')"
fi

echo
echo "Program: $CLI ($linking)"
echo "Timing: hyperfine -N, $RUNS runs after $WARMUP warm-up runs; times in milliseconds"
echo
# Columns of the CSV: command, mean, stddev, median, user, system, min, max (seconds).
awk -F, -v goal="$GOAL" '
    NR == 1 { next }
    {
        name[NR] = $1; mean[NR] = $2 * 1000; median[NR] = $4 * 1000; low[NR] = $7 * 1000
    }
    END {
        printf "%-18s %9s %9s %9s\n", "case", "median", "mean", "min"
        for (i = 2; i <= NR; i++) printf "%-18s %9.2f %9.2f %9.2f\n", name[i], median[i], mean[i], low[i]
        ratio = median[2] / median[3]
        printf "\nratio of medians %.2f, goal <= %.1f: %s\n", ratio, goal, ratio <= goal ? "met" : "MISSED"
    }' "$csv"
