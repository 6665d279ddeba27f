"""Typical work of programs with source trees, timed and verified."""

import os
import pathlib
import random
import subprocess
import time

STATUS_ROUNDS = 3
FILES_IN_FOLDER = 40
# Independent of the user's configuration.
GIT_ENVIRONMENT = os.environ | {"GIT_CONFIG_NOSYSTEM": "1", "GIT_CONFIG_GLOBAL": "/dev/null"}


class SourceTree:
    """A git repository of text files and an archive of them. The same in every run."""

    def __init__(self, folder, files):
        self.repository = folder / "repository"
        self.archive = folder / "tree.tar"
        numbers = random.Random(20240229)
        words = ["".join(numbers.choices("abcdefghijklmnopqrstuvwxyz", k=numbers.randint(2, 10))) for _ in range(2000)]
        for file in range(files):
            chapter = self.repository / f"part{file % 5}/chapter{file // FILES_IN_FOLDER}"
            chapter.mkdir(parents=True, exist_ok=True)
            lines = (" ".join(numbers.choices(words, k=10)) for _ in range(numbers.randrange(3, 60)))
            (chapter / f"page{file:04}.txt").write_text("\n".join(lines) + "\n")
        run("tar", "-cf", self.archive, "-C", self.repository, ".")
        for command in ("init --quiet --initial-branch=main", "add --all", "commit --quiet --message=pages",
                        "repack -a -d --quiet"):
            run("git", "-C", self.repository, "-c", "user.name=benchmark", "-c", "user.email=benchmark@localhost",
                *command.split())
        self.content = content_of(self.repository)


def content_of(folder):
    """The files below a folder with their content, without git's own files. Reads from the file system
    instead of the page cache, except where they are the same, as in a tmpfs."""
    found = {}
    for parent, folders, files in os.walk(folder):
        folders[:] = [name for name in folders if name != ".git"]
        for name in files:
            path = pathlib.Path(parent, name)
            with path.open("rb") as file:
                os.fsync(file.fileno())  # only clean pages can be dropped
                os.posix_fadvise(file.fileno(), 0, 0, os.POSIX_FADV_DONTNEED)
                found[path.relative_to(folder)] = file.read()
    return found


def run(*command):
    """Runs a program, and returns its seconds and its output."""
    start = time.perf_counter()
    output = subprocess.run(command, check=True, stdout=subprocess.PIPE, env=GIT_ENVIRONMENT).stdout
    return time.perf_counter() - start, output


def expect(holds, violation):
    if not holds:
        raise RuntimeError(violation)


def measure(folder, source):
    """The rows of all programs."""
    clone, tree = folder / "clone", folder / "tree"
    tree.mkdir()
    rows = {}
    # Hard links would not copy the files, and some of the measured file systems do not support them.
    rows["git clone", ""], _ = run("git", "clone", "--quiet", "--no-hardlinks", source.repository, clone)
    expect(content_of(clone) == source.content, "a clone differs from its source")
    states = [run("git", "-C", clone, "status", "--porcelain") for _ in range(STATUS_ROUNDS)]
    expect(not any(output for _, output in states), "a fresh clone has changes")
    rows["git status", ""] = sum(seconds for seconds, _ in states) / STATUS_ROUNDS
    rows["tar x", ""], _ = run("tar", "-xf", source.archive, "-C", tree)
    expect(content_of(tree) == source.content, "an unpacked tree differs from its source")
    rows["rm -rf", ""], _ = run("rm", "-rf", tree)
    expect(not tree.exists(), "a removed tree exists")
    return rows
