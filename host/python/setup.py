# SPDX-License-Identifier: Apache-2.0
"""Installs the package with pip. Version and metadata are those of the Debian package."""
import email
import re
import tempfile
from pathlib import Path

from setuptools import setup

here = Path(__file__).resolve().parent
metadata = email.message_from_string((here / "dist-info/METADATA.in").read_text(encoding="utf-8"))
version = (here.parent.parent / "service/platform/version.h").read_text(encoding="utf-8")
with tempfile.TemporaryDirectory() as work:  # so that nothing is left in the tree
    setup(name=metadata["Name"],
          version=re.search(r'kVersion\[\] = "([\d.]+)"', version)[1],
          description=metadata["Summary"],
          license=metadata["License"],
          python_requires=metadata["Requires-Python"],
          packages=["hidlaudio"],
          entry_points=(here / "dist-info/entry_points.txt.in").read_text(encoding="utf-8"),
          options={"build": {"build_base": work}, "egg_info": {"egg_base": work}})
