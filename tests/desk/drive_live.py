#!/usr/bin/env python3
"""Drives live connections from the window: the program against loggers played by simlogger.

Usage: drive_live.py <program> <simlogger> <folder of the sample>. Needs a display with a window
manager and a home directory to write to. Every step waits for a condition.
"""

import os
import socket
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "e2e"))
from drive_window import ALLOWED, DEADLINE, SIGNAL, WARNING, Session, wait_for, xdotool


class Logger:
    """A logger that sends ten minutes of the drive in real time."""

    def __init__(self, simlogger, port=0, key=""):
        self.process = subprocess.Popen(
            [simlogger, "serve", "--preset", "drive", "--set", "duration=600", "--port", str(port),
             *(["--key", key] if key else [])], stdout=subprocess.PIPE, text=True)
        self.port = int(self.process.stdout.readline().rsplit(":", 1)[1])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()


class SilentPort:
    """A port whose queue is full: connecting to it neither succeeds nor fails."""

    def __init__(self):
        self.listener = socket.create_server(("127.0.0.1", 0), backlog=0)
        self.port = self.listener.getsockname()[1]
        self.fillers = [socket.socket() for _ in range(4)]
        for filler in self.fillers:
            filler.setblocking(False)
            filler.connect_ex(("127.0.0.1", self.port))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for one in (*self.fillers, self.listener):
            one.close()


class Live(Session):
    def __init__(self, program, sample, errors):
        self.errors = errors
        self.seen = 0  # of what the program told
        self.process = subprocess.Popen([program, "-f", os.path.join(sample, "drive.vsd")],
                                        stderr=errors)
        self.window = wait_for("the window", lambda: self.find("^Signal Plot$"))
        xdotool("windowactivate", "--sync", self.window)

    def connect(self, port, key=""):
        """Asks for a connection in the dialog and returns the dialog's window."""
        xdotool("windowactivate", "--sync", self.window)
        self.key("ctrl+n")
        dialog = wait_for("the dialog", self.dialog)
        xdotool("windowactivate", "--sync", dialog)
        self.key("Tab", "ctrl+a")  # the name has the focus
        xdotool("type", f"127.0.0.1:{port}")
        self.key("Tab", "ctrl+a", "BackSpace")
        if key:
            xdotool("type", key)
        self.key("Return")
        return dialog

    def shows_list(self):
        """Whether the right side of the window has the ground of the signal list."""
        data = subprocess.run(["import", "-silent", "-window", self.window, "-gravity", "East",
                               "-crop", "50x50+50+0", "-depth", "8", "rgb:-"], check=True,
                              capture_output=True).stdout
        return data.count(b"\xff\xff\xff") > 2000

    def dialog(self):
        return self.find("^Connect live to logger$")

    def expect_data(self):
        wait_for("the dialog to go", lambda: not self.dialog())
        seen = wait_for("a curve", lambda: self.curve()[0])
        wait_for("the curve to grow", lambda: self.curve()[0] > seen)

    def expect_message(self, text):
        """Waits until a dialog told the text anew, and closes it and what else is told."""
        wait_for(text, lambda: text in self.told()[self.seen:])
        wait_for("its dialog", self.message_window)
        wait_for("its dialog to go", self.dismiss)
        self.seen = len(self.told())

    def dismiss(self):
        """Presses the button of a message, if there is one; whether there was none."""
        message = self.message_window()
        if message:
            subprocess.run(["xdotool", "windowactivate", "--sync", message, "key", "Return"],
                           capture_output=True)
        return not message

    def message_window(self):
        found = subprocess.run(["xdotool", "search", "--onlyvisible", "--pid",
                                str(self.process.pid)], capture_output=True, text=True)
        others = [w for w in found.stdout.split() if w not in (self.window, self.dialog())]
        return others[0] if others else None


def drive(session, simlogger):
    listed = os.path.join(os.environ["HOME"], ".sigmira_siglist")
    session.key("ctrl+f")
    xdotool("type", SIGNAL.replace(".", "/"))
    session.key("Return", "space", "alt+s")
    wait_for("the selection", lambda: os.path.exists(listed) and SIGNAL in open(listed).read())

    with Logger(simlogger) as logger:
        session.connect(logger.port)
        session.expect_data()
        session.key("ctrl+r")  # again, from the beginning
        wait_for("the empty plot", lambda: session.curve()[0] == 0)
        session.expect_data()
    session.expect_message("Stream ended")

    with Logger(simlogger, logger.port):
        session.connect(logger.port)
        session.expect_data()
    session.expect_message("Stream ended")

    with Logger(simlogger, key="the key") as logger:
        session.connect(logger.port, "the key")
        session.expect_data()
        session.connect(logger.port, "another")
        session.expect_message("wrong key or data corrupted")

    with SilentPort() as silent:
        dialog = session.connect(silent.port)
        xdotool("windowactivate", "--sync", session.window)
        assert session.shows_list()
        session.key("F12")  # the window is usable meanwhile: the plot takes the place of the list
        wait_for("the wider plot", lambda: not session.shows_list())
        assert session.dialog() == dialog, "the dialog is open while the connection waits"
        session.expect_message("Network connection failed")
        assert session.dialog() == dialog, "the dialog stays open"
    xdotool("windowactivate", "--sync", session.window)
    session.key("alt+F4")
    assert session.process.wait(DEADLINE) == 0, "the exit status"


def main():
    program, simlogger, sample = sys.argv[1:]
    with tempfile.TemporaryDirectory() as scratch, \
            open(os.path.join(scratch, "errors"), "w", encoding="utf-8") as errors:
        session = Live(program, sample, errors)
        try:
            drive(session, simlogger)
        finally:
            session.process.kill()
            session.process.wait()
            told = session.told()
        warnings = [line for line in told.splitlines()
                    if WARNING.search(line) and not ALLOWED.search(line)]
        if warnings:
            sys.exit("\n".join(warnings))


if __name__ == "__main__":
    main()
