"""The command tarvik-sound on a REX loop: with the stand-in for the vendor's library in the folder that it is started in,
and without.

rex_test.py COMMAND...    the command line that starts its build for Windows

TARVIK_REX_LIBRARIES in the environment names the folder with the stand-in.
"""

import os
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "parent"))
import command  # noqa: E402
from command import path_for_command, peer  # noqa: E402

command.COMMAND = sys.argv[1:]
STAND_IN = pathlib.Path(os.environ["TARVIK_REX_LIBRARIES"]) / "stand_in.dll"


def loop():
    """Two slices of 1000 frames in stereo, an eighth note at 120 beats per minute apart."""
    info = (2, 44100, 2, 120000, 120000, 61440, 4, 4, 16)
    slices = (0, 1000, 3, 7680, 1000, 5)
    body = b"REX2" + struct.pack("<9i", *info) + struct.pack("<I6i", 2, *slices) + struct.pack("<I", 0)
    return b"CAT " + struct.pack(">I", len(body)) + body


class TarvikSoundOnLoops(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.log = self.folder / "log"
        self.path = self.folder / "a.rx2"
        self.path.write_bytes(loop())

    def run_on(self, *paths):
        done = subprocess.run([*command.COMMAND, "--head", "1", *map(path_for_command, paths)], capture_output=True,
                              stdin=subprocess.DEVNULL, timeout=120, cwd=self.folder, check=False,
                              env=peer.environment(TARVIK_REX_LOG=path_for_command(self.log)))
        return done.returncode, done.stdout.decode().replace("\r\n", "\n"), done.stderr.decode().replace("\r\n", "\n")

    def test_A_loop_is_read_and_the_library_closed_at_the_end_of_the_process(self):
        shutil.copy(STAND_IN, self.folder / "REX Shared Library.dll")
        code, output, errors = self.run_on(self.path, self.path)
        self.assertEqual((code, errors), (0, ""))
        for line in ("  kind        REX\n", "  format      2 channels, 32-bit float, 44100 Hz\n",
                     "  frames      12025\n"):
            self.assertEqual(output.count(line), 2, output)
        # 3/64, and 1/128 more to the right.
        self.assertIn("0.046875", output)
        self.assertIn("0.0546875", output)
        first, *others = self.log.read_text().splitlines()
        self.assertTrue(first.startswith("attach REX Shared Library.dll "), first)
        self.assertEqual(others, ["Open", "Close", "detach"])

    def test_Without_the_library_the_loop_is_an_error_and_the_rest_is_read(self):
        other = self.folder / "b.wav"
        other.write_bytes(b"RIFF" + struct.pack("<I", 38) + b"WAVEfmt " +
                          struct.pack("<IHHIIHH", 16, 1, 1, 44100, 88200, 2, 16) + b"data" + struct.pack("<Ih", 2, 0))
        code, output, errors = self.run_on(self.path, other)
        self.assertEqual(code, 1)
        self.assertEqual(errors, f"tarvik-sound: {path_for_command(self.path)}: "
                                 "Can't create REX handle: the REX library was not found (103)\n")
        self.assertIn("  kind        WAV\n", output)
        self.assertFalse(self.log.exists())


if __name__ == "__main__":
    sys.exit(unittest.main(argv=sys.argv[:1], verbosity=1))
