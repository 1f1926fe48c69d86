# SPDX-License-Identifier: Apache-2.0
"""Math objects."""

from __future__ import annotations

from typing import TYPE_CHECKING, NamedTuple, Optional, Tuple

from lumenar import _core
from lumenar._block import EndedByBlock
from lumenar._errors import NotFound
from lumenar._monitor import Monitor
from lumenar._reading import Reading

if TYPE_CHECKING:
    from lumenar._core import Result


class State(NamedTuple):
    """What a math object is doing."""

    word: str
    """"live", "waiting", "stale", "input away" or "refusing"."""
    text: str
    """The same for people, with what they need to know."""
    results: int
    """Results since its creation."""
    refused: int
    """Samples that it could not compute with."""


class MathObject(EndedByBlock):
    """An object that computes a result from each sample of its inputs.

    It lives in the math engine, and goes on when this Python object, or the program, ends; delete(), or `with`, ends
    it.
    """

    def __init__(self, session: _core.Session, info: _core.ObjectInfo) -> None:
        """Made by Client.average() and its like."""
        self._session = session
        self._id = info.id
        self._type = info.type
        self._inputs = tuple(info.inputs)
        self._reading = Reading(session, info.result)

    @property
    def id(self) -> int:
        """Its number in the engine."""
        return self._id

    @property
    def name(self) -> str:
        """"math:3"; what other functions take to mean its result."""
        return f"math:{self._id}"

    @property
    def type(self) -> str:
        """Its operation, as "Average"."""
        return self._type

    @property
    def inputs(self) -> Tuple[str, ...]:
        """The names of its inputs."""
        return self._inputs

    @property
    def reading(self) -> Reading:
        """Its result as a reading, for further math objects and monitors of several."""
        return self._reading

    @property
    def result(self) -> Result:
        """Its present result, asked for each time."""
        return self._reading.result

    def monitor(self, timeout: Optional[float] = None, count: Optional[int] = None) -> Monitor:
        """Its results from now on; see Monitor."""
        what = f"{self.name} ({self._type})"
        return Monitor(self._session, self._session.subscribe([self._reading._core]), what, timeout, count)

    @property
    def size(self) -> int:
        """Of an Average: over how many samples. It can be set."""
        return self._session.size(self._id)

    @size.setter
    def size(self, size: int) -> None:
        self._session.set_size(self._id, size)

    def reset(self) -> None:
        """An Average or a Peak begins anew with the next sample."""
        self._session.reset(self._id)

    @property
    def state(self) -> State:
        """What it is doing, as the engine reports it now."""
        info = self._session.state(self._id)
        return State(info.word, info.text, info.results, info.refused)

    def delete(self) -> None:
        """Ends it."""
        self._session.delete(self._id)

    def _end(self) -> None:
        """Deletes it; one that somebody else has deleted is no error, and neither is a closed client."""
        if self._session.closed:
            return
        try:
            self.delete()
        except NotFound:
            pass

    def __repr__(self) -> str:
        """Its name, operation and inputs."""
        return f"<{self.name}: {self._type} of {', '.join(self._inputs)}>"
