"""DirectX plug-ins and the registry of the Windows side: the test filters' classes, and what the platform has."""

import contextlib
import os
import pathlib
import re
import struct
import subprocess
import tempfile
import uuid

import support
from support import peer

LIBRARY = support.PLUGINS / "directx" / "TestFilters.dll"

# The published categories whose filters may have to do with audio.
CATEGORIES = {
    "filters": "083863F1-70DE-11D0-BD40-00A0C911CE86",
    "audio compressors": "33D9A761-90C8-11D0-BD43-00A0C911CE86",
    "audio inputs": "33D9A762-90C8-11D0-BD43-00A0C911CE86",
    "audio renderers": "E0F158E1-CB04-11D0-BD4E-00A0C911CE86",
}


def class_id(name):
    """Of a test filter: two marks and the FNV-1a hash of its name."""
    value = 0xCBF29CE484222325
    for byte in name.encode():
        value = ((value ^ byte) * 0x100000001B3) % 2**64
    digits = f"{value:016X}"
    return f"00000000-5456-4B54-{digits[:4]}-{digits[4:]}"


def identifier_of(name):
    return "DX: " + class_id(name)


def run(*command):
    """A Windows program to its end, with nothing of it held open."""
    with tempfile.TemporaryFile() as output:
        done = subprocess.run(
            [*peer.wine_command(), *command], stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.DEVNULL,
            env=peer.environment(), timeout=300,
        )
        output.seek(0)
        return done.returncode, output.read().decode("utf-8", errors="replace").replace("\r\n", "\n")


def regsvr32(*arguments):
    code, _ = run("regsvr32", "/s", *arguments, peer.windows_path(LIBRARY))
    if code != 0:
        raise AssertionError(f"regsvr32 {arguments} gave {code}")


@contextlib.contextmanager
def registered(*names):
    """The named test filters, and no others: what an earlier run left behind goes first."""
    regsvr32("/u")
    regsvr32("/n", "/i:" + ",".join(names))
    try:
        yield
    finally:
        regsvr32("/u")


def import_registry(text):
    """Changes the registry by a text in the form of the registry's own editor, without its heading."""
    with tempfile.TemporaryDirectory() as folder:
        file = pathlib.Path(folder) / "changes.reg"
        file.write_text("\ufeffWindows Registry Editor Version 5.00\n\n" + text, encoding="utf-16-le", newline="\r\n")
        code, _ = run("reg", "import", peer.windows_path(file))
    if code != 0:
        raise AssertionError(f"reg import gave {code}")


@contextlib.contextmanager
def keys(entries):
    """Keys below HKEY_CLASSES_ROOT with their default values, None for none, gone with all that is in them at the
    end."""
    def line(path, value):
        text = "" if value is None else '@="' + value.replace("\\", "\\\\").replace('"', '\\"') + '"\n'
        return f"[HKEY_CLASSES_ROOT\\{path}]\n{text}\n"

    import_registry("".join(line(*entry) for entry in entries.items()))
    try:
        yield
    finally:
        import_registry("".join(f"[-HKEY_CLASSES_ROOT\\{path}]\n\n" for path in entries))


ANY_TYPE = uuid.UUID(int=0)
AUDIO = uuid.UUID("73647561-0000-0010-8000-00AA00389B71")


def major_types(data):
    """For each pin of a filter the major types that it is registered with, from the published binary form."""
    (count,) = struct.unpack_from("<8xI", data)
    at = 16
    pins = []
    for _ in range(count):
        types, media, *_ = struct.unpack_from("<12xII", data, at)
        at += 24
        pins.append(set())
        for _ in range(types):
            (major,) = struct.unpack_from("<8xI", data, at)
            pins[-1].add(uuid.UUID(bytes_le=data[major:major + 16]))
            at += 16
        at += 4 * media
    return pins


def platform_filters():
    """What the platform calls each of its own filters in the categories, by class identifier; read by its own tool."""
    return {identifier: name for identifier, (name, _) in platform_registrations().items()}


def platform_classes():
    """The classes whose module stands in the system's own folder, by their identifiers. Others come and go: tests that run
    at the same time register classes, broken ones as well."""
    _, text = run("reg", "query", r"HKCR\CLSID", "/s")
    server = re.compile(r"\\CLSID\\\{([^}\\]*)\}\\InprocServer32\n((?: .*\n)*)", re.IGNORECASE)
    return {identifier.upper() for identifier, values in server.findall(text) if "\\system32\\" in values.lower()}


def platform_registrations():
    """The same with the major types of the filter's pins. A class that stands there more than once has the pins of
    all."""
    own = platform_classes()
    found = {}
    for category in CATEGORIES.values():
        _, text = run("reg", "query", rf"HKCR\CLSID\{{{category}}}\Instance", "/s")
        for block in text.split("\n\n"):
            name = re.search(r"^\s+FriendlyName\s+REG_SZ\s+(.*)$", block, re.MULTILINE)
            identifier = re.search(r"^\s+CLSID\s+REG_SZ\s+\{(.*)\}$", block, re.MULTILINE)
            data = re.search(r"^\s+FilterData\s+REG_BINARY\s+([0-9A-F]*)$", block, re.MULTILINE)
            if identifier and identifier[1].upper() in own:
                _, pins = found.get(identifier[1].upper(), ("", []))
                pins = pins + major_types(bytes.fromhex(data[1])) if data else pins
                found[identifier[1].upper()] = (name[1] if name else "", pins)
    return found
