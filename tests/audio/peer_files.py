#!/usr/bin/python3
"""peer_files.py FOLDER: sound files by other programs, and what another library reads of them.

Writes files with libsndfile, sox and ffmpeg, some of them with further chunks put in by hand. Beside each FILE stand
libsndfile's own readings of it: FILE.f32 and FILE.s16, interleaved, and FILE.raw, the bytes of the samples. The file
`manifest` has one line for each FILE:

  file NAME TYPE CHANNELS RATE FRAMES BYTES_PER_SAMPLE IS_FLOAT CHANNEL_MASK

followed by lines of what else libsndfile finds in it, texts in hexadecimal, "-" for none:

  marker FRAME NAME
  reference TEXT
  loop BEATS NUMERATOR DENOMINATOR
  region FRAME FRAMES

The regions are the loops of an AIFF file's instrument.
"""

import array
import ctypes
import pathlib
import random
import struct
import subprocess
import sys
import warnings

FOLDER = pathlib.Path(sys.argv[1])

SF_READ, SF_WRITE = 0x10, 0x20
WAV, AIFF, WAVEX, RF64 = 0x010000, 0x020000, 0x130000, 0x220000
S8, S16, S24, S32, U8, FLOAT, DOUBLE = 1, 2, 3, 4, 5, 6, 7
LITTLE = 0x10000000
BYTES = {S8: 1, U8: 1, S16: 2, S24: 3, S32: 4, FLOAT: 4, DOUBLE: 8}

GET_CUE, SET_CUE, GET_INSTRUMENT, GET_LOOP = 0x10CE, 0x10CF, 0x10D0, 0x10E0
GET_BROADCAST, SET_BROADCAST = 0x10F0, 0x10F1
GET_MAP, SET_MAP = 0x1100, 0x1101
LOOP_NONE = 800

# libsndfile's numbers of speakers, and the bits that WAV files have for them.
SPEAKERS = {2: 0x1, 3: 0x2, 4: 0x4, 5: 0x1, 6: 0x2, 7: 0x4, 11: 0x8, 9: 0x10, 10: 0x20, 12: 0x40, 13: 0x80, 8: 0x100,
            14: 0x200, 15: 0x400}


class Info(ctypes.Structure):
    _fields_ = [("frames", ctypes.c_int64), ("samplerate", ctypes.c_int), ("channels", ctypes.c_int),
                ("format", ctypes.c_int), ("sections", ctypes.c_int), ("seekable", ctypes.c_int)]


class CuePoint(ctypes.Structure):
    _fields_ = [("indx", ctypes.c_int32), ("position", ctypes.c_uint32), ("fcc_chunk", ctypes.c_int32),
                ("chunk_start", ctypes.c_int32), ("block_start", ctypes.c_int32), ("sample_offset", ctypes.c_uint32),
                ("name", ctypes.c_char * 256)]


class Cues(ctypes.Structure):
    _fields_ = [("count", ctypes.c_uint32), ("points", CuePoint * 100)]


class Broadcast(ctypes.Structure):
    _fields_ = [("description", ctypes.c_char * 256), ("originator", ctypes.c_char * 32),
                ("originator_reference", ctypes.c_char * 32), ("date", ctypes.c_char * 10), ("time", ctypes.c_char * 8),
                ("time_low", ctypes.c_uint32), ("time_high", ctypes.c_uint32), ("version", ctypes.c_short),
                ("umid", ctypes.c_char * 64), ("loudness", ctypes.c_int16 * 5), ("reserved", ctypes.c_char * 180),
                ("history_size", ctypes.c_uint32), ("history", ctypes.c_char * 256)]


class Loop(ctypes.Structure):
    _fields_ = [("numerator", ctypes.c_short), ("denominator", ctypes.c_short), ("mode", ctypes.c_int),
                ("beats", ctypes.c_int), ("bpm", ctypes.c_float), ("root", ctypes.c_int), ("future", ctypes.c_int * 6)]


class InstrumentLoop(ctypes.Structure):
    _fields_ = [("mode", ctypes.c_int), ("start", ctypes.c_uint32), ("end", ctypes.c_uint32), ("count", ctypes.c_uint32)]


class Instrument(ctypes.Structure):
    _fields_ = [("gain", ctypes.c_int), ("basenote", ctypes.c_int8), ("detune", ctypes.c_int8),
                ("velocity_lo", ctypes.c_int8), ("velocity_hi", ctypes.c_int8), ("key_lo", ctypes.c_int8),
                ("key_hi", ctypes.c_int8), ("loop_count", ctypes.c_int), ("loops", InstrumentLoop * 16)]


sndfile = ctypes.CDLL("libsndfile.so.1")
sndfile.sf_open.restype = ctypes.c_void_p
sndfile.sf_open.argtypes = [ctypes.c_char_p, ctypes.c_int, ctypes.POINTER(Info)]
sndfile.sf_strerror.restype = ctypes.c_char_p
sndfile.sf_strerror.argtypes = [ctypes.c_void_p]
sndfile.sf_close.argtypes = [ctypes.c_void_p]
sndfile.sf_command.argtypes = [ctypes.c_void_p, ctypes.c_int, ctypes.c_void_p, ctypes.c_int]
sndfile.sf_set_string.argtypes = [ctypes.c_void_p, ctypes.c_int, ctypes.c_char_p]
for name in ("sf_writef_int", "sf_writef_float", "sf_readf_float", "sf_readf_short", "sf_read_raw", "sf_seek"):
    getattr(sndfile, name).restype = ctypes.c_int64
for name in ("sf_writef_int", "sf_writef_float", "sf_readf_float", "sf_readf_short", "sf_read_raw"):
    getattr(sndfile, name).argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int64]
sndfile.sf_seek.argtypes = [ctypes.c_void_p, ctypes.c_int64, ctypes.c_int]


def pointer(values):
    return values.buffer_info()[0]


def write(name, form, channels=2, frames=1531, rate=44100, before=None):
    """Noise with the ends of the range in it. before(file) may set what the header shall have."""
    info = Info(samplerate=rate, channels=channels, format=form)
    file = sndfile.sf_open(bytes(FOLDER / name), SF_WRITE, ctypes.byref(info))
    if not file:
        sys.exit(f"{name}: {sndfile.sf_strerror(None).decode()}")
    if before:
        before(file)
    source = random.Random(name)
    count = channels * frames
    if form & 0xFFFF in (FLOAT, DOUBLE):
        special = [0.0, -0.0, 1.0, -1.0, 1.5, -3.0, 1e-40, 1e-7, 1e30]
        values = array.array("f", (source.choice(special) if source.random() < 0.1 else source.uniform(-1, 1)
                                   for _ in range(count)))
        written = sndfile.sf_writef_float(file, pointer(values), frames)
    else:
        special = [0, -1, 1, 2**31 - 1, -2**31, 2**31 - 2**15, -2**31 + 2**16]
        values = array.array("i", (source.choice(special) if source.random() < 0.1
                                   else source.randrange(-2**31, 2**31) for _ in range(count)))
        written = sndfile.sf_writef_int(file, pointer(values), frames)
    assert written == frames, name
    sndfile.sf_close(file)
    return name


def set_structure(command, value):
    def call(file):
        assert sndfile.sf_command(file, command, ctypes.byref(value), ctypes.sizeof(value)) == 1, hex(command)
    return call


def set_speakers(*speakers):
    values = (ctypes.c_int * len(speakers))(*speakers)
    return set_structure(SET_MAP, values)


def set_cues(*points):
    cues = Cues(count=len(points))
    for i, (frame, text) in enumerate(points):
        cues.points[i] = CuePoint(indx=i + 1, position=frame, fcc_chunk=int.from_bytes(b"data", "little"),
                                  sample_offset=frame, name=text)
    return set_structure(SET_CUE, cues)


def set_broadcast(reference):
    return set_structure(SET_BROADCAST, Broadcast(description=b"tests", originator=b"tests",
                                                  originator_reference=reference, version=1))


def set_strings(*texts):
    def call(file):
        for number, text in texts:
            assert sndfile.sf_set_string(file, number, text) == 0
    return call


def insert(name, source, after, *chunks):
    """A copy of a file with chunks behind the one of that name, or at the end for None; each a (name, body)."""
    data = (FOLDER / source).read_bytes()
    order = ">" if data[:4] == b"FORM" else "<"
    position = 12
    while position + 8 <= len(data) and after is not None:
        size = struct.unpack_from(order + "I", data, position + 4)[0]
        identifier = data[position:position + 4]
        position += 8 + size + size % 2
        if identifier == after:
            break
    position = len(data) if after is None else position
    put = b"".join(identifier + struct.pack(order + "I", len(body)) + body + bytes(len(body) % 2)
                   for identifier, body in chunks)
    whole = data[:4] + struct.pack(order + "I", len(data) - 8 + len(put)) + data[8:position] + put + data[position:]
    (FOLDER / name).write_bytes(whole)
    return name


def substitute(name, source, old, new):
    """A copy of a file with other bytes in their one place."""
    data = (FOLDER / source).read_bytes()
    assert data.count(old) == 1 and len(old) == len(new)
    (FOLDER / name).write_bytes(data.replace(old, new))
    return name


def run(*command):
    subprocess.run(command, check=True, stdin=subprocess.DEVNULL, cwd=FOLDER)


def sox(name, source, *options):
    run("sox", "-V1", "-D", "-R", source, *options, name)
    return name


def ffmpeg(name, source, *options):
    run("ffmpeg", "-v", "error", "-nostdin", "-y", "-bitexact", "-i", source, *options, name)
    return name


def python_aifc(name, *marks):
    """By Python's own library, in the compressed form that is not compressed."""
    source = random.Random(name)
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", DeprecationWarning)
        import aifc
    with aifc.open(str(FOLDER / name), "wb") as file:
        file.setparams((2, 2, 48000, 1531, b"NONE", b"not compressed"))
        for mark_ in marks:
            file.setmark(*mark_)
        file.writeframes(source.randbytes(4 * 1531))
    return name


def opened(name):
    info = Info()
    file = sndfile.sf_open(bytes(FOLDER / name), SF_READ, ctypes.byref(info))
    if not file:
        sys.exit(f"{name}: {sndfile.sf_strerror(None).decode()}")
    return file, info


def describe(manifest, name, source, source_of_markers=None):
    """libsndfile's readings of the source as what the file shall be: files beside it, and lines of the manifest."""
    file, info = opened(source)
    coding = info.format & 0xFFFF
    major = info.format & 0x0FFF0000
    floats = array.array("f", bytes(4 * info.frames * info.channels))
    assert sndfile.sf_readf_float(file, pointer(floats), info.frames) == info.frames, name
    (FOLDER / (name + ".f32")).write_bytes(floats.tobytes())
    sndfile.sf_seek(file, 0, 0)
    shorts = array.array("h", bytes(2 * info.frames * info.channels))
    assert sndfile.sf_readf_short(file, pointer(shorts), info.frames) == info.frames, name
    (FOLDER / (name + ".s16")).write_bytes(shorts.tobytes())
    sndfile.sf_seek(file, 0, 0)
    raw = array.array("B", bytes(BYTES[coding] * info.frames * info.channels))
    assert sndfile.sf_read_raw(file, pointer(raw), len(raw)) == len(raw), name
    (FOLDER / (name + ".raw")).write_bytes(raw.tobytes())

    mask = 0
    speakers = (ctypes.c_int * info.channels)()
    if major in (WAVEX, RF64) and sndfile.sf_command(file, GET_MAP, speakers, ctypes.sizeof(speakers)):
        mask = sum(SPEAKERS[speaker] for speaker in speakers)
    manifest.append(f"file {name} {3 if major == AIFF else 2} {info.channels} {info.samplerate} {info.frames} "
                    f"{BYTES[coding]} {int(coding in (FLOAT, DOUBLE))} {mask}")
    cues = Cues()
    marked, _ = opened(source_of_markers or source)
    if sndfile.sf_command(marked, GET_CUE, ctypes.byref(cues), ctypes.sizeof(cues)):
        for point in cues.points[:cues.count]:
            manifest.append(f"marker {point.sample_offset} {point.name.hex() or '-'}")
    sndfile.sf_close(marked)
    broadcast = Broadcast()
    if sndfile.sf_command(file, GET_BROADCAST, ctypes.byref(broadcast), ctypes.sizeof(broadcast)):
        manifest.append(f"reference {broadcast.originator_reference.hex() or '-'}")
    loop = Loop()
    if sndfile.sf_command(file, GET_LOOP, ctypes.byref(loop), ctypes.sizeof(loop)):
        manifest.append(f"loop {loop.beats} {loop.numerator} {loop.denominator}")
    played = Instrument()
    if major == AIFF and sndfile.sf_command(file, GET_INSTRUMENT, ctypes.byref(played),
                                            ctypes.sizeof(played)):
        for region in played.loops[:2]:
            if region.mode not in (0, LOOP_NONE):
                manifest.append(f"region {region.start} {region.end - region.start}")
    sndfile.sf_close(file)


def label(identifier, text):
    body = struct.pack("<I", identifier) + text
    return b"labl" + struct.pack("<I", len(body)) + body + bytes(len(body) % 2)


def cue(*points):
    return struct.pack("<I", len(points)) + b"".join(
        struct.pack("<II4sIII", identifier, frame, b"data", 0, 0, frame) for identifier, frame in points)


def mark(identifier, frame, text):
    return struct.pack(">HIB", identifier, frame, len(text)) + text + bytes((len(text) + 1) % 2)


def instrument(*loops):
    """Play mode, first and last marker of the sustain loop, and of the release loop."""
    return struct.pack(">6bh6H", 60, 0, 0, 127, 0, 127, 0, *loops)


def all_files():
    for coding, text in ((U8, "8"), (S16, "16"), (S24, "24"), (S32, "32"), (FLOAT, "float")):
        for channels in (1, 2, 5):
            yield write(f"wav-{text}-{channels}.wav", WAV | coding, channels)
        yield write(f"extensible-{text}.wav", WAVEX | coding, 6, before=set_speakers(2, 3, 4, 11, 9, 10))
        yield write(f"rf64-{text}.wav", RF64 | coding)
    yield write("long.wav", WAV | S16, frames=400_001, rate=96000)
    yield write("long-24.wav", WAV | S24, frames=400_001, rate=192000)
    yield write("empty.wav", WAV | S16, frames=0)
    yield write("extensible-quad.wav", WAVEX | S24, 4, before=set_speakers(2, 3, 9, 10))
    yield write("bext.wav", WAV | S24, before=set_broadcast(b"REF-0815"))
    yield write("bext-full.wav", WAVEX | S16, before=set_broadcast(b"0123456789abcdef0123456789ABCDE"))
    yield write("cue.wav", WAV | S16, before=set_cues((0, b"start"), (700, b"middle"), (1530, b"")))
    yield write("strings.wav", WAV | S16, before=set_strings((1, b"Title"), (4, b"odd")))
    for coding, text in ((S8, "8"), (S16, "16"), (S24, "24"), (S32, "32"), (FLOAT, "float")):
        for channels in (1, 2, 5):
            # An even number of bytes where a sample is one: libsndfile takes the pad byte for another.
            yield write(f"aiff-{text}-{channels}.aiff", AIFF | coding, channels, 1532 if coding == S8 else 1531)
    yield write("sowt-16.aifc", AIFF | LITTLE | S16)
    # libsndfile gives the wider ones other types.
    for coding, text, its_type in ((S24, "24", b"42n1"), (S32, "32", b"23ni")):
        yield substitute(f"sowt-{text}.aifc", write(f"little-{text}.aifc", AIFF | LITTLE | coding), its_type, b"sowt")
    yield write("long.aiff", AIFF | S24, frames=400_001, rate=88200)
    yield write("rate.aiff", AIFF | S16, rate=11025)
    yield write("highest-rate.aiff", AIFF | S16, rate=1_000_000)
    yield write("strings.aiff", AIFF | S16, before=set_strings((1, b"Title"), (3, b"software"), (5, b"odd")))
    yield write("markers.aiff", AIFF | S16, before=set_cues((0, b"start"), (700, b"middle"), (1530, b"e")))

    yield python_aifc("python.aifc", (1, 3, b"three"), (2, 1000, b"odd"))

    odd = (b"odd ", b"123")
    yield insert("odd-before-data.wav", "wav-16-2.wav", b"fmt ", odd, odd, (b"one ", b"1"))
    yield insert("odd-behind.wav", "wav-24-1.wav", None, odd, (b"none", b""), odd)
    yield insert("labels.wav", "wav-16-2.wav", None, (b"cue ", cue((1, 10), (2, 20), (77, 1500))),
                 (b"LIST", b"adtl" + label(77, b"last\0") + label(1, b"first\0") + label(2, b"odd")))
    # libsndfile refuses several "data" chunks: only the first shall count, so it is asked for the file without others.
    yield insert("several-data.wav", "wav-16-2.wav", None, (b"data", b"other samples..."), odd,
                 (b"data", bytes(400))), "wav-16-2.wav"
    yield insert("odd.aiff", "aiff-16-2.aiff", b"COMM", odd, (b"APPL", b"signdata!"), odd)
    yield insert("odd-behind.aiff", "aiff-24-1.aiff", None, odd, (b"APPL", b"sign"))
    yield insert("markers-by-hand.aiff", "aiff-32-2.aiff", b"COMM",
                 (b"MARK", struct.pack(">H", 3) + mark(1, 5, b"five") + mark(2, 77, b"odd") + mark(9, 1530, b"")))
    marks = struct.pack(">H", 4) + mark(4, 1500, b"d") + mark(1, 100, b"a") + mark(2, 900, b"bb") + mark(3, 1000, b"c")
    yield insert("marks.aiff", "aiff-16-2.aiff", b"COMM", (b"MARK", marks))
    # libsndfile counts no marker of a loop among the markers: it is asked for those of the file without loops.
    for name, loops in ("instrument.aiff", (1, 1, 2, 2, 3, 4)), ("sustained.aiff", (1, 3, 4, 0, 0, 0)):
        yield insert(name, "marks.aiff", None, (b"INST", instrument(*loops))), name, "marks.aiff"
    yield insert("loop.aiff", "aiff-16-2.aiff", b"COMM",
                 (b"basc", struct.pack(">IIHHHHH", 1, 12, 60, 2, 3, 8, 2) + bytes(66)))

    stereo, float_file = "wav-24-2.wav", "wav-float-2.wav"
    for bits in (8, 16, 24, 32):
        yield sox(f"sox-{bits}.wav", stereo, "-b", str(bits))
        yield sox(f"sox-{bits}.aiff", stereo, "-b", str(bits))
        yield sox(f"sox-{bits}.aifc", stereo, "-t", "aiffc", "-b", str(bits))
    yield sox("sox-float.wav", stereo, "-e", "floating-point", "-b", "32")
    yield sox("sox-comment.aiff", stereo, "-b", "16", "--comment", "odd")
    yield sox("sox-mono.wav", "wav-24-1.wav", "-b", "24", "-r", "48000")
    for coding in ("pcm_u8", "pcm_s16le", "pcm_s24le", "pcm_s32le", "pcm_f32le"):
        yield ffmpeg(f"ffmpeg-{coding}.wav", float_file, "-c:a", coding)
        yield ffmpeg(f"ffmpeg-{coding}-5.1.wav", "extensible-24.wav", "-c:a", coding)
    yield ffmpeg("ffmpeg-rf64.wav", stereo, "-c:a", "pcm_s24le", "-rf64", "always")
    yield ffmpeg("ffmpeg-bext.wav", stereo, "-c:a", "pcm_s16le", "-write_bext", "1", "-metadata",
                 "originator_reference=FF-4711", "-metadata", "description=tests")
    yield ffmpeg("ffmpeg-tags.wav", stereo, "-c:a", "pcm_s16le", "-metadata", "title=odd", "-metadata", "artist=four")
    for coding in ("pcm_s8", "pcm_s16be", "pcm_s24be", "pcm_s32be", "pcm_s16le", "pcm_f32be"):
        yield ffmpeg(f"ffmpeg-{coding}.aiff", float_file, "-c:a", coding)
    yield ffmpeg("ffmpeg-tags.aiff", stereo, "-c:a", "pcm_s16be", "-write_id3v2", "1", "-metadata", "title=odd")


FOLDER.mkdir(parents=True, exist_ok=True)
lines = []
for made in all_files():
    describe(lines, *(made if isinstance(made, tuple) else (made, made)))
(FOLDER / "manifest").write_text("\n".join(lines) + "\n")
