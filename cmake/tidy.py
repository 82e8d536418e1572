#!/usr/bin/python3
"""tidy.py BUILD_DIRECTORY [FILE|FOLDER...]

Runs clang-tidy over the project's own sources that BUILD_DIRECTORY compiles, or over those of them that are named or
stand below named folders. A source that passed is not looked at again until its command, anything that it includes,
the configuration or clang-tidy itself changes: what it includes is taken from ninja's record of the last build, so
build first.

Passes are remembered in $XDG_CACHE_HOME/tarvik-plugin-scanner/tidy (~/.cache if unset).
"""

import concurrent.futures
import functools
import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TIDY = "clang-tidy-19"
CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache") / "tarvik-plugin-scanner/tidy"


@functools.cache
def digest_of_file(path):
    try:
        return hashlib.sha256(pathlib.Path(path).read_bytes()).hexdigest()
    except OSError:
        return "absent"


def included_files(build):
    """What each object file was made from, by ninja's own record: {object: [file, ...]}."""
    record = subprocess.run(["ninja", "-C", build, "-t", "deps"], capture_output=True, text=True, check=True).stdout
    result, current = {}, None
    for line in record.splitlines():
        if line.startswith("    "):
            current.append(os.path.join(build, line.strip()))
        elif ": #deps" in line:
            # An outdated record would vouch for files that are no longer those of the next build.
            current = result[line.split(": #deps")[0]] = [] if line.endswith("(VALID)") else ["outdated"]
    return result


def work_items(build, only):
    deps = included_files(build)
    version = subprocess.run([TIDY, "--version"], capture_output=True, text=True, check=True).stdout
    configurations = sorted(
        ROOT / name for name in subprocess.run(
            ["git", "-c", "safe.directory=*", "-C", ROOT, "ls-files", "--cached", "--others", "--exclude-standard", "*.clang-tidy"],
            capture_output=True, text=True, check=True).stdout.split())
    common = version + "".join(digest_of_file(path) for path in configurations)
    seen = set()
    for entry in json.loads((pathlib.Path(build) / "compile_commands.json").read_text()):
        source = pathlib.Path(entry["directory"], entry["file"]).resolve()
        if not source.is_relative_to(ROOT) or source.is_relative_to(ROOT / "build") or source.suffix != ".cpp":
            continue
        if source in seen or (only and not any(source.is_relative_to(path) for path in only)):
            continue
        seen.add(source)
        output = entry.get("output") or shlex.split(entry["command"])[shlex.split(entry["command"]).index("-o") + 1]
        files = deps.get(output, ["outdated"])
        # Without the place of the tree: what passed in one clone has passed in every other.
        command = entry["command"].replace(str(ROOT), "")
        state = hashlib.sha256((common + command + digest_of_file(source)).encode())
        for path in files:
            state.update(digest_of_file(path).encode())
        yield source, None if "outdated" in files else state.hexdigest()


def tidy(build, source, key):
    run = subprocess.run([TIDY, "-p", build, "--quiet", str(source)], capture_output=True, text=True)
    if run.returncode == 0:
        if key:
            (CACHE / key).touch()
        return source, None
    return source, run.stdout + "\n".join(
        line for line in run.stderr.splitlines() if "error" in line and "warnings treated as errors" not in line)


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    build = os.path.abspath(sys.argv[1])
    CACHE.mkdir(parents=True, exist_ok=True)
    items = list(work_items(build, {pathlib.Path(name).resolve() for name in sys.argv[2:]}))
    if not items:
        sys.exit(f"tidy.py: {build} compiles none of these sources")
    todo = [(source, key) for source, key in items if not key or not (CACHE / key).exists()]
    print(f"clang-tidy: {len(items)} sources, {len(items) - len(todo)} of them unchanged since they passed", flush=True)
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(int(os.environ.get("JOBS", os.cpu_count()))) as pool:
        for future in concurrent.futures.as_completed([pool.submit(tidy, build, *item) for item in todo]):
            source, findings = future.result()
            if findings is not None:
                failed += 1
                print(f"--- {source.relative_to(ROOT)}\n{findings}", flush=True)
    print(f"clang-tidy: {failed} sources with findings")
    sys.exit(failed != 0)


main()
