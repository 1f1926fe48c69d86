# SPDX-License-Identifier: Apache-2.0
"""A platform of real processes for a test, on free loopback ports, in a directory of its own."""

from __future__ import annotations

import os
import signal
import socket
import subprocess
import tempfile
import time
from pathlib import Path
from typing import Callable, Dict, List, Optional

PROGRAMS = Path(os.environ.get("LUMENAR_PROGRAMS", "build/dev/bin"))
LIBRARIES = Path(os.environ.get("LUMENAR_LIBRARIES", "build/dev/lib"))

# A trace of noise that comes by itself and one that a test steps, a scalar, a number, and limits for CumulativeAdd.
SIM_READINGS = ";".join([
    "trace:FAST:points=1001:rate=200:units=dBm:wave=noise:amplitude=3:offset=-40:xstep=1000",
    "trace:STEPPED:points=4:rate=0:units=W:wave=count:amplitude=1:offset=10:xstep=0.5",
    "trace:OTHER:points=4:rate=0:units=W:wave=constant:amplitude=0:offset=1",
    "trace:SECONDS:points=4:rate=0:units=s:wave=constant:amplitude=0:offset=1",
    "value:LEVEL:rate=0:units=V:wave=count:amplitude=1:offset=5:error=0.25",
    "long:COUNT:rate=0:wave=count:amplitude=1:offset=100",
    "setting:START:value=0:lower=0:upper=1000",
    "setting:STOP:value=3:lower=0:upper=1000",
])


def free_port() -> int:
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return int(listener.getsockname()[1])


def until(condition: Callable[[], object], limit: float = 10.0) -> bool:
    """The one way of waiting: looks each few milliseconds."""
    end = time.monotonic() + limit
    while not condition():
        if time.monotonic() > end:
            return False
        time.sleep(0.005)
    return True


class Platform:
    """Naming service, topic manager, hardware enumeration and engines; ended by close()."""

    def __init__(self, readings: str = SIM_READINGS, math: bool = True, queue: int = 0) -> None:
        self._directory = tempfile.TemporaryDirectory(prefix="lumenar-python-")
        self.path = Path(self._directory.name)
        self.processes: Dict[str, subprocess.Popen[bytes]] = {}
        self.address = f"127.0.0.1:{free_port()}"
        self.environment = dict(os.environ, LUMENAR_NAMING=self.address, XDG_STATE_HOME=str(self.path / "state"))
        self.environment["LUMENAR_TRANSPORT_CONF"] = str(self.path / "transport.conf")
        (self.path / "transport.conf").write_text("")
        self._queue = ["--queue", str(queue)] if queue else []
        try:
            self.start_naming()
            self.start_topic_manager()
            command = [PROGRAMS / "hw_enumeration", "--state", self.path / "engines"]
            self.start("hw_enumeration", "hw_enumeration ready", command)
            if math:
                self.start_engine("math_factory_hh")
            if readings:
                self.start_engine("sim", SIM_READINGS=readings)
        except BaseException:
            self.close()
            raise

    def start_naming(self) -> None:
        (self.path / "naming").mkdir(exist_ok=True)
        port = self.address.split(":")[1]
        self.start("naming", "Checkpointing completed", [
            "omniNames", "-start", port, "-always", "-nohostname", "-datadir", self.path / "naming",
            "-ORBendPoint", "giop:tcp:" + self.address,
        ])

    def start_topic_manager(self) -> None:
        command = [PROGRAMS / "topic_manager", "--state", self.path / "subscriptions", *self._queue]
        self.start("topic_manager", "topic_manager ready", command)

    def start_engine(self, library: str, name: Optional[str] = None, **settings: str) -> None:
        command = [PROGRAMS / "engine_host", LIBRARIES / f"lib{library}.so.1"]
        self.start(name or library, "createEngine done", command, settings)

    def start(self, name: str, ready: str, command: List[object], settings: Optional[Dict[str, str]] = None) -> None:
        log = self.path / f"{name}.log"
        with log.open("wb") as out:
            self.processes[name] = subprocess.Popen(
                [str(part) for part in command], stdout=out, stderr=out, stdin=subprocess.DEVNULL, cwd=self.path,
                env={**self.environment, **(settings or {})})
        process = self.processes[name]
        if not until(lambda: ready in log.read_text(errors="replace") or process.poll() is not None, 30):
            raise RuntimeError(f"{name} is not ready: {log.read_text(errors='replace')}")
        if process.poll() is not None:
            raise RuntimeError(f"{name} has ended: {log.read_text(errors='replace')}")

    def stop(self, name: str) -> None:
        """Returns once it has stopped."""
        process = self.processes[name]
        process.send_signal(signal.SIGSTOP)
        stat = Path(f"/proc/{process.pid}/stat")
        until(lambda: stat.read_text().rpartition(")")[2].split()[0] == "T")

    def kill(self, name: str) -> None:
        self.processes[name].kill()
        self.processes.pop(name).wait()

    def mathctl(self, *arguments: str) -> str:
        return subprocess.run([str(PROGRAMS / "mathctl"), *arguments], env=self.environment, check=True,
                              stdout=subprocess.PIPE, timeout=60).stdout.decode()

    def close(self) -> None:
        for process in reversed(list(self.processes.values())):
            process.send_signal(signal.SIGCONT)
            process.terminate()
        for process in self.processes.values():
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        self._directory.cleanup()

    def __enter__(self) -> Platform:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()
