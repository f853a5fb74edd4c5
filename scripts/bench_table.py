#!/usr/bin/env python3
"""Turns the JSON output of the benchmarks into one table of workloads, their baselines and the bars on the ratio.

A workload NAME is paired with NAME/baseline, which ran in the same process. Medians over the repetitions are compared.
usage: bench_table.py [--strict] RESULTS.json
"""

import argparse
import json
import sys

# Highest ratio to the baseline that passes.
RATIO_BARS = {
    "preload_40_columns": 1.2,
    "preload_40_packed_columns": 1.0,
    "filter_3_ranges_2_polygons": 0.5,
    "density_kde": 0.4,
    "contours_two_lines": 1.6,
    "repaint_color_dots": 0.08,
    "repaint_plain_dots": 0.3,
    "find_nearest": 1.6,
    "find_nearest_log": 2.0,
    "drag_vertex": 0.15,
    "hover_while_drawing": 1.3,
    "filter_change_to_picture": 1.3,
    "rule_to_200_datasets": 1.2,
    "dock_60_rules": 2.0,
    "vertex_released": 1.3,
    "combine_refresh_9": 0.75,
    "combine_refresh_2": 0.85,
    "combine_colour": 1.5,
    "combine_statistics": 0.4,
    "matrix_open": 1.5,
    "matrix_toggle_cell": 0.1,
    "click_to_event": 2.0,
    "emodulus_compute": 16.0,
    "emodulus_lookup": 0.5,
    "emodulus_isoelastics": 2.0,
    "emodulus_quality": 5.0,
    "trace_filter_chain": 0.15,
    "refine_packed_traces": 0.5,
    "fourier_masks": 0.5,
    "fourier_packed_masks": 2.0,
    "compensation_3_channels": 6.0,
    "apply_to_all_fourier": 1.02,
    "apply_to_all_refine": 1.02,
    "apply_to_all_modulus": 1.02,
    "export_table": 0.2,
    "export_pictures_copied": 0.06,
    "export_pictures_packed": 0.6,
    "export_video": 1.3,
    "statistical_summary": 0.5,
    "session_save": 1.5,
    "session_restore": 3.0,
    "gallery_page_of_400": 0.35,
    "gallery_page_turn": 1.3,
    "gallery_auto_contrast": 0.8,
    "dataset_values": 0.35,
    "mann_whitney_20_pairs": 1.3,
    "roc_20_pairs": 1.5,
    "distributions_12_series": 0.2,
    "category_changed": 3.0,
}
# Longest time in seconds that passes, for work that has no baseline.
TIME_BARS = {
    "emodulus_triangulate": 1.0,
    "turn_while_refining": 0.05,
    "turn_while_fourier": 0.05,
    "turn_while_modulus": 0.05,
    "turn_while_compensating": 0.05,
    "gallery_longest_turn": 0.03,
    "combine_export_12_png": 20.0,
    "combine_export_12_svg": 20.0,
    "combine_export_12_pdf": 20.0,
}

SECONDS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}
COLUMNS = ("workload", "events", "time", "baseline", "ratio", "bar", "")


def parse_name(run_name):
    """Name, whether it is the baseline, and the number of events in a run's name (None without one)."""
    parts = run_name.split("/")
    # What the benchmark library appends, such as "real_time" or "iterations:3", says nothing about the workload, and a
    # small number is a setting of it.
    numbers = [int(part) for part in parts[1:] if part.isdigit() and int(part) >= 1000]
    return parts[0], "baseline" in parts[1:], numbers[0] if numbers else None


def read_runs(document):
    """Median seconds by (name, events), for workloads and for baselines."""
    workloads, baselines = {}, {}
    for run in document["benchmarks"]:
        if run.get("aggregate_name", "median") != "median":
            continue
        if run.get("error_occurred"):
            print(f"{run['name']}: {run.get('error_message', 'failed')}", file=sys.stderr)
            continue
        name, is_baseline, events = parse_name(run.get("run_name", run["name"]))
        if events is None and "events" in run:
            events = round(run["events"])
        (baselines if is_baseline else workloads)[name, events] = run["real_time"] * SECONDS[run["time_unit"]]
    return workloads, baselines


def shown_time(seconds):
    for unit, size in (("s", 1.0), ("ms", 1e-3), ("us", 1e-6)):
        if seconds >= size:
            return f"{seconds / size:.3g} {unit}"
    return f"{seconds / 1e-9:.3g} ns"


def row_of(name, events, seconds, baseline):
    """One row of the table and whether its bar was missed."""
    ratio = seconds / baseline if baseline else None
    bar, passed = "", None
    if name in TIME_BARS:
        bar, passed = f"{TIME_BARS[name]:g} s", seconds < TIME_BARS[name]
    elif name in RATIO_BARS:
        # A bar without its baseline can't be judged: that must not look like a pass.
        bar, passed = f"{RATIO_BARS[name]:g}", ratio is not None and ratio <= RATIO_BARS[name]
    row = (
        name,
        "" if events is None else f"{events}",
        shown_time(seconds),
        shown_time(baseline) if baseline else "",
        "" if ratio is None else f"{ratio:.3g}",
        bar,
        {None: "", True: "ok", False: "miss"}[passed],
    )
    return row, passed is False


def table_of(workloads, baselines):
    """All rows, workloads with a bar that did not run included, and whether a bar was missed."""
    rows, missed = [], False
    for (name, events), seconds in workloads.items():
        baseline = baselines.get((name, events), baselines.get((name, None)))
        row, row_missed = row_of(name, events, seconds, baseline)
        rows.append(row)
        missed = missed or row_missed
    ran = {name for name, _ in workloads}
    for name in [*RATIO_BARS, *TIME_BARS]:
        if name not in ran:
            rows.append((name, "", "not run", "", "", "", ""))
    return rows, missed


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("results")
    parser.add_argument("--strict", action="store_true", help="exit with 1 if a bar is missed")
    arguments = parser.parse_args()
    with open(arguments.results, encoding="utf-8") as file:
        workloads, baselines = read_runs(json.load(file))
    rows, missed = table_of(workloads, baselines)
    widths = [max(len(row[i]) for row in [COLUMNS, *rows]) for i in range(len(COLUMNS))]
    for row in [COLUMNS, *rows]:
        cells = [cell.ljust(width) if i == 0 else cell.rjust(width) for i, (cell, width) in enumerate(zip(row, widths))]
        print("  ".join(cells).rstrip())
    return 1 if missed and arguments.strict else 0


if __name__ == "__main__":
    sys.exit(main())
