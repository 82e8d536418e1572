"""tarvik-scan --directx from outside: what is registered is found, scanned and told, whatever it lacks, and so is every
audio filter of the platform's own. Prints the platform's filters in a table.

directx_test.py COMMAND...    the command line that starts it, for one of its builds

The environment says where things are, as for tarvik_scan_test.py. Filters are registered for as long as it runs, so that
only one such suite may run at a time in a prefix.
"""

import pathlib
import re
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "scans"))
import command  # noqa: E402
import directx  # noqa: E402
import support  # noqa: E402
from command import Run, path_for_command  # noqa: E402
from support import peer  # noqa: E402

# Test filters, and what must come of each: verdict, result, reported name, name as a plug-in, and detail.
FILTERS = {
    "Gain": ("reported", "effect", "Test Gain", "Test Gain", None),
    "NonAsciiName": ("reported", "effect", "Verstärker 増幅 🎚", "Verstärker 増幅 🎚", None),
    "NoOutputPin": ("reported", "unconfirmed", "", "Test NoOutputPin", None),
    "Unnamed": ("reported", "unconfirmed", "", "", 'no name registered, listed as "Test filter Unnamed"'),
    "EmptyName": ("reported", "unconfirmed", "", "", 'no name registered, listed as "Test filter EmptyName"'),
    "crash_in_EnumPins": ("crashed", None, None, "Test crash_in_EnumPins", None),
}
MODULE = peer.windows_path(directx.LIBRARY)

# Classes that are registered badly: what stands in the registry, and the registration and detail that must be told.
NO_MODULE, MISSING, NO_CLASS, OTHER_PROCESSOR, NEITHER = (f"8F2C0A11-0000-4000-8000-0000000000{n:02X}" for n in range(5))
BROKEN = {
    NO_MODULE: ({"CLSID": "A class"}, "Alone", "class without a module", "class without a module"),
    MISSING: (
        {"CLSID": "A class", r"CLSID\InprocServer32": r"C:\nowhere\missing.dll"}, "Gone", "module missing",
        r"module missing: C:\nowhere\missing.dll",
    ),
    NO_CLASS: ({}, "Nobody", "no class registered", "no class registered"),
    OTHER_PROCESSOR: (
        {r"Wow6432Node\CLSID": "A class"}, "Narrow", "class for 32-bit processes alone",
        "class for 32-bit processes alone",
    ),
    NEITHER: (
        {"CLSID": "A class"}, "", "class without a module", "no name registered; class without a module",
    ),
}


def entries(identifier):
    """The keys of a class that is registered badly, with their values."""
    keys, name, *_ = BROKEN[identifier]
    braced = "{" + identifier + "}"
    found = {rf"Filter\{braced}": name}
    for key, value in keys.items():
        found[key.replace("CLSID", rf"CLSID\{braced}", 1)] = value
    return found


class DirectX(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        support.bring_up_wine()
        cls.platform = directx.platform_registrations()
        every_entry = {path: value for identifier in BROKEN for path, value in entries(identifier).items()}
        for context in (directx.registered(*FILTERS), directx.keys(every_entry)):
            context.__enter__()
            cls.addClassCleanup(context.__exit__, None, None, None)
        effect = path_for_command(support.PLUGINS / "directx" / "TestFilters.dll")
        runs = {"json": ("--json", "--directx", effect), "table": ("--directx",)}
        cls.runs = support.side_by_side(lambda name: Run(*runs[name], timeout=800), runs, len(runs))

    def run_of(self, name):
        return support.outcome(self.runs, name)

    def outcomes(self):
        """By class identifier, without the file that was given beside them."""
        return {outcome["asked"][4:]: outcome for outcome in self.run_of("json").outcomes()[1:]}

    def row(self, identifier):
        """Of the table: result, name, identifier, seconds."""
        (line,) = (line for line in self.run_of("table").output.splitlines() if identifier in line)
        found = re.fullmatch(r"(.{1,30}?)  +(.*?) +(DX: [-0-9A-F]{36}) +(\d+\.\d\d)", line)
        self.assertIsNotNone(found, line)
        return found.groups()

    def test_Each_registered_filter_is_scanned_and_told_with_its_name(self):
        outcomes = self.outcomes()
        for name, (verdict, result, reported, registered, detail) in FILTERS.items():
            with self.subTest(name):
                outcome = outcomes[directx.class_id(name)]
                self.assertEqual((outcome["verdict"], outcome.get("result")), (verdict, result))
                self.assertEqual(outcome.get("name"), reported)
                self.assertEqual(outcome["registeredName"], registered)
                self.assertEqual(outcome["listedName"], "Test filter " + name)
                self.assertEqual((outcome["registration"], outcome["module"]), ("complete", MODULE))
                self.assertEqual(outcome.get("detail"), detail)

    def test_What_a_registration_lacks_is_told_apart(self):
        outcomes = self.outcomes()
        for identifier, (_, name, registration, detail) in BROKEN.items():
            with self.subTest(identifier):
                outcome = outcomes[identifier]
                self.assertEqual((outcome["verdict"], outcome["result"]), ("reported", "unconfirmed"))
                self.assertEqual((outcome["registeredName"], outcome["listedName"]), (name, ""))
                self.assertEqual((outcome["registration"], outcome["detail"]), (registration, detail))

    def test_The_table_tells_the_name_and_what_is_lacking(self):
        self.assertEqual(self.row(directx.class_id("Gain"))[:2], ("effect", "Test Gain"))
        self.assertEqual(
            self.row(directx.class_id("Unnamed"))[:2],
            ("unconfirmed", 'no name registered, listed as "Test filter Unnamed"'),
        )
        self.assertEqual(
            self.row(directx.class_id("crash_in_EnumPins"))[:2], ("crashed (0xC0000005)", "Test crash_in_EnumPins")
        )
        for identifier, (_, name, _, detail) in BROKEN.items():
            self.assertEqual(
                self.row(identifier)[:2], ("unconfirmed", f"{name} ({detail})" if name else detail)
            )

    def test_Filters_come_after_the_files_in_the_order_of_their_classes_and_once(self):
        outcomes = self.run_of("json").outcomes()
        self.assertTrue(outcomes[0]["asked"].startswith("VST: "))
        self.assertNotIn("registration", outcomes[0])
        identifiers = [outcome["asked"] for outcome in outcomes[1:]]
        self.assertEqual(identifiers, sorted(set(identifiers)))

    def test_Every_audio_filter_of_the_platform_ends_with_a_result(self):
        outcomes = self.outcomes()
        print(f"\n{'filter':36}  {'verdict':10}  {'result':12}  {'seconds':7}  name")
        audio = 0
        for identifier, (name, pins) in sorted(self.platform.items()):
            if not any(directx.AUDIO in types for types in pins):
                continue
            audio += 1
            with self.subTest(name):
                outcome = outcomes[identifier]
                print(
                    f"{identifier}  {outcome['verdict']:10}  {outcome.get('result', ''):12}  "
                    f"{outcome['seconds']:7.2f}  {name}"
                )
                self.assertEqual((outcome["verdict"], outcome["exitCode"]), ("reported", 0))
                self.assertEqual(outcome["result"], "unconfirmed")
                self.assertEqual(outcome["detail"], f'no name registered, listed as "{outcome["listedName"]}"')
        self.assertGreaterEqual(audio, 5)

    def test_Every_other_filter_ends_with_a_result_too(self):
        crashing = directx.class_id("crash_in_EnumPins")
        for identifier, outcome in self.outcomes().items():
            if identifier != crashing:
                self.assertEqual((outcome["verdict"], outcome["exitCode"]), ("reported", 0), outcome)

    def test_Filters_of_anything_but_audio_are_not_among_them(self):
        outcomes = self.outcomes()
        others = [
            identifier
            for identifier, (_, pins) in self.platform.items()
            if pins and all(types and not types & {directx.AUDIO, directx.ANY_TYPE} for types in pins)
        ]
        self.assertGreaterEqual(len(others), 1)
        for identifier in others:
            self.assertNotIn(identifier, outcomes)

    def test_The_exit_code_blames_the_filter_that_crashed(self):
        for name in self.runs:
            self.assertEqual(self.run_of(name).code, 1, name)
            # Wine may have words of its own there, about the machine's sound cards.
            self.assertNotIn("tarvik-scan:", self.run_of(name).errors)

    def test_Without_a_scanner_nothing_is_scanned(self):
        run = Run("--directx", "--scanner", path_for_command("/nonexistent/scanner.exe"))
        # Elsewhere the list comes from beside the scanner; Windows makes it without one.
        self.assertEqual(run.code, 3 if command.is_windows_build() else 4)
        self.assertIn("Cannot find", run.output + run.errors)
        self.assertEqual(run.left, {})

    def test_Nothing_is_left_behind(self):
        for name in self.runs:
            self.assertEqual(self.run_of(name).left, {}, name)


if __name__ == "__main__":
    command.COMMAND = sys.argv[1:]
    sys.exit(unittest.main(argv=sys.argv[:1], verbosity=1))
