# SPDX-License-Identifier: MIT
"""Kills: a signal at a random moment between the start and the usual end of a run.

Half of the rounds run without /proc. Then the program cannot link an unnamed file, and uses hidden
names, as on file systems without unnamed files.
"""
import signal
import time

from program import can_mount, make_folder, mount, unmount
from repository import MB, Repository, small_files

SIGNALS = (signal.SIGKILL, signal.SIGTERM, signal.SIGINT, signal.SIGHUP)


class Kills:
    name = "kills"
    share = 0.28

    def __init__(self, context):
        self.context = context
        rng = context.rng("kills")
        self.repositories = {}  # kind: repository, and how many seconds some of its bodies take
        sizes = small_files(rng, 300) + [rng.randint(1 * MB, 3 * MB) for _ in range(4)]
        mixed = Repository(rng, sizes)
        paths = mixed.package_paths
        slow = {path: rng.uniform(0.01, 0.05) for path in rng.sample(paths, 12)}
        self.repositories["mixed"] = mixed, slow | {path: rng.uniform(0.05, 0.2)
                                                    for path in paths[-4:]}
        self.repositories["burst"] = Repository(rng, small_files(rng, 400)), {}
        self.usual = {}
        if not can_mount():
            context.skip("kills: without unnamed files", "mounting takes root")

    def rounds(self):
        while True:
            yield self.kill

    def kill(self, attacked):
        hide_proc = can_mount() and attacked.rng.random() < 0.5
        attacked.labels.append("without unnamed files" if hide_proc else "with unnamed files")
        kind = attacked.rng.choice(("mixed", "burst"))
        self.prepare_folder(attacked, kind)
        repository, slow = self.repositories[kind]
        self.context.server.show(repository, slow)
        options = self.options(attacked.rng)
        left_over = None  # of the last SIGKILL
        for number in range(attacked.rng.choice((1, 2, 3) if kind == "mixed" else (2, 6, 12))):
            if number and kind == "burst":
                delete_packages(attacked, repository)
            usual = self.usual_seconds(kind, hide_proc)
            left_over = self.strike(attacked, hide_proc, options, usual) or left_over
            attacked.expect_whole_files(repository.files())
        metadata = ["--metadata"] if "--metadata" in options else []
        attacked.recover(repository, *metadata, left_over=left_over)

    @staticmethod
    def prepare_folder(attacked, kind):
        """A burst is saved to a fast disk, so that a signal meets many files in progress."""
        if kind == "burst" and can_mount():
            mount(make_folder(attacked.out), "size=64m")
            attacked.at_end.append(lambda: unmount(attacked.out))

    @staticmethod
    def options(rng):
        options = ["--connections", rng.choice((1, 6, 6, 16, 64))]
        options += rng.choice(([], ["--quiet"], ["--verbose"]))
        return options + rng.choice(([], ["--json"])) + rng.choice(([], [], ["--metadata"]))

    @staticmethod
    def strike(attacked, hide_proc, options, usual):
        """One run that a signal ends at a random moment of its usual time. Returns the hidden file
        that SIGKILL leaves, if any."""
        rng, hidden_before = attacked.rng, attacked.hidden_files()
        first = rng.choice(SIGNALS)
        second = rng.choice((None, None, None, None, first, signal.SIGTERM))
        moment = rng.uniform(0, 1.05) * usual

        def attack(process):
            time.sleep(moment)
            process.send_signal(first)
            if second:
                time.sleep(rng.uniform(0, 0.003))
                process.send_signal(second)

        ignored = first == signal.SIGHUP and second is None and rng.random() < 0.3
        run = attacked.run(*options, attack=attack, hide_proc=hide_proc,
                           ignored=(first,) if ignored else ())
        attacked.labels.append("SIGHUP ignored" if ignored else first.name)
        attacked.expect_status(run, *((0,) if ignored else (0, -first, -(second or first))))
        if run.code == -signal.SIGKILL:
            return next(((path, path.read_bytes()) for path in attacked.hidden_files()
                         if path.parent == attacked.out), None)
        attacked.expect_no_hidden_files(first.name, hidden_before)
        return None

    def usual_seconds(self, kind, hide_proc):
        """How long an undisturbed run takes."""
        if (kind, hide_proc) not in self.usual:
            measured = self.context.new_round(f"kills/usual-{kind}-{int(hide_proc)}")
            self.prepare_folder(measured, kind)
            self.usual[kind, hide_proc] = measured.run("--quiet", hide_proc=hide_proc).seconds
            self.context.close(measured)
        return self.usual[kind, hide_proc]


def delete_packages(attacked, repository):
    for package in repository.packages:
        (attacked.out / package.file).unlink(missing_ok=True)
