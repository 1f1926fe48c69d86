# SPDX-License-Identifier: Apache-2.0
"""Results as they come, in loops, in event loops and between threads."""

import asyncio
import select
import sys
import threading
import time

import pytest

import lumenar
from platform_of_processes import until


def test_a_loop_gives_each_result_in_order(client):
    numbers = [result.sequence_number for result in client.reading("FAST").monitor(timeout=10, count=50)]
    assert numbers == list(range(numbers[0], numbers[0] + 50))


def test_a_count_of_none_is_none(client):
    assert list(client.reading("FAST").monitor(count=0)) == []


def test_what_does_not_come_is_a_timeout(client):
    begin = time.monotonic()
    with pytest.raises(lumenar.Timeout, match="no result of SIM/1/COUNT within 0.2 s") as caught:
        next(client.reading("COUNT").monitor(timeout=0.2))
    assert 0.2 <= time.monotonic() - begin < 5
    assert isinstance(caught.value, TimeoutError)


def test_it_begins_when_it_is_made(client, step):
    monitor = client.reading("COUNT").monitor(timeout=10)
    before = client.reading("COUNT").result.value
    step("COUNT")
    step("COUNT")
    assert [next(monitor).value, next(monitor).value] == [before + 1, before + 2]
    assert monitor.lost == 0


def test_several_readings_are_told_apart_by_name(client, step):
    with client.monitor(["COUNT", client.reading("LEVEL")], timeout=10) as monitor:
        step("COUNT")
        assert next(monitor).name == "SIM/1/COUNT"
        step("LEVEL")
        result = next(monitor)
        assert result.name == "SIM/1/LEVEL" and result.minus == -0.25


def test_there_must_be_something_to_follow(client):
    with pytest.raises(lumenar.BadArgument, match="nothing to follow"):
        client.monitor([])
    for timeout in (0, -1, float("nan")):
        with pytest.raises(lumenar.BadArgument, match="timeout"):
            client.reading("COUNT").monitor(timeout=timeout)
    with pytest.raises(lumenar.BadArgument, match="count"):
        client.reading("COUNT").monitor(count=-1)


def test_its_end_ends_the_loop(client):
    with client.reading("FAST").monitor() as monitor:
        next(monitor)
        monitor.close()
        monitor.close()
        assert list(monitor) == []
        assert repr(monitor) == "<Monitor of SIM/1/FAST, ended>"


def test_the_end_of_its_client_ends_the_loop(platform):
    client = lumenar.Client(platform.address)
    monitor = client.reading("COUNT").monitor()
    taken = []
    reader = threading.Thread(target=lambda: taken.extend(monitor))
    reader.start()
    client.close()
    reader.join(10)
    assert not reader.is_alive() and taken == []


def test_one_that_nobody_uses_ends_by_itself(client, platform):
    before = len(platform.mathctl("subscriptions").splitlines())
    monitor = client.reading("COUNT").monitor()
    assert len(platform.mathctl("subscriptions").splitlines()) == before + 1
    del monitor
    assert until(lambda: len(platform.mathctl("subscriptions").splitlines()) == before)


def test_a_descriptor_tells_of_arrivals(client, step):
    with client.reading("COUNT").monitor() as monitor:
        assert monitor.poll() is None
        descriptor = monitor.fileno()
        monitor.poll()
        assert select.select([descriptor], [], [], 0)[0] == []
        step("COUNT")
        assert select.select([descriptor], [], [], 10)[0] == [descriptor]
        assert monitor.poll() is not None
        assert monitor.poll() is None
        assert select.select([descriptor], [], [], 0)[0] == []


def test_an_event_loop_goes_on_meanwhile(client):
    async def follow():
        ticks = 0

        async def tick():
            nonlocal ticks
            while True:
                ticks += 1
                await asyncio.sleep(0.001)

        ticking = asyncio.create_task(tick())
        numbers = []
        async for result in client.reading("FAST").monitor(timeout=10, count=50):
            numbers.append(result.sequence_number)
        ticking.cancel()
        return numbers, ticks

    numbers, ticks = asyncio.run(follow())
    assert numbers == list(range(numbers[0], numbers[0] + 50))
    assert ticks > 10


def test_several_loops_wait_in_one_event_loop(client):
    async def take(item, count):
        return [result.name async for result in client.reading(item).monitor(timeout=10, count=count)]

    async def follow():
        return await asyncio.gather(take("FAST", 20), take("FAST", 30))

    assert [len(names) for names in asyncio.run(follow())] == [20, 30]


def test_an_event_loop_meets_the_timeout_and_the_end(client):
    async def late():
        async for _ in client.reading("COUNT").monitor(timeout=0.1):
            pass

    with pytest.raises(lumenar.Timeout):
        asyncio.run(late())

    async def ended(close):
        monitor = client.reading("COUNT").monitor()
        asyncio.get_running_loop().call_later(0.05, close, monitor)
        return await asyncio.wait_for(take_all(monitor), 10)

    async def take_all(monitor):
        return [result async for result in monitor]

    assert asyncio.run(ended(lambda monitor: monitor.close())) == []
    assert asyncio.run(ended(lambda monitor: threading.Thread(target=monitor.close).start())) == []


def test_the_descriptor_of_one_that_has_ended_says_so(client):
    monitor = client.reading("COUNT").monitor()
    descriptor = monitor.fileno()
    monitor.poll()
    assert select.select([descriptor], [], [], 0)[0] == []
    monitor.close()
    assert select.select([descriptor], [], [], 10)[0] == [descriptor]
    assert monitor.fileno() == descriptor and monitor.poll() is None
    late = client.reading("COUNT").monitor()
    late.close()
    assert select.select([late.fileno()], [], [], 0)[0] == [late.fileno()]


def test_a_waiting_event_loop_can_be_cancelled(client):
    async def follow():
        monitor = client.reading("COUNT").monitor()
        waiting = asyncio.create_task(monitor.__anext__())
        await asyncio.sleep(0)
        waiting.cancel()
        with pytest.raises(asyncio.CancelledError):
            await waiting
        client.reading("COUNT_STEP").set(1)
        return await asyncio.wait_for(monitor.__anext__(), 10)

    assert asyncio.run(follow()).name == "SIM/1/COUNT"


def test_other_threads_run_while_one_waits(client):
    """Who waits holds no GIL, and neither does who delivers."""
    monitor = client.reading("COUNT").monitor(timeout=1)
    waiter = threading.Thread(target=lambda: pytest.raises(lumenar.Timeout, next, monitor))
    waiter.start()
    longest, last = 0.0, time.monotonic()
    while waiter.is_alive():
        now = time.monotonic()
        longest, last = max(longest, now - last), now
    assert longest < 0.5


def test_results_arrive_while_python_computes(client):
    """Who delivers takes no GIL: what came while it was held is there at once."""
    before = sys.getswitchinterval()
    with client.reading("FAST").monitor() as monitor:
        next(monitor)
        sys.setswitchinterval(1000)  # from here on no other thread gets it, and poll() does not give it away
        try:
            end = time.monotonic() + 1
            while time.monotonic() < end:
                pass
            arrived = sum(1 for _ in iter(monitor.poll, None))
        finally:
            sys.setswitchinterval(before)
    assert arrived >= 10  # of 200


def test_a_topic_manager_that_was_started_again_delivers(own_platform):
    with lumenar.Client(own_platform.address) as client:
        with client.reading("FAST").monitor(timeout=20) as monitor:
            next(monitor)
            own_platform.kill("topic_manager")
            own_platform.start_topic_manager()
            while monitor.poll() is not None:
                pass
            next(monitor)
