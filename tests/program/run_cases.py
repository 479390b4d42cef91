#!/usr/bin/env python3
"""Runs the program as its users do and compares all that it prints and its exit status.

    run_cases.py SIGMIRA TEMPLATES [--accept] [name ...]

--accept writes what the program says now into golden/, to be read and committed.
"""
import difflib
import os
import pathlib
import subprocess
import sys
import tempfile

from cases import CASES

HERE = pathlib.Path(__file__).parent


def run(program, templates, name):
    arguments, files, home_files = CASES[name]
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder, "work")
        home = pathlib.Path(folder, "home")
        for place, contents in ((work, files), (home, home_files)):
            place.mkdir()
            for file, text in contents.items():
                (place / file).parent.mkdir(parents=True, exist_ok=True)
                (place / file).write_text(text.replace("HOME", str(home)))
        environment = {"PATH": os.environ["PATH"], "HOME": str(home), "TZ": "UTC"}
        environment.update({k: v for k, v in os.environ.items() if k.endswith("SAN_OPTIONS")})
        real = [a.replace("@", templates) if a.startswith("@") else a for a in arguments]
        done = subprocess.run(["sigmira"] + real, executable=program, cwd=work, env=environment,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=120)
        text = f"--- status {done.returncode}\n--- stdout\n{done.stdout.decode()}"
        text += f"--- stderr\n{done.stderr.decode()}"
        return text.replace(templates, "@").replace(str(work), "WORK").replace(str(home), "HOME")


def main():
    arguments = [a for a in sys.argv[1:] if a != "--accept"]
    program, templates = (str(pathlib.Path(a).resolve()) for a in arguments[:2])
    failed = 0
    for name in arguments[2:] or CASES:
        text = run(program, templates, name)
        golden = HERE / "golden" / f"{name}.txt"
        if "--accept" in sys.argv:
            golden.write_text(text)
            continue
        expected = golden.read_text() if golden.exists() else ""
        if text == expected:
            continue
        failed += 1
        sys.stdout.writelines(difflib.unified_diff(expected.splitlines(True), text.splitlines(True),
                                                   f"golden/{name}.txt", "now"))
    print(f"{len(CASES) - failed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
