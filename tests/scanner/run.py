"""Runs the named classes of a test module (all of them without names), every test in a thread of its own.

    run.py MODULE [CLASS...]

Most of these tests wait: for a time-out, for the watchdog, for a process to end. Side by side they take together as
long as the longest of them.
"""

import concurrent.futures
import importlib
import sys
import time
import unittest

# Wine starts a process in tens of milliseconds; a machine of two cores has enough with these at a time.
THREADS = 24


def run_one(test):
    started = time.monotonic()
    result = unittest.TestResult()
    test.run(result)
    return test, result, time.monotonic() - started


def tests_of(module, names):
    loader = unittest.TestLoader()
    if not names:
        suites = [loader.loadTestsFromModule(module)]
    else:
        suites = [loader.loadTestsFromTestCase(getattr(module, name)) for name in names]
    pending = list(suites)
    while pending:
        item = pending.pop(0)
        if isinstance(item, unittest.TestSuite):
            pending[:0] = list(item)
        else:
            yield item


def main(arguments):
    module = importlib.import_module(arguments[0])
    tests = list(tests_of(module, arguments[1:]))
    if not tests:
        print("no tests found")
        return 1
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(THREADS) as pool:
        for done in concurrent.futures.as_completed([pool.submit(run_one, test) for test in tests]):
            test, result, seconds = done.result()
            troubles = [text for _, text in result.failures + result.errors]
            word = "FAILED" if troubles else "skipped" if result.skipped else "ok"
            print(f"{word:8}{seconds:6.1f} s  {test.id()}", flush=True)
            for text in troubles:
                print(text, flush=True)
            failed += bool(troubles)
    print(f"{len(tests)} tests, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
