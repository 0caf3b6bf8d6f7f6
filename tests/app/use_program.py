#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Uses the real program from another process, as a screen reader does.

    use_program.py PROGRAM

Serves a small repository on loopback, starts PROGRAM with its URL, fetches, ticks two rows,
downloads them into a folder and compares the folder byte for byte. Then downloads the rest, of
which one file never ends, and quits in the middle of it. Needs a display, a session bus and the
accessibility bus.
"""
import hashlib
import http.server
import subprocess
import sys
import tempfile
import threading
from pathlib import Path

import pyatspi

from accessible import (PATIENCE, act, check, find_application, main_window, named, press,
                        quit_item, tick, wait_for)

FILES = {f"p{i}_1.deb": bytes([65 + i]) * (1000 * i + 1) for i in range(5)}
ENDLESS = "p4_1.deb"


def index():
    stanzas = []
    for name, content in FILES.items():
        stanzas.append(f"Package: {name.split('_')[0]}\nVersion: 1\nFilename: debs/{name}\n"
                       f"Size: {len(content)}\nMD5sum: {hashlib.md5(content).hexdigest()}\n")
    return "\n".join(stanzas).encode()


class Repository(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    stalled = threading.Event()

    def do_GET(self):  # the base class asks for this name
        name = self.path.rsplit("/", 1)[1]
        content = index() if self.path == "/repo/Packages" else FILES.get(name)
        self.send_response(404 if content is None else 200)
        self.send_header("Content-Length", str(len(content or b"")))
        self.end_headers()
        if name == ENDLESS:
            self.wfile.write(content[:10])
            self.stalled.set()
            threading.Event().wait()
        self.wfile.write(content or b"")

    def log_message(self, format, *args):
        pass


def choose_folder(application, prompt, folder):
    button = wait_for("the folder dialog", lambda: named(application, prompt,
                                                         pyatspi.ROLE_PUSH_BUTTON))
    dialog = button
    while dialog.getRole() not in (pyatspi.ROLE_DIALOG, pyatspi.ROLE_FILE_CHOOSER):
        dialog = dialog.parent
    field = pyatspi.findDescendant(
        dialog, lambda a: a.getRole() == pyatspi.ROLE_TEXT
        and a.getState().contains(pyatspi.STATE_EDITABLE))
    field.queryEditableText().setTextContents(str(folder))
    press(dialog, prompt)


def contents(folder):
    return {p.name: p.read_bytes() for p in folder.iterdir()}


def use(application, window, url, folder):
    status = named(window, "Status", pyatspi.ROLE_LABEL)
    field = named(window, "Repository URL", pyatspi.ROLE_TEXT)
    text = field.queryText()
    check(text.getText(0, text.characterCount) == url, "the URL stands in its field")
    check(status.description == "Enter a repository URL.", "nothing is fetched unasked")

    press(window, "Fetch")
    wait_for("the repository", lambda: status.description == "Found 5 packages.")
    table = named(window, "Packages", pyatspi.ROLE_TABLE)
    tick(table, 1)
    tick(table, 3)
    press(window, "Download")
    choose_folder(application, "Download Here", folder)
    wait_for("the end of the run", lambda: status.description.startswith("Finished."))
    check(status.description == "Finished. Downloaded: 2  Verified: 2  Failed: 0  "
          "Validation failed: 0  Skipped: 0", "the status line tells of two downloads")
    check(contents(folder) == {n: FILES[n] for n in ("p1_1.deb", "p3_1.deb")},
          "the folder holds the two files, byte for byte")


def quit_in_the_middle(application, window, folder, process):
    press(window, "Missing")
    choose_folder(application, "Scan & Download Missing", folder)
    check(Repository.stalled.wait(PATIENCE), "a file is on its way")
    wait_for("the other files", lambda: len(contents(folder)) == 4)
    act(quit_item(application), "Press")
    check(process.wait(PATIENCE) == 0, "the program quits in the middle of a run")
    whole = {n: c for n, c in FILES.items() if n != ENDLESS}
    check(contents(folder) == whole, "no half file stays")


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: use_program.py PROGRAM")
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Repository)
    server.daemon_threads = True
    threading.Thread(target=server.serve_forever, daemon=True).start()
    url = f"http://127.0.0.1:{server.server_port}/repo/"
    with tempfile.TemporaryDirectory() as folder, \
            subprocess.Popen([sys.argv[1], url]) as process:
        try:
            window = main_window("Tolvane")
            application = find_application("Tolvane")
            use(application, window, url, Path(folder))
            quit_in_the_middle(application, window, Path(folder), process)
        finally:
            process.terminate()


if __name__ == "__main__":
    main()
