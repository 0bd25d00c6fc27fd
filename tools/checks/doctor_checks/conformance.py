# SPDX-License-Identifier: Apache-2.0
"""Checks that the conformance suite has a test for each method of each interface."""

FOLDER = "vts"


def check_tests(tree):
    """Checks that a test in vts/ begins with the name of each method, and that it names no other method."""
    tests = tree.places(r"^TEST(?:_P)?\(\w+, ([a-z]\w*)_\w+\)", *tree.glob(f"{FOLDER}/*.cpp"))
    methods = tree.places(r"^    (\w+)\([^;]*;", *tree.glob("interfaces/*/I*.hal"))
    for name, (file, line) in methods.items():
        if name not in tests:
            tree.find(FOLDER, 1, f"has no test of {name} ({file}:{line})",
                      f"add a test with a name such as {name}_ReturnsZero")
    for name, (file, line) in tests.items():
        if name not in methods:
            tree.find(file, line, f"names {name}, which is no method", "begin with the name of a method")
