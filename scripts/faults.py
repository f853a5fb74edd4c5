#!/usr/bin/env python3
"""Kills saves at random moments, takes their room away, and changes source and target under their hands. Whatever
happens, a target must hold its old contents or complete new ones, and a save that failed must say so.

usage: faults.py SAVE_FILES [--kills N] [--rooms N] [--seed S] [--kinds KIND...]
"""

import argparse
import json
import os
import random
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import h5py

KINDS = {"session": "s.TSY", "measurement": "m.vqd", "table": "t.tsv", "video": "v.avi", "group": "g.tsyfg"}


def table_rows(path):
    lines = path.read_text(encoding="utf-8").split("\n")
    declared = int(next(line for line in lines if line.startswith("# export:event count")).split("=")[1])
    body = [line for line in lines if line and not line.startswith("#")][1:]
    if len(body) != declared or lines[-1] != "" or any(len(line.split("\t")) != 5 for line in body):
        raise ValueError("the table is not complete")
    return declared


def measurement_rows(path):
    with h5py.File(path) as file:
        rows = int(file.attrs["export:event count"])
        traces = file["events/trace"]
        for dataset in [file["events/image"], file["events/mask"], file["events/fl2_max"], *traces.values()]:
            if len(dataset) != rows or not dataset[()].any():
                raise ValueError(f"{dataset.name} is not complete")
        if len(traces) != 6:
            raise ValueError("traces are missing")
        return rows


def video_frames(path):
    command = ["ffprobe", "-v", "error", "-count_packets", "-of", "csv=p=0"]
    command += ["-show_entries", "stream=nb_read_packets", str(path)]
    return int(subprocess.run(command, check=True, capture_output=True, text=True).stdout)


def version_of(kind, path):
    """Tells versions apart by a number; fails for what isn't complete."""
    if kind == "session":
        return len(json.loads(path.read_bytes())["datasets"])
    if kind == "group":
        return len(json.loads(path.read_bytes())["rules"])
    return {"table": table_rows, "measurement": measurement_rows, "video": video_frames}[kind](path)


class Faults:
    def __init__(self, program, seed):
        self.program = program
        self.random = random.Random(seed)
        self.failures = 0

    def expect(self, condition, what):
        if not condition:
            self.failures += 1
            print(f"FAILED: {what}", flush=True)

    def once(self, kind, source, target, *rest, **options):
        command = [self.program, "once", kind, str(source), str(target), *rest]
        return subprocess.run(command, capture_output=True, text=True, timeout=300, **options)

    def kill_one(self, kind, source, target, longest):
        process = subprocess.Popen(
            [self.program, "repeat", kind, str(source), str(target)], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL
        )
        process.stdout.readline()
        time.sleep(self.random.uniform(0, longest))
        process.send_signal(signal.SIGKILL)
        process.wait()
        process.stdout.close()

    def kills(self, kind, source, folder, count):
        target = folder / KINDS[kind]
        began = time.monotonic()
        self.once(kind, source, target)
        longest = 2 * (time.monotonic() - began)
        versions = {version_of(kind, target)}
        for i in range(count):
            self.kill_one(kind, source, target, longest)
            try:
                versions.add(version_of(kind, target))
            except Exception as error:  # whatever a reader says of a file that isn't complete
                self.expect(False, f"{kind}, kill {i}: {error}")
            for left in folder.glob("*.part*"):
                left.unlink()
        self.expect(len(versions) == 2, f"{kind}: versions {versions} after {count} kills")
        print(f"{kind}: {count} kills, versions {sorted(versions)}", flush=True)

    def rooms(self, kind, source, folder, count):
        target = folder / KINDS[kind]
        if target.exists():
            target.unlink()
        self.once(kind, source, target)
        whole, old = target.stat().st_size, target.read_bytes()
        for i in range(count):
            room = whole * i // count

            def limit(room=room):
                resource.setrlimit(resource.RLIMIT_FSIZE, (room, resource.RLIM_INFINITY))

            run = self.once(kind, source, target, preexec_fn=limit, restore_signals=False)
            told = run.returncode == 1 and run.stdout == "failed\n"
            self.expect(told, f"{kind}, room for {room} of {whole}: exit code {run.returncode}, {run.stdout!r}")
            self.expect(target.read_bytes() == old, f"{kind}, room for {room} of {whole}: the old file is gone")
            for left in folder.glob("*.part*"):
                left.unlink()
        print(f"{kind}: no room at {count} points of {whole} bytes", flush=True)

    def disturbances(self, kind, pristine, folder):
        # The columns of a table are there before it is begun.
        outcome = {"truncate": kind == "table", "remove": True, "replace": True, "vanish": False}
        for action, saved in outcome.items():
            place = folder / f"{kind}-{action}"
            place.mkdir()
            source = folder / "disturbed.vqd"
            shutil.copy(pristine, source)
            run = self.once(kind, source, place / KINDS[kind], action)
            self.expect(run.returncode == (0 if saved else 1), f"{kind}, {action}: exit code {run.returncode}")
            if saved:
                version_of(kind, place / KINDS[kind])
        locked = folder / f"{kind}-locked"
        locked.mkdir(mode=0o555)
        as_nobody = (lambda: os.setuid(65534)) if os.getuid() == 0 else None
        run = self.once(kind, pristine, locked / KINDS[kind], preexec_fn=as_nobody)
        self.expect(run.returncode == 1, f"{kind}, a locked folder: exit code {run.returncode}")
        print(f"{kind}: source truncated, removed, replaced; target folder gone or locked", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("--kills", type=int, default=200)
    parser.add_argument("--rooms", type=int, default=60)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--kinds", nargs="+", choices=KINDS, default=list(KINDS))
    options = parser.parse_args()
    faults = Faults(options.program, options.seed)
    with tempfile.TemporaryDirectory(prefix="tessaly-faults-") as name:
        folder = Path(name)
        folder.chmod(0o755)
        source = folder / "source.vqd"
        subprocess.run([options.program, "make", str(source)], check=True)
        for kind in options.kinds:
            place = folder / kind
            place.mkdir()
            faults.kills(kind, source, place, options.kills)
            faults.rooms(kind, source, place, options.rooms)
        for kind in ("measurement", "table", "video"):
            if kind not in options.kinds:
                continue
            faults.disturbances(kind, source, folder)
    print(f"{faults.failures} failures")
    return 1 if faults.failures else 0


sys.exit(main())
