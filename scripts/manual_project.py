#!/usr/bin/env python3
"""Prepares the pages of the manual for the help compiler: copies them and writes the project file beside the copies.

Contents are the pages in the order in which the first one links to them, each with its second headings; a heading without
an id gets one from its words. Keywords come from keywords.txt.

usage: manual_project.py SOURCE OUTPUT
"""

import html
import re
import shutil
import sys
from pathlib import Path

NAMESPACE = "org.tessaly.manual"
# The help window takes a style sheet only if its type is told.
STYLE_LINK = ('rel="stylesheet" href', 'rel="stylesheet" type="text/css" href')
HEADING = re.compile(r'<h2(?: id="([^"]+)")?>(.*?)</h2>', re.DOTALL)


def plain(markup):
    """The words of a piece of a page, in one line."""
    return " ".join(html.unescape(re.sub(r"<[^>]+>", "", markup)).split())


def place_of(words):
    """An id made from the words of a heading."""
    return re.sub(r"[^a-z0-9]+", "-", words.lower().replace("'", "")).strip("-")


def with_places(page):
    """A page whose headings all have an id, and the headings as pairs of id and words."""
    headings = []

    def named(match):
        words = plain(match.group(2))
        place = match.group(1) or place_of(words)
        headings.append((place, words))
        return f'<h2 id="{place}">{match.group(2)}</h2>'

    return HEADING.sub(named, page), headings


def page_order(source):
    """File names of all pages: the first page, then what it links to, then the others."""
    first = (source / "index.html").read_text(encoding="utf-8")
    names = ["index.html"] + re.findall(r'<li><a href="([^"#]+)"', first)
    names += sorted(page.name for page in source.glob("*.html"))
    return [name for name in dict.fromkeys(names) if (source / name).is_file()]


def keywords(source):
    """Pairs of keyword and reference."""
    for line in (source / "keywords.txt").read_text(encoding="utf-8").splitlines():
        if line.strip() and not line.startswith("#"):
            word, _, reference = line.rpartition("|")
            yield word.strip(), reference.strip()


def section(title, reference, inner=()):
    """A line of the contents, with lines below it."""
    start = f'<section title="{html.escape(title)}" ref="{html.escape(reference)}"'
    return [start + "/>"] if not inner else [start + ">", *inner, "</section>"]


def main():
    source, output = Path(sys.argv[1]), Path(sys.argv[2])
    shutil.rmtree(output, ignore_errors=True)
    (output / "images").mkdir(parents=True)
    for file in (*source.glob("*.css"), *source.glob("images/*.png")):
        shutil.copy(file, output / file.relative_to(source))

    names = page_order(source)
    sections = []
    for name in names:
        page, headings = with_places((source / name).read_text(encoding="utf-8"))
        page = page.replace(*STYLE_LINK).replace("<p><img", '<p class="picture"><img')
        (output / name).write_text(page, encoding="utf-8")
        title = plain(re.search(r"<title>(.*?)</title>", page, re.DOTALL).group(1))
        below = [line for place, words in headings for line in section(words, f"{name}#{place}")]
        sections.append((title, name, below))
    contents = [line for part in sections[1:] for line in section(*part)]
    files = [str(file.relative_to(output)) for file in sorted(output.rglob("*")) if file.is_file()]
    (output / "tessaly.qhp").write_text("\n".join([
        '<?xml version="1.0" encoding="UTF-8"?>',
        '<QtHelpProject version="1.0">',
        f"<namespace>{NAMESPACE}</namespace>",
        "<virtualFolder>manual</virtualFolder>",
        "<filterSection>",
        "<toc>", *section(sections[0][0], names[0], contents), "</toc>",
        "<keywords>",
        *(f'<keyword name="{html.escape(word)}" ref="{html.escape(place)}"/>' for word, place in keywords(source)),
        "</keywords>",
        "<files>", *(f"<file>{html.escape(name)}</file>" for name in files), "</files>",
        "</filterSection>",
        "</QtHelpProject>", ""]), encoding="utf-8")


if __name__ == "__main__":
    main()
