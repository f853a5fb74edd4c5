#!/bin/sh
# sweep.sh LAMBDA WORK: one lambda into WORK/sweep-LAMBDA.txt, unless that file is there already.
set -eu
lambda=$1
work=$2
here=$(dirname "$0")
target=$work/sweep-$lambda.txt
[ -s "$target" ] && exit 0
# the finer, the narrower the gap
edges=$(awk -v l="$lambda" 'BEGIN { printf "%d", 2 * int((l > 0.7) ? 32 + 50 * (l - 0.7) : 32) }')
export OMP_NUM_THREADS=1 OPENBLAS_NUM_THREADS=1
"${PYTHON:-/usr/bin/python3}" "$here/sweep.py" "$lambda" "$edges" "$target.part" > "$target.log" 2>&1
mv "$target.part" "$target"
