#!/usr/bin/env python3
# SPDX-FileCopyrightText: The updater authors
# SPDX-License-Identifier: MIT
"""check_links.py SOURCE_FOLDER: fails if a page links to a file or heading that does not exist, or names a
source file that does not exist."""

import glob
import os
import re
import sys

FOLDERS = "app|core|engine|ui|platform|release|publish|inplace|examples|tests|bench|demo|scripts|cmake|docs"
LINK = re.compile(r"\]\(([^)\s]+)\)")
SOURCE = re.compile(rf"`((?:{FOLDERS})/[\w./*{{}},-]+)`")


def without_code(text):
    return re.sub(r"^```.*?^```", "", text, flags=re.M | re.S)


def anchors(text):
    """The anchors of a page's headings, as web pages of sources make them."""
    headings = re.findall(r"^#+ (.*)$", without_code(text), flags=re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def alternatives(path):
    """Expands {a,b}."""
    found = re.search(r"\{([^}]*)\}", path)
    if not found:
        return [path]
    return [one for word in found.group(1).split(",")
            for one in alternatives(path[:found.start()] + word + path[found.end():])]


def problems(top, page):
    with open(os.path.join(top, page), encoding="utf-8") as file:
        text = without_code(file.read())
    here = os.path.join(top, os.path.dirname(page))
    for target in LINK.findall(text):
        if re.match(r"[a-z]+:", target):
            continue
        path, _, anchor = target.partition("#")
        linked = os.path.join(here, path) if path else os.path.join(top, page)
        if not os.path.exists(linked):
            yield f"{page}: {target} does not exist"
        elif anchor:
            with open(linked, encoding="utf-8") as file:
                if anchor not in anchors(file.read()):
                    yield f"{page}: {target} has no such heading"
    for path in SOURCE.findall(text):
        for one in alternatives(path):
            # "Thing" stands for a name that the reader chooses.
            if "Thing" not in one and "thing" not in one and not glob.glob(os.path.join(top, one)):
                yield f"{page}: {one} does not exist"


top = sys.argv[1]
pages = [name for name in os.listdir(top) if name.endswith(".md")]
pages += ["docs/" + name for name in os.listdir(os.path.join(top, "docs")) if name.endswith(".md")]
found = [problem for page in sorted(pages) for problem in problems(top, page)]
print("\n".join(found) or f"{len(pages)} pages are right")
sys.exit(1 if found else 0)
