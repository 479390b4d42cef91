#!/usr/bin/env python3
"""Drives live connections from the window: the program against loggers played by simlogger.

Usage: drive_live.py <program> <simlogger> <folder of the sample>. Needs a display with a window
manager and a home directory to write to.
"""
import contextlib
import os
import socket
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "support"))
from desktop import SIGNAL, Session, run, running, wait_for, xdotool

PROGRAM, SIMLOGGER, SAMPLE = sys.argv[1:]
# What is told of a logger that goes: by chance it has read what was sent to it, or not.
GONE = "Stream ended|Failed to unpack data from logger"


@contextlib.contextmanager
def logger(port=0, key=""):
    """A logger that sends ten minutes of the drive in real time; gives its port."""
    with running([SIMLOGGER, "serve", "--preset", "drive", "--set", "duration=600", "--port",
                  str(port), *(["--key", key] if key else [])], stdout=subprocess.PIPE,
                 text=True) as process:
        yield int(process.stdout.readline().rsplit(":", 1)[1])


@contextlib.contextmanager
def silent_port():
    """A port whose queue is full: connecting to it neither succeeds nor fails."""
    with contextlib.ExitStack() as sockets:
        listener = sockets.enter_context(socket.create_server(("127.0.0.1", 0), backlog=0))
        port = listener.getsockname()[1]
        for _ in range(4):
            filler = sockets.enter_context(socket.socket())
            filler.setblocking(False)
            filler.connect_ex(("127.0.0.1", port))
        yield port


class Live(Session):
    def dialog(self):
        return self.find("^Connect live to logger$")

    def known_windows(self):
        return [self.window, self.dialog()]

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

    def shows_list(self):
        """Whether the right side of the window has the ground of the signal list."""
        right = self.picture("-gravity", "East", "-crop", "50x50+50+0")
        return right.count(b"\xff\xff\xff") > 2000

    def hides_list(self):
        """Asks once for the plot to take the place of the list; whether it did."""
        self.key("F12")
        return not self.shows_list()

    def expect_data(self):
        wait_for("the dialog to go", lambda: not self.dialog())
        seen = wait_for("a curve", lambda: self.curve()[0])
        wait_for("the curve to grow", lambda: self.curve()[0] > seen)


def drive(session, _scratch):
    xdotool("mousemove", 1, 1)  # tooltips are windows, too
    session.pick(SIGNAL)
    with logger() as port:
        session.connect(port)
        session.expect_data()
        session.key("ctrl+r")  # again, from the beginning
        wait_for("the empty plot", lambda: session.curve()[0] == 0)
        session.expect_data()
    session.expect_messages(GONE)

    with logger(port):
        session.connect(port)
        session.expect_data()
    session.expect_messages(GONE)

    with logger(key="the key") as port:
        session.connect(port, "the key")
        session.expect_data()
        session.connect(port, "another")
        session.expect_messages("wrong key or data corrupted",
                                "Check that logger is set up for encrypted data")

    with silent_port() as port:
        dialog = session.connect(port)
        session.activate(session.window)
        assert session.shows_list()
        wait_for("the window to react", session.hides_list)
        assert session.dialog() == dialog, "the dialog is open while the connection waits"
        session.expect_messages("Network connection failed")
        assert session.dialog() == dialog, "the dialog stays open"
    session.close()


run(drive, PROGRAM, "-f", os.path.join(SAMPLE, "drive.vsd"), kind=Live)
