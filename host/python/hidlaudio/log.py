# SPDX-License-Identifier: Apache-2.0
"""The logs of a TV's programs."""
import re
import time
from collections import namedtuple
from dataclasses import dataclass, field

_LINE = re.compile(r"(\d\d-\d\d [\d:.]{12}) +(\d+) +(\d+) ([VDIWEF]) (.*?) *: (.*)")
Mark = namedtuple("Mark", "counts")


@dataclass(frozen=True)
class LogLine:
    time: str
    pid: int
    tid: int
    level: str
    tag: str
    text: str
    program: str
    index: int = field(repr=False)  # in the program's log


class Log:
    """A view of all logs, in the order of time. Lines of the same millisecond are in the order of programs."""

    def __init__(self, folder):
        self._folder = folder

    def _lines(self):
        lines = []
        for file in sorted(self._folder.glob("*.log")):
            lines += _parse(file.stem, file.read_text(errors="surrogateescape"))
        return sorted(lines, key=lambda line: line.time)

    def __iter__(self):
        return iter(self._lines())

    def __len__(self):
        return len(self._lines())

    def __getitem__(self, index):
        return self._lines()[index]

    def mark(self):
        """Returns a place for `after`: the end of the logs as they are now."""
        counts = {}
        for line in self._lines():
            counts[line.program] = line.index + 1
        return Mark(counts)

    def find(self, text, after=None, tag=None, level=None):
        """Returns the lines that contain a text or match a compiled pattern."""
        lines = self._lines()
        if isinstance(after, LogLine):
            lines = lines[lines.index(after) + 1:]
        elif after is not None:
            lines = [line for line in lines if line.index >= after.counts.get(line.program, 0)]
        return [line for line in lines if _contains(line.text, text)
                and tag in (None, line.tag) and level in (None, line.level)]

    def wait_for(self, text, timeout=10, after=None, tag=None, level=None):
        """Returns the first line that find() returns. Raises TimeoutError with the end of the logs."""
        deadline = time.monotonic() + timeout
        while True:
            is_last = time.monotonic() >= deadline
            found = self.find(text, after, tag, level)
            if found:
                return found[0]
            if is_last:
                end = "\n".join(f"{line.program}: {line.text}" for line in self._lines()[-20:])
                raise TimeoutError(f"no log line {text!r} in {timeout} s; the end of the log:\n{end}")
            time.sleep(0.005)


def _parse(program, content):
    lines = []
    # A line without its end may still be incomplete.
    for index, text in enumerate(content.split("\n")[:-1]):
        found = _LINE.fullmatch(text)
        if found:
            when, pid, tid, level, tag, rest = found.groups()
            lines.append(LogLine(when, int(pid), int(tid), level, tag, rest, program, index))
        else:
            previous = lines[-1] if lines else None
            lines.append(LogLine(previous.time if previous else "", 0, 0, "", "", text, program, index))
    return lines


def _contains(line, text):
    return text in line if isinstance(text, str) else text.search(line) is not None
