"""The program on a display with a window manager, driven by keys and the pointer.

Every step waits for a condition, at most DEADLINE seconds.
"""
import contextlib
import os
import pathlib
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


def windows(*search):
    """The visible windows that are found so; none is no error."""
    return subprocess.run(["xdotool", "search", "--onlyvisible", *map(str, search)],
                          capture_output=True, text=True).stdout.split()


@contextlib.contextmanager
def running(command, **options):
    """A process that ends with the block."""
    with subprocess.Popen(command, **options) as process:
        try:
            yield process
        finally:
            process.kill()


class Session:
    """The main window of a program that runs, and the path of the file that gets what it tells."""

    def __init__(self, process, errors):
        self.process = process
        self.errors = errors
        self.seen = 0  # of what the program told
        self.window = wait_for("the window", lambda: self.find("^Signal Plot$"))
        self.activate(self.window)

    def find(self, title):
        return next(iter(windows("--name", title)), None)

    def activate(self, window):
        """Gives a window the focus; a program that is busy takes it only when it is not any more."""
        xdotool("windowactivate", "--sync", window)
        wait_for("the focus", lambda: xdotool("getwindowfocus").strip() == window)

    def key(self, *keys):
        xdotool("key", "--clearmodifiers", *keys)

    def told(self):
        return self.errors.read_text(encoding="utf-8")

    def picture(self, *crop):
        return subprocess.run(["import", "-silent", "-window", self.window, *crop, "-depth", "8",
                               "rgb:-"], check=True, capture_output=True).stdout

    def curve(self):
        """How many pixels of the plot have the colour of the curve, and the picture."""
        data = self.picture("-crop", "600x400+0+40")
        return data.count(b"\xed\x33\x3b"), data

    def pick(self, signal):
        """Picks a signal by search: the first match gets the cursor, the space bar checks it."""
        listed = os.path.join(os.environ["HOME"], ".sigmira_siglist")
        self.key("ctrl+f")
        xdotool("type", signal.replace(".", "/"))
        self.key("Return", "space", "alt+s")
        wait_for("the selection", lambda: os.path.exists(listed) and signal in open(listed).read())

    def known_windows(self):
        """Those that are no dialog of a message."""
        return [self.window]

    def message(self):
        known = self.known_windows()
        return next((w for w in windows("--pid", self.process.pid) if w not in known), None)

    def expect_messages(self, *texts):
        """Waits until these were told, and closes the dialog of each."""
        wait_for(texts[-1], lambda: re.search(texts[-1], self.told()[self.seen:]))
        for text in texts:
            assert re.search(text, self.told()[self.seen:]), text
            message = wait_for("its dialog", self.message)
            self.activate(message)
            self.key("Return")
            wait_for("its dialog to go", lambda: self.message() != message)
        self.seen = len(self.told())

    def close(self):
        self.activate(self.window)
        self.key("alt+F4")
        assert self.process.wait(DEADLINE) == 0, "the exit status"


def run(drive, program, *arguments, kind=Session):
    """Starts the program for `drive(session, scratch folder)`, and fails on what the toolkit says."""
    with tempfile.TemporaryDirectory() as scratch:
        errors = pathlib.Path(scratch, "errors")
        try:
            with open(errors, "wb") as stream, \
                    running([program, *arguments], stderr=stream) as process:
                drive(kind(process, errors), scratch)
        finally:
            told = errors.read_text(encoding="utf-8")
            sys.stderr.write(told)
    warnings = [line for line in told.splitlines()
                if WARNING.search(line) and not ALLOWED.search(line)]
    if warnings:
        sys.exit("\n".join(warnings))
