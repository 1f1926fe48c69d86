# SPDX-License-Identifier: Apache-2.0
"""Results as they come."""

from __future__ import annotations

import asyncio
from typing import TYPE_CHECKING, AsyncIterator, Iterator, Optional

from lumenar import _core
from lumenar._block import ClosedByBlock
from lumenar._errors import BadArgument, Timeout

if TYPE_CHECKING:
    from lumenar._core import Result


class Monitor(ClosedByBlock, Iterator["Result"], AsyncIterator["Result"]):
    """The results of one or several readings, in the order in which they come, from its creation on.

        for r in reading.monitor(timeout=5): ...
        async for r in reading.monitor(timeout=5): ...

    The loop ends after `count` results, when the monitor is closed, and when its client is. A loop that waits longer
    than `timeout` seconds for a result ends with lumenar.Timeout; without a timeout it waits for ever. Ctrl-C ends the
    wait at once. A reader that is too slow loses the oldest results, never the newest; `lost` counts them: up to 4,096
    results or 64 MB wait for it.

    A monitor that is not used any more ends by itself; `with` and close() end it at a known time.
    """

    def __init__(
        self, session: _core.Session, core: _core.Monitor, what: str, timeout: Optional[float], count: Optional[int]
    ) -> None:
        """Made by the monitor() of a reading, a math object or a client."""
        if timeout is not None and not timeout > 0:
            raise BadArgument(f"timeout must be above 0 seconds, or None, not {timeout!r}")
        if count is not None and count < 0:
            raise BadArgument(f"count must be 0 or more, or None, not {count!r}")
        self._session = session  # which would close with the last who holds it
        self._core = core
        self._what = what
        self._timeout = timeout
        self._left = count

    def __iter__(self) -> Monitor:
        """Itself: a monitor is its own iterator."""
        return self

    def __next__(self) -> Result:
        """The next result; waits for it."""
        if self._left == 0:
            raise StopIteration
        result = self._core.next(self._timeout)
        if result is not None:
            return self._taken(result)
        if self._core.ended:
            raise StopIteration
        raise self._late()

    def __aiter__(self) -> Monitor:
        """Itself: a monitor is its own asynchronous iterator."""
        return self

    async def __anext__(self) -> Result:
        """The next result; the event loop goes on meanwhile."""
        if self._left == 0:
            raise StopAsyncIteration
        result = self._core.poll()
        if result is None and not self._core.ended:
            try:
                result = await asyncio.wait_for(self._arrival(), self._timeout)
            except asyncio.TimeoutError:
                result = self._core.poll()  # what came at the last moment
                if result is None and not self._core.ended:
                    raise self._late() from None
        if result is None:
            raise StopAsyncIteration
        return self._taken(result)

    async def _arrival(self) -> Optional[Result]:
        """What comes next; None when the monitor ends."""
        loop = asyncio.get_running_loop()
        descriptor = self._core.fileno()
        while True:
            arrived: asyncio.Future[None] = loop.create_future()
            loop.add_reader(descriptor, _settle, arrived)
            try:
                await arrived
            finally:
                loop.remove_reader(descriptor)
            result = self._core.poll()
            if result is not None or self._core.ended:
                return result

    def _taken(self, result: Result) -> Result:
        if self._left is not None:
            self._left -= 1
        return result

    def _late(self) -> Timeout:
        return Timeout(f"no result of {self._what} within {self._timeout:g} s")

    @property
    def lost(self) -> int:
        """Results lost because they were not taken fast enough."""
        return self._core.lost

    def fileno(self) -> int:
        """A file descriptor for select() and the like: it can be read from when a result may be there, or the monitor has
        ended. Take all that poll() gives then. It is open as long as the monitor is held."""
        return self._core.fileno()

    def poll(self) -> Optional[Result]:
        """A result that is there, else None. Waits for nothing."""
        return self._core.poll()

    def close(self) -> None:
        """Ends it, and a loop that waits in another thread."""
        self._core.close()

    def __repr__(self) -> str:
        """What it follows."""
        return f"<Monitor of {self._what}{', ended' if self._core.ended else ''}>"


def _settle(arrived: asyncio.Future[None]) -> None:
    if not arrived.done():
        arrived.set_result(None)
