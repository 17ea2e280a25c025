#!/usr/bin/env bash
# Times the stream summary (-m), the stream checker (-check) and the tag display (-d) against
# simple baselines, side by side in one run, and checks them against the goals:
#   -m and -check on a ~100 MB track: at most 2x the time of `cat track >/dev/null` (warm cache);
#   -d over 1000 small tagged tracks:  at most 1/3 of the time of `mid3v2 --list` on them.
# The summary is also timed alone (bench/summary_driver.cpp maps the file and runs it), so its
# cost can be measured even while the front end is incomplete.
#
# Usage: bench/run.sh [path/to/tagwickcli]      (default: build/tagwickcli; or TAGWICK_CLI)
# Environment: RUNS (default 10), BENCH_MB (default 100), BENCH_TRACKS (default 1000), CXX,
# BENCH_NO_HYPERFINE=1 (use the plain timing loop even when hyperfine is installed).
#
# The data is built once into bench/data (not committed); delete that folder to rebuild it.
# hyperfine is used when installed (`apt-get install hyperfine`), else a best-of-N loop timed
# with `date +%s%N`. mid3v2 comes with Debian's python3-mutagen; without it the -d comparison
# is skipped with a note. Figures are the best run, in milliseconds.
set -euo pipefail

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
BENCH="$ROOT/bench"
DATA="$BENCH/data"
CLI="${1:-${TAGWICK_CLI:-$ROOT/build/tagwickcli}}"
RUNS="${RUNS:-10}"
MB="${BENCH_MB:-100}"
TRACKS="${BENCH_TRACKS:-1000}"
CXX="${CXX:-g++}"
CXXFLAGS=(-std=c++20 -O2 -DNDEBUG -Wall -Wextra -I"$ROOT/src" -I"$ROOT/tests")

mkdir -p "$DATA"

# ---------------------------------------------------------------------------- tools and data

# build_tool NAME SOURCE... [-- HEADER...] : compiles into bench/data when the program is
# missing or older than one of its sources or of the headers named after "--".
build_tool() {
    local out="$DATA/$1"
    shift
    local sources=() file stale=0 in_headers=0
    [[ -x $out ]] || stale=1
    for file in "$@"; do
        if [[ $file == -- ]]; then
            in_headers=1
            continue
        fi
        ((in_headers)) || sources+=("$file")
        if [[ $file -nt $out ]]; then stale=1; fi
    done
    if ((stale)); then
        echo "Building $(basename "$out")"
        "$CXX" "${CXXFLAGS[@]}" "${sources[@]}" -o "$out"
    fi
}

build_tool make_bench_files "$BENCH/make_bench_files.cpp" "$ROOT/tests/support/mpeg_builders.cpp" \
    "$ROOT/tests/support/id3v2_builders.cpp" "$ROOT/tests/support/container_builders.cpp" \
    -- "$ROOT/tests/support/mpeg_builders.h" "$ROOT/tests/support/tag_builders.h"
build_tool summary_driver "$BENCH/summary_driver.cpp" "$ROOT/src/mpeg/mpeg_info.cpp" \
    "$ROOT/src/base/file_reader.cpp" "$ROOT/src/base/files.cpp" "$ROOT/src/base/text.cpp" "$ROOT/src/base/logger.cpp" \
    -- "$ROOT/src/mpeg/mpeg_info.h" "$ROOT/src/base/bytes.h" "$ROOT/src/base/file_reader.h" "$ROOT/src/base/files.h" \
    "$ROOT/src/base/text.h" "$ROOT/src/base/logger.h"

stamp="$DATA/.made-$MB-$TRACKS"
if [[ ! -f $stamp || $DATA/make_bench_files -nt $stamp ]]; then
    echo "Writing ${MB} MB CBR and VBR tracks and $TRACKS small tracks into $DATA"
    rm -rf "$DATA/tracks" "$DATA/cbr.mp3" "$DATA/vbr.mp3" "$DATA"/.made-*
    "$DATA/make_bench_files" "$DATA" "$MB" "$TRACKS"
    touch "$stamp"
fi

CBR="$DATA/cbr.mp3"
VBR="$DATA/vbr.mp3"
DRIVER="$DATA/summary_driver"

# ---------------------------------------------------------------------------- timing

HAVE_HYPERFINE=0
if [[ ${BENCH_NO_HYPERFINE:-0} != 1 ]] && command -v hyperfine >/dev/null 2>&1; then HAVE_HYPERFINE=1; fi

# The fallback runs each command through bash; its own start-up is measured and taken off.
SHELL_NS=0
best_ns() {
    local cmd="$1" best="" i t0 t1
    for ((i = 0; i < RUNS; i++)); do
        t0=$(date +%s%N)
        bash -c "$cmd" >/dev/null 2>&1 || true
        t1=$(date +%s%N)
        if [[ -z $best ]] || ((t1 - t0 < best)); then best=$((t1 - t0)); fi
    done
    echo "$best"
}

# time_ms COMMAND : best time in milliseconds, printed with one decimal.
time_ms() {
    local cmd="$1"
    if ((HAVE_HYPERFINE)); then
        local csv
        csv="$(mktemp)"
        if ! hyperfine --style none --warmup 2 --runs "$RUNS" -i -n bench --export-csv "$csv" "$cmd" \
            >/dev/null 2>&1; then
            rm -f "$csv"
            echo "-"
            return
        fi
        # Columns: command, mean, stddev, median, user, system, min, max (seconds).
        awk -F, 'NR == 2 { printf "%.1f", $7 * 1000 }' "$csv"
        rm -f "$csv"
    else
        bash -c "$cmd" >/dev/null 2>&1 || true  # warm-up
        local ns
        ns=$(best_ns "$cmd")
        ns=$((ns > SHELL_NS ? ns - SHELL_NS : 0))
        awk -v ns="$ns" 'BEGIN { printf "%.1f", ns / 1e6 }'
    fi
}

if ((!HAVE_HYPERFINE)); then SHELL_NS=$(best_ns ":"); fi

# works COMMAND : true when the command runs to a known status and prints something.
works() {
    local out status=0
    out="$(bash -c "$1" 2>&1)" || status=$?
    [[ -n $out ]] && ((status == 0 || status == 4))
}

ROWS=()
# row LABEL COMMAND BASELINE_LABEL BASELINE_COMMAND GOAL(ratio limit) NOTE
row() {
    local label="$1" cmd="$2" base_label="$3" base_cmd="$4" goal="$5"
    local ours base ratio verdict
    ours=$(time_ms "$cmd")
    base=$(time_ms "$base_cmd")
    if [[ $ours == "-" || $base == "-" ]]; then
        ratio="-"
        verdict="not measured"
    else
        ratio=$(awk -v a="$ours" -v b="$base" 'BEGIN { if (b > 0) printf "%.2f", a / b; else print "-" }')
        verdict=$(awk -v r="$ratio" -v g="$goal" 'BEGIN { if (r == "-") print "-"; else print (r <= g ? "met" : "MISSED") }')
    fi
    ROWS+=("$(printf '%-30s %11s  %-8s %11s %7s %7s  %s' "$label" "$ours" "$base_label" "$base" "$ratio" \
        "<=$goal" "$verdict")")
}

skip_row() {
    ROWS+=("$(printf '%-30s %11s  %-8s %11s %7s %7s  %s' "$1" "-" "$2" "-" "-" "<=$3" "$4")")
}

# Warm the cache once; the timed runs then read from memory.
cat "$CBR" "$VBR" "$DATA"/tracks/*.mp3 >/dev/null

q() { printf '%q' "$1"; }

if [[ -x $CLI ]] && works "$(q "$CLI") -m $(q "$DATA/tracks/track0000.mp3")"; then
    row "-m cbr.mp3 (full walk)" "$(q "$CLI") -m $(q "$CBR") >/dev/null" cat "cat $(q "$CBR") >/dev/null" 2
    row "-m vbr.mp3 (full walk)" "$(q "$CLI") -m $(q "$VBR") >/dev/null" cat "cat $(q "$VBR") >/dev/null" 2
else
    skip_row "-m cbr.mp3 (full walk)" cat 2 "tagwickcli -m not available at $CLI"
    skip_row "-m vbr.mp3 (full walk)" cat 2 "tagwickcli -m not available at $CLI"
fi

if [[ -x $CLI ]] && works "$(q "$CLI") -check $(q "$DATA/tracks/track0000.mp3")"; then
    row "-check cbr.mp3" "$(q "$CLI") -check $(q "$CBR") >/dev/null 2>&1" cat "cat $(q "$CBR") >/dev/null" 2
    row "-check vbr.mp3" "$(q "$CLI") -check $(q "$VBR") >/dev/null 2>&1" cat "cat $(q "$VBR") >/dev/null" 2
else
    skip_row "-check cbr.mp3" cat 2 "tagwickcli -check not available at $CLI"
    skip_row "-check vbr.mp3" cat 2 "tagwickcli -check not available at $CLI"
fi

row "summary alone, cbr.mp3" "$(q "$DRIVER") $(q "$CBR") >/dev/null" cat "cat $(q "$CBR") >/dev/null" 2
row "summary alone, vbr.mp3" "$(q "$DRIVER") $(q "$VBR") >/dev/null" cat "cat $(q "$VBR") >/dev/null" 2

TRACK_GLOB="$(q "$DATA/tracks")/*.mp3"
if ! command -v mid3v2 >/dev/null 2>&1; then
    skip_row "-d $TRACKS tracks" mid3v2 0.33 "mid3v2 not installed (Debian: python3-mutagen)"
elif [[ -x $CLI ]] && works "$(q "$CLI") -d $(q "$DATA/tracks/track0000.mp3")"; then
    row "-d $TRACKS tracks" "$(q "$CLI") -d $TRACK_GLOB >/dev/null 2>&1" mid3v2 \
        "mid3v2 --list $TRACK_GLOB >/dev/null 2>&1" 0.33
else
    skip_row "-d $TRACKS tracks" mid3v2 0.33 "tagwickcli -d not available at $CLI"
fi

# ---------------------------------------------------------------------------- report

echo
if ((HAVE_HYPERFINE)); then
    echo "Timing: hyperfine, best of $RUNS runs after 2 warm-up runs (shell start-up corrected)"
else
    echo "Timing: best of $RUNS runs with date +%s%N (bash start-up of $((SHELL_NS / 1000)) us taken off);" \
        "install hyperfine for steadier figures"
fi
echo "Program: $CLI"
echo "Data: cbr.mp3 $(stat -c %s "$CBR") bytes, vbr.mp3 $(stat -c %s "$VBR") bytes, $TRACKS tracks"
echo
printf '%-30s %11s  %-8s %11s %7s %7s  %s\n' "case" "tagwick ms" "baseline" "base ms" "ratio" "goal" "result"
printf '%s\n' "${ROWS[@]}"
