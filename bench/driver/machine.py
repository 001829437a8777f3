"""The machine: its cores, and the load on them from other processes."""

import os
import platform
import re
import resource
import time

TICK = os.sysconf("SC_CLK_TCK")
LEAST_METERED = 1.0  # seconds; a shorter time is too short for the ticks of /proc/stat
BUSY_FIELDS = (0, 1, 2, 5, 6, 7)  # user, nice, system, irq, softirq, steal

ALL_CORES = sorted(os.sched_getaffinity(0))
ONE_CORE = ALL_CORES[-1:]
PLACEMENTS = {"one core": ONE_CORE, "free": ALL_CORES}


def pid_cpu_seconds(pid):
    """The processor time of a live process with all its threads, or 0 if it has ended."""
    try:
        return time.clock_gettime((~pid << 3) | 2)  # the clock that clock_getcpuclockid(3) would name
    except OSError:
        return 0.0


def busy_seconds(cores):
    """The time since boot in which the cores were busy."""
    busy = 0
    with open("/proc/stat", encoding="ascii") as stat:
        for line in stat:
            match = re.match(r"cpu(\d+) (.*)", line)
            if match and int(match[1]) in cores:
                fields = match[2].split()
                busy += sum(int(fields[i]) for i in BUSY_FIELDS)
    return busy / TICK


def own_seconds():
    """The processor time of this process and of the children that it has waited for."""
    own = resource.getrusage(resource.RUSAGE_SELF)
    children = resource.getrusage(resource.RUSAGE_CHILDREN)
    return own.ru_utime + own.ru_stime + children.ru_utime + children.ru_stime


class LoadMeter:
    """Measures the load of other processes while it is entered. It may be entered repeatedly."""

    def __init__(self, cores, live_cpu_seconds):
        self.cores = cores
        self.live_cpu_seconds = live_cpu_seconds  # of started processes that were not waited for yet
        self.other = 0.0
        self.wall = 0.0

    def _own(self):
        return own_seconds() + self.live_cpu_seconds()

    def __enter__(self):
        self._before = (busy_seconds(self.cores), self._own(), time.monotonic())
        return self

    def __exit__(self, *_):
        busy, own, now = self._before
        self.other += (busy_seconds(self.cores) - busy) - (self._own() - own)
        self.wall += time.monotonic() - now

    def share(self):
        """0: no other load; 1: others would use all cores; None: measured for too short a time."""
        if self.wall < LEAST_METERED:
            return None
        return min(1.0, max(0.0, self.other / (self.wall * len(self.cores))))


def describe():
    """Describes the machine for the head of the report."""
    model = platform.machine()
    with open("/proc/cpuinfo", encoding="utf-8", errors="replace") as info:
        for line in info:
            if line.startswith("model name"):
                model = line.split(":", 1)[1].strip()
                break
    return {
        "processor": model,
        "cores": len(ALL_CORES),
        "kernel": platform.release(),
        "load_average": list(os.getloadavg()),
        "when": time.strftime("%Y-%m-%d %H:%M:%S"),
    }
