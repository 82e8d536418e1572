#!/usr/bin/python3
"""media_files.py FOLDER: sound files that only a media library reads, and what ffmpeg reads of them.

Each channel sweeps through frequencies of its own, so that any stretch of it is found again at one place alone. Beside
each FILE stands FILE.s16, ffmpeg's own reading of it, interleaved. The file `manifest` has one line for each FILE, with
the frames of the sound that it was made of:

  NAME CHANNELS RATE FRAMES
"""

import array
import math
import pathlib
import struct
import subprocess
import sys
import wave

FOLDER = pathlib.Path(sys.argv[1])
SWEEPS = (300.0, 250.0, 0.4), (5000.0, -300.0, 0.3)  # Hz, Hz per second, of full scale


def sweep(start, slope, peak, rate, frames):
    return [round(32767 * peak * math.sin(2 * math.pi * (start * t + slope / 2 * t * t)))
            for t in (i / rate for i in range(frames))]


def source(name, channels, rate, frames):
    tracks = [sweep(*of_channel, rate, frames) for of_channel in SWEEPS[:channels]]
    with wave.open(str(FOLDER / name), "wb") as file:
        file.setnchannels(channels)
        file.setsampwidth(2)
        file.setframerate(rate)
        file.writeframes(array.array("h", [sample for frame in zip(*tracks) for sample in frame]).tobytes())


def ffmpeg(*arguments):
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", *arguments], cwd=FOLDER, check=True)


def halve_frame_count(data):
    """The number of MPEG frames that the header tells players of, halved; the sound itself stays."""
    at = data.index(b"Info" if b"Info" in data else b"Xing")
    flags, count = struct.unpack_from(">II", data, at + 4)
    assert flags & 1
    return data[:at + 8] + struct.pack(">I", count // 2) + data[at + 12:]


FOLDER.mkdir(parents=True, exist_ok=True)
lines = []
for name, channels, rate, seconds, options in (
        ("stereo.mp3", 2, 44100, 5, ("-c:a", "libmp3lame", "-b:a", "192k")),
        ("mono.mp3", 1, 22050, 4, ("-c:a", "libmp3lame", "-b:a", "64k")),
        ("stereo.wma", 2, 44100, 5, ("-c:a", "wmav2", "-b:a", "192k"))):
    frames = seconds * rate
    source("source.wav", channels, rate, frames)
    ffmpeg("-i", "source.wav", *options, name)
    ffmpeg("-i", name, "-f", "s16le", name + ".s16")
    lines.append(f"{name} {channels} {rate} {frames}")
(FOLDER / "says-less.mp3").write_bytes(halve_frame_count((FOLDER / "stereo.mp3").read_bytes()))
(FOLDER / "manifest").write_text("\n".join(lines) + "\n")
