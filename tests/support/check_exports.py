#!/usr/bin/env python3
"""Compares exported files with the measurement that they come from, read with h5py. Prints what differs, if anything.

usage: check_exports.py measurement SOURCE EXPORT EVENT,EVENT,...
       check_exports.py table SOURCE TABLE EVENT,EVENT,... FEATURE,FEATURE,...
       check_exports.py summary SOURCE SUMMARY PERCENTILE EVENT,EVENT,...
"""

import sys

import h5py
import numpy as np
from scipy import stats


def attribute_text(value):
    """An attribute as the program shows it."""
    if isinstance(value, np.ndarray):
        return ", ".join(f"({x:f},{y:f})" for x, y in value)
    return f"{value:f}" if isinstance(value, (float, np.floating)) else str(value)


def check_attributes(source, target):
    for name, value in source.attrs.items():
        if name.startswith(("export:", "offline_filter:")):
            continue
        got = target.attrs[name]
        if isinstance(value, np.ndarray):
            if got.dtype != "<f4" or not np.array_equal(got, value.astype("<f4")):
                yield f"{name} is {got}"
        elif not isinstance(got, str) or got != attribute_text(value):
            yield f"{name} is {got!r}"


def check_rows(source, target, rows, kind):
    name = target.name
    if target.dtype != kind or target.chunks != (1, *source.shape[1:]):
        yield f"{name} is of type {target.dtype} in chunks {target.chunks}"
    if target.compression != "gzip" or target.compression_opts != 4:
        yield f"{name} is packed by {target.compression} {target.compression_opts}"
    if not np.array_equal(target[()], source[()][rows].astype(kind)):
        yield f"{name} has other values"


def check_measurement(source, target, rows):
    yield from check_attributes(source, target)
    for name, column in source["events"].items():
        if name not in target["events"]:
            yield f"{name} is missing"
        elif name == "trace":
            for trace in column:
                yield from check_rows(column[trace], target["events/trace"][trace], rows, "<f4")
        elif name in ("image", "mask"):
            yield from check_rows(column, target["events"][name], rows, "|u1")
        else:
            got = target["events"][name]
            if got.dtype != "<f8" or got.chunks or not np.array_equal(got[()], column[()][rows], equal_nan=True):
                yield f"{name} differs"


def check_table(source, path, rows, features):
    with open(path, encoding="utf-8", newline="") as file:
        lines = file.read().split("\n")
    header = [line for line in lines if line.startswith("#")]
    wanted = [f"# {name} = {attribute_text(value)}" for name, value in sorted(source.attrs.items())]
    if header[3:-1] != wanted or header[0] != "# Tessaly TSV Export" or header[-1] != "#":
        yield f"the header is {header}"
    body = lines[len(header) + 1 :]
    if body.pop() != "" or len(body) != len(rows):
        yield f"{len(body)} lines"
    values = np.array([[float(cell) for cell in line.split("\t")] for line in body])
    for i, name in enumerate(features):
        if not np.array_equal(values[:, i], source["events"][name][()][rows], equal_nan=True):
            yield f"{name} differs"


def reference_figures(values, percentile):
    mean, sd = values.mean(), values.std(ddof=1)
    q1, median, q3, extra = np.percentile(values, [25, 50, 75, percentile])
    skewness = stats.skew(values)
    return [len(values), median, q3 - q1, q1, q3, extra, mean, sd, sd / np.sqrt(len(values)), sd * 100 / abs(mean),
            values.min(), values.max(), skewness]  # fmt: skip


def check_summary(source, path, percentile, rows):
    """All thirteen figures of every column of the file, in name order, in the last line of the summary."""
    with open(path, encoding="utf-8") as file:
        cells = file.read().split("\n")[-2].split("\t")[1:]
    for name in sorted(source["events"]):
        values = source["events"][name][()][rows]
        values = values[np.isfinite(values)]
        got, cells = cells[:13], cells[13:]
        for text, figure in zip(got, reference_figures(values, percentile)):
            # Six digits: half a unit of the last one, and what sums in another order may differ by.
            if abs(float(text) - figure) > 6e-6 * abs(figure) + 1e-12:
                yield f"{name}: {text} instead of {figure:.9g}"
    if cells:
        yield f"{len(cells)} cells are left"


def numbers(text):
    return np.array([int(part) for part in text.split(",")])


def main():
    kind, source, target, *rest = sys.argv[1:]
    with h5py.File(source) as file:
        if kind == "measurement":
            with h5py.File(target) as export:
                found = list(check_measurement(file, export, numbers(rest[0])))
        elif kind == "table":
            found = list(check_table(file, target, numbers(rest[0]), rest[1].split(",")))
        else:
            found = list(check_summary(file, target, float(rest[0]), numbers(rest[1])))
    print("\n".join(found), end="")


main()
