"""What the scanner makes of a library: codes, the identifier after the scan, and their precedence.

The libraries stand below TARVIK_TEST_PLUGINS. Run by run.py, which runs the tests of a class side by side.
"""

import os
import pathlib
import tempfile
import time
import unittest

import peer
from peer import Parent, start

PLUGINS = pathlib.Path(os.environ.get("TARVIK_TEST_PLUGINS", peer.ROOT / "build/windows/bin/plugins"))


def path_of(name):
    path = PLUGINS / f"{name}.dll"
    if not path.exists():
        raise FileNotFoundError(path)
    return peer.windows_path(path)


def identifier_of(name, code="0x00000000"):
    return f"VST: {code},{path_of(name)}"


class Scans(unittest.TestCase):
    def check(self, sent, result, name, reported, known=()):
        scan = peer.scan(sent, known)
        self.assertIsNotNone(scan.report)
        self.assertEqual(
            (scan.report.result, scan.report.name, scan.report.identifier), (result, name, reported.encode())
        )
        self.assertEqual(scan.exit_code, 0)

    def test_An_effect_reports_its_name_and_its_own_identifier(self):
        self.check(identifier_of("Effect"), peer.EFFECT, b"Plain Effect", identifier_of("Effect", "'Efct'"))

    def test_An_identifier_that_was_asked_for_wrongly_is_replaced(self):
        self.check(identifier_of("Effect", "'abcd'"), peer.EFFECT, b"Plain Effect", identifier_of("Effect", "'Efct'"))

    def test_An_identifier_that_does_not_print_is_reported_in_hexadecimal(self):
        sent = identifier_of("IdentifierInHex")
        self.assertEqual(
            peer.scan(sent).report.identifier, identifier_of("IdentifierInHex", "0x00636261").encode()
        )

    def test_An_instrument_by_flag_is_one(self):
        self.assertEqual(peer.scan(identifier_of("InstrumentByFlag")).report.result, peer.INSTRUMENT)

    def test_A_plug_in_without_outputs_counts_as_an_instrument(self):
        self.assertEqual(peer.scan(identifier_of("NoOutputs")).report.result, peer.INSTRUMENT)

    def test_A_plug_in_without_editor_keeps_the_identifier_it_was_asked_by(self):
        sent = identifier_of("NoEditor", "'abcd'")
        self.check(sent, peer.NO_EDITOR, b"", sent)

    def test_A_shell_keeps_the_identifier_it_was_asked_by(self):
        sent = identifier_of("ShellThatAsks")
        self.check(sent, peer.SHELL, b"", sent)

    def test_A_library_for_another_processor_is_told_apart(self):
        sent = identifier_of("odd/ThirtyTwoBits")
        self.check(sent, peer.WRONG_ARCHITECTURE, b"", sent)

    def test_A_library_without_entry_point_is_unconfirmed(self):
        sent = identifier_of("NoEntryPoint")
        self.check(sent, peer.UNCONFIRMED, b"", sent)

    def test_A_core_library_is_one(self):
        sent = identifier_of("CoreLibrary")
        self.check(sent, peer.CORE_LIBRARY, b"", sent)

    def test_A_core_library_is_one_even_if_it_is_listed(self):
        sent = identifier_of("CoreLibrary")
        self.check(sent, peer.CORE_LIBRARY, b"", sent, [sent])

    def test_A_listed_effect_is_known_and_reports_its_name(self):
        after = identifier_of("Effect", "'Efct'")
        self.check(identifier_of("Effect"), peer.KNOWN, b"Plain Effect", after, [after])

    def test_The_list_is_searched_for_the_identifier_after_the_scan(self):
        # Listed under the identifier asked for, which is not the plug-in's.
        asked = identifier_of("Effect", "'abcd'")
        self.check(asked, peer.EFFECT, b"Plain Effect", identifier_of("Effect", "'Efct'"), [asked])

    def test_A_list_entry_without_unique_identifier_matches_the_file(self):
        after = identifier_of("Effect", "'Efct'")
        self.check(identifier_of("Effect"), peer.KNOWN, b"Plain Effect", after, [identifier_of("Effect")])

    def test_A_listed_shell_is_known(self):
        sent = identifier_of("ShellThatAsks")
        self.check(sent, peer.KNOWN, b"", sent, [sent])

    def test_A_listed_plug_in_without_editor_is_known(self):
        sent = identifier_of("NoEditor")
        self.check(sent, peer.KNOWN, b"", sent, [sent])

    def test_A_listed_library_for_another_processor_is_known(self):
        sent = identifier_of("odd/ThirtyTwoBits")
        self.check(sent, peer.KNOWN, b"", sent, [sent])

    def test_The_plug_in_is_told_the_vendor_and_product_of_the_work_item(self):
        with tempfile.TemporaryDirectory() as folder:
            record = pathlib.Path(folder) / "record"
            scan = peer.scan(
                identifier_of("AsksEveryHostOpcode"),
                vendor="The Vendor \u00e4",
                product="The Product",
                TARVIK_TEST_PLUGIN_RECORD=peer.windows_path(record),
            )
            self.assertEqual(scan.report.result, peer.EFFECT)
            lines = record.read_text().splitlines()
        for when in ("entry", "open", "close"):
            for opcode, text in ((32, "The Vendor \u00e4"), (33, "The Product")):
                # WHEN EFFECT OPCODE INDEX VALUE POINTER -> ANSWER TEXT OVERRUN
                written = [
                    line.split()[8]
                    for line in lines
                    if line.split()[0] == when and line.split()[2] == str(opcode) and line.split()[5] == "area"
                ]
                self.assertEqual(written, [text.encode().hex()] * 2, f"{when} {opcode}")


class Watchdog(unittest.TestCase):
    def hangs(self, place):
        with Parent() as parent, start(parent.endpoint) as scanner:
            parent.receive_request()
            parent.send_work_item(identifier_of(f"vices/vice_endless_sleep_in_{place}"))
            self.assertEqual(scanner.wait(peer.WATCHDOG + peer.SLACK), 2)
            self.assertGreater(scanner.seconds, peer.WATCHDOG - 2)
            self.assertTrue(parent.silent(0.2))

    def test_A_plug_in_that_sleeps_in_its_entry_point_ends_with_the_watchdogs_code(self):
        self.hangs("entry_point")

    def test_A_plug_in_that_sleeps_in_its_opening_ends_with_the_watchdogs_code(self):
        self.hangs("effOpen")

    def test_A_parent_that_goes_during_the_scan_is_outlived_by_a_minute_at_most(self):
        with Parent() as parent, start(parent.endpoint) as scanner:
            parent.receive_request()
            parent.send_work_item(identifier_of("vices/vice_endless_sleep_in_effOpen"))
            time.sleep(2)
            parent.close()
            self.assertEqual(scanner.wait(peer.WATCHDOG + peer.SLACK), 2)

    def test_A_plug_in_that_ends_the_process_gives_it_its_code(self):
        scan = peer.scan(identifier_of("vices/vice_ExitProcess_in_entry_point"))
        self.assertIsNone(scan.report)
        self.assertEqual(scan.exit_code, 71)

    def test_A_plug_in_that_crashes_ends_the_process_with_the_exceptions_code(self):
        scan = peer.scan(identifier_of("vices/vice_null_write_in_effOpen"))
        self.assertIsNone(scan.report)
        # The low eight bits of an access violation's.
        self.assertEqual(scan.exit_code, 5)

    def test_A_plug_in_that_aborts_ends_the_process_at_once_and_without_a_dialog(self):
        scan = peer.scan(identifier_of("vices/vice_abort_in_effOpen"))
        self.assertIsNone(scan.report)
        self.assertEqual(scan.exit_code, 3)
        self.assertLess(scan.seconds, peer.SLACK)


if __name__ == "__main__":
    unittest.main()
