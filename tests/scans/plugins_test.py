"""Scans every test library that does not end or hang the process, and compares the report with what the library says
of itself to the mini host, and with what it was written to be.

plugins_test.py [unittest arguments]
"""

import pathlib
import sys
import tempfile
import unittest

import support
from support import peer

# What each library was written to be. The rules in support.py must come to the same, from the mini host's facts.
RESULTS = {
    "Effect": peer.EFFECT,
    "InstrumentByFlag": peer.INSTRUMENT,
    "InstrumentByCategory": peer.INSTRUMENT,
    "Generator": peer.INSTRUMENT,
    "NoOutputs": peer.INSTRUMENT,
    "NoEditor": peer.NO_EDITOR,
    # A shell by its category alone is turned down, and only the question makes it known as a shell.
    "ShellByCategory": peer.UNCONFIRMED,
    "ShellThatAsks": peer.SHELL,
    "ShellThatAsksWithoutEffect": peer.SHELL,
    "ShellWithoutEditor": peer.SHELL,
    "CoreLibrary": peer.CORE_LIBRARY,
    "CoreLibraryWithEntryPoint": peer.EFFECT,
    "NoEntryPoint": peer.UNCONFIRMED,
    "NullEffect": peer.UNCONFIRMED,
    "OnlyMain": peer.EFFECT,
    "BothEntryPoints": peer.EFFECT,
    "NullProcessReplacing": peer.UNCONFIRMED,
    "NullSetParameter": peer.UNCONFIRMED,
    "NullGetParameter": peer.UNCONFIRMED,
    "FivePrograms": peer.EFFECT,
    "ThreeHundredPrograms": peer.EFFECT,
    "Nameless": peer.EFFECT,
    "LongName": peer.EFFECT,
    "NonUtf8Name": peer.EFFECT,
    "IdentifierInHex": peer.EFFECT,
    "CommaInIdentifier": peer.EFFECT,
    "NoIdentifier": peer.EFFECT,
    "Chunks": peer.EFFECT,
    "ParameterState": peer.EFFECT,
    "TooManyParameters": peer.EFFECT,
    "LatencyAtTheBound": peer.EFFECT,
    "LatencyAboveTheBound": peer.EFFECT,
    "Mono": peer.EFFECT,
    "ManyChannels": peer.EFFECT,
    "TooManyChannels": peer.EFFECT,
    "EditorThatResizesItself": peer.EFFECT,
    "AsksEveryHostOpcode": peer.EFFECT,
    "RecordsEveryOpcode": peer.EFFECT,
    "RecordsItsProcess": peer.EFFECT,
    "MissingImport": peer.UNCONFIRMED,
}
NAMES = {
    "Effect": b"Plain Effect",
    "Nameless": b"Nameless",
    "NonUtf8Name": b"Caf\xe9 Fl\xfcgel",
    "OnlyMain": b"Only main",
    "BothEntryPoints": b"By VSTPluginMain",
}
IDENTIFIERS = {
    "Effect": "'Efct'",
    "IdentifierInHex": "0x00636261",
    "CommaInIdentifier": "'A,B1'",
    "NoIdentifier": "0x00000000",
    "BothEntryPoints": "'ByVm'",
}

# By name below odd/: what the scan must say. The text form of an identifier cannot carry a comma, and so that one is
# not looked at here.
ODD_RESULTS = {
    "ThirtyTwoBits.dll": peer.WRONG_ARCHITECTURE,
    "Empty.dll": peer.WRONG_ARCHITECTURE,
    "TwoBytes.dll": peer.WRONG_ARCHITECTURE,
    "Text.dll": peer.WRONG_ARCHITECTURE,
    "Folder.dll": peer.WRONG_ARCHITECTURE,
    "TruncatedInHeader.dll": peer.WRONG_ARCHITECTURE,
    "TruncatedInHeaders.dll": peer.WRONG_ARCHITECTURE,
    "HeadersBeyondTheEnd.dll": peer.WRONG_ARCHITECTURE,
    # The headers are whole, and say the right machine: no reason is known.
    "TruncatedInCode.dll": peer.UNCONFIRMED,
    "With Three Spaces.dll": peer.EFFECT,
    "Two.Dots.dll": peer.EFFECT,
    "UpperCaseEnding.DLL": peer.EFFECT,
    "Ünïcödé Łąć 音楽.dll": peer.EFFECT,
}


def scan_path(path):
    return peer.scan(support.identifier_of(path))


def long_path():
    (path,) = (support.PLUGINS / "odd").glob("d*/**/Effect.dll")
    return path


class Reports(unittest.TestCase):
    """The report of each library."""

    @classmethod
    def setUpClass(cls):
        support.bring_up_wine()
        cls.libraries = sorted(support.PLUGINS.glob("*.dll"))
        cls.odd = [support.PLUGINS / "odd" / name for name in ODD_RESULTS] + [long_path()]
        paths = cls.libraries + cls.odd
        cls.scans = support.side_by_side(scan_path, paths)
        cls.facts = support.side_by_side(support.facts_of, cls.libraries)

    def test_Every_library_of_the_folder_is_known_here(self):
        self.assertEqual({path.stem for path in self.libraries}, set(RESULTS))

    def test_Each_library_is_reported_as_it_was_written(self):
        for path in self.libraries:
            with self.subTest(path.stem):
                report = support.outcome(self.scans, path).report
                self.assertIsNotNone(report)
                self.assertEqual(report.result, RESULTS[path.stem])
                if path.stem in NAMES:
                    self.assertEqual(report.name, NAMES[path.stem])
                if path.stem in IDENTIFIERS:
                    self.assertEqual(
                        report.identifier.decode(),
                        f"VST: {IDENTIFIERS[path.stem]},{peer.windows_path(path)}",
                    )

    def test_Each_report_agrees_with_the_mini_host(self):
        for path in self.libraries:
            with self.subTest(path.stem):
                expected = support.expected_of(path, support.outcome(self.facts, path))
                self.assertEqual(expected.result, RESULTS[path.stem])
                support.check_report(self, path, support.outcome(self.scans, path), expected)

    def test_Files_that_are_no_library_and_libraries_at_odd_places(self):
        for path in self.odd:
            with self.subTest(path.name):
                scan = support.outcome(self.scans, path)
                result = ODD_RESULTS.get(path.name, peer.EFFECT)
                if result == peer.EFFECT:
                    expected = support.Expected(result, b"Plain Effect", support.identifier_of(path, 0x74636645))
                else:
                    expected = support.Expected(result, b"", support.identifier_of(path))
                support.check_report(self, path, scan, expected)

    def test_The_long_path_is_long(self):
        self.assertEqual(len(peer.windows_path(long_path())), 300)

    def test_A_path_with_a_comma_names_nothing(self):
        path = support.PLUGINS / "odd" / "With,Comma.dll"
        self.assertTrue(path.exists())
        support.check_report(self, path, scan_path(path), support.Expected(peer.UNCONFIRMED, b"", "None"))

    def test_A_missing_file_is_of_no_architecture(self):
        path = support.PLUGINS / "NotThere.dll"
        support.check_report(
            self, path, scan_path(path), support.Expected(peer.WRONG_ARCHITECTURE, b"", support.identifier_of(path))
        )

    def test_A_rejected_library_reports_the_identifier_that_was_asked_for(self):
        path = support.PLUGINS / "NoEditor.dll"
        asked = support.identifier_of(path, 0x64636261)
        support.check_report(self, path, peer.scan(asked), support.Expected(peer.NO_EDITOR, b"", asked))

    def test_A_core_library_is_one_even_if_known(self):
        path = support.PLUGINS / "CoreLibrary.dll"
        asked = support.identifier_of(path)
        scan = peer.scan(asked, known=[asked])
        support.check_report(self, path, scan, support.Expected(peer.CORE_LIBRARY, b"", asked))

    def test_A_library_known_by_the_identifier_that_it_reports_is_known(self):
        path = support.PLUGINS / "Effect.dll"
        true_one = support.identifier_of(path, 0x74636645)
        scan = peer.scan(support.identifier_of(path, 0x64636261), known=[true_one])
        support.check_report(self, path, scan, support.Expected(peer.KNOWN, b"Plain Effect", true_one))

    def test_A_library_known_by_another_identifier_is_not_known(self):
        path = support.PLUGINS / "Effect.dll"
        asked = support.identifier_of(path, 0x64636261)
        scan = peer.scan(asked, known=[asked])
        support.check_report(
            self, path, scan, support.Expected(peer.EFFECT, b"Plain Effect", support.identifier_of(path, 0x74636645))
        )

    def test_A_shell_that_is_known_is_known(self):
        path = support.PLUGINS / "ShellThatAsks.dll"
        asked = support.identifier_of(path)
        support.check_report(self, path, peer.scan(asked, known=[asked]), support.Expected(peer.KNOWN, b"", asked))


class Recorded(unittest.TestCase):
    """What the libraries see that write down what they see."""

    def record_of(self, library, **arguments):
        path = support.PLUGINS / (library + ".dll")
        with tempfile.TemporaryDirectory() as folder:
            record = pathlib.Path(folder) / "record.txt"
            scan = peer.scan(
                support.identifier_of(path),
                TARVIK_TEST_PLUGIN_RECORD=peer.windows_path(record),
                **arguments,
            )
            self.assertEqual(scan.report.result, peer.EFFECT)
            return record.read_text(encoding="latin-1").splitlines()

    def test_A_scan_dispatches_this_sequence_and_nothing_else(self):
        OPEN, CLOSE, CATEGORY, NAME, VERSION = 0, 1, 35, 45, 58
        self.assertEqual(
            self.record_of("RecordsEveryOpcode"),
            ["entry"]
            + [
                f"dispatch {opcode} 0 0 0"
                for opcode in (
                    OPEN,
                    VERSION,
                    # Once for the shells, once for the instruments.
                    CATEGORY,
                    CATEGORY,
                    NAME,
                    CLOSE,
                )
            ],
        )

    def test_The_process_shows_no_dialog_of_a_crash_and_has_OLE_on_the_plug_ins_thread(self):
        # SEM_NOGPFAULTERRORBOX, added to the none that a process begins with; S_FALSE: initialised already.
        self.assertEqual(self.record_of("RecordsItsProcess"), ["errorMode 2", "ole 00000001"])

    def answers(self, lines):
        """(when, effect, opcode, index, value, pointer) -> (answer, written text, overrun)"""
        answers = {}
        for line in lines:
            words = line.split(" ")
            if words[2] == "time":
                continue
            when, effect, opcode, index, value, *pointer, arrow, answer, text, overrun = words
            self.assertEqual(arrow, "->", line)
            key = (when, effect, int(opcode), int(index), int(value), " ".join(pointer))
            answers[key] = (int(answer), b"" if text == "-" else bytes.fromhex(text), int(overrun))
        return answers

    def expected_answer(self, key, vendor, product):
        when, effect, opcode, index, value, pointer = key
        nothing = (0, b"", 0)
        if opcode == 1:
            return (2400, b"", 0)
        if opcode in (32, 33):
            if pointer == "null":
                return nothing
            return (1, (vendor if opcode == 32 else product).encode()[:63], 0)
        if opcode == 34:
            return (1000, b"", 0)
        if effect == "null":
            return nothing
        if opcode == 4:
            # The scan's host is mono: one pin each way is connected, which 0 means.
            return nothing if index == 0 else (1, b"", 0)
        if opcode == 7:
            return (1, b"", 0)
        if opcode == 16:
            return (44100, b"", 0)
        return nothing

    def test_The_host_answers_every_question_by_its_table(self):
        vendor = "V" * 200
        product = "Prödukt"
        lines = self.record_of("AsksEveryHostOpcode", vendor=vendor, product=product)
        answers = self.answers(lines)
        self.assertEqual({key[0] for key in answers}, {"entry", "open", "close"})
        self.assertEqual({key[1] for key in answers}, {"null", "own"})
        wrong = {
            key: answer for key, answer in answers.items() if answer != self.expected_answer(key, vendor, product)
        }
        self.assertEqual(wrong, {})
        self.assertEqual(len(answers), 6 * 86)

    def test_The_time_stands_at_its_start(self):
        lines = self.record_of("AsksEveryHostOpcode")
        times = [line.split(" time ") for line in lines if " time " in line]
        self.assertEqual(
            times, [[when + " own", "0 44100 0 120 4 4 2"] for when in ("entry", "open", "close")]
        )


if __name__ == "__main__":
    sys.exit(unittest.main(verbosity=2))
