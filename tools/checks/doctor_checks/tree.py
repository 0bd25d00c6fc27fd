# SPDX-License-Identifier: Apache-2.0
"""The tree to check, and the findings in it."""
import re
from dataclasses import dataclass
from functools import lru_cache
from pathlib import Path

PACKAGE = "com.tovi.dtv.hardware.audio"


@dataclass(frozen=True, order=True)
class Finding:
    """A finding: place, problem and fix."""

    file: str
    line: int
    problem: str
    fix: str

    def __str__(self):
        return f"{self.file}:{self.line}: {self.problem}; fix: {self.fix}"


class Tree:
    """The files below `root`. Each is read at most once. Paths are relative to `root`."""

    def __init__(self, root):
        self.root = Path(root)
        self.findings = []
        self._texts = {}
        self._unreadable = set()

    def find(self, file, line, problem, fix):
        """Adds a finding. Line 1 means the whole file. An unreadable file has no other findings."""
        if file in self._unreadable:
            return
        self.findings.append(Finding(file, line, problem, fix))

    def read(self, file):
        """Returns the file's text. If it cannot be read, reports that once and returns an empty string."""
        if file not in self._texts:
            self._texts[file] = self._load(file)
        return self._texts[file]

    def lines(self, file, comment=None):
        """Yields (number, text) of non-blank lines, without comments that start with `comment`."""
        for number, line in enumerate(self.read(file).splitlines(), 1):
            text = line.split(comment)[0].strip() if comment else line.strip()
            if text:
                yield number, text

    def code(self, file):
        """Returns the text of a C++ or HIDL file with blanks for comments. Line numbers do not change."""
        return without_comments(self.read(file))

    def places(self, pattern, *files):
        """Returns {text of the group: (file, line)} of the first match of each text in the files' code."""
        result = {}
        for file in files:
            code = self.code(file)
            for match in re.finditer(pattern, code, re.MULTILINE):
                result.setdefault(match[1], (file, line_of(code, match.start())))
        return result

    def glob(self, pattern):
        """Returns the matching files, sorted."""
        return sorted(path.relative_to(self.root).as_posix() for path in self.root.glob(pattern))

    def exists(self, file):
        """Returns whether the file exists."""
        return (self.root / file).is_file()

    def _load(self, file):
        try:
            return (self.root / file).read_bytes().decode("utf-8")
        except UnicodeDecodeError:
            problem = "is not valid UTF-8"
        except OSError as error:
            problem = f"cannot be read ({error.strerror})"
        self.find(file, 1, problem, "restore it from version control")
        self._unreadable.add(file)
        return ""


def line_of(text, position):
    """Returns the number of the line that contains `position`."""
    return text.count("\n", 0, position) + 1


@lru_cache(maxsize=1024)
def without_comments(text):
    """Returns C++ or HIDL text with blanks for comments."""
    blank = lambda match: re.sub(r"[^\n]", " ", match[0]) if match[0][0] == "/" else match[0]
    return re.sub(r'/\*.*?\*/|//[^\n]*|"(?:\\.|[^"\\\n])*"', blank, text, flags=re.DOTALL)
