# SPDX-License-Identifier: Apache-2.0
"""Nothing grows: 10,000 objects created and deleted, and as many monitors, results and publications as time allows."""

import gc
import os
from pathlib import Path

import lumenar

OBJECTS = int(os.environ.get("LUMENAR_LEAK_OBJECTS", "10000"))


def resident_kB():
    for line in Path("/proc/self/status").read_text().splitlines():
        if line.startswith("VmRSS:"):
            return int(line.split()[1])
    raise AssertionError("no VmRSS")


def growth_kB(action, count):
    """How much the process grows over `count` actions, the first fifth of which fill what is kept for ever."""
    for n in range(count // 5):
        action(n)
    gc.collect()
    begin, threads = resident_kB(), len(os.listdir("/proc/self/task"))
    descriptors = len(os.listdir("/proc/self/fd"))
    for n in range(count - count // 5):
        action(n)
    gc.collect()
    assert len(os.listdir("/proc/self/fd")) <= descriptors + 5
    assert len(os.listdir("/proc/self/task")) <= threads + 10
    return resident_kB() - begin


def test_objects_created_and_deleted_leave_nothing(client):
    reading = client.reading("OTHER")

    def create(_):
        with client.peak(reading):
            pass

    grown = growth_kB(create, OBJECTS)
    print(f"{OBJECTS} objects: {grown} kB")
    assert grown < 2000
    assert client.objects() == []


def test_monitors_leave_nothing(client):
    reading = client.reading("FAST")

    def follow(n):
        monitor = reading.monitor(timeout=10)
        if n % 2:
            monitor.fileno()
            monitor.close()

    assert growth_kB(follow, 2000) < 2000


def test_results_leave_nothing(client):
    reading = client.reading("FAST")
    assert growth_kB(lambda _: reading.result.value.sum(), 10000) < 2000


def test_publications_leave_nothing(client):
    def publish(_):
        with client.publish("MYLAB/1/T", [1.0] * 1000) as published:
            published.publish([2.0] * 1000)

    assert growth_kB(publish, 500) < 2000


def test_clients_leave_nothing(platform):
    def open_client(_):
        with lumenar.Client(platform.address) as client:
            client.reading("LEVEL")

    assert growth_kB(open_client, 100) < 4000
