"""What may become of a scan, as the command tarvik-scan tells it, and many scans side by side.

Whoever imports this sets command.COMMAND.
"""

import dataclasses
import pathlib
import sys
import threading

import support
from support import peer

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "parent"))
import command  # noqa: E402

ACCESS_VIOLATION = 0xC0000005
ABORT = 3
WATCHDOG = 2

# What the command waits at most: more than the watchdog takes, whose minute is sixty sleeps, each a little longer on a
# machine that others keep busy.
PATIENCE = peer.WATCHDOG + 2 * peer.SLACK


@dataclasses.dataclass(frozen=True)
class Fate:
    """What the command must say of a scan. No code: it ended the process itself."""

    verdict: str
    code: int = None
    result: str = None

    @property
    def blames(self):
        return self.verdict != "reported"


def reported(result, code=0):
    return Fate("reported", code, result)


USUAL_END = reported("effect")
TURNED_DOWN = reported("unconfirmed")
# Ended by the scanner's watchdog.
HANG = Fate("hung", WATCHDOG)
# Ended by the parent, which has the report.
HANG_AT_EXIT = reported("effect", None)
# A process that ended well and said nothing.
QUIET_END = Fate("ended early", 0)


def crash(code):
    return Fate("crashed", code)


def ended_early(code):
    return Fate("ended early", code)


def ended_at_exit(code):
    return reported("effect", code)


def run(*arguments, **how):
    """The command for one plug-in, patient enough for the watchdog."""
    return command.Run("--json", "--time-limit", str(PATIENCE), *arguments, **how)


def run_all(scan, waiting, others):
    """Runs by name, or what was raised: scan(name) of each. Those that are waited for, for a minute each, have threads
    of their own and begin first; the others take their turns meanwhile."""
    runs = {}

    def keep(name):
        try:
            runs[name] = scan(name)
        except Exception as problem:  # told by the test that asks for it
            runs[name] = problem

    threads = [threading.Thread(target=keep, args=(name,)) for name in waiting]
    for thread in threads:
        thread.start()
    support.side_by_side(keep, list(others))
    for thread in threads:
        thread.join()
    return runs


def fate_of(outcome):
    return Fate(outcome["verdict"], outcome.get("exitCode"), outcome.get("result"))


def line_of(run):
    try:
        outcome = run.outcome()
    except Exception as problem:  # told by the test of it
        return repr(run if isinstance(run, Exception) else problem)
    code = outcome.get("exitCode", "")
    code = f"0x{code:08X}" if code != "" and code > 255 else code
    return (
        f"{outcome['verdict']:11}  {'yes' if outcome['blamed'] else 'no':6}  {code:>10}  "
        f"{outcome.get('result', ''):11}  {outcome['seconds']:7.2f}"
    )


def print_table(heading, runs):
    width = max(map(len, [heading, *runs]))
    print(f"\n{heading:{width}}  {'verdict':11}  {'blamed':6}  {'exit code':>10}  {'result':11}  seconds")
    for name in sorted(runs):
        print(f"{name:{width}}  {line_of(runs[name])}")
