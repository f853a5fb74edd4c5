#!/bin/sh
# mesh.sh LAMBDA EDGES EPS WORK: the same point with the production mesh and with halved elements.
set -eu
here=$(dirname "$0")
export OMP_NUM_THREADS=1 OPENBLAS_NUM_THREADS=1
cd "$here"
for factor in 1 2; do
    target=$4/mesh-$1-$factor.txt
    [ -s "$target" ] && continue
    nice -n 10 FreeFem++ -nw -v 0 sweep.edp -lambda "$1" -edges $(($2 * factor)) \
        -mesh "$(awk -v f=$factor 'BEGIN { print 1 / f }')" -soft "$3" -fine 1.3 -step 1 -out "$target.part" > "$target.log" 2>&1
    mv "$target.part" "$target"
done
