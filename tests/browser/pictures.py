# SPDX-License-Identifier: Apache-2.0
"""Takes the pictures of the page for the documents: pictures.py DIRECTORY. Started by scripts/web-pictures."""

import base64
import sys
from pathlib import Path

from browser import LAPTOP, PHONE, Browser, wall
from gateway import Gateway, Platform, create

LEVEL = "PROBE/1/WAKEUP_DB"
LOAD = "PROBE/1/CPU_LOAD"
SECONDS = 45  # until the waterfall has something to show


def wait(browser, seconds):
    browser.run("window.begun = performance.now()")
    browser.until("return performance.now() - window.begun > 1000 * arguments[0]", seconds, limit=seconds + 30)


def take(browser, directory, name):
    path = directory / f"web-{name}.webp"
    picture = browser.cdp("Page.captureScreenshot", format="webp", quality=75)
    path.write_bytes(base64.b64decode(picture["data"]))
    print(f"{path}: {path.stat().st_size // 1000} kB")


def take_all(platform, gateway, browser, directory):
    average, peak = create(platform, "Average", LEVEL), create(platform, "Peak", LEVEL)
    platform.mathctl("set", average, "SIZE", "20")
    shown = [LEVEL, average, peak, LOAD]
    browser.open(gateway.address, show=shown, size=LAPTOP)
    browser.wait_for_pictures(*shown)
    browser.press("w", "m")
    browser.choose(".fall-head select", "60")
    wait(browser, SECONDS)
    take(browser, directory, "laptop")
    browser.open(gateway.address, show=shown, size=PHONE, dark=True)
    browser.wait_for_pictures(*shown)
    wait(browser, 5)
    take(browser, directory, "phone")
    browser.open(gateway.address, hash=wall([average, peak, LOAD]), size=LAPTOP, dark=True)
    browser.wait_for_pictures(average, peak, LOAD)
    wait(browser, 20)
    take(browser, directory, "wall")


def main():
    directory = Path(sys.argv[1])
    directory.mkdir(parents=True, exist_ok=True)
    with Platform(readings="") as platform:
        platform.start_engine("probe")
        browser = Browser("--hide-scrollbars")
        try:
            take_all(platform, Gateway(platform, "--allow-control"), browser, directory)
        finally:
            browser.close()


main()
