# SPDX-License-Identifier: Apache-2.0
"""Checks the init script that starts the daemon."""
import re

from .init_words import ACCOUNTS, CAPABILITIES, COMMANDS, EVENTS, OPTIONS, SECTIONS
from .interfaces import full_name

FILE = "packaging/hidlaudio.rc"
REQUIRED = ("class", "user", "group")


class Section:
    """A section of the script: `service …` or `on …`, with its lines in `options` as (number, words)."""

    def __init__(self, line, words):
        self.line = line
        self.words = words
        self.options = []

    def option(self, name):
        """Returns (line, arguments) of an option, or None if it is missing."""
        return next(((number, words[1:]) for number, words in self.options if words[0] == name), None)


def check_init_rc(tree, path, services, code_paths, own_folders):
    """Checks that init starts the daemon and that the script lists all its interfaces."""
    sections = _sections(tree)
    for section in sections:
        _check_words(tree, section)
    service = next((s for s in sections if s.words[0] == "service" and s.words[2:3] == [path]), None)
    if service is None:
        tree.find(FILE, 1, f"does not start {path}, the installed program",
                  f"write: service {path.rsplit('/', 1)[1]} {path}")
    else:
        _check_options(tree, service)
        _check_interfaces(tree, service, services)
        _check_wake_locks(tree, service, code_paths.wake_lock)
    _check_folders(tree, sections, own_folders)


def _sections(tree):
    sections = []
    for number, text in tree.lines(FILE, comment="#"):
        words = text.split()
        if words[0] in ("service", "on", "import"):
            sections.append(Section(number, words))
        elif sections:
            sections[-1].options.append((number, words))
        else:
            tree.find(FILE, number, f"is outside all sections: {text}", "move it below its service or on line")
    return sections


def _check_words(tree, section):
    """Checks that init accepts all words and numbers of arguments of the section."""
    _check_count(tree, section.line, section.words, SECTIONS)
    if section.words[0] == "on":
        for event in section.words[1:]:
            if event not in EVENTS and event != "&&" and not event.startswith("property:"):
                tree.find(FILE, section.line, f"init never triggers {event}", "name an event of init")
    known = OPTIONS if section.words[0] == "service" else COMMANDS
    for number, words in section.options:
        if words[0] not in known:
            tree.find(FILE, number, f"init knows no {words[0]} below {section.words[0]}", "correct the word")
            continue
        _check_count(tree, number, words, known)
        accounts = {"user": words[1:], "group": words[1:], "mkdir": words[3:5]}.get(words[0], [])
        for name in accounts:
            if name not in ACCOUNTS:
                tree.find(FILE, number, f"the platform has no user or group {name}", "correct the name")
        for name in words[1:] if words[0] == "capabilities" else []:
            if name not in CAPABILITIES:
                tree.find(FILE, number, f"there is no capability {name}", "write it without CAP_")


def _check_count(tree, line, words, known):
    smallest, largest = known[words[0]]
    if not smallest <= len(words) - 1 <= largest:
        tree.find(FILE, line, f"init refuses {words[0]} with {len(words) - 1} arguments",
                  "correct the arguments")


def _check_options(tree, service):
    for name in REQUIRED:
        if service.option(name) is None:
            tree.find(FILE, service.line, f"the service has no {name}", f"add its line: {name} …")
    hal = service.option("class")
    if hal and "hal" not in hal[1]:
        tree.find(FILE, hal[0], "the class of the service is not hal", "write: class hal")


def _check_interfaces(tree, service, services):
    expected = {full_name(*key): row for row in services for key in row.chain}
    listed = {}
    for number, words in service.options:
        if words[0] != "interface":
            continue
        if len(words) != 3 or words[2] != "default":
            tree.find(FILE, number, "is not an interface and the instance default",
                      "write: interface NAME default")
        elif words[1] not in expected:
            tree.find(FILE, number, f"{words[1]} is not offered by any service", "remove the line")
        elif words[1] in listed:
            tree.find(FILE, number, f"{words[1]} is already listed in line {listed[words[1]]}",
                      "remove the line")
        if len(words) > 1:
            listed.setdefault(words[1], number)
    for name in expected:
        if name not in listed:
            tree.find(FILE, service.line, f"the service lacks {name}",
                      f"add the line: interface {name} default")


def _check_wake_locks(tree, service, use):
    """Checks the group and the capability that libpower needs to write the kernel's wake lock file."""
    for option, needed in (("capabilities", "BLOCK_SUSPEND"), ("group", "wakelock")):
        line, values = service.option(option) or (service.line, [])
        if use and needed not in values:
            tree.find(FILE, line, f"{option} lacks {needed}, which {use[0]}:{use[1]} needs for its wake locks",
                      f"write: {' '.join([option, *values, needed])}")


def _check_folders(tree, sections, own_folders):
    """Checks that the script creates the daemon's folders, as the daemon does not."""
    made = {words[1]: number for section in sections if section.words[0] == "on"
            for number, words in section.options if words[0] == "mkdir" and len(words) > 1}
    for own, (file, line) in own_folders.items():
        parts = own.removeprefix("/data/vendor/").split("/")
        for folder in (f"/data/vendor/{'/'.join(parts[:count])}" for count in range(1, len(parts) + 1)):
            if folder in made:
                continue
            tree.find(FILE, 1, f"does not create the folder {folder} ({file}:{line} names a file in it)",
                      f"add below on post-fs-data: mkdir {folder} 0770 audioserver audio")
    for number, words in ((n, w) for s in sections for n, w in s.options if w[0] == "mkdir"):
        if len(words) < 5 or not re.fullmatch(r"0[0-7]{3}", words[2]):
            tree.find(FILE, number, "does not set mode, owner and group of the folder",
                      "write: mkdir FOLDER MODE OWNER GROUP")
