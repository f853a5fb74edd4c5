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

LEAST_STEP = 3e-4  # in deformation, between the row on the edge and the next


def edge(area):
    """Upper edge of the table. It lies just below the softest solutions that can be had, which deform less the larger
    the cell, and is strictly concave, so that every lambda's end is a corner of the convex hull."""
    u = area - 36
    return 0.0755 - 7.3e-5 * u - 4e-8 * u * u if u > 0 else 0.0755 + 2.2e-4 * u - 2e-6 * u * u


def collect(work):
    """All points, by lambda."""
    sweeps = {}
    for path in sorted(glob.glob(os.path.join(work, "sweep-*.txt"))):
        points = outline.read_sweep(path)
        if points:
            sweeps[points[0]["lambda"]] = points
    return sweeps


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


def choose(sweeps):
    """Rows (area, deformation, E, lambda) as they will be printed, stiff to soft.

    Deformation is rounded to 6 decimals: the stiffest row of each lambda then has exactly 0, so that the table's
    lower edge is straight and a search that starts there finds a value at every area. Stiffer ones are left out.
    The triangulation fills the convex hull of the rows; therefore each lambda ends exactly at the edge.
    """
    rows = []
    for lam, points in sorted(sweeps.items()):
        last = edge_row(points)
        below = [(p["area"], p["deform"], p["E"]) for p in points if p["deform"] < edge(p["area"]) - LEAST_STEP]
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
        "generator": "tools/lut/generate.sh (FreeFEM, axisymmetric Stokes flow with incompressible elastic sphere)",
        "tube_radius_um": round(outline.RADIUS, 6),
        "stress_scale_kPa": round(outline.STRESS_SCALE, 8),
        "edges_on_half_circle": sorted({int(p["edges"]) for p in points}),
        "elements": "P2 velocity and displacement, P1 pressure",
        "tolerance_outline_tube_radii": "4e-5, for lambda below 0.42 in proportion less",
        "largest_residual_tube_radii": float(f"{max(p['residual'] for p in points):.3g}"),
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
    """Checks 1 and 2 from check.edp's output."""
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
             "so lies outside the finite-element space; the stretched one tests the large-strain terms.", "",
             "| state | volume condition | error |", "|---|---|---|"]
    text += [f"| {w[0].replace('_', ' ')} | {w[1].replace('_', ' ')} | {float(w[2]):.6f} % |" for w in solid]
    text += ["", f"Largest error {worst_solid:.5f} %: {verdict(worst_solid < 0.1)}.", ""]
    return text


def verdict(passed):
    return "passed" if passed else "NOT PASSED"


def volume_check(points):
    worst = max(points, key=lambda p: abs(p["volume"] - 1))
    error = 100 * (worst["volume"] - 1)
    return ["## 3. Volume", "", f"Largest departure from the undeformed sphere's among {len(points)} solutions: "
            f"{error:+.4f} % (lambda {worst['lambda']}, E {worst['E']:.3g} kPa; allowed 0.5 %): "
            f"{verdict(abs(error) < 0.5)}.", ""]


def mesh_check(work):
    text = ["## 4. Mesh", "", "Production mesh against halved elements (allowed: 1 % of d).", "",
            "| lambda | E / kPa | edges | d | edges | d | difference |", "|---|---|---|---|---|---|---|"]
    worst, found = 0.0, 0
    for path in sorted(glob.glob(os.path.join(work, "mesh-*-1.txt"))):
        finer = path.replace("-1.txt", "-2.txt")
        if not os.path.exists(finer):
            continue
        a, b = outline.read_sweep(path)[-1], outline.read_sweep(finer)[-1]
        assert abs(a["eps"] / b["eps"] - 1) < 1e-9, "the two sweeps ended at different points"
        change = 100 * (b["deform"] / a["deform"] - 1)
        worst, found = max(worst, abs(change)), found + 1
        text.append(f"| {a['lambda']} | {a['E']:.4f} | {a['edges']:.0f} | {a['deform']:.6f} | {b['edges']:.0f} | "
                    f"{b['deform']:.6f} | {change:+.3f} % |")
    return text + ["", f"Largest change {worst:.3f} % at {found} points: {verdict(found >= 3 and worst < 1)}.", ""]


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
            theta = np.pi * np.arange(len(p["z"])) / (len(p["z"]) - 1)
            u = max(np.abs(np.array(p["z"]) + lam * np.cos(theta)).max(), np.abs(np.array(p["r"]) - lam * np.sin(theta)).max())
            d = p["deform"] - POLYGON_OFFSET
            base_u, base_d = base_u or u * p["E"], base_d or d * p["E"] ** 2
            drift_u = max(drift_u, abs(u * p["E"] / base_u - 1))
            drift_d = max(drift_d, abs(d * p["E"] ** 2 / base_d - 1))
            text.append(f"| {lam} | {p['E']:.2f} | {u:.3e} | {u * p['E'] / base_u:.4f} | {d:.3e} | "
                        f"{d * p['E']**2 / base_d:.4f} |")
    return text + ["", f"Above 12 kPa E x displacement drifts by {100 * drift_u:.1f} % and E^2 x d by {100 * drift_d:.1f} % at "
                   "most. In the literal sense, d itself in proportion to 1 / E, the limit does not hold and can not.", ""]


# deformation of a circle sampled like the outlines: an inscribed polygon
POLYGON_OFFSET = 1 - np.sqrt(np.pi / outline.SAMPLES / np.tan(np.pi / outline.SAMPLES))


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


def reach(sweeps):
    text = ["## How far each lambda goes", "",
            "Softest solution that converged; what is softer, or beyond the table's upper edge, is left out.", "",
            "| lambda | solutions | softest E / kPa | its deformation | area / um^2 |", "|---|---|---|---|---|"]
    for lam, points in sorted(sweeps.items()):
        p = min(points, key=lambda q: q["E"])
        text.append(f"| {lam} | {len(points)} | {p['E']:.4f} | {p['deform']:.4f} | {p['area']:.2f} |")
    return text + [""]


def main():
    work, table_path, report_path = sys.argv[1:4]
    sweeps = collect(work)
    rows = choose(sweeps)
    write_table(rows, sweeps, table_path)
    table = isoelastics.Table([r[:3] for r in rows])
    lines = table.lines()
    points = [p for q in sweeps.values() for p in q]
    text = ["# Report on the table of Young's moduli", "",
            f"Written by `generate.sh`. {len(rows)} rows of {len(sweeps)} confinements; tube radius "
            f"{outline.RADIUS:.4f} um, stress scale {outline.STRESS_SCALE:.5f} kPa.", ""]
    text += solver_checks(work) + volume_check(points) + mesh_check(work) + stiff_check(sweeps)
    text += monotony_check(rows, sweeps, table) + edge_check(sweeps) + line_report(lines) + reach(sweeps)
    notes = os.path.join(os.path.dirname(os.path.abspath(__file__)), "notes.md")
    if os.path.exists(notes):
        with open(notes) as f:
            text += f.read().splitlines()
    with open(report_path, "w") as out:
        out.write("\n".join(text) + "\n")
    isoelastics.plot(table, lines, os.path.join(os.path.dirname(os.path.abspath(report_path)), "isoelastics.png"))
    print("\n".join(text))


if __name__ == "__main__":
    main()
