#!/usr/bin/python3
"""Assembles the sweeps of a work folder into the look-up table and prints the table's own checks.

    table.py WORK TABLE.txt REPORT.md
"""
import glob
import json
import math
import os
import sys

import matplotlib
matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np

import isoelastics
import outline

WIDEST_STEP = 1.12  # ratio of the deformations of neighbouring rows, where cells are softer than 12 kPa
DENSITIES = ("sweep", "fine", "finest", "halved")  # kinds of sweeps that differ in their elements only, coarse to fine
BEFORE_FOLD = 0.985  # deformation of a lambda's last row over that at which its branch turns back
RISE, FALL = 0.13, 0.04  # steepest of the table's end over lambda, so that the last rows make no jagged edge
FENCE = 0.05  # from the last rows to those without a modulus, where the table's sides are 1


def collect(work):
    """The points before the first fold and the deformation at which the table ends, by lambda."""
    branches = [{lam: apart(rising(points)) for lam, (points, _) in read_all(work, kind).items()} for kind in DENSITIES]
    sweeps = branches[0]
    folds = {lam: min(branch[lam][-1]["deform"] for branch in branches if lam in branch) for lam in sweeps}
    ends = {lam: BEFORE_FOLD * min(deform + max(RISE * (lam - other), FALL * (other - lam)) for other, deform in folds.items())
            for lam in folds}
    return sweeps, ends


def apart(points):
    """Points without those that lie too close to the one before to be interpolated between."""
    kept = points[:1]
    for p in points[1:]:
        if p["deform"] > 1.001 * kept[-1]["deform"]:
            kept.append(p)
    return kept


def read_all(work, kind):
    """Points and end of every sweep of one kind, by lambda."""
    sweeps = {}
    for path in sorted(glob.glob(os.path.join(work, kind + "-*.txt"))):
        points, end = outline.read_sweep(path)
        sweeps[points[0]["lambda"]] = points, end
    return sweeps


def rising(points):
    """The points before the first fold, in deformation or in stiffness: beyond it one silhouette has two moduli."""
    for i in range(1, len(points)):
        if points[i]["deform"] <= points[i - 1]["deform"] or points[i]["eps"] >= points[i - 1]["eps"]:
            return points[:i]
    return points


def cubic(points, given, value, scale):
    """The four points nearest to a value of one quantity, on a scale of it, and their weights in the cubic through them."""
    near = sorted(points, key=lambda p: abs(scale(p[given]) - scale(value)))[:4]
    x, places = scale(value), [scale(p[given]) for p in near]
    return [(math.prod((x - y) / (own - y) for y in places if y != own), p) for own, p in zip(places, near)]


def between(points, deform):
    """Area and E at a deformation, from the cubic through the four nearest points of one lambda."""
    near = cubic(points, "deform", deform, float)
    return sum(w * p["area"] for w, p in near), math.exp(sum(w * math.log(p["E"]) for w, p in near))


def follow(points, given, value, wanted):
    """One quantity of a lambda's points at a value of another, by the cubic in logarithms, in which deformation and modulus are
    nearly proportional."""
    return math.exp(sum(w * math.log(p[wanted]) for w, p in cubic(points, given, value, math.log)))


def thinned(lam, points, end):
    """The points below the table's end, without those that a fold asked for: narrow triangles would reach past the next column. Soft ones
    are half a step of the sweep apart at least."""
    step = outline.soft_step(lam) / 2
    kept = []
    for p in points:
        if p["deform"] < end - step and (p["deform"] < 0.02 or p["deform"] > kept[-1]["deform"] + step):
            kept.append(p)
    return kept


def filled(kept, points):
    """Area, deformation and E of a lambda's points, with more between any two that are far apart in deformation: the
    program interpolates linearly, which for E ~ d^(-1/2) costs a tenth of the squared relative step."""
    rows = []
    for p, q in zip(kept, kept[1:]):
        rows.append((p["area"], p["deform"], p["E"]))
        parts = math.ceil(math.log(q["deform"] / p["deform"]) / math.log(WIDEST_STEP)) if q["E"] < 12 else 1
        for i in range(1, parts):
            deform = p["deform"] * (q["deform"] / p["deform"]) ** (i / parts)
            rows.append((between(points, deform)[0], deform, follow(points, "deform", deform, "E")))
    return rows + [(kept[-1]["area"], kept[-1]["deform"], kept[-1]["E"])]


def last_places(sweeps, ends):
    """Area and deformation of the softest rows, by lambda."""
    return np.array([(between(points, ends[lam])[0], ends[lam]) for lam, points in sorted(sweeps.items())])


def choose(sweeps, ends):
    """Rows (area, deformation, E, lambda) as they will be printed, stiff to soft; last those without a modulus.

    Deformation is rounded to 6 decimals: the stiffest row of each lambda then has exactly 0, so that the table's
    lower edge is straight and a search that starts there finds a value at every area. Stiffer ones are left out.
    The triangulation fills the convex hull of the rows. Cells of middling size go less far than smaller and larger ones;
    what lies between those is fenced off by rows whose modulus is not a number, above the end of each lambda.
    """
    rows = []
    for lam, points in sorted(sweeps.items()):
        area, modulus = between(points, ends[lam])
        last = area, ends[lam], modulus
        below = filled(thinned(lam, points, ends[lam]), points)
        own = []
        for area, deform, modulus in sorted(below + [last], key=lambda r: r[2]):
            deform = round(deform, 6)
            if not own or deform < own[-1][1]:  # not a second row with the same rounded value
                own.append((round(area, 4), deform, float(f"{modulus:.6g}"), lam))
        rows += own[::-1]
    places = fence(rows, last_places(sweeps, ends))
    return rows + [(round(area, 4), round(deform, 6), math.nan, None) for area, deform in places]


def fence(rows, tops):
    """Places of the rows without a modulus, at right angles to the table's edge."""
    low, high = np.min([r[:2] for r in rows], axis=0), np.max([r[:2] for r in rows], axis=0)
    edge = (tops - low) / (high - low)
    along = np.gradient(edge, axis=0)
    outwards = np.column_stack([-along[:, 1], along[:, 0]]) / np.hypot(*along.T)[:, None]
    places = low + (edge + FENCE * outwards) * (high - low)
    places[:, 0] = np.clip(places[:, 0], low[0], high[0])
    return places


def edge_check(sweeps, ends, table):
    """How well the last rows are interpolated, and that the mesh has a modulus just below them and none just above."""
    worst_e, worst_a, tried = 0.0, 0.0, 0
    for lam, points in sorted(sweeps.items()):
        order = sorted(points, key=lambda p: p["deform"])
        for p in order[3:-1]:
            if not ends[lam] - 0.012 < p["deform"] < ends[lam]:
                continue
            area, modulus = between([q for q in points if q is not p], p["deform"])
            tried += 1
            worst_e = max(worst_e, abs(modulus / p["E"] - 1))
            worst_a = max(worst_a, abs(area / p["area"] - 1))
    tops = last_places(sweeps, ends)
    areas = np.linspace(tops[0, 0], tops[-1, 0], 2001)[1:-1]
    edge = np.interp(areas, *tops.T)
    holes = int(np.sum(np.isnan(table.at_all(areas, edge - 1e-4))))
    beyond = int(np.sum(~np.isnan(table.at_all(areas, edge + 1e-3))))
    return ["## Upper edge", "",
            f"The softest row of each lambda lies {100 * (1 - BEFORE_FOLD):.1f} % below the deformation at which its branch turns back, interpolated "
            f"(cubic in deformation) between the converged solutions on both sides. Leaving out each of {tried} solutions just "
            f"below it in turn and interpolating it from its neighbours changes E by at most "
            f"{100 * worst_e:.3f} % and the area by {100 * worst_a:.3f} %. Rows without a modulus fence off what lies above. "
            f"At {len(areas)} areas, {holes} have no modulus 0.0001 below the line through the last rows and {beyond} have one 0.001 above: "
            f"{verdict(holes == 0 and beyond == 0)}.", ""]


def write_table(rows, sweeps, path):
    points = [p for q in sweeps.values() for p in q]
    meta = {
        "channel_width": outline.CHANNEL_WIDTH,
        "flow_rate": outline.FLOW_RATE,
        "fluid_viscosity": outline.VISCOSITY,
        "units": "channel_width um, flow_rate uL/s, fluid_viscosity mPa s, area um^2, emodulus kPa",
        "generator": "tools/lut/generate.sh (finite elements, axisymmetric Stokes flow with incompressible elastic sphere)",
        "tube_radius_um": round(outline.RADIUS, 6),
        "stress_scale_kPa": round(outline.STRESS_SCALE, 8),
        "edges_on_half_circle": sorted({p["edges"] for p in points}),
        "elements": "P2 velocity and displacement, P1 pressure",
        "outline": "Fourier series of 40 terms, skin as stiff as the body at term 16",
        "largest_last_newton_step_tube_radii": float(f"{max(p['change'] for p in points):.3g}"),
        "lambda_count": len(sweeps),
        "rows": len(rows),
    }
    with open(path, "w") as out:
        out.write("# BEGIN METADATA\n")
        for line in json.dumps(meta, indent=2).splitlines():
            out.write(f"# {line}\n")
        out.write("# END METADATA\n")
        out.write("area_um deform emodulus\n")
        for area, deform, modulus, _ in rows:
            out.write(f"{area:.4f} {deform:.6f} {modulus:.6g}\n")


def solver_checks(work):
    """Checks 1 and 2 from check.py's output."""
    with open(os.path.join(work, "check.txt")) as f:
        words = [line.split() for line in f]
    drag = [w[1:] for w in words if w and w[0] == "drag" and w[1] != "lambda"]
    solid = [w[1:] for w in words if w and w[0] == "solid" and w[1] != "state"]
    worst_drag = max(abs(float(w[k])) for w in drag for k in (3, 6))
    worst_solid = max(float(w[2]) for w in solid)
    text = ["## 1. Rigid spheres on the axis of the tube", "",
            "Drag over that in unbounded fluid, against the classical wall correction factors (allowed: 1 %).", "",
            "| lambda | moving, computed | tabulated | difference | held in flow, computed | tabulated | difference |",
            "|---|---|---|---|---|---|---|"]
    for w in drag:
        text.append(f"| {w[0]} | {float(w[1]):.4g} | {w[2]} | {float(w[3]):+.3f} % | {float(w[4]):.4g} | {w[5]} | "
                    f"{float(w[6]):+.3f} % |")
    text += ["", f"Largest difference {worst_drag:.3f} %: {verdict(worst_drag < 1)}.", "",
             "## 2. Elastic sphere under the tractions of known states", "",
             "Root-mean-square error of the displacement (allowed: 0.1 %). The harmonic state's displacement is cubic and "
             "so lies outside the finite-element space; the stretched ones test the large-strain terms.", "",
             "| state | solid | error |", "|---|---|---|"]
    text += [f"| {w[0].replace('_', ' ')} | {w[1]} | {float(w[2]):.2g} % |" for w in solid]
    text += ["", f"Largest error {worst_solid:.2g} %: {verdict(worst_solid < 0.1)}.", ""]
    return text


def verdict(passed):
    return "passed" if passed else "NOT PASSED"


def volume_check(points):
    inside = max(abs(p["volume"] - 1) for p in points)
    worst = max(points, key=lambda p: abs(p["outline_volume"] - 1))
    error = 100 * (worst["outline_volume"] - 1)
    return ["## 3. Volume", "", f"Largest departure from the undeformed sphere's among {len(points)} solutions: {100 * inside:.1g} % for the "
            f"elements; {error:+.5f} % for the body within the spline through the outline's nodes (lambda {worst['lambda']}, E "
            f"{worst['E']:.3g} kPa; allowed 0.2 %): {verdict(abs(error) < 0.2)}.", ""]


LEVELS_OF_D = (0.001, 0.01, 0.03, 0.05, 0.07, 0.09, 0.10, 0.11, 0.12, 0.125, 0.13, 0.135, 0.14, 0.145, 0.15, 0.155)


def mesh_check(work, sweeps):
    """The same moduli with halved elements, and with a skin that bends at shorter waves."""
    text = ["## 4. Mesh and skin", "", "Deformation at the same modulus with the production settings, with all elements halved, and with one and a "
            "half times the terms in the outline's series (56, skin as stiff as the body at term 24 instead of 16; elements "
            "two thirds as long). Halved elements may change d by 1 %. The skin belongs to the model; the last columns tell how much "
            "it matters.", "",
            "| lambda | E / kPa | d | halved elements | difference | shorter waves | difference |", "|---|---|---|---|---|---|---|"]
    worst, highest, found, bends = 0.0, 1.0, 0, []
    others = {kind: read_all(work, kind) for kind in ("halved", "skin")}
    for lam in sorted(set(others["halved"]) & set(others["skin"])):
        points = sweeps[lam]
        curves = {kind: rising(others[kind][lam][0]) for kind in others}
        for level in (level for level in LEVELS_OF_D if level < points[-1]["deform"]):
            modulus = follow(points, "deform", level, "E")
            cells = []
            for kind, curve in curves.items():
                if modulus < curve[-1]["E"]:
                    cells += ["beyond its fold", ""]
                    continue
                d = follow(curve, "E", modulus, "deform")
                change = 100 * (d / level - 1)
                cells += [f"{d:.6f}", f"{change:+.3f} %"]
                if kind == "halved":
                    worst, found, reached = max(worst, abs(change)), found + 1, level
            text.append(f"| {lam} | {modulus:.4f} | {level} | " + " | ".join(cells) + " |")
        highest = min(highest, reached)
        bends.append(f"lambda {lam} at d {turning(others['halved'][lam][0])[1]:.4f} with halved elements, {turning(others['skin'][lam][0])[1]:.4f} "
                     "with shorter waves")
    return text + ["", f"Where the branches turn back: {'; '.join(bends)}.", "", f"Largest change with halved elements {worst:.3f} % at {found} points up to d {highest:.3f}: "
                   f"{verdict(found >= 20 and highest >= 0.15 and worst < 1)}.", ""]


def turning(points):
    """Where a branch first turns back: in what, deformation and modulus there (parabola through three solutions); nothing if
    it was not followed so far."""
    before = rising(points)
    if len(before) == len(points):
        return None
    last = len(before) - 1
    near = points[last - 1:last + 2]
    d, modulus = np.array([p["deform"] for p in near]), np.array([p["E"] for p in near])
    if d[2] <= d[1]:
        top = np.polyfit(modulus, d, 2)
        at = -top[1] / (2 * top[0])
        return "d", np.polyval(top, at), at
    top = np.polyfit(d, modulus, 2)
    at = -top[1] / (2 * top[0])
    return "E", at, np.polyval(top, at)


def folds(work, sweeps, ends, path):
    """Where the branches turn back, on meshes of different density, as a table and a picture."""
    text = ["## Where the branches end", "",
            "Every branch was followed until it turns back and four solutions further. In a fold of the deformation the cell deforms "
            "no further while its stiffness falls; in one of the stiffness no softer cell of its size has a steady shape near by, and stiffness rises "
            "while deformation goes on. Beyond either one silhouette has two moduli. Listed are a branch's first fold (\"d\" of the deformation, "
            "\"E\" of the stiffness), the deformation and E in kPa there, with elements as for the table, two thirds as long, half as long (where the first two differ most), "
            "and all halved, also those far from the surface (0.36 and 0.72). "
            "Where the stiffness hardly changes along the branch, below lambda 0.45, the place of its minimum is less certain than its height.", "",
            "| lambda | area / um^2 | the table's | finer | finest | the two finest differ by, in d | in E | table ends at |",
            "|---|---|---|---|---|---|---|---|"]
    all_branches = [read_all(work, kind) for kind in DENSITIES]
    unproven, worst = [], 0.0
    for lam in sorted(sweeps):
        found = [(turning(branch[lam][0]), *branch[lam]) for branch in all_branches if lam in branch]
        cells = [f"{fold[0]} {fold[1]:.4f}, {fold[2]:.4f} ({points[0]['unknowns']} unknowns)" if fold else end
                 for fold, points, end in found]
        pair = [fold for fold, _, _ in found if fold][-2:]
        off = [pair[0][k] / pair[1][k] - 1 for k in (1, 2)] if len(pair) == 2 else []
        if 0.2 < lam < 0.7:
            if off and abs(off[0]) < 0.03:
                worst = max(worst, abs(off[0]))
            else:
                unproven.append(lam)
        text.append(f"| {lam} | {sweeps[lam][-1]['area']:.1f} | " + " | ".join((cells + [""] * 3)[:3]) + " | "
                    + (" | ".join(f"{100 * v:+.2f} %" for v in off) if off else " | ") + f" | {ends[lam]:.4f} |")
    draw_folds([lam for lam in (0.24, 0.36, 0.48, 0.6, 0.69) if lam in all_branches[1]], all_branches, path)
    return text + ["", "![branches around their folds](folds.png)", "",
                   f"Lambda 0.2 to 0.7: {'all turn back' if not unproven else 'not shown to turn back'} on two meshes"
                   f"{': ' + ', '.join(map(str, unproven)) if unproven else ''}, at deformations that differ by {100 * worst:.1f} % at most: "
                   f"{verdict(not unproven)}.", ""]


def draw_folds(shown, branches, path):
    figure, axes = plt.subplots(figsize=(9, 5.5))
    for colour, lam in zip(plt.cm.viridis(np.linspace(0, 0.85, len(shown))), shown):
        for branch, style, name in ((branches[0][lam][0], ".-", f"lambda {lam}"), (branches[1][lam][0], "x--", None)):
            d, modulus = np.array([p["deform"] for p in branch]), np.array([p["E"] for p in branch])
            axes.plot(modulus, d, style, color=colour, lw=1, ms=4, label=name)
    axes.set(xlabel="E / kPa", ylabel="deformation", xlim=(0.14, 0.42), ylim=(0.12, 0.17), title="the table's mesh (dots) and a finer one (crosses)")
    axes.legend()
    figure.tight_layout()
    figure.savefig(path, dpi=70)


def stiff_check(sweeps):
    text = ["## 5. Stiff limit", "",
            "The outline's displacement goes with 1 / E. The deformation d measures the departure from a circle, the shape "
            "of largest area for its perimeter, so its first variation there is zero: d has no term in 1 / E and goes with "
            "1 / E^2. The product E x displacement and the product E^2 x d have to become constant for large E; the factors "
            "below are relative to the stiffest row.", "",
            "| lambda | E / kPa | largest displacement / R | E x displacement, relative | d | E^2 x d, relative |",
            "|---|---|---|---|---|---|"]
    drift_u, drift_d = 0.0, 0.0
    for lam in sorted(sweeps)[:: max(1, len(sweeps) // 4)]:
        stiff = sorted((p for p in sweeps[lam] if p["E"] > 11.9 or p is sweeps[lam][0]), key=lambda p: -p["E"])
        base_u = base_d = None
        for p in stiff:
            theta = np.linspace(0, np.pi, len(p["z"]))
            u = max(np.abs(np.array(p["z"]) + lam * np.cos(theta)).max(), np.abs(np.array(p["r"]) - lam * np.sin(theta)).max())
            d = p["deform"] - outline.POLYGON_OFFSET
            base_u, base_d = base_u or u * p["E"], base_d or d * p["E"] ** 2
            drift_u = max(drift_u, abs(u * p["E"] / base_u - 1))
            drift_d = max(drift_d, abs(d * p["E"] ** 2 / base_d - 1))
            text.append(f"| {lam} | {p['E']:.2f} | {u:.3e} | {u * p['E'] / base_u:.4f} | {d:.3e} | "
                        f"{d * p['E']**2 / base_d:.4f} |")
    return text + ["", f"Above 12 kPa E x displacement drifts by {100 * drift_u:.1f} % and E^2 x d by {100 * drift_d:.1f} % at "
                   "most. In the literal sense, d itself in proportion to 1 / E, the limit does not hold and can not.", ""]


def monotony_check(rows, sweeps, table):
    wrong = 0
    for lam in sweeps:
        d = [r[1] for r in rows if r[3] == lam]  # stiff to soft
        wrong += int(np.sum(np.diff(d) <= 0))
    scan = np.linspace(table.low[1], table.high[1], 401)
    rises, tried, largest, where = 0, 0, 0.0, None
    for area in np.linspace(table.low[0], table.high[0], 151):
        f = table.at(np.full(len(scan), area), scan)
        f = f[~np.isnan(f)]
        if len(f) < 2:
            continue
        step = np.diff(f) / f[:-1]
        tried += len(step)
        rises += int(np.sum(step > 1e-6))
        if step.max() > largest:
            largest, where = step.max(), area
    place = f", largest {100 * largest:.3f} % at area {where:.1f} um^2" if where is not None else ""
    return ["## 6. Monotony", "",
            f"- At fixed lambda softer means more deformed: {wrong} exceptions among {len(rows)} rows: {verdict(wrong == 0)}.",
            f"- At fixed area the interpolated modulus falls with deformation (151 areas, 400 steps each): {rises} rises "
            f"among {tried} steps{place}: {verdict(rises == 0)}.", ""]


def line_report(lines):
    crossings = 0
    levels = list(lines)
    for soft, stiff in zip(levels, levels[1:]):
        at = dict(map(tuple, lines[soft]))
        crossings += sum(1 for a, d in lines[stiff] if a in at and at[a] <= d)
    text = ["## Isoelastic lines", "", "![isoelastic lines](isoelastics.png)", "",
            f"As the program draws them. Crossings of neighbouring lines: {crossings}. Gaps are areas between a line's ends "
            "at which no point was found. The kink is the largest second difference of deformation between neighbouring "
            "areas.", "",
            "| level / kPa | points of 151 | gaps | area from | to | deformation at the end | largest kink |",
            "|---|---|---|---|---|---|---|"]
    for level, p in lines.items():
        if len(p) < 3:
            text.append(f"| {level} | {len(p)} | | | | | |")
            continue
        step = np.diff(p[:, 0])
        gaps = int(np.sum(np.round(step / step.min()) - 1))
        kink = np.abs(np.diff(p[:, 1], 2)).max()
        text.append(f"| {level} | {len(p)} | {gaps} | {p[0, 0]:.1f} | {p[-1, 0]:.1f} | {p[-1, 1]:.4f} | {kink:.5f} |")
    return text + [""]


def stretches(sweeps, ends):
    """Along the outline, of its length at rest; the least of all cells and the most."""
    texts = []
    for name, deforms in (("d 0.05", dict.fromkeys(sweeps, 0.05)), ("d 0.12", dict.fromkeys(sweeps, 0.12)), ("the table's end", ends)):
        factors = []
        for lam, points in sweeps.items():
            p = min(points, key=lambda q: abs(q["deform"] - deforms[lam]))
            factors.append(np.hypot(np.diff(p["z"]), np.diff(p["r"])) / (lam * math.pi / (len(p["z"]) - 1)))
        low, high = min(f.min() for f in factors), max(f.max() for f in factors)
        texts.append(f"At {name} the outline is compressed to {low:.2f} of its length at the rear and stretched to {high:.1f} in front of its edge at most. ")
    return "".join(texts)


def solids(work, sweeps, ends, path):
    """Modulus of a neo-Hookean sphere over that of the linear one with the same silhouette."""
    levels = (0.001, 0.005, 0.01, 0.02, 0.03, 0.04, 0.05, 0.06, 0.07, 0.08, 0.09, 0.10, 0.11, 0.12, 0.13, 0.14, 0.15)
    text = ["## The solid", "", "![modulus of a neo-Hookean sphere over that of the table](solids.png)", "",
            "The table's solid is linear: its stress knows no rotations. " + stretches(sweeps, ends) + "A neo-Hookean sphere of the same modulus at small strain tells how far that "
            "can be trusted: E of the neo-Hookean sphere over the table's E for the same area and deformation. Empty where the neo-Hookean "
            "branch has ended.", "", "| lambda | area / um^2 | " + " | ".join(f"d {d}" for d in levels) + " | largest d | end of the branch |",
            "|---|---|" + "---|" * (len(levels) + 2)]
    spots = []
    for lam, (points, end) in sorted(read_all(work, "rubber").items()):
        points = rising(points)
        cells = []
        for level in levels:
            if level > min(points[-1]["deform"], ends[lam]) or level < points[0]["deform"]:
                cells.append("")
                continue
            cells.append(f"{follow(points, 'deform', level, 'E') / follow(sweeps[lam], 'deform', level, 'E'):.3f}")
        for p in points:
            if 5e-4 < p["deform"] <= ends[lam]:
                spots.append((p["area"], p["deform"], p["E"] / follow(sweeps[lam], "deform", p["deform"], "E")))
        text.append(f"| {lam} | {points[0]['area']:.1f} | " + " | ".join(cells) + f" | {points[-1]['deform']:.4f} | {end} |")
    area, deform, ratio = np.array(spots).T
    figure, axes = plt.subplots(figsize=(8, 5))
    shown = axes.scatter(area, deform, c=ratio, s=26, cmap="viridis")
    axes.plot(*last_places(sweeps, ends).T, "k--", lw=1, label="end of the table")
    axes.set_xlabel("area / um^2")
    axes.set_ylabel("deformation")
    axes.legend()
    figure.colorbar(shown, label="E (neo-Hookean) / E (linear)")
    figure.tight_layout()
    figure.savefig(path, dpi=80)
    return text + ["", f"Within the table the ratio lies between {ratio.min():.2f} and {ratio.max():.2f}.", ""]


def shapes(sweeps, ends, path):
    """Six outlines from stiff to soft."""
    lam = min(sweeps, key=lambda v: abs(v - 0.6))
    points = [p for p in sweeps[lam] if p["deform"] <= ends[lam]]
    figure, axes = plt.subplots(2, 3, figsize=(12, 7))
    for a, wanted in zip(axes.ravel(), np.array([0.002, 0.2, 0.4, 0.6, 0.8, 1.0]) * points[-1]["deform"]):
        p = min(points, key=lambda q: abs(q["deform"] - wanted))
        z, r = (v * outline.RADIUS for v in outline.resampled(np.asarray(p["z"]), np.asarray(p["r"])))
        corners = outline.hull(z, r)
        a.fill(z, r, color="0.85")
        a.plot(z, r, "k", lw=1)
        a.plot(z[corners], r[corners], "r--", lw=1)
        a.axhline(outline.RADIUS, color="b", lw=1)
        a.axhline(-outline.RADIUS, color="b", lw=1)
        a.set_aspect("equal")
        a.set_title(f"E {p['E']:.3g} kPa, d {p['deform']:.4f}", fontsize=10)
    figure.tight_layout()
    figure.savefig(path, dpi=70)
    return ["## Outlines", "", "![six outlines from stiff to soft](outlines.png)", "",
            f"Lambda {lam}, flow to the right, lengths in um; red the convex hull that area and deformation are taken from, blue the tube.", ""]


def main():
    work, table_path, report_path = sys.argv[1:4]
    here = os.path.dirname(os.path.abspath(report_path))
    sweeps, ends = collect(work)
    rows = choose(sweeps, ends)
    write_table(rows, sweeps, table_path)
    table = isoelastics.Table([r[:3] for r in rows])
    lines = table.lines()
    points = [p for q in sweeps.values() for p in q]
    text = ["# Report on the table of Young's moduli", "",
            f"Written by `generate.sh`. {len(rows)} rows of {len(sweeps)} confinements; tube radius "
            f"{outline.RADIUS:.4f} um, stress scale {outline.STRESS_SCALE:.5f} kPa.", ""]
    text += solver_checks(work) + volume_check(points) + mesh_check(work, sweeps) + stiff_check(sweeps)
    text += monotony_check(rows, sweeps, table) + folds(work, sweeps, ends, os.path.join(here, "folds.png"))
    text += edge_check(sweeps, ends, table) + line_report(lines) + shapes(sweeps, ends, os.path.join(here, "outlines.png"))
    text += solids(work, sweeps, ends, os.path.join(here, "solids.png"))
    with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "notes.md")) as f:
        text += f.read().splitlines()
    with open(report_path, "w") as out:
        out.write("\n".join(text) + "\n")
    isoelastics.plot(table, lines, os.path.join(here, "isoelastics.png"))
    print("\n".join(text))


if __name__ == "__main__":
    main()
