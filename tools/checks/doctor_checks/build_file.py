# SPDX-License-Identifier: Apache-2.0
"""Checks the build files of the daemon and its recorder for the TV: libraries, files in packaging/."""
import re

from .interfaces import versions
from .middleware import HEADER
from .tree import PACKAGE, line_of

FILE = "Android.bp"
RECORDER = "recorder/Android.bp"
PROGRAM = "/vendor/bin/hw/hidlaudio"
# Headers of the platform, and the libraries that provide them.
PLATFORM = (
    (r"android/log\.h", ("liblog",)),
    (r"android/hardware/audio/(\d+\.\d+)/.*",
     (r"android.hardware.audio@\1", r"android.hardware.audio.common@\1")),
    (r"com/tovi/.*|hidl/.*", ("libhidlbase", "libutils", "libcutils")),
    (r"hardware_legacy/power\.h", ("libpower",)),
)


def check_build_file(tree, headers):
    """Checks that the module names all needed libraries, and no missing version or file."""
    text = tree.read(FILE)
    quoted = {match[1]: line_of(text, match.start()) for match in re.finditer(r'"([^"\n]+)"', text)}
    wanted = [f"{PACKAGE}@{version}" for version in versions(tree)]
    wanted += _platform_libraries(headers) + vendor_libraries(tree)
    for name in wanted:
        if name not in quoted:
            tree.find(FILE, 1, f"shared_libs lacks {name}", f'add "{name}",')
    for name, line in quoted.items():
        if name.startswith(f"{PACKAGE}@") and name not in wanted:
            tree.find(FILE, line, f"{name} has no .hal files", "remove the line")
        if name.startswith("packaging/") and not tree.exists(name):
            tree.find(FILE, line, f"{name} does not exist", "use the name of a file in packaging/")


def check_recorder(tree):
    """Checks that the recorder has a library for each version."""
    text = tree.read(RECORDER)
    for version in versions(tree):
        library = f"{PACKAGE}@{version}"
        for name in (library, f"hidlaudio_recorder_{version}", f"{library}-recorder.profiler"):
            if f'"{name}"' not in text:
                tree.find(RECORDER, 1, f"lacks {name}", "add it as for the other versions")


def _platform_libraries(headers):
    """Returns the libraries whose headers the code includes."""
    matches = ((re.fullmatch(pattern, header), names) for header in headers for pattern, names in PLATFORM)
    return sorted({match.expand(name) for match, names in matches if match for name in names})


def vendor_libraries(tree):
    """Returns the libraries that are named in the header of the vendor's functions."""
    match = re.search(r"vendor's libraries \(([^)]*)\)", tree.read(HEADER))
    if not match:
        tree.find(HEADER, 1, "does not name the vendor's libraries",
                  "write: vendor's libraries (libone, libtwo)")
        return []
    return re.findall(r"lib\w+", match[1])
