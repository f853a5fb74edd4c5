#!/usr/bin/env python3
"""Kills runs of tessaly_batch over many files at random moments (kill -9) and runs them again until they are through. The
merged table, and every other result, must be those of a run that nobody disturbed.

usage: batch_kills.py [--build FOLDER] [--files N] [--kills N] [--seed S]
"""

import argparse
import hashlib
import os
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import time

import h5py

ROOT = pathlib.Path(__file__).resolve().parent.parent


def make_files(build, folder, count):
    subprocess.run([build / "bin/tessaly_demo", "--output", folder / "demo", "--events", "3000", "--no-images"],
                   check=True, stdout=subprocess.DEVNULL)
    source = next((folder / "demo").glob("*.vqd"))
    (folder / "data").mkdir()
    for number in range(count):
        target = folder / "data" / f"run{number}.vqd"
        shutil.copy(source, target)
        with h5py.File(target, "a") as file:
            file.attrs["experiment:sample"] = f"run {number}"
            file["events/deform"][...] = file["events/deform"][()] * (1 + number / 1000)


def digests(folder):
    """What every result holds; records and tables as they are, measurement files by their columns."""
    found = {}
    for path in sorted(folder.rglob("*")):
        if path.suffix == ".vqd":
            with h5py.File(path) as file:
                content = b"".join(column[()].tobytes() for column in file["events"].values())
        elif path.is_file():
            content = path.read_bytes()
        else:
            continue
        found[str(path.relative_to(folder))] = hashlib.sha256(content).hexdigest()
    return found


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/release")
    parser.add_argument("--files", type=int, default=50)
    parser.add_argument("--kills", type=int, default=200)
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()
    chance = random.Random(options.seed)
    program = options.build / "bin/tessaly_batch"
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        make_files(options.build, folder, options.files)
        plan, out = folder / "plan.json", folder / "out"
        subprocess.run([program, "plan", "--features", "area_um,deform", "--range", "area_um,40,200", "--table",
                        "--measurement", "--counts", "-o", plan], check=True)
        files = sorted((folder / "data").glob("*.vqd"))
        command = [program, "run", "-p", plan, "--root", folder / "data", "-o", out, *files]
        start = time.perf_counter()
        subprocess.run(command, check=True)
        whole = time.perf_counter() - start
        wanted = digests(out)
        kills = rounds = 0
        while kills < options.kills:
            shutil.rmtree(out)
            rounds += 1
            while True:  # one run, killed again and again until it comes through
                process = subprocess.Popen(command, start_new_session=True)
                try:
                    if process.wait(timeout=chance.uniform(0, whole * 0.4)) != 0:
                        sys.exit("a run failed")
                    break
                except subprocess.TimeoutExpired:
                    # Now the process alone, now with the one that works on the file.
                    if chance.random() < 0.5:
                        process.kill()
                    else:
                        os.killpg(process.pid, signal.SIGKILL)
                    process.wait()
                    kills += 1
            if digests(out) != wanted or any(path.name.endswith(".part") for path in out.rglob("*")):
                sys.exit(f"after {kills} kills the results differ")
        subprocess.run([program, "merge", out, "-o", folder / "t.tsv"], check=True)
        rows = len((folder / "t.tsv").read_text().splitlines()) - 1
        if rows != options.files:
            sys.exit(f"{rows} rows")
        print(f"{kills} kills in {rounds} runs over {options.files} files ({whole:.2f} s each undisturbed): the same results")


main()
