# SPDX-License-Identifier: Apache-2.0
"""What CMake builds the daemon of."""
import re
from dataclasses import dataclass, field

from .tree import line_of

ROOT = "CMakeLists.txt"
SERVICE = "service/CMakeLists.txt"


@dataclass
class Daemon:
    """Sources and compile options as {value: (file, line)}."""

    sources: dict = field(default_factory=dict)
    options: dict = field(default_factory=dict)


def load_daemon(tree):
    """The sources of the rooms that the daemon links, and of its main."""
    daemon = Daemon()
    for room in _linked_rooms(tree):
        _add_target(tree, daemon, room, f"{room}/CMakeLists.txt", rf"add_room\(\s*{room}\s+([^)]*)\)")
    _add_target(tree, daemon, "service", SERVICE, r"add_library\(\s*service\s+OBJECT\s+([^)]*)\)")
    return daemon


def _commands(tree, file):
    """The file's text with its comments blanked."""
    return re.sub(r"#[^\n]*", lambda match: " " * len(match[0]), tree.read(file))


def _linked_rooms(tree):
    match = re.search(r"set\(\s*rooms\s+([^)]*)\)", _commands(tree, SERVICE))
    rooms = sorted(match[1].split()) if match else []
    if not rooms:
        tree.find(SERVICE, 1, "links no room into hidlaudio", "write: set(rooms NAME…)")
        return []
    for file in tree.glob("*/CMakeLists.txt"):
        room = file.split("/")[0]
        if room not in rooms and re.search(rf"add_room\(\s*{room}\s", _commands(tree, file)):
            tree.find(SERVICE, 1, f"does not link the room {room}", "name it in set(rooms …)")
    return rooms


def check_added(tree, daemon):
    """The tree's own build file knows each room."""
    text = _commands(tree, ROOT)
    for room in sorted({source.split("/")[0] for source in daemon.sources}):
        if not re.search(rf"add_subdirectory\(\s*{room}\s*\)", text):
            tree.find(ROOT, 1, f"lacks the room {room}", f"write: add_subdirectory({room})")


def _add_target(tree, daemon, folder, file, pattern):
    text = _commands(tree, file)
    match = re.search(pattern, text)
    if not match:
        tree.find(file, 1, f"has no list of sources for {folder}", "list them in the target's own command")
        return
    for word in re.finditer(r"\S+", match[1]):
        line = line_of(text, match.start(1) + word.start())
        daemon.sources[f"{folder}/{word[0]}"] = (file, line)
    for match in re.finditer(rf"target_compile_options\(\s*{folder}\s+PRIVATE\s+([^)]*)\)", text):
        for option in match[1].split():
            daemon.options.setdefault(option, (file, line_of(text, match.start())))


def room_files(tree, daemon):
    """The sources and the headers beside them."""
    folders = sorted({source.split("/")[0] for source in daemon.sources})
    return [file for folder in folders for kind in ("cpp", "h") for file in tree.glob(f"{folder}/*.{kind}")]
