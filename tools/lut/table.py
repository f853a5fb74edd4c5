#!/usr/bin/python3
"""Assembles the sweeps of a work folder into the look-up table and prints the table's own checks.

    table.py WORK TABLE.txt REPORT.md
"""
import glob
import json
import math
import os
import sys

import numpy as np

import isoelastics
import outline

WIDEST_STEP = 1.21  # ratio of the deformations of neighbouring rows, where cells are softer than 12 kPa
LEAST_STEP = 3e-4  # in deformation, between the row on the edge and the next


def edge(area):
    """Upper edge of the table. It lies where the outline's finer details (see the report, check 4) begin to matter, and is
    strictly concave, so that every lambda's end is a corner of the convex hull."""
    return 0.1315 - 5e-7 * (area - 215) ** 2


def collect(work):
    """The points before the first fold, by lambda."""
    return {lam: rising(points) for lam, (points, _) in read_all(work, "sweep").items()}


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


def between(points, deform):
    """Area and E at a deformation, from the cubic through the four nearest points of one lambda."""
    near = sorted(points, key=lambda p: abs(p["deform"] - deform))[:4]
    weights = [math.prod((deform - q["deform"]) / (p["deform"] - q["deform"]) for q in near if q is not p) for p in near]
    area = sum(w * p["area"] for w, p in zip(weights, near))
    return area, math.exp(sum(w * math.log(p["E"]) for w, p in zip(weights, near)))


def edge_row(points):
    """Where the solutions of one lambda cross the edge; nothing if they end below it."""
    if all(p["deform"] <= edge(p["area"]) for p in points):
        return None
    deform = min(p["deform"] for p in points if p["deform"] > edge(p["area"]))
    for _ in range(30):
        area, modulus = between(points, deform)
        deform = edge(area)
    return area, deform, modulus


def filled(points):
    """Area, deformation and E of a lambda's points, with one more between any two that are far apart in deformation: the
    program interpolates linearly, which for E ~ d^(-1/2) costs a tenth of the squared relative step."""
    rows = []
    for p, q in zip(points, points[1:]):
        rows.append((p["area"], p["deform"], p["E"]))
        if q["E"] < 12 and q["deform"] > WIDEST_STEP * p["deform"]:
            deform = math.sqrt(p["deform"] * q["deform"])
            rows.append((between(points, deform)[0], deform, follow(points, "deform", deform, "E")))
    return rows + [(points[-1]["area"], points[-1]["deform"], points[-1]["E"])]


def choose(sweeps):
    """Rows (area, deformation, E, lambda) as they will be printed, stiff to soft.

    Deformation is rounded to 6 decimals: the stiffest row of each lambda then has exactly 0, so that the table's
    lower edge is straight and a search that starts there finds a value at every area. Stiffer ones are left out.
    The triangulation fills the convex hull of the rows; therefore each lambda ends exactly at the edge.
    """
    rows = []
    for lam, points in sorted(sweeps.items()):
        last = edge_row(points)
        below = [row for row in filled(points) if row[1] < edge(row[0]) - LEAST_STEP]
        own = []
        for area, deform, modulus in sorted(below + ([last] if last else []), key=lambda r: r[2]):
            deform = round(deform, 6)
            if not own or deform < own[-1][1]:  # not a second row with the same rounded value
                own.append((round(area, 4), deform, float(f"{modulus:.6g}"), lam))
        rows += own[::-1]
    return rows


def edge_check(sweeps):
    """How well the rows on the edge are interpolated: the same at points around the edge that are left out."""
    worst_e, worst_a, missing, tried = 0.0, 0.0, [], 0
    for lam, points in sorted(sweeps.items()):
        if edge_row(points) is None:
            missing.append(lam)
        order = sorted(points, key=lambda p: p["deform"])
        for p in order[3:-1]:
            if abs(p["deform"] - edge(p["area"])) > 0.008:
                continue
            area, modulus = between([q for q in points if q is not p], p["deform"])
            tried += 1
            worst_e = max(worst_e, abs(modulus / p["E"] - 1))
            worst_a = max(worst_a, abs(area / p["area"] - 1))
    ends = f" The solutions of lambda {', '.join(map(str, missing))} end below the edge." if missing else ""
    return ["## Upper edge", "",
            f"The softest row of each lambda lies exactly on the table's upper edge: {len(sweeps) - len(missing)} of the rows "
            "are interpolated (cubic in deformation) between the converged solutions on both sides. Leaving out each of "
            f"{tried} solutions near the edge in turn and interpolating it from its neighbours changes E by at most "
            f"{100 * worst_e:.3f} % and the area by {100 * worst_a:.3f} %.{ends}", ""]


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
        "edges_on_half_circle": sorted({int(p["edges"]) for p in points}),
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


LEVELS_OF_D = (0.001, 0.01, 0.03, 0.05, 0.07, 0.09, 0.10, 0.11, 0.12, 0.125, 0.13, 0.135, 0.14, 0.145, 0.15)


def follow(points, given, value, wanted):
    """One quantity of a lambda's points at a value of another, by the cubic through the four nearest in logarithms, in which
    deformation and modulus are nearly proportional."""
    near = sorted(points, key=lambda p: abs(math.log(p[given] / value)))[:4]
    weights = [math.prod(math.log(value / q[given]) / math.log(p[given] / q[given]) for q in near if q is not p) for p in near]
    return math.exp(sum(w * math.log(p[wanted]) for w, p in zip(weights, near)))


def mesh_check(work, sweeps):
    """The same moduli with halved elements, and with a skin that bends at shorter waves."""
    text = ["## 4. Mesh and skin", "", "Deformation at the same modulus with the production settings, with all elements halved, and with one and a "
            "half times the terms in the outline's series (56, skin as stiff as the body at term 24 instead of 16; elements at the surface "
            "two thirds as long). Allowed: 1 % of d within the table.", "",
            "| lambda | E / kPa | d | halved elements | difference | shorter waves | difference |", "|---|---|---|---|---|---|---|"]
    ends = []
    worst, found = 0.0, 0
    others = {kind: read_all(work, kind) for kind in ("halved", "skin")}
    for lam in sorted(set(others["halved"]) & set(others["skin"])):
        points = sweeps[lam]
        curves = {kind: rising(others[kind][lam][0]) for kind in others}
        for level in LEVELS_OF_D:
            if level > points[-1]["deform"]:
                break
            area, modulus = between(points, level)[0], follow(points, "deform", level, "E")
            cells = []
            for kind, curve in curves.items():
                if modulus < curve[-1]["E"]:
                    cells += ["beyond its end", ""]
                    continue
                d = follow(curve, "E", modulus, "deform")
                change = 100 * (d / level - 1)
                cells += [f"{d:.6f}", f"{change:+.3f} %"]
                if level <= edge(area):
                    worst, found = max(worst, abs(change)), found + 1
            text.append(f"| {lam} | {modulus:.4f} | {level} | " + " | ".join(cells) + " |")
        ends += [f"- lambda {lam}, {kind}: largest d {curve[-1]['deform']:.4f} at {curve[-1]['E']:.4f} kPa, then: {end}"
                 for kind, curve, end in [("production", points, read_all(work, "sweep")[lam][1])]
                 + [(kind, curve, others[kind][lam][1]) for kind, curve in curves.items()]]
    text += ["", "Beyond the table's edge the branches are followed until they end:", ""] + ends
    return text + ["", f"Largest change within the table {worst:.3f} % at {found} points: {verdict(found >= 12 and worst < 1)}.", ""]


def folds(work):
    """Where the branch turns back, solution by solution, with the production mesh and with a finer one."""
    text = ["## Folds", "",
            "The last solutions of branches that turn back, along the branch: E / kPa and deformation. In a fold of the stiffness E rises again "
            "while the cell deforms further; in one of the deformation d falls. What follows a fold is not in the table.", ""]
    for kind in ("sweep", "halved", "skin"):
        for lam, (points, end) in sorted(read_all(work, kind).items()):
            if end.startswith("no solution") or end == "top" or (kind == "sweep" and lam not in read_all(work, "halved")):
                continue
            pairs = ", ".join(f"({p['E']:.5f}, {p['deform']:.5f})" for p in points[-9:])
            text.append(f"- lambda {lam}, {'production' if kind == 'sweep' else kind}, {end}: {pairs}")
    return text + [""]


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


def reach(work):
    text = ["## How far each lambda goes", "",
            "The largest deformation that was found, and why the branch ends there. The table ends earlier, at its upper edge.", "",
            "| lambda | solutions | largest deformation | its E / kPa | area / um^2 | table's edge | end of the branch |",
            "|---|---|---|---|---|---|---|"]
    for lam, (points, end) in sorted(read_all(work, "sweep").items()):
        p = max(points, key=lambda q: q["deform"])
        text.append(f"| {lam} | {len(points)} | {p['deform']:.4f} | {p['E']:.4f} | {p['area']:.2f} | {edge(p['area']):.4f} | {end} |")
    return text + [""]


def solids(work, table, sweeps, path):
    """Modulus of a neo-Hookean sphere over that of the linear one with the same silhouette."""
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    levels = (0.001, 0.005, 0.01, 0.02, 0.03, 0.04, 0.05, 0.06, 0.07, 0.08, 0.09, 0.10, 0.11, 0.12)
    text = ["## The solid", "", "![modulus of a neo-Hookean sphere over that of the table](solids.png)", "",
            "The table's solid is linear: its stress knows no rotations, and when d is 0.12 its surface is stretched to 2.5 to 2.8 of "
            "its length at the front and compressed to 0.4 to 0.5 at the rear edge. A neo-Hookean sphere of the same modulus at small strain tells how far that "
            "can be trusted: E of the neo-Hookean sphere over the table's E for the same area and deformation. Empty where the neo-Hookean "
            "branch has ended.", "", "| lambda | area / um^2 | " + " | ".join(f"d {d}" for d in levels) + " | largest d | end of the branch |",
            "|---|---|" + "---|" * (len(levels) + 2)]
    spots = []
    for lam, (points, end) in sorted(read_all(work, "rubber").items()):
        points = rising(points)
        cells = []
        for level in levels:
            if level > points[-1]["deform"] or level < points[0]["deform"]:
                cells.append("")
                continue
            cells.append(f"{follow(points, 'deform', level, 'E') / follow(sweeps[lam], 'deform', level, 'E'):.3f}")
        for p in points:
            if 5e-4 < p["deform"] <= sweeps[lam][-1]["deform"]:
                spots.append((p["area"], p["deform"], p["E"] / follow(sweeps[lam], "deform", p["deform"], "E")))
        text.append(f"| {lam} | {points[0]['area']:.1f} | " + " | ".join(cells) + f" | {points[-1]['deform']:.4f} | {end} |")
    area, deform, ratio = np.array(spots).T
    figure, axes = plt.subplots(figsize=(8, 5))
    shown = axes.scatter(area, deform, c=ratio, s=26, cmap="viridis")
    areas = np.linspace(table.low[0], table.high[0], 200)
    axes.plot(areas, [edge(a) for a in areas], "k--", lw=1, label="end of the table")
    axes.set_xlabel("area / um^2")
    axes.set_ylabel("deformation")
    axes.legend()
    figure.colorbar(shown, label="E (neo-Hookean) / E (linear)")
    figure.tight_layout()
    figure.savefig(path, dpi=80)
    return text + ["", f"Within the table the ratio lies between {ratio.min():.2f} and {ratio.max():.2f}.", ""]


def shapes(sweeps, path):
    """Six outlines from stiff to soft."""
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    lam = min(sweeps, key=lambda v: abs(v - 0.6))
    points = [p for p in sweeps[lam] if p["deform"] <= edge(p["area"])]
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
    sweeps = collect(work)
    rows = choose(sweeps)
    write_table(rows, sweeps, table_path)
    table = isoelastics.Table([r[:3] for r in rows])
    lines = table.lines()
    points = [p for q in sweeps.values() for p in q]
    text = ["# Report on the table of Young's moduli", "",
            f"Written by `generate.sh`. {len(rows)} rows of {len(sweeps)} confinements; tube radius "
            f"{outline.RADIUS:.4f} um, stress scale {outline.STRESS_SCALE:.5f} kPa.", ""]
    text += solver_checks(work) + volume_check(points) + mesh_check(work, sweeps) + stiff_check(sweeps)
    text += monotony_check(rows, sweeps, table) + edge_check(sweeps) + line_report(lines) + folds(work)
    text += shapes(sweeps, os.path.join(here, "outlines.png")) + solids(work, table, sweeps, os.path.join(here, "solids.png"))
    text += reach(work)
    with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "notes.md")) as f:
        text += f.read().splitlines()
    with open(report_path, "w") as out:
        out.write("\n".join(text) + "\n")
    isoelastics.plot(table, lines, os.path.join(here, "isoelastics.png"))
    print("\n".join(text))


if __name__ == "__main__":
    main()
