# SPDX-License-Identifier: Apache-2.0
"""The page's memory stays flat while traces, scalars and a waterfall go on. `--minutes 30` looks for half an hour."""

import time


def test_memory_is_flat(gateway, browser, request):
    shown = ["SIM/1/NOISE", "SIM/1/TONE", "SIM/1/STEPS", "SIM/1/VOLTAGE"]
    browser.open(gateway.address, show=shown)
    browser.wait_for_pictures(*shown)
    browser.press("w")
    browser.wait_for_frames(200)
    begin = browser.memory()
    end_time = time.monotonic() + 60 * request.config.getoption("--minutes")
    frames = browser.frames()
    while time.monotonic() < end_time:
        browser.wait_for_frames(200)
    end = browser.memory()
    count = browser.frames() - frames
    print(f"objects, process: {begin[0]:.2f}, {begin[1]:.0f} MB; after {count} frames {end[0]:.2f}, {end[1]:.0f} MB")
    assert end[0] <= 1.1 * begin[0] + 1, (begin, end)
    assert end[1] <= 1.1 * begin[1] + 15, (begin, end)
