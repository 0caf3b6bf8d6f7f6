#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Uses the real program from another process, as a screen reader does.

    use_program.py PROGRAM

Serves a small repository on loopback, starts PROGRAM with its URL, fetches, ticks two rows,
downloads them into a folder and compares the folder byte for byte. Then downloads the rest, of
which one file never ends, and quits in the middle of it. Starts it again, downloads what lacks and
compares the folder once more. Needs a display, a session bus and the accessibility bus.
"""
import contextlib
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
SLOW = "p4_1.deb"


def index():
    stanzas = []
    for name, content in FILES.items():
        stanzas.append(f"Package: {name.split('_')[0]}\nVersion: 1\nFilename: debs/{name}\n"
                       f"Size: {len(content)}\nMD5sum: {hashlib.md5(content).hexdigest()}\n")
    return "\n".join(stanzas).encode()


class Repository(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    stalled = threading.Event()  # a part of the slow file has gone out
    freed = threading.Event()    # the slow file may go out as a whole

    def do_GET(self):  # the base class asks for this name
        name = self.path.rsplit("/", 1)[1]
        content = index() if self.path == "/repo/Packages" else FILES.get(name)
        self.send_response(404 if content is None else 200)
        self.send_header("Content-Length", str(len(content or b"")))
        self.end_headers()
        if name == SLOW and not self.freed.is_set():
            self.wfile.write(content[:10])
            self.stalled.set()
            self.freed.wait()
            return  # to a program that is gone
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


def fetch(window, url):
    status = named(window, "Status", pyatspi.ROLE_LABEL)
    field = named(window, "Repository URL", pyatspi.ROLE_TEXT)
    text = field.queryText()
    check(text.getText(0, text.characterCount) == url, "the URL stands in its field")
    check(status.description == "Enter a repository URL.", "nothing is fetched unasked")
    press(window, "Fetch")
    wait_for("the repository", lambda: status.description == "Found 5 packages.")
    return status


def use(application, window, url, folder):
    status = fetch(window, url)
    table = named(window, "Packages", pyatspi.ROLE_TABLE)
    tick(table, 1)
    tick(table, 3)
    press(window, "Download")
    choose_folder(application, "Download Here", folder)
    wait_for("the end of the run", lambda: status.description.startswith("Finished."))
    check(status.description == "Finished. Downloaded: 2  Verified: 2  Failed: 0  "
          "Validation failed: 0  Skipped: 0", "the status line shows two downloads")
    check(contents(folder) == {n: FILES[n] for n in ("p1_1.deb", "p3_1.deb")},
          "the folder holds the two files, byte for byte")


def quit_in_the_middle(application, window, folder, process):
    press(window, "Missing")
    choose_folder(application, "Scan & Download Missing", folder)
    check(Repository.stalled.wait(PATIENCE), "a file is on its way")
    wait_for("the other files", lambda: len(contents(folder)) == 4)
    act(quit_item(application), "Press")
    check(process.wait(PATIENCE) == 0, "the program quits in the middle of a run")
    whole = {n: c for n, c in FILES.items() if n != SLOW}
    check(contents(folder) == whole, "no half file stays")
    wait_for("the program's end", lambda: find_application("Tolvane") is None)


def go_on(application, window, url, folder, process):
    Repository.freed.set()
    status = fetch(window, url)
    press(window, "Missing")
    choose_folder(application, "Scan & Download Missing", folder)
    wait_for("the end of the run", lambda: status.description.startswith("Finished missing."))
    check(status.description == "Finished missing. Downloaded: 1  Verified: 1  Failed: 0  "
          "Validation failed: 0  Skipped: 0  Already present: 4",
          "the next start downloads what the one before had not")
    check(contents(folder) == FILES, "the folder holds every file, byte for byte")
    act(quit_item(application), "Press")
    check(process.wait(PATIENCE) == 0, "the program quits")


@contextlib.contextmanager
def started(program, url):
    """The program's tree, its window and its process, which is gone at the end."""
    with subprocess.Popen([program, url]) as process:
        try:
            window = main_window("Tolvane")
            yield find_application("Tolvane"), window, process
        finally:
            process.terminate()


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: use_program.py PROGRAM")
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Repository)
    server.daemon_threads = True
    threading.Thread(target=server.serve_forever, daemon=True).start()
    url = f"http://127.0.0.1:{server.server_port}/repo/"
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        with started(sys.argv[1], url) as (application, window, process):
            use(application, window, url, folder)
            quit_in_the_middle(application, window, folder, process)
        with started(sys.argv[1], url) as (application, window, process):
            go_on(application, window, url, folder, process)


if __name__ == "__main__":
    main()
