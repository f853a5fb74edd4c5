#!/usr/bin/env python3
"""Measures tessaly_batch against h5py, NumPy and SciPy, and prints one line for each bar; ends with 1 if one is missed.

usage: batch_bench.py [--build FOLDER] [--files N] [--rows N] [--only NAME...] [--runs N]
    --files  measurement files of 10^5 events (default 200)
    --rows   rows that are merged (default 10^6)
    --only   start, plain, modulus, scaling, memory, merge
    --runs   each side of a ratio counts with the least of so many times (default 3)

Both sides run in turn with the files in the page cache. Files are made in a temporary folder and removed.
"""

import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
MIB = 1 << 20
EVENTS = 100_000
FEATURES = ["area_um", "deform", "bright_avg", "bright_sd", "size_x", "size_y", "pos_x", "aspect", "inert_ratio_cvx",
            "area_ratio"]
STATISTICS = "N,Median,IQR,Mean,SD,Skewness"
RANGES = [("area_um", 40, 250), ("aspect", 1, 2.5), ("area_ratio", 1, 1.2)]
POLYGON = [(30, 0), (260, 0.01), (280, 0.1), (150, 0.25), (60, 0.2)]


PEER = '''
import sys
import h5py, numpy as np
from multiprocessing import Pool
from matplotlib.path import Path
from scipy.interpolate import LinearNDInterpolator

features, ranges, polygon, modulus, table = {features!r}, {ranges!r}, {polygon!r}, {modulus!r}, {table!r}
lut = None

def interpolator():
    global lut
    if lut is None:
        rows = np.array([[float(cell) for cell in line.split()] for line in open(table)
                         if line[:1].isdigit()])
        lut = (LinearNDInterpolator(rows[:, :2] / rows[:, :2].max(0), rows[:, 2]), rows[:, :2].max(0))
    return lut

def skewness(v):
    d = v - v.mean()
    return (d ** 3).mean() / (d ** 2).mean() ** 1.5

def row(path):
    with h5py.File(path) as file:
        columns = {{name: file["events"][name][()].astype(float) for name in features}}
    if modulus:
        grid, scale = interpolator()
        columns["emodulus"] = grid(columns["area_um"] / scale[0], columns["deform"] / scale[1])
    chosen = np.ones(len(columns["area_um"]), bool)
    for name, low, high in ranges:
        chosen &= (columns[name] >= low) & (columns[name] <= high)
    points = np.column_stack((columns["area_um"], columns["deform"]))
    chosen &= Path(polygon).contains_points(points)
    cells = [path]
    for values in columns.values():
        v = values[chosen]
        v = v[np.isfinite(v)]
        q1, median, q3 = np.percentile(v, [25, 50, 75])
        cells += [f"{{x:g}}" for x in (len(v), median, q3 - q1, v.mean(), v.std(ddof=1), skewness(v))]
    return "\\t".join(cells)

if __name__ == "__main__":
    with Pool(2) as pool:
        print("\\n".join(pool.imap(row, open(sys.argv[1]).read().split("\\n"), chunksize=4)))
'''


class Bench:
    def __init__(self, options, folder):
        self.build, self.runs, self.folder = options.build, options.runs, folder
        self.program = options.build / "bin/tessaly_batch"
        self.missed = False
        self.files = []

    def report(self, what, value, base, bar, unit, text=None):
        good = value <= bar * base
        self.missed |= not good
        print(f"{what:<48}{value:10.2f} {unit:<4}{base:10.2f} {unit:<4}{value / base:7.2f}  "
              f"bar {text or format(bar, '.2f'):<12}{'ok' if good else 'MISSED'}", flush=True)

    def seconds(self, command, **more):
        start = time.perf_counter()
        subprocess.run([str(word) for word in command], check=True, **more)
        return time.perf_counter() - start

    def make_demo(self, events, name):
        target = self.folder / name
        subprocess.run([self.program.parent / "tessaly_demo", "--output", target, "--events", str(events), "--no-images"],
                       check=True, stdout=subprocess.DEVNULL)
        return next(target.glob("*.vqd"))

    def make_files(self, count):
        if self.files:
            return
        source = self.make_demo(EVENTS, "demo")
        (self.folder / "data").mkdir()
        for number in range(count):
            target = self.folder / "data" / f"run{number:04}.vqd"
            # A few copies under many names: in the page cache all are alike.
            if number < 8:
                shutil.copy(source, target)
            else:
                os.link(self.files[number % 8], target)
            self.files.append(target)
        (self.folder / "list").write_text("\n".join(map(str, self.files)))

    def make_plan(self, modulus):
        features = FEATURES + (["emodulus"] if modulus else [])
        command = [self.program, "plan", "--features", ",".join(features), "--statistics", STATISTICS,
                   "-g", self.folder / "gates.tsyfg", "-o", self.folder / "plan.json"]
        rule = ('{{"type": "Range", "featureName": "{}", "minValue": {}, "maxValue": {}}}')
        rules = [rule.format(*each) for each in RANGES]
        rules.append('{"type": "Polygon", "featureName": "area_um", "featureNameY": "deform", "polygonVertices": '
                     + str([list(corner) for corner in POLYGON]) + "}")
        (self.folder / "gates.tsyfg").write_text('{"formatVersion": 1, "groups": [{"name": "gates", "rules": ['
                                                 + ", ".join(rules) + "]}]}")
        subprocess.run(command + (["--modulus"] if modulus else []), check=True)

    def run_all(self, workers, at_once=25):
        """All files and the merge. A command line of many files works on each in a process of its own, too."""
        out = self.folder / "out"
        shutil.rmtree(out, ignore_errors=True)
        with open(self.folder / "list", "rb") as names:
            time_taken = self.seconds(["xargs", "-d", "\n", "-n", at_once, "-P", workers, self.program, "run", "-p",
                                       self.folder / "plan.json", "-o", out], stdin=names)
        return time_taken + self.seconds([self.program, "merge", out, "-o", self.folder / "summary.tsv"])

    # The lines of the table.

    def start(self):
        """A whole run over a file without events to speak of, against a program that only makes its application."""
        source = self.folder / "empty.cpp"
        source.write_text("#include <QCoreApplication>\nint main(int n, char** a) { QCoreApplication app(n, a); }\n")
        flags = subprocess.run(["pkg-config", "--cflags", "--libs", "Qt6Core"], check=True, stdout=subprocess.PIPE,
                               text=True).stdout.split()
        subprocess.run(["g++", "-O2", "-fPIC", source, "-o", self.folder / "empty", *flags], check=True)
        small = self.make_demo(10, "small")
        self.make_plan(False)
        command = [self.program, "run", "--force", "-p", self.folder / "plan.json", "-o", self.folder / "start", small]
        ours = base = 1e9
        for _ in range(20):
            ours = min(ours, self.seconds(command))
            base = min(base, self.seconds([self.folder / "empty"]))
        self.report("start, one file of 10 events, end", ours * 1e3, base * 1e3, (base + 0.030) / base, "ms", "+30 ms")

    def against_peer(self, what, modulus, bar):
        self.make_plan(modulus)
        peer = self.folder / "peer.py"
        peer.write_text(PEER.format(features=FEATURES, ranges=RANGES, polygon=POLYGON, modulus=modulus,
                                    table=str(ROOT / "data/LUT_LE_2D_FEM.txt")))
        ours = base = 1e9
        for _ in range(self.runs):
            ours = min(ours, self.run_all(2))
            base = min(base, self.seconds([sys.executable, peer, self.folder / "list"], stdout=subprocess.DEVNULL))
        self.report(what, ours, base, bar, "s")
        alone = min(self.run_all(2, 1) for _ in range(self.runs))
        print(f"{'    one file a command':<48}{alone:10.2f} s   {base:10.2f} s   {alone / base:7.2f}", flush=True)

    def plain(self):
        self.against_peer(f"{len(self.files)} files: gates and summary, 2 workers", False, 0.4)

    def modulus(self):
        self.against_peer(f"{len(self.files)} files: the same with moduli, 2 workers", True, 0.2)

    def scaling(self):
        self.make_plan(False)
        one = min(self.run_all(1) for _ in range(self.runs))
        two = min(self.run_all(2) for _ in range(self.runs))
        self.report("2 workers against 1", two, one, 1 / 1.85, "s")

    def memory(self):
        """The most that a worker holds, against the columns that the plan needs: doubles of a million events."""
        events = 1_000_000
        large = self.make_demo(events, "large")
        self.make_plan(True)
        process = subprocess.Popen([self.program, "run", "--force", "-p", self.folder / "plan.json", "-o",
                                    self.folder / "memory", large])
        peak = os.wait4(process.pid, 0)[2].ru_maxrss * 1024 / MIB
        columns = (len(FEATURES) + 1) * events * 8 / MIB
        self.report("memory of a worker, 11 columns of 10^6", peak, columns, 1.15 + 30 / columns, "MiB", "1.15 + 30 MiB")

    def merge(self, rows):
        self.make_plan(False)
        self.seconds([self.program, "run", "-p", self.folder / "plan.json", "-o", self.folder / "one", self.files[0]])
        record = next((self.folder / "one").glob("*.row")).read_bytes()
        many = self.folder / "many"
        for group in range(rows // 1000):
            place = many / f"{group:05}"
            place.mkdir(parents=True)
            for number in range(1000):
                (place / f"r{number:03}.vqd.row").write_bytes(record)
        ours = base = 1e9
        peak = 0.0
        for _ in range(2):
            start = time.perf_counter()
            process = subprocess.Popen([self.program, "merge", many, "-o", self.folder / "merged.tsv"])
            peak = os.wait4(process.pid, 0)[2].ru_maxrss * 1024 / MIB
            ours = min(ours, time.perf_counter() - start)
            base = min(base, self.seconds(["sh", "-c", f"find '{many}' -type f -print0 | xargs -0 cat > '{self.folder}/all'"]))
        self.report(f"merge of {rows} rows against cat", ours, base, 3, "s")
        self.report("memory of the merge", peak, 64, 1, "MiB", "64 MiB")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/release")
    parser.add_argument("--files", type=int, default=200)
    parser.add_argument("--rows", type=int, default=1_000_000)
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--only", nargs="*", default=["start", "plain", "modulus", "scaling", "memory", "merge"])
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as name:
        bench = Bench(options, pathlib.Path(name))
        bench.make_files(options.files)
        print(f"{'workload':<48}{'ours':>15}{'base':>15}{'ratio':>7}")
        for line in options.only:
            if line == "merge":
                bench.merge(options.rows)
            else:
                getattr(bench, line)()
    return 1 if bench.missed else 0


sys.exit(main())
