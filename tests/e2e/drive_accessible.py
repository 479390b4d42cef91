#!/usr/bin/python3
"""Finds and drives the window as a screen reader does, and by the keyboard alone.

Usage: drive_accessible.py <program> <folder of the sample>. Needs a display with a window manager, a
session bus and a home directory to write to.
"""
import os
import sys

import pyatspi

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "support"))
from desktop import SIGNAL, run, wait_for, xdotool


def nodes(node):
    """The node and all below it; what goes while it is looked at is passed over."""
    yield node
    try:
        children = [node.getChildAtIndex(i) for i in range(node.childCount)]
    except Exception:  # the bus tells in many ways that a widget is gone
        return
    for child in children:
        if child is not None:
            yield from nodes(child)


def find(root, name, role):
    """The first node of this name and role, or None."""
    for node in nodes(root):
        try:
            if node.name == name and node.getRoleName() == role:
                return node
        except Exception:
            continue
    return None


def application(process):
    desktop = pyatspi.Registry.getDesktop(0)
    return next((a for a in desktop if a is not None and a.get_process_id() == process.pid), None)


def has(node, state):
    return node.getState().contains(state)


def check_of(table, name):
    """The check box in the row of the signal."""
    cells = list(table)
    return next((check for cell, check in zip(cells, cells[1:]) if cell is not None
                 and cell.name == name), None)


def find_views(root):
    for name in ("Signal plot", "Overview"):
        view = wait_for(name, lambda name=name: find(root, name, "chart"))
        assert has(view, pyatspi.STATE_SHOWING), name
        box = view.queryComponent().getExtents(pyatspi.WINDOW_COORDS)
        assert box.width > 300 and box.height > 50, f"{name}: {box.width} x {box.height}"


def fits_screen(root):
    """What lies lowest in the window is on the screen, also if that is a small one."""
    width, height = map(int, xdotool("getdisplaygeometry").split())
    for name, role in (("Search", "text"), ("Progress", "progress bar")):
        box = find(root, name, role).queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
        assert box.x + box.width <= width and box.y + box.height <= height, \
            f"{name} reaches {box.x + box.width}, {box.y + box.height}"


def pick(session, root, signal):
    """Picks a signal by search and check box, as a reader of the screen would."""
    search = wait_for("the search", lambda: find(root, "Search", "text"))
    search.queryEditableText().setTextContents(signal.replace(".", "/"))
    table = find(root, "Data", "tree table")
    name = signal.rpartition(".")[2]
    box = wait_for("the row", lambda: check_of(table, name))
    assert not has(box, pyatspi.STATE_CHECKED), "checked at the start"
    search.queryComponent().grabFocus()
    session.key("Return", "space")
    wait_for("the check", lambda: has(check_of(table, name), pyatspi.STATE_CHECKED))


def use_menu(session, root, keys, item):
    """Opens a menu by keys, sees that the item is there, and leaves."""
    session.key(*keys)
    shown = wait_for(item, lambda: find(root, item, "menu item"))
    wait_for(item + " on the screen", lambda: has(shown, pyatspi.STATE_SHOWING))
    session.key("Escape")
    wait_for("the menu to go", lambda: not has(shown, pyatspi.STATE_SHOWING))


def drive(session, _scratch):
    root = wait_for("the program on the bus", lambda: application(session.process))
    find_views(root)
    fits_screen(root)
    pick(session, root, SIGNAL)
    session.key("F5")
    wait_for("the curve", lambda: session.curve()[0] > 500)
    table = find(root, "Data", "tree table")
    wait_for("the list to have the focus", lambda: has(table, pyatspi.STATE_FOCUSED))
    use_menu(session, root, ["Menu"], "Copy name")
    use_menu(session, root, ["alt+f"], "Open CSV table")
    session.key("F10")
    menu = wait_for("the menu bar", lambda: find(root, "File", "menu"))
    wait_for("its first menu", lambda: has(menu, pyatspi.STATE_SELECTED))
    session.key("Escape")
    # From the list to the plot by Tab, and there the plot's own keys.
    plot = find(root, "Signal plot", "chart")
    wait_for("the focus of the plot",
             lambda: has(plot, pyatspi.STATE_FOCUSED) or session.key("Tab"))
    before = session.curve()[1]
    session.key("Up")
    wait_for("the zoom", lambda: session.curve()[1] != before)
    session.close()


program, sample = sys.argv[1:]
run(drive, program, "-f", os.path.join(sample, "drive.vsd"),
    *(os.path.join(sample, f"drive_000{n}.bin") for n in (1, 2)))
