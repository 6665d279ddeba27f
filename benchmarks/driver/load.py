"""The use of the processors during a repetition, to recognize noisy repetitions."""

import dataclasses
import os
import pathlib
import time

KERNEL_THREAD = 0x00200000  # PF_KTHREAD in the flags of /proc/PID/stat
TICKS = os.sysconf("SC_CLK_TCK")
TOLERANCE = 0.05
SMALLEST_COUNTED = 0.02  # two ticks of the kernel's accounting


def processor_times():
    """Busy and stolen seconds of all processors since the machine was started."""
    user, nice, system, _, _, interrupts, soft, stolen = (
        int(value) / TICKS for value in pathlib.Path("/proc/stat").read_text().split(maxsplit=9)[1:9])
    return user + nice + system + interrupts + soft, stolen


def process_state(process):
    """Flags and processor seconds of a process; zeros if it does not exist."""
    try:
        values = pathlib.Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()
    except OSError:
        return 0, 0.0
    return int(values[6]), (int(values[11]) + int(values[12])) / TICKS


def kernel_seconds():
    """Processor seconds of all kernel threads."""
    states = (process_state(name) for name in os.listdir("/proc") if name.isdigit())
    return sum(seconds for flags, seconds in states if flags & KERNEL_THREAD)


@dataclasses.dataclass
class Load:
    seconds: float
    processor_seconds: float  # of this process and its children
    others_seconds: float
    stolen_seconds: float  # steal time of the hypervisor
    server_seconds: float | None  # of the process that serves a mount

    def is_noisy(self):
        """Whether other load may have affected the measurements."""
        slack = self.seconds * TOLERANCE + SMALLEST_COUNTED
        waited = self.server_seconds is None and self.processor_seconds < self.seconds - slack
        return waited or self.others_seconds + self.stolen_seconds > slack


class LoadMeter:
    """Measures the use of the processors since its construction."""

    def __init__(self, server=None):
        self.server = server
        self.before = self.read()

    def read(self):
        server = process_state(self.server)[1] if self.server else 0
        # The kernel may write back data to a server in its own threads.
        kernel = kernel_seconds() if self.server else 0
        return (time.monotonic(), sum(os.times()[:4]), *processor_times(), server, kernel)

    def load(self):
        seconds, own, busy, stolen, server, kernel = (
            after - before for after, before in zip(self.read(), self.before))
        return Load(seconds, own, max(0, busy - own - server - kernel), stolen, server if self.server else None)
