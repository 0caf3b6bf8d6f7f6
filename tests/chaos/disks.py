# SPDX-License-Identifier: MIT
"""Disks that are full, have no inode for another file, or are read-only."""
import subprocess

from program import can_mount, make_folder, mount, remount, restricted, unmount
from repository import KB, Repository, small_files


class Disks:
    name = "disks"
    share = 0.1

    def __init__(self, context):
        self.context = context
        rng = context.rng("disks")
        self.repository = Repository(rng, small_files(rng, 50))
        if not can_mount():
            context.skip("disks: full ones", "mounting takes root")

    def rounds(self):
        attacks = [self.read_only_folder]
        if can_mount():
            attacks += [self.full, self.full, self.no_inodes, self.full_for_metadata,
                        self.read_only_disk]
        while True:
            yield from attacks

    def disk(self, attacked, options):
        """Mounts a file system of its own on the round's folder."""
        self.context.server.show(self.repository)
        mount(make_folder(attacked.out), options)
        attacked.at_end.append(lambda: unmount(attacked.out))

    def full(self, attacked):
        size = attacked.rng.randint(60, 900)
        self.disk(attacked, f"size={size}k")
        attacked.labels.append("full")
        self.fill(attacked, "No space left on device", "size=64m")

    def no_inodes(self, attacked):
        self.disk(attacked, f"size=64m,nr_inodes={attacked.rng.randint(3, 45)}")
        attacked.labels.append("no inodes")
        self.fill(attacked, "No space left on device", "nr_inodes=1000")

    def fill(self, attacked, words, relief):
        more = attacked.rng.choice(([], ["--metadata"]))
        run = attacked.run("--json", "--quiet", "--connections", attacked.rng.choice((1, 6, 32)),
                           *more, hide_proc=attacked.rng.random() < 0.5)
        self.after(attacked, run, words)
        if more:
            self.expect_named_metadata(attacked, run)
        remount(attacked.out, relief)
        attacked.recover(self.repository, *more)

    def full_for_metadata(self, attacked):
        """All packages are present, and the disk has no room for the metadata."""
        self.disk(attacked, "size=64m")
        attacked.labels.append("full for metadata")
        attacked.run("--quiet")
        filler = attacked.out / "filler"
        fill_up(filler, attacked.out)
        run = attacked.run("--metadata", "--quiet")
        attacked.expect_status(run, 1)
        filler.unlink()
        attacked.expect_whole_files(self.repository.files())
        attacked.expect_no_hidden_files("a full disk")
        self.expect_named_metadata(attacked, run)
        attacked.recover(self.repository, "--metadata")

    def expect_named_metadata(self, attacked, run):
        present = attacked.present()
        unnamed = [path for path in self.repository.metadata if path not in present
                   and not any(path in line for line in run.complaints)]
        if unnamed:
            attacked.broke("a failure is named", f"{', '.join(unnamed)} are missing and in no line")

    def read_only_disk(self, attacked):
        self.disk(attacked, "size=64m")
        attacked.labels.append("read-only disk")
        self.refuse(attacked, lambda: remount(attacked.out, "ro"),
                    lambda: remount(attacked.out, "rw"), "Read-only file system")

    def read_only_folder(self, attacked):
        self.context.server.show(self.repository)
        make_folder(attacked.out)
        attacked.labels.append("read-only folder")
        self.refuse(attacked, lambda: attacked.out.chmod(0o555),
                    lambda: attacked.out.chmod(0o755), "Permission denied")

    def refuse(self, attacked, close, reopen, words):
        close()
        probe = subprocess.run(restricted((), "touch", str(attacked.out / "probe")),
                               capture_output=True, check=False)
        if probe.returncode == 0:
            self.context.skip("disks: read-only", "an ordinary user can write there")
            reopen()
            (attacked.out / "probe").unlink()
            return
        more = attacked.rng.choice(([], ["--metadata"]))
        run = attacked.run("--json", "--quiet", *more)
        reopen()
        self.after(attacked, run, words)
        if attacked.present():
            attacked.broke("whole files only", "there are files in a read-only folder")
        attacked.recover(self.repository, *more)

    def after(self, attacked, run, words):
        attacked.expect_status(run, 1)
        attacked.expect_message(run)
        if run.code == 1 and words not in run.errors:
            attacked.broke("a message", f"exit status 1 without the message: {words}")
        attacked.expect_whole_files(self.repository.files())
        attacked.expect_no_hidden_files("a full or read-only disk")
        packages = {package.file: package.data for package in self.repository.packages}
        attacked.expect_counters(run, [], packages)


def fill_up(filler, folder):
    """Fills the disk of the folder completely."""
    with filler.open("wb", buffering=0) as file:
        for step in (64 * KB, 512, 1):
            try:
                while True:
                    file.write(bytes(step))
            except OSError:
                pass
