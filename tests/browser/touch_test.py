# SPDX-License-Identifier: Apache-2.0
"""What fingers do on a plot: tap, move, pinch, scroll."""

import pytest

from browser import PHONE

NOISE = "SIM/1/NOISE"


class Fingers:
    """Fingers on the screen, as the browser reports them to the page."""

    def __init__(self, browser):
        self._browser = browser

    def _send(self, kind, places):
        points = [{"x": x, "y": y, "id": number} for number, (x, y) in enumerate(places)]
        self._browser.cdp("Input.dispatchTouchEvent", type=kind, touchPoints=points)

    def tap(self, place):
        self._send("touchStart", [place])
        self._send("touchEnd", [])

    def move(self, begins, ends, steps=10):
        """Each finger from its place to its end, all at once."""
        self._send("touchStart", begins)
        for i in range(1, steps + 1):
            self._send("touchMove", [(x + (to_x - x) * i / steps, y + (to_y - y) * i / steps)
                                     for (x, y), (to_x, to_y) in zip(begins, ends)])
        self._send("touchEnd", [])


@pytest.fixture
def fingers(gateway, browser):
    browser.open(gateway.address, show=[NOISE, "SIM/1/VOLTAGE"], size=PHONE)
    browser.cdp("Emulation.setTouchEmulationEnabled", enabled=True, maxTouchPoints=2)
    browser.wait_for_pictures(NOISE, "SIM/1/VOLTAGE")
    return Fingers(browser)


def plot(browser, share, height=0.5, which=".trace-panel"):
    """A place in the curves of a plot: shares of their width and height."""
    browser.run("document.querySelector(arguments[0] + ' .plot').scrollIntoView({block: 'center'})", which)
    browser.wait_for_frames(5)  # the browser knows by then what is under a finger
    left, top, width, tall = browser.run(
        "const box = document.querySelector(arguments[0] + ' .u-over').getBoundingClientRect();"
        "return [box.left, box.top, box.width, box.height]", which)
    return left + share * width, top + height * tall


def shown(browser):
    return browser.run("return lumenar.panels.panels[0].shown")


def test_a_finger_up_and_down_scrolls_the_page_and_leaves_the_cursor(fingers, browser):
    place = plot(browser, 0.5)
    before = browser.run("return document.scrollingElement.scrollTop")
    browser.run("const panel = lumenar.panels.panels[0]; const put = panel.setCursor.bind(panel); window.places = [];"
                "panel.setCursor = (x) => { places.push(x); put(x); };"
                "document.addEventListener('pointerdown', () => { window.wasTouched = true; }, true)")
    fingers.move([place], [(place[0], place[1] - 150)])
    browser.until("return document.scrollingElement.scrollTop > arguments[0] + 50", before)
    assert browser.run("return window.wasTouched")
    assert browser.run("return places.filter((x) => x !== null)") == []


def test_a_tap_puts_the_cursor(fingers, browser):
    fingers.tap(plot(browser, 0.25))
    browser.until("return document.querySelector('.legend-value').textContent.includes('dBm')")
    assert browser.run("return lumenar.panels.panels[0].cursor") == pytest.approx(2.5e6, rel=0.02)
    line = browser.run("return document.querySelector('.u-cursor-x').getBoundingClientRect().left")
    assert line == pytest.approx(plot(browser, 0.25)[0], abs=2)


def test_a_finger_moves_the_cursor_where_all_is_shown(fingers, browser):
    fingers.move([plot(browser, 0.2)], [plot(browser, 0.8)])
    assert browser.run("return lumenar.panels.panels[0].cursor") == pytest.approx(8e6, rel=0.03)
    assert not browser.run("return lumenar.panels.panels[0].isZoomed")


def test_two_fingers_zoom_and_one_moves(fingers, browser):
    left, right = plot(browser, 0.4), plot(browser, 0.6)
    fingers.move([left, right], [plot(browser, 0.2), plot(browser, 0.8)])
    near = shown(browser)
    assert near["to"] - near["from"] == pytest.approx(1e7 / 3, rel=0.1)
    assert near["from"] < 5e6 < near["to"]
    browser.until("return !lumenar.panels.views[0].frame.isColumns || lumenar.panels.views[0].frame.x > 1e6",
                  why="the server was not asked for what is shown")
    fingers.move([plot(browser, 0.7)], [plot(browser, 0.2)])
    moved = shown(browser)
    assert moved["to"] - moved["from"] == pytest.approx(near["to"] - near["from"])
    assert moved["from"] - near["from"] == pytest.approx(0.5 * (near["to"] - near["from"]), rel=0.1)
    fingers.move([plot(browser, 0.1), plot(browser, 0.9)], [plot(browser, 0.45), plot(browser, 0.55)])
    assert not browser.run("return lumenar.panels.panels[0].isZoomed"), "pinched together all is shown again"


def test_a_tap_puts_the_cursor_on_values_over_time(fingers, browser):
    fingers.tap(plot(browser, 0.98, which=".value-panel"))
    browser.until("return document.querySelector('.value-panel .cursor-text').textContent.startsWith('Cursor at')")
