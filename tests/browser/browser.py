# SPDX-License-Identifier: Apache-2.0
"""Chromium without a screen, and the page in it."""

from __future__ import annotations

import json
import os
import re
import tempfile
from pathlib import Path
from typing import Any, Dict, Iterator, List, Optional, Sequence, Tuple
from urllib.parse import quote

from platform_of_processes import until
from selenium import webdriver
from selenium.common.exceptions import StaleElementReferenceException
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains

LAPTOP = (1440, 900)
PHONE = (390, 844)
_LOAD_S = 20


class Browser:
    """One browser with a profile of its own; ended by close()."""

    def __init__(self, *more: str) -> None:
        self._directory = tempfile.TemporaryDirectory(prefix="lumenar-browser-")
        self.downloads = Path(self._directory.name) / "downloads"
        self.downloads.mkdir()
        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        for argument in ("--headless=new", "--disable-dev-shm-usage", "--force-device-scale-factor=1", "--mute-audio",
                         "--disable-background-networking", *more, f"--user-data-dir={self._directory.name}/profile"):
            options.add_argument(argument)
        if os.geteuid() == 0:
            options.add_argument("--no-sandbox")
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.driver.set_script_timeout(60)
        self.cdp("Browser.setDownloadBehavior", behavior="allow", downloadPath=str(self.downloads))

    def close(self) -> None:
        self.driver.quit()
        self._directory.cleanup()

    def cdp(self, command: str, **parameters: object) -> Dict[str, Any]:
        return self.driver.execute_cdp_cmd(command, parameters)

    def open(self, address: str, show: Sequence[str] = (), hash: str = "", size: Tuple[int, int] = LAPTOP,
             dark: bool = False) -> None:
        """The page as somebody has it who chose `show` before; with nothing, as who comes for the first time."""
        self.cdp("Emulation.setDeviceMetricsOverride", width=size[0], height=size[1], deviceScaleFactor=1,
                 mobile=size == PHONE)
        scheme = "dark" if dark else "light"
        self.cdp("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.driver.get(address + "page/icon.svg")  # of the same origin: its storage is the page's
        stored = json.dumps(list(show))
        self.run("localStorage.clear(); sessionStorage.clear();"
                 " if (arguments[0] !== '[]') localStorage.setItem('lumenar.shown', arguments[0])", stored)
        self.driver.get(address + hash)

    def run(self, script: str, *arguments: object) -> Any:
        return self.driver.execute_script(script, *arguments)

    def module(self, name: str, script: str, *arguments: object) -> Any:
        """What `script` returns, which knows the exports of a module of the page as `m` and the arguments as `a`."""
        text = (f"const a = [...arguments]; const done = a.pop(); import('/page/{name}')"
                f".then((m) => {{ {script} }}).then((v) => done({{value: v}}), (e) => done({{error: String(e)}}))")
        result = self.driver.execute_async_script(text, *arguments)
        assert "error" not in result, result["error"]
        return result.get("value")

    def until(self, script: str, *arguments: object, limit: float = 15, why: str = "") -> None:
        assert until(lambda: self.run(script, *arguments), limit), why or f"did not come in {limit} s: {script}"

    def text(self, selector: str) -> str:
        return self.run("return document.querySelector(arguments[0])?.textContent ?? ''", selector)

    def click(self, selector: str, text: str = "", tries: int = 5) -> None:
        """Clicks at what the page shows there; it is looked for again where the page was drawn anew meanwhile."""
        found = self.run("return [...document.querySelectorAll(arguments[0])]"
                         ".find((one) => one.textContent.includes(arguments[1]))", selector, text)
        assert found is not None, f"nothing to click at: {selector} {text}"
        try:
            self.run("arguments[0].scrollIntoView({block: 'center'})", found)
            found.click()
        except StaleElementReferenceException:
            if tries == 1:
                raise
            self.click(selector, text, tries - 1)

    def press(self, *keys: str) -> None:
        ActionChains(self.driver).send_keys(*keys).perform()

    def press_with(self, held: str, key: str) -> None:
        ActionChains(self.driver).key_down(held).send_keys(key).key_up(held).perform()

    def choose(self, selector: str, value: str) -> None:
        """Chooses in a list when it offers that."""
        self.until("return [...(document.querySelector(arguments[0])?.options ?? [])]"
                   ".some((one) => one.value === arguments[1])", selector, value)
        self.run("const list = document.querySelector(arguments[0]); list.value = arguments[1];"
                 " list.dispatchEvent(new Event('change'))", selector, value)

    def row(self, name: str) -> str:
        """Selector of the row of an object or a reading in the lists."""
        return f'.row[data-key="{name}"]'

    def frames(self) -> int:
        return self.run("return lumenar.figures.frames")

    def wait_for_frames(self, count: int) -> None:
        end = self.frames() + count
        self.until("return lumenar.figures.frames >= arguments[0]", end, limit=30)

    def complaints(self) -> List[str]:
        """What the browser wrote as an error since the last time."""
        severe = [entry["message"] for entry in self.driver.get_log("browser") if entry["level"] == "SEVERE"]
        return [text for text in severe if "/favicon.ico" not in text]  # the browser asks for it where open() prepares

    def wait_for_pictures(self, *names: str) -> None:
        """Until each of these is drawn in a panel."""
        for name in names:
            self.until("return lumenar.panels.views.some((v) => v.name === arguments[0] && v.panel !== null)", name,
                       limit=_LOAD_S, why=f"{name} is not in the picture")

    def memory(self) -> Tuple[float, float]:
        """MB that the page takes without garbage: of its objects, and of its process with all that it draws."""
        self.cdp("HeapProfiler.enable")
        for _ in range(3):  # what one lets go of, the next one takes
            self.cdp("HeapProfiler.collectGarbage")
        heap = self.cdp("Runtime.getHeapUsage")["usedSize"] / 1e6
        return heap, max(_resident_mb(process) for process in _descendants(self.driver.service.process.pid)
                         if "--type=renderer" in _text_of(process, "cmdline"))

    def download(self, ending: str, limit: float = 15) -> Path:
        """The file that is saved next, or was just now; it is taken away by the caller."""
        found: List[Path] = []

        def came() -> bool:
            found[:] = [path for path in self.downloads.glob(f"*{ending}") if path.stat().st_size > 0]
            return bool(found)

        assert until(came, limit), f"no {ending} was saved"
        return found[0]


def _text_of(process: int, file: str) -> str:
    try:
        return Path(f"/proc/{process}/{file}").read_text(errors="replace")
    except OSError:  # it has ended
        return ""


def _descendants(ancestor: int) -> Iterator[int]:
    """Processes that were begun by one, or by those."""
    parents = {}
    for entry in Path("/proc").glob("[0-9]*"):
        fields = _text_of(int(entry.name), "stat").rpartition(")")[2].split()
        if fields:
            parents[int(entry.name)] = int(fields[1])
    for process in parents:
        above = process
        while above in parents and above != ancestor:
            above = parents[above]
        if above == ancestor:
            yield process


def _resident_mb(process: int) -> float:
    found = re.search(r"VmRSS:\s+(\d+)", _text_of(process, "status"))
    return int(found.group(1)) / 1e3 if found else 0.0


def wall(names: Sequence[str]) -> str:
    return "#wall=" + ",".join(quote(name, safe=":/") for name in names)


def spread(browser: Browser, name: str) -> Optional[float]:
    """How far the numbers of a trace go apart, as the page has it now."""
    return browser.run(
        "const view = lumenar.panels.views.find((v) => v.name === arguments[0]);"
        "if (!view?.frame) return null; const v = view.frame.values;"
        "let [low, high] = [Infinity, -Infinity];"
        "for (const x of v) { low = Math.min(low, x); high = Math.max(high, x); }"
        "return high - low", name)
