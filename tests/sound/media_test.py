"""The command tarvik-sound on files that the system's media library reads.

media_test.py COMMAND...    the command line that starts its build for Windows

TARVIK_MEDIA_FILES in the environment names the folder that tests/audio/media_files.py has filled.
"""

import array
import json
import math
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "parent"))
import command  # noqa: E402
from command import path_for_command, peer  # noqa: E402

command.COMMAND = sys.argv[1:]
MEDIA_FILES = pathlib.Path(os.environ["TARVIK_MEDIA_FILES"])


def run_on(*arguments):
    done = subprocess.run([*command.COMMAND, *arguments], capture_output=True, stdin=subprocess.DEVNULL, timeout=120,
                          check=False, env=peer.environment())
    return done.returncode, done.stdout.decode().replace("\r\n", "\n"), done.stderr.decode().replace("\r\n", "\n")


def levels_of(samples):
    """Peak and RMS of integers of 16 bits, with 1 for full scale."""
    return max(map(abs, samples)) / 32768, math.sqrt(math.fsum(s * s for s in samples) / len(samples)) / 32768


class TarvikSoundOnMedia(unittest.TestCase):
    def test_Files_of_the_media_library_are_measured_to_their_ends(self):
        files = [line.split() for line in (MEDIA_FILES / "manifest").read_text().splitlines()]
        self.assertEqual(len(files), 3)
        code, output, errors = run_on("--json", *(path_for_command(MEDIA_FILES / file[0]) for file in files))
        self.assertEqual((code, errors), (0, ""))
        for (name, *numbers), report in zip(files, json.loads(output)):
            with self.subTest(name):
                channels, rate, frames = map(int, numbers)
                self.assertEqual([report[key] for key in ("kind", "channels", "sampleRate", "bits", "float")],
                                 ["media", channels, rate, 16, False])
                for key in "frames", "framesRead":
                    self.assertTrue(frames <= report[key] <= frames + 4 * 1152, report[key])
                # What ffmpeg reads of it, which has a little less silence at its ends.
                peer_samples = array.array("h", (MEDIA_FILES / (name + ".s16")).read_bytes())
                self.assertEqual(len(report["levels"]), channels)
                for channel, levels in enumerate(report["levels"]):
                    peak, rms = levels_of(peer_samples[channel::channels])
                    if name.endswith(".wma"):
                        # Wine's decoder begins WMA another way each time: some 4096 of the frames may be louder.
                        self.assertGreaterEqual(levels["peak"], peak - 0.02)
                        self.assertAlmostEqual(levels["rms"], rms, delta=0.02 * rms)
                        continue
                    self.assertAlmostEqual(levels["peak"], peak, delta=0.02)
                    self.assertAlmostEqual(levels["rms"], rms, delta=0.02 * rms)

    def check_damaged(self, name, reports_of):
        """reports_of gives the exit code and the reports of files with these contents."""
        whole = (MEDIA_FILES / name).read_bytes()
        cuts = [0, 11, 12, 40, 417, 1000, *range(2000, len(whole), len(whole) // 14)]
        damaged = [whole[:size] for size in cuts]
        for place in range(0, 1200, 60):
            flipped = bytearray(whole)
            flipped[place] ^= (0x01, 0x20, 0x80, 0xFF)[place // 60 % 4]
            damaged.append(bytes(flipped))
        with tempfile.TemporaryDirectory() as folder:
            paths = []
            for index, content in enumerate(damaged):
                paths.append(pathlib.Path(folder) / f"{index}{pathlib.Path(name).suffix}")
                paths[-1].write_bytes(content)
            reports = reports_of(paths)
        self.assertEqual(len(reports), len(damaged))
        for content, report in zip(damaged, reports):
            with self.subTest(bytes=len(content), name=report["file"]):
                if len(content) < 12:
                    self.assertIn("Could not determine the filetype of", report["errors"][0])
                elif report["errors"]:
                    self.assertRegex(report["errors"][0], r"^[A-Z][A-Za-z ]+\. 0x[0-9A-F]{8}$|^No audio streams found\.$")
                else:
                    # No more than 5 seconds and what the encoder adds.
                    self.assertLessEqual(report["framesRead"], 5 * 44100 + 4 * 2048)
        return damaged, cuts, reports

    def test_Damaged_MP3s_are_read_as_far_as_they_go_or_refused(self):
        def reports_of(paths):
            code, output, errors = run_on("--json", *map(path_for_command, paths))
            self.assertEqual(code, 1, errors)
            return json.loads(output)

        damaged, cuts, reports = self.check_damaged("stereo.mp3", reports_of)
        for content, report in zip(damaged, reports):
            if not report["errors"]:
                # No more than the bytes hold.
                self.assertLessEqual(report["framesRead"], 5 * 44100 * len(content) / len(damaged[-1]) + 4 * 1152)
        self.assertFalse(any(report["errors"] for report in reports[len(cuts):]), "a flipped bit costs no file")
        self.assertGreater(sum(not report["errors"] for report in reports[:len(cuts)]), 10)

    def test_Damaged_Windows_Media_files_are_read_as_far_as_they_go_or_refused(self):
        def reports_of(paths):
            reports = []
            for path in paths:
                # Each in a process of its own: one process that read 40 of them did not end under Wine.
                code, output, errors = run_on("--json", path_for_command(path))
                self.assertIn(code, (0, 1), errors)
                (report,) = json.loads(output)
                self.assertEqual(code == 1, bool(report["errors"]))
                reports.append(report)
            return reports

        _, cuts, reports = self.check_damaged("stereo.wma", reports_of)
        self.assertTrue(any(not report["errors"] for report in reports[:len(cuts)]))

    def test_What_the_header_does_not_tell_of_is_read_too(self):
        path = path_for_command(MEDIA_FILES / "says-less.mp3")
        code, output, errors = run_on("--json", path)
        self.assertEqual((code, errors), (0, ""))
        (report,) = json.loads(output)
        self.assertLess(report["frames"], 0.6 * 5 * 44100)
        self.assertGreaterEqual(report["framesRead"], 5 * 44100)
        self.assertIn(f"  read        {report['framesRead']} frames\n", run_on(path)[1])

    def test_A_file_without_a_name_that_tells_is_tried(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "song"
            path.write_bytes((MEDIA_FILES / "mono.mp3").read_bytes())
            code, output, errors = run_on(path_for_command(path))
            self.assertEqual((code, errors), (0, ""))
            self.assertIn("  kind        media\n", output)
            self.assertIn("  format      1 channel, 16-bit integer, 22050 Hz\n", output)

    def test_What_the_library_cannot_read_is_told_with_its_code(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "nothing.mp3"
            path.write_bytes(b"no sound at all, and not MP3 either")
            code, output, errors = run_on(path_for_command(path))
            self.assertEqual((code, output), (1, ""))
            self.assertRegex(errors, r"^tarvik-sound: .*nothing\.mp3: Unable to open file\. 0x[0-9A-F]{8}\n$")


if __name__ == "__main__":
    sys.exit(unittest.main(argv=sys.argv[:1], verbosity=1))
