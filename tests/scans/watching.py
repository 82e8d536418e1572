"""A parent that has to find out what became of a scan: which verdict, who is to blame, and what is left behind."""

import dataclasses
import os
import pathlib
import signal
import subprocess
import tempfile
import threading
import time
import uuid

import support
from support import peer

REPORT = "report"  # and then an orderly end
CRASH_AT_EXIT = "report, then a crash"
HANG_AT_EXIT = "report, then a hang"  # ended by the parent
CRASH = "crash"  # a code that is no answer of the scanner's own
QUIET_END = "end without a report"  # code 0
HANG = "hang"  # ended by the scanner's watchdog
HANG_FOR_EVER = "hang beyond the watchdog"  # ended by the parent

# The codes that a parent sees, of which Linux keeps the lowest eight bits.
ACCESS_VIOLATION = 0xC0000005 & 0xFF
ABORT = 3
WATCHDOG = 2

# What a parent that has the report waits for the end before it makes one.
PATIENCE_AFTER_REPORT = peer.SLACK
# And in all for one that says nothing: more than the watchdog takes, whose minute is sixty sleeps, each a little longer
# on a machine that others keep busy.
PATIENCE = peer.WATCHDOG + 2 * peer.SLACK


@dataclasses.dataclass(frozen=True)
class Fate:
    """What becomes of a scan: the verdict, the code where it is the process's own, and the report's result."""

    verdict: str
    code: int = None
    result: int = None


USUAL_END = Fate(REPORT, 0, peer.EFFECT)
TURNED_DOWN = Fate(REPORT, 0, peer.UNCONFIRMED)


def crash(code):
    return Fate(CRASH, code)


def crash_at_exit(code):
    return Fate(CRASH_AT_EXIT, code, peer.EFFECT)


# What Wine itself may start on the way, if its server was not up: of the system, and not of the scan.
OF_THE_SYSTEM = ("wineserver", "services.exe", "explorer.exe /desktop", "winedevice.exe", "plugplay.exe", "svchost.exe",
                 "rpcss.exe", "wineboot.exe", "tabtip.exe")


def processes_with(token):
    """Process numbers and command lines of everything that was started, through whatever chain, with the token in its
    environment, but for the system's own."""
    found = {}
    for entry in pathlib.Path("/proc").iterdir():
        if not entry.name.isdigit():
            continue
        try:
            if token.encode() in (entry / "environ").read_bytes():
                command = (entry / "cmdline").read_bytes().replace(b"\0", b" ").decode(errors="replace")
                if not any(name in command for name in OF_THE_SYSTEM):
                    found[int(entry.name)] = command
        except OSError:  # ended meanwhile
            continue
    return found


class Scanner(peer.Process):
    """A scanner with a token in its environment, at a low priority if it will spin."""

    def __init__(self, endpoint, spins, output):
        self.token = "TARVIK_TEST_TOKEN_" + uuid.uuid4().hex
        self.started = time.monotonic()
        self.seconds = None
        self.popen = subprocess.Popen(
            [*peer.wine_command(), str(peer.scanner_path()), endpoint],
            stdin=subprocess.DEVNULL,
            stdout=output,
            stderr=output,
            env=peer.environment(TARVIK_TEST_TOKEN=self.token),
            preexec_fn=(lambda: os.nice(10)) if spins else None,
        )

    def leftovers(self):
        """What still runs of this scanner's offspring when it has ended; grace for the system to take it down."""
        deadline = time.monotonic() + 5
        while True:
            left = processes_with(self.token)
            if not left or time.monotonic() > deadline:
                return left
            time.sleep(0.05)


@dataclasses.dataclass
class Verdict:
    handed_out: str
    blamed: str
    fate: Fate
    report: peer.Report
    code: int
    seconds: float
    leftovers: dict
    left_in_the_end: dict
    written: int  # on standard output and standard error


def judge(report, code, killed):
    """The parent's conclusion, from what it saw: the report or none, the code, and whether it had to end the process."""
    result = report.result if report else None
    if killed:
        return Fate(HANG_AT_EXIT, None, result) if report else Fate(HANG_FOR_EVER)
    if report:
        return Fate(REPORT if code == 0 else CRASH_AT_EXIT, code, result)
    if code == 0:
        return Fate(QUIET_END, 0)
    return Fate(HANG if code == WATCHDOG else CRASH, code)


def watch(identifier, spins=False, acknowledge_late=False):
    """One scan to its end, with a clean-up of what is left."""
    # A file, and no pipe: nobody has to read it for the writer to go on.
    with tempfile.TemporaryFile() as output, peer.Parent() as parent:
        with Scanner(parent.endpoint, spins, output) as scanner:
            parent.receive_request(PATIENCE)
            parent.send_work_item(identifier)
            report = None
            killed = False
            while report is None:
                ended = not scanner.running()
                try:
                    report = parent.receive_report(0.1)
                except peer.NoAnswer:
                    if ended:
                        break
                    if time.monotonic() - scanner.started > PATIENCE:
                        killed = True
                        break
            if report and not acknowledge_late:
                parent.acknowledge()
            if not killed:
                try:
                    scanner.wait(PATIENCE_AFTER_REPORT)
                except subprocess.TimeoutExpired:
                    killed = True
            seconds = time.monotonic() - scanner.started
            scanner.kill()
            code = scanner.popen.returncode
            left = scanner.leftovers()
            for number in left:
                os.kill(number, signal.SIGKILL)
            left_in_the_end = scanner.leftovers()
        blamed = report.identifier.decode() if report else identifier
        return Verdict(
            identifier, blamed, judge(report, code, killed), report, code, seconds, left, left_in_the_end,
            os.fstat(output.fileno()).st_size
        )


def watch_all(waiting, others):
    """Verdicts by name; both give the arguments of watch by name. Those that are waited for, for a minute each, have
    threads of their own and begin first; the others take their turns meanwhile."""
    verdicts = {}

    def run(name, arguments):
        try:
            verdicts[name] = watch(**arguments)
        except Exception as problem:  # told by the test that asks for it
            verdicts[name] = problem

    threads = [threading.Thread(target=run, args=item) for item in waiting.items()]
    for thread in threads:
        thread.start()
    support.side_by_side(lambda name: run(name, others[name]), others)
    for thread in threads:
        thread.join()
    return verdicts


def print_table(heading, verdicts):
    width = max(map(len, [heading, *verdicts]))
    print(f"\n{heading:{width}}  {'verdict':25}  code  result  seconds")
    for name in sorted(verdicts):
        verdict = verdicts[name]
        if isinstance(verdict, Exception):
            print(f"{name:{width}}  {verdict!r}")
            continue
        result = "" if verdict.fate.result is None else verdict.fate.result
        print(f"{name:{width}}  {verdict.fate.verdict:25}  {verdict.code:4}  {result:6}  {verdict.seconds:7.2f}")
