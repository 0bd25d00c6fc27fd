# SPDX-License-Identifier: Apache-2.0
"""Builds the daemon with a fault of this folder, in a copy of the tree."""

import filecmp
import os
import shutil
import subprocess
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
TREE = HERE.parents[1]
WORK = Path(os.environ.get("WORK", TREE / "build/field"))
HEALTHY = "healthy"


def chosen(arguments):
    """Returns the faults that the user has named, or all. Exits if there is none of that name."""
    known = sorted(patch.stem for patch in HERE.glob("*.patch"))
    unknown = [name for name in arguments if name not in known]
    if unknown:
        sys.exit(f"{unknown[0]} is not a fault of {HERE}. The faults are:\n  " + "\n  ".join(known))
    return arguments or known


def _copy_tree():
    """Copies the files that differ. Their new times make the next build compile them."""
    listing = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=TREE,
                             capture_output=True, check=True).stdout.decode()
    for name in filter(None, listing.split("\0")):
        source, copy = TREE / name, WORK / "src" / name
        if not source.is_file():
            continue
        if not copy.is_file() or not filecmp.cmp(source, copy, shallow=False):
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, copy)


def _run(*command):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, cwd=WORK / "src", check=False)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))} failed:\n{done.stdout.decode(errors='replace')}")


def build(name):
    """Builds the daemon with a fault, or HEALTHY. Returns the program's path."""
    _copy_tree()
    if not (WORK / "src/build/CMakeCache.txt").exists():
        _run("cmake", "--preset", "dev")
    if name != HEALTHY:
        _run("patch", "-s", "-p1", "-i", HERE / f"{name}.patch")
    _run("nice", "-n", "5", "cmake", "--build", "build", "-j2", "--target", "hidlaudio")
    daemon = WORK / "daemons" / name / "bin/hidlaudio"
    daemon.parent.mkdir(parents=True, exist_ok=True)
    daemon.unlink(missing_ok=True)
    libraries = daemon.parent.parent / "lib"
    libraries.unlink(missing_ok=True)
    libraries.symlink_to(WORK / "src/build/lib")
    shutil.copy(WORK / "src/build/bin/hidlaudio", daemon)
    return daemon
