#!/usr/bin/env python3
"""Drives the program by keyboard and mouse on the sample recording.

Usage: drive_window.py <program> <folder of the sample>. Needs a display with a window manager and a
home directory to write to. Every step waits for a condition, at most DEADLINE seconds.
"""

import os
import re
import subprocess
import sys
import tempfile
import time

DEADLINE = 30
SIGNAL = "Powertrain.EngineData.EngineSpeed"
WARNING = re.compile(r"(CRITICAL|WARNING) \*\*|Gtk-|GLib-|Gdk-|glibmm-")
# The toolkit's own dialog says this when its name entry is driven by keys; and the last one when a
# page leaves its notebook, at the end of the program, while a reader of the screen listens.
ALLOWED = re.compile(r"gtk_file_chooser|gtk_tree_(view|selection|model)|GtkFileChooser"
                     r"|gtk_notebook_get_tab_label")


def wait_for(what, condition):
    end = time.monotonic() + DEADLINE
    while time.monotonic() < end:
        if result := condition():
            return result
        time.sleep(0.05)
    raise AssertionError("waited in vain: " + what)


def xdotool(*arguments):
    return subprocess.run(["xdotool", *map(str, arguments)], check=True, capture_output=True,
                          text=True).stdout


class Session:
    def __init__(self, program, sample, errors):
        self.errors = errors
        self.logs = [os.path.join(sample, f"drive_000{n}.bin") for n in (1, 2)]
        self.process = subprocess.Popen(
            [program, "-f", os.path.join(sample, "drive.vsd"), *self.logs], stderr=errors)
        self.window = wait_for("the window", lambda: self.find("^Signal Plot$"))
        xdotool("windowactivate", "--sync", self.window)

    def find(self, title):
        found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", title],
                               capture_output=True, text=True).stdout.split()
        return found[0] if found else None

    def key(self, *keys):
        xdotool("key", "--clearmodifiers", *keys)

    def pointer(self, x, y, *action):
        xdotool("mousemove", "--sync", "--window", self.window, x, y, *action)

    def told(self):
        self.errors.flush()
        with open(self.errors.name, encoding="utf-8") as text:
            return text.read()

    def curve(self):
        """How many pixels of the plot have the colour of the curve, and the picture."""
        data = subprocess.run(["import", "-silent", "-window", self.window, "-crop",
                               "600x400+0+40", "-depth", "8", "rgb:-"], check=True,
                              capture_output=True).stdout
        return data.count(b"\xed\x33\x3b"), data

    def dump(self, path):
        self.pointer(400, 150)
        self.key("ctrl+a")
        title = "Select file to write ASC data to"
        dialog = wait_for("the dialog", lambda: self.find(title))
        xdotool("windowactivate", "--sync", dialog)
        self.key("ctrl+a")
        xdotool("type", path)
        self.key("Return")
        wait_for("the dump", lambda: "Data written to " + path in self.told())
        # The window tells it, too.
        message = wait_for("its message", lambda: self.message_window())
        xdotool("windowactivate", "--sync", message)
        self.key("Return")
        wait_for("the message to go", lambda: not self.message_window())
        with open(path, encoding="ascii") as text:
            return frames(text.read())

    def end(self):
        """Ends the program if it runs, and keeps what it told."""
        self.process.kill()
        self.process.wait()
        self.last_words = self.told()

    def fail_on_warnings(self):
        warnings = [line for line in self.last_words.splitlines()
                    if WARNING.search(line) and not ALLOWED.search(line)]
        if warnings:
            sys.exit("\n".join(warnings))

    def message_window(self):
        """The dialog of a message: a visible window of the program beside the main one."""
        found = subprocess.run(["xdotool", "search", "--onlyvisible", "--pid",
                                str(self.process.pid)], capture_output=True, text=True)
        others = [w for w in found.stdout.split() if w != self.window]
        return others[0] if others else None


def frames(text):
    """Channel, id and data of each frame line, without its time."""
    return [line.split(None, 1)[1] for line in text.splitlines() if " Rx d " in line]


def is_run_of(part, whole):
    length = len(part)
    return any(whole[i:i + length] == part
               for i in range(len(whole) - length + 1) if whole[i] == part[0])


def drive(session, program, scratch):
    listed = os.path.join(os.environ["HOME"], ".sigmira_siglist")
    expected = frames(subprocess.run([program, "-o", *session.logs], check=True,
                                     capture_output=True, text=True).stdout)
    # Pick by search: the first match gets the cursor, the space bar checks it.
    session.key("ctrl+f")
    xdotool("type", SIGNAL.replace(".", "/"))
    session.key("Return", "space", "alt+s")
    wait_for("the selection", lambda: os.path.exists(listed) and SIGNAL in open(listed).read())
    session.key("F5")
    wait_for("the curve", lambda: session.curve()[0] > 500)

    # Without rulers the view is dumped: the span in which the signal's message came.
    whole = session.dump(os.path.join(scratch, "all.asc"))
    assert len(whole) > 0.9 * len(expected) and is_run_of(whole, expected), "the whole dump"

    session.pointer(300, 150, "click", 1)
    session.pointer(500, 150, "click", 3)
    part = session.dump(os.path.join(scratch, "part.asc"))
    assert 0 < len(part) < len(whole) and is_run_of(part, expected), "the dump of an interval"

    unzoomed = session.curve()[1]
    session.pointer(400, 150, "click", 4)
    wait_for("the zoom", lambda: session.curve()[1] != unzoomed)
    zoomed = session.curve()[1]
    session.key("alt+z")
    wait_for("the crop", lambda: session.curve()[1] != zoomed)
    cropped = session.curve()[1]
    session.key("Escape", "alt+x")
    wait_for("the uncrop", lambda: session.curve()[1] != cropped)

    session.key("ctrl+r")
    wait_for("the empty plot", lambda: session.curve()[0] == 0)
    session.key("F5")
    wait_for("the curve again", lambda: session.curve()[0] > 500)
    session.key("alt+F4")
    assert session.process.wait(DEADLINE) == 0, "the exit status"


def run(drive):
    """Starts the program of the command line for `drive`, and fails on what the toolkit says."""
    program, sample = sys.argv[1:]
    with tempfile.TemporaryDirectory() as scratch, \
            open(os.path.join(scratch, "errors"), "w", encoding="utf-8") as errors:
        session = Session(program, sample, errors)
        try:
            drive(session, program, scratch)
        finally:
            session.end()
    session.fail_on_warnings()


if __name__ == "__main__":
    run(drive)
