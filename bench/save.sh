#!/usr/bin/env bash
# Saving tracks, side by side in one hyperfine run each:
#   a title set on 1000 small tagged tracks, and their version 2 tags removed, each against the
#       floor bench/save_floor.c (read each track, write a sibling temporary file with the head
#       and the rest, rename it over the track, read the head back): goal at most 1.2x;
#   a title set on the 100 MB CBR and VBR tracks against `cp` of the same file: goal at most 1.2x.
# Fresh copies of the small tracks are made before every run. Each pair is timed in ROUNDS
# hyperfine runs of RUNS runs a command, one after the other, so that a change in the machine's
# load (writeback of earlier saves, other work) falls on both sides; the figures are the medians
# of the rounds' medians.
#
# Usage: bench/save.sh [path/to/tagwickcli]     (default: build/tagwickcli; or TAGWICK_CLI)
# Environment: RUNS (default 5), ROUNDS (default 5). The tracks come from bench/run.sh (run it
# once first).
set -euo pipefail

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
DATA="$ROOT/bench/data"
RUNS="${RUNS:-5}"
ROUNDS="${ROUNDS:-5}"
GOAL=1.2

need_hyperfine
need_cli
[[ -d $DATA/tracks && -f $DATA/cbr.mp3 ]] || { echo "No bench tracks in $DATA: run bench/run.sh first" >&2; exit 2; }

FLOOR="$DATA/save_floor"
[[ $FLOOR -nt $ROOT/bench/save_floor.c ]] || cc -O2 -o "$FLOOR" "$ROOT/bench/save_floor.c"
WORK="$DATA/save-work"
csv="$(mktemp)"
trap 'rm -rf "$csv" "$WORK" "$DATA/big-copy.mp3"' EXIT

TRACKS=()
for t in "$DATA"/tracks/*.mp3; do TRACKS+=("$WORK/$(basename "$t")"); done
fresh="sh -c 'rm -rf $WORK && cp -r $DATA/tracks $WORK'"

# Prints the ratio of the first command's median to the second's.
compare() {
    local name="$1" round ours=() base=()
    # Each pair starts with the disk settled, not writing out what the pair before left.
    sync
    for ((round = 0; round < ROUNDS; round++)); do
        hyperfine -N --style none --warmup 1 --runs "$RUNS" --export-csv "$csv" "${@:2}" >/dev/null 2>&1
        ours+=("$(awk -F, 'NR == 2 { print $4 }' "$csv")")
        base+=("$(awk -F, 'NR == 3 { print $4 }' "$csv")")
    done
    awk -v a="$(median "${ours[@]}")" -v b="$(median "${base[@]}")" -v goal="$GOAL" -v name="$name" 'BEGIN {
        r = a / b
        printf "%-28s %8.1f ms  floor %8.1f ms  %.2fx (goal <= %.1fx) %s\n", name, a * 1000, b * 1000, r, goal,
               r <= goal ? "met" : "MISSED" }'
}

compare "-ti on ${#TRACKS[@]} tracks" --prepare "$fresh" "$CLI -ti Bench ${TRACKS[*]}" "$FLOOR ${TRACKS[*]}"
compare "-rm2 on ${#TRACKS[@]} tracks" --prepare "$fresh" "$CLI -rm2 ${TRACKS[*]}" "$FLOOR -rm ${TRACKS[*]}"
for track in cbr vbr; do
    cat "$DATA/$track.mp3" >/dev/null
    compare "-ti on $track.mp3 (vs cp)" "$CLI -ti Bench $DATA/$track.mp3" "cp $DATA/$track.mp3 $DATA/big-copy.mp3"
done
