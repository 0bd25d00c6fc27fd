# SPDX-License-Identifier: Apache-2.0
"""Tests of the virtual TV in Python: see docs/python.md."""
from . import programs as _programs
from . import types
from .client import Client, DeathLink, RemoteObject
from .errors import (CallTimeout, ClientEnded, DeadObject, HidlError, ServiceNotFound, TransactionError,
                     TvError)
from .log import LogLine
from .tools import Events, background
from .tv import Fault, Tv
from .tv_values import Command

__all__ = ["CallTimeout", "Client", "ClientEnded", "Command", "DeadObject", "DeathLink", "Events", "Fault",
           "HidlError", "LogLine", "RemoteObject", "ServiceNotFound", "TransactionError", "Tv", "TvError",
           "background", "type", "types"]


def type(name):
    """Returns the enum or dataclass of a full name, such as "a.b@1.0::IC.D"."""
    return _programs.types_of().class_of(name)
