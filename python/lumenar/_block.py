# SPDX-License-Identifier: Apache-2.0
"""What a `with` block ends."""

from __future__ import annotations

from types import TracebackType
from typing import Optional, Type, TypeVar

T = TypeVar("T", bound="EndedByBlock")


class EndedByBlock:
    """Ends with the `with` block that it is made for, however that is left."""

    def _end(self) -> None:
        """What the end of the block does."""
        raise NotImplementedError

    def __enter__(self: T) -> T:
        """Itself."""
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        value: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        """Ends it."""
        self._end()


class ClosedByBlock(EndedByBlock):
    """The same for what has a `close`."""

    def close(self) -> None:
        """Ends it. A second call does nothing."""
        raise NotImplementedError

    def _end(self) -> None:
        self.close()
