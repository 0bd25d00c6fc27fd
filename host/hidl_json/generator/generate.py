#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Generates the JSON form of HIDL packages.

Usage: generate.py VTS OUT FQNAME...

Reads the output of `hidl-gen -Lvts` below VTS. Writes into OUT: types.h and types.cpp with the conversions
of the types, FQNAME.cpp with the methods of each package, and interfaces.json.
"""
import json
import sys
from pathlib import Path

import cpp
from description import describe
from model import load_packages


def main(vts, out, *fqnames):
    packages = load_packages(vts, fqnames)
    out = Path(out)
    (out / "types.h").write_text(cpp.types_header(packages))
    (out / "types.cpp").write_text(cpp.types_source(packages))
    for package in packages:
        (out / f"{package.fqname}.cpp").write_text(cpp.interfaces_source(package))
    (out / "interfaces.json").write_text(json.dumps(describe(packages), indent=1) + "\n")


if __name__ == "__main__":
    main(*sys.argv[1:])
