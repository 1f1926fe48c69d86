# SPDX-License-Identifier: Apache-2.0
"""Math objects: creation, results, deletion."""

import json

import numpy as np
import pytest

import lumenar


def listed(platform):
    return {word for word in platform.mathctl("list").split() if word.startswith("math:")}


def stepped(client, step):
    """The samples of STEPPED before and after a step."""
    before = client.reading("STEPPED").result.value.astype(np.float64)
    step("STEPPED")
    return before, client.reading("STEPPED").result.value.astype(np.float64)


def test_an_average_is_one(client, step):
    with client.average("STEPPED", size=2) as average, average.monitor(timeout=10) as monitor:
        assert average.type == "Average" and average.inputs == ("SIM/1/STEPPED",)
        assert average.size == 2
        assert average.name == f"math:{average.id}"
        assert repr(average) == f"<math:{average.id}: Average of SIM/1/STEPPED>"
        before, now = stepped(client, step)
        result = next(monitor)
        np.testing.assert_allclose(result.value, (before + now) / 2, rtol=1e-6)
        assert result.unit == "W"
        np.testing.assert_array_equal(average.result.value, result.value)
        np.testing.assert_array_equal(average.reading.result.value, result.value)


def test_a_peak_is_one_and_begins_anew(client, step):
    with client.peak("STEPPED") as peak, peak.monitor(timeout=10) as monitor:
        before, now = stepped(client, step)
        np.testing.assert_array_equal(next(monitor).value, np.maximum(before, now))
        peak.reset()
        _, now = stepped(client, step)
        np.testing.assert_array_equal(next(monitor).value, now)


def test_differences_are_taken(client):
    with client.subtract("STEPPED", "OTHER") as difference:
        stepped_now, other = client.reading("STEPPED").result.value, client.reading("OTHER").result.value
        np.testing.assert_array_equal(difference.result.value, stepped_now - other)
    with client.relative_subtract("FAST", "FAST") as distance:
        assert distance.type == "RelativeSubtract"


def test_a_sum_is_taken_over_a_range(client):
    client.reading("START").set(1)
    client.reading("STOP").set(2)
    with client.cumulative_add("OTHER", "START", "STOP") as total:
        assert total.result.value == 2.0 and total.result.unit == "W"
    client.reading("START").set(0)
    client.reading("STOP").set(3)


def test_results_are_inputs(client):
    with client.average("OTHER", size=3) as average:
        with client.peak(average) as by_object, client.peak(average.name) as by_name:
            assert by_object.inputs == by_name.inputs == (f"MATHFACTORY/1/{average.reading.item}",)
            np.testing.assert_array_equal(by_object.result.value, average.result.value)
        with client.create("peak", [client.reading("OTHER")]) as peak:
            assert peak.type == "Peak"


def test_types_are_what_can_be_created(client, platform):
    types = [json.loads(line)["name"] for line in platform.mathctl("types", "--json").splitlines()]
    assert client.types() == types
    assert types[:2] == ["Subtract", "RelativeSubtract"]


def test_objects_are_listed_whoever_created_them(client, platform):
    platform.mathctl("create", "Average", "SIM/1/OTHER")
    with client.peak("OTHER") as peak:
        objects = {each.id: each for each in client.objects()}
        assert len(objects) == 2
        assert objects[peak.id].type == "Peak" and objects[peak.id].inputs == ("SIM/1/OTHER",)
        same = client.object(peak.id)
        assert (same.id, same.type, same.inputs) == (peak.id, "Peak", ("SIM/1/OTHER",))
        for each in objects.values():
            if each.id != peak.id:
                each.delete()
    assert client.objects() == []


def test_an_object_tells_its_state(client, step):
    with client.average("STEPPED") as average, average.monitor(timeout=10) as monitor:
        step("STEPPED")
        next(monitor)
        state = average.state
        assert state.word == "live" and state.text == "live"
        assert state.results >= 1 and state.refused == 0


def test_with_deletes_and_without_it_stays(client, platform):
    with client.average("OTHER") as average:
        assert average.name in listed(platform)
    assert average.name not in listed(platform)
    with pytest.raises(lumenar.NotFound, match=f"no math object {average.id}|math:{average.id}"):
        average.delete()
    with lumenar.Client(platform.address) as other:
        stays = other.average("OTHER")
    del other
    assert stays.name in listed(platform)
    client.object(stays.id).delete()


def test_deletion_by_somebody_else_is_no_error_of_with(client, platform):
    with client.average("OTHER") as average:
        platform.mathctl("delete", average.name)


def test_the_engine_s_sentence_comes_through(client):
    with pytest.raises(lumenar.Refused) as refused:
        client.create("CumulativeAdd", ["OTHER"])
    assert "3" in str(refused.value) or "three" in str(refused.value).lower() or "input" in str(refused.value).lower()
    with pytest.raises(lumenar.BadArgument, match="there are|did you mean|Average"):
        client.create("Nothing", ["OTHER"])
    with pytest.raises(lumenar.NotFound):
        client.average("NOTHING")
    with pytest.raises(lumenar.Refused, match="limits"):
        client.average("OTHER", size=1000)
    assert client.objects() == [], "one whose size was refused does not stay"
    with client.peak("OTHER") as peak, pytest.raises(lumenar.BadArgument, match="SIZE"):
        peak.size = 3


def test_inputs_that_are_none_say_so(client):
    for wrong in (3, None, object()):
        with pytest.raises(lumenar.BadArgument, match="an input is"):
            client.average(wrong)
    with pytest.raises(lumenar.BadArgument, match="list of inputs"):
        client.create("Average", "OTHER")


def test_an_engine_that_was_started_again_is_found(own_platform):
    with lumenar.Client(own_platform.address) as client:
        client.average("OTHER")
        own_platform.kill("math_factory_hh")
        with pytest.raises(lumenar.Error):
            client.average("OTHER")
        own_platform.start_engine("math_factory_hh")
        with client.average("OTHER") as average:
            assert average.result.unit == "W"


def test_a_platform_that_is_away_says_so(own_platform):
    with lumenar.Client(own_platform.address) as client:
        own_platform.kill("naming")
        with pytest.raises(lumenar.Unreachable, match=own_platform.address) as caught:
            client.readings()
        assert isinstance(caught.value, ConnectionError)
