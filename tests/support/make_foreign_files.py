#!/usr/bin/env python3
"""Writes measurement files with h5py, as other programs would, for the tests of the reader.

usage: make_foreign_files.py FOLDER
The values are stated again in tests/io/ForeignFilesTest.cpp; equal input gives equal files.
"""

import sys

import h5py
import numpy as np

TEXT = "Größe 5 µm"


def write_columns(path):
    """One column of every kind that the reader converts, with the values that tell kinds apart."""
    with h5py.File(path, "w") as file:
        events = file.create_group("events")
        integers = {"1": [-128, -1, 0, 127], "2": [-32768, -1, 0, 32767], "4": [-(2**31), -1, 0, 2**31 - 1],
                    "8": [-(2**53), -1, 0, 2**53]}
        unsigned = {"1": [0, 1, 254, 255], "2": [0, 1, 65534, 65535], "4": [0, 1, 2**32 - 2, 2**32 - 1],
                    "8": [0, 1, 2**53, 2**63 - 1]}
        reals = [0.5, -2.0, np.nan, np.inf]
        for order, tag in (("<", "le"), (">", "be")):
            for size in "1248":
                events[f"int{size}_{tag}"] = np.array(integers[size], dtype=f"{order}i{size}")
                events[f"uint{size}_{tag}"] = np.array(unsigned[size], dtype=f"{order}u{size}")
            for size in "248":
                events[f"float{size}_{tag}"] = np.array(reals, dtype=f"{order}f{size}")
        events["float_tenth"] = np.array([0.1], dtype="f4")
        events["long_double"] = np.array([0.5, -2.0], dtype=np.longdouble)
        events["boolean"] = np.array([False, True, True, False])
        events["texts"] = np.array([b"one", b"two"], dtype="S3")
        events["variable_texts"] = np.array(["one", "two"], dtype=h5py.string_dtype())
        events["records"] = np.zeros(3, dtype=[("a", "f8"), ("b", "i4")])
        events["complex"] = np.ones(3, dtype="c16")
        ragged = events.create_dataset("ragged", (2,), dtype=h5py.vlen_dtype(np.int32))
        ragged[0] = [1, 2, 3]


def write_layouts(path):
    """The same ramp in all ways of storing it."""
    ramp = np.arange(50000) * 0.25
    with h5py.File(path, "w") as file:
        events = file.create_group("events")
        for kind in ("f4", "f8", "i4"):
            values = ramp.astype(kind)
            events.create_dataset(f"contiguous_{kind}", data=values)
            events.create_dataset(f"chunked_{kind}", data=values, chunks=(999,))
            events.create_dataset(f"gzip_{kind}", data=values, chunks=(4096,), compression="gzip")
            events.create_dataset(f"shuffle_{kind}", data=values, chunks=(50000,), compression="gzip", shuffle=True)
            events.create_dataset(f"checksum_{kind}", data=values, chunks=(777,), fletcher32=True)
            events.create_dataset(
                f"checked_{kind}", data=values, chunks=(777,), compression="gzip", shuffle=True, fletcher32=True)
            events.create_dataset(f"growing_{kind}", data=values, chunks=(1000,), maxshape=(None,))
        events.create_dataset("one_by_one", data=np.arange(70000) % 100, dtype="i1", chunks=(1,))
        events.create_dataset("empty_contiguous", (0,), dtype="f8")
        events.create_dataset("empty_chunked", (0,), dtype="f4", chunks=(16,), maxshape=(None,))
        events.create_dataset("unwritten", (5,), dtype="f8", fillvalue=7.0)
        events.create_dataset("unwritten_chunked", (5,), dtype="f4", chunks=(2,), fillvalue=7.0)
        partly = events.create_dataset("partly_written", (5,), dtype="f4", chunks=(2,), fillvalue=7.0, shuffle=True)
        partly[2:] = [1.0, 2.0, 3.0]
        traces = events.create_group("trace")
        samples = np.arange(7 * 12).reshape(7, 12)
        for chunk in ((1, 12), (7, 1), (2, 5), (3, 4), (10, 20), (1, 1)):
            traces.create_dataset(f"{chunk}_raw", data=samples.astype("f8"), chunks=chunk, maxshape=(None, None),
                                  compression="gzip", shuffle=True)
        pixels = np.arange(3 * 4 * 8).reshape(3, 4, 8).astype("u1")
        events.create_dataset("image", data=pixels, chunks=(2, 8, 4), maxshape=(None,) * 3, compression="gzip")


def write_attributes(path):
    """Metadata of all kinds; with the newest file format, so that attributes lie in dense storage."""
    with h5py.File(path, "w", libver="latest") as file:
        attributes = file.attrs
        attributes["experiment:variable utf8"] = TEXT
        attributes.create("experiment:variable ascii", "plain", dtype=h5py.string_dtype("ascii"))
        attributes["experiment:fixed padded"] = np.bytes_(b"fixed")
        attributes.create("experiment:fixed utf8", TEXT.encode(), dtype=h5py.string_dtype("utf-8", 40))
        attributes["experiment:empty text"] = ""
        attributes["experiment:int scalar"] = np.int16(-7)
        attributes["experiment:unsigned"] = np.uint8(200)
        attributes["experiment:big endian"] = np.array(258, dtype=">i4")
        attributes["setup:float32"] = np.float32(0.1)
        attributes["setup:float64"] = 0.1
        attributes["setup:float16"] = np.float16(1.5)
        attributes["setup:large"] = 1e20
        attributes["setup:boolean"] = True
        attributes["setup:module composition"] = "Cell_Flow_2, Vortiq"
        attributes["imaging:nothing"] = h5py.Empty("f8")
        attributes["imaging:no text"] = h5py.Empty(h5py.string_dtype())
        attributes["imaging:list"] = [1.0, 2.0, 3.0]
        attributes["imaging:one"] = np.array([1.0])
        attributes["imaging:texts"] = ["a", "b"]
        attributes["imaging:complex"] = 1 + 2j
        attributes["online_filter:area_um,deform polygon points"] = [[10.0, 0.0], [20.0, 0.5], [30.0, 0.1]]
        attributes["online_filter:nocomma polygon points"] = np.array([[1, 2]], dtype="f4")
        attributes["unknown:key"] = "elsewhere"
        attributes["no section"] = 5
        attributes["online_contour:a:b"] = "second colon"
        for index in range(20):
            attributes[f"fluorescence:filler {index:02d}"] = index


def write_events(path):
    """Pictures and traces of other widths than the instrument's, and links of all kinds."""
    with h5py.File(path, "w") as file:
        events = file.create_group("events")
        pixels = np.arange(3 * 4 * 5).reshape(3, 4, 5)
        events.create_dataset("image", data=(pixels * 5).astype("u2"), chunks=(1, 4, 5), compression="gzip")
        events["mask"] = (pixels % 2).astype(bool)
        trace = events.create_group("trace")
        samples = np.arange(3 * 6).reshape(3, 6)
        trace["fl1_raw"] = (samples - 32768).astype(">i2")
        trace["fl1_median"] = samples.astype("f4") + 0.5
        trace["fl2_raw_x"] = samples.astype("u2") + 40000
        trace["foo"] = samples
        trace.create_group("a_group_raw")
        trace["dangling_raw"] = h5py.SoftLink("/nowhere")
        events["area_um"] = [1.0, 2.0, 3.0]
        events["deform"] = [0.1, 0.2]
        events["plane"] = np.zeros((3, 2))
        events["scalar"] = 5.0
        events["nothing"] = h5py.Empty("f8")
        events["Grün µ"] = [4.0, 5.0, 6.0]
        events["hard"] = events["area_um"]
        events["soft"] = h5py.SoftLink("/events/area_um")
        events["dangling"] = h5py.SoftLink("/nowhere")
        events["loop"] = h5py.SoftLink("/events/loop")
        events["external"] = h5py.ExternalLink("foreign_columns.vqd", "/events/boolean")
        events["external_missing"] = h5py.ExternalLink("missing.vqd", "/events/area_um")
        events["external_pipe"] = h5py.ExternalLink("pipe.vqd", "/events/area_um")
        events.create_group("contour")
        events["a_type"] = np.dtype("f8")


def main():
    folder = sys.argv[1]
    write_columns(f"{folder}/foreign_columns.vqd")
    write_layouts(f"{folder}/foreign_layouts.vqd")
    write_attributes(f"{folder}/foreign_attributes.vqd")
    write_events(f"{folder}/foreign_events.vqd")


if __name__ == "__main__":
    main()
