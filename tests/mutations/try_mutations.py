#!/usr/bin/env python3
"""Breaks the plug-in's code in one small way at a time, and lists the mutations that no test detects.

    tests/mutations/try_mutations.py [--list] [--only TEXT]... [--jobs N] [--work FOLDER] [--report FILE]

Works on copies of the source tree, never on the tree itself. Each mutation changes one place of
inmemoryprovider/: it negates a condition or makes it constant, deletes a statement, exchanges two adjacent
statements, changes a comparison or constant, replaces an enumerator or exception, omits a lock, relaxes a
memory order, or omits a fence or a wait. It is noticed (killed) if a test fails, crashes or hangs. It does
not count if the compiler rejects it. Mutations that survive the ordinary tests are tested again under
ThreadSanitizer, because only it detects a missing lock.

Most mutations are compiled into one program; an environment variable selects one of them (schemata.py). The
others are compiled one by one.

accepted.txt next to this file lists the mutations without an effect that a user or caller could see, each
with the reason. Exits with 1 if any other mutation survives.
"""

import argparse
import collections
import concurrent.futures
import filecmp
import math
import os
import pathlib
import queue
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import threading

import schemata
from mutations import ROOT, all_mutations

ACCEPTED = pathlib.Path(__file__).with_name("accepted.txt")
CONFIGURE = ["-G", "Ninja", "-DCMAKE_CXX_COMPILER=clang++-14", "-DCMAKE_BUILD_TYPE=None",
             "-DCMAKE_CXX_FLAGS_NONE=-D_GLIBCXX_ASSERTIONS"]  # detects misuse of the standard library
if shutil.which("ld.lld"):  # links the tests in a third of the time
    CONFIGURE += ["-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld", "-DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=lld"]
# The build folders with their settings. A mutation of a header is compiled in few large pieces. Only the build
# with all mutations is optimized, because it is compiled once and runs most of the tests.
LARGE_PIECES = ["-DCMAKE_UNITY_BUILD=ON", "-DCMAKE_UNITY_BUILD_BATCH_SIZE=0"]
BUILDS = {
    "all": ["-DCMAKE_CXX_FLAGS=-O1 -ferror-limit=0", *LARGE_PIECES],
    "plain": ["-DCMAKE_CXX_FLAGS=-O0"],
    "headers": ["-DCMAKE_CXX_FLAGS=-O0 -ferror-limit=0", *LARGE_PIECES],
    "threads": ["-DCMAKE_CXX_FLAGS=-O1 -g1", "-DQZSTORAGE_SANITIZE=thread"],
}
SLOW = "*Rac*:*Concurrency*:*Deep*:*LeftRight*"
UNIT_TESTS = [["inmemoryprovider_tests", "--gtest_filter=-" + SLOW],
              ["inmemoryprovider_tests", "--gtest_filter=" + SLOW]]
MODEL_TESTS = [["linked_plugin_tests"], ["plugin_tests"], ["model_tests"]]
SLOW_TESTS = [["linearizability_tests"], ["memory_exhaustion_tests"]]
THREAD_TESTS = [["inmemoryprovider_tests", "--gtest_filter=" + SLOW],
                ["linearizability_tests"],
                ["thread_stress", "--operations", "200000"]]
LIBRARY = [["qzstorageinmemoryprovider_core"]] # fails first if a mutation does not compile
# Stages, run until a test fails: a build folder, and the tests to build and run there. Tests that detect the
# most mutations in the least time come first. For headers, tests that include few of the headers come first.
SOURCE_STAGES = [("plain", UNIT_TESTS), ("plain", MODEL_TESTS + SLOW_TESTS), ("threads", THREAD_TESTS)]
HEADER_STAGES = [("headers", MODEL_TESTS), ("headers", UNIT_TESTS + SLOW_TESTS), ("threads", THREAD_TESTS)]
ALL_AT_ONCE_STAGES = [("all", UNIT_TESTS + MODEL_TESTS + SLOW_TESTS), ("threads", THREAD_TESTS)]
SECONDS_ASLEEP = 20  # a test hangs if all its threads sleep for that long
RESULTS = {"refused": "refused", "failed": "noticed", "hung": "noticed by a hang"}

class Result:
    """How a command ended: "passed", "failed", or "hung" if it exceeded one of its limits."""

    def __init__(self, ending, output=""):
        self.ending = ending
        self.output = output

    def failed_tests(self):
        return re.findall(r"^\[  FAILED  \] (\S+?),? .*\(\d+ ms\)$", self.output, re.M)


def processor_time(session):
    """Returns the processor time, in ticks, of the processes of a session."""
    total = 0
    for stat in pathlib.Path("/proc").glob("[0-9]*/stat"):
        try:
            fields = stat.read_text().rpartition(")")[2].split()
        except OSError:
            continue # it has ended
        if int(fields[3]) == session:
            total += int(fields[11]) + int(fields[12])
    return total


def run(command, folder, processor_seconds, number=None):
    """Runs a command. It hangs if it exceeds its processor time, or if all its threads sleep for long."""

    def limit():
        resource.setrlimit(resource.RLIMIT_CPU, (processor_seconds, processor_seconds + 5))

    environment = dict(os.environ)
    if number is not None:
        environment[schemata.VARIABLE] = str(number)
    with subprocess.Popen(command, cwd=folder, env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True, errors="replace", preexec_fn=limit, start_new_session=True) as process:
        used = 0
        while True:
            try:
                output = process.communicate(timeout=SECONDS_ASLEEP)[0]
                break
            except subprocess.TimeoutExpired:
                before, used = used, processor_time(process.pid)
                if used == before:
                    os.killpg(process.pid, signal.SIGKILL)
                    return Result("hung")
    if process.returncode in (-signal.SIGXCPU, -signal.SIGKILL):
        return Result("hung")
    return Result("failed" if process.returncode else "passed", output)


class Copy:
    """A copy of the tree with its own build folders."""

    seconds = {}  # processor time of each command of the unchanged code
    test_seconds = {}  # elapsed time of each test in them, by program and name

    def __init__(self, folder):
        self.folder = folder
        files = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "-z"], cwd=ROOT, check=True,
                               capture_output=True, text=True).stdout.split("\0")
        for name in filter(lambda each: (ROOT / each).is_file(), files):
            self.update(name)

    def update(self, name):
        """Copies a file if it differs: the copy of an earlier run may be older, or contain a mutation. The
        new modification time triggers a rebuild."""
        copy = self.folder / name
        if not copy.is_file() or not filecmp.cmp(ROOT / name, copy, shallow=False):
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(ROOT / name, copy)
            shutil.copymode(ROOT / name, copy)

    def build(self, build_name, tests, *arguments):
        build = self.folder / "build" / build_name
        if not (build / "build.ninja").exists():
            subprocess.run(["cmake", "-S", str(self.folder), "-B", str(build), *CONFIGURE, *BUILDS[build_name]],
                           check=True, stdout=subprocess.DEVNULL)
        targets = {test[0]: None for test in tests}
        return run(["ninja", "-C", str(build), *arguments, *targets], self.folder, 3600)

    def run_test(self, build_name, test, number=None, seconds=60):
        """Runs a command that takes the given processor time in the unchanged code. A mutation may take a
        multiple of it."""
        build = self.folder / "build" / build_name
        arguments = ["--gtest_fail_fast"] if test[0].endswith("_tests") else []
        command = [str(build / "bin" / test[0]), *test[1:], *arguments]
        return run(command, build, math.ceil(10 + 4 * seconds), number)

    def run_measured_test(self, build_name, test, number=None):
        return self.run_test(build_name, test, number, Copy.seconds[(build_name, *test)])

    def expect_sound(self, stages):
        """Builds and runs all tests of the unchanged code, and measures the processor time they take."""
        for build_name, tests in stages:
            result = self.build(build_name, tests)
            for test in tests if result.ending == "passed" else []:
                before = sum(os.times()[2:4])
                result = self.run_test(build_name, test)
                Copy.seconds[(build_name, *test)] = sum(os.times()[2:4]) - before
                Copy.test_seconds.update({(test[0], name): int(milliseconds) / 1000 for name, milliseconds in
                                          re.findall(r"^\[       OK \] (\S+?),? .*\((\d+) ms\)$", result.output, re.M)})
                if result.ending != "passed":
                    break
            if result.ending != "passed":
                raise SystemExit(f"{result.output[-5000:]}try_mutations: the unchanged code fails in {build_name}")

    def run_stage(self, build_name, tests):
        """Builds the tests and runs them until one fails. Returns "refused" if they do not build, else the
        last test's result."""
        if self.build(build_name, tests, "-j1").ending != "passed":
            return "refused"
        for test in tests:
            ending = self.run_measured_test(build_name, test).ending
            if ending != "passed":
                return ending
        return "passed"

    def attempt(self, mutation):
        path = self.folder / mutation.path
        source = path.read_text()
        path.write_text(source[:mutation.begin] + mutation.text + source[mutation.end:])
        try:
            for build_name, tests in HEADER_STAGES if mutation.is_in_header else SOURCE_STAGES:
                ending = self.run_stage(build_name, tests)
                if ending != "passed":
                    return RESULTS[ending]
            return "survived"
        finally:
            path.write_text(source)


class AllAtOnce(Copy):
    """A copy of the project with as many of the mutations in its program as possible."""

    def __init__(self, folder, mutations):
        super().__init__(folder)
        self.sources = schemata.Sources(ROOT, mutations)
        self.detectors = collections.defaultdict(dict)  # by file: programs, and their tests that detected mutations
        self.lock = threading.Lock()  # guards the above
        (folder / schemata.HEADER_NAME).write_text(schemata.HEADER)
        while not self.builds():
            pass

    def builds(self):
        """Writes the sources and builds the tests. Drops the mutations that the compiler rejects."""
        for path, text in self.sources.texts().items():
            if (self.folder / path).read_text() != text:
                (self.folder / path).write_text(text)
        for build_name, tests in [("all", LIBRARY), *ALL_AT_ONCE_STAGES]:
            result = self.build(build_name, tests, "-k0")
            if result.ending != "passed":
                if not self.sources.drop_rejected(result.output):
                    raise SystemExit(f"{result.output[-5000:]}try_mutations: the mutated sources do not build")
                return False
        return True

    def attempt(self, mutation):
        number = self.sources.numbers[mutation.id]
        with self.lock:
            likely = [(program, set(names)) for program, names in self.detectors[mutation.path].items()]
        for program, names in likely:
            seconds = sum(Copy.test_seconds.get((program, name), 0) for name in names)
            result = self.run_test("all", [program, "--gtest_filter=" + ":".join(names)], number, seconds)
            if result.ending != "passed":
                return RESULTS[result.ending]
        for build_name, tests in ALL_AT_ONCE_STAGES:
            for test in tests:
                result = self.run_measured_test(build_name, test, number)
                if result.ending != "passed":
                    self.note(mutation.path, build_name, test[0], result)
                    return RESULTS[result.ending]
        return "survived"

    def note(self, path, build_name, program, result):
        """Remembers the test that failed: it probably detects other mutations of the file."""
        failed = result.failed_tests()
        if build_name == "all" and failed:
            with self.lock:
                self.detectors[path].setdefault(program, set()).add(failed[0])


def accepted_mutations():
    lines = ACCEPTED.read_text().splitlines()
    return {line for line in lines if line and not line.startswith("#")}


def tried_all(mutations, results, work, jobs):
    """Tries each mutation without a result, and yields it with its result."""
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        together = AllAtOnce(work / "all", mutations)
        together.expect_sound(ALL_AT_ONCE_STAGES)
        left = [mutation for mutation in mutations if mutation.id not in results]
        contained = {mutation.id for mutation in together.sources.contained}
        attempts = {pool.submit(together.attempt, m): m for m in left if m.id in contained}
        for done in concurrent.futures.as_completed(attempts):
            yield attempts[done], done.result()

        left = [mutation for mutation in left if mutation.id not in contained]
        left.sort(key=lambda mutation: mutation.is_in_header)  # they take longest
        copies = queue.Queue()
        for worker in range(jobs):
            copies.put(Copy(work / str(worker)))
        if left:
            copies.queue[0].expect_sound(SOURCE_STAGES + HEADER_STAGES)

        def attempt(mutation):
            copy = copies.get()
            try:
                return copy.attempt(mutation)
            finally:
                copies.put(copy)

        attempts = {pool.submit(attempt, mutation): mutation for mutation in left}
        for done in concurrent.futures.as_completed(attempts):
            yield attempts[done], done.result()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--list", action="store_true", help="only print the mutations")
    parser.add_argument("--only", action="append", default=[], metavar="TEXT",
                        help="only mutations with this text in their --list line")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="number of mutations tried at once")
    parser.add_argument("--work", type=pathlib.Path,
                        help="folder for the copies of the source tree, which are kept (default: temporary)")
    parser.add_argument("--report", type=pathlib.Path,
                        help="file for the results; mutations with a result in it are not tried again")
    options = parser.parse_args()

    mutations = [m for m in all_mutations() if not options.only or any(text in m.name for text in options.only)]
    if options.list:
        print("\n".join(m.name for m in mutations))
        return 0
    results = {}
    if options.report and options.report.exists():
        results = dict(reversed(line.split("\t", 1)) for line in options.report.read_text().splitlines())
    work = options.work or pathlib.Path(tempfile.mkdtemp())
    try:
        # Shuffled, so that a partial run is a representative sample.
        random.Random(0).shuffle(mutations)
        for done, result in tried_all(mutations, results, work, options.jobs):
            results[done.id] = result
            if options.report:
                with options.report.open("a") as report:
                    report.write(f"{result}\t{done.id}\n")
            if sys.stderr.isatty():
                print(f"\r{len(results)} of {len(mutations)}", end="", file=sys.stderr)
    finally:
        if not options.work:
            shutil.rmtree(work)

    accepted = accepted_mutations()
    tried = [m for m in mutations if results[m.id] != "refused"]
    survivors = [m for m in tried if results[m.id] == "survived"]
    unexplained = [m for m in survivors if m.id not in accepted]
    for mutation in unexplained:
        print(f"survived: {mutation.name}")
    print(f"mutations: {len(tried)} tried, {len(tried) - len(survivors)} noticed, "
          f"{len(survivors) - len(unexplained)} survived without a visible effect, {len(unexplained)} survived")
    return 1 if unexplained else 0


if __name__ == "__main__":
    sys.exit(main())
