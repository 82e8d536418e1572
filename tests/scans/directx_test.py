"""Scans of DirectX identifiers: the test filters, which say and do what they were written for, and every filter that the
platform itself has. Prints one table: the filter, the parent's verdict, the exit code, the report's result, the seconds.

directx_test.py COMMAND... [-- unittest arguments]    the command line that starts one of tarvik-scan's builds

Filters are registered for as long as a class of tests runs, so that only one such suite may run at a time in a prefix.
"""

import sys
import unittest

import directx
import support
from fates import (ACCESS_VIOLATION, HANG, PATIENCE, TURNED_DOWN, USUAL_END, command, crash, fate_of, print_table, run,
                   run_all)
from support import peer

# What becomes of a scan of each, and the name that it reports.
RESULTS = {
    "Gain": "Test Gain",
    "GainInPlace": "Test GainInPlace",
    "GainWithoutState": "Test GainWithoutState",
    "GainWithPage": "Test GainWithPage",
    "SeveralPins": "Test SeveralPins",
    "NoOutputPin": None,
    "NoInputPin": None,
    "QueryAcceptFalse": None,
    "IntegersOnly": None,
    # What comes back of a block is nobody's concern in a scan.
    "DeliversLate": "Test DeliversLate",
    "DeliversMore": "Test DeliversMore",
    "DeliversNothing": "Test DeliversNothing",
    "InTwoPieces": "Test InTwoPieces",
    "OwnThread": "Test OwnThread",
    "Flood": "Test Flood",
    "FailsReceive": "Test FailsReceive",
    "Unnamed": None,
    "EmptyName": None,
    "NonAsciiName": "Verstärker 増幅 🎚",
    "FactoryFails": None,
}

PLACES = ("creation", "EnumPins", "QueryAccept", "ReceiveConnection", "Run", "destruction")
FATES = {}
for place in PLACES:
    FATES["crash_in_" + place] = crash(ACCESS_VIOLATION)
    FATES["hang_in_" + place] = HANG
    # What is thrown makes a filter fail to load; what it throws while it goes, is dropped.
    FATES["throw_in_" + place] = USUAL_END if place == "destruction" else TURNED_DOWN
    FATES["msvc_throw_in_" + place] = USUAL_END if place == "destruction" else TURNED_DOWN

NOBODYS = "DX: 8F2C0A11-0000-4000-8000-00000000AFFE"


class Reports(unittest.TestCase):
    """The report of each filter that does not end or hang its process."""

    @classmethod
    def setUpClass(cls):
        support.bring_up_wine()
        enter(cls, directx.registered(*RESULTS))
        cls.scans = support.side_by_side(lambda name: peer.scan(directx.identifier_of(name)), RESULTS)

    def check(self, scan, result, name, identifier):
        support.check_report(self, None, scan, support.Expected(result, name.encode(), identifier))

    def test_A_filter_is_an_effect_with_its_name_and_the_identifier_that_was_asked_for(self):
        for name, reported in RESULTS.items():
            with self.subTest(name):
                scan = support.outcome(self.scans, name)
                result = peer.UNCONFIRMED if reported is None else peer.EFFECT
                self.check(scan, result, reported or "", directx.identifier_of(name))

    def test_A_listed_filter_is_known_and_reports_its_name(self):
        asked = directx.identifier_of("Gain")
        self.check(peer.scan(asked, known=[NOBODYS, asked]), peer.KNOWN, "Test Gain", asked)

    def test_A_filter_that_fails_is_known_when_it_is_listed(self):
        asked = directx.identifier_of("NoOutputPin")
        self.check(peer.scan(asked, known=[asked]), peer.KNOWN, "", asked)

    def test_A_filter_is_not_known_by_anothers_identifier(self):
        asked = directx.identifier_of("Gain")
        known = [directx.identifier_of("GainInPlace"), NOBODYS]
        self.check(peer.scan(asked, known=known), peer.EFFECT, "Test Gain", asked)

    def test_An_identifier_in_small_letters_is_reported_in_capital_ones(self):
        asked = directx.identifier_of("Gain")
        self.check(peer.scan("dx:" + asked[3:].lower()), peer.EFFECT, "Test Gain", asked)

    def test_A_class_that_nobody_has_is_unconfirmed(self):
        self.check(peer.scan(NOBODYS), peer.UNCONFIRMED, "", NOBODYS)

    def test_A_text_that_is_no_class_identifier_is_sixteen_zeros_and_never_known(self):
        zeros = "DX: 00000000-0000-0000-0000-000000000000"
        self.check(peer.scan("DX: nonsense", known=[zeros]), peer.UNCONFIRMED, "", zeros)

    def test_A_class_without_a_module_is_unconfirmed(self):
        identifier = "8F2C0A11-0000-4000-8000-000000000001"
        entries = {rf"CLSID\{{{identifier}}}": "No module", rf"Filter\{{{identifier}}}": "No module"}
        with directx.keys(entries):
            self.check(peer.scan("DX: " + identifier), peer.UNCONFIRMED, "", "DX: " + identifier)

    def test_A_class_whose_module_is_missing_is_unconfirmed(self):
        identifier = "8F2C0A11-0000-4000-8000-000000000002"
        entries = {
            rf"CLSID\{{{identifier}}}": "Missing",
            rf"CLSID\{{{identifier}}}\InprocServer32": r"C:\nowhere\missing.dll",
            rf"Filter\{{{identifier}}}": "Missing",
        }
        with directx.keys(entries):
            self.check(peer.scan("DX: " + identifier), peer.UNCONFIRMED, "", "DX: " + identifier)

    def test_A_class_that_is_no_filter_is_unconfirmed(self):
        # The platform's allocator, which is created and has no pins.
        identifier = "1E651CC0-B199-11D0-8212-00C04FC32C45"
        self.check(peer.scan("DX: " + identifier), peer.UNCONFIRMED, "", "DX: " + identifier)


class Vices(unittest.TestCase):
    """The filters that crash, hang and throw, by the command, which has to find out."""

    @classmethod
    def setUpClass(cls):
        support.bring_up_wine()
        enter(cls, directx.registered(*FATES))
        hanging = [name for name in FATES if name.startswith("hang")]
        cls.runs = run_all(
            lambda name: run("--identifier", directx.identifier_of(name)), hanging,
            [name for name in FATES if name not in hanging],
        )

    @classmethod
    def tearDownClass(cls):
        print_table("filter", cls.runs)

    def check(self, name):
        done = support.outcome(self.runs, name)
        outcome = done.outcome()
        fate = FATES[name]
        self.assertEqual(fate_of(outcome), fate)
        self.assertEqual((outcome["asked"], outcome["blamed"]), (directx.identifier_of(name), fate.blames))
        self.assertEqual(done.code, 1 if fate.blames else 0)
        self.assertEqual(done.left, {})
        if fate == HANG:
            self.assertGreaterEqual(outcome["seconds"], peer.WATCHDOG)
            self.assertLess(outcome["seconds"], PATIENCE)


class PlatformFilters(unittest.TestCase):
    """Filters that nobody here wrote: once as they are registered, and once under a name, which makes plug-ins of
    them. Each scan ends with a result and leaves no process behind."""

    # What passes audio through, whatever it is.
    SAMPLE_GRABBER = "C1F400A0-3F08-11D3-9F0B-006008039E37"
    ACM_WRAPPER = "6A08CF80-0E18-11CF-A24D-0020AFD79767"

    @classmethod
    def setUpClass(cls):
        support.bring_up_wine()
        cls.filters = directx.platform_filters()

    def watch(self):
        """Outcomes by class identifier."""
        runs = run_all(lambda identifier: run("--identifier", "DX: " + identifier), [], self.filters)
        print_table("filter", runs)
        for identifier in self.filters:
            with self.subTest(self.filters[identifier]):
                done = support.outcome(runs, identifier)
                outcome = done.outcome()
                self.assertEqual((outcome["verdict"], outcome["exitCode"]), ("reported", 0))
                self.assertEqual(outcome["identifier"], "DX: " + identifier)
                self.assertEqual(done.left, {})
        return {identifier: support.outcome(runs, identifier).outcome() for identifier in self.filters}

    def test_The_platform_has_audio_filters(self):
        self.assertIn(self.ACM_WRAPPER, self.filters)
        self.assertIn(self.SAMPLE_GRABBER, self.filters)

    def test_As_they_are_registered_they_are_no_plug_ins(self):
        for identifier, outcome in self.watch().items():
            self.assertEqual((outcome["result"], outcome["name"]), ("unconfirmed", ""), identifier)

    def test_Under_a_name_each_is_what_its_pins_make_it(self):
        with directx.keys({rf"Filter\{{{identifier}}}": "As " + name for identifier, name in self.filters.items()}):
            outcomes = self.watch()
        for identifier, outcome in outcomes.items():
            self.assertIn(outcome["result"], ("effect", "unconfirmed"))
            expected = "As " + self.filters[identifier] if outcome["result"] == "effect" else ""
            self.assertEqual(outcome["name"], expected)
        self.assertEqual(outcomes[self.SAMPLE_GRABBER]["result"], "effect")
        self.assertEqual(outcomes[self.ACM_WRAPPER]["result"], "unconfirmed")


def enter(cls, context):
    """The context for as long as the class's tests run."""
    context.__enter__()
    cls.addClassCleanup(context.__exit__, None, None, None)


def add_test(name):
    def test(self):
        self.check(name)

    setattr(Vices, "test_" + name, test)


for each in FATES:
    add_test(each)


if __name__ == "__main__":
    end = sys.argv.index("--") if "--" in sys.argv else len(sys.argv)
    command.COMMAND = sys.argv[1:end]
    sys.exit(unittest.main(argv=[sys.argv[0], *sys.argv[end + 1:]], verbosity=1))
