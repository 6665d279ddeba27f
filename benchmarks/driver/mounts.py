#!/usr/bin/env -S python3 -B
"""Measures the mounted storage beside a tmpfs folder and a pass-through file system over tmpfs.

Each repetition runs in a new folder, the file systems in turn. Every result is verified."""

import os
import pathlib
import sys
import tempfile

import load
import mounting
import programs
import report
import turns
from mounting import PlaceKind
from report import RowKind

TOTAL_WAIT = 300  # seconds, for an idle machine in a full run
LONGEST_WAIT = 20  # seconds, before one repetition

KINDS = [
    RowKind("sequential write, 1 MiB blocks", "MB/s", 0, True, goal=1.3),
    RowKind("sequential read, 1 MiB, cold", "MB/s", 0, True, goal=2),
    RowKind("sequential read, 1 MiB, once more", "MB/s", 0, True, goal=2),
    RowKind("sequential write, 4 KiB", "MB/s", 0, True, goal=3),
    RowKind("random read, 4 KiB, cold", "thousand/s", 1, True, goal=3),
    RowKind("random read, 4 KiB, once more", "thousand/s", 1, True, goal=3),
    RowKind("random write, 4 KiB", "thousand/s", 1, True, goal=3),
    RowKind("create files of 4 KiB", "thousand/s", 1, True, goal=1.5),
    RowKind("unlink", "thousand/s", 1, True, goal=1.5),
    RowKind("stat", "thousand/s", 1, True, goal=3),
    RowKind("readdir, entries", "thousand/s", 1, True, goal=5),
    RowKind("readdir with stat, entries", "thousand/s", 1, True, goal=5),
    RowKind("rename", "thousand/s", 1, True, goal=1.5),
    RowKind("git clone", "s", 3, goal=1.5),
    RowKind("git status", "s", 3, goal=1.5),
    RowKind("tar x", "s", 3, goal=1.5),
    RowKind("rm -rf", "s", 3, goal=1.5),
]


def place_kinds(options, tmpfs):
    kinds = [PlaceKind("tmpfs", "tmpfs", "limit", f"{os.uname().sysname} {os.uname().release}")]
    if options.pass_through:
        kinds.append(PlaceKind("pass-through", "pass-through", "peer", "passthrough_ll",
                               (options.pass_through, "-o", f"source={mounting.backing(tmpfs)}")))
    if options.program:
        version = programs.run(options.program, "--version")[1].decode().split()[-1]
        kinds.append(PlaceKind("mount", "this mount", "plug-in", version, (options.program, "mount", "--background")))
    return kinds


def cell_text(row, place):
    cell = row.cells.get(place.id)
    if not cell:
        return "-"
    median, smallest, largest = (f"{value:.{row.kind.decimals}f}" for value in (cell.median, cell.smallest, cell.largest))
    return f"{'' if cell.quiet else '~'}{median} ({smallest}-{largest})"


def verdict(row):
    if not row.ratio:
        return ["-", "-", "-"]
    return [f"{row.ratio:.2f}", f"{row.kind.goal}", "reached" if row.ratio >= row.kind.goal else "**not reached**"]


def table_of(rows, places):
    return report.markdown_table(
        ["figure", "unit", *(place.title for place in places), "ratio to pass-through", "goal", ""],
        ["---"] * 2 + ["--:"] * len(places) + ["--:", "--:", "---"],
        ([row.kind.name, row.kind.unit, *(cell_text(row, place) for place in places), *verdict(row)] for row in rows))


def main():
    parser = turns.option_parser(__doc__)
    parser.add_argument("--program", help="the program that mounts the storage")
    parser.add_argument("--pass-through", help="the pass-through file system's program")
    parser.add_argument("jobs", help="the program that runs the jobs")
    options = turns.parse(parser)
    wait_left = TOTAL_WAIT
    with turns.tmpfs_folder(options.short) as tmpfs, tempfile.TemporaryDirectory(prefix="qzstorage-") as source_folder:
        if not tmpfs:
            sys.exit("no tmpfs with enough space")
        source = programs.SourceTree(pathlib.Path(source_folder), 60 if options.short else 2000)
        jobs = turns.Program(options.jobs, ["--short"] if options.short else [])

        def measure(job, kind):
            nonlocal wait_left
            with mounting.place(kind, tmpfs) as (folder, server):
                if not options.short:
                    wait_left -= mounting.wait_until_idle(min(wait_left, LONGEST_WAIT))
                meter = load.LoadMeter(server)
                rows = (programs.measure(folder, source) if job == "programs"
                        else jobs.run(f"{job}/folder", f"--folder={folder}"))
                return rows, meter.load()

        places = place_kinds(options, tmpfs)
        names = [*jobs.benchmarks(), "programs"]
        scenarios = turns.select({name: [kind.id for kind in places] for name in names}, places, options)
        most_rounds = options.repetitions * (1 if options.short else 3)
        outcome = turns.take_turns(scenarios, options.repetitions, most_rounds, measure)
    run = report.describe_run("scripts/mount-benchmark", jobs.context)
    return report.finish(outcome, run, KINDS, places, table_of, options.write)


if __name__ == "__main__":
    turns.exit_with(main)
