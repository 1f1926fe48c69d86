# SPDX-License-Identifier: Apache-2.0
"""Math on the live measurements of an instrument.

    import lumenar

    with lumenar.Client("127.0.0.1:2700") as c:
        with c.average("PROBE/1/WAKEUP", size=10) as avg:
            for r in avg.monitor(timeout=5, count=20):
                print(r.time, r.value.mean(), r.unit)

A Client is the way to one platform, by the address of its naming service; a program may have several. Math objects
live in the engine: `with` deletes them, else they stay until somebody does. What goes wrong is a lumenar.Error.

Threads: all of it may be used from any thread. Fork: a process that is forked while a client is open cannot use the
package; fork before, close all clients before, or let multiprocessing start its children with "spawn".
"""

from lumenar._client import Client, Engine
from lumenar._core import Result
from lumenar._core import version as __version__
from lumenar._errors import BadArgument, Error, NotFound, Refused, Timeout, Unreachable
from lumenar._math import MathObject, State
from lumenar._monitor import Monitor
from lumenar._publication import Publication
from lumenar._reading import Reading

__all__ = [
    "BadArgument",
    "Client",
    "Engine",
    "Error",
    "MathObject",
    "Monitor",
    "NotFound",
    "Publication",
    "Reading",
    "Refused",
    "Result",
    "State",
    "Timeout",
    "Unreachable",
    "__version__",
]
