#!/usr/bin/env bash
# Runs two builds of tagwickcli over the same files and reports every difference in what they
# print, their exit status and the files a rebuild leaves behind. Meant for changes that must
# not change results (a new way of reading tracks, say).
#
# Usage: bench/compare.sh OLD_CLI NEW_CLI [corpus folder]
#
# Every file of the corpus (default ../shared/corpus) is copied under the names t.mp3, t.aif and
# t.tdf and run with -d, -m, -m novbr, -check and -check fix (each build on a fresh copy); the
# bench/ files (run bench/run.sh once to make them) with the same commands, the small tracks all
# on one command line and without fix. Log
# lines go to standard error (no log folder for the user of the run) and are compared without
# their date and time.
set -uo pipefail

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
OLD="$(realpath "${1:?usage: compare.sh OLD_CLI NEW_CLI [corpus]}")"
NEW="$(realpath "${2:?usage: compare.sh OLD_CLI NEW_CLI [corpus]}")"
CORPUS="${3:-$ROOT/../shared/corpus}"
DATA="$ROOT/bench/data"

WORK="$(mktemp -d)"
trap 'rm -rf "$WORK"' EXIT
export USER=tagwick-compare-nobody
unset LOGNAME

runs=0
differences=0

# run CLI OUT_PREFIX ARGS... : output, errors without the log's time stamps, and status.
run() {
    local cli="$1" out="$2"
    shift 2
    "$cli" "$@" >"$out.out" 2>"$out.err"
    echo $? >"$out.status"
    sed -E -i 's/^[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}(\.[0-9]{3})?//' "$out.err"
}

# The files a run may change or leave: the track and its backup.
snapshot() {
    local track="$1" out="$2"
    if [[ -f $track ]]; then sha256sum <"$track" >"$out.track"; else echo missing >"$out.track"; fi
    if [[ -f $track.bak ]]; then sha256sum <"$track.bak" >"$out.bak"; else echo missing >"$out.bak"; fi
}

# compare LABEL SOURCE TRACK ARGS... : runs both builds on TRACK, a fresh copy of SOURCE for
# each when SOURCE is given (for runs that change the track).
compare() {
    local label="$1" source="$2" track="$3"
    shift 3
    local side
    for side in old new; do
        if [[ -n $source ]]; then
            rm -f "$track" "$track.bak"
            cp "$source" "$track"
        fi
        if [[ $side == old ]]; then run "$OLD" "$WORK/$side" "$@"; else run "$NEW" "$WORK/$side" "$@"; fi
        if [[ -n $source ]]; then snapshot "$track" "$WORK/$side"; else : >"$WORK/$side.track" >"$WORK/$side.bak"; fi
    done
    runs=$((runs + 1))
    local part
    for part in out err status track bak; do
        if ! cmp -s "$WORK/old.$part" "$WORK/new.$part"; then
            differences=$((differences + 1))
            echo "DIFFERENT ($part): $label: $*"
            diff "$WORK/old.$part" "$WORK/new.$part" | head -10
        fi
    done
}

READ_ONLY=("-d" "-m" "-m novbr" "-check")

mkdir -p "$WORK/t"
while IFS= read -r -d '' file; do
    for name in t.mp3 t.aif t.tdf; do
        cp "$file" "$WORK/t/$name"
        for command in "${READ_ONLY[@]}"; do
            # shellcheck disable=SC2086
            compare "${file#"$CORPUS"/} as $name" "" "$WORK/t/$name" $command "$WORK/t/$name"
        done
        compare "${file#"$CORPUS"/} as $name" "$file" "$WORK/t/$name" -check fix "$WORK/t/$name"
        rm -f "$WORK/t/$name" "$WORK/t/$name.bak"
    done
done < <(find "$CORPUS" -type f ! -name '*.md' -print0 | sort -z)

if [[ -f $DATA/cbr.mp3 ]]; then
    for big in cbr.mp3 vbr.mp3 damaged.mp3; do
        for command in "${READ_ONLY[@]}"; do
            # shellcheck disable=SC2086
            compare "bench $big" "" "$DATA/$big" $command "$DATA/$big"
        done
        compare "bench $big" "$DATA/$big" "$WORK/t/$big" -check fix "$WORK/t/$big"
        rm -f "$WORK/t/$big" "$WORK/t/$big.bak"
    done
    for command in "-d" "-m" "-m novbr" "-check"; do
        for side in old new; do
            cli="$OLD"
            [[ $side == new ]] && cli="$NEW"
            # shellcheck disable=SC2086
            (cd "$DATA/tracks" && run "$cli" "$WORK/$side" $command track*.mp3)
        done
        runs=$((runs + 1))
        for part in out err status; do
            if ! cmp -s "$WORK/old.$part" "$WORK/new.$part"; then
                differences=$((differences + 1))
                echo "DIFFERENT ($part): bench tracks: $command"
            fi
        done
    done
else
    echo "bench/data is missing (run bench/run.sh once): only the corpus was compared"
fi

echo "$runs comparisons, $differences differences"
((differences == 0))
