#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Starts the real program on the display, waits for its window, takes its picture and quits it.

    start_program.py PROGRAM PICTURE

Then looks at what it has left: the store, the settings, and its lines in the system log. Needs a
display, a session bus and the accessibility bus.
"""
import os
import re
import subprocess
import sys
import time
from pathlib import Path

import pyatspi

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
        time.sleep(0.1)
    sys.exit(f"{what} did not come")


def check(condition, what):
    if not condition:
        sys.exit(f"not so: {what}")
    print(f"ok: {what}")


def window_identity():
    tree = subprocess.run(["xwininfo", "-root", "-tree"], capture_output=True, text=True, check=True)
    match = re.search(r'(0x[0-9a-f]+) "Tolvane": .*?\s1\d{3}x\d{3}\+', tree.stdout)
    return match and match.group(1)


def colours_of(picture):
    """How many different pixels an XWD picture of 32 bits a pixel has."""
    header = int.from_bytes(picture[:4], "big")
    colours = int.from_bytes(picture[76:80], "big")
    pixels = picture[header + 12 * colours:]
    return len({pixels[i:i + 4] for i in range(0, len(pixels), 4)})


def quit_item():
    desktop = pyatspi.Registry.getDesktop(0)
    program = next(a for a in desktop if a is not None and a.name == "Tolvane")
    return pyatspi.findDescendant(
        program,
        lambda a: a.getRole() == pyatspi.ROLE_MENU_ITEM and a.name.endswith("Quit Tolvane"))


def main():
    program, picture = sys.argv[1:]
    log = Path(os.environ["HOME"]) / "log"
    with log.open("w", encoding="utf-8") as stream, \
            subprocess.Popen([program], stderr=stream) as process:
        identity = wait_for("the window", window_identity)
        item = wait_for("the menu", quit_item)
        time.sleep(1)
        subprocess.run(["xwd", "-silent", "-id", identity, "-out", picture], check=True)
        check(colours_of(Path(picture).read_bytes()) > 20, f"the window is painted: {picture}")
        item.queryAction().doAction(0)
        check(process.wait(PATIENCE) == 0, "the menu's last item quits the program")
    lines = [line.split("] ", 1)[1] for line in log.read_text(encoding="utf-8").splitlines()
             if line.startswith("20")]
    check(lines == ["[MAIN] App started", "[UI] viewDidLoad", "[UI] buildInterface"],
          f"the system log has these lines: {lines}")
    store = Path(os.environ["XDG_DATA_HOME"]) / "Tolvane" / "Tolvane.sqlite"
    check(store.read_bytes().startswith(b"SQLite format 3"), "the store is there")
    settings = list(Path(os.environ["XDG_CONFIG_HOME"]).rglob("*.conf"))
    check("columnWidths" in settings[0].read_text(encoding="utf-8"), "the settings are kept")


if __name__ == "__main__":
    main()
