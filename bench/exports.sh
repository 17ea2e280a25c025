#!/usr/bin/env bash
# Times the CSV and XML exports against the tag display, side by side in one hyperfine run over
# the same small tagged tracks, and checks the goal: -csv and -xml noimg each within 1.5x the
# time of -d.
#
# Usage: bench/exports.sh [path/to/tagwickcli]      (default: build/tagwickcli; or TAGWICK_CLI)
# Environment: RUNS (default 10), BENCH_TRACKS (default 1000), CXX.
#
# The tracks are those of bench/make_bench_files.cpp (an ID3v2.3 tag with a few text frames,
# 40 frames of audio and an ID3v1 record), written once into bench/data/exports (not committed;
# delete it to rebuild). The program expands the track pattern itself, so no shell stands
# between hyperfine and the runs. Figures are the mean of the runs, in milliseconds.
set -euo pipefail

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
DATA="$ROOT/bench/data/exports"
RUNS="${RUNS:-10}"
TRACKS="${BENCH_TRACKS:-1000}"
CXX="${CXX:-g++}"
GOAL=1.5

need_hyperfine
need_cli
CLI="$(cd "$(dirname "$CLI")" && pwd)/$(basename "$CLI")"
mkdir -p "$DATA"

# The data maker, built as bench/run.sh builds it; only the small tracks are used here.
MAKER="$DATA/make_bench_files"
SUPPORT="$ROOT/tests/support"
if [[ ! -x $MAKER || $ROOT/bench/make_bench_files.cpp -nt $MAKER ]]; then
    echo "Building make_bench_files"
    "$CXX" -std=c++20 -O2 -DNDEBUG -I"$ROOT/src" -I"$ROOT/tests" "$ROOT/bench/make_bench_files.cpp" \
        "$SUPPORT/mpeg_builders.cpp" "$SUPPORT/id3v2_builders.cpp" "$SUPPORT/container_builders.cpp" -o "$MAKER"
fi
stamp="$DATA/.made-$TRACKS"
if [[ ! -f $stamp || $MAKER -nt $stamp ]]; then
    echo "Writing $TRACKS small tracks into $DATA/tracks"
    rm -rf "$DATA/tracks" "$DATA"/.made-*
    "$MAKER" "$DATA" 1 "$TRACKS" >/dev/null
    rm -f "$DATA/cbr.mp3" "$DATA/vbr.mp3"
    touch "$stamp"
fi

cd "$DATA"
cat tracks/*.mp3 >/dev/null  # warm the cache
results="$(mktemp)"
trap 'rm -f "$results" out.csv out.xml' EXIT

# The CSV table is emptied before each run, so every run appends the same rows to a new file.
hyperfine -N --style basic --warmup 2 --runs "$RUNS" --export-csv "$results" \
    --prepare 'true' --prepare 'rm -f out.csv' --prepare 'true' \
    --command-name=-d "$CLI -d tracks/*.mp3" \
    --command-name=-csv "$CLI -csv out.csv tracks/*.mp3" \
    "--command-name=-xml noimg" "$CLI -xml out.xml noimg tracks/*.mp3"

rows=$(($(wc -l <out.csv) - 1))
echo
echo "Program: $CLI"
echo "Data: $TRACKS tracks of $(stat -c %s tracks/track0000.mp3) bytes; the CSV table holds $rows rows"
echo
# Columns: command, mean, stddev, median, user, system, min, max (seconds).
awk -F, -v goal="$GOAL" '
    NR == 1 { next }
    { name[NR] = $1; mean[NR] = $2 * 1000; sd[NR] = $3 * 1000 }
    END {
        printf "%-12s %10s %9s %7s %7s  %s\n", "case", "mean ms", "+- ms", "ratio", "goal", "result"
        for (i = 2; i <= NR; i++) {
            ratio = mean[i] / mean[2]
            verdict = i == 2 ? "baseline" : (ratio <= goal ? "met" : "MISSED")
            printf "%-12s %10.1f %9.1f %7.2f %7s  %s\n", name[i], mean[i], sd[i], ratio, i == 2 ? "-" : "<=" goal, verdict
        }
    }' "$results"
