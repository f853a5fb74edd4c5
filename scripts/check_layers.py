#!/usr/bin/env python3
"""Checks what the compiler can't: the direction of includes between layers, third-party headers, and file length.

Prints one line per offence and exits with 1 if there is any.
usage: check_layers.py [ROOT]
"""

import re
import sys
from pathlib import Path

# What each folder of src/ may include, besides itself.
ALLOWED = {
    "core": set(),
    "stats": set(),
    "io": {"core"},
    "probe": {"core", "io"},
    # A library of its own, which io loads: it may see the interface and nothing else of io.
    "codecs": {"io"},
    "calc": {"core", "stats", "io"},
    "session": {"core", "stats", "io", "calc"},
    # The program without a window; the window writes plans for it.
    "batch": {"core", "stats", "io", "calc", "session"},
    "widgets": {"core", "stats", "io", "calc", "session"},
    # Drawing and the services around the program do not know each other.
    "plot": {"core", "stats", "io", "calc", "session", "widgets"},
    "services": {"core", "stats", "io", "calc", "session", "widgets"},
    "tools": {"core", "stats", "io", "calc", "session", "widgets", "plot", "services"},
    "ui": {"core", "stats", "io", "calc", "session", "widgets", "plot", "services", "tools", "batch"},
    "app": {"core", "stats", "io", "calc", "session", "widgets", "plot", "services", "tools", "batch", "ui"},
}
INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)')
# Libraries that stay behind our own headers.
HIDDEN = re.compile(r"^(H5|hdf5|opencv2/|opencv4/|armadillo)")
MAX_LINES = 700


def offences_of_source(path, layer, root):
    """Offences of one file of a layer: wrong directions and headers that must stay hidden."""
    shown = path.relative_to(root)
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        match = INCLUDE.match(line)
        if not match:
            continue
        included = match.group(1) or match.group(2)
        target = included.split("/")[0] if "/" in included else layer
        if match.group(1) and target in ALLOWED and target != layer and target not in ALLOWED[layer]:
            yield f"{shown}:{number}: {layer} must not include {target} ({included})"
        if match.group(1) and included.startswith("../"):
            yield f"{shown}:{number}: included by a relative path, which hides the layer ({included})"
        if path.suffix == ".h" and HIDDEN.match(included):
            yield f"{shown}:{number}: a header of ours must not include {included}"


def offences(root):
    """All offences under a root folder."""
    for folder in sorted((root / "src").iterdir()):
        if not folder.is_dir():
            continue
        if folder.name not in ALLOWED:
            yield f"{folder.relative_to(root)}: no layer of this name is known"
            continue
        for path in sorted(folder.rglob("*")):
            if path.suffix in (".h", ".cpp"):
                yield from offences_of_source(path, folder.name, root)
    for top in ("src", "tests", "benchmarks", "tools"):
        for path in sorted((root / top).rglob("*")):
            if path.suffix in (".h", ".cpp"):
                lines = path.read_text(encoding="utf-8").count("\n")
                if lines > MAX_LINES:
                    yield f"{path.relative_to(root)}: {lines} lines, the limit is {MAX_LINES}"


def main():
    root = Path(sys.argv[1]).resolve() if len(sys.argv) > 1 else Path(__file__).resolve().parent.parent
    found = list(offences(root))
    for offence in found:
        print(offence)
    if not found:
        print("Layers: every include points downward, no file is too long.")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
