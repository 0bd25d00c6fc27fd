# SPDX-License-Identifier: Apache-2.0
"""What the daemon's code uses of the TV: files and nodes, ioctls, wake locks, headers."""
import re
from dataclasses import dataclass, field

from .tree import line_of


@dataclass
class CodePaths:
    """{what: (file, line)} of the paths it opens, the commands it gives to nodes, the headers it includes;
    "file:line" of each call that takes a wake lock."""

    paths: dict = field(default_factory=dict)
    commands: dict = field(default_factory=dict)
    headers: dict = field(default_factory=dict)
    wake_locks: list = field(default_factory=list)


def load_code_paths(tree):
    """Looks through all sources and headers of the daemon."""
    result = CodePaths()
    for file in tree.glob("service/**/*.cpp") + tree.glob("service/**/*.h"):
        code = tree.code(file)
        for match in re.finditer(r'"(/(?:data|dev|proc|sys)/[^"]*)"', code):
            result.paths.setdefault(match[1], (file, line_of(code, match.start())))
        for match in re.finditer(r"_IOW?R?\('(.)',\s*(\d+)\b", code):
            # The policy knows a command by its type and number alone.
            result.commands.setdefault(ord(match[1]) << 8 | int(match[2]),
                                       (file, line_of(code, match.start())))
        for match in re.finditer(r"^#include <(\S+)>", code, re.MULTILINE):
            result.headers.setdefault(match[1], (file, line_of(code, match.start())))
        for match in re.finditer(r"acquire_wake_lock\(", code):
            result.wake_locks.append(f"{file}:{line_of(code, match.start())}")
    return result
