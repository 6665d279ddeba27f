#!/usr/bin/env python3
"""Breaks the plug-in's code in one small way at a time, and lists the mutations that no test detects.

    tests/mutations/try_mutations.py [--list] [--only TEXT]... [--jobs N] [--work FOLDER] [--report FILE]

Works on copies of the source tree, never on the tree itself. Each mutation changes one place of
inmemoryprovider/: it negates a condition or makes it constant, deletes a statement, exchanges two adjacent
statements, changes a comparison or constant, replaces an enumerator or exception, omits a lock, relaxes a
memory order, or omits a fence or a wait. It is noticed (killed) if a test fails, crashes or hangs. It does
not count if the compiler rejects it. Mutations that survive the ordinary tests are tested again under
ThreadSanitizer, because only it detects a missing lock.

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

ROOT = pathlib.Path(__file__).resolve().parents[2]
ACCEPTED = pathlib.Path(__file__).with_name("accepted.txt")
CONFIGURE = ["-G", "Ninja", "-DCMAKE_CXX_COMPILER=clang++-14", "-DCMAKE_BUILD_TYPE=None"]
if shutil.which("ld.lld"):  # links the tests in a third of the time
    CONFIGURE += ["-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld", "-DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=lld"]
# The build folders with their settings. A mutation of a header is compiled in few large pieces.
BUILDS = {
    "plain": ["-DCMAKE_CXX_FLAGS=-O0"],
    "headers": ["-DCMAKE_CXX_FLAGS=-O0", "-DCMAKE_UNITY_BUILD=ON", "-DCMAKE_UNITY_BUILD_BATCH_SIZE=0"],
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
# Stages, run until a test fails: a build folder, and the tests to build and run there. Tests that detect the
# most mutations in the least time come first. For headers, tests that include few of the headers come first.
SOURCE_STAGES = [("plain", UNIT_TESTS), ("plain", MODEL_TESTS + SLOW_TESTS), ("threads", THREAD_TESTS)]
HEADER_STAGES = [("headers", MODEL_TESTS), ("headers", UNIT_TESTS + SLOW_TESTS), ("threads", THREAD_TESTS)]

ENUMERATIONS = {
    "ErrorCode": ["FolderNotEmpty", "ReadOnly", "AlreadyExists", "NotFound"],
    "ReplacementPolicy": ["RefuseExisting", "ReplaceExisting", "RefuseExistingFile"],
    "ByteStreamAppend": ["AppendAtEnd", "WriteAtPosition"],
    "EntryType": ["File", "Folder"],
    "ios_base": ["beg", "cur", "end"],
}
EXCEPTIONS = ["EntryExistsException", "EntryNotFoundException", "FolderNotEmptyException", "ReadOnlyException"]
# Matches a statement that waits for other threads or wakes them.
WAIT = r"\b(wait|settle|wake|notify_)\w*\("
SWAPPED = {
    "==": "!=", "!=": "==", "<=": "<", ">=": ">", "<": "<=", ">": ">=", "&&": "||", "||": "&&", "+": "-", "-": "+",
    "+=": "-=", "-=": "+=", "*": "/",
}


class Mutation:
    """One change: `text` replaces [begin, end) in `path`."""

    def __init__(self, path, source, begin, end, text, kind):
        self.path = path
        self.is_in_header = path.endswith(".h")
        self.begin = begin
        self.end = end
        self.text = text
        line = source.count("\n", 0, begin) + 1
        shown = " ".join(source[begin:end].split())
        became = " ".join(text.split()) or "nothing"
        whole_line = source[source.rfind("\n", 0, begin) + 1:source.find("\n", end)].split("\n")[0].strip()
        self.key = f"{path}: {kind}: {shown} -> {became}: in {whole_line}"
        self.id = self.key  # with a number if the key exists more than once
        self.name = f"{path}:{line}: {kind}: {shown} -> {became}"


def without_comments(source):
    """Returns the source with comments, strings, includes and attributes blanked out; all positions are
    unchanged."""

    def blank(match):
        return re.sub(r"[^\n]", " ", match.group(0))

    pattern = r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|^\s*#[^\n]*|\[\[\w+\]\]|\btemplate <[^\n]*>'
    return re.sub(pattern, blank, source, flags=re.S | re.M)


def closing(code, opening):
    """Returns the position after the bracket that closes the one at `opening`."""
    depth = 0
    for position in range(opening, len(code)):
        if code[position] in "([{":
            depth += 1
        elif code[position] in ")]}":
            depth -= 1
            if depth == 0:
                return position + 1
    return len(code)


def statements(code):
    """Returns [begin, end) of each simple statement in a function, and of each `if` with a block of one
    throw."""
    found = []
    for match in re.finditer(r"(?<=[;{}])\s*(?=[^\s;{}#])", code):
        begin = match.end()
        if re.match(r"if \(", code[begin:]):
            end = closing(code, begin + 3)
            block = re.match(r"\s*\{\s*throw [^;{}]*;\s*\}", code[end:])
            if block:
                found.append((begin, end + block.end(), "check"))
            continue
        depth = 0
        position = begin
        while position < len(code) and (depth > 0 or code[position] not in ";{}"):
            depth += (code[position] in "([") - (code[position] in ")]")
            position += 1
        text = code[begin:position]
        if position < len(code) and code[position] == ";" and code[:begin].count("{") - code[:begin].count("}") > 1:
            if re.match(r"const std::(lock_guard|scoped_lock)", text):
                found.append((begin, position + 1, "lock"))
            elif re.match(r"std::atomic_thread_fence\(", text):
                found.append((begin, position + 1, "fence"))
            elif re.match(r"(return|throw|const|auto|using|static|constexpr|case|default|break|continue|std::size_t \w+ =|"
                          r"friend|public|private|explicit|virtual|mutable|struct|enum)\b", text):
                continue
            elif re.search(r"= (delete|default)$|\boverride$", text):
                continue
            elif re.match(r"[\w:<>,& ]+ \w+(\(|;|$| = )", text) and not re.match(r"[\w.>\-]+\(", text):
                continue  # a declaration
            else:
                found.append((begin, position + 1, "wait" if re.search(WAIT, text) else "statement"))
    return found


def mutations_of(path):
    source = (ROOT / path).read_text()
    code = without_comments(source)
    result = []

    def add(begin, end, text, kind):
        result.append(Mutation(path, source, begin, end, text, kind))

    for match in re.finditer(r"\b(if|while) \(", code):
        end = closing(code, match.end() - 1)
        condition = source[match.end():end - 1]
        if re.match(r"const auto|auto", condition):
            continue
        forms = ["!({})", "false && ({})"] + (["true || ({})"] if match.group(1) == "if" else [])
        for form in forms:
            add(match.end(), end - 1, form.format(condition), "condition")

    simple = statements(code)
    for begin, end, kind in simple:
        if kind != "check":
            add(begin, end, "", "left out" if kind == "statement" else f"{kind} left out")
    for (begin, end, kind), (next_begin, next_end, next_kind) in zip(simple, simple[1:]):
        if code[end:next_begin].strip() == "" and "lock" not in (kind, next_kind):
            exchanged = source[next_begin:next_end] + source[end:next_begin] + source[begin:end]
            add(begin, next_end, exchanged, "exchanged")

    for match in re.finditer(r" (==|!=|<=|>=|<|>|&&|\|\||\+=|-=|\+|-|\*) (?=[\w(!-])", code):
        add(match.start(1), match.end(1), SWAPPED[match.group(1)], "operator")
    for match in re.finditer(r"(?<![\w.:'\"])(\d+)(?![\w.'])", code):
        if code[:match.start()].count("{") > 0 and not re.search(r"(alignas|array<[^>]*)$", code[:match.start()]):
            add(match.start(), match.end(), str(int(match.group(1)) + 1), "constant")
    for match in re.finditer(r"\b(true|false)\b", code):
        add(match.start(), match.end(), "false" if match.group(1) == "true" else "true", "constant")
    for match in re.finditer(r"u'/'", source):
        add(match.start(), match.end(), "u'|'", "constant")
    for match in re.finditer(r"\bu?\"[^\"\n]+\"", source):
        line = source[source.rfind("\n", 0, match.start()) + 1:match.start()]
        if "#include" not in line and "//" not in line:
            add(match.start(), match.end(), match.group(0)[:-1] + "~\"", "constant")
    for match in re.finditer(r"\b(\w+)::(\w+)\b", code):
        for other in ENUMERATIONS.get(match.group(1), []):
            if match.group(2) in ENUMERATIONS[match.group(1)] and other != match.group(2):
                add(match.start(2), match.end(2), other, "enumerator")
    for match in re.finditer(r"\bthrow (\w+Exception)\(", code):
        for other in EXCEPTIONS:
            if other != match.group(1):
                add(match.start(1), match.end(1), f"storage::inmemoryprovider::{other}", "exception")
    for match in re.finditer(r"\breturn ([^;{}]+);", code):
        if match.group(1) not in ("false", "nullptr"):
            add(match.start(1), match.end(1), "{}", "result")
    for match in re.finditer(r"(?<=[\w)>])(\.|->)(load|store|exchange|fetch_\w+)\(", code):
        end = closing(code, match.end() - 1)
        named = re.search(r"std::memory_order_(\w+)$", code[match.end():end - 1])
        if not named:
            comma = ", " if code[match.end():end - 1].strip() else ""
            add(end - 1, end - 1, comma + "std::memory_order_relaxed", "order of memory")
        elif named[1] != "relaxed":
            begin = match.end() + named.start(1)
            add(begin, begin + len(named[1]), "relaxed", "order of memory")
    return result


def all_mutations():
    names = subprocess.run(["git", "ls-files", "inmemoryprovider/*.cpp", "inmemoryprovider/*.h"], cwd=ROOT, check=True,
                           capture_output=True, text=True).stdout.split()
    mutations = [mutation for name in names for mutation in mutations_of(name)]
    counts = collections.Counter()
    for mutation in mutations:
        counts[mutation.key] += 1
        if counts[mutation.key] > 1:
            mutation.id += f" ({counts[mutation.key]})"
    return mutations


def run(command, folder, processor_seconds, seconds):
    """Returns "passed", "failed", or "hung" if the command exceeds one of the two limits."""

    def limit():
        resource.setrlimit(resource.RLIMIT_CPU, (processor_seconds, processor_seconds + 5))

    try:
        result = subprocess.run(command, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                timeout=seconds, preexec_fn=limit).returncode
    except subprocess.TimeoutExpired:
        return "hung"
    if result in (-signal.SIGXCPU, -signal.SIGKILL):
        return "hung"
    return "failed" if result else "passed"


class Copy:
    """A copy of the tree with its own build folders, for one worker."""

    def __init__(self, folder):
        self.folder = folder
        self.seconds = {}  # processor time of each test of the unchanged code
        files = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "-z"], cwd=ROOT, check=True,
                               capture_output=True, text=True).stdout.split("\0")
        for name in filter(lambda each: (ROOT / each).is_file(), files):
            self.update(name)

    def update(self, name):
        """Copies a file if it differs. The copy of an earlier run may be older, or hold a mutation. A new time
        makes the build notice the change."""
        copy = self.folder / name
        if not copy.is_file() or not filecmp.cmp(ROOT / name, copy, shallow=False):
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(ROOT / name, copy)
            shutil.copymode(ROOT / name, copy)

    def run_stage(self, build_name, tests, is_first=False):
        """Builds the tests and runs them until one fails. Returns "refused" if they do not build, else the last
        test's result."""
        build = self.folder / "build" / build_name
        if not (build / "build.ninja").exists():
            subprocess.run(["cmake", "-S", str(self.folder), "-B", str(build), *CONFIGURE, *BUILDS[build_name]],
                           check=True, stdout=subprocess.DEVNULL)
        targets = {test[0]: None for test in tests}
        compiled = run(["cmake", "--build", str(build), "--parallel", "1", "--target", *targets], self.folder, 3600, 3600)
        if compiled != "passed":
            return "refused"
        for test in tests:
            arguments = ["--gtest_fail_fast", "--gtest_brief"] if test[0].endswith("_tests") else []
            name = (build_name, *test)
            limit = 600 if is_first else 10 + 4 * self.seconds[name]
            before = sum(os.times()[2:4])
            result = run([str(build / "bin" / test[0]), *test[1:], *arguments], build, math.ceil(limit),
                         60 + 5 * limit)
            if is_first:
                self.seconds[name] = sum(os.times()[2:4]) - before
            if result != "passed":
                return result
        return "passed"

    def expect_sound(self):
        """Runs all tests of the unchanged code, and measures the processor time they take."""
        for build_name, tests in SOURCE_STAGES + HEADER_STAGES:
            if self.run_stage(build_name, tests, is_first=True) != "passed":
                raise SystemExit(f"try_mutations: the unchanged code does not pass {build_name}: {tests}")

    def attempt(self, mutation):
        path = self.folder / mutation.path
        source = path.read_text()
        path.write_text(source[:mutation.begin] + mutation.text + source[mutation.end:])
        try:
            for build_name, tests in HEADER_STAGES if mutation.is_in_header else SOURCE_STAGES:
                result = self.run_stage(build_name, tests)
                if result != "passed":
                    return {"refused": "refused", "failed": "noticed", "hung": "noticed by a hang"}[result]
            return "survived"
        finally:
            path.write_text(source)


def accepted_mutations():
    lines = ACCEPTED.read_text().splitlines()
    return {line for line in lines if line and not line.startswith("#")}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--list", action="store_true", help="only print the mutations")
    parser.add_argument("--only", action="append", default=[], metavar="TEXT", help="those whose line has this text")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="how many at once")
    parser.add_argument("--work", type=pathlib.Path, help="where the copies are made and kept (else they are removed)")
    parser.add_argument("--report", type=pathlib.Path, help="where each result is appended; what is there is not tried again")
    options = parser.parse_args()

    mutations = [m for m in all_mutations() if not options.only or any(text in m.name for text in options.only)]
    if options.list:
        print("\n".join(m.name for m in mutations))
        return 0
    results = {}
    if options.report and options.report.exists():
        results = dict(reversed(line.split("\t", 1)) for line in options.report.read_text().splitlines())
    work = options.work or pathlib.Path(tempfile.mkdtemp())
    copies = queue.Queue()
    for worker in range(options.jobs):
        copies.put(Copy(work / str(worker)))

    def attempt(mutation):
        copy = copies.get()
        try:
            return mutation, copy.attempt(mutation)
        finally:
            copies.put(copy)

    try:
        with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
            first = copies.queue[0]
            first.expect_sound()
            for copy in list(copies.queue)[1:]:
                copy.seconds = first.seconds
            # Mutations of headers are last, because they take longest. The others are shuffled, so that a
            # partial run is a representative sample.
            left = [m for m in mutations if m.id not in results]
            random.Random(0).shuffle(left)
            left.sort(key=lambda mutation: mutation.is_in_header)
            for done in concurrent.futures.as_completed([pool.submit(attempt, m) for m in left]):
                mutation, result = done.result()
                results[mutation.id] = result
                if options.report:
                    with options.report.open("a") as report:
                        report.write(f"{result}\t{mutation.id}\n")
                if sys.stderr.isatty():
                    print(f"\r{len(results)} of {len(mutations)}", end="", file=sys.stderr)
    finally:
        if not options.work:
            shutil.rmtree(work)

    accepted = accepted_mutations()
    tried = [m for m in mutations if results[m.id] != "refused"]
    survivors = [m for m in tried if results[m.id] == "survived"]
    unexplained = [m for m in survivors if m.key not in accepted]
    for mutation in unexplained:
        print(f"survived: {mutation.name}")
    print(f"mutations: {len(tried)} tried, {len(tried) - len(survivors)} noticed, "
          f"{len(survivors) - len(unexplained)} survived that change nothing to be seen, {len(unexplained)} survived")
    return 1 if unexplained else 0


if __name__ == "__main__":
    sys.exit(main())
