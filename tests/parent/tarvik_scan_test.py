"""The command tarvik-scan from outside, against the test libraries: what it prints, how it ends, whom it blames, and
what is left behind. Prints one table of every verdict and the seconds it took.

tarvik_scan_test.py COMMAND...    the command line that starts it, for one of its builds

The environment says where things are: TARVIK_SCANNER the scanner, TARVIK_NO_SCANNER a program that is none, the
launcher, TARVIK_TEST_PLUGINS the folder of the test libraries. Scans run side by side, each with a command of its own.
"""

import os
import pathlib
import shutil
import signal
import sys
import tempfile
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "scans"))
import command  # noqa: E402
import support  # noqa: E402
from command import Run, path_for_command  # noqa: E402
from support import peer  # noqa: E402

PLUGINS = support.PLUGINS

# What a parent that waits no longer than this calls a hang: far below the minute of the scanner's own watchdog; far
# above what a busy machine takes to start the process.
IMPATIENCE = 35
# What a process has for its end once it has reported.
EXIT_GRACE = 10

# Library, options, and what must come of it: verdict, exit code of the process, and result of the report. All vices
# have their table in tests/scans.
CASES = {
    "Effect": ((), ("reported", 0, "effect")),
    "InstrumentByFlag": ((), ("reported", 0, "instrument")),
    "NoEditor": ((), ("reported", 0, "no editor")),
    "ShellThatAsks": ((), ("reported", 0, "shell")),
    "CoreLibrary": ((), ("reported", 0, "core library")),
    "NonUtf8Name": ((), ("reported", 0, "effect")),
    "CommaInIdentifier": ((), ("reported", 0, "effect")),
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
    # By the watchdog's code.
    "vices/vice_endless_sleep_in_DllMain": ((), ("hung", 2, None)),
    # By the parent's own limit.
    "vices/vice_endless_sleep_in_entry_point": (("--time-limit", str(IMPATIENCE)), ("hung", None, None)),
    "vices/vice_message_box_in_effOpen": (("--time-limit", str(IMPATIENCE)), ("hung", None, None)),
    "vices/vice_endless_sleep_in_detach": ((), ("reported", None, "effect")),
    "vices/FloodsStdout": ((), ("reported", 0, "effect")),
    "vices/LeavesGrandchild": ((), ("reported", 0, "effect")),
}
# Whoever blames a plug-in says so in the exit code.
BLAMING = ("crashed", "hung", "ended early", "corrupted")


def library(name):
    return path_for_command(PLUGINS / (name + ".dll"))


class TarvikScan(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        support.bring_up_wine()
        # The longest first, so that the short ones run beside them.
        names = sorted(CASES, key=lambda name: not CASES[name][0] and "sleep" not in name)
        cls.runs = support.side_by_side(lambda name: Run("--json", *CASES[name][0], library(name)), names, 6)
        width = max(map(len, names))
        print(f"\n{'library':{width}}  {'verdict':12}  {'exit code':>10}  {'result':18}  seconds")
        for name in sorted(names):
            print(f"{name:{width}}  {cls.line(name)}")

    @classmethod
    def line(cls, name):
        try:
            outcome = support.outcome(cls.runs, name).outcome()
        except Exception as problem:  # told by the test of that library
            return repr(problem)
        code = outcome.get("exitCode", "")
        code = f"0x{code:08X}" if code != "" and code > 255 else code
        return (
            f"{outcome['verdict']:12}  {code:>10}  {outcome.get('result', ''):18}  {outcome['seconds']:7.2f}"
        )

    def outcome_of(self, name):
        return support.outcome(self.runs, name).outcome()

    def check(self, name):
        run, outcome = support.outcome(self.runs, name), self.outcome_of(name)
        verdict, code, result = CASES[name][1]
        self.assertEqual(outcome["verdict"], verdict)
        self.assertEqual(outcome.get("exitCode"), code)
        self.assertEqual(outcome.get("result"), result)
        self.assertEqual(outcome["blamed"], verdict in BLAMING)
        self.assertEqual(run.code, 1 if verdict in BLAMING else 0)
        # Blame goes to what was handed out.
        self.assertEqual(outcome["asked"], "VST: 0x00000000," + peer.windows_path(PLUGINS / (name + ".dll")))
        self.assertEqual(run.left, {})

    def test_The_table_shows_result_name_identifier_and_seconds(self):
        lines = Run(library("Effect"), library("ShellByCategory")).output.splitlines()
        self.assertEqual(lines[0].split(), ["Result", "Name", "Identifier", "Seconds"])
        self.assertEqual(len(lines), 3)
        self.assertRegex(lines[1], r"^effect +Plain Effect +VST: 'Efct',Z:\\.*\\Effect\.dll +\d+\.\d\d$")
        self.assertRegex(lines[2], r"^unconfirmed +VST: 0x00000000,Z:\\.*\\ShellByCategory\.dll +\d+\.\d\d$")

    def test_A_known_identifier_is_reported_as_known(self):
        identifier = self.outcome_of("Effect")["identifier"]
        run = Run("--json", "--known", identifier, library("Effect"))
        self.assertEqual(run.outcome()["result"], "known")

    def test_A_name_that_is_no_utf_8_keeps_its_bytes(self):
        self.assertEqual(bytes.fromhex(self.outcome_of("NonUtf8Name")["nameBytes"]), b"Caf\xe9 Fl\xfcgel")

    def test_An_identifier_that_cannot_be_read_is_shown_as_it_came(self):
        identifier = "VST: 'A,B1'," + peer.windows_path(PLUGINS / "CommaInIdentifier.dll")
        self.assertEqual(self.outcome_of("CommaInIdentifier")["identifier"], identifier)
        self.assertIn(identifier, Run(library("CommaInIdentifier")).output)

    def test_A_process_that_hangs_at_its_end_is_given_ten_seconds(self):
        seconds = self.outcome_of("vices/vice_endless_sleep_in_detach")["seconds"]
        self.assertGreaterEqual(seconds, EXIT_GRACE)
        self.assertLess(seconds, EXIT_GRACE + peer.SLACK)

    def test_What_hangs_is_left_to_the_watchdog(self):
        self.assertGreaterEqual(self.outcome_of("vices/vice_endless_sleep_in_DllMain")["seconds"], peer.WATCHDOG)

    def test_A_path_with_a_comma_cannot_be_handed_out(self):
        run = Run("--json", library("odd/With,Comma"))
        self.assertEqual(run.outcome()["verdict"], "not addressable")
        self.assertEqual(run.code, 3)

    def test_Who_cannot_be_scanned_weighs_more_than_who_is_to_blame(self):
        for libraries in (
            ("vices/vice_exit_0_in_effOpen", "odd/With,Comma", "Effect"),
            ("odd/With,Comma", "Effect", "vices/vice_exit_0_in_effOpen"),
        ):
            run = Run("--json", *map(library, libraries))
            self.assertEqual(
                {outcome["verdict"] for outcome in run.outcomes()}, {"ended early", "not addressable", "reported"}
            )
            self.assertEqual(run.code, 3)

    def test_Files_and_folders_are_scanned_in_their_order(self):
        with tempfile.TemporaryDirectory() as folder:
            folder = pathlib.Path(folder)
            (folder / "b").mkdir()
            (folder / "b-c").mkdir()
            for name in ("z.dll", "a.DLL", "b/effect.dll", "b-c/effect.dll", "not a library.txt"):
                shutil.copy(PLUGINS / "Effect.dll", folder / name)
            run = Run("--json", library("NoEditor"), path_for_command(folder), library("Generator"))
            paths = [outcome["asked"].split(",")[1] for outcome in run.outcomes()]
            inside = ["a.DLL", "b-c/effect.dll", "b/effect.dll", "z.dll"]
            self.assertEqual(
                paths,
                [
                    peer.windows_path(path)
                    for path in (PLUGINS / "NoEditor.dll", *(folder / name for name in inside), PLUGINS / "Generator.dll")
                ],
            )
            self.assertEqual(
                [outcome["result"] for outcome in run.outcomes()], ["no editor", *["effect"] * 4, "instrument"]
            )
            self.assertEqual(run.code, 0)

    def test_Names_beyond_ASCII_are_read_under_any_locale(self):
        if command.is_windows_build():
            self.skipTest("how Wine reads names is decided before the command begins")
        with tempfile.TemporaryDirectory() as folder:
            shutil.copy(PLUGINS / "Effect.dll", pathlib.Path(folder) / "Ünïcödé.dll")
            outcome = Run(folder, "--json", LC_ALL="C").outcome()
        self.assertEqual(outcome["name"], "Plain Effect")

    def test_Plug_ins_are_told_vendor_and_product(self):
        def told(*options):
            with tempfile.TemporaryDirectory() as folder:
                record = pathlib.Path(folder) / "record"
                run = Run(
                    "--json", *options, library("AsksEveryHostOpcode"),
                    TARVIK_TEST_PLUGIN_RECORD=peer.windows_path(record),
                )
                self.assertEqual(run.outcome()["result"], "effect")
                # WHEN EFFECT OPCODE INDEX VALUE POINTER -> ANSWER TEXT OVERRUN
                lines = [line.split() for line in record.read_text().splitlines()]
            return tuple(
                {bytes.fromhex(line[8]).decode() for line in lines if line[2] == opcode and line[5] == "area"}
                for opcode in ("32", "33")
            )

        self.assertEqual(told(), ({"Tarvik"}, {"tarvik-scan"}))
        self.assertEqual(told("--vendor", "V\u00e4", "--product", "P p"), ({"V\u00e4"}, {"P p"}))

    def test_The_scanner_is_found_without_being_named(self):
        def verdict(**env):
            return Run("--json", library("Effect"), default_scanner=True, **env).outcome()["verdict"]

        environment = os.environ.pop("TARVIK_SCANNER", None)
        try:
            # Beside the command, or in the Windows build beside the native one.
            self.assertEqual(verdict(), "reported")
            self.assertEqual(verdict(TARVIK_SCANNER=path_for_command("/nonexistent/scanner.exe")), "not started")
        finally:
            if environment is not None:
                os.environ["TARVIK_SCANNER"] = environment

    def check_no_plug_ins_fault(self, scanner, verdict):
        run = Run("--json", "--scanner", scanner, library("Effect"))
        outcome = run.outcome()
        self.assertEqual(outcome["verdict"], verdict)
        self.assertFalse(outcome["blamed"])
        self.assertEqual(run.code, 3)
        return outcome

    def test_A_scanner_that_is_not_there_is_no_plug_ins_fault(self):
        self.check_no_plug_ins_fault(path_for_command("/nonexistent/scanner.exe"), "not started")

    def test_A_scanner_that_is_no_program_is_no_plug_ins_fault(self):
        with tempfile.TemporaryDirectory() as folder:
            scanner = pathlib.Path(folder) / "TarvikPluginScanner.exe"
            scanner.write_text("no program")
            shutil.copy(os.environ["TARVIK_NO_SCANNER"], folder)
            outcome = self.check_no_plug_ins_fault(path_for_command(scanner), "not started")
            self.assertIn("CreateProcess", outcome["detail"])
            self.assertNotIn("exitCode", outcome)

    def test_A_program_that_never_asks_for_work_is_no_plug_ins_fault(self):
        # Any program that ends by itself and is no scanner.
        self.check_no_plug_ins_fault(path_for_command(pathlib.Path(os.environ["TARVIK_NO_SCANNER"])), "not connected")

    def test_A_command_that_is_killed_leaves_nothing_behind(self):
        token = command.new_token()
        arguments = ("--scanner", path_for_command(peer.scanner_path()), library("vices/vice_endless_sleep_in_effOpen"))
        with command.start(*arguments, token=token) as process:
            deadline = time.monotonic() + peer.SLACK
            # The scanner as itself, with its endpoint as its only argument, and at its work: before, it stands
            # suspended until it is in its job. Then there are the watchdog's thread and two of the socket's.
            while not any(
                "TarvikPluginScanner.exe tcp:" in line and "Launcher" not in line and command.threads_of(number) >= 4
                for number, line in command.processes_with(token).items()
            ):
                self.assertLess(time.monotonic(), deadline, "no scanner")
                time.sleep(0.02)
            process.send_signal(signal.SIGKILL)
        self.assertEqual(command.left_of(token), {})

    def test_A_missing_path_is_a_bad_command_line(self):
        run = Run(path_for_command("/nonexistent/plugins"))
        self.assertEqual(run.code, 2)
        self.assertIn("Cannot find", run.errors)
        self.assertEqual(run.output, "")

    def test_Bad_options_are_a_bad_command_line(self):
        for arguments in ((), ("--nonsense",), ("--identifier", "nonsense"), ("--known", "nonsense", "x"),
                          ("--time-limit", "never", "x")):
            self.assertEqual(Run(*arguments).code, 2, arguments)

    def test_Help_is_no_failure(self):
        run = Run("--help")
        self.assertEqual(run.code, 0)
        self.assertIn("Exit codes", run.output)

    def test_An_identifier_of_another_format_is_scanned_as_it_stands(self):
        outcome = Run("--json", "--identifier", "AU: 'abcd','efgh','ijkl'").outcome()
        self.assertEqual((outcome["verdict"], outcome["result"]), ("reported", "unconfirmed"))
        self.assertEqual(outcome["identifier"], "AU: 'abcd','efgh','ijkl'")


def add_test(name):
    def test(self):
        self.check(name)

    setattr(TarvikScan, "test_" + name.replace("/", "_"), test)


for case in CASES:
    add_test(case)


if __name__ == "__main__":
    command.COMMAND = sys.argv[1:]
    sys.exit(unittest.main(argv=sys.argv[:1], verbosity=1))
