#!/usr/bin/python3
"""Times a whole scan of a trivial plug-in against the least program that could do it.

    bench/scan_bench.py [--rounds N] [--warm-up N]

Three programs take turns, so that whatever else the machine does meets all of them: the scanner; LeastScanner, which
exchanges the same messages around the same calls of the library and knows nothing else; BareLoader, which does the same
to the library without a parent. Minima are compared: everything above them is the machine's doing.

A scan is over for its parent when the report is there, and that time is compared. The end of the process is printed
beside it: the scanner's end waits for its watchdog, which looks up once in a second.
"""

import argparse
import pathlib
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests/scanner"))

import peer  # noqa: E402

BIN = peer.scanner_path().parent
GOAL = 1.1


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
    with peer.Process([*peer.wine_command(), str(BIN / "BareLoader.exe"), library]) as process:
        if process.wait() != 0:
            raise RuntimeError("BareLoader failed")
        return process.seconds * 1000


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rounds", type=int, default=40)
    parser.add_argument("--warm-up", type=int, default=3)
    options = parser.parse_args()
    library = peer.windows_path(BIN / "plugins/Effect.dll")
    identifier = f"VST: 0x00000000,{library}"

    reports = {"TarvikPluginScanner": [], "LeastScanner": []}
    ends = {"TarvikPluginScanner": [], "LeastScanner": [], "BareLoader": []}
    with peer.Parent() as parent:
        for turn in range(options.warm_up + options.rounds):
            scanner = exchange([str(peer.scanner_path())], [identifier], parent)
            least = exchange([str(BIN / "LeastScanner.exe")], [identifier, library], parent)
            loader = bare(library)
            if turn < options.warm_up:
                continue
            for name, (reported, ended) in (("TarvikPluginScanner", scanner), ("LeastScanner", least)):
                reports[name].append(reported)
                ends[name].append(ended)
            ends["BareLoader"].append(loader)

    least = min(reports["LeastScanner"])
    loader = min(ends["BareLoader"])
    print(f"{options.rounds} rounds, minima in milliseconds")
    print(f"{'':22}{'to report':>10}{'to end':>10}{'of least':>10}{'of bare':>10}")
    for name, values in ends.items():
        reported = min(reports[name]) if name in reports else None
        print(
            f"{name:22}"
            + (f"{reported:10.1f}" if reported else f"{'-':>10}")
            + f"{min(values):10.1f}"
            + (f"{reported / least:10.2f}" if reported else f"{'-':>10}")
            + f"{(reported or min(values)) / loader:10.2f}"
        )
    ratio = min(reports["TarvikPluginScanner"]) / least
    print(f"scan to report against the least program: {ratio:.3f} (goal: at most {GOAL})")
    return 0


if __name__ == "__main__":
    sys.exit(main())
