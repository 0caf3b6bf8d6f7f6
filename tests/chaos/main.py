#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Attacks tolvane-cli as a black box for some time; see scripts/chaos."""
import argparse
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile
import time
from collections import Counter
from pathlib import Path

from certificates import make_certificates
from disks import Disks
from kills import Kills
from limits import Limits
from program import Program, TimeIsUp, make_folder, prepare_own_signals
from rounds import Round
from server import Server
from transfers import Transfers

CATEGORIES = (Kills, Transfers, Disks, Limits)
GRACE = 35  # seconds after the end for a round that is still running
SHOWN = 8  # rounds that are listed for each kind of failure


class Context:
    """What all categories share."""

    def __init__(self, arguments, work, deadline):
        self.seed = arguments.seed
        self.work = work
        self.scratch = make_folder(work / "scratch")
        self.kept = arguments.keep / f"{time.strftime('%Y%m%d-%H%M%S')}-{arguments.seed}"
        self.skipped = {}
        contexts, authority = make_certificates(work / "certificates")
        # Copied, because the program may be rebuilt meanwhile, or other users cannot read it there.
        copy = Path(shutil.copy2(arguments.program, work / "tolvane-cli"))
        shutil.copy2(authority, work / "authority.pem")
        environment = {"PATH": os.environ["PATH"], "HOME": str(self.scratch), "LANG": "C.UTF-8",
                       "SSL_CERT_FILE": str(work / "authority.pem"), "no_proxy": "*"}
        self.program = Program(copy, environment, deadline)
        self.server = Server(contexts)

    def rng(self, name):
        return random.Random(f"{self.seed}/{name}")

    def skip(self, what, why):
        self.skipped[what] = why

    def new_round(self, name):
        return Round(self.program, self.server, name, self.seed, self.work)

    def close(self, ended):
        if ended.problems:
            self.kept.mkdir(parents=True, exist_ok=True)
        ended.finish(self.kept)


def folder_name(round_name):
    return round_name.replace("/", "-")


class Category:
    """The rounds of one kind, their time and their results."""

    def __init__(self, kind, context):
        self.attack = kind(context)
        self.name = kind.name
        self.share = kind.share
        self.context = context
        self.attacks = iter(self.attack.rounds())
        self.count = 0  # the number of the last round
        self.played = 0
        self.seconds = 0.0
        self.labels = Counter()
        self.broken = []  # (name of the round, its problems)

    def play(self, only=None):
        """Plays the next round; False if there is none. With `only`, skips all other rounds."""
        attack = next(self.attacks, None)
        if attack is None:
            self.share = 0
            return False
        self.count += 1
        if only not in (None, self.count):
            return True
        start = time.monotonic()
        attacked = self.context.new_round(f"{self.name}/{self.count}")
        try:
            attack(attacked)
            self.played += 1
            self.labels.update(set(attacked.labels))
        except TimeIsUp:
            attacked.problems.clear()
        finally:
            self.context.close(attacked)
        if attacked.problems:
            self.broken.append((attacked.name, attacked.problems))
        self.seconds += time.monotonic() - start
        return True

    def report(self):
        promises = Counter(promise for _, problems in self.broken
                           for promise in {problem[0] for problem in problems})
        labels = ", ".join(f"{count} {label}" for label, count in sorted(self.labels.items()))
        held = self.played - len(self.broken)
        line = f"{self.name}: {self.played} rounds{labels and f' ({labels})'}, {held} held"
        if promises:
            line += f", {len(self.broken)} broke: " + ", ".join(
                f"{promise} ({count})" for promise, count in promises.most_common())
        yield line
        for promise, _ in promises.most_common():
            yield from self.report_promise(promise)

    def report_promise(self, promise):
        """Of failures that differ only in details or numbers, shows the first."""
        alike = {}
        for name, problems in self.broken:
            for kind, what, detail in problems:
                if kind == promise:
                    alike.setdefault(re.sub(r"\d+", "N", what), []).append((name, what, detail))
        for group in sorted(alike.values(), key=len, reverse=True):
            name, what, detail = group[0]
            rounds = list(dict.fromkeys(name for name, _, _ in group))
            folders = " ".join(map(folder_name, rounds[:SHOWN]))
            yield f"  {promise}, {len(rounds)} rounds: {what}{detail and f' ({detail})'}"
            yield (f"    again: --seed {self.context.seed} --round {name}; kept in "
                   f"{self.context.kept}: {folders}{' ...' if len(rounds) > SHOWN else ''}")


def attack_for(seconds, categories):
    """Always plays the category that is furthest behind its share, until the time is over."""
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        able = [category for category in categories if category.share]
        if not able:
            return
        min(able, key=lambda category: category.seconds / category.share).play()
        show_progress(categories, end - time.monotonic())


def show_progress(categories, left):
    if sys.stderr.isatty():
        counts = ", ".join(f"{category.name} {category.count}" for category in categories)
        print(f"\r{max(left, 0):.0f} s left: {counts} ", end="", file=sys.stderr, flush=True)


def play_again(name, categories):
    """One round of an earlier run with the same seed."""
    wanted, _, number = name.partition("/")
    for category in categories:
        if category.name == wanted:
            while category.count < int(number) and category.play(int(number)):
                pass


def report(context, categories):
    """Prints the results; True if no round failed."""
    for what, why in context.skipped.items():
        print(f"skipped: {what}: {why}")
    for category in categories:
        if category.played:
            print("\n".join(category.report()))
    return not any(category.broken for category in categories)


def parse_arguments():
    parser = argparse.ArgumentParser(prog="scripts/chaos")
    parser.add_argument("--seconds", type=int, default=200,
                        help="no round starts after this time (200)")
    parser.add_argument("--program", type=Path, required=True, help="the program to attack")
    parser.add_argument("--seed", type=int, default=int(time.time()), help="of all random choices")
    parser.add_argument("--round", help="CATEGORY/NUMBER: only this round")
    parser.add_argument("--only", help="only this category")
    parser.add_argument("--table", action="store_true",
                        help="only run each fault of the server alone, and print the results")
    parser.add_argument("--keep", type=Path, default=Path("build/chaos"),
                        help="folder for the files of failed rounds")
    arguments = parser.parse_args()
    arguments.keep = arguments.keep.resolve()
    arguments.program = arguments.program.resolve()
    return arguments


def enter_namespace():
    """Executes itself again in a mount namespace of its own, so that no mount outlives it."""
    alone = ["unshare", "--mount", "--propagation", "private"]
    if "TOLVANE_CHAOS_NAMESPACE" in os.environ or os.geteuid() != 0:
        return
    if subprocess.run([*alone, "true"], capture_output=True, check=False).returncode == 0:
        os.environ["TOLVANE_CHAOS_NAMESPACE"] = "yes"
        os.execvp(alone[0], [*alone, sys.executable, *sys.argv])


def attack(arguments, work):
    deadline = time.monotonic() + (3600 if arguments.table else arguments.seconds) + GRACE
    context = Context(arguments, work, deadline)
    wanted = Transfers.name if arguments.table else arguments.only
    categories = [Category(kind, context) for kind in CATEGORIES if wanted in (None, kind.name)]
    print(f"seed {arguments.seed}, {arguments.program}", flush=True)
    if arguments.round:
        play_again(arguments.round, categories)
    elif arguments.table:
        transfers = categories[0]
        for _ in range(transfers.attack.single_count):
            transfers.play()
        transfers.attack.print_table()
    else:
        attack_for(arguments.seconds, categories)
    return report(context, categories)


def main():
    arguments = parse_arguments()
    enter_namespace()
    prepare_own_signals()
    work = Path(tempfile.mkdtemp(prefix="tolvane-chaos."))
    work.chmod(0o755)
    try:
        held = attack(arguments, work)
    finally:
        shutil.rmtree(work, ignore_errors=True)
    sys.exit(0 if held else 1)


if __name__ == "__main__":
    main()
