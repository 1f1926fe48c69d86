# SPDX-License-Identifier: Apache-2.0
"""The page's memory stays flat while traces, scalars and a waterfall go on. `--minutes 30` looks for half an hour."""

import time


def heap(browser):
    browser.cdp("HeapProfiler.enable")
    browser.cdp("HeapProfiler.collectGarbage")
    return browser.run("return performance.memory.usedJSHeapSize") / 1e6


def test_memory_is_flat(gateway, browser, request):
    shown = ["SIM/1/NOISE", "SIM/1/TONE", "SIM/1/STEPS", "SIM/1/VOLTAGE"]
    browser.open(gateway.address, show=shown)
    browser.wait_for_pictures(*shown)
    browser.press("w")
    browser.wait_for_frames(200)
    begin = heap(browser)
    end_time = time.monotonic() + 60 * request.config.getoption("--minutes")
    frames = browser.frames()
    while time.monotonic() < end_time:
        browser.wait_for_frames(200)
    end = heap(browser)
    print(f"memory {begin:.2f} MB, after {browser.frames() - frames} frames {end:.2f} MB")
    assert end <= 1.1 * begin + 0.5, (begin, end)
