"""Places for the jobs: a folder on a tmpfs, and folders served by other processes."""

import contextlib
import dataclasses
import os
import pathlib
import select
import signal
import subprocess
import sys
import time

import load
import turns

LONGEST_END = 20  # seconds
MOST_BUSY_SECONDS = 0.02


@dataclasses.dataclass
class PlaceKind(turns.Contender):
    mount_command: tuple = ()  # without the mount point; empty for a plain folder on a tmpfs


def server_of(mount_point):
    """The process of a server in the background: the one with the unique mount point as an argument."""
    for process in filter(str.isdigit, os.listdir("/proc")):
        with contextlib.suppress(OSError):
            if os.fsencode(mount_point) in pathlib.Path(f"/proc/{process}/cmdline").read_bytes().split(b"\0"):
                return int(process)
    raise RuntimeError(f"no process serves {mount_point}")


def unmount(mount_point):
    """Detaches the mount if there is one. The server ends with the last use of the mount."""
    subprocess.run(["fusermount3", "-u", "-z", mount_point], stderr=subprocess.DEVNULL, check=False)


@contextlib.contextmanager
def signals_deferred():
    """An interrupted clean-up would leave a mount or a server."""
    before = signal.pthread_sigmask(signal.SIG_BLOCK, turns.SIGNALS)
    try:
        yield
    finally:
        signal.pthread_sigmask(signal.SIG_SETMASK, before)


@contextlib.contextmanager
def mounted(command, mount_point):
    """Mounts in the background and yields the server's process. Unmounts at the end, and kills a server that still
    runs after a timeout."""
    try:
        subprocess.run([*command, mount_point], check=True)
        server = server_of(mount_point)
        handle = os.pidfd_open(server)
    except BaseException:
        with signals_deferred():
            unmount(mount_point)
        raise
    try:
        yield server
    finally:
        with signals_deferred():
            unmount(mount_point)
            if not select.select([handle], [], [], LONGEST_END)[0]:
                print(f"{command[0]}: still running after unmounting; killed", file=sys.stderr)
                signal.pidfd_send_signal(handle, signal.SIGKILL)
            os.close(handle)


@contextlib.contextmanager
def place(kind, tmpfs):
    """An empty folder for one job, and the process of its server, which may be None. Owns the content of `tmpfs`."""
    folder = tmpfs / "folder"
    folder.mkdir()
    backing(tmpfs).mkdir()
    try:
        if kind.mount_command:
            with mounted(kind.mount_command, folder) as server:
                yield folder, server
        else:
            yield folder, None
    finally:
        turns.clear(tmpfs)


def backing(tmpfs):
    """The folder that a pass-through file system exports."""
    return tmpfs / "backing"


def wait_until_idle(limit):
    """Waits until the processors are idle, but not longer than `limit`. Returns the seconds."""
    start = time.monotonic()
    while True:
        before = sum(load.processor_times())
        time.sleep(0.2)
        waited = time.monotonic() - start
        if sum(load.processor_times()) - before <= MOST_BUSY_SECONDS or waited >= limit:
            return waited
