# The pieces of the table, one a line, long ones first: name, lambda, edges on the half circle, options of sweep.py.
function edges(l) { return 2 * int(l > 0.7 ? 32 + 50 * (l - 0.7) : 32) }
BEGIN {
    # the same with halved elements, and with a skin that bends at shorter waves
    for (l = 0.36; l < 0.7; l += 0.30) {
        printf "halved-%.3f %.3f %d --factor 0.5 --coarse --step 0.012 --top 0.16\n", l, l, 2 * edges(l)
        printf "skin-%.3f %.3f %d --terms 56 --cutoff 24 --coarse --step 0.012\n", l, l, 1.5 * edges(l)
    }
    for (i = 0; i <= 26; i++) { l = 0.12 + 0.03 * i; printf "sweep-%.3f %.3f %d\n", l, l, edges(l) }
    for (i = 0; i <= 26; i += 4) {
        l = 0.12 + 0.03 * i
        printf "rubber-%.3f %.3f %d --law neo-Hookean --coarse --step 0.006\n", l, l, edges(l)
    }
}
