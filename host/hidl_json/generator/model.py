# SPDX-License-Identifier: Apache-2.0
"""The types and interfaces of HIDL packages, from the blocks of vts_text."""
import re
from dataclasses import dataclass, field
from pathlib import Path

from vts_text import parse

SCALARS = {"bool_t": "bool", "float_t": "float", "double_t": "double"}
KINDS = {"TYPE_STRUCT": "struct", "TYPE_ENUM": "enum", "TYPE_MASK": "mask", "TYPE_STRING": "string",
         "TYPE_VECTOR": "vec", "TYPE_ARRAY": "array", "TYPE_HANDLE": "handle",
         "TYPE_HIDL_CALLBACK": "interface", "TYPE_HIDL_INTERFACE": "interface"}


@dataclass
class Type:
    """Type of a value. `kind` is a scalar's name, a value of KINDS, or "unsupported"."""

    kind: str
    name: str = ""        # C++ name of a struct, enum or interface; the type's name if it is not supported
    of: "Type" = None     # element of a vector or array
    size: int = 0         # of an array


@dataclass
class Value:
    """An argument, a result, or a member of a struct."""

    name: str
    type: Type


@dataclass
class Definition:
    """A struct with its `fields`, or an enum with its `storage` and `values`."""

    name: str
    fields: list = field(default_factory=list)
    storage: str = ""
    values: list = field(default_factory=list)  # (name, number)


@dataclass
class Method:
    name: str
    arguments: list
    results: list
    unsupported: str = ""  # the type because of which it cannot be called


@dataclass
class Interface:
    name: str     # C++ name
    methods: list


@dataclass
class Package:
    """All that one package version defines."""

    fqname: str
    definitions: list = field(default_factory=list)
    interfaces: list = field(default_factory=list)


def fqname_of(cpp_name):
    """Returns the HIDL name of a C++ name: ::a::b::V1_0::IC::D is a.b@1.0::IC.D."""
    package, major, minor, names = re.fullmatch(r"::(.+)::V(\d+)_(\d+)::(.+)", cpp_name).groups()
    return f"{package.replace('::', '.')}@{major}.{minor}::{names.replace('::', '.')}"


def load_packages(folder, fqnames):
    """Returns the packages from the output of `hidl-gen -Lvts` below `folder`."""
    packages = []
    for fqname in fqnames:
        name, version = fqname.split("@")
        files = sorted(Path(folder, name.replace(".", "/"), version).glob("*.vts"))
        packages.append(_read_package(fqname, [parse(file.read_text()) for file in files]))
    _remove_unsupported(packages)
    return packages


def _read_package(fqname, blocks):
    """Returns the Package of the blocks of all its files."""
    package = Package(fqname)
    for block in blocks:
        interface = block.first("interface")
        for attribute in (interface or block).all("attribute"):
            _add_definition(package, attribute)
        if interface:
            package.interfaces.append(_read_interface(block, interface))
    return package


def _remove_unsupported(packages):
    """Marks the methods that use a type without a JSON form, and removes structs that contain one."""
    known = {definition.name for package in packages for definition in package.definitions}
    found = True
    while found:
        found = False
        for package in packages:
            kept = [d for d in package.definitions if not any(_unsupported(f.type, known) for f in d.fields)]
            found = found or len(kept) < len(package.definitions)
            package.definitions = kept
        known = {definition.name for package in packages for definition in package.definitions}
    for method in (m for p in packages for i in p.interfaces for m in i.methods):
        bad = [_unsupported(value.type, known) for value in method.arguments + method.results]
        method.unsupported = next(filter(None, bad), "")


def _unsupported(type_, known):
    if type_.of:
        return _unsupported(type_.of, known)
    if type_.kind == "unsupported" or type_.kind in ("struct", "enum", "mask") and type_.name not in known:
        return type_.name
    return ""


def _add_definition(package, block):
    for inner in block.all("sub_struct"):
        _add_definition(package, inner)
    definition = Definition(block.first("name"))
    enum = block.first("enum_value")
    if enum:
        definition.storage = enum.first("scalar_type")
        numbers = [int(value.entries[0][1]) for value in enum.all("scalar_value")]
        definition.values = list(zip(enum.all("enumerator"), numbers))
    elif block.first("type") == "TYPE_STRUCT":
        definition.fields = [_read_value(value) for value in block.all("struct_value")]
    else:
        return  # a union
    package.definitions.append(definition)


def _read_interface(file, block):
    package = file.first("package").replace(".", "::")
    version = f"V{file.first('component_type_version_major')}_{file.first('component_type_version_minor')}"
    methods = [Method(api.first("name"), [_read_value(value) for value in api.all("arg")],
                      [_read_value(value) for value in api.all("return_type_hidl")])
               for api in block.all("api")]
    return Interface(f"::{package}::{version}::{file.first('component_name')}", methods)


def _read_value(block):
    return Value(block.first("name"), _read_type(block))


def _read_type(block):
    text = block.first("type")
    if text == "TYPE_SCALAR":
        scalar = block.first("scalar_type")
        return Type(SCALARS.get(scalar, scalar))
    kind = KINDS.get(text)
    if kind is None:
        return Type("unsupported", block.first("predefined_type", text))
    if kind in ("vec", "array"):
        element = _read_type(block.first("vector_value"))
        return Type(kind, of=element, size=int(block.first("vector_size", "0")))
    return Type(kind, block.first("predefined_type", ""))
