# SPDX-License-Identifier: Apache-2.0
"""The workstation's commands know each service that the daemon registers, in its newest version."""
import re

from .interfaces import MAIN, full_name
from .tree import PACKAGE, line_of

# The file, how it names a service, and the row to add.
LISTS = (
    ("client/known_services.cpp", r"\bV(\d+)_(\d+)::(\w+)::descriptor",
     '{{"SHORT-NAME", audio::V{version}::{name}::descriptor}},'),
    ("host/tv/registry.cpp", rf'"{re.escape(PACKAGE)}@(\d+)\.(\d+)::(\w+)"', '{{"hidlaudio", "{full}"}},'),
)


def check_lists(tree, services):
    """Each list holds the registered services and no others."""
    newest = {service.chain[0]: service.line for service in services}
    for file, pattern, row in LISTS:
        code = tree.code(file)
        listed = {(f"{match[1]}.{match[2]}", match[3]): line_of(code, match.start())
                  for match in re.finditer(pattern, code)}
        for key, line in newest.items():
            if key not in listed:
                version = key[0].replace(".", "_")
                tree.find(file, 1, f"lacks {full_name(*key)} ({MAIN}:{line})",
                          f"write: {row.format(version=version, name=key[1], full=full_name(*key))}")
        for key, line in listed.items():
            if key not in newest:
                tree.find(file, line, f"names {full_name(*key)}, which is registered by no row of {MAIN}",
                          "name the newest version, or remove the row")
