#!/usr/bin/env python3
"""Compares two measurement files with h5py: attributes, datasets, their types, layout and bytes. The date of the export
may differ. Prints what differs, if anything.

usage: same_measurement.py FILE FILE
"""

import sys

import h5py
import numpy as np


def contents(path):
    found = {}

    def take(name, item):
        if isinstance(item, h5py.Dataset):
            found[name] = (item.dtype.str, item.shape, item.chunks, item.compression, item[()].tobytes())

    with h5py.File(path) as file:
        file.visititems(take)
        for name, value in file.attrs.items():
            if name != "export:date":
                found["attribute " + name] = value.tobytes() if isinstance(value, np.ndarray) else value
    return found


def main():
    left, right = map(contents, sys.argv[1:])
    for name in sorted(left.keys() | right.keys()):
        if left.get(name) != right.get(name):
            print(f"{name} differs")
    if len(left) < 10:
        print(f"only {len(left)} objects")


main()
