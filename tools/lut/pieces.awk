# The pieces of the table, one a line, long ones first: name, lambda, edges on the half circle, options of sweep.py.
function edges(l) { return 2 * int(l > 0.7 ? 32 + 50 * (l - 0.7) : 32) }
function sweep_edges(l) { return l > 0.44 && l < 0.46 ? 72 : edges(l) } # 64 have triangles that fold just before the branch does
BEGIN {
    soft = "--coarse --step 0.008"
    # the same with halved elements, and with a skin that bends at shorter waves
    for (l = 0.36; l < 0.8; l += 0.36) {
        printf "halved-%.3f %.3f %d --factor 0.5 %s\n", l, l, 2 * edges(l), soft
        printf "skin-%.3f %.3f %d --terms 56 --cutoff 24 %s\n", l, l, 1.5 * edges(l), soft
    }
    # folds with elements two thirds as long, and half as long where two thirds make a difference
    count = split("0.24 0.30 0.33 0.42", unsure)
    for (i = 1; i <= count; i++) { l = unsure[i]; printf "finest-%.3f %.3f %d %s\n", l, l, 2 * edges(l), soft }
    for (i = 3; i <= 19; i++) { l = 0.12 + 0.03 * i; printf "fine-%.3f %.3f %d %s\n", l, l, 1.5 * edges(l), soft }
    for (i = 0; i <= 26; i++) { l = 0.12 + 0.03 * i; printf "sweep-%.3f %.3f %d\n", l, l, sweep_edges(l) }
    for (i = 0; i <= 26; i += 4) {
        l = 0.12 + 0.03 * i
        printf "rubber-%.3f %.3f %d --law neo-Hookean --coarse --step 0.006\n", l, l, edges(l)
    }
}
