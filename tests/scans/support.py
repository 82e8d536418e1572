"""What the suites of this folder share: where things are, the mini host, and the rules that turn a library's facts
into the report that a scan of it must give.

The environment says where things are: TARVIK_TEST_PLUGINS the folder of the test libraries, TARVIK_MINI_HOST the mini
host's executable; and what tests/scanner/peer.py names. Without them they are looked for in this tree.
"""

import concurrent.futures
import dataclasses
import json
import os
import pathlib
import subprocess
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "scanner"))
import peer  # noqa: E402

PLUGINS = pathlib.Path(os.environ.get("TARVIK_TEST_PLUGINS", peer.ROOT / "build/windows/bin/plugins"))
MINI_HOST = pathlib.Path(os.environ.get("TARVIK_MINI_HOST", peer.ROOT / "build/windows/bin/MiniHost.exe"))

# How many well-behaved processes run at once: more only makes each slower.
JOBS = max(2, os.cpu_count() or 2)

FLAG_HAS_EDITOR = 0x1
FLAG_IS_SYNTH = 0x100
CATEGORY_SYNTH = 2
CATEGORY_SHELL = 10
CATEGORY_GENERATOR = 11
MACHINE_AMD64 = 0x8664


def bring_up_wine():
    """Starts Wine's server and services, so that no scan pays for that, or becomes their parent."""
    if peer.wine_command():
        nowhere = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
        subprocess.run(["wineserver", "-p"], env=peer.environment(), **nowhere)
        subprocess.run([*peer.wine_command(), "wineboot"], env=peer.environment(), check=True, **nowhere)


def identifier_of(path, unique_id=0):
    """The text form of the identifier of a VST library."""
    return f"VST: {code_text(unique_id)},{peer.windows_path(path)}"


def code_text(code):
    """The text form of a unique identifier whose bytes are ASCII."""
    letters = code.to_bytes(4, "little")
    if all(32 <= byte <= 126 for byte in letters):
        return "'" + letters.decode("ascii") + "'"
    if any(byte <= 31 or 127 <= byte <= 159 for byte in letters):
        return f"0x{code:08X}"
    raise ValueError(f"no expectation for the identifier 0x{code:08X}")


def facts_of(path):
    """What the mini host reads from the library, as MiniHost_win32.cpp tells it."""
    with tempfile.TemporaryDirectory() as folder:
        output = pathlib.Path(folder) / "facts.json"
        with peer.Process(
            [*peer.wine_command(), str(MINI_HOST), peer.windows_path(path), peer.windows_path(output)]
        ) as process:
            code = process.wait()
        if code != 0 or not output.exists():
            raise AssertionError(f"the mini host ended with {code} on {path}")
        return json.loads(output.read_text())


@dataclasses.dataclass(frozen=True)
class Expected:
    result: int
    name: bytes
    identifier: str


def expected_of(path, facts):
    """The report that a scan must give of the library, by what the mini host read from it."""
    of_this_machine = facts["machine"] == MACHINE_AMD64
    examined = facts["loaded"] and of_this_machine
    has_effect = examined and facts.get("effect", False)
    asked = Expected(peer.UNCONFIRMED, b"", identifier_of(path))
    if has_effect:
        has_editor = bool(facts["flags"] & FLAG_HAS_EDITOR)
        usable = (
            facts["processReplacing"]
            and facts["setParameter"]
            and facts["getParameter"]
            and has_editor
            and facts["category"] != CATEGORY_SHELL
        )
        if usable:
            makes_sound = facts["flags"] & FLAG_IS_SYNTH or facts["category"] in (CATEGORY_SYNTH, CATEGORY_GENERATOR)
            result = peer.INSTRUMENT if makes_sound or facts["numOutputs"] == 0 else peer.EFFECT
            if facts["nameAnswer"]:
                name = bytes.fromhex(facts["name"])
            else:
                name = os.path.basename(path).removesuffix(".dll").encode()
            return Expected(result, name, identifier_of(path, facts["uniqueId"]))
    if examined and facts["entryPoint"] is None and facts["core"]:
        return dataclasses.replace(asked, result=peer.CORE_LIBRARY)
    if facts["askedShellCategory"]:
        return dataclasses.replace(asked, result=peer.SHELL)
    if has_effect and not has_editor:
        return dataclasses.replace(asked, result=peer.NO_EDITOR)
    if not of_this_machine:
        return dataclasses.replace(asked, result=peer.WRONG_ARCHITECTURE)
    return asked


def check_report(test, path, scan, expected):
    """Compares a scan with what it must give, and that it ended well."""
    test.assertIsNotNone(scan.report, f"no report, exit code {scan.exit_code}")
    test.assertEqual(
        (scan.report.result, scan.report.name, scan.report.identifier),
        (expected.result, expected.name, expected.identifier.encode()),
    )
    test.assertEqual(scan.exit_code, 0)


def side_by_side(function, items, jobs=JOBS):
    """function over items, several at once; results, or what was raised, by item."""

    def guarded(item):
        try:
            return function(item)
        except Exception as problem:  # handed to the test that asks for it
            return problem

    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        return dict(zip(items, pool.map(guarded, items)))


def outcome(results, item):
    """The result of side_by_side for one item, or its exception raised anew."""
    if isinstance(results[item], Exception):
        raise results[item]
    return results[item]
