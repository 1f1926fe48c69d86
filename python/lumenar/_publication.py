# SPDX-License-Identifier: Apache-2.0
"""Readings that a program offers itself."""

from __future__ import annotations

import numbers
from typing import Optional, Tuple, Union

import numpy as np
import numpy.typing as npt

from lumenar import _core
from lumenar._block import ClosedByBlock
from lumenar._errors import BadArgument

Value = Union[npt.ArrayLike, float, int, bool]
Axis = Union[None, float, npt.ArrayLike]


class Publication(ClosedByBlock):
    """A reading that this program publishes: others see it like one of an instrument, and math computes on it.

        with c.publish("MYLAB/1/BASELINE", array, unit="dBm") as baseline:
            baseline.publish(next_array)

    It is withdrawn by close(), by `with`, with its client and with the program, and when nobody holds it any more.
    """

    def __init__(self, session: _core.Session, core: _core.Publication, form: Form) -> None:
        """Made by Client.publish()."""
        self._session = session  # which would close with the last who holds it
        self._core = core
        self._form = form

    @property
    def name(self) -> str:
        """Its full name, as "MYLAB/1/BASELINE"."""
        return self._core.name

    @property
    def closed(self) -> bool:
        """Whether it was withdrawn."""
        return self._core.closed

    def publish(self, value: Value, minus: float = 0.0, plus: float = 0.0) -> None:
        """Publishes the next sample, in the same unit and with the same axis; of a scalar with its errors. Returns when
        the topic manager has it. The kind stays that of the first sample."""
        self._core.publish(self._form.record(value, minus, plus))

    def _renew(self, form: Form, value: Value, minus: float, plus: float) -> None:
        self._core.publish(form.record(value, minus, plus))
        self._form = form

    def close(self) -> None:
        """Withdraws it. A second call does nothing."""
        self._core.close()

    def __repr__(self) -> str:
        """Its name."""
        return f"<Publication {self.name}{', withdrawn' if self.closed else ''}>"


class Form:
    """What all samples of a publication have in common: its unit and its axis."""

    def __init__(self, unit: str, x: Axis, x_unit: str) -> None:
        """`x` is an axis of the same length as the trace, or the distance of its points."""
        self._unit = unit
        self._x_step, self._points = _step(x)
        self._x_unit = x_unit

    def record(self, value: Value, minus: float, plus: float) -> _core.Record:
        """The value as a record; its kind follows from its type."""
        if isinstance(value, np.ndarray) and value.ndim == 0:
            value = value.item()
        if isinstance(value, (bool, np.bool_)):
            self._refuse_unit("a boolean")
            return _core.boolean_record(bool(value))
        if isinstance(value, numbers.Integral) and not self._unit and minus == 0 and plus == 0:
            if not -(2**31) <= int(value) < 2**31:
                raise BadArgument(f"{int(value)} is no whole number of 32 bits; publish {float(value)!r} instead")
            return _core.long_record(int(value))
        if isinstance(value, numbers.Real):
            if not minus <= 0 <= plus:
                raise BadArgument(f"minus must be 0 or less and plus 0 or more, not {minus!r} and {plus!r}")
            return _core.scalar_record(float(value), minus, plus, self._unit)
        return self._trace(value)

    def _refuse_unit(self, what: str) -> None:
        if self._unit:
            raise BadArgument(f"{what} has no unit, not {self._unit!r} either")

    def _trace(self, value: Value) -> _core.Record:
        samples = _samples(value)
        if self._points is not None and samples.shape != (self._points,):
            raise BadArgument(f"the trace has the shape {samples.shape}, its axis x {self._points} points")
        return _core.trace_record(samples, self._unit, self._x_step, self._x_unit)


def _samples(value: Value) -> npt.NDArray[np.float32]:
    """The value as float32."""
    try:
        array = np.asarray(value)
    except ValueError as reason:
        raise BadArgument(f"cannot publish {type(value).__name__}: {reason}") from None
    if array.dtype.kind not in "fiub":
        what = f"{type(value).__name__} of {array.dtype}"
        raise BadArgument(f"cannot publish {what}: a trace is an array of real numbers")
    if array.ndim != 1:
        raise BadArgument(f"a trace has one dimension, not {array.ndim}")
    with np.errstate(over="ignore"):
        samples = array.astype(np.float32, copy=False)
    if samples is not array and bool(np.any(np.isinf(samples) & np.isfinite(array))):
        raise BadArgument("a sample is beyond the range of float32")
    return samples


def _step(x: Axis) -> Tuple[float, Optional[int]]:
    """The distance of two points, and how many there are where that is known."""
    if x is None:
        return 0.0, None
    axis = np.asarray(x)
    if axis.dtype.kind not in "fiu":
        raise BadArgument(f"x is an axis, or the distance of two points, not {axis.dtype}")
    axis = axis.astype(np.float64)
    if not np.all(np.isfinite(axis)):
        raise BadArgument("x has to be finite")
    if axis.ndim == 0:
        return float(axis), None
    if axis.ndim != 1 or axis.size < 2:
        raise BadArgument("an axis x has one dimension and two points at least")
    step = float((axis[-1] - axis[0]) / (axis.size - 1))
    if step == 0 or bool(np.any(np.abs(np.diff(axis) - step) > 1e-3 * abs(step))):
        raise BadArgument("the points of an axis x have the same distance each")
    return step, int(axis.size)
