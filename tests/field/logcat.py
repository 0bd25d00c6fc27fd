# SPDX-License-Identifier: Apache-2.0
"""Writes a daemon's log as the logcat of a TV, between lines of other programs."""

import datetime
import random
import re
from dataclasses import dataclass, replace

LINE = re.compile(r"(\d\d-\d\d [\d:.]{12}) +(\d+) +(\d+) ([VDIWEF]) (.*?) *: (.*)")
YEAR = 2026
NOISE_PER_LINE = 3

# Level, tag, process and text of lines of other programs. A name in braces is replaced by a number.
NOISE = [
    ("D", "SurfaceFlinger", "display", "setLayerPriority layer={small} priority={small}"),
    ("W", "SurfaceFlinger", "display", "frame {large} missed its deadline by {small} ms"),
    ("D", "HwComposer", "display", "present fence signaled after {small} us"),
    ("I", "ActivityManager", "system", "Displayed com.example.player/.MainActivity: +{small}ms"),
    ("D", "ActivityManager", "system", "Process com.example.weather (pid {large}) is now in background"),
    ("V", "WindowManager", "system", "relayout of window {small}: frame=[0,0][1920,1080]"),
    ("I", "PowerManager", "system", "user activity event={small}"),
    ("D", "AudioPolicy", "audioserver", "getOutputForAttr() stream={small} flags=0x{small}"),
    ("W", "AudioFlinger", "audioserver", "mixer thread {small} woke up {small} us late"),
    ("D", "AudioTrack", "player", "start({large}): state=PAUSED"),
    ("I", "ExamplePlayer", "player", "[onBuffering] end. percent={small}"),
    ("E", "ExamplePlayer", "player", "read failed: ETIMEDOUT, attempt {small}"),
    ("D", "TvTuner", "tuner", "lock status=1 snr={small}"),
    ("V", "TvTuner", "tuner", "pid filter {small} opened"),
    ("I", "dhcpclient", "network", "lease renewed for {large} s"),
    ("D", "NetworkMonitor", "network", "probe finished in {small}ms with code 204"),
    ("D", "Launcher", "launcher", "row {small} bound, {small} items"),
    ("W", "Launcher", "launcher", "image cache is full: {small} entries"),
]
SPARSE = [("I", "chatty", "system", "uid=1000(system) expire {small} lines"),
          ("W", "logd", "logd", "dropped {small} lines of com.example.player")]
SECTIONS = """\
========================================================
== dumpstate: {start}
========================================================

Build: TV-12-0412 test-keys
Kernel: Linux version 4.19.116
Uptime: up 0 weeks, 0 days, 0 hours, 3 minutes

------ MEMORY INFO (/proc/meminfo) ------
MemTotal:        2048000 kB
MemFree:          318444 kB
------ 0.004s was the duration of 'MEMORY INFO' ------

------ SYSTEM LOG (logcat -v threadtime -v printable -d *:v) ------
{log}
------ 0.142s was the duration of 'SYSTEM LOG' ------

------ LAST LOGCAT (logcat -L -b all -v threadtime -d *:v) ------
------ 0.009s was the duration of 'LAST LOGCAT' ------
========================================================
== dumpstate: done
========================================================
"""


@dataclass(frozen=True)
class Style:
    """Form of a log: brief or threadtime lines, with the year, with headers, lossy, or as a bug report."""
    brief: bool = False
    year: bool = False
    headers: bool = False
    lossy: bool = False
    bugreport: bool = False


@dataclass(frozen=True)
class Line:
    time: datetime.datetime
    pid: int
    tid: int
    level: str
    tag: str
    text: str

    def format(self, style):
        if style.brief:
            return f"{self.level}/{self.tag:<8}({self.pid:5d}): {self.text}"
        time = self.time.strftime("%Y-%m-%d %H:%M:%S.%f" if style.year else "%m-%d %H:%M:%S.%f")[:-3]
        return f"{time} {self.pid:5d} {self.tid:5d} {self.level} {self.tag:<8}: {self.text}"


def parse(log):
    """Returns the lines of a log of the virtual TV, oldest first."""
    lines = []
    for text in log.decode(errors="replace").splitlines():
        found = LINE.fullmatch(text)
        if found:
            time, pid, tid, level, tag, message = found.groups()
            time = datetime.datetime.strptime(f"{YEAR}-{time}", "%Y-%m-%d %H:%M:%S.%f")
            lines.append(Line(time, int(pid), int(tid), level, tag, message))
    return lines


class Noise:
    """Lines of other programs, the same ones for the same seed."""

    def __init__(self, seed):
        self._random = random.Random(seed)
        self._pids = {}

    def line(self, time, templates):
        level, tag, process, text = self._random.choice(templates)
        pid = self._pids.setdefault(process, self._random.randrange(300, 1200))
        text = re.sub(r"\{(\w+)\}", lambda size: str(self._random.randrange(900 if size[1] == "small" else 99999)), text)
        return Line(time, pid, pid + self._random.randrange(9), level, tag, text)

    def between(self, first, last, lossy):
        """Returns lines with times from that of the line `first` to that of `last`."""
        span = (last.time - first.time) / (NOISE_PER_LINE + 1)
        for i in range(NOISE_PER_LINE):
            rare = lossy and self._random.random() < 0.1
            time = first.time + (i + 1) * span
            yield self.line(time.replace(microsecond=time.microsecond // 1000 * 1000), SPARSE if rare else NOISE)


def crash_lines(lines):
    """Returns what the TV logs about a daemon that has crashed after its last line."""
    last = lines[-1]
    end = replace(last, tid=last.pid, time=last.time + datetime.timedelta(milliseconds=1))
    return [replace(end, level="F", tag="libc", text="Fatal signal 11 (SIGSEGV), code 1 (SEGV_MAPERR), fault addr 0x0 "
                                                     f"in tid {last.tid} (hidlaudio), pid {last.pid} (hidlaudio)"),
            Line(end.time, 1, 1, "I", "init", f"Service 'hidlaudio' (pid {last.pid}) received signal 11")]


def render(lines, style, seed):
    """Returns the text of the log with noise between the daemon's lines."""
    noise = Noise(seed)
    texts = ["--------- beginning of main"] if style.headers or style.bugreport else []
    for line, following in zip(lines, lines[1:] + [lines[-1]]):
        texts.append(line.format(style))
        texts += [other.format(style) for other in noise.between(line, following, style.lossy)]
        if style.headers and following.pid != line.pid and following.tag == lines[0].tag:
            texts.append("--------- beginning of main")  # the TV has been restarted
    log = "\n".join(texts)
    return SECTIONS.format(start=lines[-1].time.replace(microsecond=0), log=log) if style.bugreport else log + "\n"
