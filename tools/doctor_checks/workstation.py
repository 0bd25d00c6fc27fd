# SPDX-License-Identifier: Apache-2.0
"""The workstation's commands know each service in its newest version, and leave nothing of their own out."""
import re
from pathlib import PurePath

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


def check_commands(tree):
    """Each source is built and each subcommand taken: one left out breaks no build."""
    for folder in ("client", "host/tv"):
        _check_built(tree, folder)
        _check_taken(tree, f"{folder}/commands.h", f"{folder}/command_line.cpp")


def _check_built(tree, folder):
    build_file = f"{folder}/CMakeLists.txt"
    named = set(re.findall(r"[\w/]+\.cpp", tree.read(build_file)))
    for file in tree.glob(f"{folder}/*.cpp"):
        if PurePath(file).name not in named:
            tree.find(build_file, 1, f"does not build {file}", "list it in the library's add_library")


def _check_taken(tree, header, command_line):
    code = tree.code(header)
    declared = {match[1]: line_of(code, match.start()) for match in re.finditer(r"\b(add\w+)\(CLI::App&", code)}
    used = set(re.findall(r"\badd\w+", tree.code(command_line)))
    for name, line in declared.items():
        if name not in used:
            tree.find(command_line, 1, f"takes no {name} ({header}:{line})", "name it among the subcommands")
