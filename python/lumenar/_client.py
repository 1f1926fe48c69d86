# SPDX-License-Identifier: Apache-2.0
"""The way to a platform."""

from __future__ import annotations

import atexit
import weakref
from typing import List, NamedTuple, Optional, Sequence, Union

from lumenar import _core
from lumenar._block import ClosedByBlock
from lumenar._errors import BadArgument
from lumenar._math import MathObject
from lumenar._monitor import Monitor
from lumenar._publication import Axis, Form, Publication, Value
from lumenar._reading import Reading

Input = Union[str, Reading, MathObject, Publication]

# What is open at the end of the interpreter is closed while that still can be done.
atexit.register(_core.end_all)


class Engine(NamedTuple):
    """An engine that is known to the naming service."""

    name: str
    """Its registered name, as "PROBE/1"."""
    address: str
    """HOST:PORT of its process; empty when unknown."""
    version: str
    """The version of the platform that it is built from; empty when unknown."""
    problem: str
    """Why it could not be asked; empty when it answers."""


class Client(ClosedByBlock):
    """A client of one platform.

        with lumenar.Client("127.0.0.1:2700") as c:
            print(c.readings())

    Several may be open at a time, to one platform or to several. An input is named as "PROBE/1/WAKEUP", as
    "WAKEUP" where just one reading fits, as "math:3" for the result of a math object, or given as an object of this
    package.

    close(), `with`, or the end of the program close it, or that nobody holds it nor what was made with it: its
    monitors end and its publications are withdrawn, while its math objects stay in the engine.
    """

    def __init__(self, address: Optional[str] = None, timeout: float = 5.0) -> None:
        """`address` is HOST:PORT of the naming service; without one, LUMENAR_NAMING names it, else it is that for which
        the package was built. Nobody needs to answer yet. `timeout` limits each remote call, in seconds; of clients
        that are open together the longest counts for all."""
        self._session = _core.Session(address, timeout)
        self._published: weakref.WeakValueDictionary[str, Publication] = weakref.WeakValueDictionary()

    @property
    def naming_address(self) -> str:
        """HOST:PORT of the naming service."""
        return self._session.naming_address

    @property
    def closed(self) -> bool:
        """Whether it was closed."""
        return self._session.closed

    def close(self) -> None:
        """Closes it. A second call does nothing."""
        self._session.close()

    def __repr__(self) -> str:
        """The platform's address."""
        return "<Client, closed>" if self.closed else f"<Client of {self.naming_address}>"

    # ---- what there is ----------------------------------------------------------------------------------------------

    def engines(self) -> List[Engine]:
        """Every engine, also those that do not answer, by name."""
        return [Engine(e.name, e.address, e.version, e.problem) for e in self._session.engines()]

    def readings(self) -> List[Reading]:
        """All readings and attributes of all engines that answer."""
        return [Reading(self._session, core) for core in self._session.readings()]

    def reading(self, name: str) -> Reading:
        """The reading that a name means."""
        return Reading(self._session, self._session.find(name))

    def monitor(
        self, inputs: Sequence[Input], timeout: Optional[float] = None, count: Optional[int] = None
    ) -> Monitor:
        """The results of several readings in the order in which they come; the `name` of each tells whose it is."""
        if isinstance(inputs, str) or not isinstance(inputs, Sequence):
            inputs = [inputs]
        cores = [self._core_of(each) for each in inputs]
        if not cores:
            raise BadArgument("there is nothing to follow")
        what = ", ".join(core.name for core in cores)
        return Monitor(self._session, self._session.subscribe(cores), what, timeout, count)

    # ---- math -------------------------------------------------------------------------------------------------------

    def types(self) -> List[str]:
        """The operations that there are, as create() takes them."""
        return self._session.types()

    def create(self, type: str, inputs: Sequence[Input]) -> MathObject:
        """A new math object of an operation, as "Average", over its inputs."""
        if isinstance(inputs, str) or not isinstance(inputs, Sequence):
            raise BadArgument(f"inputs is a list of inputs, not {inputs!r}")
        cores = [self._core_of(each) for each in inputs]
        return MathObject(self._session, self._session.create(type, cores))

    def average(self, input: Input, size: Optional[int] = None) -> MathObject:
        """The mean of the last `size` samples, 1 to 99, in linear units; without a size that with which the engine
        begins."""
        average = self.create("Average", [input])
        if size is None:
            return average
        try:
            average.size = size
        except BaseException:
            average.delete()
            raise
        return average

    def peak(self, input: Input) -> MathObject:
        """The greatest value since its creation or reset(), of a trace point by point."""
        return self.create("Peak", [input])

    def subtract(self, a: Input, b: Input) -> MathObject:
        """a - b, in linear units."""
        return self.create("Subtract", [a, b])

    def relative_subtract(self, a: Input, b: Input) -> MathObject:
        """The distance of two levels: the numbers in decibels are subtracted as they stand. One of the two at least is
        in decibels, and `a` has a unit."""
        return self.create("RelativeSubtract", [a, b])

    def cumulative_add(self, trace: Input, start: Input, stop: Input) -> MathObject:
        """The sum of a trace's samples from the point `start` to the point `stop`, both inclusive, in linear units; the
        two are readings or attributes of whole numbers."""
        return self.create("CumulativeAdd", [trace, start, stop])

    def object(self, id: int) -> MathObject:
        """The live math object of a number."""
        return MathObject(self._session, self._session.object(id))

    def objects(self) -> List[MathObject]:
        """All live math objects, whoever created them."""
        return [MathObject(self._session, info) for info in self._session.objects()]

    # ---- readings of one's own --------------------------------------------------------------------------------------

    def publish(
        self,
        name: str,
        value: Value,
        unit: str = "",
        x: Axis = None,
        x_unit: str = "",
        minus: float = 0.0,
        plus: float = 0.0,
    ) -> Publication:
        """Publishes a reading of one's own under a name as "MYLAB/1/BASELINE", or "MYLAB/BASELINE" for any instance
        that is free.

        `value` is an array of one dimension (a trace), a float (a scalar, with its errors minus <= 0 <= plus), an int
        without a unit (a whole number) or a bool. `unit` is as "dBm". `x` is the axis of a trace, or the distance of
        its points, in `x_unit`, as "kHz": the distance travels with the samples, the beginning does not. The trace is
        copied; change the array afterwards as you like. Under a name that this client has published already it is the
        next sample, and the same publication."""
        form = Form(unit, x, x_unit)
        known = self._published.get(name)
        if known is not None and not known.closed:
            known._renew(form, value, minus, plus)
            return known
        publication = Publication(self._session, self._session.publish(name, form.record(value, minus, plus)), form)
        self._published[name] = self._published[publication.name] = publication
        return publication

    def _core_of(self, input: Input) -> _core.Reading:
        if isinstance(input, MathObject):
            input = input.reading
        if isinstance(input, Reading):
            return self._own(input)
        if isinstance(input, Publication):
            return self._session.find(input.name)
        if isinstance(input, str):
            return self._session.find(input)
        raise BadArgument(f"an input is a name, a reading, a math object or a publication, not {input!r}")

    def _own(self, reading: Reading) -> _core.Reading:
        here, there = self.naming_address, reading._session.naming_address
        if here != there:
            raise BadArgument(f"{reading.name} is a reading of the platform at {there}, not of that at {here}")
        return reading._core
