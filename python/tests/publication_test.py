# SPDX-License-Identifier: Apache-2.0
"""Readings of one's own, as others see them."""

import json

import numpy as np
import pytest

import lumenar
from platform_of_processes import until


def test_publishing_again_under_its_name_is_the_next_sample(client):
    first = client.publish("MYLAB/T", [1.0], unit="V")
    assert client.publish("MYLAB/T", [2.0], unit="W") is first
    assert client.publish("MYLAB/1/T", [3.0, 4.0], unit="W") is first
    result = client.reading("MYLAB/1/T").result
    assert (list(result.value), result.unit, result.sequence_number) == ([3, 4], "W", 2)
    first.close()
    with client.publish("MYLAB/1/T", 7) as second:
        assert second is not first and client.reading("MYLAB/1/T").result.value == 7


def test_one_that_was_dropped_makes_room_at_once(client):
    for n in range(10):
        client.publish("MYLAB/1/A", n)
        assert client.publish("MYLAB/1/A", n).name == "MYLAB/1/A"


def test_others_see_it_until_it_is_withdrawn(client, platform):
    with client.publish("MYLAB/1/BASELINE", np.array([1, 2, 3], np.float32), unit="dBm") as baseline:
        assert baseline.name == "MYLAB/1/BASELINE"
        assert "MYLAB/1/BASELINE" in platform.mathctl("readings")
        shown = json.loads(platform.mathctl("get", "MYLAB/1/BASELINE", "--json", "--samples"))
        assert shown["samples"] == [1, 2, 3] and shown["units"] == "dBm"
        assert repr(baseline) == "<Publication MYLAB/1/BASELINE>"
    assert baseline.closed
    assert "MYLAB" not in platform.mathctl("readings")
    assert "MYLAB" not in platform.mathctl("engines")
    with pytest.raises(lumenar.BadArgument, match="not published any more"):
        baseline.publish([1, 2, 3])


def test_it_is_an_input_of_math(client):
    with client.publish("MYLAB/1/BASELINE", np.full(4, 0.5), unit="W") as baseline:
        with client.subtract("STEPPED", baseline) as difference, difference.monitor(timeout=10) as monitor:
            client.reading("STEPPED_STEP").set(1)
            np.testing.assert_array_equal(next(monitor).value, client.reading("STEPPED").result.value - 0.5)
        with client.average("MYLAB/BASELINE", size=2) as average, average.monitor(timeout=10) as monitor:
            baseline.publish([1.5, 1.5, 1.5, 1.5])
            np.testing.assert_array_equal(next(monitor).value, np.ones(4, np.float32))


def test_its_samples_are_numbered_and_have_their_axis(client):
    axis = np.linspace(0, 30, 4)
    with client.publish("MYLAB/1/T", [1, 2, 3, 4], unit="V", x=axis, x_unit="kHz") as published:
        published.publish([5, 6, 7, 8])
        result = client.reading("MYLAB/1/T").result
        assert result.sequence_number == 1
        assert (result.x_step, result.x_unit) == (10_000, "Hz")
        np.testing.assert_allclose(result.x, axis * 1000)
        assert result.time_ns > 1_600_000_000_000_000_000
    with client.publish("MYLAB/1/T", [1, 2], x=0.25, x_unit="us"):
        assert client.reading("MYLAB/1/T").result.x_step == pytest.approx(0.25e-6)


@pytest.mark.parametrize("value, kind", [
    (2.5, "ValueDouble"), (np.array(1.5), "ValueDouble"), (np.float32(1.5), "ValueDouble"),
    (7, "long"), (np.int64(3), "long"), (True, "boolean"), (np.bool_(False), "boolean"),
])
def test_its_kind_follows_from_its_value(client, value, kind):
    with client.publish("MYLAB/1/N", value):
        reading = client.reading("MYLAB/1/N")
        assert reading.kind == kind and reading.result.value == value


def test_a_scalar_has_its_errors(client):
    with client.publish("MYLAB/1/LEVEL", -3, unit="dBm", minus=-0.5, plus=0.25) as level:
        result = client.reading("MYLAB/1/LEVEL").result
        assert (result.value, result.unit, result.minus, result.plus) == (-3.0, "dBm", -0.5, 0.25)
        level.publish(4.5, minus=-1)
        result = client.reading("MYLAB/1/LEVEL").result
        assert (result.value, result.minus, result.plus) == (4.5, -1, 0)


def test_several_of_one_engine_go_one_by_one(client, platform):
    first = client.publish("MYLAB/1/A", 1)
    second = client.publish("MYLAB/1/B", 2)
    assert platform.mathctl("engines").count("MYLAB/1") == 1
    first.close()
    assert "MYLAB/1/B" in platform.mathctl("readings") and "MYLAB/1/A" not in platform.mathctl("readings")
    second.close()
    assert "MYLAB" not in platform.mathctl("engines")


def test_one_of_the_same_name_takes_its_place(client):
    client.publish("MYLAB/1/A", 1).close()
    with client.publish("MYLAB/1/A", 2):
        assert client.reading("MYLAB/1/A").result.value == 2


def test_a_name_that_is_taken_is_refused(client, platform):
    with lumenar.Client(platform.address) as other, other.publish("MYLAB/1/A", 1):
        with pytest.raises(lumenar.Refused, match="MYLAB/1: another engine has this name"):
            client.publish("MYLAB/1/A", 2)
        with client.publish("MYLAB/A", 2) as second:
            assert second.name == "MYLAB/2/A"


def test_it_goes_with_its_client_and_with_its_program(platform, run_python):
    client = lumenar.Client(platform.address)
    client.publish("MYLAB/1/A", 1)
    publication = client.publish("MYLAB/1/B", 1)
    client.close()
    assert publication.closed
    assert "MYLAB" not in platform.mathctl("engines")
    ran = run_python("import lumenar; c = lumenar.Client(); p = c.publish('MYLAB/1/A', 1); print(p.name)")
    assert (ran.returncode, ran.stdout, ran.stderr) == (0, "MYLAB/1/A\n", "")
    assert "MYLAB" not in platform.mathctl("engines")


def test_one_that_nobody_holds_goes(client, platform):
    client.publish("MYLAB/1/A", 1)
    assert until(lambda: "MYLAB" not in platform.mathctl("engines"))


def test_an_array_of_another_type_is_converted(client):
    with client.publish("MYLAB/1/T", np.arange(3, dtype=np.int16)) as published:
        np.testing.assert_array_equal(client.reading("MYLAB/1/T").result.value, [0, 1, 2])
        published.publish(np.arange(20.0)[::4])
        np.testing.assert_array_equal(client.reading("MYLAB/1/T").result.value, [0, 4, 8, 12, 16])
        published.publish([np.nan, np.inf])
        assert not np.isfinite(client.reading("MYLAB/1/T").result.value).any()
        published.publish([])
        assert client.reading("MYLAB/1/T").result.value.shape == (0,)


@pytest.mark.parametrize("arguments, sentence", [
    (("MYLAB/1/A", [[1, 2], [3, 4]]), "one dimension, not 2"),
    (("MYLAB/1/A", [[1], [2, 3]]), "cannot publish list"),
    (("MYLAB/1/A", ["a"]), "real numbers"),
    (("MYLAB/1/A", [1j]), "real numbers"),
    (("MYLAB/1/A", None), "real numbers"),
    (("MYLAB/1/A", [1e300]), "beyond the range"),
    (("MYLAB/1/A", 2**40), "32 bits"),
    (("MYLAB/1/A", [1], "furlong"), "furlong"),
    (("MYLAB/1/A", True, "V"), "no unit"),
    (("MYLAB/1/A", [1, 2], "V", [1, 2, 3]), "3 points"),
    (("MYLAB/1/A", [1, 2, 3], "V", [1, 2, 4]), "same distance"),
    (("MYLAB/1/A", [1, 2], "V", [1, float("nan")]), "finite"),
    (("MYLAB/1/A", [1, 2], "V", 1, "dBm"), "not in decibels"),
    (("MYLAB/1/A", [1, 2], "V", 1, "V/s"), "one unit"),
    (("MYLAB/1/A", 1.0, "V", None, "", 1.0), "minus must be 0 or less"),
    (("A", 1), "as MYLAB/1/BASELINE"),
    (("MYLAB/x/A", 1), "a number from 1 to 9999"),
    (("MATHFACTORY/2/A", 1), "belongs to the platform"),
    (("MYLAB/1/", 1), "no name of a reading"),
])
def test_what_cannot_be_published_says_why(client, platform, arguments, sentence):
    with pytest.raises(lumenar.BadArgument, match=sentence):
        client.publish(*arguments)
    assert "MYLAB" not in platform.mathctl("engines")


def test_a_sample_of_another_kind_is_refused(client):
    with client.publish("MYLAB/1/A", 1) as number:
        with pytest.raises(lumenar.BadArgument, match="another kind"):
            number.publish([1.0])
        number.publish(2)


def test_two_platforms_in_one_program_keep_apart(client, own_platform):
    with lumenar.Client(own_platform.address) as other:
        with client.publish("MYLAB/1/A", 1) as here, other.publish("MYLAB/1/A", 2) as there:
            with client.reading("MYLAB/1/A").monitor(timeout=10) as first:
                with other.reading("MYLAB/1/A").monitor(timeout=10) as second:
                    for n in range(20):
                        here.publish(100 + n)
                        there.publish(200 + n)
                    assert [next(first).value for _ in range(20)] == list(range(100, 120))
                    assert [next(second).value for _ in range(20)] == list(range(200, 220))
