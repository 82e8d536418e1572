#!/usr/bin/python3
"""Times a whole scan of a trivial plug-in against the least programs that could do it.

    bench/scan_bench.py [--rounds N] [--warm-up N]

Three programs take turns, so that whatever else the machine does meets all of them: the scanner; LeastScanner, which
exchanges the same messages around the same calls of the library and knows nothing else; BareLoader, which does the same
to the library without a parent, and writes one byte when it is done. Minima are compared: everything above them is the
machine's doing.

A scan is over for its parent when the report is there. That time is compared with the report of LeastScanner and with
the byte of BareLoader. The end of the process is a row of its own: the scanner's waits for its watchdog, which looks
once a second.
"""

import argparse
import os
import pathlib
import select
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests/scanner"))

import peer  # noqa: E402

BIN = peer.scanner_path().parent
GOAL = 1.1
OURS, LEAST, BARE = "TarvikPluginScanner", "LeastScanner", "BareLoader"


def exchange(command, identifier, parent):
    """Milliseconds from the start of the process to its report, and to its end."""
    with peer.Process([*peer.wine_command(), *command, parent.endpoint, *identifier[1:]]) as process:
        parent.receive_request()
        parent.send_work_item(identifier[0])
        parent.receive_report()
        reported = time.monotonic() - process.started
        parent.acknowledge()
        if process.wait() != 0:
            raise RuntimeError(f"{command} failed")
        return reported * 1000, process.seconds * 1000


def bare(library):
    """The same of BareLoader, whose byte stands for the report."""
    reading, writing = os.pipe()
    with open(reading, "rb", buffering=0) as pipe:
        command = [*peer.wine_command(), str(BIN / f"{BARE}.exe"), library]
        started = time.monotonic()
        with subprocess.Popen(
            command,
            stdin=subprocess.DEVNULL,
            stdout=writing,
            stderr=subprocess.DEVNULL,
            env=peer.environment(),
        ) as process:
            os.close(writing)
            try:
                # The end of the pipe is no sign of a failure: Wine's server may hold it open.
                told = select.select([pipe], [], [], peer.SLACK)[0] and pipe.read(1)
                closed = time.monotonic() - started
                failed = told != b"." or process.wait(peer.SLACK) != 0
                ended = time.monotonic() - started
            finally:
                process.kill()
    if failed:
        raise RuntimeError(f"{BARE} failed")
    return closed * 1000, ended * 1000


def print_row(name, ours, other_name, other, goal=None):
    ratio = ours / other
    verdict = "" if goal is None else f"  at most {goal:.2f}: {'met' if ratio <= goal else 'MISSED'}"
    print(f"{name:28} ours {ours:8.1f} ms  {other_name} {other:8.1f} ms  ratio {ratio:.3f}{verdict}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rounds", type=int, default=40)
    parser.add_argument("--warm-up", type=int, default=3)
    options = parser.parse_args()
    library = peer.windows_path(BIN / "plugins/Effect.dll")
    identifier = f"VST: 0x00000000,{library}"

    runs = {
        OURS: lambda: exchange([str(peer.scanner_path())], [identifier], parent),
        LEAST: lambda: exchange([str(BIN / f"{LEAST}.exe")], [identifier, library], parent),
        BARE: lambda: bare(library),
    }
    reports = {name: [] for name in runs}
    ends = {name: [] for name in runs}
    with peer.Parent() as parent:
        for turn in range(options.warm_up + options.rounds):
            for name, run in runs.items():
                reported, ended = run()
                if turn >= options.warm_up:
                    reports[name].append(reported)
                    ends[name].append(ended)

    report = {name: min(values) for name, values in reports.items()}
    end = {name: min(values) for name, values in ends.items()}
    print(f"{options.rounds} rounds, minima")
    print_row("scan, to its report", report[OURS], LEAST, report[LEAST], GOAL)
    print_row("scan, to its report", report[OURS], BARE, report[BARE])
    print_row("whole process, to its end", end[OURS], LEAST, end[LEAST], GOAL)
    print_row("whole process, to its end", end[OURS], BARE, end[BARE])
    return 0


if __name__ == "__main__":
    sys.exit(main())
