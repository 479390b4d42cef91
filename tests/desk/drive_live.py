#!/usr/bin/env python3
"""Drives live connections from the window: the program against loggers played by simlogger.

Usage: drive_live.py <program> <simlogger> <folder of the sample>. Needs a display with a window
manager and a home directory to write to. Every step waits for a condition.
"""

import os
import re
import socket
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "e2e"))
from drive_window import ALLOWED, DEADLINE, SIGNAL, WARNING, Session, wait_for, xdotool


# What is told of a logger that goes: by chance it has read what was sent to it, or not.
GONE = "Stream ended|Failed to unpack data from logger"


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
        xdotool("mousemove", 1, 1)  # tooltips are windows, too
        self.window = wait_for("the window", lambda: self.find("^Signal Plot$"))
        self.activate(self.window)

    def connect(self, port, key=""):
        """Asks for a connection in the dialog and returns the dialog's window."""
        self.activate(self.window)
        self.key("ctrl+n")
        dialog = wait_for("the dialog", self.dialog)
        self.activate(dialog)
        self.key("Tab", "ctrl+a")  # the name has the focus
        xdotool("type", f"127.0.0.1:{port}")
        self.key("Tab", "ctrl+a", "BackSpace")
        if key:
            xdotool("type", key)
        self.key("Return")
        return dialog

    def activate(self, window):
        """Gives a window the focus; a program that is busy takes it only when it is not any more."""
        xdotool("windowactivate", "--sync", window)
        wait_for("the focus", lambda: xdotool("getwindowfocus").strip() == window)

    def shows_list(self):
        """Whether the right side of the window has the ground of the signal list."""
        data = subprocess.run(["import", "-silent", "-window", self.window, "-gravity", "East",
                               "-crop", "50x50+50+0", "-depth", "8", "rgb:-"], check=True,
                              capture_output=True).stdout
        return data.count(b"\xff\xff\xff") > 2000

    def hides_list(self):
        """Asks once for the plot to take the place of the list; whether it did."""
        self.key("F12")
        return not self.shows_list()

    def dialog(self):
        return self.find("^Connect live to logger$")

    def expect_data(self):
        wait_for("the dialog to go", lambda: not self.dialog())
        seen = wait_for("a curve", lambda: self.curve()[0])
        wait_for("the curve to grow", lambda: self.curve()[0] > seen)

    def expect_messages(self, *texts):
        """Waits until these were told, and closes the dialog of each."""
        wait_for(texts[-1], lambda: re.search(texts[-1], self.told()[self.seen:]))
        for text in texts:
            assert re.search(text, self.told()[self.seen:]), text
            message = wait_for("its dialog", self.message_window)
            self.activate(message)
            self.key("Return")
            wait_for("its dialog to go", lambda: self.message_window() != message)
        self.seen = len(self.told())

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
    session.expect_messages(GONE)

    with Logger(simlogger, logger.port):
        session.connect(logger.port)
        session.expect_data()
    session.expect_messages(GONE)

    with Logger(simlogger, key="the key") as logger:
        session.connect(logger.port, "the key")
        session.expect_data()
        session.connect(logger.port, "another")
        session.expect_messages("wrong key or data corrupted",
                                "Check that logger is set up for encrypted data")

    with SilentPort() as silent:
        dialog = session.connect(silent.port)
        session.activate(session.window)
        assert session.shows_list()
        wait_for("the window to react", session.hides_list)
        assert session.dialog() == dialog, "the dialog is open while the connection waits"
        session.expect_messages("Network connection failed")
        assert session.dialog() == dialog, "the dialog stays open"
    session.activate(session.window)
    session.key("alt+F4")
    assert session.process.wait(DEADLINE) == 0, "the exit status"


def main():
    program, simlogger, sample = sys.argv[1:]
    with tempfile.TemporaryDirectory() as scratch, \
            open(os.path.join(scratch, "errors"), "w", encoding="utf-8") as errors:
        session = Live(program, sample, errors)
        try:
            drive(session, simlogger)
        except BaseException:
            sys.stderr.write(session.told())
            raise
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
