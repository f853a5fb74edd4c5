#!/usr/bin/python3
"""Assembles the sweeps of a work folder into the look-up table and prints the table's own checks.

    table.py WORK TABLE.txt REPORT.md
"""
import glob
import json
import os
import sys

import numpy as np

import isoelastics
import outline

TOP = 0.1  # rows beyond this deformation are left out, so that the table has an even upper edge


def collect(work):
    """All points, by lambda."""
    sweeps = {}
    for path in sorted(glob.glob(os.path.join(work, "sweep-*.txt"))):
        points = outline.read_sweep(path)
        if points:
            sweeps[points[0]["lambda"]] = points
    return sweeps


def choose(sweeps, top):
    """Rows (area, deformation, E, lambda) as they will be printed.

    Deformation is rounded to 6 decimals: the stiffest row of each lambda then has exactly 0, so that the table's
    lower edge is straight and a search that starts there finds a value at every area. Stiffer ones are left out.
    """
    rows = []
    for lam, points in sweeps.items():
        last = None
        for p in sorted(points, key=lambda q: q["E"]):
            deform = round(p["deform"], 6)
            if deform > top:
                continue
            if last is not None and deform >= last:
                continue  # a second row with the same rounded value
            rows.append((round(p["area"], 4), deform, float(f"{p['E']:.6g}"), lam))
            last = deform
    return sorted(rows, key=lambda r: (r[3], -r[2]))


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
        "tolerance_outline_tube_radii": 3e-5,
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


def table_checks(rows, sweeps):
    """Lines of the report about volume, monotony and the isoelastic lines, and the lines themselves."""
    text = []
    points = [p for q in sweeps.values() for p in q]
    worst = max(points, key=lambda p: abs(p["volume"] - 1))
    text.append(f"- Volume: largest departure {100 * (worst['volume'] - 1):+.3f} % (lambda {worst['lambda']}, "
                f"E {worst['E']:.3g} kPa; allowed 0.5 %).")
    wrong = 0
    for lam in sweeps:
        d = [r[1] for r in sorted((r for r in rows if r[3] == lam), key=lambda r: -r[2])]
        wrong += int(np.sum(np.diff(d) <= 0))
    text.append(f"- Softer means more deformed at fixed lambda: {wrong} exceptions among {len(rows)} rows.")

    table = isoelastics.Table([r[:3] for r in rows])
    scan = np.linspace(table.low[1], table.high[1], 401)
    rises, tried, largest, where = 0, 0, 0.0, None
    for area in np.linspace(table.low[0], table.high[0], 151):
        f = table.at(np.full(len(scan), area), scan)
        f = f[~np.isnan(f)]
        if len(f) < 2:
            continue
        step = np.diff(f) / f[:-1]
        tried += len(step)
        rises += int(np.sum(step > 1e-9))
        if step.max() > largest:
            largest, where = step.max(), area
    text.append(f"- Modulus falls with deformation at fixed area (151 areas, 400 steps): {rises} rises among {tried} "
                f"steps, largest {100 * largest:.2f} %" + (f" at area {where:.1f} um^2." if where else "."))
    lines = table.lines()
    crossings = 0
    levels = list(lines)
    for soft, stiff in zip(levels, levels[1:]):
        common = {a: d for a, d in lines[soft]}
        crossings += sum(1 for a, d in lines[stiff] if a in common and common[a] <= d)
    text.append(f"- Crossings of neighbouring isoelastic lines: {crossings}.")
    text.append("")
    text.append("| level / kPa | points of 151 | area from | to | deformation at the end | largest kink |")
    text.append("|---|---|---|---|---|---|")
    for level, p in lines.items():
        # kink: second difference of deformation between neighbouring areas
        kink = np.abs(np.diff(p[:, 1], 2)).max() if len(p) > 2 else float("nan")
        text.append(f"| {level} | {len(p)} | {p[0, 0]:.1f} | {p[-1, 0]:.1f} | {p[-1, 1]:.4f} | {kink:.5f} |")
    return text, table, lines


def main():
    work, table_path, report_path = sys.argv[1:4]
    sweeps = collect(work)
    rows = choose(sweeps, TOP)
    write_table(rows, sweeps, table_path)
    text, table, lines = table_checks(rows, sweeps)
    with open(report_path, "w") as out:
        out.write("\n".join(text) + "\n")
    isoelastics.plot(table, lines, os.path.join(os.path.dirname(report_path) or ".", "isoelastics.png"))
    print("\n".join(text))


if __name__ == "__main__":
    main()
