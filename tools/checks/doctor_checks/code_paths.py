# SPDX-License-Identifier: Apache-2.0
"""Finds the files, nodes, ioctls, wake locks and headers that the daemon's code uses."""
from dataclasses import dataclass


@dataclass
class CodePaths:
    """Things that the code uses, each with the place of its first use.

    `paths`, `commands` (ioctls) and `headers` map to (file, line). `wake_lock` is the place of a call that
    acquires a wake lock, or None.
    """

    paths: dict
    commands: dict
    headers: dict
    wake_lock: tuple


def load_code_paths(tree):
    """Searches all sources and headers of the daemon."""
    sources = tree.glob("service/**/*.cpp") + tree.glob("service/**/*.h")
    # The SELinux policy identifies an ioctl by its type and number only.
    ioctls = tree.places(r"_IOW?R?\(('.',\s*\d+)\b", *sources)
    return CodePaths(
        paths=tree.places(r'"(/(?:data|dev|proc|sys)/[^"]*)"', *sources),
        commands={ord(ioctl[1]) << 8 | int(ioctl[4:]): place for ioctl, place in ioctls.items()},
        headers=tree.places(r"^#include <(\S+)>", *sources),
        wake_lock=tree.places(r"(acquire_wake_lock)\(", *sources).get("acquire_wake_lock"))
