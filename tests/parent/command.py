"""The command tarvik-scan as a process: started, awaited, and what it leaves behind.

COMMAND is the command line that starts one of its builds; whoever imports this sets it. TARVIK_SCANNER in the
environment names the scanner.
"""

import json
import pathlib
import subprocess
import sys
import time
import uuid

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "scanner"))
import peer  # noqa: E402

COMMAND = []


def is_windows_build():
    return COMMAND[-1].endswith(".exe")


def path_for_command(path):
    return peer.windows_path(path) if is_windows_build() else str(path)


def processes_with(token):
    """Process numbers and command lines of everything that was started, through whatever chain, with the token in its
    environment."""
    found = {}
    for entry in pathlib.Path("/proc").iterdir():
        try:
            if entry.name.isdigit() and token.encode() in (entry / "environ").read_bytes():
                found[int(entry.name)] = (entry / "cmdline").read_bytes().replace(b"\0", b" ").decode(errors="replace")
        except OSError:  # ended meanwhile
            continue
    return found


def threads_of(number):
    """How many threads a process has, 0 once it has ended."""
    try:
        return len(list((pathlib.Path("/proc") / str(number) / "task").iterdir()))
    except OSError:
        return 0


def new_token():
    return "TARVIK_TEST_TOKEN_" + uuid.uuid4().hex


# What Wine itself may start on the way, if its server was not up: of the system, and not of the command.
OF_THE_SYSTEM = ("wineserver", "services.exe", "explorer.exe /desktop", "winedevice.exe", "plugplay.exe", "svchost.exe",
                 "rpcss.exe", "wineboot.exe", "tabtip.exe")


def left_of(token, seconds=10):
    """What still runs with the token after a grace for the system to take it down."""
    deadline = time.monotonic() + seconds
    while True:
        left = {
            number: line
            for number, line in processes_with(token).items()
            if not any(name in line for name in OF_THE_SYSTEM)
        }
        if not left or time.monotonic() > deadline:
            return left
        time.sleep(0.1)


def start(*arguments, token, preexec_fn=None, **env):
    """The command as it stands."""
    return subprocess.Popen(
        [*COMMAND, *arguments],
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        env=peer.environment(TARVIK_TEST_TOKEN=token, **env),
        preexec_fn=preexec_fn,
    )


class Run:
    """One run of the command to its end, with the scanner that the environment names unless the arguments do."""

    def __init__(self, *arguments, timeout=300, default_scanner=False, **how):
        self.token = new_token()
        if not default_scanner and "--scanner" not in arguments:
            arguments = ("--scanner", path_for_command(peer.scanner_path()), *arguments)
        started = time.monotonic()
        with start(*arguments, token=self.token, **how) as process:
            try:
                output, errors = process.communicate(timeout=timeout)
            except subprocess.TimeoutExpired:
                process.kill()
                raise
        self.seconds = time.monotonic() - started
        self.code = process.returncode
        self.output = output.decode("utf-8").replace("\r\n", "\n")
        self.errors = errors.decode("utf-8").replace("\r\n", "\n")
        self.left = left_of(self.token)

    def outcomes(self):
        """Of a run with --json."""
        return json.loads(self.output)

    def outcome(self):
        """Of a run with --json for one plug-in."""
        (outcome,) = self.outcomes()
        return outcome
