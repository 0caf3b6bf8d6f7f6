# SPDX-License-Identifier: MIT
"""One round of an attack, and what it expects of the program.

Expectations are checked against the folder and the server's count of requests; the output of the
program is compared with these.
"""
import json
import random
import shutil
from pathlib import Path

from program import make_folder, status_name

LARGEST_KEPT = 300_000
CRASHES = (-6, -11, -7, -4, -8, 134, 139)
COUNTERS = ("downloaded", "verified", "failed", "validationFailed", "skipped", "alreadyPresent")


class Round:
    """`problems` collects failures: (what was promised, what happened, details)."""

    def __init__(self, program, server, name, seed, work):
        self.program = program
        self.server = server
        self.name = name
        self.rng = random.Random(f"{seed}/{name}")
        self.folder = make_folder(work / name.replace("/", "-"))
        self.out = self.folder / "out"
        self.problems = []
        self.history = []
        self.at_end = []  # functions that undo what the round has set up
        self.labels = []  # under which the report counts this round

    def broke(self, promise, what, detail=""):
        """The report groups failures that differ only in details or numbers."""
        self.problems.append((promise, what, detail))

    def arguments(self, *more):
        return ("download", self.server.url, self.out, "--type", "apt", *more)

    def run(self, *more, attack=None, **conditions):
        """Runs a download and checks what holds for all of them."""
        run = self.program.run(self.arguments(*more), self.folder, attack, **conditions)
        self.history.append(run)
        if run.hung:
            self.broke("no hang", "still running after a minute")
        if run.code in CRASHES:
            self.broke("no crash", f"{status_name(run.code)}: {last_line(run.errors)}",
                       " ".join(map(str, conditions.get("limits", ()))))
        return run

    def expect_status(self, run, *allowed):
        if run.hung or run.code in CRASHES or run.code in allowed:
            return
        wanted = " or ".join(dict.fromkeys(map(status_name, allowed)))
        self.broke("exit status", f"{status_name(run.code)} and not {wanted}",
                   last_line(run.errors))

    def expect_message(self, run):
        """For runs with --quiet, which print only warnings and errors."""
        if run.code not in (0, *CRASHES) and not run.hung and not run.errors.strip():
            self.broke("a message", f"{status_name(run.code)} without a message on standard error")

    # Files ---------------------------------------------------------------------------------------

    def present(self):
        """The bytes of each file below the folder, except hidden ones."""
        found = [path for path in walk(self.out) if not is_hidden(path)]
        return {str(path.relative_to(self.out)): path.read_bytes() for path in found}

    def expect_whole_files(self, expected):
        """Every file is, byte for byte, one of the server."""
        for name, data in self.present().items():
            if name not in expected:
                self.broke("whole files only", f"{len(data)} bytes, not of the server", name)
            elif data != expected[name]:
                self.broke("whole files only", describe(data, expected[name]), name)

    def expect_complete(self, required, allowed):
        present = self.present()
        missing = sorted(name for name in required if name not in present)
        if missing:
            self.broke("completion", f"{len(missing)} of {len(required)} are missing",
                       " ".join(missing[:6]))
        self.expect_whole_files(allowed)

    def identities(self, names):
        """Inode and modification time, which change when a file is written or replaced."""
        paths = [self.out / name for name in names if (self.out / name).exists()]
        return {path.name: (path.stat().st_ino, path.stat().st_mtime_ns) for path in paths}

    def hidden_files(self):
        """Temporary files of the program, in the folder or above it, where it creates those for a
        folder that does not exist yet."""
        return [path for path in walk(self.folder) if is_hidden(path)]

    def expect_no_hidden_files(self, when, allowed=()):
        hidden = [path for path in self.hidden_files() if path not in allowed]
        if hidden:
            size = hidden[0].stat().st_size
            self.broke("no hidden file left", f"{len(hidden)} after {when}",
                       f"{hidden[0].name}, {size} bytes")

    # Counters ------------------------------------------------------------------------------------

    def expect_counters(self, run, before, packages):
        """Checks the --json output of a run that ended by itself with 0 or 1. `before` has the
        names of the packages that were present; `packages` maps each name to the correct bytes."""
        if run.code not in (0, 1) or run.hung:
            return
        try:
            counters = json.loads(run.output)
            values = {name: counters[name] for name in COUNTERS}
        except (ValueError, KeyError, TypeError) as error:
            if run.code == 0 or run.output.strip():
                self.broke("counters", f"no object with all counters: {error!r}")
            return
        present = self.present()
        arrived = [name for name in packages if name in present and name not in before]
        whole = sum(present[name] == packages[name] for name in arrived)
        faults = counter_faults(values, len(packages), len(before), whole, len(arrived), run.code)
        failures = counters.get("failures")
        if failures is not None and len(failures) != values["failed"]:
            faults = [*faults, f"{len(failures)} failures are listed"]
        for text in faults:
            self.broke("counters", text, str(values))

    # The runs afterwards -------------------------------------------------------------------------

    def recover(self, repository, *more, left_over=None):
        """The next, undisturbed run completes the folder, and a third transfers nothing.
        `left_over`, a hidden file of a killed run (path and bytes), is restored between the two."""
        packages = {package.file: package.data for package in repository.packages}
        before = [name for name in self.present() if name in packages]
        run = self.run("--json", "--quiet", *more)
        self.expect_status(run, 0)
        self.expect_complete(repository.files(metadata="--metadata" in more), repository.files())
        self.expect_no_hidden_files("the next complete run")
        self.expect_counters(run, before, packages)
        if left_over:
            path, data = left_over
            path.write_bytes(data)
        self.rest(repository, packages)

    def rest(self, repository, packages):
        """A run with nothing to do."""
        identities = self.identities(packages)
        self.server.forget()
        run = self.run("--json", "--quiet")
        self.expect_status(run, 0)
        asked = self.server.asked_for(repository.package_paths)
        if asked or identities != self.identities(packages):
            self.broke("the third run transfers nothing", f"{len(asked)} packages were requested")
        self.expect_no_hidden_files("a run with nothing to do")
        self.expect_counters(run, list(packages), packages)

    # The end -------------------------------------------------------------------------------------

    def finish(self, kept):
        """Removes the files of the round. Of a failed round keeps the files that are not complete,
        except large ones, and a report that lists all files."""
        if self.problems:
            whole = set(self.server.site.values())
            shutil.copytree(self.folder, kept / self.folder.name, ignore=lambda folder, names: {
                name for name in names if is_large_or_among(Path(folder) / name, whole)})
            self.write_report(kept / self.folder.name / "report.txt")
        for take_down in self.at_end:
            take_down()
        shutil.rmtree(self.folder)

    def write_report(self, path):
        report = [f"broke: {promise}: {what} ({detail})" for promise, what, detail in self.problems]
        for number, run in enumerate(self.history, 1):
            report += [f"run {number}: {' '.join(run.command)}",
                       f"  {status_name(run.code)} after {run.seconds:.2f} s",
                       *(f"  out: {line}" for line in run.output.splitlines()),
                       *(f"  err: {line}" for line in run.errors.splitlines()[-200:])]
        report += [f"file: {found.relative_to(self.folder)}, {found.stat().st_size} bytes"
                   for found in sorted(walk(self.folder))]
        path.write_text("\n".join(report) + "\n")


def counter_faults(values, total, present, whole, arrived, code):
    """`present` packages existed before, and `arrived` are new, of which `whole` are correct."""
    ended = sum(values[name] for name in ("downloaded", "failed", "skipped", "alreadyPresent"))
    if any(not isinstance(value, int) or value < 0 for value in values.values()):
        yield "not all are counts"
    elif ended != total:
        yield f"of {total} packages {ended} have an outcome"
    elif values["alreadyPresent"] != present:
        yield f"{present} were present before"
    elif values["verified"] > values["downloaded"] or values["validationFailed"] > values["failed"]:
        yield "a part exceeds its sum"
    elif not whole <= values["downloaded"] <= arrived:
        yield f"{arrived} files are new, {whole} of them correct"
    elif values["failed"] and code == 0:
        yield "failures, and exit status 0"


def walk(folder):
    return [path for path in folder.rglob("*") if path.is_file()] if folder.exists() else []


def is_large_or_among(path, contents):
    if not path.is_file():
        return False
    return path.stat().st_size > LARGEST_KEPT or path.read_bytes() in contents


def is_hidden(path):
    return path.name.startswith(".tolvane-")


def last_line(text):
    lines = text.strip().splitlines()
    return lines[-1][:200] if lines else "standard error is empty"


def describe(data, right):
    if len(data) != len(right):
        return f"{len(data)} of {len(right)} bytes"
    return f"other bytes than the server, {len(right)} of them"
