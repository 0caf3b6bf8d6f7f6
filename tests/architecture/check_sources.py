#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks rules of the tree that a compiler does not check.

    check_sources.py ROOT

A folder includes only itself and the layers below it; an include in quotes is written from the root
and names a file that exists; only ui and app include Qt; and every source names its licence. Prints a
line for each breach and exits with 1 if there is any.
"""
import re
import sys
from pathlib import Path

FOUNDATION = ("base", "async", "http", "plist", "model")
SERVICES = ("repository", "download", "archive_client")
CORE = {*FOUNDATION, *SERVICES, "workflow"}

# What each folder of the product may include besides itself.
BELOW = {
    "base": set(),
    "async": {"base"},
    "http": {"base", "async"},
    "plist": {"base"},
    "model": {"base", "async"},
    **{folder: set(FOUNDATION) for folder in SERVICES},
    "workflow": {*FOUNDATION, *SERVICES},
    "cli": CORE,
    "ui": CORE,
    "app": {*CORE, "ui"},
}
WINDOW_FOLDERS = {"ui", "app"}
# Not part of the product: they may include all of it, and nothing in it may include them.
OUTSIDE = ("tests", "benchmarks")
SCRIPT_FOLDERS = (*BELOW, *OUTSIDE, ".ci", "cmake", "packaging", "scripts")

CODE = {".cpp", ".h"}
CMAKE = {".cmake"}
SCRIPTS = {".py", ".sh"}

INCLUDE = re.compile(r'^\s*#\s*(?:include|include_next|import)\s*(["<])([^">]+)[">]')
QT_HEADER = re.compile(r"^(Q[A-Z]\w*|Qt\w*/.*|q[a-z]\w*\.h)$")
LICENCE = "SPDX-License-Identifier: MIT"
LICENCE_WITHIN_LINES = 2  # a #! line may come first


def is_source(path):
    """Whether the file is code, a CMake file or a script."""
    if path.suffix in CODE | CMAKE | SCRIPTS or path.name == "CMakeLists.txt":
        return True
    if path.suffix:
        return False
    with path.open("rb") as file:  # a script without a suffix
        return file.read(2) == b"#!"


def sources(root):
    """Every source of the tree, as a path below root, in a stable order."""
    for path in sorted(root.glob("*")):
        if path.is_file() and is_source(path):
            yield path.relative_to(root)
    for folder in SCRIPT_FOLDERS:
        for path in sorted((root / folder).rglob("*")):
            if path.is_file() and is_source(path):
                yield path.relative_to(root)


def include_breach(root, file, target):
    """What is wrong with the include of `target` in quotes in `file`, or None."""
    owner, layer = file.parts[0], target.split("/")[0]
    if not (root / target).is_file() or layer not in (*BELOW, *OUTSIDE) or ".." in target.split("/"):
        return f'"{target}" is not the path of a file from the root'
    if owner in BELOW and layer != owner and layer not in BELOW[owner]:
        return f'{owner} may not include "{target}"'
    return None


def may_include_qt(file):
    folder = file.parts[1] if file.parts[0] in OUTSIDE else file.parts[0]
    return folder in WINDOW_FOLDERS


def code_breaches(root, file, lines):
    for number, line in enumerate(lines, 1):
        include = INCLUDE.match(line)
        if not include:
            continue
        quote, target = include.groups()
        breach = include_breach(root, file, target) if quote == '"' else None
        if QT_HEADER.match(target) and not may_include_qt(file):
            breach = f"only ui and app may include Qt: <{target}>"
        if breach:
            yield f"{file}:{number}: {breach}"


def breaches(root):
    """Every breach in the tree, as one line each."""
    for file in sources(root):
        lines = (root / file).read_text(encoding="utf-8").splitlines()
        if not any(LICENCE in line for line in lines[:LICENCE_WITHIN_LINES]):
            yield f'{file}:1: no "{LICENCE}"'
        if file.suffix in CODE:
            yield from code_breaches(root, file, lines)


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: check_sources.py ROOT")
    root = Path(sys.argv[1]).resolve()
    count = sum(1 for _ in sources(root))
    found = list(breaches(root))
    print(*found, sep="\n", end="\n" if found else "")
    print(f"{count} sources, {len(found)} breaches")
    # A tree without sources is a wrong path.
    return 1 if found or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
