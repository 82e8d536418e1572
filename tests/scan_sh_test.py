#!/usr/bin/env python3
"""scan.sh as somebody uses it who has just cloned the project: what it prints, and its exit codes.

    tests/scan_sh_test.py [unittest arguments]

Run as the stage `scan` of test.sh, behind those that build what it needs.
"""

import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[1]
SCRIPT = ROOT / "scan.sh"
SAMPLES = ROOT / "build/windows/bin/plugins/samples"


def run(*arguments, script=SCRIPT, folder=ROOT):
    return subprocess.run(
        [str(script), *map(str, arguments)],
        cwd=folder,
        stdin=subprocess.DEVNULL,
        capture_output=True,
        encoding="utf-8",
        timeout=300,
        check=False,
    )


def rows(table):
    """The lines of a printed table without what differs from machine to machine: folders, seconds, and the width of
    the column that holds the paths."""
    header, *lines = table.splitlines()
    cut = [re.sub(r"\s+Seconds$", "", header)]
    for line in lines:
        row = re.fullmatch(r"(.*\S) +\d+\.\d\d", line)
        if row is None:
            raise AssertionError(f"no row with its seconds: {line!r}")
        cut.append(re.sub(r"Z:\\.*\\", lambda _: "Z:\\...\\", row[1]))
    return cut


def printed_in_readme():
    text = (ROOT / "README.md").read_text(encoding="utf-8")
    (block,) = re.findall(r"^Of the sample plug-ins it prints this.*\n\n```\n((?:.*\n)*?)```$", text, re.MULTILINE)
    return block


class ScanScript(unittest.TestCase):
    maxDiff = None

    def assert_ended(self, outcome, code):
        self.assertEqual(outcome.returncode, code, outcome.stderr)

    def test_Without_arguments_it_prints_the_table_of_the_README(self):
        outcome = run(script="./scan.sh")
        self.assert_ended(outcome, 0)
        self.assertEqual(outcome.stderr, "")
        self.assertEqual(rows(outcome.stdout), rows(printed_in_readme()))

    def test_A_relative_path_is_one_of_the_callers_folder(self):
        with tempfile.TemporaryDirectory() as folder:
            below = pathlib.Path(folder) / "below"
            below.mkdir()
            shutil.copy(SAMPLES / "Effect.dll", below / "Copied.dll")
            outcome = run("below/Copied.dll", folder=folder)
            self.assert_ended(outcome, 0)
            _, row = rows(outcome.stdout)
            self.assertRegex(row, r"^effect +Plain Effect +VST: 'Efct',Z:\\\.\.\.\\Copied\.dll$")
            self.assertIn(str(below).replace("/", "\\") + "\\Copied.dll", outcome.stdout)

    def test_A_folder_as_JSON(self):
        with tempfile.TemporaryDirectory() as folder:
            for name in ("Effect.dll", "NoEditor.dll"):
                shutil.copy(SAMPLES / name, folder)
            outcome = run("--json", folder)
        self.assert_ended(outcome, 0)
        found = [(entry["verdict"], entry["result"], entry["identifier"]) for entry in json.loads(outcome.stdout)]
        windows = "Z:" + folder.replace("/", "\\") + "\\"
        self.assertEqual(
            found,
            [
                ("reported", "effect", f"VST: 'Efct',{windows}Effect.dll"),
                ("reported", "no editor", f"VST: 0x00000000,{windows}NoEditor.dll"),
            ],
        )

    def test_A_library_that_ends_its_process_ends_with_1(self):
        # Of the samples alone it would be 0.
        outcome = run(SAMPLES / "vice_ExitProcess_in_entry_point.dll")
        self.assert_ended(outcome, 1)
        _, row = rows(outcome.stdout)
        self.assertRegex(row, r"^ended early \(71\) ")

    def test_A_missing_path_ends_with_2(self):
        outcome = run("not/there.dll")
        self.assert_ended(outcome, 2)
        self.assertEqual(outcome.stdout, "")
        self.assertIn("not/there.dll", outcome.stderr)

    def test_Help_tells_the_options(self):
        outcome = run("--help")
        self.assert_ended(outcome, 0)
        self.assertIn("--json", outcome.stdout)
        self.assertIn("Exit codes:", outcome.stdout)
        self.assertEqual(outcome.stderr, "")


if __name__ == "__main__":
    sys.exit(unittest.main(verbosity=2))
