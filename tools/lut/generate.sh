#!/bin/sh
# Computes data/LUT_LE_2D_FEM.txt and tools/lut/report.md with its pictures. Finished pieces are kept in the work folder
# and not computed again; delete them to start afresh.
set -eu
root=$(cd "$(dirname "$0")/../.." && pwd)
here=$root/tools/lut
work=${TESSALY_LUT_WORK:-$root/build/lut}
jobs=${TESSALY_LUT_JOBS:-$(nproc)}
python=${PYTHON:-/usr/bin/python3}
mkdir -p "$work"
work=$(cd "$work" && pwd)

if [ ! -s "$work/check.txt" ]; then
    OMP_NUM_THREADS=1 "$python" "$here/check.py" > "$work/check.part"
    mv "$work/check.part" "$work/check.txt"
fi
grep -e '^drag' -e '^solid' "$work/check.txt"

awk -f "$here/pieces.awk" | xargs -P "$jobs" -L 1 "$here/piece.sh" "$work"

"$python" "$here/table.py" "$work" "$root/data/LUT_LE_2D_FEM.txt" "$here/report.md"
