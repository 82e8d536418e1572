"""Scans every library that ends, hangs or soils its process, by the command tarvik-scan, which has to find out: which
verdict, who is to blame, and that nothing is left behind. Prints one table: the library, the parent's verdict, the exit
code, the report's result, the seconds it took.

vices_test.py COMMAND... [-- unittest arguments]    the command line that starts one of the command's builds

The hanging ones run side by side, each for its minute; those that spin do so at a low priority, and the short ones
take their turns meanwhile. What a parent must do otherwise than the command does, to see it at all, is done by hand:
see Watched.
"""

import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import support
from fates import (ABORT, ACCESS_VIOLATION, HANG, HANG_AT_EXIT, PATIENCE, QUIET_END, TURNED_DOWN, USUAL_END, command,
                   crash, ended_at_exit, ended_early, fate_of, print_table, run, run_all)
from support import peer

VICES = support.PLUGINS / "vices"

EXIT_PROCESS = 71
TERMINATE_PROCESS = 72
STRUCTURED_EXCEPTION = 0xE0000049

PLACES = ("DllMain", "entry_point", "effOpen", "effGetEffectName", "effClose", "detach")


def everywhere(fate, **exceptions):
    return {place: exceptions.get(place, fate) for place in PLACES}


# As the stack that is left does or does not hold the loader's handling of it.
OVERFLOW_IN_DLL_MAIN = (TURNED_DOWN, HANG)

# By vice and place; several where it is not for the scanner to say. Three rules explain the exceptions: the system
# turns an exception out of DllMain into a failed load, and drops one when the process ends; an exception of the language
# is caught around the load of an effect, and around the exchange as a whole if it is a std::exception; at detach the
# report has been given and the watchdog is gone.
FATES = {
    "null_write": everywhere(crash(ACCESS_VIOLATION), DllMain=TURNED_DOWN, detach=USUAL_END),
    # Wine ends the thread that ran out of stack, and the process lives on without it; Windows ends the process.
    "stack_overflow": everywhere(HANG, DllMain=OVERFLOW_IN_DLL_MAIN, detach=USUAL_END),
    "abort": everywhere(crash(ABORT), detach=ended_at_exit(ABORT)),
    "exit_0": everywhere(QUIET_END, detach=USUAL_END),
    "ExitProcess": everywhere(ended_early(EXIT_PROCESS), detach=ended_at_exit(EXIT_PROCESS)),
    "TerminateProcess": everywhere(ended_early(TERMINATE_PROCESS), detach=ended_at_exit(TERMINATE_PROCESS)),
    "cpp_exception": everywhere(TURNED_DOWN, effGetEffectName=QUIET_END, effClose=crash(ABORT), detach=USUAL_END),
    "foreign_exception": everywhere(
        TURNED_DOWN, effGetEffectName=crash(ABORT), effClose=crash(ABORT), detach=USUAL_END
    ),
    # The host takes it for a std::exception wherever it calls an effect, whose compiler it cannot know.
    "msvc_exception": everywhere(TURNED_DOWN, effGetEffectName=QUIET_END, effClose=crash(ABORT), detach=USUAL_END),
    "structured_exception": everywhere(crash(STRUCTURED_EXCEPTION), DllMain=TURNED_DOWN, detach=USUAL_END),
    "endless_loop": everywhere(HANG, detach=HANG_AT_EXIT),
    "endless_sleep": everywhere(HANG, detach=HANG_AT_EXIT),
    "message_box": everywhere(HANG, detach=HANG_AT_EXIT),
}
SPINNING = ("endless_loop",)
HANGING = SPINNING + ("stack_overflow", "endless_sleep", "message_box")

OTHERS = {
    "ThreadCrashesWhileScanning": crash(ACCESS_VIOLATION),
    # If the process still lives then: on a busy machine it may.
    "ThreadCrashesAfterwards": (USUAL_END, ended_at_exit(ACCESS_VIOLATION)),
    "FloodsStdout": USUAL_END,
    "LeavesGrandchild": USUAL_END,
}


def path_of(library):
    return VICES / (library + ".dll")


def hangs(library):
    return any(library.startswith("vice_" + vice) for vice in HANGING)


def scan(library):
    spins = any(vice in library for vice in SPINNING)
    return run(
        command.path_for_command(path_of(library)), preexec_fn=(lambda: os.nice(10)) if spins else None
    )


class Vices(unittest.TestCase):
    fates = {f"vice_{vice}_in_{place}": fate for vice, places in FATES.items() for place, fate in places.items()}
    fates.update(OTHERS)

    @classmethod
    def setUpClass(cls):
        support.bring_up_wine()
        started = time.monotonic()
        cls.runs = run_all(
            scan, list(filter(hangs, cls.fates)), [library for library in cls.fates if not hangs(library)]
        )
        cls.seconds = time.monotonic() - started

    @classmethod
    def tearDownClass(cls):
        print_table("library", cls.runs)
        print(f"{len(cls.runs)} scans in {cls.seconds:.0f} s")

    def test_Every_library_of_the_folder_is_known_here(self):
        self.assertEqual({path.stem for path in VICES.glob("*.dll")}, set(self.fates))

    def check(self, library):
        run = support.outcome(self.runs, library)
        outcome = run.outcome()
        fate = fate_of(outcome)
        expected = self.fates[library]
        self.assertIn(fate, expected if isinstance(expected, tuple) else (expected,))
        # Blame goes to what was handed out, which is told here from the file, and by the command from the blame.
        self.assertEqual(outcome["asked"], support.identifier_of(path_of(library)))
        self.assertEqual(outcome["blamed"], fate.blames)
        self.assertEqual(run.code, 1 if fate.blames else 0)
        if fate.result == "effect":
            self.assertEqual(outcome["identifier"].split(",")[1], peer.windows_path(path_of(library)))
        if fate == HANG:
            self.assertGreaterEqual(outcome["seconds"], peer.WATCHDOG)
            self.assertLess(outcome["seconds"], PATIENCE)
        self.assertEqual(run.left, {})


def add_test(library):
    def test(self):
        self.check(library)

    setattr(Vices, f"test_{library}", test)


for name in Vices.fates:
    add_test(name)


class Scanner(peer.Process):
    """A scanner with a token in its environment and its output in a file: nobody has to read that for it to go on."""

    def __init__(self, endpoint, output):
        self.token = command.new_token()
        self.started = time.monotonic()
        self.seconds = None
        self.popen = subprocess.Popen(
            [*peer.wine_command(), str(peer.scanner_path()), endpoint],
            stdin=subprocess.DEVNULL,
            stdout=output,
            stderr=output,
            env=peer.environment(TARVIK_TEST_TOKEN=self.token),
        )


class Watched(unittest.TestCase):
    """What only a parent sees that does not look after its scanner's family and streams, or dawdles."""

    def watch(self, library, dawdles=False):
        """One scan to its end. Gives the report, the exit code, what was left, and how much was printed."""
        with tempfile.TemporaryFile() as output, peer.Parent() as parent:
            with Scanner(parent.endpoint, output) as scanner:
                parent.receive_request()
                parent.send_work_item(support.identifier_of(path_of(library)))
                report = parent.receive_report()
                if not dawdles:
                    parent.acknowledge()
                code = scanner.wait()
                left = command.left_of(scanner.token, 2)
                for number in left:
                    os.kill(number, signal.SIGKILL)
                self.assertEqual(command.left_of(scanner.token), {})
            return report, code, left, os.fstat(output.fileno()).st_size

    def test_A_grandchild_outlives_the_scanner(self):
        report, code, left, _ = self.watch("LeavesGrandchild")
        self.assertEqual((report.result, code), (peer.EFFECT, 0))
        self.assertEqual(len(left), 1)
        self.assertIn("Grandchild.exe", *left.values())

    def test_A_flood_on_standard_output_reaches_nobody_but_its_reader(self):
        report, code, _, printed = self.watch("FloodsStdout")
        self.assertEqual((report.result, code), (peer.EFFECT, 0))
        self.assertGreaterEqual(printed, 8 * 1024 * 1024)

    def test_A_thread_that_crashes_before_the_acknowledgement_crashes_after_the_report(self):
        report, code, _, _ = self.watch("ThreadCrashesAfterwards", dawdles=True)
        # Of an exit code Linux keeps the lowest eight bits.
        self.assertEqual((report.result, code), (peer.EFFECT, ACCESS_VIOLATION & 0xFF))


if __name__ == "__main__":
    end = sys.argv.index("--") if "--" in sys.argv else len(sys.argv)
    command.COMMAND = sys.argv[1:end]
    sys.exit(unittest.main(argv=[sys.argv[0], *sys.argv[end + 1:]], verbosity=1))
