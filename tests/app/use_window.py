#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Uses the main window from another process, as a screen reader does.

    use_window.py PROGRAM

Starts PROGRAM, which shows a window with twelve packages, types into its search field, ticks a row
and reads what the window says of it. Needs a display, a session bus and the accessibility bus.
"""
import subprocess
import sys
import time

import pyatspi

APPLICATION = "tolvane-sample-window"
PATIENCE = 20  # seconds


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


def find_application():
    desktop = pyatspi.Registry.getDesktop(0)
    return next((a for a in desktop if a is not None and a.name == APPLICATION), None)


def named(root, name, role):
    return pyatspi.findDescendant(root, lambda a: a.name == name and a.getRole() == role)


def check(condition, what):
    if not condition:
        sys.exit(f"not so: {what}")
    print(f"ok: {what}")


def use(window):
    table = named(window, "Packages", pyatspi.ROLE_TABLE)
    statistics = named(window, "Statistics", pyatspi.ROLE_LABEL)
    status = named(window, "Status", pyatspi.ROLE_LABEL)
    search = named(window, "Search packages", pyatspi.ROLE_TEXT)
    check(table and statistics and status and search, "the controls have their names and roles")
    check(status.description == "Found 12 packages.", "the status line can be read")
    check(statistics.description.startswith("Shown: 12 / 12    Unique: 12    "),
          "the statistics line can be read")

    search.queryEditableText().setTextContents("p1")
    wait_for("the search", lambda: status.description == "Showing 3 of 12 packages.")
    check(table.queryTable().nRows == 3, "typing into the search field narrows the table")

    cells = table.queryTable()
    check(cells.getAccessibleAt(1, 1).name == "Package 10", "a cell can be read")
    tick = cells.getAccessibleAt(1, 0)
    check(not tick.getState().contains(pyatspi.STATE_CHECKED), "a tick's state can be read")
    place = tick.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    pyatspi.Registry.generateMouseEvent(place.x + place.width // 2, place.y + 14, "b1c")
    wait_for("the tick",
             lambda: "Selected: 1 " in statistics.description
             and cells.getAccessibleAt(1, 0).getState().contains(pyatspi.STATE_CHECKED))
    check("Shown: 3 / 12" in statistics.description, "ticking a row shows in the statistics line")

    console = named(window, "Console", pyatspi.ROLE_TEXT)
    text = console.queryText()
    check(text.getText(0, text.characterCount).endswith("Loaded 12 package(s) into table.\n"),
          "the console can be read")


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: use_window.py PROGRAM")
    with subprocess.Popen([sys.argv[1]]) as program:
        try:
            application = wait_for("the program", find_application)
            use(wait_for("the window", lambda: application.childCount and application[0]))
        finally:
            program.terminate()


if __name__ == "__main__":
    main()
