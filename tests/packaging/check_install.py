#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks the files of an installation.

    check_install.py CMAKE BUILD_FOLDER VERSION

Installs a finished build into a temporary folder and reads the files as a desktop and the program do:
every file exists and no other, their names and versions agree, and none has a secret. Prints a line for
each fault and exits with 1 if there is any.
"""
import configparser
import os
import plistlib
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree
from pathlib import Path

ID = "example.tolvane.Tolvane"
WINDOW = "bin/tolvane"
CLI = "bin/tolvane-cli"
INFO = "bin/Info.plist"
DESKTOP = f"share/applications/{ID}.desktop"
METAINFO = f"share/metainfo/{ID}.metainfo.xml"
ICON = f"share/icons/hicolor/scalable/apps/{ID}.svg"
FILES = {WINDOW, CLI, INFO, DESKTOP, METAINFO, ICON}


def install(cmake, build, prefix):
    done = subprocess.run([cmake, "--install", build, "--prefix", prefix], text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    if done.returncode != 0:
        sys.exit(f"cmake --install failed:\n{done.stdout}")


def file_faults(prefix):
    found = {str(path.relative_to(prefix)) for path in prefix.rglob("*") if not path.is_dir()}
    yield from (f"{name} is missing" for name in sorted(FILES - found))
    yield from (f"{name} is not expected" for name in sorted(found - FILES))
    for name in sorted(FILES & found):
        if (prefix / name).stat().st_size == 0:
            yield f"{name} is empty"


def program_faults(prefix, version):
    for name in (WINDOW, CLI):
        if not os.access(prefix / name, os.X_OK):
            yield f"{name} is not executable"
    output = subprocess.run([prefix / CLI, "--version"], text=True, stdout=subprocess.PIPE,
                            check=False).stdout.strip()
    if output != f"tolvane-cli {version}":
        yield f'{CLI} --version prints "{output}"'


def info_faults(prefix, version):
    with (prefix / INFO).open("rb") as file:
        info = plistlib.load(file)
    expected = {"CFBundleIdentifier": ID, "CFBundleExecutable": Path(WINDOW).name,
                "CFBundleShortVersionString": version}
    for key, value in expected.items():
        if info.get(key) != value:
            yield f"{INFO} has {info.get(key)!r} under {key}, not {value!r}"
    if not info.get("CFBundleVersion", "").isdigit():
        yield f"{INFO} has no number under CFBundleVersion"
    yield from (f"{INFO} has a key {key}" for key in info if not key.startswith("CFBundle"))


def desktop_faults(prefix, version):
    entry = configparser.ConfigParser(interpolation=None)
    entry.optionxform = str
    entry.read(prefix / DESKTOP)
    section = entry["Desktop Entry"]
    if section["Exec"] != Path(WINDOW).name:
        yield f"{DESKTOP} starts {section['Exec']}"
    if section["Icon"] != Path(ICON).stem:
        yield f"{DESKTOP} shows {section['Icon']}"

    root = ElementTree.parse(prefix / METAINFO).getroot()
    if root.findtext("id") != ID or root.findtext("launchable") != Path(DESKTOP).name:
        yield f"{METAINFO} describes another program"
    if root.find("releases/release").get("version") != version:
        yield f"{METAINFO} has no release {version} at its top"
    if not ElementTree.parse(prefix / ICON).getroot().tag.endswith("svg"):
        yield f"{ICON} is not an SVG image"


def main():
    if len(sys.argv) != 4:
        sys.exit("usage: check_install.py CMAKE BUILD_FOLDER VERSION")
    cmake, build, version = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        prefix = Path(folder)
        install(cmake, build, folder)
        faults = list(file_faults(prefix))
        if not faults:
            for check in (program_faults, info_faults, desktop_faults):
                faults += check(prefix, version)
    print(*faults, sep="\n", end="\n" if faults else "")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
