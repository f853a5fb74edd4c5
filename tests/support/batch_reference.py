#!/usr/bin/env python3
"""Computes with h5py, NumPy and SciPy what a plan asks of one file, and compares it with merged tables of one row.
Prints what differs, if anything.

usage: batch_reference.py MEASUREMENT PLAN SUMMARY COUNTS
"""

import json
import sys

import h5py
import numpy as np
from scipy import stats


def inside(x, y, corners):
    """Even-odd crossing rule."""
    result = np.zeros(len(x), dtype=bool)
    for (x1, y1), (x2, y2) in zip(corners, corners[-1:] + corners[:-1]):
        if y1 != y2:
            with np.errstate(invalid="ignore"):
                result ^= ((y1 > y) != (y2 > y)) & (x < (x2 - x1) * (y - y1) / (y2 - y1) + x1)
    return result & ~np.isnan(x) & ~np.isnan(y)


def passing(rule, events):
    x = events[rule["featureName"]][()].astype(float)
    if rule["type"] == "Range":
        result = (x >= rule["minValue"]) & (x <= rule["maxValue"])
    else:
        result = inside(x, events[rule["featureNameY"]][()].astype(float), rule["polygonVertices"])
    return ~result if rule["inverted"] else result


def figures(values, summary):
    q1, median, q3 = np.percentile(values, [25, 50, 75])
    sd = values.std(ddof=1)
    known = {
        "N": len(values), "Median": median, "IQR": q3 - q1, "Q1": q1, "Q3": q3, "Mean": values.mean(), "SD": sd,
        "SEM": sd / np.sqrt(len(values)), "CV (%)": 100 * sd / abs(values.mean()), "Min": values.min(),
        "Max": values.max(), "Skewness": stats.skew(values),
    }
    order = ["N", "Median", "IQR", "Q1", "Q3", "P", "Mean", "SD", "SEM", "CV (%)", "Min", "Max", "Skewness"]
    known["P"] = np.percentile(values, summary.get("percentile", 50))
    asked = set(summary["statistics"]) | ({"P"} if "percentile" in summary else set())
    return [known[name] for name in order if name in asked]


def main():
    measurement, plan_path, summary_path, counts_path = sys.argv[1:]
    with open(plan_path, encoding="utf-8") as file:
        plan = json.load(file)
    with h5py.File(measurement) as file:
        events = file["events"]
        rules = [rule for gate in plan["filter"]["gates"] for rule in gate["rules"]]
        each = [passing(rule, events) for rule in rules]
        chosen = np.logical_and.reduce(each)
        wanted = []
        for feature in plan["outputs"]["summary"]["features"]:
            values = events[feature][()].astype(float)[chosen]
            wanted += figures(values[np.isfinite(values)], plan["outputs"]["summary"])
        counts = [len(chosen), int(chosen.sum())] + [int(one.sum()) for one in each]
        sample = file.attrs["experiment:sample"]
    for path, numbers in ((summary_path, wanted), (counts_path, counts)):
        with open(path, encoding="utf-8") as file:
            heading, row = (line.rstrip("\n").split("\t") for line in file)
        if len(heading) != len(row) or row[0] != sample or len(row) != len(numbers) + 1:
            print(f"{path}: {heading} {row} for {sample!r} {numbers}")
            continue
        for name, cell, number in zip(heading[1:], row[1:], numbers):
            if not np.isclose(float(cell), number, rtol=5.1e-6, atol=0):
                print(f"{name}: {cell} instead of {number!r}")
    if not 0 < counts[1] < counts[0]:
        print("the gates let all or nothing through")


main()
