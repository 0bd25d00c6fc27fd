# SPDX-License-Identifier: Apache-2.0
"""The folder of the virtual TV's programs, and the description of its interfaces."""
import functools
import os
import shutil
from pathlib import Path

from .errors import TvError
from .values import Types

PRIVATE_FOLDER = "lib/hidlaudio"  # below the prefix of an installation
_chosen = None


def choose(folder):
    """Uses the programs in this folder. Called by the pytest plugin."""
    global _chosen
    _chosen = Path(folder).resolve()


def _candidates():
    if _chosen:
        return [_chosen]
    if os.environ.get("HIDLAUDIO_PROGRAMS"):
        return [Path(os.environ["HIDLAUDIO_PROGRAMS"]).resolve()]
    found = [Path(__file__).resolve().parents[3] / "build/bin"]
    in_path = shutil.which("tv")
    return found + [Path(in_path).resolve().parent] if in_path else found


def program(name):
    """Returns the path of a program. Raises TvError if it is not there."""
    folders = _candidates()
    for folder in folders:
        for file in (folder / name, folder.parent / PRIVATE_FOLDER / name):
            if file.is_file():
                return file
    raise TvError(f"no program {name} in {' or '.join(map(str, folders))}; build it, or set HIDLAUDIO_PROGRAMS")


@functools.lru_cache(maxsize=None)
def _types(file):
    return Types(file)


def types_of(client_program=None):
    """Returns the Types of a client program; default: the one for this TV's interfaces."""
    file = client_program or program("hidl_client")
    return _types(Path(str(file) + ".json"))
