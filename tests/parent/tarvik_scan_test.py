"""The command tarvik-scan from outside, against the test libraries: what it prints, how it ends, whom it blames, and
what is left behind. Prints one table of every verdict and the seconds it took.

tarvik_scan_test.py COMMAND...    the command line that starts it, for one of its builds

The environment says where things are: TARVIK_SCANNER the scanner, TARVIK_TEST_PLUGINS the folder of the test
libraries. Scans run side by side, each with a command of its own.
"""

import concurrent.futures
import json
import os
import pathlib
import subprocess
import sys
import time
import unittest
import uuid

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "scanner"))
import peer  # noqa: E402

COMMAND = []
PLUGINS = pathlib.Path(os.environ.get("TARVIK_TEST_PLUGINS", peer.ROOT / "build/windows/bin/plugins"))

# What a parent that waits no longer than this calls a hang: far below the minute of the scanner's own watchdog, which
# has its tests elsewhere; far above what a busy machine takes to start the process.
IMPATIENCE = 35

# Library, options, and what must come of it: verdict, exit code of the process, and result of the report.
CASES = {
    "Effect": ((), ("reported", 0, "effect")),
    "InstrumentByFlag": ((), ("reported", 0, "instrument")),
    "NoEditor": ((), ("reported", 0, "no editor")),
    "ShellThatAsks": ((), ("reported", 0, "shell")),
    "CoreLibrary": ((), ("reported", 0, "core library")),
    "NonUtf8Name": ((), ("reported", 0, "effect")),
    "odd/ThirtyTwoBits": ((), ("reported", 0, "wrong architecture")),
    "odd/Text": ((), ("reported", 0, "wrong architecture")),
    "odd/Empty": ((), ("reported", 0, "wrong architecture")),
    "vices/vice_null_write_in_entry_point": ((), ("crashed", 0xC0000005, None)),
    "vices/vice_null_write_in_effGetEffectName": ((), ("crashed", 0xC0000005, None)),
    "vices/vice_abort_in_effOpen": ((), ("crashed", 3, None)),
    "vices/vice_structured_exception_in_effOpen": ((), ("crashed", 0xE0000049, None)),
    "vices/vice_exit_0_in_effOpen": ((), ("ended early", 0, None)),
    "vices/vice_ExitProcess_in_DllMain": ((), ("ended early", 71, None)),
    "vices/vice_TerminateProcess_in_effClose": ((), ("ended early", 72, None)),
    "vices/vice_TerminateProcess_in_detach": ((), ("reported", 72, "effect")),
    "vices/vice_abort_in_detach": ((), ("reported", 3, "effect")),
    "vices/vice_endless_sleep_in_entry_point": (("--time-limit", str(IMPATIENCE)), ("hung", None, None)),
    "vices/vice_message_box_in_effOpen": (("--time-limit", str(IMPATIENCE)), ("hung", None, None)),
    "vices/vice_endless_sleep_in_detach": ((), ("reported", None, "effect")),
    "vices/FloodsStdout": ((), ("reported", 0, "effect")),
    "vices/LeavesGrandchild": ((), ("reported", 0, "effect")),
}
# Whoever blames a plug-in says so in the exit code.
BLAMING = ("crashed", "hung", "ended early")


class Run:
    """One run of the command to its end."""

    def __init__(self, *arguments):
        self.token = "TARVIK_TEST_TOKEN_" + uuid.uuid4().hex
        started = time.monotonic()
        done = subprocess.run(
            [*COMMAND, *(() if "--scanner" in arguments else ("--scanner", scanner())), *arguments],
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            env=peer.environment(TARVIK_TEST_TOKEN=self.token),
            timeout=300,
        )
        self.seconds = time.monotonic() - started
        self.code = done.returncode
        self.output = done.stdout.decode("utf-8").replace("\r\n", "\n")
        self.errors = done.stderr.decode("utf-8").replace("\r\n", "\n")
        self.left = self.leftovers()

    def leftovers(self):
        """What still runs of everything that the command started, after a grace for the system to take it down."""
        deadline = time.monotonic() + 10
        while True:
            found = []
            for entry in pathlib.Path("/proc").iterdir():
                try:
                    if entry.name.isdigit() and self.token.encode() in (entry / "environ").read_bytes():
                        found.append((entry / "cmdline").read_bytes().replace(b"\0", b" ").decode(errors="replace"))
                except OSError:  # ended meanwhile
                    continue
            if not found or time.monotonic() > deadline:
                return found
            time.sleep(0.1)


def is_windows_build():
    return COMMAND[-1].endswith(".exe")


def path_for_command(path):
    return peer.windows_path(path) if is_windows_build() else str(path)


def scanner():
    return path_for_command(peer.scanner_path())


def library(name):
    return path_for_command(PLUGINS / (name + ".dll"))


class TarvikScan(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        # The longest first, so that the short ones run beside them.
        names = sorted(CASES, key=lambda name: not CASES[name][0] and "sleep" not in name)

        def scan(name):
            return Run("--json", *CASES[name][0], library(name))

        with concurrent.futures.ThreadPoolExecutor(6) as pool:
            cls.runs = dict(zip(names, pool.map(scan, names)))
        cls.outcomes = {}
        width = max(map(len, names))
        print(f"\n{'library':{width}}  {'verdict':12}  {'exit code':>10}  {'result':18}  seconds")
        for name in sorted(names):
            outcome = json.loads(cls.runs[name].output)[0]
            cls.outcomes[name] = outcome
            code = outcome.get("exitCode", "")
            code = f"0x{code:08X}" if code != "" and code > 255 else code
            print(
                f"{name:{width}}  {outcome['verdict']:12}  {code:>10}  {outcome.get('result', ''):18}  "
                f"{outcome['seconds']:7.2f}"
            )

    def check(self, name):
        run, outcome = self.runs[name], self.outcomes[name]
        verdict, code, result = CASES[name][1]
        self.assertEqual(outcome["verdict"], verdict)
        self.assertEqual(outcome.get("exitCode"), code)
        self.assertEqual(outcome.get("result"), result)
        self.assertEqual(outcome["blamed"], verdict in BLAMING)
        self.assertEqual(run.code, 1 if verdict in BLAMING else 0)
        # Blame goes to what was handed out.
        self.assertEqual(outcome["asked"], "VST: 0x00000000," + peer.windows_path(PLUGINS / (name + ".dll")))
        self.assertEqual(run.left, [])

    def test_The_table_shows_result_name_identifier_and_seconds(self):
        lines = Run(library("Effect"), library("ShellByCategory")).output.splitlines()
        self.assertEqual(lines[0].split(), ["Result", "Name", "Identifier", "Seconds"])
        self.assertEqual(len(lines), 3)
        self.assertRegex(lines[1], r"^effect +.+ VST: '....',Z:\\.*\\Effect\.dll +\d+\.\d\d$")
        self.assertRegex(lines[2], r"^shell|^unconfirmed")

    def test_A_known_identifier_is_reported_as_known(self):
        identifier = self.outcomes["Effect"]["identifier"]
        run = Run("--json", "--known", identifier, library("Effect"))
        self.assertEqual(json.loads(run.output)[0]["result"], "known")

    def test_A_name_that_is_no_utf_8_keeps_its_bytes(self):
        outcome = self.outcomes["NonUtf8Name"]
        with self.assertRaises(UnicodeDecodeError):
            bytes.fromhex(outcome["nameBytes"]).decode("utf-8")

    def test_A_path_with_a_comma_cannot_be_handed_out(self):
        run = Run("--json", library("odd/With,Comma"))
        self.assertEqual(json.loads(run.output)[0]["verdict"], "not addressable")
        self.assertEqual(run.code, 3)

    def test_A_scanner_that_is_not_there_is_no_plug_ins_fault(self):
        run = Run("--json", "--scanner", path_for_command("/nonexistent/scanner.exe"), library("Effect"))
        outcome = json.loads(run.output)[0]
        self.assertEqual(outcome["verdict"], "not started")
        self.assertFalse(outcome["blamed"])
        self.assertEqual(run.code, 3)

    def test_A_program_that_never_asks_for_work_is_no_plug_ins_fault(self):
        # Any program that ends by itself and is no scanner.
        other = path_for_command(pathlib.Path(os.environ["TARVIK_NO_SCANNER"]))
        run = Run("--json", "--scanner", other, library("Effect"))
        outcome = json.loads(run.output)[0]
        self.assertEqual(outcome["verdict"], "not connected")
        self.assertFalse(outcome["blamed"])
        self.assertEqual(run.code, 3)

    def test_A_missing_path_is_a_bad_command_line(self):
        run = Run(path_for_command("/nonexistent/plugins"))
        self.assertEqual(run.code, 2)
        self.assertIn("Cannot find", run.errors)
        self.assertEqual(run.output, "")

    def test_Bad_options_are_a_bad_command_line(self):
        for arguments in ((), ("--nonsense",), ("--identifier", "nonsense"), ("--time-limit", "never", "x")):
            self.assertEqual(Run(*arguments).code, 2, arguments)

    def test_Help_is_no_failure(self):
        run = Run("--help")
        self.assertEqual(run.code, 0)
        self.assertIn("Exit codes", run.output)

    def test_An_identifier_of_another_format_is_scanned_as_it_stands(self):
        run = Run("--json", "--identifier", "AU: 'abcd','efgh','ijkl'")
        outcome = json.loads(run.output)[0]
        self.assertEqual((outcome["verdict"], outcome["result"]), ("reported", "unconfirmed"))
        self.assertEqual(outcome["identifier"], "AU: 'abcd','efgh','ijkl'")


def add_test(name):
    def test(self):
        self.check(name)

    setattr(TarvikScan, "test_" + name.replace("/", "_"), test)


for case in CASES:
    add_test(case)


if __name__ == "__main__":
    COMMAND = sys.argv[1:]
    sys.exit(unittest.main(argv=sys.argv[:1], verbosity=1))
