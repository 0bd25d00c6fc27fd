# SPDX-License-Identifier: Apache-2.0
"""The enums and structs of the TV's interfaces by their short names, newest version of each."""
from . import programs as _programs


def __getattr__(name):
    if name.startswith("_"):
        raise AttributeError(name)
    known = _programs.types_of()
    full = known.newest(name)
    if full is None or full in known.interfaces:
        raise AttributeError(f"no type {name}")
    return known.class_of(full)


def __dir__():
    return _programs.types_of().short_names()
