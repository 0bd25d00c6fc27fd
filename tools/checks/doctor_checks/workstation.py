# SPDX-License-Identifier: Apache-2.0
"""Checks that `audioctl` lists all services, and that `audioctl` and `tv` use all their subcommands."""
import re

from .interfaces import MAIN, full_name
from .tree import line_of

KNOWN = "client/services/known_services.cpp"


def check_known_services(tree, services):
    """Checks that `audioctl` lists the registered services and no others, in their newest versions."""
    newest = {service.chain[0]: service.line for service in services}
    code = tree.code(KNOWN)
    known = {(f"{match[1]}.{match[2]}", match[3]): line_of(code, match.start())
             for match in re.finditer(r"\bV(\d+)_(\d+)::(\w+)::descriptor", code)}
    for key, line in newest.items():
        if key not in known:
            version = key[0].replace(".", "_")
            tree.find(KNOWN, 1, f"lacks {full_name(*key)} ({MAIN}:{line})",
                      f'write: {{"SHORT-NAME", audio::V{version}::{key[1]}::descriptor}},')
    for key, line in known.items():
        if key not in newest:
            tree.find(KNOWN, line, f"names {full_name(*key)}, which {MAIN} does not register",
                      "name the newest version, or remove the row")


def check_commands(tree):
    """Checks that each subcommand is added to its command line. The build does not detect a missing one."""
    for folder in ("client", "host/tv"):
        command_line = f"{folder}/command_line.cpp"
        used = set(re.findall(r"\badd\w+", tree.code(command_line)))
        declared = tree.places(r"\b(add\w+)\((?:host::)?Command app\b", f"{folder}/commands.h")
        for name, (file, line) in declared.items():
            if name not in used:
                tree.find(command_line, 1, f"does not call {name} ({file}:{line})", "add it to the subcommands")
