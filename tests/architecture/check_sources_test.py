#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tests check_sources.py on small trees, with and without a breach of each kind."""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from check_sources import BELOW, FOUNDATION, SERVICES, breaches

SPDX = "// SPDX-License-Identifier: MIT\n"


class Scanner(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        for layer in (*BELOW, "tests/support"):
            self.write(f"{layer}/Thing.h", "#pragma once\n#include <string>\n")

    def write(self, path, text, licence=SPDX):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(licence + text, encoding="utf-8")

    def found(self):
        return list(breaches(self.root))

    def assert_allowed(self, file, include):
        self.write(file, f"#include {include}\n")
        self.assertEqual(self.found(), [], f"{file} includes {include}")
        (self.root / file).unlink()

    def assert_forbidden(self, file, include):
        self.write(file, f"#include {include}\n")
        found = self.found()
        self.assertEqual(len(found), 1, f"{file} includes {include}: {found}")
        self.assertTrue(found[0].startswith(f"{file}:2: "), found[0])
        (self.root / file).unlink()

    def test_a_folder_may_include_itself_and_the_layers_below_it(self):
        self.assert_allowed("base/New.cpp", '"base/Thing.h"')
        self.assert_allowed("http/New.cpp", '"async/Thing.h"')
        self.assert_allowed("plist/New.cpp", '"base/Thing.h"')
        self.assert_allowed("model/New.cpp", '"async/Thing.h"')
        for service in SERVICES:
            for layer in FOUNDATION:
                self.assert_allowed(f"{service}/New.h", f'"{layer}/Thing.h"')
            self.assert_allowed("workflow/New.cpp", f'"{service}/Thing.h"')
        self.assert_allowed("cli/New.cpp", '"workflow/Thing.h"')
        self.assert_allowed("ui/New.cpp", '"workflow/Thing.h"')
        self.assert_allowed("app/New.cpp", '"ui/Thing.h"')

    def test_a_folder_may_not_include_a_layer_above_it(self):
        self.assert_forbidden("base/New.h", '"model/Thing.h"')
        self.assert_forbidden("base/New.h", '"async/Thing.h"')
        self.assert_forbidden("async/New.h", '"http/Thing.h"')
        self.assert_forbidden("model/New.h", '"repository/Thing.h"')
        self.assert_forbidden("download/New.cpp", '"workflow/Thing.h"')
        self.assert_forbidden("workflow/New.cpp", '"cli/Thing.h"')
        self.assert_forbidden("workflow/New.cpp", '"ui/Thing.h"')
        self.assert_forbidden("ui/New.cpp", '"app/Thing.h"')

    def test_plist_and_model_may_not_include_http(self):
        for folder in ("plist", "model"):
            self.assert_forbidden(f"{folder}/New.h", '"http/Thing.h"')
        self.assert_forbidden("plist/New.h", '"async/Thing.h"')
        self.assert_forbidden("http/New.h", '"plist/Thing.h"')

    def test_repository_download_and_archive_client_may_not_include_each_other(self):
        for owner in SERVICES:
            for other in SERVICES:
                if owner != other:
                    self.assert_forbidden(f"{owner}/New.cpp", f'"{other}/Thing.h"')

    def test_cli_and_ui_may_not_include_each_other(self):
        self.assert_forbidden("cli/New.cpp", '"ui/Thing.h"')
        self.assert_forbidden("ui/New.cpp", '"cli/Thing.h"')
        self.assert_forbidden("app/New.cpp", '"cli/Thing.h"')

    def test_the_product_may_not_include_tests_and_tests_may_include_the_product(self):
        self.assert_forbidden("base/New.cpp", '"tests/support/Thing.h"')
        for folder in BELOW:
            self.assert_allowed("tests/support/New.cpp", f'"{folder}/Thing.h"')

    def test_an_include_not_written_from_the_root_is_reported(self):
        self.assert_forbidden("base/New.cpp", '"Thing.h"')
        self.assert_forbidden("model/New.cpp", '"../base/Thing.h"')
        self.assert_forbidden("model/New.cpp", '"base/../model/Thing.h"')
        self.assert_forbidden("tests/support/New.cpp", '"Thing.h"')

    def test_an_include_of_a_file_that_does_not_exist_is_reported(self):
        self.assert_forbidden("model/New.cpp", '"base/Absent.h"')

    def test_the_rules_of_a_folder_hold_in_its_subfolders(self):
        self.assert_forbidden("base/deeper/New.cpp", '"model/Thing.h"')

    def test_only_ui_and_app_and_their_tests_may_include_qt(self):
        for header in ("<QString>", "<QtWidgets/QWidget>", "<qglobal.h>", '"QString"'):
            self.assert_forbidden("base/New.cpp", header)
        self.assert_forbidden("workflow/New.cpp", "<QObject>")
        self.assert_forbidden("cli/New.cpp", "<QObject>")
        self.assert_forbidden("tests/cli/New.cpp", "<QObject>")
        self.assert_allowed("ui/New.cpp", "<QString>")
        self.assert_allowed("app/New.cpp", "<QApplication>")
        self.assert_allowed("tests/ui/New.cpp", "<QTest>")

    def test_an_include_with_extra_blanks_is_found(self):
        self.write("base/New.h", '  #  include   "model/Thing.h"\n')
        self.assertEqual(self.found(), ['base/New.h:2: base may not include "model/Thing.h"'])

    def test_a_source_of_any_language_without_a_licence_is_reported(self):
        self.write("base/New.cpp", "", licence="")
        self.write("base/CMakeLists.txt", "", licence="# no licence\n")
        self.write("scripts/new", "", licence="#!/bin/sh\n")
        self.write("cmake/New.cmake", "", licence="")
        self.assertEqual(
            [line.split(":")[0] for line in self.found()],
            ["base/CMakeLists.txt", "base/New.cpp", "cmake/New.cmake", "scripts/new"],
        )

    def test_a_file_that_is_not_a_source_needs_no_licence(self):
        self.write("scripts/sample/packages.txt", "", licence="name version\n")
        self.assertEqual(self.found(), [])

    def test_the_exit_status_is_1_with_a_breach_and_0_without(self):
        command = [sys.executable, str(Path(__file__).with_name("check_sources.py")), self.root]
        self.assertEqual(subprocess.run(command, capture_output=True).returncode, 0)
        self.write("base/New.h", '#include "model/Thing.h"\n')
        run = subprocess.run(command, capture_output=True, text=True)
        self.assertEqual(run.returncode, 1)
        self.assertIn('base/New.h:2: base may not include "model/Thing.h"', run.stdout)

    def test_a_folder_without_sources_is_an_error(self):
        with tempfile.TemporaryDirectory() as empty:
            command = [sys.executable, str(Path(__file__).with_name("check_sources.py")), empty]
            self.assertEqual(subprocess.run(command, capture_output=True).returncode, 1)


if __name__ == "__main__":
    unittest.main()
