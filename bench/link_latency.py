#!/usr/bin/env python3
"""Measures how fast linked windows follow: from an event in one window to the changed picture of each
of the others.

Usage: link_latency.py <program> <folder of the sample> [--copies 2 5] [--rounds 30]
Needs a display of 1960x1320 with a window manager and a home directory to write to:
    DISPLAY_SIZE=1960x1320 tests/with-display bench/link_latency.py ...
The figures are those of the slowest copy in each round, in ms; the status is 1 if one is above the
target.
"""
import argparse
import contextlib
import ctypes
import os
import statistics
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "tests", "support"))
from desktop import SIGNAL, running, wait_for, windows, xdotool

SIZE = 650  # of a window's place on the screen, pixels
STRIP = (300, 160)  # what is looked at of each plot
TARGET_MS = 100

X = ctypes.CDLL("libX11.so.6")
TEST = ctypes.CDLL("libXtst.so.6")
X.XOpenDisplay.restype = ctypes.c_void_p
X.XDefaultRootWindow.restype = ctypes.c_ulong
X.XDefaultRootWindow.argtypes = [ctypes.c_void_p]
X.XGetImage.restype = ctypes.c_void_p
X.XGetImage.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_int, ctypes.c_uint,
                        ctypes.c_uint, ctypes.c_ulong, ctypes.c_int]
X.XDestroyImage.argtypes = [ctypes.c_void_p]
X.XSync.argtypes = [ctypes.c_void_p, ctypes.c_int]
for function in (TEST.XTestFakeButtonEvent, TEST.XTestFakeKeyEvent):
    function.argtypes = [ctypes.c_void_p, ctypes.c_uint, ctypes.c_int, ctypes.c_ulong]
TEST.XTestFakeMotionEvent.argtypes = [ctypes.c_void_p, ctypes.c_int, ctypes.c_int, ctypes.c_int,
                                      ctypes.c_ulong]


class Image(ctypes.Structure):  # the head of XImage
    _fields_ = [("width", ctypes.c_int), ("height", ctypes.c_int), ("xoffset", ctypes.c_int),
                ("format", ctypes.c_int), ("data", ctypes.c_void_p), ("order", ctypes.c_int * 4),
                ("depth", ctypes.c_int), ("bytes_per_line", ctypes.c_int)]


class Screen:
    def __init__(self):
        self.display = X.XOpenDisplay(None)
        if not self.display:
            sys.exit("no display")
        self.root = X.XDefaultRootWindow(self.display)

    def grab(self, x, y, width, height):
        image = X.XGetImage(self.display, self.root, x, y, width, height, 0xFFFFFFFF, 2)
        head = ctypes.cast(image, ctypes.POINTER(Image)).contents
        data = ctypes.string_at(head.data, head.bytes_per_line * head.height)
        X.XDestroyImage(image)
        return data

    def move(self, x, y):
        TEST.XTestFakeMotionEvent(self.display, -1, x, y, 0)
        X.XSync(self.display, 0)

    def click(self, button):
        for down in (1, 0):
            TEST.XTestFakeButtonEvent(self.display, button, down, 0)
        X.XSync(self.display, 0)


class Copy:
    """The window of a copy that runs, at its place on the screen."""

    def __init__(self, title, place):
        window = wait_for("the window of " + title, lambda: windows("--name", f"^{title}$"))[0]
        self.x, self.y, width, height = place
        xdotool("windowsize", "--sync", window, width, height)
        xdotool("windowmove", window, self.x, self.y)

    def look(self, screen):
        return screen.grab(self.x + 40, self.y + 60, *STRIP)


def quiet(screen, copies):
    """Waits until no picture changes any more."""
    def still():
        before = [copy.look(screen) for copy in copies]
        time.sleep(0.15)
        return before == [copy.look(screen) for copy in copies]
    wait_for("still pictures", still)


def follow(screen, copies, act):
    """Seconds until the last of the other copies shows a change."""
    quiet(screen, copies)
    before = {copy: copy.look(screen) for copy in copies[1:]}
    begin = time.perf_counter()
    act()
    while before and time.perf_counter() - begin < 2:
        for copy in list(before):
            if copy.look(screen) != before[copy]:
                del before[copy]
    if before:
        sys.exit(f"{len(before)} of {len(copies)} copies did not follow")
    return time.perf_counter() - begin


def measure(program, sample, count, rounds):
    screen = Screen()
    copies = []
    with contextlib.ExitStack() as programs:
        for number in range(count):
            title = f"Copy {number}"
            programs.enter_context(running(
                [program, "-g", "-t", title, "-f", os.path.join(sample, "drive.vsd"), "-s", SIGNAL,
                 os.path.join(sample, "drive_0001.bin")], stderr=subprocess.DEVNULL))
            copies.append(Copy(title, (number % 3 * SIZE, number // 3 * SIZE, SIZE - 10, SIZE - 30)))
        first = copies[0]
        spot = (first.x + 150, first.y + 120)
        screen.move(*spot)
        quiet(screen, copies)
        worst = 0
        moves = {"zoom": lambda turn: screen.click(4 if turn % 8 < 4 else 5),
                 "ruler": lambda turn: ruler(screen, first, turn),
                 "pan": lambda turn: pan(screen, turn)}
        for name, act in moves.items():
            screen.move(*spot)
            if name == "pan":
                for _ in range(4):
                    screen.click(4)
            times = [1000 * follow(screen, copies, lambda: act(turn)) for turn in range(rounds)]
            worst = max(worst, max(times))
            print(f"{count} copies, {name}: median {statistics.median(times):.0f} ms, "
                  f"highest {max(times):.0f} ms of {rounds}")
        return worst


def ruler(screen, copy, turn):
    screen.move(copy.x + 80 + turn % 20 * 10, copy.y + 120)
    screen.click(1)


def pan(screen, turn):
    screen.click(7 if turn % 2 else 6)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("sample")
    parser.add_argument("--copies", type=int, nargs="+", default=[2, 5])
    parser.add_argument("--rounds", type=int, default=30)
    options = parser.parse_args()
    worst = max(measure(options.program, options.sample, count, options.rounds)
                for count in options.copies)
    sys.exit(worst > TARGET_MS)


if __name__ == "__main__":
    main()
