# SPDX-License-Identifier: Apache-2.0
"""The dev build, configured to compile several files as one: clang reads the headers of libraries less often."""
import json
import re
import subprocess
from pathlib import Path

HOME = Path(__file__).resolve().parent.parent.parent
FOLDER = HOME / "build/unity"


def configure():
    """Configures the build and generates its headers. Raises CalledProcessError."""
    quiet = {"cwd": HOME, "check": True, "stdout": subprocess.DEVNULL}
    subprocess.run(["cmake", "--preset", "dev", "-B", FOLDER, "-DCMAKE_UNITY_BUILD=ON"], **quiet)
    subprocess.run(["cmake", "--build", FOLDER, "--target", "hidl_sources"], **quiet)


def compilations():
    """Yields each compile command of the build, and the sources that it compiles as one."""
    for entry in json.loads((FOLDER / "compile_commands.json").read_text(encoding="utf-8")):
        file = Path(entry["file"])
        joined = re.findall(r'#include "(.+)"', file.read_text(encoding="utf-8")) if "/Unity/" in entry["file"] else []
        yield entry, [Path(name) for name in joined] or [file]
