# SPDX-License-Identifier: Apache-2.0
"""Checks the VINTF manifest of the services and the compatibility matrix."""
import re
from dataclasses import dataclass, field
from xml.parsers import expat

from .interfaces import version_key
from .tree import PACKAGE

MANIFEST = "packaging/hidlaudio.xml"
MATRIX = "packaging/compatibility_matrix.xml"


@dataclass
class Element:
    """An XML element with its line number."""

    name: str
    attributes: dict
    line: int
    text: str = ""
    children: list = field(default_factory=list)

    def all(self, name):
        """Returns the children with this name."""
        return [child for child in self.children if child.name == name]

    def value(self, name):
        """Returns the text of the first child with this name, or an empty string if there is none."""
        return next((child.text.strip() for child in self.all(name)), "")


def check_manifest(tree, services):
    """Checks that the manifest declares the newest minor version of each major version of each service."""
    expected = _declared(services)
    offered = {key for service in services for key in service.chain}
    listed = {}
    for hal in _hals(tree, MANIFEST):
        _check_transport(tree, hal)
        for entry in hal.all("fqname"):
            key = _check_entry(tree, entry, expected, offered, listed)
            listed.setdefault(key, entry.line)
    for version, name in expected:
        if (version, name) not in listed:
            tree.find(MANIFEST, 1, f"does not declare @{version}::{name}",
                      f"add: <fqname>@{version}::{name}/default</fqname>")


def check_matrix(tree, services):
    """Checks that the framework's matrix permits all interfaces that the manifest must declare."""
    expected = _declared(services)
    listed = {}
    for hal in _hals(tree, MATRIX):
        if hal.attributes.get("optional") != "true":
            tree.find(MATRIX, hal.line, "requires the services on every TV",
                      'write: <hal format="hidl" optional="true">')
        for version in hal.all("version"):
            for interface in hal.all("interface"):
                if interface.value("instance") != "default":
                    tree.find(MATRIX, interface.line, "the interface has no instance",
                              "write: <instance>default</instance>")
                listed.setdefault((version.text.strip(), interface.value("name")), interface.line)
    for version, name in expected:
        if (version, name) not in listed:
            interface = f"<interface><name>{name}</name><instance>default</instance></interface>"
            present = any(version == other for other, _ in listed)
            tree.find(MATRIX, 1, f"does not permit @{version}::{name}",
                      f"add to the entry of version {version}: {interface}" if present else
                      f'add: <hal format="hidl" optional="true"><name>{PACKAGE}</name>'
                      f"<version>{version}</version>{interface}</hal>")
    for key, line in listed.items():
        if key not in expected:
            tree.find(MATRIX, line, f"permits @{key[0]}::{key[1]}, which the manifest must not declare", "remove it")


def _declared(services):
    """Returns the sorted (version, name) of the newest minor version of each major version."""
    newest = {}
    for service in services:
        for version, name in service.chain:
            major = (name, version.split(".")[0])
            newest[major] = max(newest.get(major, version), version, key=version_key)
    return sorted(((version, name) for (name, _), version in newest.items()),
                  key=lambda entry: (version_key(entry[0]), entry[1]))


def _check_transport(tree, hal):
    if hal.value("transport") != "hwbinder":
        line = next((child.line for child in hal.all("transport")), hal.line)
        tree.find(MANIFEST, line, "the transport is not hwbinder",
                  "write: <transport>hwbinder</transport>")


def _check_entry(tree, entry, expected, offered, listed):
    """Returns the (version, name) that the entry declares, or None if it cannot be parsed."""
    text = entry.text.strip()
    match = re.fullmatch(r"@(\d+\.\d+)::(\w+)/default", text)
    if not match:
        tree.find(MANIFEST, entry.line, f"is not a version, interface and instance: {text}",
                  "write: <fqname>@1.0::IName/default</fqname>")
        return None
    key = (match[1], match[2])
    if key in listed:
        tree.find(MANIFEST, entry.line, f"{text} is already listed in line {listed[key]}", "remove the line")
    elif key not in offered:
        tree.find(MANIFEST, entry.line, f"{text} is not offered by any service", "remove the line")
    elif key not in expected:
        tree.find(MANIFEST, entry.line, f"{text} is not the newest minor version of its interface",
                  "declare the newest one only")
    return key


def _hals(tree, file):
    """Returns the entries of our package."""
    root = _parse(tree, file)
    hals = [hal for hal in (root.all("hal") if root else []) if hal.value("name") == PACKAGE]
    if root and not hals:
        tree.find(file, root.line, f"has no entry for {PACKAGE}", f"add a <hal> with <name>{PACKAGE}</name>")
    for hal in hals:
        if hal.attributes.get("format") != "hidl":
            tree.find(file, hal.line, "the format of the entry is not hidl", 'write: <hal format="hidl">')
    return hals


def _parse(tree, file):
    """Returns the root element, or None after reporting that the file is not valid XML."""
    text = tree.read(file)
    if not text:
        return None
    parser = expat.ParserCreate()
    stack = [Element("", {}, 1)]

    def start(name, attributes):
        element = Element(name, attributes, parser.CurrentLineNumber)
        stack[-1].children.append(element)
        stack.append(element)

    def characters(data):
        stack[-1].text += data

    parser.StartElementHandler = start
    parser.EndElementHandler = lambda name: stack.pop()
    parser.CharacterDataHandler = characters
    try:
        parser.Parse(text, True)
    except expat.ExpatError as error:
        tree.find(file, error.lineno, f"is not well-formed XML: {expat.errors.messages[error.code]}", "correct the XML")
        return None
    return stack[0].children[0]
