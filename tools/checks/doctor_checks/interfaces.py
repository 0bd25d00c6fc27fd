# SPDX-License-Identifier: Apache-2.0
"""Checks the interfaces of the package and the services that the daemon registers."""
import hashlib
import re
from dataclasses import dataclass
from pathlib import PurePath

from .tree import PACKAGE, line_of

FOLDER = "interfaces"
FROZEN = f"{FOLDER}/current.txt"
MAIN = "service/main.cpp"
ROOTS = ("-p", ".", "-r", f"{PACKAGE}:{FOLDER}", "-r", "android.hidl:host/interfaces/hidl")
UNDO = "undo the edit, and make the change in a new version (see current.txt)"


@dataclass(frozen=True)
class Interface:
    """An interface of one version. `parent` is the (version, name) that it extends, or None."""

    version: str
    name: str
    parent: tuple
    file: str
    line: int


@dataclass(frozen=True)
class Service:
    """A registered service. `chain` holds its (version, name) and those that it extends, newest first."""

    name: str
    chain: tuple
    line: int


def version_key(version):
    """Returns a sort key that puts 10.0 after 9.1."""
    return tuple(int(number) for number in version.split("."))


def full_name(version, name):
    """Returns the fully qualified HIDL name."""
    return f"{PACKAGE}@{version}::{name}"


def versions(tree):
    """Returns the package's versions, oldest first."""
    folders = {file.split("/")[1] for file in tree.glob(f"{FOLDER}/*/*.hal")}
    return sorted((name for name in folders if re.fullmatch(r"\d+\.\d+", name)), key=version_key)


def hal_files(tree):
    """Yields (version, name, file) of all .hal files, oldest version first."""
    for version in versions(tree):
        for file in tree.glob(f"{FOLDER}/{version}/*.hal"):
            yield version, PurePath(file).stem, file


def load_interfaces(tree):
    """Returns all interfaces by (version, name). Reports files that cannot be parsed."""
    result = {}
    for version, name, file in hal_files(tree):
        _check_package(tree, file, version)
        interface = _load_interface(tree, file, version, name) if name != "types" else None
        if interface:
            result[version, name] = interface
    if not result:
        tree.find(FOLDER, 1, "contains no interface", "restore it from version control")
    return result


def _check_package(tree, file, version):
    code = tree.code(file)
    match = re.search(r"^package\s+([\w.@]+)\s*;", code, re.MULTILINE)
    expected = f"{PACKAGE}@{version}"
    if not match or match[1] != expected:
        line = line_of(code, match.start()) if match else 1
        tree.find(file, line, f"is not in package {expected}", f"write: package {expected};")


def _load_interface(tree, file, version, name):
    code = tree.code(file)
    match = re.search(r"^interface\s+(\w+)\s*(?:extends\s+@([\d.]+)::(\w+)\s*)?\{", code, re.MULTILINE)
    if not match or match[1] != name:
        line = line_of(code, match.start()) if match else 1
        tree.find(file, line, f"does not declare interface {name}", "name the interface as its file")
        return None
    parent = (match[2], match[3]) if match[2] else None
    return Interface(version, name, parent, file, line_of(code, match.start()))


def chain_of(interfaces, key):
    """Returns `key` and the interfaces that it extends, newest first. Stops at a missing one."""
    chain = []
    while key in interfaces and key not in chain:
        chain.append(key)
        key = interfaces[key].parent
    return tuple(chain)


def load_services(tree, interfaces):
    """Returns the services in the registration table of the daemon's main.cpp."""
    code = tree.code(MAIN)
    pattern = r"service<V(\d+)_(\d+)::(\w+),\s*V\d+_\d+::implementation::\w+>"
    services = []
    for match in re.finditer(pattern, code):
        key = (f"{match[1]}.{match[2]}", match[3])
        line = line_of(code, match.start())
        if key in interfaces:
            services.append(Service(key[1], chain_of(interfaces, key), line))
        else:
            tree.find(MAIN, line, f"registers {full_name(*key)}, which has no .hal file",
                      f"add {FOLDER}/{key[0]}/{key[1]}.hal or register an existing version")
    if not services:
        tree.find(MAIN, 1, "the table of services cannot be parsed",
                  "write each row as service<V1_0::IName, V1_0::implementation::Name>(…)")
    return services


def check_extends(tree, interfaces):
    """Checks that each extended interface exists."""
    for interface in interfaces.values():
        if interface.parent and interface.parent not in interfaces:
            tree.find(interface.file, interface.line,
                      f"extends {full_name(*interface.parent)}, which does not exist",
                      "extend the newest existing version")


def check_registered(tree, interfaces, services):
    """Checks that each interface belongs to a registered service, unless clients implement it."""
    reached = {key for service in services for key in service.chain}
    lines = {service.name: service.line for service in services}
    for key, interface in interfaces.items():
        if key in reached or (interface.name not in lines and _is_argument(tree, interfaces, interface)):
            continue
        row = f"V{key[0].replace('.', '_')}::{interface.name}"
        tree.find(MAIN, lines.get(interface.name, 1), f"{full_name(*key)} is not implemented by any service",
                  f"implement it and register {row} in the table")
    for name in sorted({s.name for s in services if sum(o.name == s.name for o in services) > 1}):
        tree.find(MAIN, lines[name], f"{name} is registered twice", "keep the row of its newest version")


def _is_argument(tree, interfaces, interface):
    """Returns whether a method takes the interface as argument, so that clients implement it."""
    pattern = re.compile(rf"\b{interface.name}\s+\w+\s*[,)]")
    return any(pattern.search(tree.code(other.file)) for other in interfaces.values())


def check_frozen(tree):
    """Checks that current.txt holds the hashes of all .hal files and no others."""
    frozen = _frozen_hashes(tree)
    files = {full_name(version, name): file for version, name, file in hal_files(tree)}
    for name, file in files.items():
        digest = hashlib.sha256(tree.read(file).encode("utf-8")).hexdigest()
        if name not in frozen:
            tree.find(FROZEN, 1, f"{name} is not frozen", f"add the line: {digest} {name}")
        elif digest not in frozen[name]:
            tree.find(file, 1, f"is frozen in {FROZEN}:{frozen[name][max(frozen[name])]}, but has changed",
                      UNDO)
    for name, hashes in frozen.items():
        if name not in files:
            tree.find(FROZEN, min(hashes.values()), f"{name} has no .hal file",
                      "remove the line or restore the file")


def _frozen_hashes(tree):
    """Returns {name: {hash: line}}. Reports lines that are not a hash and a name."""
    frozen = {}
    for number, text in tree.lines(FROZEN, comment="#"):
        match = re.fullmatch(r"([0-9a-f]{64}) (\S+)", text)
        if match:
            frozen.setdefault(match[2], {})[match[1]] = number
        else:
            tree.find(FROZEN, number, f"is not a hash and a name: {text}",
                      "write the line that hidl-gen -Lhash prints")
    return frozen
