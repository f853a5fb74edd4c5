#!/bin/sh
# piece.sh WORK NAME LAMBDA EDGES [OPTION...]: one sweep into WORK/NAME.txt, unless that file is there already.
set -eu
target=$1/$2.txt
[ -s "$target" ] && exit 0
here=$(dirname "$0")
lambda=$3
edges=$4
shift 4
export OMP_NUM_THREADS=1 OPENBLAS_NUM_THREADS=1
"${PYTHON:-/usr/bin/python3}" "$here/sweep.py" "$lambda" "$edges" "$target.part" "$@" > "$target.log" 2>&1 ||
    { echo "$target: see its log" >&2; exit 1; }
mv "$target.part" "$target"
