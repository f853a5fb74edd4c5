#!/usr/bin/env python3
"""Compares opening a measurement file with h5py, in fresh processes, and measures what memory a window keeps.

usage: peer_io.py [--build FOLDER] [--runs N] [FILE]
    FILE   a measurement file; without one, the demo file of a million events is made in a temporary folder

Both sides of a ratio run in turn, N times (default 7), with the file in the page cache; each counts with its least
value, since what disturbs a run only ever adds. Prints one line a bar and ends with 1 if one is missed.
"""

import argparse
import json
import os
import pathlib
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
CYCLES = 22
MIB = 1024.0  # KiB

# Reads every column of rank 1 in its own type; what another program that keeps columns as stored has to do.
H5PY = """
import sys, time, h5py
start = time.perf_counter()
with h5py.File(sys.argv[1], "r") as file:
    columns = {name: item[()] for name, item in file["events"].items()
               if isinstance(item, h5py.Dataset) and item.ndim == 1}
print("preload", 1e3 * (time.perf_counter() - start))
print("peak", next(line.split()[1] for line in open("/proc/self/status") if line.startswith("VmHWM")))
print("bytes", sum(column.nbytes for column in columns.values()))
print("events", max(column.size for column in columns.values()))
"""


def values(command):
    """Runs a command that prints lines "name value" and returns them as a dictionary of lists."""
    done = subprocess.run([str(word) for word in command], check=True, text=True, stdout=subprocess.PIPE,
                          env={**os.environ, "QT_QPA_PLATFORM": "offscreen"})
    result = {}
    for line in done.stdout.splitlines():
        name, value = line.split()
        result.setdefault(name, []).append(float(value))
    return result


def python_with_h5py():
    for candidate in (sys.executable, "python3", "/usr/bin/python3"):
        if subprocess.run([candidate, "-c", "import h5py"], stderr=subprocess.DEVNULL, check=False).returncode == 0:
            return candidate
    sys.exit("no python3 with h5py was found; scripts/setup.sh installs python3-h5py")


def repaint_time(build, runs):
    """Milliseconds of the benchmark that paints a million coloured dots."""
    done = subprocess.run([str(build / "benchmarks/tessaly_bench"), "--benchmark_filter=^repaint_color_dots$",
                           f"--benchmark_repetitions={runs}", "--benchmark_format=json"],
                          check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          env={**os.environ, "QT_QPA_PLATFORM": "offscreen"})
    found = [run["real_time"] for run in json.loads(done.stdout)["benchmarks"] if run["run_type"] == "iteration"]
    return min(found)


def report(what, value, base, bar, unit):
    verdict = "ok" if value <= bar * base else "MISSED"
    print(f"{what:<52}{value:9.1f} {unit:<4}{base:9.1f} {unit:<4}{value / base:6.2f}  bar {bar:4.2f}  {verdict}")
    return verdict == "ok"


def compare(build, path, runs):
    python = python_with_h5py()
    peer = build / "benchmarks/tessaly_peer"
    sides = {"h5py": [python, "-c", H5PY, path], "preload": [peer, "preload", path], "picture": [peer, "picture", path]}
    least = {}
    for _ in range(runs):
        for side, command in sides.items():
            for name, found in values(command).items():
                key = (side, name)
                least[key] = min([least.get(key, found[0])] + found)
    as_stored = least["h5py", "preload"]
    repaint = repaint_time(build, runs)
    good = report("preload / h5py as stored", least["preload", "preload"], as_stored, 0.6, "ms")
    good &= report("peak memory after the preload / h5py's", least["preload", "peak"] / MIB, least["h5py", "peak"] / MIB,
                   1.1, "MiB")
    good &= report("open to painted frame / (h5py + repaint_color_dots)", least["picture", "picture"],
                   as_stored + repaint, 0.7, "ms")
    return good, least["h5py", "bytes"] / 1024, least["h5py", "events"]


def window_memory(build, path, stored, events):
    """Peak over the empty window: columns as stored, three of them as doubles, a tenth more and 64 MiB."""
    found = values([build / "benchmarks/tessaly_peer", "cycles", path, CYCLES])
    in_use = 3 * 8 * events / 1024
    good = report(f"peak of {CYCLES} open and close cycles / allowed", found["peak"][0] / MIB,
                  (1.1 * (stored + in_use)) / MIB + 64.0, 1.0, "MiB")
    return report("left after closing, the worst cycle / allowed", max(found["left"]) / MIB, 32.0, 1.0, "MiB") and good


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/release")
    parser.add_argument("--runs", type=int, default=7)
    parser.add_argument("file", nargs="?", type=pathlib.Path)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        path = options.file
        if path is None:
            subprocess.run([str(options.build / "bin/tessaly_demo"), "--output", folder, "--events", "1000000",
                            "--no-images"], check=True, stdout=subprocess.DEVNULL)
            path = next(pathlib.Path(folder).glob("*.vqd"))
        print(f"{'':<52}{'ours':>13}{'theirs':>14}{'ratio':>6}")
        good, stored, events = compare(options.build, path, options.runs)
        good &= window_memory(options.build, path, stored, events)
    sys.exit(0 if good else 1)


if __name__ == "__main__":
    main()
