#!/usr/bin/env python3
"""Compares the pictures of two guided tours, pixel by pixel.

Prints one line per picture that differs or that only one tour has, and exits with 1 if there is any.
usage: compare_tours.py BEFORE AFTER [--except NAME ...]     NAME is a picture's name without its number, e.g. "metadata"
"""

import argparse
import struct
import sys
import zlib
from pathlib import Path

import numpy as np


def pixels(path):
    """Rows of a PNG file with 8 bits per channel that isn't interlaced, as the tour writes them."""
    data = path.read_bytes()
    packed = b""
    at = 8
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at : at + 8])
        body = data[at + 8 : at + 8 + length]
        if kind == b"IHDR":
            width, height, depth, colour, _, _, interlace = struct.unpack(">IIBBBBB", body)
            if depth != 8 or interlace:
                raise ValueError(f"{path}: not a picture of the tour")
            channels = {0: 1, 2: 3, 4: 2, 6: 4}[colour]
        elif kind == b"IDAT":
            packed += body
        at += 12 + length
    raw = np.frombuffer(zlib.decompress(packed), np.uint8).reshape(height, 1 + width * channels)
    rows = np.zeros((height + 1, (width + 1) * channels), np.uint8)
    for y in range(height):
        undo_filter(raw[y, 0], raw[y, 1:], rows[y], rows[y + 1], channels)
    return rows[1:, channels:].reshape(height, width, channels)


def undo_filter(kind, line, above, row, channels):
    """Fills a row, which begins with one empty pixel, from a filtered line and the row above."""
    if kind == 0:
        row[channels:] = line
    elif kind == 1:
        row[channels:] = np.add.accumulate(line.reshape(-1, channels), axis=0, dtype=np.uint8).ravel()
    elif kind == 2:
        row[channels:] = line + above[channels:]
    else:
        for i in range(channels, len(row)):
            left, up, corner = int(row[i - channels]), int(above[i]), int(above[i - channels])
            if kind == 3:
                guess = (left + up) // 2
            else:
                estimate = left + up - corner
                guess = min((abs(estimate - left), 0, left), (abs(estimate - up), 1, up), (abs(estimate - corner), 2, corner))[2]
            row[i] = (int(line[i - channels]) + guess) & 255


def difference(before, after):
    """What differs between two pictures, as text; None for nothing."""
    if before.read_bytes() == after.read_bytes():
        return None
    left, right = pixels(before), pixels(after)
    if left.shape != right.shape:
        return f"{left.shape[1]} x {left.shape[0]} became {right.shape[1]} x {right.shape[0]}"
    changed = np.any(left != right, axis=2)
    if not changed.any():
        return None
    rows, columns = np.nonzero(changed)
    return (f"{changed.sum()} pixels differ, in x {columns.min()} to {columns.max()}, "
            f"y {rows.min()} to {rows.max()}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("before", type=Path)
    parser.add_argument("after", type=Path)
    parser.add_argument("--except", dest="excepted", nargs="*", default=[])
    options = parser.parse_args()
    # By name: a tour that has grown numbers its pictures anew.
    pictures = [{p.stem.split("-", 1)[-1]: p for p in folder.glob("*.png")} for folder in (options.before, options.after)]
    found = 0
    for name in sorted(set(pictures[0]) | set(pictures[1])):
        if name in options.excepted:
            continue
        if name not in pictures[0] or name not in pictures[1]:
            text = "only before" if name in pictures[0] else "only after"
        else:
            text = difference(pictures[0][name], pictures[1][name])
        if text:
            found += 1
            print(f"{name}: {text}")
    print(f"{found} of {len(set(pictures[0]) | set(pictures[1]))} pictures differ")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
