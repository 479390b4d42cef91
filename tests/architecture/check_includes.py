#!/usr/bin/env python3
"""Holds the table of floors against the code: a folder includes only what it may.

Also refuses a widget toolkit in the engine, and headers and sources that have grown too long to be
read at one sitting. Prints one line a breach; the exit status is 1 if there is any.
"""
import pathlib
import re
import sys

ENGINE = ["model", "app/diagnostics"]
BELOW_WINDOWS = ["app/diagnostics", "input/stream", "model", "virtual", "app/store",
                 "config/settings", "config/link", "model/builtin", "input", "plot/paint",
                 "analysis/calc"]
MAY_INCLUDE = {
    "app/diagnostics": [],
    "input/stream": [],
    "model": ["app/diagnostics"],
    "virtual": ENGINE,
    "app/store": ENGINE,
    "config/settings": ENGINE,
    "config/link": ENGINE + ["app/store"],
    "model/builtin": ENGINE + ["virtual", "app/store"],
    "input": ENGINE + ["virtual", "app/store", "config/settings", "model/builtin", "input/stream"],
    "plot/paint": ENGINE + ["app/store", "config/settings"],
    "analysis/calc": ENGINE + ["app/store", "config/settings", "virtual"],
    "analysis": BELOW_WINDOWS,
    "config": BELOW_WINDOWS,
    "plot": BELOW_WINDOWS + ["analysis", "config"],
    "app": BELOW_WINDOWS + ["analysis", "config", "plot"],
}
WITH_TOOLKIT = {"analysis", "config", "plot", "app"}
LONGEST_HEADER = 260
LONGEST_SOURCE = 600
INCLUDE = re.compile(r'^\s*#\s*include\s+([<"])([^>"]+)[>"]', re.M)


def folder_of(path: str) -> str:
    """The floor that a path below src/ stands on."""
    folder = path.rsplit("/", 1)[0]
    while folder and folder not in MAY_INCLUDE:
        folder = folder.rpartition("/")[0]
    return folder


def breaches(source: pathlib.Path):
    for path in sorted(source.rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        name = path.relative_to(source).as_posix()
        floor = folder_of(name)
        text = path.read_text(encoding="utf-8")
        lines = text.count("\n")
        if lines > (LONGEST_HEADER if path.suffix == ".h" else LONGEST_SOURCE):
            yield f"{name}: {lines} lines"
        if not floor:
            yield f"{name}: stands on no floor of the table"
            continue
        for quote, target in INCLUDE.findall(text):
            if quote == '"':
                other = folder_of(target)
                if other != floor and other not in MAY_INCLUDE[floor]:
                    yield f"{name}: must not include {target}"
            elif target.startswith(("gtk", "gdk")) and floor not in WITH_TOOLKIT:
                if not (floor == "plot/paint" and target.startswith(("gdkmm/pixbuf", "gdk-pixbuf"))):
                    yield f"{name}: the engine links no widget toolkit: {target}"


def main() -> int:
    found = list(breaches(pathlib.Path(sys.argv[1])))
    print("\n".join(found) or "all includes run downwards")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
