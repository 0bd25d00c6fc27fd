# SPDX-License-Identifier: Apache-2.0
"""The logs of a TV's programs."""
import re
import threading
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
        self._lock = threading.Lock()
        self._logs = {}  # the size read and the lines, by program

    def _lines(self):
        with self._lock:
            for file in sorted(self._folder.glob("*.log")):
                self._read(file)
            lines = [line for _, read in self._logs.values() for line in read]
        return sorted(lines, key=lambda line: line.time)

    def _read(self, file):
        """Reads the new lines of a program's log."""
        size, lines = self._logs.get(file.stem, (0, []))
        with open(file, "rb") as log:
            log.seek(size)
            content = log.read()
        content = content[:content.rfind(b"\n") + 1]  # a line without its end is incomplete
        for text in content.decode(errors="surrogateescape").split("\n")[:-1]:
            lines.append(_parse(text, file.stem, lines))
        self._logs[file.stem] = (size + len(content), lines)

    def __iter__(self):
        return iter(self._lines())

    def __len__(self):
        return len(self._lines())

    def __getitem__(self, index):
        return self._lines()[index]

    def mark(self):
        """Returns a place for `after`: the end of the logs as they are now."""
        counts = {}
        for line in self._lines():  # the last line of a program may have an earlier time than others
            counts[line.program] = max(counts.get(line.program, 0), line.index + 1)
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


def _parse(text, program, earlier):
    found = _LINE.fullmatch(text)
    if found:
        when, pid, tid, level, tag, rest = found.groups()
        return LogLine(when, int(pid), int(tid), level, tag, rest, program, len(earlier))
    when = earlier[-1].time if earlier else ""  # the text is not of liblog
    return LogLine(when, 0, 0, "", "", text, program, len(earlier))


def _contains(line, text):
    return text in line if isinstance(text, str) else text.search(line) is not None
