#!/usr/bin/env bash
# Saving a title on a large AIFF track against `cp` of the same file, side by side in one
# hyperfine run. The save rebuilds the whole container beside the track and renames it into
# place, so its floor is a copy of the file; the goal is at most 1.5x the time of `cp`.
# The figures compared are the medians.
#
# Usage: bench/aiff_save.sh [path/to/tagwickcli]     (default: build/tagwickcli; or TAGWICK_CLI)
# Environment: RUNS (default 10), BENCH_MB (default 100).
# The track is made once in bench/data (not committed). Needs hyperfine and python3.
set -euo pipefail

source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
DATA="$ROOT/bench/data"
RUNS="${RUNS:-10}"
MB="${BENCH_MB:-100}"
GOAL=1.5

need_hyperfine
need_cli
mkdir -p "$DATA"
TRACK="$DATA/big-$MB.aif"
COPY="$DATA/big-$MB-copy.aif"

if [[ ! -f $TRACK ]]; then
    echo "Making $TRACK"
    python3 - "$TRACK" "$MB" <<'PY'
import struct, sys
path, mb = sys.argv[1], int(sys.argv[2])
frames = mb * 1024 * 1024 // 4            # 16-bit stereo
rate = bytes.fromhex('400eac44000000000000')  # 44100 Hz, 80-bit extended
comm = b'COMM' + struct.pack('>IHIH', 18, 2, frames, 16) + rate
sound = frames * 4
ssnd = b'SSND' + struct.pack('>III', sound + 8, 0, 0)
with open(path, 'wb') as f:
    f.write(b'FORM' + struct.pack('>I', 4 + len(comm) + len(ssnd) + sound) + b'AIFF' + comm + ssnd)
    block = bytes(range(256)) * 4096
    left = sound
    while left:
        n = min(left, len(block))
        f.write(block[:n])
        left -= n
PY
fi

csv="$(mktemp)"
trap 'rm -f "$csv" "$COPY"' EXIT
# Warm the cache; each save rewrites the same track, so every run does the same work.
cat "$TRACK" >/dev/null
hyperfine -N --style basic --warmup 2 --runs "$RUNS" --export-csv "$csv" \
    -n "tagwickcli -ti (${MB} MB AIFF)" "$CLI -ti Benchmark $TRACK" \
    -n "cp (${MB} MB AIFF)" "cp $TRACK $COPY"

awk -F, -v goal="$GOAL" 'NR == 2 { save = $4 } NR == 3 { copy = $4 }
    END { ratio = save / copy
          printf "\nmedian: save %.1f ms, cp %.1f ms: %.2fx (goal <= %.1fx) %s\n", save * 1000, copy * 1000, ratio, goal,
                 ratio <= goal ? "met" : "MISSED" }' "$csv"
