#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Measures how samples reach numpy: traces of 10,001 points, 1,000 a second, each as an array that is summed.

Usage: bench.py [--points N] [--rate HZ] [--seconds S]

It starts a platform of its own from the build (LUMENAR_PROGRAMS, LUMENAR_LIBRARIES). It says how many samples came,
how many were lost on the way, and the processor time of the program and of the others; exit status 1 when one was lost.
"""

import argparse
import os
import resource
import sys
import time
from pathlib import Path

sys.path[0] = str(Path(__file__).parent / "tests")  # the package is that of the build, not the source beside this

import lumenar  # noqa: E402
from platform_of_processes import Platform  # noqa: E402


def cpu_s(pid: int) -> float:
    """The processor time of a process so far."""
    fields = Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def own_cpu_s() -> float:
    used = resource.getrusage(resource.RUSAGE_SELF)
    return used.ru_utime + used.ru_stime


def follow(monitor: lumenar.Monitor, seconds: float) -> "tuple[int, int, float]":
    """Samples that came, gaps in their numbers, and a sum over all points so that each was read."""
    came, gaps, total = 0, 0, 0.0
    last = next(monitor).sequence_number
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        result = next(monitor)
        gaps += result.sequence_number - last - 1
        last = result.sequence_number
        total += float(result.value.sum())
        came += 1
    return came, gaps, total


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--points", type=int, default=10001)
    parser.add_argument("--rate", type=int, default=1000)
    parser.add_argument("--seconds", type=float, default=10)
    arguments = parser.parse_args()

    readings = f"trace:T:points={arguments.points}:rate={arguments.rate}:units=dBm:wave=constant:amplitude=0:offset=1"
    with Platform(readings, math=False) as platform, lumenar.Client(platform.address) as c:
        others = {name: process.pid for name, process in platform.processes.items()}
        with c.reading("T").monitor(timeout=10) as monitor:
            before = {name: cpu_s(pid) for name, pid in others.items()}
            own, begin = own_cpu_s(), time.monotonic()
            came, gaps, _ = follow(monitor, arguments.seconds)
            took = time.monotonic() - begin
            own = own_cpu_s() - own
            after = {name: cpu_s(pid) for name, pid in others.items()}
        print(f"{came} samples of {arguments.points} points in {took:.2f} s: {came / took:.0f} a second, "
              f"{gaps} lost on the way, {monitor.lost} of them by this program")
        print(f"processor time of this program: {own / took * 100:.0f} % of one processor, "
              f"{own / came * 1e6:.0f} us a sample")
        for name in ("sim", "topic_manager"):
            print(f"processor time of {name}: {(after[name] - before[name]) / took * 100:.0f} %")
        return 1 if gaps or came < 0.9 * arguments.rate * took else 0


if __name__ == "__main__":
    sys.exit(main())
