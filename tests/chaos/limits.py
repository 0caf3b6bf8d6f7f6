# SPDX-License-Identifier: MIT
"""Limits of an ordinary user: open files, memory, processes (which count threads) and file size.

Each kind is tried on a small program first. If the limit has no effect on it, the kind is skipped
and the report says so.
"""
import functools
import itertools
import os
import subprocess
from pathlib import Path

from program import IS_ROOT, ORDINARY_USER, restricted
from repository import Repository, small_files

ENOUGH_FILES = 30  # with this limit every package is downloaded
OPEN_FILES = (16, 20, 24, 30, 40, 64, 100, 256)
MEMORY = tuple(range(40, 800, 20))  # in MB
PROCESSES = tuple(range(1, 31))  # in addition to those that the user runs already
FILE_SIZE = 10_000
VALUES = {"nofile": OPEN_FILES, "as": MEMORY, "nproc": PROCESSES, "fsize": (FILE_SIZE,)}
UNLOADABLE = "error while loading shared libraries"  # of the loader, before the program runs


class Limits:
    name = "limits"
    share = 0.2

    def __init__(self, context):
        self.context = context
        rng = context.rng("limits")
        self.repository = Repository(rng, small_files(rng, 120))
        self.kinds = [kind for kind in ("nofile", "as", "nproc", "fsize") if self.has_effect(kind)]

    def has_effect(self, kind):
        """Whether the small program fails under the limit, and only then."""
        limit, *program = PROBES[kind]
        failures = [subprocess.run(restricted(limits, *program), capture_output=True, check=False,
                                   cwd=self.context.scratch).returncode != 0
                    for limits in ((), options({kind: limit}))]
        if failures != [False, True]:
            self.context.skip(f"limits: {kind}", "the limit has no effect")
        return failures == [False, True]

    def rounds(self):
        """A few values of each kind first, so that a short run covers all kinds."""
        few = VALUES | {"as": MEMORY[::4], "nproc": PROCESSES[::3]}
        for values in itertools.zip_longest(*(few[kind] for kind in self.kinds)):
            for kind, value in zip(self.kinds, values):
                if value:
                    yield functools.partial(self.attack, limits={kind: value})
        while self.kinds:
            yield self.combination

    def combination(self, attacked):
        count = min(len(self.kinds), attacked.rng.choice((1, 1, 2, 3)))
        kinds = attacked.rng.sample(self.kinds, count)
        self.attack(attacked, {kind: attacked.rng.choice(VALUES[kind]) for kind in kinds})

    def attack(self, attacked, limits):
        attacked.labels.append(" and ".join(sorted(limits)))
        self.context.server.show(self.repository)
        more = attacked.rng.choice(([], [], ["--metadata"]))
        connections = attacked.rng.choice((6, 32))
        run = attacked.run("--json", "--quiet", "--connections", connections, *more,
                           limits=options(limits))
        if not (run.code == 127 and UNLOADABLE in run.errors):
            self.judge(attacked, run, limits, more)
        attacked.expect_whole_files(self.repository.files())
        attacked.expect_no_hidden_files("a run under limits")
        attacked.recover(self.repository, *more)

    def judge(self, attacked, run, limits, more):
        plenty = set(limits) == {"nofile"} and limits["nofile"] >= ENOUGH_FILES
        fitting = [package for package in self.repository.packages
                   if "fsize" not in limits or len(package.data) <= limits["fsize"]]
        if plenty:
            attacked.expect_status(run, 0)
        elif set(limits) == {"fsize"}:
            attacked.expect_status(run, 1)
        else:
            attacked.expect_status(run, 0, 1, 3)
        attacked.expect_message(run)
        present = attacked.present()
        if run.code == 0 or plenty or set(limits) == {"fsize"}:
            lacking = [package.file for package in fitting if package.file not in present]
            if lacking:
                attacked.broke("every package that fits is downloaded",
                               f"{len(lacking)} of {len(fitting)} are missing: "
                               f"{' '.join(run.complaints[:1])}")
        packages = {package.file: package.data for package in self.repository.packages}
        attacked.expect_counters(run, [], packages)


def options(limits):
    """Options of prlimit(1), for the soft and the hard limit."""
    values = dict(limits)
    if "as" in values:
        values["as"] *= 1_000_000
    if "nproc" in values:
        values["nproc"] += running_threads()
    return tuple(f"--{kind}={value}:{value}" for kind, value in values.items())


def running_threads():
    """How many threads the ordinary user runs."""
    user = ORDINARY_USER if IS_ROOT else os.getuid()
    return sum(threads_of(process, user) for process in Path("/proc").glob("[0-9]*"))


def threads_of(process, user):
    try:
        fields = dict(line.split(":", 1) for line in (process / "status").read_text().splitlines())
    except (OSError, ValueError):  # it has ended
        return 0
    return int(fields["Threads"]) if int(fields["Uid"].split()[0]) == user else 0


# For each kind a limit, and a small program that exceeds it.
PROBES = {
    "nofile": (30, "bash", "-c", "exec 40</dev/null"),
    "as": (100, "dd", "if=/dev/zero", "of=/dev/null", "bs=200M", "count=1"),
    "nproc": (1, "sh", "-c", "(exit 0) && (exit 0)"),
    "fsize": (FILE_SIZE, "dd", "if=/dev/zero", "of=probe", "bs=20000", "count=1"),
}
