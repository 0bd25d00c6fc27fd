# SPDX-License-Identifier: Apache-2.0
"""Checks the daemon's SELinux policy: files, nodes, ioctls and service names."""
import posixpath
import re
from dataclasses import dataclass

from .tree import PACKAGE

FOLDER = "packaging/sepolicy"
HWSERVICES = f"{FOLDER}/hwservice_contexts"
FILES = f"{FOLDER}/file_contexts"
PROC = f"{FOLDER}/genfs_contexts"
DOMAIN = f"{FOLDER}/hidlaudio.te"
ATTRIBUTES = f"{FOLDER}/attributes"
CONTEXT = r"u:object_r:(\w+):s0"
# Types that the platform's policy declares.
PLATFORM_TYPES = {"vendor_data_file"}


@dataclass(frozen=True)
class Label:
    """A line of the policy that gives paths matching `pattern` a type."""

    pattern: re.Pattern
    type: str
    file: str
    line: int


def load_types(tree):
    """Returns {type: attributes} of the declared types."""
    types = {}
    for file in tree.glob(f"{FOLDER}/*.te"):
        for number, text in tree.lines(file, comment="#"):
            match = re.fullmatch(r"type\s+(\w+)\s*((?:,\s*\w+\s*)*);", text)
            if match:
                types[match[1]] = set(re.findall(r"\w+", match[2]))
            elif re.match(r"type\b", text):
                tree.find(file, number, f"is not a type declaration: {text}", "write: type NAME, ATTRIBUTE;")
    return types


def load_labels(tree):
    """Returns the labels of file_contexts and genfs_contexts, with full paths on the TV."""
    labels = []
    for number, text in tree.lines(FILES, comment="#"):
        _add_label(tree, labels, FILES, number, re.fullmatch(rf"(\S+)\s+(?:--\s+)?{CONTEXT}", text), "{}")
    for number, text in tree.lines(PROC, comment="#"):
        match = re.fullmatch(rf"genfscon\s+proc\s+(\S+)\s+{CONTEXT}", text)
        _add_label(tree, labels, PROC, number, match, "/proc{}.*")
    return labels


def _add_label(tree, labels, file, line, match, pattern):
    try:
        if match:
            labels.append(Label(re.compile(pattern.format(match[1])), match[2], file, line))
            return
        problem = "is not a path and a context"
    except re.error as error:
        problem = f"is not a regular expression ({error})"
    tree.find(file, line, problem, "write: PATH u:object_r:TYPE:s0")


def own_folders(labels, types, paths):
    """Returns {folder: (file, line)} of the data folders that have a type of the daemon."""
    folders = {}
    for path, place in paths.items():
        label = _label_of(labels, path)
        if label and path.startswith("/data/") and label.type in types:
            folders.setdefault(posixpath.dirname(path), place)
    return folders


def _label_of(labels, path):
    """Returns the label of `path`, or None. The last matching line wins."""
    return next((label for label in reversed(labels) if label.pattern.fullmatch(path)), None)


def check_labels(tree, labels, types, program, paths):
    """Checks that each path in the code has a label, and that each label belongs to such a path."""
    needed = {program: ("Android.bp", 1), **paths}
    for path, (file, line) in needed.items():
        if _label_of(labels, path) is None:
            where = PROC if path.startswith("/proc/") else FILES
            tree.find(where, 1, f"does not label {path} ({file}:{line} names it)", "add its line")
    for label in labels:
        if not any(label.pattern.fullmatch(path) for path in needed):
            tree.find(label.file, label.line,
                      f"labels {label.pattern.pattern}, which the daemon does not use",
                      "correct the path, or remove the line")
        if label.type not in types and label.type not in PLATFORM_TYPES:
            tree.find(label.file, label.line, f"type {label.type} is not declared",
                      f"declare it in a .te file of {FOLDER}")
    label = _label_of(labels, program)
    if label and "exec_type" not in types.get(label.type, ()):
        tree.find(label.file, label.line, f"{program} has type {label.type}, which init does not start",
                  "give it the type that the domain's .te file declares with exec_type")


def check_domain(tree, labels, types, code):
    """Checks that the domain may use the labeled files, and the ioctls and processes that the code calls."""
    rules = "\n".join(text for _, text in tree.lines(DOMAIN, comment="#"))
    domain = next((name for name, attributes in types.items() if "domain" in attributes), None)
    if domain is None or f"init_daemon_domain({domain})" not in rules:
        tree.find(DOMAIN, 1, "the daemon has no domain that init starts",
                  "write: type NAME, domain; and init_daemon_domain(NAME)")
        return
    _check_calls(tree, rules, domain, code)
    _check_commands(tree, rules, code.commands)
    for label in labels:
        if "exec_type" in types.get(label.type, ()):
            continue
        for kind in ("chr_file",) if label.pattern.pattern.startswith("/dev/") else ("dir", "file"):
            if not re.search(rf"^allow\s+{domain}\s+{label.type}:{kind}\s", rules, re.MULTILINE):
                tree.find(DOMAIN, 1,
                          f"does not allow {domain} to use {label.type}:{kind} ({label.file}:{label.line})",
                          f"write: allow {domain} {label.type}:{kind} {{ … }};")


def _check_calls(tree, rules, domain, code):
    """Checks the rules for wake locks and the audio HAL, which are served by processes of the platform."""
    factory = next((code.headers[name] for name in code.headers if name.endswith("/IDevicesFactory.h")), None)
    needed = ((f"wakelock_use({domain})", code.wake_lock), (f"hal_client_domain({domain}, hal_audio)", factory))
    for rule, use in needed:
        if use and rule not in rules:
            tree.find(DOMAIN, 1, f"lacks a rule that {use[0]}:{use[1]} needs", f"write: {rule}")


def _check_commands(tree, rules, commands):
    """Checks that the policy permits all ioctls in the code."""
    permitted = set()
    for match in re.finditer(r"^allowxperm\s+\S+\s+\S+\s+ioctl\s+\{([^}]*)\}", rules, re.MULTILINE):
        for first, last in re.findall(r"0x([0-9a-f]{4})(?:-0x([0-9a-f]{4}))?", match[1]):
            permitted.update(range(int(first, 16), int(last or first, 16) + 1))
    for command, (file, line) in commands.items():
        if command not in permitted:
            tree.find(DOMAIN, 1, f"does not permit ioctl {command:#x} ({file}:{line})",
                      "add it to the allowxperm rule")


def check_service_rules(tree, types):
    """Checks that the domain may register services, and that calls may pass in both directions."""
    rules = "\n".join(text for file in (ATTRIBUTES, *tree.glob(f"{FOLDER}/*.te"))
                      for _, text in tree.lines(file, comment="#"))
    match = re.search(r"hal_server_domain\(\w+, hal_(\w+)\)", rules)
    if not match:
        tree.find(DOMAIN, 1, "the daemon's domain is not a HAL server", "write: hal_server_domain(DOMAIN, hal_NAME)")
        return
    hal = match[1]
    for rule in (f"hal_attribute({hal})", f"hal_attribute_hwservice(hal_{hal}, {_service_type(types)})",
                 f"binder_call(hal_{hal}_client, hal_{hal}_server)",
                 f"binder_call(hal_{hal}_server, hal_{hal}_client)"):
        if rule not in rules:
            tree.find(DOMAIN, 1, f"no policy file contains {rule}", "add it")


def check_hwservices(tree, types, services):
    """Checks that each service has exactly one type, which clients need to find it."""
    names = {f"{PACKAGE}::{service.name}" for service in services}
    listed = {}
    for number, text in tree.lines(HWSERVICES, comment="#"):
        match = re.fullmatch(rf"([\w.]+::\w+)\s+{CONTEXT}", text)
        if not match:
            tree.find(HWSERVICES, number, "is not an interface and a context",
                      "write: PACKAGE::IName u:object_r:TYPE:s0")
            continue
        if match[1] not in names:
            tree.find(HWSERVICES, number, f"{match[1]} is not offered by any service", "remove the line")
        if match[1] in listed:
            tree.find(HWSERVICES, number, f"{match[1]} is already listed in line {listed[match[1]]}",
                      "remove the line")
        listed.setdefault(match[1], number)
        _check_hwservice_type(tree, types, match[2], number)
    for name in sorted(names - set(listed)):
        tree.find(HWSERVICES, 1, f"lacks {name}: it could not be registered",
                  f"add: {name} u:object_r:{_service_type(types)}:s0")


def _service_type(types):
    """Returns the type of the services, for the text of a fix."""
    return next((name for name, attributes in types.items() if "hwservice_manager_type" in attributes), "TYPE")


def _check_hwservice_type(tree, types, name, line):
    if "hwservice_manager_type" not in types.get(name, ()):
        tree.find(HWSERVICES, line, f"type {name} does not have the attribute hwservice_manager_type",
                  f"write in {FOLDER}/hwservice.te: type {name}, hwservice_manager_type;")
