# SPDX-License-Identifier: MIT
"""What the tests that use a program from another process share: patience, and the program's tree."""
import sys
import time

import pyatspi
from gi.repository import GLib

PATIENCE = 30  # seconds


def wait_for(what, find):
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        try:
            found = find()
        except Exception:  # the tree changes while it is read
            found = None
        if found:
            return found
        time.sleep(0.05)
    sys.exit(f"{what} did not come")


def check(condition, what):
    if not condition:
        sys.exit(f"not so: {what}")
    print(f"ok: {what}")


def find_application(name):
    desktop = pyatspi.Registry.getDesktop(0)
    return next((a for a in desktop if a is not None and a.name == name), None)


def main_window(name):
    application = wait_for("the program", lambda: find_application(name))
    return wait_for("the window", lambda: application.childCount and application[0])


def named(root, name, role):
    return pyatspi.findDescendant(root, lambda a: a.name == name and a.getRole() == role)


def quit_item(application):
    return pyatspi.findDescendant(
        application,
        lambda a: a.getRole() == pyatspi.ROLE_MENU_ITEM and a.name.endswith("Quit Tolvane"))


def act(accessible, name):
    actions = accessible.queryAction()
    names = [actions.getName(i) for i in range(actions.nActions)]
    actions.doAction(names.index(name))


def event_after(kind, source, do):
    """The first event of the kind from the source after `do` was called; None where none comes."""
    events = []

    def take(event):
        if event.source == source:
            events.append(event)
            pyatspi.Registry.stop()

    pyatspi.Registry.registerEventListener(take, kind)
    patience = GLib.timeout_add_seconds(PATIENCE, pyatspi.Registry.stop)
    GLib.idle_add(lambda: do() and False)
    pyatspi.Registry.start()
    GLib.source_remove(patience)
    pyatspi.Registry.deregisterEventListener(take, kind)
    return events[0] if events else None


def press(root, name):
    button = wait_for(f"the button {name}",
                      lambda: named(root, name, pyatspi.ROLE_PUSH_BUTTON))
    wait_for(f"the button {name} to be enabled",
             lambda: button.getState().contains(pyatspi.STATE_ENABLED))
    act(button, "Press")


def tick(table, row):
    act(table.queryTable().getAccessibleAt(row, 0), "Toggle")
