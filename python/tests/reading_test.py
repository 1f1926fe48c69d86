# SPDX-License-Identifier: Apache-2.0
"""What there is to read, and what is read."""

import datetime
import gc

import numpy as np
import pytest

import lumenar


def test_engines_tell_name_address_and_version(client):
    engines = {engine.name: engine for engine in client.engines()}
    assert set(engines) == {"MATHFACTORY/1", "SIM/1"}
    sim = engines["SIM/1"]
    assert sim.version == lumenar.__version__
    assert sim.address.startswith("127.0.0.1:") and sim.problem == ""


def test_readings_tell_what_they_are(client):
    readings = {reading.name: reading for reading in client.readings()}
    fast = readings["SIM/1/FAST"]
    assert (fast.engine, fast.item, fast.kind, fast.settable) == ("SIM/1", "FAST", "BasicTrace", False)
    assert fast.topic == "SIM/1/FAST"
    assert readings["SIM/1/START"].settable
    assert repr(fast) == "<Reading SIM/1/FAST: BasicTrace>"


def test_a_reading_is_found_by_any_name_that_means_it(client):
    for name in ("SIM/1/LEVEL", "SIM/LEVEL", "LEVEL"):
        assert client.reading(name).name == "SIM/1/LEVEL"


def test_a_trace_is_an_array_with_all_that_it_has(client):
    before = datetime.datetime.now(datetime.timezone.utc)
    client.reading("STEPPED_STEP").set(1)
    result = client.reading("STEPPED").result
    assert result.name == "SIM/1/STEPPED"
    assert result.kind == "BasicTrace"
    assert result.value.dtype == np.float32
    assert result.value.shape == (4,) and len(result) == 4
    assert result.unit == "W"
    assert result.minus is None and result.plus is None
    assert before - datetime.timedelta(seconds=1) < result.time < before + datetime.timedelta(seconds=60)
    assert abs(result.time.timestamp() - result.time_ns / 1e9) < 1e-5
    assert len(result.header) == 12
    assert result.header[0] << 32 | result.header[1] == result.time_ns
    assert result.sequence_number is not None and result.flags == 0
    assert result.x_step == 0.5
    np.testing.assert_array_equal(result.x, [0, 0.5, 1, 1.5])
    assert repr(result) == "<Result SIM/1/STEPPED: trace of 4 points W>"


def test_a_scalar_has_its_error_band(client):
    result = client.reading("LEVEL").result
    assert isinstance(result.value, float) and result.unit == "V"
    assert result.minus == -0.25 and result.plus == 0.25
    assert result.header == () and result.x is None and result.sequence_number is None
    assert float(result) == result.value
    with pytest.raises(TypeError):
        len(result)


def test_a_whole_number_is_one(client):
    result = client.reading("COUNT").result
    assert isinstance(result.value, int) and result.unit == "" and result.kind == "long"


def test_an_array_looks_into_the_sample_and_keeps_it(client):
    result = client.reading("FAST").result
    first, second = result.value, result.value
    assert first.__array_interface__["data"][0] == second.__array_interface__["data"][0]
    assert first.base is result
    assert np.asarray(result).__array_interface__["data"][0] == first.__array_interface__["data"][0]
    expected = first.copy()
    del result, second
    gc.collect()
    others = [client.reading("FAST").result for _ in range(20)]  # would take the memory if it were free
    np.testing.assert_array_equal(first, expected)
    assert len(others) == 20


def test_an_array_cannot_be_written(client):
    value = client.reading("FAST").result.value
    with pytest.raises(ValueError):
        value[0] = 1


def test_an_attribute_is_set(client):
    start = client.reading("START")
    for given in (2, "3", 0):
        start.set(given)
        assert start.result.value == int(given)


def test_what_cannot_be_found_says_so(client):
    with pytest.raises(lumenar.NotFound, match="NOTHING") as caught:
        client.reading("NOTHING")
    assert isinstance(caught.value, (lumenar.Error, LookupError))


def test_what_cannot_be_set_says_so(client):
    with pytest.raises(lumenar.BadArgument, match="cannot be set"):
        client.reading("LEVEL").set(1)
    with pytest.raises(lumenar.BadArgument, match="not a whole number"):
        client.reading("START").set("two")
    with pytest.raises(lumenar.Refused, match="outside the limits"):
        client.reading("START").set(-(2**31))


def test_a_closed_client_says_so(platform):
    client = lumenar.Client(platform.address)
    reading = client.reading("LEVEL")
    client.close()
    client.close()
    assert client.closed and repr(client) == "<Client, closed>"
    for use in (client.readings, lambda: reading.result, lambda: client.average("LEVEL")):
        with pytest.raises(lumenar.BadArgument, match="closed"):
            use()


def test_a_client_lives_as_long_as_what_was_made_with_it(platform):
    reading = lumenar.Client(platform.address).reading("FAST")
    assert reading.result.unit == "dBm"
    assert len(list(lumenar.Client(platform.address).reading("FAST").monitor(timeout=10, count=3))) == 3
    with lumenar.Client(platform.address).publish("MYLAB/1/A", 1):
        assert lumenar.Client(platform.address).reading("MYLAB/1/A").result.value == 1


def test_an_address_that_is_none_says_so():
    for address in ("", "host", "host:0", "host:70000"):
        with pytest.raises(lumenar.BadArgument, match="address of the naming service"):
            lumenar.Client(address)
    for timeout in (0, -1, float("nan"), float("inf")):
        with pytest.raises(lumenar.BadArgument, match="time limit"):
            lumenar.Client("127.0.0.1:2700", timeout=timeout)


def test_without_an_address_the_environment_names_the_platform(run_python, platform):
    ran = run_python("import lumenar; print(lumenar.Client().naming_address)")
    assert (ran.returncode, ran.stdout.strip(), ran.stderr) == (0, platform.address, "")


def test_everything_public_explains_itself():
    for name in lumenar.__all__:
        if name == "__version__":
            continue
        thing = getattr(lumenar, name)
        assert thing.__doc__, name
        for member, what in vars(thing).items():
            mine = callable(what) or isinstance(what, property)
            if mine and (not member.startswith("_") or member in ("__init__", "__iter__", "__next__")):
                assert getattr(what, "__doc__", None), f"{name}.{member}"
