#!/usr/bin/env -S python3 -B
"""Measures the in-memory storage plug-in beside other in-memory file systems.

Each repetition of a scenario runs in its own process, the stores in turn. Every result is verified."""

import sys

import load
import report
import turns
from report import RowKind

STORES = [
    turns.Contender("provider", "plug-in", "plug-in"),
    turns.Contender("tmpfs", "tmpfs", "peer"),
    turns.Contender("rocksdb", "RocksDB", "peer"),
    turns.Contender("leveldb", "LevelDB", "peer"),
    turns.Contender("llvm", "LLVM", "peer"),
    turns.Contender("floor", "hash map", "floor"),
    turns.Contender("memcpy", "memcpy", "limit"),
]

KINDS = [
    *(RowKind(name, "ns", 0) for name in (
        "create", "attributes", "missing", "create, write, release", "open, read, release", "open, overwrite, release")),
    RowKind("append", "ns", 1),
    RowKind("write", "GB/s", 2, True),
    RowKind("overwrite", "GB/s", 1, True),
    RowKind("read", "GB/s", 1, True),
    RowKind("random read", "ns", 0),
    RowKind("list", "ns per entry", 1),
    RowKind("move file inside", "ns", 0),
    RowKind("move file between", "ns", 0),
    # The contract requires new nodes for all moved entries. Peers keep the nodes when they move a folder.
    RowKind("move folder", "ns per descendant", 1, rivals="floor"),
    RowKind("remove in order", "ns", 0),
    RowKind("remove at random", "ns", 0),
    *(RowKind(f"two threads {work}, {figure}", unit, 2, True)
      for work in ("in the tree", "reading") for figure, unit in (("total", "M/s"), ("gain", ""))),
    *(RowKind(name, "M/s", 2, True) for name in (
        "look-ups in one folder", "look-ups in many folders", "creations in many folders", "95 % look-ups, 5 % changes")),
    RowKind("memory", "bytes per file", 0),
    *(RowKind(f"{operation} in a growing folder, {quantile}", "ns", 0)
      for operation in ("create", "look up", "remove") for quantile in ("p50", "p99", "p99.99", "max")),
]


def ratio_text(row):
    if not row.ratio:
        return "-"
    text = f"{row.ratio:.2f} ({row.rival.title})"
    return f"**{text}**" if row.ratio < 1 else text


def cell_text(row, store):
    cell = row.cells.get(store.id)
    return f"{'' if cell.quiet else '~'}{cell.median:.{row.kind.decimals}f}" if cell else "-"


def table_of(rows, stores):
    return report.markdown_table(
        ["row", "of", "unit", *(store.title for store in stores), "ratio"],
        ["---"] * 3 + ["--:"] * len(stores) + ["---"],
        ([row.kind.name, row.variant, row.kind.unit, *(cell_text(row, store) for store in stores), ratio_text(row)]
         for row in rows))


def option_parser():
    parser = turns.option_parser(__doc__)
    parser.add_argument("--threads", type=turns.positive, metavar="N", help="largest number of threads (default: the number of processors)")
    parser.add_argument("program", help="the program that runs the scenarios")
    return parser


def main():
    options = turns.parse(option_parser())
    with turns.tmpfs_folder(options.short) as tmpfs:
        if not tmpfs:
            print("tmpfs: left out, because none has enough space", file=sys.stderr)
        program = turns.Program(options.program, [
            *(["--short"] if options.short else []), *([f"--threads={options.threads}"] if options.threads else []),
            *([f"--tmpfs={tmpfs}"] if tmpfs else [])])

        def measure(scenario, store):
            meter = load.LoadMeter()
            try:
                return program.run(f"{scenario}/{store.id}"), meter.load()
            finally:
                turns.clear(tmpfs)

        scenarios = turns.select(program.benchmarks(), STORES, options)
        outcome = turns.take_turns(scenarios, options.repetitions, options.repetitions, measure)
    for store in STORES:
        store.version = program.context.get(f"version of {store.id}", "")
    run = report.describe_run("scripts/benchmark", program.context)
    return report.finish(outcome, run, KINDS, STORES, table_of, options.write)


if __name__ == "__main__":
    turns.exit_with(main)
