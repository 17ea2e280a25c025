#!/usr/bin/env bash
# Times the stream summary (-m), the stream checker (-check) and the tag display (-d) against
# simple baselines, side by side in one run, measures peak memory, and checks the goals:
#   -m (full walk) and -check on each ~100 MB track: at most 1.2x the time of `cat` of it;
#   -d over 1000 small tagged tracks: at most 2.5x the time of the floor, bench/read_floor.c
#       (open, read whole, close each file), and at most 0.15x the time of `mid3v2 --list`;
#   peak resident memory of -m, -check and -check fix on a ~100 MB track: at most 16 MB.
# The summary is also timed alone (bench/summary_driver.cpp reads the file through the track
# reader and runs it), so its cost can be seen apart from the rest of the program.
#
# Usage: bench/run.sh [path/to/tagwickcli]      (default: build/tagwickcli; or TAGWICK_CLI)
# Environment: RUNS (runs per round, default 5), ROUNDS (default 8), BENCH_MB (default 100),
# BENCH_TRACKS (default 1000), CXX, CC, BENCH_NO_HYPERFINE=1 (use the plain timing loop even
# when hyperfine is installed).
#
# The data is built once into bench/data (not committed); delete that folder to rebuild it.
# hyperfine is used when installed (`apt-get install hyperfine`), with -N (no shell between it and
# the program) and the median of the runs, else a best-of-N loop timed with `date +%s%N`; a
# program and its baseline are timed in alternating rounds.
# mid3v2 comes with Debian's python3-mutagen; without it that comparison is skipped with a
# note. Memory is the largest of three runs under /usr/bin/time -f %M (GNU time).
#
# Every run of tagwickcli appends to a run log under /Users/<user>/library/logs when that
# folder exists: the runs here use a user name without one, so the log lines go to standard
# error, which is discarded like standard output.
set -euo pipefail

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
BENCH="$ROOT/bench"
DATA="$BENCH/data"
RUNS="${RUNS:-5}"
ROUNDS="${ROUNDS:-8}"
MB="${BENCH_MB:-100}"
TRACKS="${BENCH_TRACKS:-1000}"
CXX="${CXX:-g++}"
CC="${CC:-cc}"
CXXFLAGS=(-std=c++20 -O2 -DNDEBUG -Wall -Wextra -I"$ROOT/src" -I"$ROOT/tests")
CFLAGS=(-O2 -Wall -Wextra)

export USER=tagwick-bench-nobody
unset LOGNAME

mkdir -p "$DATA"

# ---------------------------------------------------------------------------- tools and data

# build_tool NAME SOURCE... [-- HEADER...] : compiles into bench/data when the program is
# missing or older than one of its sources or of the headers named after "--". C sources are
# compiled with $CC, everything else with $CXX.
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
        if [[ ${sources[0]} == *.c ]]; then
            "$CC" "${CFLAGS[@]}" "${sources[@]}" -o "$out"
        else
            "$CXX" "${CXXFLAGS[@]}" "${sources[@]}" -o "$out"
        fi
    fi
}

build_tool make_bench_files "$BENCH/make_bench_files.cpp" "$ROOT/tests/support/mpeg_builders.cpp" \
    "$ROOT/tests/support/id3v2_builders.cpp" "$ROOT/tests/support/container_builders.cpp" \
    -- "$ROOT/tests/support/mpeg_builders.h" "$ROOT/tests/support/tag_builders.h"
build_tool summary_driver "$BENCH/summary_driver.cpp" "$ROOT/src/mpeg/mpeg_info.cpp" \
    "$ROOT/src/base/file_reader.cpp" "$ROOT/src/base/files.cpp" "$ROOT/src/base/text.cpp" "$ROOT/src/base/logger.cpp" \
    -- "$ROOT/src/mpeg/mpeg_info.h" "$ROOT/src/base/bytes.h" "$ROOT/src/base/file_reader.h" "$ROOT/src/base/files.h" \
    "$ROOT/src/base/text.h" "$ROOT/src/base/logger.h"
build_tool read_floor "$BENCH/read_floor.c"

stamp="$DATA/.made-$MB-$TRACKS"
if [[ ! -f $stamp || $DATA/make_bench_files -nt $stamp ]]; then
    echo "Writing ${MB} MB CBR, VBR and damaged tracks and $TRACKS small tracks into $DATA"
    rm -rf "$DATA/tracks" "$DATA/cbr.mp3" "$DATA/vbr.mp3" "$DATA/damaged.mp3" "$DATA"/.made-*
    "$DATA/make_bench_files" "$DATA" "$MB" "$TRACKS"
    touch "$stamp"
fi

CBR="$DATA/cbr.mp3"
VBR="$DATA/vbr.mp3"
DAMAGED="$DATA/damaged.mp3"
DRIVER="$DATA/summary_driver"
FLOOR="$DATA/read_floor"

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

# time_ms COMMAND : the time in milliseconds, printed with one decimal. COMMAND is a program
# and its arguments, quoted for the shell; its output is discarded.
time_ms() {
    local cmd="$1"
    if ((HAVE_HYPERFINE)); then
        local csv
        csv="$(mktemp)"
        if ! hyperfine -N --style none --warmup 1 --runs "$RUNS" -i -n bench --export-csv "$csv" "$cmd" \
            >/dev/null 2>&1; then
            rm -f "$csv"
            echo "-"
            return
        fi
        # Columns: command, mean, stddev, median, user, system, min, max (seconds).
        awk -F, 'NR == 2 { printf "%.1f", $4 * 1000 }' "$csv"
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
# row LABEL COMMAND BASELINE_LABEL BASELINE_COMMAND GOAL(ratio limit)
# The two commands are timed in alternating rounds and each gets the median of its rounds, so
# that a change in the machine's load falls on both.
row() {
    local label="$1" cmd="$2" base_label="$3" base_cmd="$4" goal="$5"
    local ours base ratio verdict round
    local ours_rounds=() base_rounds=()
    for ((round = 0; round < ROUNDS; round++)); do
        ours_rounds+=("$(time_ms "$cmd")")
        base_rounds+=("$(time_ms "$base_cmd")")
    done
    ours=$(median "${ours_rounds[@]}")
    base=$(median "${base_rounds[@]}")
    if [[ $ours == "-" || $base == "-" ]]; then
        ratio="-"
        verdict="not measured"
    else
        ratio=$(awk -v a="$ours" -v b="$base" 'BEGIN { if (b > 0) printf "%.2f", a / b; else print "-" }')
        verdict=$(awk -v r="$ratio" -v g="$goal" 'BEGIN { if (r == "-") print "-"; else print (r <= g ? "met" : "MISSED") }')
    fi
    ROWS+=("$(printf '%-30s %11s  %-10s %11s %7s %7s  %s' "$label" "$ours" "$base_label" "$base" "$ratio" \
        "<=$goal" "$verdict")")
}

skip_row() {
    ROWS+=("$(printf '%-30s %11s  %-10s %11s %7s %7s  %s' "$1" "-" "$2" "-" "-" "<=$3" "$4")")
}

MEMORY_ROWS=()
MEMORY_GOAL_KB=$((16 * 1024))
# memory_row LABEL PREPARE COMMAND : the largest peak resident size of three runs, each after
# PREPARE (a shell command, may be empty).
memory_row() {
    local label="$1" prepare="$2" cmd="$3" kb=0 run peak verdict
    if ! /usr/bin/time -f %M true >/dev/null 2>&1; then
        MEMORY_ROWS+=("$(printf '%-30s %11s %9s  %s' "$label" "-" "<=16 MB" "GNU time not installed")")
        return
    fi
    local out
    out="$(mktemp)"
    for run in 1 2 3; do
        if [[ -n $prepare ]]; then bash -c "$prepare"; fi
        bash -c "/usr/bin/time -f %M -o $(q "$out") $cmd >/dev/null 2>&1" || true
        peak=$(tail -1 "$out")
        if ((peak > kb)); then kb=$peak; fi
    done
    rm -f "$out"
    verdict=$( ((kb <= MEMORY_GOAL_KB)) && echo met || echo MISSED)
    MEMORY_ROWS+=("$(printf '%-30s %8s KB %9s  %s' "$label" "$kb" "<=16 MB" "$verdict")")
}

# Warm the cache once; the timed runs then read from memory.
cat "$CBR" "$VBR" "$DAMAGED" "$DATA"/tracks/*.mp3 >/dev/null

q() { printf '%q' "$1"; }

if [[ -x $CLI ]] && works "$(q "$CLI") -m $(q "$DATA/tracks/track0000.mp3")"; then
    row "-m cbr.mp3 (full walk)" "$(q "$CLI") -m $(q "$CBR")" cat "cat $(q "$CBR")" 1.2
    row "-m vbr.mp3 (full walk)" "$(q "$CLI") -m $(q "$VBR")" cat "cat $(q "$VBR")" 1.2
else
    skip_row "-m cbr.mp3 (full walk)" cat 1.2 "tagwickcli -m not available at $CLI"
    skip_row "-m vbr.mp3 (full walk)" cat 1.2 "tagwickcli -m not available at $CLI"
fi

if [[ -x $CLI ]] && works "$(q "$CLI") -check $(q "$DATA/tracks/track0000.mp3")"; then
    row "-check cbr.mp3" "$(q "$CLI") -check $(q "$CBR")" cat "cat $(q "$CBR")" 1.2
    row "-check vbr.mp3" "$(q "$CLI") -check $(q "$VBR")" cat "cat $(q "$VBR")" 1.2
else
    skip_row "-check cbr.mp3" cat 1.2 "tagwickcli -check not available at $CLI"
    skip_row "-check vbr.mp3" cat 1.2 "tagwickcli -check not available at $CLI"
fi

row "summary alone, cbr.mp3" "$(q "$DRIVER") $(q "$CBR")" cat "cat $(q "$CBR")" 1.2
row "summary alone, vbr.mp3" "$(q "$DRIVER") $(q "$VBR")" cat "cat $(q "$VBR")" 1.2

TRACK_LIST="$(printf '%q ' "$DATA"/tracks/*.mp3)"
if [[ -x $CLI ]] && works "$(q "$CLI") -d $(q "$DATA/tracks/track0000.mp3")"; then
    row "-d $TRACKS tracks" "$(q "$CLI") -d $TRACK_LIST" read_floor "$(q "$FLOOR") $TRACK_LIST" 2.5
    if command -v mid3v2 >/dev/null 2>&1; then
        row "-d $TRACKS tracks" "$(q "$CLI") -d $TRACK_LIST" mid3v2 "$(command -v mid3v2) --list $TRACK_LIST" 0.15
    else
        skip_row "-d $TRACKS tracks" mid3v2 0.15 "mid3v2 not installed (Debian: python3-mutagen)"
    fi
else
    skip_row "-d $TRACKS tracks" read_floor 2.5 "tagwickcli -d not available at $CLI"
    skip_row "-d $TRACKS tracks" mid3v2 0.15 "tagwickcli -d not available at $CLI"
fi

# Memory on the damaged track, which -check fix rebuilds (on a fresh copy for every run).
if [[ -x $CLI ]]; then
    FIX="$DATA/fix"
    mkdir -p "$FIX"
    memory_row "-m damaged.mp3" "" "$(q "$CLI") -m $(q "$DAMAGED")"
    memory_row "-check damaged.mp3" "" "$(q "$CLI") -check $(q "$DAMAGED")"
    memory_row "-check fix damaged.mp3" "rm -f $(q "$FIX")/* && cp $(q "$DAMAGED") $(q "$FIX/track.mp3")" \
        "$(q "$CLI") -check fix $(q "$FIX/track.mp3")"
    rm -rf "$FIX"
fi

# ---------------------------------------------------------------------------- report

echo
if ((HAVE_HYPERFINE)); then
    echo "Timing: hyperfine -N, the median of $ROUNDS alternating rounds of $RUNS runs (after a warm-up run) each"
else
    echo "Timing: best of $RUNS runs with date +%s%N (bash start-up of $((SHELL_NS / 1000)) us taken off);" \
        "install hyperfine for steadier figures"
fi
echo "Program: $CLI"
echo "Data: cbr.mp3 $(stat -c %s "$CBR") bytes, vbr.mp3 $(stat -c %s "$VBR") bytes," \
    "damaged.mp3 $(stat -c %s "$DAMAGED") bytes, $TRACKS tracks"
echo
printf '%-30s %11s  %-10s %11s %7s %7s  %s\n' "case" "tagwick ms" "baseline" "base ms" "ratio" "goal" "result"
printf '%s\n' "${ROWS[@]}"
if ((${#MEMORY_ROWS[@]} > 0)); then
    echo
    printf '%-30s %11s %9s  %s\n' "peak resident memory" "" "goal" "result"
    printf '%s\n' "${MEMORY_ROWS[@]}"
fi
