#!/usr/bin/env python3
"""Makes the folder of legal documents: the licence agreement, notices of the libraries that a program is linked with, in
English and German, and the texts of their licences.

The libraries are those that the program loads and those that they load in turn; their texts are the copyright files of
the distribution packages that they come from. Qwt may have been compiled in: its text then comes from its source.

usage: third_party_notices.py --agreement FOLDER --output FOLDER [--qwt-source FOLDER] PROGRAM...
"""

import argparse
import functools
import re
import shutil
import subprocess
import sys
from pathlib import Path

# What the program calls itself; everything else comes with these.
DIRECT = re.compile(r"^(libqt6|libqwt|libhdf5|libdeflate|libopencv|libarmadillo|libopenblas)")
TEXTS = "third party licenses"
WORDS = {
    "(EN) TessalyTHIRD PARTY SOFTWARE NOTICES.md": {
        "title": "Third-party software notices",
        "intro": "Tessaly uses the libraries below under their own licences. The texts lie in the folder \"{}\", under the "
                 "names that the last column gives.",
        "columns": ("Package", "Version", "Licences", "Text"),
        "direct": "Libraries that Tessaly calls",
        "others": "Libraries that come with them",
        "qwt": "Tessaly is based in part on the work of the Qwt project (http://qwt.sf.net), which is linked statically and "
               "unchanged.",
    },
    "(DE) Tessaly THIRD PARTY SOFTWARE NOTICES.md": {
        "title": "Hinweise zu Software Dritter",
        "intro": "Tessaly verwendet die folgenden Bibliotheken unter deren eigenen Lizenzen. Die Texte liegen im Ordner "
                 "\"{}\", unter den Namen in der letzten Spalte.",
        "columns": ("Paket", "Version", "Lizenzen", "Text"),
        "direct": "Bibliotheken, die Tessaly aufruft",
        "others": "Bibliotheken, die mit ihnen kommen",
        "qwt": "Tessaly beruht zum Teil auf der Arbeit des Projekts Qwt (http://qwt.sf.net), das statisch und unverändert "
               "eingebunden ist.",
    },
}


def output_of(*command):
    """What a command prints; stops the script if it fails."""
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def linked_libraries(programs):
    """Real paths of all shared libraries that the programs load."""
    paths = set()
    for program in programs:
        for line in output_of("ldd", program).splitlines():
            match = re.search(r"=> (/\S+)", line)
            if match:
                paths.add(str(Path(match.group(1)).resolve()))
    return sorted(paths)


def packages_of(libraries):
    """Distribution packages that hold the libraries."""
    # Packages may name their files by /lib or /usr/lib, which are one folder.
    names = libraries + [path.removeprefix("/usr") for path in libraries if path.startswith("/usr/lib/")]
    result = subprocess.run(["dpkg-query", "-S", *names], capture_output=True, text=True, check=False).stdout
    packages = set()
    for line in result.splitlines():
        owners, _, _ = line.rpartition(": ")
        packages.update(owner.split(":")[0] for owner in owners.split(", ") if not owner.startswith("diversion"))
    return sorted(packages)


@functools.cache
def versions():
    """Versions of all installed packages by name."""
    lines = output_of("dpkg-query", "-W", "-f", "${Package} ${Version}\n").splitlines()
    return dict(line.split(" ", 1) for line in lines)


def licences_in(text):
    """Short names of the licences that a machine-readable copyright file lists."""
    names = []
    for name in re.findall(r"^License:[ \t]*(\S[^\n]*)", text, re.MULTILINE):
        if name not in names:
            names.append(name)
    return ", ".join(names[:4]) + (", ..." if len(names) > 4 else "") if names else "-"


def collect(packages, texts):
    """Copies the copyright file of each package. Returns rows of name, version, licences, file name."""
    rows = []
    for package in packages:
        source = Path("/usr/share/doc") / package / "copyright"
        if not source.is_file():
            sys.exit(f"third_party_notices.py: {package} has no copyright file")
        text = source.read_text(encoding="utf-8", errors="replace")
        name = f"{package}.txt"
        (texts / name).write_text(text, encoding="utf-8")
        rows.append((package, versions().get(package, "-"), licences_in(text), name))
    return rows


def qwt_row(source, texts):
    """The row of a Qwt that was compiled from source."""
    version = re.search(r'QWT_VERSION_STR\s+"([^"]+)"', (source / "src/qwt_global.h").read_text(encoding="utf-8"))
    (texts / "qwt.txt").write_text((source / "COPYING").read_text(encoding="utf-8"), encoding="utf-8")
    return ("qwt", version.group(1) if version else "-", "LGPL-2.1 with exceptions (Qwt License 1.0)", "qwt.txt")


def notices(words, rows, has_qwt):
    """The text of the notices in one language."""
    lines = [f"# {words['title']}", "", words["intro"].format(TEXTS), ""]
    if has_qwt:
        lines += [words["qwt"], ""]
    for heading, direct in (("direct", True), ("others", False)):
        lines += [f"## {words[heading]}", "", "| " + " | ".join(words["columns"]) + " |", "|---|---|---|---|"]
        lines += ["| " + " | ".join(row) + " |" for row in rows
                  if bool(DIRECT.match(row[0]) or row[0] == "qwt") == direct]
        lines.append("")
    return "\n".join(lines)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("programs", nargs="+")
    parser.add_argument("--agreement", type=Path, required=True, help="folder with the licence agreement")
    parser.add_argument("--output", type=Path, required=True, help="folder to make; replaced if it is there")
    parser.add_argument("--qwt-source", type=Path, help="unpacked source of a Qwt that was compiled in")
    arguments = parser.parse_args()

    shutil.rmtree(arguments.output, ignore_errors=True)
    texts = arguments.output / TEXTS
    texts.mkdir(parents=True)
    for document in sorted(arguments.agreement.glob("*.md")):
        shutil.copy(document, arguments.output)
    rows = collect(packages_of(linked_libraries(arguments.programs)), texts)
    if arguments.qwt_source and (arguments.qwt_source / "COPYING").is_file():
        rows.insert(0, qwt_row(arguments.qwt_source, texts))
    has_qwt = any("qwt" in row[0] for row in rows)
    for name, words in WORDS.items():
        (arguments.output / name).write_text(notices(words, rows, has_qwt), encoding="utf-8")
    print(f"Notices of {len(rows)} packages in {arguments.output}")


if __name__ == "__main__":
    main()
