# SPDX-License-Identifier: Apache-2.0
"""Checks the vendor's functions in the integrator's page and in the virtual TV."""
import posixpath
import re

from .tree import line_of

HEADER = "service/platform/soc_middleware.h"
PAGE = "packaging/README.md"
FAULTS = "host/middleware/functions.h"


def load_functions(tree):
    """Returns {name: line} of the vendor's functions that the daemon declares."""
    places = tree.places(r"^\w+ \*?(\w+)\([^)]*\)(?:\s+REQUIRES\(\w+\))?;", HEADER)
    return {name: line for name, (_, line) in places.items()}


def check_page(tree, functions, paths):
    """Checks that the page lists all functions and paths that the code uses, and no other function."""
    text = tree.read(PAGE)
    for name, line in functions.items():
        if f"`{name}`" not in text:
            tree.find(PAGE, 1, f"does not name {name} ({HEADER}:{line})", "add it to the table of functions")
    for match in re.finditer(r"^\| `(\w+)` \| lib\w+ \|", text, re.MULTILINE):
        if match[1] not in functions:
            tree.find(PAGE, line_of(text, match.start()), f"names {match[1]}, which the daemon does not call",
                      "remove the row")
    for path, (file, line) in paths.items():
        if f"`{path}`" not in text:
            tree.find(PAGE, 1, f"does not name {path} ({file}:{line})", "add it to the table of files")


def check_virtual_tv(tree, functions):
    """Checks that the virtual TV implements each function and can make it fail."""
    listed = tree.places(r'"(\w+)"', FAULTS)
    for name, line in functions.items():
        if name not in listed:
            tree.find(FAULTS, 1, f"lacks {name} ({HEADER}:{line})",
                      "add it to the list, and call injectedStatus in it")
    sources = "".join(tree.code(file) for file in tree.glob(f"{posixpath.dirname(FAULTS)}/*.cpp"))
    for name, (_, line) in listed.items():
        if name not in functions:
            tree.find(FAULTS, line, f"names {name}, which the daemon does not call", "remove it")
        elif f'"{name}"' not in sources:
            tree.find(FAULTS, line, f"names {name}, which no source in its folder implements",
                      f'implement it, with injectedStatus("{name}") before it works')
