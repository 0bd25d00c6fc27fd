#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Generates the part of a recorder (recorder/) that depends on the recorded HIDL packages.

Usage: generate_recorder.py VTS OUT FQNAME...

Reads the output of `hidl-gen -Lvts` below VTS. Writes into OUT: decoders.cpp with the text of all types and
calls, and entry_points.cpp with the instrumentation functions of all interfaces.
"""
import sys
from pathlib import Path

from model import load_packages
from recorder import decoders_source, entry_points_source


def main(vts, out, *fqnames):
    packages = load_packages(vts, fqnames)
    Path(out, "decoders.cpp").write_text(decoders_source(packages))
    Path(out, "entry_points.cpp").write_text(entry_points_source(packages))


if __name__ == "__main__":
    main(*sys.argv[1:])
