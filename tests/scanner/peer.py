"""A parent for the scanner, in another language and with other libraries than the scanner's own.

Starts TarvikPluginScanner.exe (through Wine where that is needed), listens for it on an ephemeral loopback port and
speaks the four messages of the exchange, well or as badly as a test wants.

    with Parent() as parent:
        scanner = start(parent.endpoint)
        parent.receive_request()
        parent.send_work_item("VST: 0x00000000,C:\\\\Plugins\\\\A.dll")
        report = parent.receive_report()
        parent.acknowledge()
        code = scanner.wait()

or, for the whole of it, scan(identifier).

The environment says where things are: TARVIK_SCANNER is the executable, TARVIK_WINE the program that runs it (empty:
none), WINEPREFIX Wine's prefix. Without them they are looked for in the tree that this file stands in.
"""

import dataclasses
import os
import pathlib
import shutil
import subprocess
import sys
import time

import msgpack
import zmq

WORK_REQUEST = b"SCAN_WORKREQUEST"
WORK_REPLY = b"SCAN_WORKREPLY"
WORK_COMPLETE = b"SCAN_WORKCOMPLETE"
WORK_RECORDED = b"SCAN_WORKRECORDED"

EFFECT = 2
INSTRUMENT = 3
UNCONFIRMED = 4
NO_EDITOR = 5
SHELL = 6
WRONG_ARCHITECTURE = 7
KNOWN = 9
CORE_LIBRARY = 10

# How long the scanner waits for each answer of its parent, and how long its watchdog lets it live. Seconds.
REPLY_TIMEOUT = 10
WATCHDOG = 60
# What a busy machine may add to any of them before a test calls it wrong.
SLACK = 25

ROOT = pathlib.Path(__file__).resolve().parents[2]


class NoAnswer(Exception):
    """The scanner said nothing within the time allowed."""


def scanner_path():
    return pathlib.Path(os.environ.get("TARVIK_SCANNER", ROOT / "build/windows/bin/TarvikPluginScanner.exe"))


def wine_command():
    """The command line in front of a Windows program: none on Windows."""
    if sys.platform == "win32":
        return []
    named = os.environ.get("TARVIK_WINE")
    if named is not None:
        return named.split()
    for name in ("wine64", "wine", "/usr/lib/wine/wine64"):
        found = shutil.which(name)
        if found:
            return [found]
    raise FileNotFoundError("no Wine found: set TARVIK_WINE")


def environment(**extra):
    """What a Windows program is to find in its environment: quiet, with no dialog on a crash."""
    env = dict(os.environ)
    env.setdefault("WINEPREFIX", str(ROOT / "build/wine"))
    env.setdefault("WINEDEBUG", "-all")
    env.setdefault("WINEDLLOVERRIDES", "winedbg.exe=d;mscoree,mshtml=")
    env.update(extra)
    return env


def windows_path(path):
    """The path of a file of this machine as a Windows program names it."""
    if sys.platform == "win32":
        return str(pathlib.Path(path).resolve())
    return "Z:" + str(pathlib.Path(path).resolve()).replace("/", "\\")


class Process:
    """A running Windows program with its clock."""

    def __init__(self, command, **env):
        self.started = time.monotonic()
        # No pipes: services that Wine starts on the way would hold them open beyond the program's end.
        self.popen = subprocess.Popen(
            command,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            env=environment(**env),
        )
        self.seconds = None

    def wait(self, timeout=WATCHDOG + SLACK):
        """The exit code: the low eight bits of it when run through Wine. Raises subprocess.TimeoutExpired."""
        code = self.popen.wait(timeout)
        if self.seconds is None:
            self.seconds = time.monotonic() - self.started
        return code

    def running(self):
        return self.popen.poll() is None

    def kill(self):
        if self.running():
            self.popen.kill()
        self.popen.wait()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.kill()


def start(*arguments, **env):
    """The scanner with these arguments. Use as a context manager: no test leaves a process behind."""
    return Process([*wine_command(), str(scanner_path()), *arguments], **env)


@dataclasses.dataclass
class Report:
    """The scanner's report, with its frames as they came."""

    frames: list
    result: int = None
    name: bytes = None
    identifier: bytes = None

    @classmethod
    def of(cls, frames):
        report = cls(frames)
        if len(frames) == 2 and frames[1]:
            # Raw: a code from a plug-in may hold any byte.
            report.result, report.name, (report.identifier,) = msgpack.unpackb(frames[1], raw=True)
        return report


def work_item(identifier, known=(), vendor="Tarvik", product="Peer"):
    return msgpack.packb([[identifier], [[entry] for entry in known], vendor, product])


class Parent:
    """The listening side: a REP socket on a port of its own."""

    def __init__(self, kind=zmq.REP):
        self.context = zmq.Context()
        self.socket = self.context.socket(kind)
        self.socket.linger = 0
        self.port = self.socket.bind_to_random_port("tcp://127.0.0.1")
        self.endpoint = f"tcp://127.0.0.1:{self.port}"

    def receive(self, timeout):
        if not self.socket.poll(timeout * 1000):
            raise NoAnswer(f"nothing within {timeout} s")
        return self.socket.recv_multipart()

    def silent(self, seconds):
        """Whether nothing arrives for so long."""
        return not self.socket.poll(seconds * 1000)

    def receive_request(self, timeout=SLACK):
        """The frames of the request for work."""
        return self.receive(timeout)

    def send(self, *frames):
        self.socket.send_multipart(frames)

    def send_work_item(self, identifier, known=(), vendor="Tarvik", product="Peer"):
        self.send(WORK_REPLY, work_item(identifier, known, vendor, product))

    def receive_report(self, timeout=WATCHDOG):
        return Report.of(self.receive(timeout))

    def acknowledge(self):
        self.send(WORK_RECORDED)

    def close(self):
        self.socket.close(0)
        self.context.destroy(0)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


@dataclasses.dataclass
class Scan:
    """A whole scan as the parent lived it. report is None when the scanner ended, or its time was up, without one."""

    report: Report
    exit_code: int
    # From the start of the process to the report (None without one), and to its end.
    report_seconds: float
    seconds: float


def scan(identifier, known=(), vendor="Tarvik", product="Peer", timeout=WATCHDOG + SLACK, **env):
    """One exchange as a good parent leads it: hands out the identifier, takes the report, acknowledges it, waits for
    the end. A scanner that ends without a report is seen at once; one still alive at the time-out is killed and raises
    subprocess.TimeoutExpired."""
    with Parent() as parent, start(parent.endpoint, **env) as scanner:
        try:
            request = parent.receive_request()
        except NoAnswer as silence:
            state = "still runs" if scanner.running() else f"ended with {scanner.wait()}"
            raise NoAnswer(f"{silence}, and the scanner {state}") from None
        if request != [WORK_REQUEST]:
            raise AssertionError(f"not a request for work: {request}")
        parent.send_work_item(identifier, known, vendor, product)
        deadline = scanner.started + timeout
        report = None
        report_seconds = None
        while report is None and time.monotonic() < deadline:
            # The end is looked at first: a report sent before it is then still found by the poll behind it.
            ended = not scanner.running()
            try:
                report = parent.receive_report(0.05)
            except NoAnswer:
                if ended:
                    break
        if report is not None:
            report_seconds = time.monotonic() - scanner.started
            parent.acknowledge()
        code = scanner.wait(max(0.1, deadline - time.monotonic()))
        return Scan(report, code, report_seconds, scanner.seconds)
