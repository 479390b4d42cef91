#!/usr/bin/env python3
"""Holds the help pages against the program.

Usage: check_pages.py <help folder> <templates folder> <print_methods> <sigmira> <vsd.5>

- every link, picture and style sheet exists, and so does every named place in a page;
- every method has a page, and the table of keys there agrees with the program's own;
- definitions shown on a page are those of the sample's definition file, word by word;
- a command shown with its output ("$ sigmira ...") prints just that;
- the manual page of the definition file names every method and every key, and tells the same keys of
  the group [settings] as the program.
"""
import html.parser
import os
import pathlib
import re
import subprocess
import sys
import tempfile

TYPE_WORDS = {"true|false": "true or false", "lat;long": "latitude;longitude"}
PICTURE_LIMIT, ALL_PICTURES_LIMIT = 25_000, 600_000


class Page(html.parser.HTMLParser):
    """What the checks need of one page."""

    VOID = {"meta", "link", "img", "br", "hr"}

    def __init__(self, path):
        super().__init__()
        self.path = path
        self.targets, self.ids, self.keys, self.blocks = [], set(), [], []
        self.faults, self.redirect = [], ""
        self.open_tags, self.row, self.block, self.in_keys = [], None, None, False
        self.feed(path.read_text(encoding="utf-8"))
        self.faults += [f"<{tag}> is never closed" for tag in self.open_tags]

    def handle_starttag(self, tag, attrs):
        attrs = dict(attrs)
        self.ids.add(attrs.get("id"))
        self.targets += [attrs[name] for name in ("href", "src") if name in attrs]
        if tag == "meta" and attrs.get("http-equiv") == "refresh":
            self.redirect = attrs["content"].partition("url=")[2]
            self.targets.append(self.redirect)
        if tag == "img" and not attrs.get("alt"):
            self.faults.append("a picture without a text in its place")
        if tag not in self.VOID:
            self.open_tags.append(tag)
        if tag == "table" and attrs.get("class") == "keys":
            self.in_keys = True
        elif tag == "tr" and self.in_keys:
            self.row = []
        elif tag == "td" and self.row is not None:
            self.row.append("")
        elif tag == "pre":
            self.block = [attrs.get("class", ""), ""]

    def handle_endtag(self, tag):
        if not self.open_tags or self.open_tags.pop() != tag:
            self.faults.append(f"</{tag}> closes something else, line {self.getpos()[0]}")
        if tag == "table":
            self.in_keys = False
        elif tag == "tr" and self.row:
            self.keys.append(self.row)
            self.row = None
        elif tag == "pre":
            self.blocks.append(tuple(self.block))
            self.block = None

    def handle_data(self, data):
        if self.row:
            self.row[-1] += data
        if self.block:
            self.block[1] += data


def check_links(pages, root):
    for page in pages.values():
        for target in page.targets:
            if "://" in target:
                yield page, f"needs the network: {target}"
                continue
            name, _, place = target.partition("#")
            path = (page.path.parent / name).resolve() if name else page.path
            if not path.is_file():
                yield page, f"no such file: {target}"
            elif root not in path.parents:
                yield page, f"leaves the help: {target}"
            elif place and place != "top" and place not in pages[path].ids:
                yield page, f"no such place: {target}"


def shown_key(fields):
    """The first four cells of a key's row, from the program's table."""
    _, key, alternative, word, numbered, unit, mandatory, fallback, choices = fields
    name = f"{key} or {alternative}" if alternative else key
    if numbered:
        name += f", {key[:-2]}02 …"
    kind = TYPE_WORDS.get(word, word) + ("s, numbered" if numbered else "")
    if choices:
        *first, last = choices.split(" ")
        kind = ", ".join(first) + " or " + last
    return [name, kind, unit, "mandatory" if mandatory else fallback or "none"]


def check_keys(pages, root, table):
    rows_of, methods_of = {}, {}
    for line in table.splitlines():
        fields = line.split("\t")
        if fields[0] == "settings":  # the manual page tells them
            continue
        page = pages.get(root / f"method_{fields[0].lower()}" / "index.html")
        if page is None:
            yield None, f"no page for {fields[0]}"
            continue
        if page.redirect:
            page = pages[(page.path.parent / page.redirect.partition("#")[0]).resolve()]
        methods_of.setdefault(page, set()).add(fields[0])
        expected = shown_key(fields)
        if expected not in rows_of.setdefault(page, []):
            rows_of[page].append(expected)
    for page, expected in rows_of.items():
        shown = [row[:4] for row in page.keys]
        # "mandatory for a circle" is more than the table tells.
        for row in shown:
            if row[3].startswith("mandatory "):
                row[3] = "mandatory"
        for row in expected:
            if row not in shown:
                yield page, f"only the program has the key {row}"
        for row in shown:
            if row not in expected or shown.count(row) > 1:
                yield page, f"only the page has the key {row}, or it has it twice"


def check_definitions(pages, definitions):
    groups = {"\n".join(l for l in group.splitlines() if not l.startswith("#")).strip()
              for group in definitions.split("\n\n")}
    for page in pages.values():
        for kind, text in page.blocks:
            if kind == "vsd":
                for group in text.strip().split("\n\n"):
                    if group not in groups:
                        yield page, f"not in the sample's definition file: {group.splitlines()[0]}"


def check_commands(pages, templates, program):
    with tempfile.TemporaryDirectory() as home:
        os.symlink(program, os.path.join(home, "sigmira"))
        environment = {"PATH": f"{home}:/usr/bin:/bin", "HOME": home, "LC_ALL": "C.UTF-8"}
        for page in pages.values():
            for kind, text in page.blocks:
                if kind != "shell":
                    continue
                command, _, output = text.strip().partition("\n")
                run = subprocess.run(["bash", "-c", command.removeprefix("$ ")], cwd=templates,
                                     env=environment, capture_output=True, text=True, timeout=120)
                if run.returncode != 0 or run.stdout.rstrip("\n") != output:
                    yield page, f"{command}\n  prints {run.stdout!r}\n  shown  {output!r}"


def check_manual(manual, table):
    words = set(re.findall(r"\w+", manual.replace("\\-", "-")))
    for line in table.splitlines():
        method, key, alternative = line.split("\t")[:3]
        key = key.removesuffix("N")  # the number of an interface is set apart
        for word in filter(None, (method, key, alternative)):
            if word not in words and word != "common_options":
                yield None, f"vsd(5) does not name {word}"


def check_settings(manual, table):
    section = manual.partition(".SH SETTINGS\n")[2].partition("\n.SH ")[0]
    told = set(re.findall(r"^\.TP\n\.BI? (\S+)", section, re.M))
    known = {line.split("\t")[1].removesuffix("N") for line in table.splitlines()
             if line.startswith("settings\t")}
    for key in told ^ known:
        yield None, f"[settings] {key}: only {'vsd(5)' if key in told else 'the program'} tells it"


def check_pictures(root):
    sizes = {path: path.stat().st_size for path in root.rglob("*.png")}
    for path, size in sizes.items():
        if size > PICTURE_LIMIT:
            yield None, f"{path.relative_to(root)}: {size} bytes"
    if sum(sizes.values()) > ALL_PICTURES_LIMIT:
        yield None, f"all pictures: {sum(sizes.values())} bytes"


def main():
    root, templates = (pathlib.Path(p).resolve() for p in sys.argv[1:3])
    table = subprocess.run([sys.argv[3]], capture_output=True, text=True, check=True).stdout
    pages = {path: Page(path) for path in sorted(root.rglob("*.html"))}
    faults = [(page, fault) for page in pages.values() for fault in page.faults]
    faults += check_links(pages, root)
    faults += check_keys(pages, root, table)
    faults += check_definitions(pages, (templates / "drive.vsd").read_text(encoding="utf-8"))
    faults += check_commands(pages, templates, os.path.abspath(sys.argv[4]))
    manual = pathlib.Path(sys.argv[5]).read_text(encoding="utf-8")
    faults += check_manual(manual, table)
    faults += check_settings(manual, table)
    faults += check_pictures(root)
    for page, fault in faults:
        print(f"{page.path.relative_to(root)}: {fault}" if page else fault)
    print(f"{len(pages)} pages, {len(table.splitlines())} keys, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
