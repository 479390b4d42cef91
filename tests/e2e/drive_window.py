#!/usr/bin/env python3
"""Drives the program by keyboard and mouse on the sample recording.

Usage: drive_window.py <program> <folder of the sample>. Needs a display with a window manager and a
home directory to write to.
"""
import os
import re
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "support"))
from desktop import SIGNAL, run, wait_for, xdotool

PROGRAM, SAMPLE = sys.argv[1:]
LOGS = [os.path.join(SAMPLE, f"drive_000{n}.bin") for n in (1, 2)]


def point(session, x, *action):
    xdotool("mousemove", "--sync", "--window", session.window, x, 150, *action)


def dump(session, path):
    point(session, 400)
    session.key("ctrl+a")
    dialog = wait_for("the dialog", lambda: session.find("Select file to write ASC data to"))
    session.activate(dialog)
    session.key("ctrl+a")
    xdotool("type", path)
    session.key("Return")
    session.expect_messages("Data written to " + re.escape(path))
    with open(path, encoding="ascii") as text:
        return frames(text.read())


def frames(text):
    """Channel, id and data of each frame line, without its time."""
    return [line.split(None, 1)[1] for line in text.splitlines() if " Rx d " in line]


def is_run_of(part, whole):
    length = len(part)
    return any(whole[i:i + length] == part
               for i in range(len(whole) - length + 1) if whole[i] == part[0])


def drive(session, scratch):
    expected = frames(subprocess.run([PROGRAM, "-o", *LOGS], check=True, capture_output=True,
                                     text=True).stdout)
    session.pick(SIGNAL)
    session.key("F5")
    wait_for("the curve", lambda: session.curve()[0] > 500)

    # Without rulers the view is dumped: the span in which the signal's message came.
    whole = dump(session, os.path.join(scratch, "all.asc"))
    assert len(whole) > 0.9 * len(expected) and is_run_of(whole, expected), "the whole dump"
    point(session, 300, "click", 1)
    point(session, 500, "click", 3)
    part = dump(session, os.path.join(scratch, "part.asc"))
    assert 0 < len(part) < len(whole) and is_run_of(part, expected), "the dump of an interval"

    for what, act in (("the zoom", lambda: point(session, 400, "click", 4)),
                      ("the crop", lambda: session.key("alt+z")),
                      ("the uncrop", lambda: session.key("Escape", "alt+x"))):
        before = session.curve()[1]
        act()
        wait_for(what, lambda: session.curve()[1] != before)

    session.key("ctrl+r")
    wait_for("the empty plot", lambda: session.curve()[0] == 0)
    session.key("F5")
    wait_for("the curve again", lambda: session.curve()[0] > 500)
    session.close()


run(drive, PROGRAM, "-f", os.path.join(SAMPLE, "drive.vsd"), *LOGS)
