# SPDX-License-Identifier: Apache-2.0
"""Fixtures: a platform with math_web and a browser for all tests of a file; an empty set of math objects for each."""

import pytest

from browser import Browser
from gateway import READINGS, Gateway, Platform, delete_all


def pytest_addoption(parser):
    parser.addoption("--minutes", type=float, default=0.5, help="how long the memory test looks")


@pytest.fixture(scope="module")
def platform():
    with Platform(READINGS) as running:
        yield running


@pytest.fixture(scope="module")
def gateway(platform):
    return Gateway(platform, "--allow-control")


@pytest.fixture(scope="module")
def shared_browser():
    browser = Browser()
    yield browser
    browser.close()


@pytest.fixture
def browser(shared_browser):
    """The browser, which must not have complained in the end."""
    shared_browser.complaints()
    yield shared_browser
    complaints = shared_browser.complaints()
    shared_browser.driver.get("about:blank")
    for path in shared_browser.downloads.iterdir():
        path.unlink()
    assert complaints == []


@pytest.fixture
def own_platform():
    """For tests that kill parts of it."""
    with Platform(READINGS) as running:
        yield running


@pytest.fixture
def empty(platform):
    delete_all(platform)
    yield
    delete_all(platform)
