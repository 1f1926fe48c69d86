# SPDX-License-Identifier: Apache-2.0
"""What the page shows when an engine or the server goes, and comes back."""

import time

from gateway import READINGS, Gateway, create

POWER = "SIM/1/POWER"
LIMIT = 5


def engine_is(browser, word):
    browser.until("return [...document.querySelectorAll('#engines .row')]"
                  ".some((row) => row.dataset.key.startsWith('SIM') && row.textContent.includes(arguments[0]))",
                  word, limit=LIMIT)


def test_an_engine_that_is_killed_and_comes_back_is_shown_without_a_reload(own_platform, browser):
    gateway = Gateway(own_platform, "--allow-control")
    name = create(own_platform, "Average", POWER)
    browser.open(gateway.address, show=[POWER, name])
    browser.wait_for_pictures(POWER, name)
    browser.run("window.isTheSame = true")
    own_platform.kill("sim")
    began = time.monotonic()
    engine_is(browser, "away")
    own_platform.start_engine("sim", SIM_READINGS=READINGS)
    engine_is(browser, "live")
    frames = browser.run("return lumenar.panels.views.map((v) => v.frame.time)")
    browser.until("return lumenar.panels.views.every((v, i) => v.frame.time > arguments[0][i])", frames, limit=LIMIT)
    assert browser.run("return window.isTheSame"), "the page was loaded again"
    print(f"seen in {time.monotonic() - began:.1f} s in all")


def test_a_math_engine_that_is_killed_is_shown(own_platform, browser):
    gateway = Gateway(own_platform, "--allow-control")
    name = create(own_platform, "Average", POWER)
    browser.open(gateway.address, show=[name])
    browser.wait_for_pictures(name)
    own_platform.kill("math_factory_hh")
    browser.until("return document.querySelector('#objects .row')?.dataset.state !== 'live'", limit=LIMIT)


def test_a_server_that_is_killed_and_comes_back_is_shown_without_a_reload(own_platform, shared_browser):
    browser = shared_browser  # it complains of the connections that are refused meanwhile
    gateway = Gateway(own_platform, "--allow-control")
    browser.open(gateway.address, show=[POWER])
    browser.wait_for_pictures(POWER)
    browser.run("window.isTheSame = true")
    gateway.kill()
    browser.until("return !document.querySelector('#away').hidden", limit=LIMIT)
    assert browser.text("#connection") == "✕ connection away"
    gateway.start()
    browser.until("return document.querySelector('#away').hidden", limit=LIMIT)
    browser.wait_for_frames(5)
    assert browser.run("return window.isTheSame"), "the page was loaded again"
