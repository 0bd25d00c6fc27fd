# SPDX-License-Identifier: Apache-2.0
"""The tree under examination, and what is found in it."""
import re
from dataclasses import dataclass
from functools import lru_cache
from pathlib import Path

PACKAGE = "com.tovi.dtv.hardware.audio"


@dataclass(frozen=True, order=True)
class Finding:
    """One thing that is wrong: where, what, and what to do about it."""

    file: str
    line: int
    problem: str
    fix: str

    def __str__(self):
        return f"{self.file}:{self.line}: {self.problem}; fix: {self.fix}"


class Tree:
    """The files below `root`, read at most once each; paths are relative to it."""

    def __init__(self, root):
        self.root = Path(root)
        self.findings = []
        self._texts = {}
        self._unreadable = set()

    def find(self, file, line, problem, fix):
        """Takes a finding down. Line 1 stands for the whole file; one that can't be read has this only."""
        if file in self._unreadable:
            return
        self.findings.append(Finding(file, line, problem, fix))

    def read(self, file):
        """The file's text; empty where it can't be read, which is found once."""
        if file not in self._texts:
            self._texts[file] = self._load(file)
        return self._texts[file]

    def lines(self, file, comment=None):
        """(number, text) of the lines that hold something; `comment` opens a comment that is cut off."""
        for number, line in enumerate(self.read(file).splitlines(), 1):
            text = line.split(comment)[0].strip() if comment else line.strip()
            if text:
                yield number, text

    def code(self, file):
        """The text of a C++ or HIDL file with its comments blanked, so that lines keep their numbers."""
        return without_comments(self.read(file))

    def glob(self, pattern):
        """The files that match, in order."""
        return sorted(path.relative_to(self.root).as_posix() for path in self.root.glob(pattern))

    def exists(self, file):
        """Whether the file is there."""
        return (self.root / file).is_file()

    def _load(self, file):
        try:
            return (self.root / file).read_bytes().decode("utf-8")
        except UnicodeDecodeError:
            problem = "is not text in UTF-8"
        except OSError as error:
            problem = f"can't be read ({error.strerror})"
        self.find(file, 1, problem, "restore it from version control")
        self._unreadable.add(file)
        return ""


def line_of(text, position):
    """The number of the line that holds the character at `position`."""
    return text.count("\n", 0, position) + 1


@lru_cache(maxsize=1024)
def without_comments(text):
    """C++ or HIDL with blanks for comments."""
    blank = lambda match: re.sub(r"[^\n]", " ", match[0]) if match[0][0] == "/" else match[0]
    return re.sub(r'/\*.*?\*/|//[^\n]*|"(?:\\.|[^"\\\n])*"', blank, text, flags=re.DOTALL)
