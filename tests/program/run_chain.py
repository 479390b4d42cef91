#!/usr/bin/env python3
"""Runs the program over definitions that chain every method, and compares all that it prints.

    run_chain.py SIGMIRA SIMLOGGER [--accept]

The definitions are in chain/, the recording is made of chain/chain.scenario. Most methods have no
result of their own, so probes.vsd, which is written here, takes the least, the greatest and the mean
value of every signal of the chain, in thousandths.
"""
import pathlib
import re
import shutil
import sys
import tempfile

import golden

HERE = pathlib.Path(__file__).parent
PROGRAM, SIMLOGGER = (str(pathlib.Path(a).resolve()) for a in sys.argv[1:3])
RESULTS = {"chain_results": "main.vsd", "chain_legacy": "legacy.vsd", "chain_short_row": "short.vsd"}


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


def in_rows(output):
    """Results with a line for each message: its name, and its signals with their values."""
    if "\t" not in output or output.count("\n") != 2:
        return output
    heads, values = (line.split("\t") for line in output.splitlines())
    assert len(heads) == len(values), output
    rows = {}
    for head, value in zip(heads, values):
        message, _, signal = head.partition(".")
        rows.setdefault(message, [message]).append(f"{signal} {value}")
    return "".join("\t".join(row) + "\n" for row in rows.values())


def untested_methods(groups, work):
    tested = {m for text in groups.values() for m in re.findall(r"^method=(\w+)$", text, re.M)}
    help_text = golden.run([PROGRAM, "-e"], work, check=True).stdout
    return set(re.findall(r"method=(\w+)", help_text)) - tested - {"statistics"}


def passes(name, work, *arguments):
    done = golden.run([PROGRAM, *arguments], work, cwd=work)
    if name in RESULTS:
        done.stdout = in_rows(done.stdout)
    return golden.is_golden(name, golden.transcript(done).replace(str(work), "WORK"))


def main():
    with tempfile.TemporaryDirectory() as folder:
        work = pathlib.Path(folder)
        shutil.copytree(HERE / "chain", work, dirs_exist_ok=True)
        golden.run([SIMLOGGER, "record", "--scenario", "chain.scenario", "-o", "."], work, cwd=work,
                   check=True)
        groups = groups_of(work)
        if missing := untested_methods(groups, work):
            sys.exit(f"no signal of the chain has the method {' '.join(sorted(missing))}")
        passed = [passes("chain_list", work, "-l", "-f", "main.vsd")]
        write_probes(work, groups)
        passed += [passes(name, work, "-q", "-s", "Virt.*.*", "chain.bin", "-f", file)
                   for name, file in RESULTS.items()]
        print(f"{sum(passed)} passed, {passed.count(False)} failed")
        sys.exit(not all(passed))


main()
