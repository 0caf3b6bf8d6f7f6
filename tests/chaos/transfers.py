# SPDX-License-Identifier: MIT
"""Faults of a server. First each alone: for an index, for a package with and without size and
digests, and for a metadata file. Then several at random among many packages."""
import functools
import itertools

from faults import ABSENT, EITHER, FAILURE, FAULTS, WHOLE, WRONG
from repository import Repository, small_files

TARGETS = ("sized", "unsized", "index", "metadata")
TITLES = {"sized": "package, size and digests known", "unsized": "package, none known",
          "index": "index", "metadata": "metadata file"}
INDEX = "/Packages"
RELEASE = "/Release"


class Transfers:
    name = "faults"
    share = 0.42

    def __init__(self, context):
        self.context = context
        missing = {fault.needs for fault in FAULTS if fault.needs
                   and not context.program.offers(fault.needs[0])}
        self.faults = [fault for fault in FAULTS if fault.needs not in missing]
        for fault in FAULTS:
            if fault.needs in missing:
                context.skip(f"faults: {fault.name}", f"the program has no {fault.needs[0]}")
        rng = context.rng("faults")
        self.few = {digests: Repository(rng, small_files(rng, 3), digests)
                    for digests in (True, False)}
        self.many = {digests: Repository(rng, small_files(rng, 60), digests)
                     for digests in (True, False)}
        self.single_count = sum(len(fault.only) for fault in self.faults)
        self.table = {}  # (fault, target): its result

    def rounds(self):
        for fault in self.faults:
            for target in fault.only:
                yield functools.partial(self.single, fault=fault, target=target)
        while True:
            yield self.several

    # One fault -----------------------------------------------------------------------------------

    def single(self, attacked, fault, target):
        attacked.labels.append(TITLES[target])
        repository = self.few[target != "unsized"]
        self.context.server.show(repository)
        if target == "index":
            self.single_index(attacked, fault, repository)
        elif target == "metadata":
            self.single_metadata(attacked, fault, repository)
        else:
            package = repository.packages[1]
            run, present = self.disturbed(attacked, {package.path: fault}, repository)
            state = file_state(present.get(package.file), package.data)
            self.note(fault, target, state, run, mentions(run, package))
        attacked.recover(repository, *(["--metadata"] if target == "metadata" else []))

    def note(self, fault, target, state, run, named):
        reason = shorten(named or next(iter(run.complaints), ""))
        how = f", {'named' if named else 'not named'}: {reason}" if reason else ""
        self.table[fault.name, target] = f"{state}, exit {run.code}{how}"

    def single_index(self, attacked, fault, repository):
        server = self.context.server
        server.site = {path: data for path, data in server.site.items() if path != "/Packages.gz"}
        server.faults = {INDEX: fault}
        run = attacked.run("--quiet", *fault.needs)
        self.after_fault(attacked, run)
        verdict = fault.index
        allowed = {WHOLE: (0,), FAILURE: (3,), EITHER: (0, 3), WRONG: (0, 1, 3)}[verdict]
        attacked.expect_status(run, *allowed, *((1,) if fault.spoils else ()))
        if run.code == 0 and verdict in (WHOLE, EITHER):
            attacked.expect_complete(repository.files(metadata=False), repository.files())
        if not fault.spoils:
            attacked.expect_whole_files(repository.files())
        count = len(attacked.present())
        said = shorten(next(iter(run.complaints), ""))
        self.table[fault.name, "index"] = f"{count or 'no'} packages, exit {run.code}" + (
            f": {said}" if said else "")
        delete_wrong(attacked, repository.files())
        server.show(repository)

    def single_metadata(self, attacked, fault, repository):
        server, rng = self.context.server, attacked.rng
        earlier = rng.random() < 0.3  # an older file exists; only a complete one may replace it
        if earlier:
            attacked.run("--metadata", "--quiet")
            (attacked.out / repository.packages[0].file).unlink()
            server.site = server.site | {RELEASE: b"Suite: newer\n" * 99}
        server.faults = {RELEASE: fault}
        run = attacked.run("--metadata", "--quiet", *fault.needs)
        self.after_fault(attacked, run)
        right, old = server.site[RELEASE], repository.metadata["Release"] if earlier else None
        found = attacked.present().get("Release")
        named = next((line for line in run.complaints if "Release" in line), "")
        self.expect_metadata(attacked, fault, (found, right, old), run, named)
        state = "the older one stays" if found and found == old else file_state(found, right)
        self.note(fault, "metadata", state, run, named)
        if fault.spoils:
            delete_wrong(attacked, repository.files())
        elif found not in (None, repository.metadata["Release"]):
            (attacked.out / "Release").unlink()
        server.show(repository)

    @staticmethod
    def expect_metadata(attacked, fault, files, run, named):
        verdict, (found, right, old) = fault.metadata, files
        failed = found == old and run.code == 1 and bool(named)
        kept = found == right and run.code == 0
        outcome = status_text(found, right, run, named), fault.name
        if verdict == WHOLE and not kept:
            attacked.broke("a correct answer is kept", *outcome)
        elif verdict == EITHER and not (kept or failed):
            attacked.broke("metadata: whole or named", *outcome)
        elif verdict == FAILURE and not failed:
            attacked.broke("metadata: whole or named", *outcome)
        elif verdict == ABSENT and (found != old or run.code != 0):
            attacked.broke("metadata: an absent file is no failure", *outcome)
        elif verdict == WRONG and run.code != 0 and not named:
            attacked.broke("a failure is named", *outcome)

    # Several faults ------------------------------------------------------------------------------

    def several(self, attacked):
        """Of 60 packages up to 8 have faults, chosen independently."""
        digests = attacked.rng.random() < 0.5
        attacked.labels.append("several at once")
        repository = self.many[digests]
        target = "sized" if digests else "unsized"
        costly = attacked.rng.random() < 0.1
        fitting = [fault for fault in self.faults if target in fault.only
                   and (costly or not fault.bound and not fault.needs)]
        chosen = attacked.rng.sample(repository.packages, attacked.rng.randint(1, 8))
        self.context.server.show(repository)
        self.disturbed(attacked, {package.path: attacked.rng.choice(fitting) for package in chosen},
                       repository, "--connections", attacked.rng.choice((1, 6, 32)))
        attacked.recover(repository)

    def disturbed(self, attacked, faults, repository, *more):
        """Runs a download with these faults for these paths; returns the run and the files after
        it. Then removes the faults, and deletes wrong files, as a user would."""
        server = self.context.server
        server.faults = faults
        needs = {fault.needs for fault in faults.values()}
        run = attacked.run("--json", "--quiet", *itertools.chain(*needs), *more)
        self.after_fault(attacked, run)
        right = {package.file: package.data for package in repository.packages}
        attacked.expect_counters(run, [], right)
        failures = 0
        for package in repository.packages:
            fault = faults.get(package.path)
            verdict = fault.package if fault else WHOLE
            if any(met.spoils for met in faults.values()):
                verdict = WRONG
            failures += expect_package(attacked, run, package, verdict, repository.digests,
                                       fault.name if fault else "no fault")
        attacked.expect_status(run, 1 if failures else 0)
        server.faults = {}
        present = attacked.present()
        delete_wrong(attacked, right)
        return run, present

    def after_fault(self, attacked, run):
        attacked.expect_message(run)
        attacked.expect_no_hidden_files("a run with faults")
        for path in self.context.server.overrun:
            attacked.broke("every transfer ends", "a file was read without end", path)

    def print_table(self):
        print("| fault | " + " | ".join(TITLES[target] for target in TARGETS) + " |")
        print("|---" * (len(TARGETS) + 1) + "|")
        for fault in self.faults:
            cells = (self.table.get((fault.name, target), "") for target in TARGETS)
            print(f"| {fault.name} | " + " | ".join(cells) + " |")


def expect_package(attacked, run, package, verdict, digests, fault):
    """Checks the result of one package; True if it had to fail, or failed and was allowed to."""
    data = attacked.present().get(package.file)
    named = mentions(run, package)
    whole, failed = data == package.data, data is None
    outcome = status_text(data, package.data, run, named), fault
    if verdict == WHOLE and not whole:
        attacked.broke("a correct answer is kept", *outcome)
    elif verdict in (FAILURE, EITHER) and not (failed or whole and verdict == EITHER):
        attacked.broke("whole files only", *outcome)
    must_be_named = failed or not whole and digests
    if must_be_named and not named:
        attacked.broke("a failure is named", *outcome)
    return must_be_named


def mentions(run, package):
    """The first line on standard error that names the package."""
    names = (package.file, package.identifier, package.path)
    return next((line for line in run.complaints if any(name in line for name in names)), "")


def status_text(found, right, run, named):
    state = file_state(found, right)
    return f"{state}, exit status {run.code}, {'named' if named else 'not named'}"


def file_state(found, right):
    if found is None:
        return "no file"
    if found == right:
        return "whole"
    return "kept, altered" if len(found) == len(right) else \
        f"kept, {len(found)} of {len(right)} bytes"


def delete_wrong(attacked, right):
    for name, data in attacked.present().items():
        if data != right.get(name):
            (attacked.out / name).unlink()


def shorten(text, longest=75):
    text = text.removeprefix("Download failed: ").replace("|", "/").strip()
    return text if len(text) <= longest else text[:longest - 3] + "..."
