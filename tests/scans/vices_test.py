"""Scans every library that ends, hangs or soils its process, as the parent that has to find out: which verdict, who is
to blame, and what is left behind. Prints one table: the library, the verdict, the exit code, the seconds.

vices_test.py [unittest arguments]

The hanging ones run side by side, each for its minute; those that spin do so at a low priority, and the short ones
take their turns meanwhile.
"""

import dataclasses
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import uuid

import support
from support import peer

VICES = support.PLUGINS / "vices"

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
EXIT_PROCESS = 71
TERMINATE_PROCESS = 72
STRUCTURED_EXCEPTION = 73

PLACES = ("DllMain", "entry_point", "effOpen", "effGetEffectName", "effClose", "detach")

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


def everywhere(fate, **exceptions):
    return {place: exceptions.get(place, fate) for place in PLACES}


# As the stack that is left does or does not hold the loader's handling of it.
OVERFLOW_IN_DLL_MAIN = (TURNED_DOWN, Fate(HANG, WATCHDOG))

# By vice and place; several where it is not for the scanner to say. Three rules explain the exceptions: the system turns an exception out of DllMain into a failed load,
# and drops one when the process ends; an exception of the language is caught around the load of an effect, and around
# the exchange as a whole if it is a std::exception; at detach the report has been given and the watchdog is gone.
FATES = {
    "null_write": everywhere(crash(ACCESS_VIOLATION), DllMain=TURNED_DOWN, detach=USUAL_END),
    # Wine ends the thread that ran out of stack, and the process lives on without it; Windows ends the process.
    "stack_overflow": everywhere(Fate(HANG, WATCHDOG), DllMain=OVERFLOW_IN_DLL_MAIN, detach=USUAL_END),
    "abort": everywhere(crash(ABORT), detach=crash_at_exit(ABORT)),
    "exit_0": everywhere(Fate(QUIET_END, 0), detach=USUAL_END),
    "ExitProcess": everywhere(crash(EXIT_PROCESS), detach=crash_at_exit(EXIT_PROCESS)),
    "TerminateProcess": everywhere(crash(TERMINATE_PROCESS), detach=crash_at_exit(TERMINATE_PROCESS)),
    "cpp_exception": everywhere(
        TURNED_DOWN, effGetEffectName=Fate(QUIET_END, 0), effClose=crash(ABORT), detach=USUAL_END
    ),
    "foreign_exception": everywhere(
        TURNED_DOWN, effGetEffectName=crash(ABORT), effClose=crash(ABORT), detach=USUAL_END
    ),
    # The host takes it for a std::exception wherever it calls an effect, whose compiler it cannot know.
    "msvc_exception": everywhere(
        TURNED_DOWN, effGetEffectName=Fate(QUIET_END, 0), effClose=crash(ABORT), detach=USUAL_END
    ),
    "structured_exception": everywhere(crash(STRUCTURED_EXCEPTION), DllMain=TURNED_DOWN, detach=USUAL_END),
    "endless_loop": everywhere(Fate(HANG, WATCHDOG), detach=Fate(HANG_AT_EXIT, None, peer.EFFECT)),
    "endless_sleep": everywhere(Fate(HANG, WATCHDOG), detach=Fate(HANG_AT_EXIT, None, peer.EFFECT)),
    "message_box": everywhere(Fate(HANG, WATCHDOG), detach=Fate(HANG_AT_EXIT, None, peer.EFFECT)),
}
SPINNING = ("endless_loop",)
HANGING = SPINNING + ("stack_overflow", "endless_sleep", "message_box")

OTHERS = {
    "ThreadCrashesWhileScanning": crash(ACCESS_VIOLATION),
    "ThreadCrashesAfterwards": crash_at_exit(ACCESS_VIOLATION),
    "FloodsStdout": USUAL_END,
    "LeavesGrandchild": USUAL_END,
}


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


def watch(library, spins=False, acknowledge_late=False):
    """One scan to its end, with a clean-up of what is left."""
    identifier = support.identifier_of(VICES / (library + ".dll"))
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


def run_all(fates):
    """Verdicts by library. The hanging ones each on a thread of their own, begun first."""
    verdicts = {}

    def run(library, **how):
        try:
            verdicts[library] = watch(library, **how)
        except Exception as problem:  # told by the test of that library
            verdicts[library] = problem

    def hangs(library):
        return any(library.startswith("vice_" + vice) for vice in HANGING)

    threads = []
    for library in filter(hangs, fates):
        spins = any(vice in library for vice in SPINNING)
        threads.append(threading.Thread(target=run, args=(library,), kwargs={"spins": spins}))
        threads[-1].start()
    short = [library for library in fates if not hangs(library)]
    support.side_by_side(
        lambda library: run(library, acknowledge_late=library == "ThreadCrashesAfterwards"), short
    )
    for thread in threads:
        thread.join()
    return verdicts


def print_table(verdicts):
    width = max(map(len, verdicts))
    print(f"\n{'library':{width}}  {'verdict':25}  code  result  seconds")
    for library in sorted(verdicts):
        verdict = verdicts[library]
        if isinstance(verdict, Exception):
            print(f"{library:{width}}  {verdict!r}")
            continue
        result = "" if verdict.fate.result is None else verdict.fate.result
        print(f"{library:{width}}  {verdict.fate.verdict:25}  {verdict.code:4}  {result:6}  {verdict.seconds:7.2f}")


class Vices(unittest.TestCase):
    fates = {f"vice_{vice}_in_{place}": fate for vice, places in FATES.items() for place, fate in places.items()}
    fates.update(OTHERS)

    @classmethod
    def setUpClass(cls):
        support.bring_up_wine()
        started = time.monotonic()
        cls.verdicts = run_all(cls.fates)
        cls.seconds = time.monotonic() - started

    @classmethod
    def tearDownClass(cls):
        print_table(cls.verdicts)
        print(f"{len(cls.verdicts)} scans in {cls.seconds:.0f} s")

    def test_Every_library_of_the_folder_is_known_here(self):
        self.assertEqual({path.stem for path in VICES.glob("*.dll")}, set(self.fates))

    def check(self, library):
        verdict = support.outcome(self.verdicts, library)
        expected = self.fates[library]
        self.assertIn(verdict.fate, expected if isinstance(expected, tuple) else (expected,))
        # Whoever was handed out is blamed, and a report speaks of the same file.
        self.assertEqual(verdict.handed_out.split(",")[1], verdict.blamed.split(",")[1])
        if library != "LeavesGrandchild":
            self.assertEqual(verdict.leftovers, {})
        self.assertEqual(verdict.left_in_the_end, {})
        if verdict.fate.verdict == HANG:
            self.assertGreaterEqual(verdict.seconds, peer.WATCHDOG)
            self.assertLess(verdict.seconds, PATIENCE)

    def test_A_grandchild_outlives_the_scanner_and_not_the_parent(self):
        verdict = support.outcome(self.verdicts, "LeavesGrandchild")
        self.assertEqual(len(verdict.leftovers), 1)
        self.assertIn("Grandchild.exe", *verdict.leftovers.values())
        self.assertEqual(verdict.left_in_the_end, {})

    def test_A_flood_on_standard_output_reaches_nobody_but_its_reader(self):
        self.assertGreaterEqual(support.outcome(self.verdicts, "FloodsStdout").written, 8 * 1024 * 1024)


def add_test(library):
    def test(self):
        self.check(library)

    setattr(Vices, f"test_{library}", test)


for name in Vices.fates:
    add_test(name)


if __name__ == "__main__":
    sys.exit(unittest.main(verbosity=1))
