#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Starts the real program on the display, waits for its window, takes a screenshot and quits it.

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

from accessible import PATIENCE, act, check, find_application, quit_item, wait_for


def window_identity():
    tree = subprocess.run(["xwininfo", "-root", "-tree"], capture_output=True, text=True, check=True)
    match = re.search(r'(0x[0-9a-f]+) "Tolvane": .*?\s1\d{3}x\d{3}\+', tree.stdout)
    return match and match.group(1)


def colours_of(image):
    """How many different pixels an XWD image of 32 bits a pixel has."""
    header = int.from_bytes(image[:4], "big")
    colours = int.from_bytes(image[76:80], "big")
    pixels = image[header + 12 * colours:]
    return len({pixels[i:i + 4] for i in range(0, len(pixels), 4)})


def main():
    program, screenshot = sys.argv[1:]
    log = Path(os.environ["HOME"]) / "log"
    with log.open("w", encoding="utf-8") as stream, \
            subprocess.Popen([program], stderr=stream) as process:
        identity = wait_for("the window", window_identity)
        item = wait_for("the menu", lambda: quit_item(find_application("Tolvane")))
        time.sleep(1)
        subprocess.run(["xwd", "-silent", "-id", identity, "-out", screenshot], check=True)
        check(colours_of(Path(screenshot).read_bytes()) > 20, f"the window is painted: {screenshot}")
        act(item, "Press")
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
