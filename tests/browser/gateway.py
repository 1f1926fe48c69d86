# SPDX-License-Identifier: Apache-2.0
"""A platform of real processes with math_web, for a browser to look at."""

from __future__ import annotations

import json
import re
from typing import List

from platform_of_processes import PROGRAMS, Platform, until

# What a spectrum analyser, a meter and a counter would give, twenty times a second. No sample of NOISE is like another.
READINGS = ";".join([
    "trace:NOISE:points=10001:rate=20:units=dBm:wave=noise:amplitude=3:offset=-40:xstep=1000",
    "trace:TONE:points=10001:rate=20:units=dBm:wave=sine:amplitude=10:offset=-50:period=2500:xstep=1000",
    "trace:STEPS:points=10001:rate=20:units=dBm:wave=square:amplitude=4:offset=-70:period=1000:xstep=1000",
    "trace:POWER:points=1001:rate=20:units=W:wave=sine:amplitude=1:offset=2:xstep=1000",
    "value:VOLTAGE:rate=20:units=V:wave=sine:amplitude=0.5:offset=5:error=0.02",
    "long:COUNT:rate=20:wave=count:amplitude=1:offset=100",
    "setting:START:value=0:lower=0:upper=1000",
])


class Gateway:
    """math_web of a platform, at a free port that it keeps when it is started again."""

    def __init__(self, platform: Platform, *options: str, name: str = "math_web") -> None:
        self._platform = platform
        self._options: List[str] = list(options)
        self._name = name
        self._port = 0
        self.start()

    @property
    def address(self) -> str:
        return f"http://127.0.0.1:{self._port}/"

    def start(self) -> None:
        command: List[object] = [PROGRAMS / "math_web", "--listen", f"127.0.0.1:{self._port}", *self._options]
        self._platform.start(self._name, "http://", command)
        log = (self._platform.path / f"{self._name}.log").read_text(errors="replace")
        found = re.search(r"http://127\.0\.0\.1:(\d+)", log)
        assert found, log
        self._port = int(found.group(1))

    def kill(self) -> None:
        self._platform.kill(self._name)


def objects(platform: Platform) -> List[dict]:
    """The math objects, as the command line says."""
    return [json.loads(line) for line in platform.mathctl("list", "--json").splitlines()]


def create(platform: Platform, *words: str) -> str:
    """Makes a math object on the command line; its name."""
    return "math:" + platform.mathctl("create", *words).strip().removeprefix("math:")


def newest(platform: Platform) -> str:
    """The math object that was made last."""
    return objects(platform)[-1]["object"]


def delete_all(platform: Platform) -> None:
    names = [one["object"] for one in reversed(objects(platform))]
    if names:
        platform.mathctl("delete", *names)


__all__ = ["Gateway", "Platform", "READINGS", "create", "delete_all", "newest", "objects", "until"]
