"""The command tarvik-sound from outside: what it prints of files by other programs and of files made here, byte by
byte, beside values that are computed here; how it ends; and what a terminal sees.

tarvik_sound_test.py COMMAND...    the command line that starts it, for one of its builds

TARVIK_SOUND_FILES in the environment names the folder that tests/audio/peer_files.py has filled.
"""

import array
import json
import math
import os
import pathlib
import pty
import re
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "parent"))
import command  # noqa: E402
from command import is_windows_build, path_for_command, peer  # noqa: E402

command.COMMAND = sys.argv[1:]
PEER_FILES = pathlib.Path(os.environ["TARVIK_SOUND_FILES"])
HEAD = 3
# Nine digits are printed of every number.
NINE_DIGITS = 1e-8


class Run:
    """One run of the command to its end; before: a command line that runs it."""

    def __init__(self, *arguments, before=(), stdout=subprocess.PIPE):
        with subprocess.Popen([*before, *command.COMMAND, *arguments], stdin=subprocess.DEVNULL, stdout=stdout,
                              stderr=subprocess.PIPE, env=peer.environment()) as process:
            try:
                output, errors = process.communicate(timeout=300)
            except subprocess.TimeoutExpired:
                process.kill()
                raise
        self.code = process.returncode
        self.output = (output or b"").decode("utf-8").replace("\r\n", "\n")
        self.errors = errors.decode("utf-8").replace("\r\n", "\n")

    def reports(self):
        """Of a run with --json. JSON alone: no number that is none."""
        def refuse(name):
            raise ValueError(f"{name} is no JSON")
        return json.loads(self.output, parse_constant=refuse)


def as_float(value):
    """The 32-bit float next to a number, or what stands for those that have none."""
    if isinstance(value, str):
        return {"NaN": math.nan, "Infinity": math.inf, "-Infinity": -math.inf}[value]
    return struct.unpack("<f", struct.pack("<f", value))[0]


def float_bits(values):
    return [struct.pack("<f", value) for value in values]


def rms_of(samples):
    return math.sqrt(math.fsum(sample * sample for sample in samples) / len(samples))


def wav_chunk(identifier, body):
    return identifier + struct.pack("<I", len(body)) + body + bytes(len(body) % 2)


def wav(tag, channels, bits, samples, *chunks, rate=44100):
    block = channels * bits // 8
    form = wav_chunk(b"fmt ", struct.pack("<HHIIHH", tag, channels, rate, rate * block, block, bits))
    body = b"WAVE" + form + wav_chunk(b"data", samples) + b"".join(chunks)
    return b"RIFF" + struct.pack("<I", len(body)) + body


def read_manifest():
    """Of each file, what libsndfile found in it: see peer_files.py."""
    def text(word):
        return "" if word == "-" else bytes.fromhex(word).decode()

    files = []
    for line in (PEER_FILES / "manifest").read_text().splitlines():
        kind, *words = line.split()
        if kind == "file":
            names = ("kind", "channels", "sampleRate", "frames", "bytes", "float", "channelMask")
            files.append({"name": words[0], "markers": [], "reference": None, "loop": None,
                          **dict(zip(names, map(int, words[1:])))})
        elif kind == "marker":
            files[-1]["markers"].append((int(words[0]), text(words[1])))
        elif kind == "reference":
            files[-1]["reference"] = text(words[0])
        elif kind == "loop":
            files[-1]["loop"] = dict(zip(("beats", "numerator", "denominator"), map(int, words)))
    return files


class PeerFiles(unittest.TestCase):
    """Every file by libsndfile, sox and ffmpeg, in one run."""

    @classmethod
    def setUpClass(cls):
        cls.files = read_manifest()
        cls.run_of_all = Run("--json", "--head", str(HEAD),
                             *(path_for_command(PEER_FILES / file["name"]) for file in cls.files))
        cls.reports = cls.run_of_all.reports()

    def each(self, check):
        self.assertGreater(len(self.files), 90)
        self.assertEqual(len(self.reports), len(self.files))
        for file, report in zip(self.files, self.reports):
            with self.subTest(file["name"]):
                self.assertEqual(report["file"], path_for_command(PEER_FILES / file["name"]))
                check(file, report)

    def each_converted(self, check):
        """With libsndfile's floats, interleaved."""
        def with_samples(file, report):
            if file["bytes"] == 1:
                return
            samples = array.array("f")
            samples.frombytes((PEER_FILES / (file["name"] + ".f32")).read_bytes())
            check(file, report, samples)
        self.each(with_samples)

    def test_Kind_and_format_are_libsndfiles(self):
        def check(file, report):
            self.assertEqual(report["kind"], {2: "WAV", 3: "AIFF"}[file["kind"]])
            for name in ("channels", "sampleRate", "frames", "channelMask"):
                self.assertEqual(report[name], file[name], name)
            self.assertEqual(report["bits"], 8 * file["bytes"])
            self.assertIs(report["float"], bool(file["float"]))
            seconds = file["frames"] / file["sampleRate"]
            self.assertAlmostEqual(report["seconds"], seconds, delta=NINE_DIGITS * seconds)
            self.assertIs(report["truncated"], False)
            self.assertEqual(report["diagnostics"], [])
        self.each(check)

    def test_Markers_references_and_loops_are_libsndfiles(self):
        def check(file, report):
            self.assertEqual([(marker["frame"], marker.get("name", "")) for marker in report["markers"]],
                             file["markers"])
            self.assertEqual(report.get("originatorReference"), file["reference"])
            self.assertEqual(report.get("loop"), file["loop"])
        self.each(check)

    def test_Levels_are_those_of_libsndfiles_samples(self):
        def check(file, report, samples):
            self.assertEqual(report["errors"], [])
            self.assertEqual(report["framesRead"], file["frames"])
            self.assertEqual(len(report["levels"]), file["channels"])
            for channel, levels in enumerate(report["levels"]):
                own = samples[channel::file["channels"]]
                self.assertEqual((levels["nan"], levels["infinite"]), (0, 0))
                if not own:
                    self.assertEqual((levels["peak"], levels["rms"]), (None, None))
                    continue
                self.assertEqual(as_float(levels["peak"]), max(map(abs, own)))
                self.assertAlmostEqual(levels["rms"], rms_of(own), delta=NINE_DIGITS * rms_of(own))
        self.each_converted(check)

    def test_The_head_is_libsndfiles_to_the_bit(self):
        def check(file, report, samples):
            channels = file["channels"]
            self.assertEqual(len(report["head"]), min(HEAD, file["frames"]))
            for number, frame in enumerate(report["head"]):
                self.assertEqual(float_bits(map(as_float, frame)),
                                 float_bits(samples[number * channels:(number + 1) * channels]))
        self.each_converted(check)

    def test_Samples_of_8_bits_are_told_as_not_read(self):
        seen = []

        def check(file, report):
            if file["bytes"] != 1:
                return
            seen.append(file["name"])
            (error,) = report["errors"]
            self.assertRegex(error, r"^(ReadFloatInterleaved|GetNextBlock) \d+ called, unsupported conversion$")
            self.assertEqual((report["levels"], report["head"], report["framesRead"]), ([], [], 0))
            self.assertIn(f"tarvik-sound: {report['file']}: {error}\n", self.run_of_all.errors)
        self.each(check)
        self.assertGreater(len(seen), 5)
        self.assertEqual(self.run_of_all.errors.count("\n"), len(seen))
        self.assertEqual(self.run_of_all.code, 1)


class OwnFiles(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def file(self, name, data):
        path = self.folder / name
        path.write_bytes(data)
        return path_for_command(path)

    def report(self, data, *options):
        """Of a file that can be read to its end."""
        run = Run("--json", *options, self.file("a.wav", data))
        self.assertEqual((run.code, run.errors), (0, ""))
        (report,) = run.reports()
        self.assertEqual(report["errors"], [])
        return report

    def test_The_text_has_a_line_for_each_fact(self):
        cue = struct.pack("<I", 1) + struct.pack("<II4sIII", 7, 1, b"data", 0, 0, 1)
        label = wav_chunk(b"labl", struct.pack("<I", 7) + b"Caf\xc3\xa9")
        bext = bytes(256 + 32) + b"REF-0815".ljust(32, b"\0") + bytes(282)
        path = self.file("a.wav", wav(1, 2, 16, struct.pack("<4h", 16384, 0, -8192, -32768), wav_chunk(b"bext", bext),
                                      wav_chunk(b"cue ", cue), wav_chunk(b"LIST", b"adtl" + label), rate=1000))
        run = Run("--head", "1", path)
        self.assertEqual((run.code, run.errors), (0, ""))
        rms = [rms_of((0.5, -0.25)), rms_of((0, -1))]
        self.assertEqual(run.output, f"""{path}
  kind        WAV
  format      2 channels, 16-bit integer, 1000 Hz
  frames      2
  duration    0:00.002
  truncated   no
  reference   REF-0815
  marker      7 at frame 1 (0:00.001): Caf\u00e9
  channel 1   peak 0.500000 (-6.02 dB), RMS {rms[0]:.6f} ({20 * math.log10(rms[0]):.2f} dB)
  channel 2   peak 1.000000 (0.00 dB), RMS {rms[1]:.6f} ({20 * math.log10(rms[1]):.2f} dB)
  sample 0                0.5               0
""")

    def test_Several_files_are_told_in_their_order_apart_from_each_other(self):
        paths = [self.file(name, wav(1, 1, 16, bytes(2))) for name in ("b.wav", "a.wav")]
        run = Run(*paths)
        self.assertEqual(run.code, 0)
        first, second = run.output.split("\n\n")
        self.assertEqual([first.splitlines()[0], second.splitlines()[0]], paths)

    def test_What_cannot_be_read_does_not_keep_the_others_back(self):
        good, bad = self.file("good.wav", wav(1, 1, 16, bytes(2))), self.file("bad.wav", b"no sound file at all")
        for paths in ((bad, good), (good, bad)):
            run = Run(*paths)
            self.assertEqual(run.output.splitlines()[0], good)
            self.assertNotIn("bad.wav", run.output)
            self.assertEqual(run.errors, f"tarvik-sound: {bad}: Invalid RIFF header\n")
            self.assertEqual(run.code, 1)
            run = Run("--json", *paths)
            self.assertEqual([report["file"] for report in run.reports()], list(paths))
            self.assertEqual({report["file"]: report["errors"] for report in run.reports()},
                             {good: [], bad: ["Invalid RIFF header"]})
            self.assertEqual(run.code, 1)

    def check_unreadable(self, path, *endings, before=()):
        run = Run(path, before=before)
        self.assertEqual(run.output, "")
        start = f"tarvik-sound: {path}: Could not determine the filetype of \"{path}\""
        self.assertIn(run.errors, [f"{start}{ending}\n" for ending in endings])
        self.assertEqual(run.code, 1)
        run = Run("--json", path, before=before)
        (report,) = run.reports()
        self.assertEqual(set(report), {"file", "errors"})
        self.assertEqual(run.code, 1)

    def test_A_file_that_is_not_there(self):
        self.check_unreadable(path_for_command(self.folder / "missing.wav"),
                              ": Error opening file: No such file or directory")

    def test_A_folder(self):
        (self.folder / "folder.wav").mkdir()
        # Windows opens no folder, and says that it is forbidden.
        self.check_unreadable(path_for_command(self.folder / "folder.wav"),
                              f": Error opening file: {'Permission denied' if is_windows_build() else 'Is a directory'}")

    def test_An_empty_file(self):
        self.check_unreadable(self.file("empty.wav", b""), ": Attempt to read 12 bytes, only read 0 bytes")

    def test_A_text_file(self):
        self.check_unreadable(self.file("a.txt", b"Nothing that could be heard.\n"), "")

    @unittest.skipIf(is_windows_build(), "Wine serves root every file")
    def test_A_file_without_permission(self):
        path = self.file("a.wav", wav(1, 1, 16, bytes(2)))
        os.chmod(path, 0)
        # Root's permission to read everything, given up for the one run.
        before = ("setpriv", "--bounding-set", "-dac_override,-dac_read_search") if os.geteuid() == 0 else ()
        self.check_unreadable(path, ": Error opening file: Permission denied", before=before)

    def test_A_truncated_file_tells_so_and_what_is_left(self):
        for kind, data in (("wav", wav(1, 2, 24, bytes(range(60)))),
                           ("aiff", (PEER_FILES / "aiff-24-2.aiff").read_bytes())):
            with self.subTest(kind):
                whole = Run("--json", self.file("whole." + kind, data)).reports()[0]
                run = Run("--json", self.file("cut." + kind, data[:-7]))
                (cut,) = run.reports()
                self.assertEqual((run.code, cut["errors"]), (0, []))
                self.assertEqual((whole["truncated"], cut["truncated"]), (False, True))
                # Seven bytes are a frame of six and one byte of the next.
                self.assertEqual(cut["frames"], whole["frames"] - 2)
                self.assertEqual(cut["framesRead"], cut["frames"])
                self.assertIn("  truncated   yes\n", Run(self.file("cut." + kind, data[:-7])).output)

    def test_What_the_decoder_found_odd_is_told(self):
        data = (PEER_FILES / "aiff-16-1.aiff").read_bytes() + b"junk" + struct.pack(">I", 1000)
        odd = "Chunk 'junk' has a size (1000 B) that is larger than the remaining file (0 B)."
        path = self.file("a.aiff", data)
        (report,) = Run("--json", path).reports()
        self.assertEqual(report["diagnostics"], [odd])
        self.assertIn(f"  odd         {odd}\n", Run(path).output)

    def test_What_is_no_finite_number_is_counted_and_named(self):
        values = [0.5, math.nan, -math.inf, -0.25, math.inf, math.nan, -0.0, 1e-40, 3e38]
        samples = struct.pack(f"<{len(values)}f", *values)
        report = self.report(wav(3, 1, 32, samples), "--head", "9")
        (levels,) = report["levels"]
        finite = [value for value in struct.unpack(f"<{len(values)}f", samples) if math.isfinite(value)]
        self.assertEqual((levels["nan"], levels["infinite"]), (2, 2))
        self.assertEqual(as_float(levels["peak"]), max(map(abs, finite)))
        self.assertAlmostEqual(levels["rms"], rms_of(finite), delta=NINE_DIGITS * rms_of(finite))
        self.assertEqual(report["head"][1:3] + report["head"][4:6], [["NaN"], ["-Infinity"], ["Infinity"], ["NaN"]])
        for value, (printed,) in zip(values, report["head"]):
            if not math.isnan(value):
                self.assertEqual(float_bits([value]), float_bits([as_float(printed)]))
        output = Run("--head", "9", self.file("b.wav", wav(3, 1, 32, samples))).output
        self.assertIn(", 2 NaN left out, 2 infinite left out\n", output)
        heads = [line.split()[2] for line in output.splitlines() if line.startswith("  sample")]
        self.assertEqual(heads, ["0.5", "nan", "-inf", "-0.25", "inf", "nan", "-0", "1e-40", "3e+38"])

    def test_A_head_longer_than_the_file_is_the_file(self):
        report = self.report(wav(1, 1, 16, struct.pack("<2h", 16384, -16384)), "--head", "1000000")
        self.assertEqual(report["head"], [[0.5], [-0.5]])
        self.assertEqual(self.report(wav(1, 1, 16, bytes(2)))["head"], [])

    def test_A_file_of_many_channels(self):
        channels = 1000
        report = self.report(wav(1, channels, 16, struct.pack(f"<{2 * channels}h", *range(2 * channels))))
        self.assertEqual([round(levels["peak"] * 32768) for levels in report["levels"]],
                         list(range(channels, 2 * channels)))

    def test_Labels_and_notes_regions_and_applications_are_told(self):
        cue = struct.pack("<I", 1) + struct.pack("<II4sIII", 7, 1, b"data", 0, 0, 1)
        texts = (wav_chunk(b"labl", struct.pack("<I", 7) + b"one\0") + wav_chunk(b"labl", struct.pack("<I", 8) + b"\xe9")
                 + wav_chunk(b"note", struct.pack("<I", 7) + b"remark")
                 + wav_chunk(b"ltxt", struct.pack("<II4sHHHH", 7, 5, b"rgn ", 0, 0, 0, 0) + b"part"))
        report = self.report(wav(1, 1, 16, bytes(20), wav_chunk(b"cue ", cue), wav_chunk(b"LIST", b"adtl" + texts)))
        self.assertEqual(report["markers"], [{"identifier": 7, "frame": 1, "name": "one"}])
        self.assertEqual(report["labels"], [{"marker": 7, "text": "one"},
                                            {"marker": 8, "text": "\ufffd", "textBytes": "e9"}])
        self.assertEqual(report["notes"], [{"marker": 7, "text": "remark"}])
        self.assertEqual(report["regions"], [{"identifier": 7, "frame": 1, "frames": 5, "name": "part"}])
        (report,) = Run("--json", path_for_command(PEER_FILES / "odd.aiff")).reports()
        self.assertEqual(report["applications"], [{"signature": "sign", "bytes": 6}])

    def test_Names_beyond_ascii_are_found_and_printed(self):
        path = self.file("Gr\u00f6\u00dfe \u97f3.wav", wav(1, 1, 16, bytes(2)))
        run = Run(path)
        self.assertEqual((run.code, run.output.splitlines()[0]), (0, path))
        self.assertEqual(Run("--json", path).reports()[0]["file"], path)

    @unittest.skipIf(is_windows_build(), "no such names there")
    def test_Names_cannot_steer_the_terminal_and_keep_their_bytes(self):
        name = bytes(self.folder) + b"/a\x1b[2J\xe9.wav"
        shown = f"{self.folder}/a\ufffd[2J\ufffd.wav"
        for data in (wav(1, 1, 16, bytes(2)), b"no sound file at all"):
            with open(name, "wb") as file:
                file.write(data)
            run = Run(name)
            self.assertNotIn("\x1b", run.output + run.errors)
            self.assertIn(shown, run.output + run.errors)
            run = Run("--json", name)
            self.assertNotIn("\x1b", run.output + run.errors)
            self.assertEqual(bytes.fromhex(run.reports()[0]["fileBytes"]), name)

    def test_A_name_that_begins_like_an_option_stands_behind_two_dashes(self):
        run = Run("--json", "--", "--head")
        self.assertEqual([report["file"] for report in run.reports()], ["--head"])

    def test_A_bad_command_line(self):
        path = self.file("a.wav", wav(1, 1, 16, bytes(2)))
        for arguments in ((), ("--json",), ("--nonsense", path), ("--head", "-1", path), ("--head", "x", path),
                          ("--head", "1000001", path), ("--head",)):
            run = Run(*arguments)
            self.assertEqual((run.code, run.output), (2, ""), arguments)
            self.assertNotEqual(run.errors, "", arguments)

    def test_Help_is_no_failure(self):
        run = Run("--help")
        self.assertEqual((run.code, run.errors), (0, ""))
        self.assertIn("Exit codes", run.output)

    def test_Output_that_cannot_be_written_is_told(self):
        path = self.file("a.wav", wav(1, 1, 16, bytes(2)))
        for arguments in ((path,), ("--json", path)):
            with open("/dev/full", "wb") as full:
                run = Run(*arguments, stdout=full)
            self.assertEqual(run.code, 3)
            self.assertRegex(run.errors, "^tarvik-sound: cannot write the output: .+\n$")


class LongFile(unittest.TestCase):
    """A file that takes its time: silence that takes no disk, and a sample at its end."""

    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.directory.cleanup)
        path = pathlib.Path(cls.directory.name) / "long.wav"
        cls.bytes = 1 << 29
        header = wav(1, 1, 32, b"")
        with open(path, "wb") as file:
            file.write(header[:-4] + struct.pack("<I", cls.bytes))
            file.truncate(len(header) + cls.bytes)
            file.seek(-4, os.SEEK_END)
            file.write(struct.pack("<i", -1 << 30))
        cls.path = path_for_command(path)

    def test_It_is_measured_to_its_end_in_little_memory_and_a_pipe_sees_no_progress(self):
        with subprocess.Popen([*command.COMMAND, "--json", self.path], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=peer.environment()) as process:
            most = 0
            while process.poll() is None:
                most = max(most, self.own_memory(process.pid))
                time.sleep(0.005)
            (report,) = json.loads(process.stdout.read())
            self.assertEqual(process.stderr.read(), b"")
        frames = self.bytes // 4
        self.assertEqual((report["frames"], report["framesRead"]), (frames, frames))
        (levels,) = report["levels"]
        self.assertEqual(levels["peak"], 0.5)
        self.assertAlmostEqual(levels["rms"], math.sqrt(0.25 / frames), delta=1e-12)
        self.assertGreater(most, 1 << 20)
        self.assertLess(most, self.bytes // 4)

    @staticmethod
    def own_memory(number):
        """Bytes in memory that are the process's own, and not those of a file; 0 once it has ended."""
        try:
            text = pathlib.Path(f"/proc/{number}/status").read_text()
        except OSError:
            return 0
        found = re.search(r"^RssAnon:\s+(\d+) kB$", text, re.MULTILINE)
        return 1024 * int(found[1]) if found else 0

    def on_terminal(self, *arguments):
        """What a terminal gets of standard error, and how long that took."""
        ours, theirs = pty.openpty()
        pieces = []

        def collect():
            while True:
                try:
                    piece = os.read(ours, 4096)
                except OSError:  # the other side has been closed
                    return
                if not piece:
                    return
                pieces.append(piece)

        started = time.monotonic()
        with subprocess.Popen([*command.COMMAND, *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=theirs, env=peer.environment()) as process:
            os.close(theirs)
            reader = threading.Thread(target=collect)
            reader.start()
            output = process.stdout.read().decode()
            reader.join()
        os.close(ours)
        self.assertEqual(process.returncode, 0)
        return b"".join(pieces).decode(), output, time.monotonic() - started

    @unittest.skipIf(is_windows_build(), "no terminal of this kind is one to a Windows program")
    def test_A_terminal_sees_progress_and_in_the_end_nothing_of_it(self):
        # So often that it takes well above the pause before the first text, however fast the machine is.
        _, _, seconds = self.on_terminal(self.path)
        count = 2 + math.ceil(2 / seconds)
        for paths, place in (((self.path,), ""), ((self.path,) * count, rf"\[\d+/{count}\] ")):
            seen, output, seconds = self.on_terminal(*paths)
            texts = [text.rstrip() for text in seen.split("\r")]
            self.assertEqual(texts[0], "")
            self.assertEqual(texts[-1], "")
            shown = [text for text in texts if text]
            if len(paths) == 1 and not shown:
                self.assertLess(seconds, 1)
                continue
            self.assertGreater(len(shown), 0, f"nothing in {seconds} s")
            for text in shown:
                self.assertRegex(text, f"^{place}\\d+ %$")
            # Ten times in a second at most, after a pause.
            self.assertLess(len(shown), 10 * seconds)
            if len(paths) == 1:
                numbers = [int(text.split()[0]) for text in shown]
                self.assertEqual(numbers, sorted(numbers))
            # A line is only ever blanked from its start and left there, or written over from its start.
            self.assertRegex(seen, r"^(\r[^\r\n]*)+\r$")
            self.assertTrue(seen.endswith("\r" + " " * len(shown[-1]) + "\r"), repr(seen[-40:]))
            self.assertNotIn("%", output)

    @unittest.skipIf(is_windows_build(), "no terminal of this kind is one to a Windows program")
    def test_A_short_file_shows_no_progress(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "a.wav"
            path.write_bytes(wav(1, 1, 16, bytes(2000)))
            self.assertEqual(self.on_terminal(str(path))[0], "")


if __name__ == "__main__":
    sys.exit(unittest.main(argv=sys.argv[:1], verbosity=1))
