#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Generates C++ code for HIDL packages from their description.

Usage: generate.py json|recorder VTS OUT FQNAME...

Reads the output of `hidl-gen -Lvts` below VTS. Writes into OUT, for the JSON form: types.h and types.cpp
with the conversions of the types, FQNAME.cpp with the methods of each package, and interfaces.json; for a
recorder (recorder/): decoders.cpp with the text of all types and calls, and entry_points.cpp with the
instrumentation functions of all interfaces.
"""
import json
import sys
from pathlib import Path

import cpp
import recorder
from description import describe
from model import load_packages


def main(form, vts, out, *fqnames):
    packages = load_packages(vts, fqnames)
    if form == "recorder":
        files = {"decoders.cpp": recorder.decoders_source(packages),
                 "entry_points.cpp": recorder.entry_points_source(packages)}
    else:
        files = {"types.h": cpp.types_header(packages), "types.cpp": cpp.types_source(packages),
                 "interfaces.json": json.dumps(describe(packages), indent=1) + "\n"}
        files.update((f"{package.fqname}.cpp", cpp.interfaces_source(package)) for package in packages)
    for name, text in files.items():
        Path(out, name).write_text(text)


if __name__ == "__main__":
    main(*sys.argv[1:])
