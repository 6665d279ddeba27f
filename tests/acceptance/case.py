"""Shared by the cases written in Python. A case gets the mounted folder and a scratch folder on the disk as
arguments, and FORM (short or long) and STORAGE (mount or tmpfs) in its environment. It prints its results in
its last line. Its exit status is 0 on success, 77 if it cannot run here, and any other on failure."""

import ctypes
import multiprocessing
import os
import random
import subprocess
import sys
import time
import traceback

FOLDER, SCRATCH = sys.argv[1:3]
TOOLS = os.path.dirname(os.path.realpath(__file__))
PROGRAM = os.environ["QZSTORAGE"]
ON_TMPFS = os.environ["STORAGE"] == "tmpfs"
SKIPPED = 77

libc = ctypes.CDLL(None, use_errno=True)
processes = multiprocessing.get_context("fork")


class Wrong(Exception):
    """The actual result differs from the expected one."""


def by_form(short, long):
    return short if os.environ["FORM"] == "short" else long


def seed():
    """Returns the seed of the random cases: the given one, or a new one."""
    return int(os.environ.get("SEED") or random.SystemRandom().randrange(1 << 31))


def require(condition, message):
    if not condition:
        raise Wrong(message)


def require_equal(found, expected, what):
    require(found == expected, f"{what}: expected {expected!r}, got {found!r}")


def require_error(numbers, call, *arguments, **options):
    """Expects the call to fail with one of the given error numbers."""
    numbers = numbers if isinstance(numbers, tuple) else (numbers,)
    names = " or ".join(os.strerror(number) for number in numbers)
    called = f"{getattr(call, '__name__', call)}{arguments}"[:200]
    try:
        call(*arguments, **options)
    except OSError as error:
        require(error.errno in numbers, f"{called}: expected '{names}', got '{os.strerror(error.errno)}'")
        return
    raise Wrong(f"{called}: expected '{names}', but it succeeded")


def call_c(name, *arguments):
    """Calls a C library function that returns -1 on failure."""
    result = getattr(libc, name)(*arguments)
    if result == -1:
        number = ctypes.get_errno()
        raise OSError(number, os.strerror(number))
    return result


def forget():
    """Drops all unused entries of the mount from the kernel's cache, so that the kernel queries the
    storage again. Does nothing without root privileges."""
    MS_NOSUID, MS_NODEV, MS_REMOUNT = 2, 4, 32
    if os.geteuid() == 0:
        call_c("mount", None, FOLDER.encode(), None, ctypes.c_ulong(MS_REMOUNT | MS_NOSUID | MS_NODEV), None)


def start(function, *arguments):
    """Starts a child process that runs a function. finish() waits for it."""
    process = processes.Process(target=function, args=arguments, name=function.__name__)
    process.start()
    return process


def finish(*others):
    for process in others:
        process.join()
    for process in others:
        require_equal(process.exitcode, 0, f"the status of the process {process.name}")


def run_checks(checks):
    """Runs every check in its own empty folder as current folder, and reports all failures."""
    wrong = 0
    for check in checks:
        place = os.path.join(FOLDER, check.__name__)
        try:
            os.mkdir(place)
            os.chdir(place)
            check()
        except Exception as error:
            wrong += 1
            what = str(error) if isinstance(error, Wrong) else traceback.format_exc(limit=-3)
            print(f"WRONG: {check.__name__}: {what}", flush=True)
        finally:
            os.chdir("/")
            Mount.remove_all()
    print(f"{len(checks)} checks, {wrong} wrong")
    sys.exit(1 if wrong else 0)


# For cases that create their own mounts.


def skip_on_tmpfs():
    if ON_TMPFS:
        print("tests only the mount itself")
        sys.exit(SKIPPED)


def is_mounted(folder):
    with open("/proc/self/mounts", encoding="utf-8") as mounts:
        return any(line.split()[1] == folder for line in mounts)


def wait_until(condition, what):
    """Fails after a timeout that only a hang can reach."""
    end = time.monotonic() + 60
    while not condition():
        require(time.monotonic() < end, f"{what}: timed out after a minute")
        time.sleep(0.01)


class Mount:
    """A mount in the foreground, by a process that the case can wait for."""

    made = []

    def __init__(self, *options, limits=(), folder=None):
        if folder is None:
            folder = os.path.join(SCRATCH, f"folder-of-mount{len(Mount.made)}")
            os.mkdir(folder)
        self.folder = folder
        self.process = subprocess.Popen([*limits, PROGRAM, "mount", *options, folder], stdin=subprocess.DEVNULL,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        Mount.made.append(self)
        if not any(line.startswith(b"mounted") for line in self.process.stdout):
            _, errors = self.process.communicate()
            raise Wrong(f"the mount ended with status {self.process.returncode}: {errors.decode()}")
        require(is_mounted(folder), "the program reports that it is mounted, but it is not")

    def must_end(self):
        output, errors = self.process.communicate(timeout=300)
        require_equal(self.process.returncode, 0, f"the status of the mount ({errors.decode()})")
        require_equal(errors, b"", "the errors of the mount")
        require(not is_mounted(self.folder), "the mount is still there")
        require_equal(os.listdir(self.folder), [], "the content of the folder below the mount")

    def end_by_signal(self, number):
        self.process.send_signal(number)
        self.must_end()

    @staticmethod
    def remove_all():
        """Removes mounts that failed checks left behind."""
        for mount in Mount.made:
            if mount.process.poll() is None:
                mount.process.kill()
                mount.process.communicate()
            if is_mounted(mount.folder):
                subprocess.run(["fusermount3", "-u", "-z", mount.folder], check=True)

    def end_by_unmounting(self):
        subprocess.run(["fusermount3", "-u", self.folder], check=True)
        self.must_end()
