# SPDX-License-Identifier: Apache-2.0
"""The description of the interfaces for programs in other languages, as JSON."""
from model import fqname_of


def describe(packages):
    """Returns {"types": {name: …}, "interfaces": {name: {"methods": [...]}}} with HIDL names."""
    types, interfaces = {}, {}
    for package in packages:
        for definition in package.definitions:
            types[fqname_of(definition.name)] = _describe_definition(definition)
        for interface in package.interfaces:
            interfaces[fqname_of(interface.name)] = {
                "methods": [_describe_method(method) for method in interface.methods]}
    return {"types": types, "interfaces": interfaces}


def _describe_definition(definition):
    if definition.storage:
        return {"kind": "enum", "storage": definition.storage, "values": definition.values}
    return {"kind": "struct", "fields": _describe_values(definition.fields)}


def _describe_method(method):
    if method.unsupported:
        return {"name": method.name, "unsupported": method.unsupported}
    return {"name": method.name, "arguments": _describe_values(method.arguments),
            "results": _describe_values(method.results)}


def _describe_values(values):
    return [{"name": value.name, "type": _describe_type(value.type)} for value in values]


def _describe_type(type_):
    text = {"kind": type_.kind}
    if type_.name:
        text["name"] = fqname_of(type_.name)
    if type_.of:
        text["of"] = _describe_type(type_.of)
    if type_.size:
        text["size"] = type_.size
    return text
