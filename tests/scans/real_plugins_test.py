"""Scans every library below a folder that nobody here wrote, and compares result, name and identifier with what the
mini host reads from it. Prints a table.

real_plugins_test.py FOLDER [unittest arguments]
"""

import pathlib
import sys
import unittest

import support
from support import peer

# How many libraries third_party/real-plugins.sh makes, the two for 32 bits included.
ALL = 36

folder = None


class RealPlugins(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        support.bring_up_wine()
        cls.libraries = sorted(folder.glob("**/*.dll"))
        cls.facts = support.side_by_side(support.facts_of, cls.libraries)
        cls.scans = support.side_by_side(lambda path: peer.scan(support.identifier_of(path)), cls.libraries)
        width = max((len(path.stem) for path in cls.libraries), default=0)
        for path in cls.libraries:
            scan = cls.scans[path]
            if isinstance(scan, Exception) or scan.report is None:
                print(f"{path.stem:{width}}  {scan}")
            else:
                print(
                    f"{path.stem:{width}}  {scan.report.result:2}  {scan.seconds:5.2f} s  "
                    f"{scan.report.identifier.decode()[5:15]:10}  {scan.report.name.decode(errors='replace')}"
                )

    def test_None_of_them_is_missing(self):
        self.assertEqual(len(self.libraries), ALL)

    def test_Each_report_agrees_with_the_mini_host(self):
        for path in self.libraries:
            with self.subTest(path.stem):
                expected = support.expected_of(path, support.outcome(self.facts, path))
                support.check_report(self, path, support.outcome(self.scans, path), expected)

    def test_More_than_one_result_is_among_them(self):
        results = {support.outcome(self.scans, path).report.result for path in self.libraries}
        self.assertLessEqual({peer.EFFECT, peer.INSTRUMENT, peer.NO_EDITOR, peer.WRONG_ARCHITECTURE}, results)


if __name__ == "__main__":
    folder = pathlib.Path(sys.argv.pop(1))
    sys.exit(unittest.main(verbosity=2))
