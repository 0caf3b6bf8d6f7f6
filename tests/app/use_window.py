#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Uses the main window from another process, as a screen reader does.

    use_window.py PROGRAM

Starts PROGRAM, which shows a window with twelve packages, types into its search field, ticks a row
and reads what the window says of it. Needs a display, a session bus and the accessibility bus.
"""
import subprocess
import sys

import pyatspi

from accessible import (act, check, event_after, main_window, named, press, tick,
                        wait_for)


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
    box = cells.getAccessibleAt(1, 0)
    check(not box.getState().contains(pyatspi.STATE_CHECKED), "a tick's state can be read")
    check(box.name == "Select Package 10", "a tick has a name")
    event = event_after("object:state-changed:checked", box, lambda: tick(table, 1))
    check(event and event.detail1 == 1, "a changed tick sends an event")
    wait_for("the tick",
             lambda: "Selected: 1 " in statistics.description
             and cells.getAccessibleAt(1, 0).getState().contains(pyatspi.STATE_CHECKED))
    check("Shown: 3 / 12" in statistics.description, "ticking a row shows in the statistics line")

    name_header = table.queryTable().getColumnHeader(1)
    check(name_header.name == "Name" and name_header.description == "", "no column is sorted")
    act(name_header, "Press")
    wait_for("the order", lambda: table.queryTable().getColumnHeader(1).description
             == "Sorted ascending")
    check(True, "a header names its order")

    console = named(window, "Console", pyatspi.ROLE_TEXT)
    text = console.queryText()
    check(text.getText(0, text.characterCount).endswith("Loaded 12 package(s) into table.\n"),
          "the console can be read")
    length = text.characterCount
    event = event_after("object:text-changed:insert", console, lambda: press(window, "Fetch"))
    check(event and event.detail1 == length and event.any_data.endswith("Repository Fetch Started\n"),
          "a new console line sends an event")


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: use_window.py PROGRAM")
    with subprocess.Popen([sys.argv[1]]) as program:
        try:
            use(main_window("tolvane-sample-window"))
        finally:
            program.terminate()


if __name__ == "__main__":
    main()
