# SPDX-License-Identifier: Apache-2.0
"""Fixtures: a platform for all tests of a file, one of a test's own, and a client."""

import os
import subprocess
import sys

import pytest

import lumenar
from platform_of_processes import Platform


@pytest.fixture(scope="module")
def platform():
    with Platform() as running:
        yield running


@pytest.fixture
def own_platform():
    """For tests that kill parts of it."""
    with Platform() as running:
        yield running


@pytest.fixture
def client(platform):
    with lumenar.Client(platform.address) as opened:
        yield opened


@pytest.fixture
def step(client):
    """Lets a reading of the simulation give its next sample."""
    return lambda item: client.reading(f"SIM/1/{item}_STEP").set(1)


@pytest.fixture
def run_python(platform):
    """Runs a program of its own against the platform; its exit status, output and errors."""

    def run(text, timeout=60, **environment):
        return subprocess.run([sys.executable, "-X", "faulthandler", "-c", text], timeout=timeout, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              env={**platform.environment, **environment, "PYTHONPATH": os.environ["PYTHONPATH"]})

    return run
