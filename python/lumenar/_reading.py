# SPDX-License-Identifier: Apache-2.0
"""Readings and attributes of engines."""

from __future__ import annotations

from typing import TYPE_CHECKING, Optional, Union

from lumenar import _core
from lumenar._monitor import Monitor

if TYPE_CHECKING:
    from lumenar._core import Result


class Reading:
    """A reading of an engine, or an attribute that can be set.

    It stands for the reading of the run of its engine in which it was found: after a restart of the engine look it up
    again.
    """

    def __init__(self, session: _core.Session, core: _core.Reading) -> None:
        """Made by Client.reading() and Client.readings()."""
        self._session = session
        self._core = core

    @property
    def name(self) -> str:
        """Its full name, as "PROBE/1/WAKEUP"; what other functions take to mean it."""
        return self._core.name

    @property
    def engine(self) -> str:
        """The registered name of its engine, as "PROBE/1"."""
        return self._core.engine

    @property
    def item(self) -> str:
        """Its name within its engine, as "WAKEUP"."""
        return self._core.item

    @property
    def kind(self) -> str:
        """The kind of its data: "BasicTrace", "ValueDouble", "long", "boolean", "enum" or "void"."""
        return self._core.kind

    @property
    def settable(self) -> bool:
        """Whether it is an attribute, which set() sets."""
        return self._core.settable

    @property
    def topic(self) -> str:
        """The topic on which its samples are published."""
        return self._core.topic

    @property
    def result(self) -> Result:
        """Its present value, asked for each time."""
        return self._core.get()

    def set(self, value: Union[str, int, float]) -> None:
        """Sets an attribute: a whole number, an enumeration by its number or name, a scalar as 2.5 or "2.5 ms"; an
        action is done by set("")."""
        self._core.set(value if isinstance(value, str) else repr(value))

    def monitor(self, timeout: Optional[float] = None, count: Optional[int] = None) -> Monitor:
        """Its results from now on; see Monitor."""
        return Monitor(self._session, self._session.subscribe([self._core]), self.name, timeout, count)

    def __repr__(self) -> str:
        """Its name and kind."""
        return f"<Reading {self.name}: {self.kind}{', settable' if self.settable else ''}>"
