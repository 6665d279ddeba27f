"""Tables, result files and data of plots."""

import collections
import dataclasses
import json
import os
import pathlib
import shutil
import statistics
import time


@dataclasses.dataclass
class RowKind:
    name: str
    unit: str
    decimals: int
    higher_is_better: bool = False
    rivals: str = "peer"  # the role of the contenders with which the plug-in is compared
    goal: float | None = None  # factor by which the plug-in should be better than its rival


@dataclasses.dataclass
class Cell:
    median: float
    smallest: float
    largest: float
    repetitions: int
    quiet: int  # without noise; if there is none, the statistics include all

    @classmethod
    def of(cls, found):
        quiet = [value for value, noisy in found if not noisy]
        counted = quiet or [value for value, _ in found]
        return cls(statistics.median(counted), min(counted), max(counted), len(found), len(quiet))


@dataclasses.dataclass
class Row:
    kind: RowKind
    variant: str
    cells: dict  # by contender's id
    rival: object = None  # the best one
    ratio: float | None = None  # factor by which the plug-in is better than the rival

    def compare(self, contenders):
        def median(contender):
            return self.cells[contender.id].median

        present = [each for each in contenders if each.id in self.cells]
        own = [median(each) for each in present if each.role == "plug-in"]
        rivals = [each for each in present if each.role == self.kind.rivals]
        if own and rivals:
            self.rival = (max if self.kind.higher_is_better else min)(rivals, key=median)
            factor = own[0] / median(self.rival)
            self.ratio = factor if self.kind.higher_is_better else 1 / factor


def summarize(kinds, repetitions, contenders):
    """The rows in the order of the kinds, then of the scenarios."""
    found = collections.defaultdict(lambda: collections.defaultdict(list))
    for each in repetitions:
        for row, value in each.rows.items():
            found[row][each.contender].append((value, each.load.is_noisy()))
    unknown = {name for name, _ in found} - {kind.name for kind in kinds}
    if unknown:
        raise RuntimeError(f"rows without a kind: {unknown}")
    rows = [Row(kind, variant, {each: Cell.of(values) for each, values in cells.items()})
            for kind in kinds for (name, variant), cells in found.items() if name == kind.name]
    for row in rows:
        row.compare(contenders)
    return rows


def line_of(path, name=""):
    """The first line of a file, or the value of its first line "name : value"."""
    try:
        lines = pathlib.Path(path).read_text().splitlines()
    except OSError:
        return "unknown"
    return next((line.rpartition(":")[2].strip() for line in lines if line.startswith(name)), "unknown")


def describe_run(command, context):
    """The properties of a run and of the machine that affect measurements."""
    system = os.uname()
    huge_pages = "/sys/kernel/mm/transparent_hugepage"
    caches = "/sys/devices/system/cpu/cpu0/cache"
    return {
        "command": command,
        "date": time.strftime("%Y-%m-%d %H:%M UTC", time.gmtime()),
        "processor": line_of("/proc/cpuinfo", "model name"),
        "processor family, model": f"{line_of('/proc/cpuinfo', 'cpu family')}, {line_of('/proc/cpuinfo', 'model	')}",
        "processors": str(os.cpu_count()),
        "level 2 cache": line_of(f"{caches}/index2/size"),
        "level 3 cache": line_of(f"{caches}/index3/size"),
        "memory": line_of("/proc/meminfo", "MemTotal"),
        "kernel": f"{system.sysname} {system.release} {system.machine}",
        "transparent huge pages": line_of(f"{huge_pages}/enabled"),
        "transparent huge pages of tmpfs": line_of(f"{huge_pages}/shmem_enabled"),
        "compiler": context.get("compiler", "unknown"),
    }


def markdown_table(head, alignments, rows):
    def line(cells):
        return f"| {' | '.join(cells)} |\n"

    return line(head) + f"|{'|'.join(alignments)}|\n" + "".join(map(line, rows))


def notes(run, repetitions):
    """The text below a table."""
    noisy = sum(each.load.is_noisy() for each in repetitions)
    properties = "; ".join(f"{name}: {value}" for name, value in list(run.items())[1:])
    return (f"\n{noisy} of {len(repetitions)} repetitions were noisy because of other load on the machine, and are left out of "
            "the medians, except for cells marked ~, where all were noisy.\n"
            f"\nCommand: `{run['command']}`; {properties}.\n")


def result_lines(run, rows, repetitions, contenders):
    """The run with its contenders, then each row of each contender."""
    yield run | {
        "repetitions": len(repetitions), "noisy": sum(each.load.is_noisy() for each in repetitions),
        "contenders": [{"id": each.id, "title": each.title, "version": each.version} for each in contenders]}
    for row in rows:
        for contender in contenders:
            if contender.id not in row.cells:
                continue
            values = {name: float(f"{value:.8g}") if isinstance(value, float) else value
                      for name, value in dataclasses.asdict(row.cells[contender.id]).items()}
            line = {"row": row.kind.name, "of": row.variant, "unit": row.kind.unit, "contender": contender.id} | values
            if contender.role == "plug-in":
                line |= {"rival": row.rival.id, "ratio": float(f"{row.ratio:.8g}")} if row.ratio else {}
                line |= {"goal": row.kind.goal} if row.kind.goal else {}
            yield line


def repetition_lines(repetitions):
    for each in repetitions:
        rows = [{"row": row, "of": variant, "value": value} for (row, variant), value in each.rows.items()]
        yield {"scenario": each.scenario, "contender": each.contender, "number": each.number,
               "noisy": each.load.is_noisy()} | dataclasses.asdict(each.load) | {"measurements": rows}


def size_of(variant):
    """The number in a variant such as 100k or 16MiB, for plots; None if there is none."""
    digits = variant.rstrip("kKMGiB")
    factors = {"": 1, "k": 10**3, "M": 10**6, "MiB": 1 << 20, "GiB": 1 << 30}
    factor = factors.get(variant[len(digits):])
    return int(digits) * factor if digits.isdigit() and factor else None


def write_plot_data(rows, folder):
    """A folder for each kind of row with sizes, in it a file for each contender with lines "size value"."""
    for row in rows:
        size = size_of(row.variant)
        for contender, cell in row.cells.items() if size else ():
            path = folder / row.kind.name.replace(" ", "-") / f"{contender}.dat"
            path.parent.mkdir(parents=True, exist_ok=True)
            with path.open("a") as file:
                file.write(f"{size} {cell.median:.4g}\n")


def write_all(folder, table, run, rows, repetitions, contenders):
    shutil.rmtree(folder / "data", ignore_errors=True)
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "table").write_text(table)
    for name, lines in (("results", result_lines(run, rows, repetitions, contenders)),
                        ("runs", repetition_lines(repetitions))):
        text = "".join(json.dumps(line, separators=(",", ":")) + "\n" for line in lines)
        (folder / f"{name}.jsonl").write_text(text)
    write_plot_data(rows, folder / "data")


def finish(outcome, run, kinds, contenders, table_of, folder):
    """Prints the table of a run, and writes all files into `folder`, unless it is None. Returns the exit
    status."""
    contenders = [each for each in contenders if any(each in selected for selected in outcome.scenarios.values())]
    rows = summarize(kinds, outcome.repetitions, contenders)
    table = table_of(rows, contenders) + notes(run, outcome.repetitions)
    print(table, end="")
    if folder:
        write_all(folder, table, run, rows, outcome.repetitions, contenders)
    print(f"{len(outcome.repetitions) + outcome.failures} repetitions in {outcome.seconds:.0f} s, {outcome.failures} failed")
    return 1 if outcome.failures else 0
