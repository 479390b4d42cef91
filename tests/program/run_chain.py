#!/usr/bin/env python3
"""Runs the program over definitions that chain every method, and compares all that it prints.

    run_chain.py SIGMIRA SIMLOGGER [--accept]

The definitions are in chain/, the recording is made of chain/chain.scenario. Most methods have no
result of their own, so probes.vsd, which is written here, takes the least, the greatest and the mean
value of every signal of the chain, in thousandths. Results are compared one a line.

--accept writes what the program says now into golden/, to be read and committed.
"""
import difflib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).parent
PROGRAM, SIMLOGGER = (str(pathlib.Path(a).resolve()) for a in sys.argv[1:3])
CHAIN = ("main.vsd", "first.vsd", "last.vsd")
ENVIRONMENT = {"PATH": os.environ["PATH"], "TZ": "UTC"}
ENVIRONMENT.update({k: v for k, v in os.environ.items() if k.endswith("SAN_OPTIONS")})

QUERY = ["-q", "-s", "Virt.*.*", "chain.bin", "-f"]
RUNS = {
    "chain_list": ["-l", "-f", "main.vsd"],
    "chain_results": [*QUERY, "main.vsd"],
    "chain_legacy": [*QUERY, "legacy.vsd"],
    "chain_short_row": [*QUERY, "short.vsd"],
}


def groups_of(work):
    """The groups of the chain: name to text, the first of two with one name."""
    groups = {}
    for file in ("first.vsd", "main.vsd", "last.vsd"):
        for group in (work / file).read_text().split("\n[")[1:]:
            name, _, text = group.partition("]\n")
            groups.setdefault(name, text)
    del groups["settings"]
    return groups


def write_probes(work, groups):
    with open(work / "probes.vsd", "w") as file:
        for name, text in groups.items():
            if name.startswith(("Loop.", "Broken.")) or "method=statistics" in text:
                continue
            signal = name if "." in name else f"Virtual.{name}"
            for kind in ("min", "max", "average"):
                file.write(f"[{signal.replace('.', '_')}.{kind}]\nmethod=statistics\ntype={kind}\n"
                           f"signal=Virt.{signal}\nstep=10\nfact=1000\n\n")


def run(arguments, work):
    done = subprocess.run([PROGRAM, *arguments], cwd=work, env=ENVIRONMENT | {"HOME": str(work)},
                          stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=120)
    output = done.stdout
    if "\t" in output and output.count("\n") == 2:
        heads, values = (line.split("\t") for line in output.splitlines())
        assert len(heads) == len(values), output
        output = "".join(f"{head}\t{value}\n" for head, value in zip(heads, values))
    return f"--- status {done.returncode}\n--- stdout\n{output}--- stderr\n{done.stderr}"


def main():
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        shutil.copytree(HERE / "chain", work, dirs_exist_ok=True)
        subprocess.run([SIMLOGGER, "record", "--scenario", "chain.scenario", "-o", "."], cwd=work,
                       check=True, capture_output=True, timeout=60)
        groups = groups_of(work)
        write_probes(work, groups)
        failed = 0
        help_text = subprocess.run([PROGRAM, "-e"], capture_output=True, text=True, check=True).stdout
        methods = {m for text in groups.values() for m in re.findall(r"^method=(\w+)$", text, re.M)}
        missing = set(re.findall(r"method=(\w+)", help_text)) - methods - {"statistics"}
        if missing:
            failed += 1
            print("no signal of the chain has the method", *sorted(missing))
        for name, arguments in RUNS.items():
            text = run(arguments, work).replace(str(work), "WORK")
            golden = HERE / "golden" / f"{name}.txt"
            if "--accept" in sys.argv:
                golden.write_text(text)
            expected = golden.read_text() if golden.exists() else ""
            if text != expected:
                failed += 1
                sys.stdout.writelines(difflib.unified_diff(
                    expected.splitlines(True), text.splitlines(True), f"golden/{name}.txt", "now"))
        print(f"{len(RUNS)} runs, {failed} failed")
        return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
