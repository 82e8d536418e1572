"""The native command tarvik-scan from outside, with a shell script where Wine stands: what becomes of its list of
filters, and of output that cannot be written.

tarvik_scan_posix_test.py COMMAND
"""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

COMMAND = sys.argv[1]
LIST = r"""#!/bin/sh
[ "$2" = --list-directx ] || { printf 'failed no scanner'; exit 2; }
echo 'DirectX filters, format 1'
echo 'filter 00000000-0000-0000-0000-000000000001 complete Reverb - C:\\r.dll'
"""


class TarvikScan(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        for name in ("TarvikScannerLauncher.exe", "scanner.exe", "a.dll"):
            (self.folder / name).write_text("stands there")

    def run_command(self, *arguments, wine=LIST, stdout=subprocess.PIPE):
        script = self.folder / "wine"
        script.write_text(wine)
        script.chmod(0o700)
        return subprocess.run([COMMAND, "--scanner", self.folder / "scanner.exe", *arguments], stdin=subprocess.DEVNULL,
                              stdout=stdout, stderr=subprocess.PIPE, timeout=200, cwd=self.folder, text=True,
                              env=os.environ | {"TARVIK_WINE": str(script)})

    def test_A_list_that_fails_keeps_nothing_back_that_was_named_beside_it(self):
        run = self.run_command("--json", "--directx", "a.dll", wine=LIST + "exit 5\n")
        (outcome,) = json.loads(run.stdout)
        self.assertIn("a.dll", outcome["asked"])
        self.assertEqual(run.stderr, "tarvik-scan: The list of DirectX filters has no end: the launcher ended before\n")
        self.assertEqual(run.returncode, 3)

    def test_A_problem_is_told_beside_the_table(self):
        run = self.run_command("--directx", wine=LIST + "echo 'problem no%20mapper'; echo 'end 1'\n")
        self.assertIn("Reverb", run.stdout)
        self.assertEqual((run.stderr, run.returncode), ("tarvik-scan: no mapper\n", 3))

    def test_A_list_that_fails_has_a_code_of_its_own(self):
        for end, told in (
            ("exit 5", "The list of DirectX filters has no end: the launcher ended before"),
            ("echo 'end 7'", "Line 3 of the list of filters: another number of filters than came"),
        ):
            run = self.run_command("--json", "--directx", wine=LIST + end + "\n")
            self.assertEqual((json.loads(run.stdout), run.stderr), ([], f"tarvik-scan: {told}\n"))
            self.assertEqual(run.returncode, 4)
        run = self.run_command(
            "--directx", wine="#!/bin/sh\necho 'DirectX filters, format 1'; echo 'problem no%20mapper'; echo 'end 0'\n")
        self.assertEqual((run.stderr, run.returncode), ("tarvik-scan: no mapper\n", 4))

    def test_A_text_that_is_too_long_costs_no_other_filter_its_scan(self):
        too_long = "printf 'filter 00000000-0000-0000-0000-00000000000%d complete %02000000d - -\n' {} 0\n"
        run = self.run_command(
            "--json", "--directx",
            wine=LIST + too_long.format(2) + "echo 'filter 00000000-0000-0000-0000-000000000003 complete Gain - -'\n"
            + too_long.format(4) + "echo 'end 4'\n")
        self.assertEqual([outcome["registeredName"] for outcome in json.loads(run.stdout)], ["Reverb", "Gain"])
        self.assertEqual(
            run.stderr,
            "tarvik-scan: Left out of the list of filters, as the texts of its registration are longer than any can be: "
            "00000000-0000-0000-0000-000000000002 and 1 more\n")

    def test_Output_that_cannot_be_written_is_told(self):
        for arguments in (("--json", "empty"), ("empty",)):
            (self.folder / "empty").mkdir(exist_ok=True)
            with open("/dev/full", "wb") as full:
                run = self.run_command(*arguments, stdout=full)
            self.assertRegex(run.stderr, "^tarvik-scan: cannot write the output: .+\n$")
            self.assertEqual(run.returncode, 5)

    def test_A_folder_in_brackets_is_that_folder(self):
        for name in ("[x,y]", "[x]", "[]", "x"):
            (self.folder / name).mkdir()
            (self.folder / name / "plug-in.dll").write_text("no library")
        for name in ("[x,y]", "[x]", "[]"):
            (outcome,) = json.loads(self.run_command("--json", name).stdout)
            self.assertIn(name, outcome["asked"])

    def test_A_path_cannot_steer_the_terminal(self):
        run = self.run_command("/nonexistent/\x1b[2Jx")
        self.assertEqual((run.stderr, run.returncode), ("tarvik-scan: Cannot find /nonexistent/\ufffd[2Jx\n", 2))


if __name__ == "__main__":
    sys.exit(unittest.main(argv=sys.argv[:1], verbosity=1))
