#!/usr/bin/env python3
"""Verifies models of the lock-free parts. Then removes each step in turn and expects a counterexample.

    verify.py [MODEL.pml]...         (default: all next to this file)

A line that ends with the comment `step: NAME` is a step of the code. If the step is removed, the search must
find a counterexample. If the comment continues with `; before: NAME`, exchanging the two steps must also
produce a counterexample. In a model with a progress label, spin also searches for weakly fair executions that
never reach the label.
"""

import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
STEP = re.compile(r"^(?P<code>.*?)\s*/\* step: (?P<name>[^;*]+?)(?:; before: (?P<after>[^*]+?))? \*/$", re.MULTILINE)
SAFETY = (["-DSAFETY"], [])
# Partial order reduction hides fair cycles.
PROGRESS = (["-DNP", "-DNFAIR=3", "-DNOREDUCE"], ["-l", "-f"])


class Verification:
    """The result of spin for one text of a model."""

    def __init__(self, text, optimization="-O0"):
        self.optimization = optimization
        self.states = 0
        self.problem = None  # the first problem
        runs = [SAFETY] + ([PROGRESS] if re.search(r"^progress\w*:", text, re.MULTILINE) else [])
        for definitions, options in runs:
            self.problem = self.problem or self.search(text, definitions, options)

    def search(self, text, definitions, options):
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "model.pml").write_text(text)
            for command in (["spin", "-a", "model.pml"],
                            ["gcc", self.optimization, "-w", *definitions, "-DVECTORSZ=2048", "-o", "pan", "pan.c"]):
                made = subprocess.run(command, cwd=folder, capture_output=True, text=True, check=False)
                if made.returncode != 0:
                    sys.exit(f"verify: {' '.join(command)}: {made.stdout}{made.stderr}")
            run = subprocess.run(["./pan", "-m1000000", *options], cwd=folder, capture_output=True, text=True, check=False)
        errors = re.search(r"errors: (\d+)", run.stdout)
        states = re.search(r"(\d+) states, stored", run.stdout)
        if not errors or not states or "search depth too small" in run.stdout or "out of memory" in run.stdout:
            sys.exit(f"verify: the search was not complete: {run.stdout}{run.stderr}")
        self.states += int(states[1])
        return run.stdout.splitlines()[0] if errors[1] != "0" else None


def without(text, step):
    return text[:step.start()] + re.match(r"\s*(:: *)?", step["code"])[0] + "skip;" + text[step.end():]


def exchanged(text, first, second):
    return (text[:first.start()] + second["code"] + text[first.end():second.start()] + first["code"] +
            text[second.end():])


def variants(text):
    """Returns, by description, the model with one step removed or with two exchanged."""
    steps = {step["name"]: step for step in STEP.finditer(text)}
    result = {f"without '{name}'": without(text, step) for name, step in steps.items()}
    for name, step in steps.items():
        if step["after"]:
            result[f"'{name}' after '{step['after']}'"] = exchanged(text, step, steps[step["after"]])
    return result


def verify(path, pool):
    """Prints the result. Returns whether the model holds and every step is necessary."""
    text = path.read_text()
    results = {name: pool.submit(Verification, variant) for name, variant in variants(text).items()}
    whole = Verification(text, "-O2")  # only here does the search take longer than the compilation
    print(f"{path.name}: {whole.states} states, {whole.problem or 'no counterexample'}")
    sound = whole.problem is None and len(results) > 0
    for name, result in results.items():
        problem = result.result().problem
        print(f"  {name}: {problem or 'UNEXPECTEDLY no counterexample'}", flush=True)
        sound = sound and problem is not None
    return sound


def main():
    paths = [pathlib.Path(argument) for argument in sys.argv[1:]] or sorted(HERE.glob("*.pml"))
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        sound = [verify(path, pool) for path in paths]
    if not sound or not all(sound):
        sys.exit("verify: a model does not hold, or one of its steps is unnecessary")


main()
