# SPDX-License-Identifier: Apache-2.0
"""The exceptions of the package. Each carries the sentence of whoever refused."""


class Error(Exception):
    """Whatever goes wrong with a platform; the base of all exceptions of this package."""


class NotFound(Error, LookupError):
    """Nothing has this name or id: look it up again."""


class Refused(Error):
    """The other side understood and said no; its sentence tells why."""


class Unreachable(Error, ConnectionError):
    """The other side is away, or did not answer within the time limit: try later."""


class BadArgument(Error, ValueError):
    """The request makes no sense: correct it."""


class Timeout(Error, TimeoutError):
    """No result came within the time that was given to wait for one."""
