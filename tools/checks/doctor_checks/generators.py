# SPDX-License-Identifier: Apache-2.0
"""Checks the output of hidl-gen for the interfaces."""
import re
import subprocess
import tempfile
from itertools import zip_longest
from pathlib import Path

from .interfaces import FOLDER, ROOTS, versions
from .tree import PACKAGE

LANGUAGES = ("check", "hash", "androidbp", "java")
UPREV = ("move it to the next minor version of the interface that it extends, a new interface to a new major"
         " version, or extend one of the version before beside it (current.txt explains the version numbers)")
# Errors that the comparison with current.txt also finds, with a better message.
FROZEN = r"does not match hash on record|cannot depend on unfrozen"


def check_generators(tree, hidl_gen):
    """Checks that hidl-gen generates each version in all languages that the TV's build uses."""
    for version in versions(tree):
        with tempfile.TemporaryDirectory() as folder:
            complaints = [_run(tree, hidl_gen, version, language, folder) for language in LANGUAGES]
            if not any(complaints):
                _compare_blueprint(tree, version, Path(folder) / FOLDER / version / "Android.bp")
        for language, complaint in zip(LANGUAGES, complaints):
            if complaint and not re.search(FROZEN, complaint):
                fix = UPREV if "minor version uprev" in complaint else "correct the .hal file that it names"
                tree.find(f"{FOLDER}/{version}", 1, f"hidl-gen -L{language} fails: {complaint}", fix)
                break


def _run(tree, hidl_gen, version, language, folder):
    """Runs hidl-gen. Returns its error message, or an empty string if it succeeded."""
    command = [hidl_gen, f"-L{language}", "-o", folder, *ROOTS, f"{PACKAGE}@{version}"]
    try:
        result = subprocess.run(command, cwd=tree.root, capture_output=True, text=True, timeout=60,
                                check=False)
    except (OSError, subprocess.TimeoutExpired) as error:
        return str(error)
    return "" if result.returncode == 0 else _first_error(result.stderr) or f"status {result.returncode}"


def _first_error(text):
    """Returns the first error line. Later errors are its consequences."""
    lines = text.splitlines()
    return next((line for line in lines if line.startswith("ERROR")), " ".join(text.split()))


def _compare_blueprint(tree, version, generated):
    file = f"{FOLDER}/{version}/Android.bp"
    if not tree.exists(file):
        tree.find(file, 1, "does not exist",
                  f"run: hidl-gen -Landroidbp -o . {' '.join(ROOTS)} {PACKAGE}@{version}")
        return
    wanted = generated.read_text(encoding="utf-8").splitlines()
    present = tree.read(file).splitlines()
    for number, (is_there, should_be) in enumerate(zip_longest(present, wanted), 1):
        if is_there != should_be:
            problem = "does not generate this line" if should_be is None else f"generates: {should_be.strip()}"
            tree.find(file, number, f"hidl-gen -Landroidbp {problem}", "use the generated text")
            return
