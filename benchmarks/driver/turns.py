"""Runs the benchmarks of a program, each repetition in its own process, the contenders in turn."""

import argparse
import collections
import contextlib
import dataclasses
import fnmatch
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import time

import load

SPACE_REQUIRED = 3 << 30  # on the tmpfs, in bytes
SPACE_REQUIRED_IF_SHORT = 256 << 20
SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)
WRONG_USAGE = 2


@dataclasses.dataclass
class Contender:
    id: str  # in options and results
    title: str  # in tables
    role: str  # plug-in, peer, floor (minimum cost of a tree) or limit (bound that no file system can exceed)
    version: str = ""


@dataclasses.dataclass
class Repetition:
    scenario: str
    contender: str
    number: int
    load: load.Load
    rows: dict  # values by row and variant


def positive(text):
    """The type of options that count something."""
    if not text.isdecimal() or int(text) < 1:
        raise argparse.ArgumentTypeError(f"{text}: not a positive number")
    return int(text)


@dataclasses.dataclass
class Outcome:
    scenarios: dict  # the selected contenders of each
    repetitions: list
    failures: int
    seconds: float


def option_parser(description):
    parser = argparse.ArgumentParser(
        description=description, allow_abbrev=False,
        epilog="Exit status: 0 success, 1 a result was wrong or a contender failed, 2 wrong usage, 130 interrupted.")
    parser.add_argument("--short", action="store_true", help="small sizes and one repetition, to test that all works")
    parser.add_argument("--repetitions", type=positive, metavar="N", help="runs of each scenario with each contender (default: 5)")
    parser.add_argument("--only", default="*", metavar="GLOB", help="run the scenarios with matching names")
    parser.add_argument("--contenders", type=lambda text: text.split(","), metavar="ID,...", help="run these only")
    parser.add_argument("--write", type=pathlib.Path, metavar="FOLDER",
                        help="write table, results.jsonl, runs.jsonl and the data of the plots into this folder")
    return parser


def parse(parser):
    options = parser.parse_args()
    options.repetitions = options.repetitions or (1 if options.short else 5)
    return options


class Program:
    """A program based on Google Benchmark. Its benchmarks are named SCENARIO/CONTENDER, their counters
    ROW|VARIANT."""

    def __init__(self, path, arguments):
        self.command = [path, *arguments]
        self.context = {}

    def run_with(self, *arguments):
        return subprocess.run([*self.command, *arguments], stdout=subprocess.PIPE, check=True, text=True).stdout

    def benchmarks(self):
        """The contenders of each scenario, in the order of registration."""
        found = collections.defaultdict(list)
        for line in self.run_with("--benchmark_list_tests").splitlines():
            scenario, contender = line.split("/")[:2]
            found[scenario].append(contender)
        return found

    def run(self, name, *arguments):
        """Runs a benchmark in a new process and returns its rows."""
        output = json.loads(self.run_with(f"--benchmark_filter=^{name}/", "--benchmark_format=json", *arguments))
        self.context = output["context"]
        (benchmark,) = output["benchmarks"]
        if benchmark.get("error_occurred"):
            raise RuntimeError(benchmark["error_message"])
        return {tuple(key.split("|")): value for key, value in benchmark.items() if "|" in key}


def select(scenarios, contenders, options):
    """The contenders of each scenario that the options select. Exits if there are none."""
    wanted = [each for each in contenders if not options.contenders or each.id in options.contenders]
    unknown = set(options.contenders or []) - {each.id for each in wanted}
    found = {name: [each for each in wanted if each.id in scenarios[name]]
             for name in fnmatch.filter(scenarios, options.only)}
    selected = {name: contenders for name, contenders in found.items() if contenders}
    if unknown:
        print(f"{', '.join(sorted(unknown))}: unknown contender", file=sys.stderr)
    elif not selected:
        beside = f" with {','.join(options.contenders)}" if options.contenders else ""
        print(f"{options.only}{beside}: no matching scenario", file=sys.stderr)
    if unknown or not selected:
        sys.exit(WRONG_USAGE)
    return selected


def take_turns(scenarios, repetitions, most_rounds, measure):
    """Runs every scenario with its contenders, beginning each round with another contender. If `most_rounds`
    exceeds `repetitions`, noisy repetitions are repeated, in at most `most_rounds` rounds.

    measure(scenario, contender) returns rows and load."""
    start = time.monotonic()
    done, failures = [], 0
    quiet = collections.Counter()
    for number in range(most_rounds):
        for place, (scenario, contenders) in enumerate(scenarios.items()):
            first = (number + place) % max(1, len(contenders))
            for contender in contenders[first:] + contenders[:first]:
                if number >= repetitions and quiet[scenario, contender.id] >= repetitions:
                    continue
                show_progress(f"round {number + 1}: {scenario}, {contender.title}")
                try:
                    rows, used = measure(scenario, contender)
                except (RuntimeError, OSError, ValueError, subprocess.CalledProcessError) as error:
                    print(f"{scenario}, {contender.title}: {error}", file=sys.stderr)
                    failures += 1
                    continue
                done.append(Repetition(scenario, contender.id, number, used, rows))
                quiet[scenario, contender.id] += not used.is_noisy()
    show_progress("")
    return Outcome(scenarios, done, failures, time.monotonic() - start)


def show_progress(text):
    if sys.stderr.isatty():
        print(f"\r\x1b[K{text}", end="", file=sys.stderr, flush=True)


@contextlib.contextmanager
def tmpfs_folder(is_short):
    """A new folder on a tmpfs with enough space; None if there is none."""
    required = SPACE_REQUIRED_IF_SHORT if is_short else SPACE_REQUIRED
    for parent in ("/dev/shm", "/tmp", "/run"):
        kind = subprocess.run(["stat", "-fc", "%T", parent], capture_output=True, text=True, check=False).stdout.strip()
        if kind == "tmpfs" and os.access(parent, os.W_OK) and shutil.disk_usage(parent).free >= required:
            with tempfile.TemporaryDirectory(prefix="qzstorage-", dir=parent, ignore_cleanup_errors=True) as folder:
                yield pathlib.Path(folder)
            return
    yield None


def clear(folder):
    """Removes the content of a folder."""
    for entry in folder.iterdir() if folder else ():
        shutil.rmtree(entry) if entry.is_dir() and not entry.is_symlink() else entry.unlink()


def interrupt(*_):
    """Ignores later signals, which would skip the clean-up."""
    for number in SIGNALS:
        signal.signal(number, signal.SIG_IGN)
    raise KeyboardInterrupt


def exit_with(main):
    """Runs `main` and exits with its status. The first termination signal interrupts it. Reports an error in
    one line."""
    for number in SIGNALS:
        signal.signal(number, interrupt)
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit(130)
    except (OSError, RuntimeError, subprocess.CalledProcessError) as error:
        print(f"{os.path.basename(sys.argv[0])}: {error}", file=sys.stderr)
        sys.exit(1)
