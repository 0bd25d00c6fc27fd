# SPDX-License-Identifier: Apache-2.0
"""Finds the files, nodes, ioctls, wake locks and headers that the daemon's code uses."""
import re
from dataclasses import dataclass, field

from .tree import line_of


@dataclass
class CodePaths:
    """What the code uses, with the place of its first use.

    `paths`, `commands` (ioctls) and `headers` map to (file, line). `wake_locks` holds "file:line" of each
    call that acquires a wake lock.
    """

    paths: dict = field(default_factory=dict)
    commands: dict = field(default_factory=dict)
    headers: dict = field(default_factory=dict)
    wake_locks: list = field(default_factory=list)


def load_code_paths(tree):
    """Searches all sources and headers of the daemon."""
    result = CodePaths()
    for file in tree.glob("service/**/*.cpp") + tree.glob("service/**/*.h"):
        code = tree.code(file)
        for match in re.finditer(r'"(/(?:data|dev|proc|sys)/[^"]*)"', code):
            result.paths.setdefault(match[1], (file, line_of(code, match.start())))
        for match in re.finditer(r"_IOW?R?\('(.)',\s*(\d+)\b", code):
            # The SELinux policy identifies an ioctl by its type and number only.
            result.commands.setdefault(ord(match[1]) << 8 | int(match[2]),
                                       (file, line_of(code, match.start())))
        for match in re.finditer(r"^#include <(\S+)>", code, re.MULTILINE):
            result.headers.setdefault(match[1], (file, line_of(code, match.start())))
        for match in re.finditer(r"acquire_wake_lock\(", code):
            result.wake_locks.append(f"{file}:{line_of(code, match.start())}")
    return result
