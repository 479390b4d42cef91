"""Complete runs of the program, compared with the files in golden/.

With --accept on the command line, what the program says now is written there instead, to be read and
committed.
"""
import difflib
import os
import pathlib
import subprocess
import sys

GOLDEN = pathlib.Path(__file__).parent / "golden"
ACCEPT = "--accept" in sys.argv


def environment(home):
    """What a run needs of the environment, with a home of its own."""
    kept = {k: v for k, v in os.environ.items() if k == "PATH" or k.endswith("SAN_OPTIONS")}
    return kept | {"HOME": str(home), "TZ": "UTC"}


def run(command, home, **options):
    return subprocess.run(command, env=environment(home), stdin=subprocess.DEVNULL,
                          capture_output=True, encoding="utf-8", timeout=120, **options)


def transcript(done):
    return f"--- status {done.returncode}\n--- stdout\n{done.stdout}--- stderr\n{done.stderr}"


def is_golden(name, text, accept=ACCEPT):
    """Whether the text is that of the golden file; prints the difference if not."""
    file = GOLDEN / f"{name}.txt"
    if accept:
        file.write_text(text)
    expected = file.read_text() if file.exists() else ""
    sys.stdout.writelines(difflib.unified_diff(expected.splitlines(True), text.splitlines(True),
                                               f"golden/{name}.txt", "now"))
    return text == expected
