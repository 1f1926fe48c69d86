# SPDX-License-Identifier: Apache-2.0
"""Several clients in one program."""

import pytest

import lumenar
from platform_of_processes import Platform


@pytest.fixture(scope="module")
def second():
    with Platform("long:COUNT:rate=0:wave=count:amplitude=1:offset=1000") as running:
        yield running


def test_each_of_two_has_its_own_platform(client, second):
    with lumenar.Client(second.address) as other:
        assert client.naming_address != other.naming_address
        assert {reading.item for reading in other.readings() if reading.engine == "SIM/1"} == {"COUNT", "COUNT_STEP"}
        assert client.reading("COUNT").result.value < 1000 <= other.reading("COUNT").result.value
        with client.average("OTHER") as average:
            assert other.objects() == [] and [each.id for each in client.objects()] == [average.id]


def test_results_of_two_platforms_keep_apart(client, second):
    with lumenar.Client(second.address) as other:
        here, there = client.reading("COUNT").monitor(timeout=10), other.reading("COUNT").monitor(timeout=10)
        for _ in range(10):
            client.reading("COUNT_STEP").set(1)
            other.reading("COUNT_STEP").set(1)
        assert all(next(here).value < 1000 for _ in range(10))
        assert all(next(there).value > 1000 for _ in range(10))


def test_inputs_of_another_platform_are_refused(client, second):
    """Their samples go to another topic manager."""
    with lumenar.Client(second.address) as other:
        with pytest.raises(lumenar.BadArgument, match="SIM/1/OTHER is a reading of the platform at 127.0.0.1"):
            other.average(client.reading("OTHER"))


def test_readings_of_another_client_of_the_same_platform_are_inputs(client, platform):
    with lumenar.Client(platform.address) as other, other.average(client.reading("OTHER")) as average:
        assert average.result.unit == "W"


def test_two_to_one_platform_are_two(client, platform):
    with lumenar.Client(platform.address) as other:
        with client.average("OTHER") as average:
            assert [each.id for each in other.objects()] == [average.id]
    assert client.reading("LEVEL").result.unit == "V"


def test_the_end_of_one_leaves_the_other(client, platform):
    monitor = client.reading("COUNT").monitor(timeout=10)
    for _ in range(3):
        with lumenar.Client(platform.address) as other:
            other.reading("COUNT_STEP").set(1)
        next(monitor)
