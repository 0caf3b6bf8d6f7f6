# SPDX-License-Identifier: MIT
"""Runs the attacked program: as an ordinary user, under limits, for a minute at most."""
import contextlib
import os
import re
import signal
import subprocess
import sys
import threading
import time
from dataclasses import dataclass
from pathlib import Path

WATCHDOG = 60  # seconds that a run may take; a longer one counts as a hang
ORDINARY_USER = 65534
IS_ROOT = os.geteuid() == 0
WITHOUT_PROC = ("unshare", "--mount", "sh", "-c", 'mount -t tmpfs none /proc && exec "$@"', "sh")
AS_ORDINARY_USER = ("setpriv", "--reuid", str(ORDINARY_USER), "--regid", str(ORDINARY_USER),
                    "--clear-groups") if IS_ROOT else ()


class TimeIsUp(Exception):
    """The time of the attack is over; the run that was still running is not a hang."""


@dataclass
class Run:
    command: list
    code: int  # exit status, or the negative number of the signal that killed it
    hung: bool
    seconds: float
    output: str
    errors: str

    @property
    def complaints(self):
        """Standard error without time stamps."""
        return [re.sub(r"^\[\d\d:\d\d:\d\d\] ", "", line) for line in self.errors.splitlines()]


@dataclass
class Program:
    path: Path
    environment: dict
    deadline: float  # of time.monotonic(), for the whole of the attack

    def offers(self, option):
        run = subprocess.run([self.path, "download", "--help"], capture_output=True, text=True,
                             check=False)
        return re.search(rf"(^|\s|,){option}\b", run.stdout) is not None

    def run(self, arguments, folder, attack=None, ignored=(), hide_proc=False, limits=()):
        """`attack` is called with the running process, `ignored` are signals that it is started to
        ignore, `limits` options of prlimit(1)."""
        command = [*(WITHOUT_PROC if hide_proc else ()),
                   *restricted(limits, str(self.path), *map(str, arguments))]
        with ignoring(ignored):
            return self._run(command, folder, attack)

    def _run(self, command, folder, attack):
        start = time.monotonic()
        # Through pipes, because a limit of file size would apply to output files too.
        with subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, env=self.environment, cwd=folder,
                              start_new_session=True) as process:
            output, errors = Reader(process.stdout), Reader(process.stderr)
            if attack:
                attack(process)
            left = max(self.deadline - time.monotonic(), 0)
            hung = wait(process, min(WATCHDOG, left))
            if hung and left < WATCHDOG:
                raise TimeIsUp
            seconds = time.monotonic() - start
            return Run(command, process.returncode, hung, seconds, output.text(), errors.text())


def restricted(limits, *command):
    """The command line that runs `command` as an ordinary user under options of prlimit(1)."""
    return [*AS_ORDINARY_USER, *(("prlimit", *limits) if limits else ()), *command]


@contextlib.contextmanager
def ignoring(signals):
    """A process that is started meanwhile ignores these signals."""
    former = {number: signal.signal(number, signal.SIG_IGN) for number in signals}
    try:
        yield
    finally:
        for number, handler in former.items():
            signal.signal(number, handler)


def wait(process, seconds):
    """True if the process had to be killed."""
    try:
        process.wait(seconds)
        return False
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()
        return True


class Reader(threading.Thread):
    """Reads a pipe, so that the program never blocks on it."""

    def __init__(self, pipe):
        super().__init__(daemon=True)
        self.pipe = pipe
        self.data = b""
        self.start()

    def run(self):
        self.data = self.pipe.read()

    def text(self):
        self.join(WATCHDOG)
        return self.data.decode("utf-8", errors="replace")


def status_name(code):
    return f"exit status {code}" if code >= 0 else f"death by {signal.Signals(-code).name}"


def prepare_own_signals():
    """Cleans up on these signals. Also undoes that a parent process ignores some of them, which the
    program would inherit."""
    for number in (signal.SIGHUP, signal.SIGINT, signal.SIGTERM):
        signal.signal(number, lambda received, _: sys.exit(128 + received))


def make_folder(path, mode=0o755):
    """A folder that an ordinary user can use."""
    path.mkdir(parents=True)
    path.chmod(mode)
    if IS_ROOT:
        os.chown(path, ORDINARY_USER, ORDINARY_USER)
    return path


def mount(folder, options):
    """Mounts a file system in memory. It ends with the mount namespace, which is our own."""
    owner = f"uid={ORDINARY_USER},gid={ORDINARY_USER}"
    subprocess.run(["mount", "-t", "tmpfs", "-o", f"{options},{owner}", "none", folder], check=True)


def remount(folder, options):
    subprocess.run(["mount", "-o", f"remount,{options}", folder], check=True)


def unmount(folder):
    subprocess.run(["umount", "--lazy", folder], check=True)


def can_mount():
    """Whether this process has a mount namespace of its own (see main.py)."""
    return "TOLVANE_CHAOS_NAMESPACE" in os.environ
