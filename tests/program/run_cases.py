#!/usr/bin/env python3
"""Runs the program as its users do and compares all that it prints and its exit status.

    run_cases.py SIGMIRA TEMPLATES [--accept] [name ...]
"""
import pathlib
import sys
import tempfile

import golden
from cases import CASES, SAME_OUTPUT

ARGUMENTS = [a for a in sys.argv[1:] if a != "--accept"]
PROGRAM, TEMPLATES = (str(pathlib.Path(a).resolve()) for a in ARGUMENTS[:2])


def passes(name):
    arguments, files, home_files = CASES[name]
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder, "work")
        home = pathlib.Path(folder, "home")
        for place, contents in ((work, files), (home, home_files)):
            place.mkdir()
            for file, text in contents.items():
                (place / file).parent.mkdir(parents=True, exist_ok=True)
                (place / file).write_text(text.replace("HOME", str(home)))
        real = [a.replace("@", TEMPLATES) if a.startswith("@") else a for a in arguments]
        text = golden.transcript(golden.run(["sigmira", *real], home, executable=PROGRAM, cwd=work))
        text = text.replace(TEMPLATES, "@").replace(str(work), "WORK").replace(str(home), "HOME")
        other = SAME_OUTPUT.get(name)
        return golden.is_golden(other or name, text, golden.ACCEPT and not other)


names = ARGUMENTS[2:] or list(CASES)
failed = [name for name in names if not passes(name)]
print(f"{len(names) - len(failed)} passed, {len(failed)} failed", *failed)
sys.exit(bool(failed))
