#!/bin/sh
# Computes data/LUT_LE_2D_FEM.txt and tools/lut/report.md. Finished pieces are kept in the work folder and not
# computed again; delete them to start afresh.
set -eu
root=$(cd "$(dirname "$0")/../.." && pwd)
here=$root/tools/lut
work=${TESSALY_LUT_WORK:-$root/build/lut}
jobs=${TESSALY_LUT_JOBS:-$(nproc)}
python=${PYTHON:-/usr/bin/python3}
mkdir -p "$work"
work=$(cd "$work" && pwd)

if [ ! -s "$work/check.txt" ]; then
    (cd "$here" && OMP_NUM_THREADS=1 FreeFem++ -nw -v 0 check.edp) > "$work/check.part"
    mv "$work/check.part" "$work/check.txt"
fi
cat "$work/check.txt"

# 27 confinements. A failed sweep leaves its .part and .log behind and is reported by the missing file.
awk 'BEGIN { for (i = 0; i <= 26; i++) printf "%.3f\n", 0.12 + 0.03 * i }' |
    xargs -P "$jobs" -I @ sh -c "'$here/sweep.sh' @ '$work' || echo 'lambda @ failed' >&2"
printf '0.3 64 4\n0.6 64 8\n0.84 78 12\n' |
    xargs -P "$jobs" -I @ sh -c "'$here/mesh.sh' @ '$work' || echo 'mesh check @ failed' >&2"

"$python" "$here/table.py" "$work" "$root/data/LUT_LE_2D_FEM.txt" "$here/report.md"
