# SPDX-License-Identifier: Apache-2.0
"""The real TV of a hunt: resets it, takes single steps on it, and observes their effects."""

import os
import re
import tempfile
import threading
import time

import hidlaudio

import headphone_virtualizer
from world import KEPT, NO_TAG

TAGS = {"HidlAudio", "hdmiaudio", "AudioOutSp", "AudioAC", "AudioHV", "MicControl", NO_TAG}
FOLDERS = [KEPT, "soc/config/", "soc/faults/", "hal/faults/", "hal/parameters/", "soc/audio_decoder/",
           "soc/audio_post/", "soc/bectrl/", "bectrl/", "data/vendor/tmp/", "data/vendor/tmp/recipe/",
           "proc/driver/tovi_bectrl/audio/", "power/"]
SINGLE_FILES = ["soc/eeprom.bin", "manifest"]
# Written by the driver, or by the uploads in an order of their own.
UNCOMPARED = re.compile(r"proc/|power/|bectrl/(behaviour|\w+\.\w+\.|\w+-)|.*/\.|manifest|soc/eeprom.bin")
LINE = re.compile(r"[\d-]+ [\d:.]+ +(\d+) +(\d+) (\w) (.*?) *: (.*)", re.S)
# Calls of the two paths that the main thread and the uploads make: their order is open.
PLATFORM_CALLS = {"middleware", "hal", "kernel"}
UPLOAD_CALLS = {"epoll_create", "epoll_create1", "epoll_ctl", "epoll_wait", "timerfd_create",
                "timerfd_settime", "usleep", "ioctl", "close", "fclose", "lseek", "fseek"}


class Callback:
    """A callback of a client. `calls` are made from inside the first call that arrives."""

    def __init__(self, lab, client, calls=()):
        self.lab, self.client, self.calls = lab, client, tuple(calls)
        self.proxy, self.played = self.receive, False

    def __deepcopy__(self, _memo):
        return self

    def __repr__(self):
        return f"callback of client {self.client}"

    def receive(self, argument):
        with self.lab.lock:
            self.lab.events.append((self, argument))
            calls = () if self.played else self.calls
            self.played = self.played or bool(calls)
        for path, arguments in calls:
            result = plain(self.lab.call(self.client[0], path, arguments))
            with self.lab.lock:
                self.lab.nested.append(result)


def plain(value):
    """A result as dicts and lists, so that it can be compared with the predicted one."""
    if isinstance(value, list):
        return [plain(item) for item in value]
    if hasattr(value, "__dataclass_fields__"):
        return {name: plain(getattr(value, name)) for name in value.__dataclass_fields__}
    if isinstance(value, dict):
        return {name: plain(item) for name, item in value.items()}
    return value


class RecordedTv(hidlaudio.Tv):
    """A TV whose programs record their platform calls."""

    def __init__(self, calls_file, **options):
        self.calls_file = calls_file
        super().__init__(**options)

    def environment(self, clock=1, call_faults=None):
        return super().environment(clock, call_faults) | {"HIDLAUDIO_CALLS": self.calls_file}


class Lab:
    def __init__(self, model):
        self.calls_file = tempfile.NamedTemporaryFile(prefix="hidlaudio-calls-")
        self.lock = threading.RLock()
        self.tv = RecordedTv(self.calls_file.name, model=model, boot=False)
        self.root = str(self.tv.path) + "/"
        self.factory = self.files()
        self.factory[KEPT] = b""
        self.model = model
        self.clients = []
        self.patience, self.longest_wait = 60, 0  # seconds
        self.forget()

    def close(self):
        for client in filter(None, self.clients):
            client.kill()
        self.tv.close()

    # Files of the TV.

    def files(self):
        found = {}
        for folder in FOLDERS:
            try:
                entries = os.scandir(self.root + folder)
            except FileNotFoundError:
                continue
            found |= {folder + entry.name: entry for entry in entries if entry.is_file()}
        found |= {path: None for path in SINGLE_FILES}
        contents = {}
        for path in found:
            try:
                with open(self.root + path, "rb") as file:
                    contents[path] = file.read()
            except FileNotFoundError:
                pass  # a temporary file of the TV
        if os.path.isdir(self.root + KEPT):
            contents[KEPT] = b""
        return contents

    def put(self, path, content):
        """Writes, creates or (None) deletes a file, or the folder of the kept files."""
        place = self.root + path
        if path == KEPT:
            if content is None:
                for name in os.listdir(place):
                    os.unlink(place + name)
                os.rmdir(place)
            else:
                os.makedirs(place, exist_ok=True)
        elif content is None:
            if os.path.exists(place):
                os.unlink(place)
        else:
            os.makedirs(os.path.dirname(place), exist_ok=True)
            with open(place + ".put", "wb") as file:
                file.write(content)
            os.rename(place + ".put", place)

    def put_behaviour(self, settings):
        def line(kind, name, value):
            kind = "" if name == "open_fails" else headphone_virtualizer.NAMES[kind] + " "
            return f"{kind}{name} {('off', 'on')[value] if isinstance(value, bool) else value}\n"
        lines = [line(kind, name, value) for kind, values in settings.items() for name, value in values.items()
                 if kind == 0 or name != "open_fails"]
        self.put("bectrl/behaviour", "".join(lines).encode())

    # Processes.

    def reset(self):
        """Brings the TV back to its factory state, with the daemon stopped."""
        for program in ("hidlaudio",) if self.tv.pid("audio_hal") else ("hidlaudio", "audio_hal"):
            self.stop(program)
        now = self.files()
        for path in sorted(now.keys() - self.factory.keys(), reverse=True):
            self.put(path, None)
        for path, content in self.factory.items():
            if now.get(path) != content:
                self.put(path, content)
        for folder in ("soc/faults", "hal/faults"):
            os.makedirs(self.root + folder, exist_ok=True)
        self.forget()

    def forget(self):
        self.events, self.nested, self.threads = [], [], {}
        self.log_at = self.calls_at = 0
        self.main, self.calls, self.tail = [], [], b""

    def stop(self, program):
        if self.tv.pid(program):
            self.tv.expect_end(program)
            self.tv.kill(program)

    def start_hal(self, clock):
        if not self.tv.pid("audio_hal"):
            self.tv.start("audio_hal", clock=clock)

    def start(self, start):
        self.log_at = self.size("log/hidlaudio.log")
        self.calls_at = os.path.getsize(self.calls_file.name)
        self.main, self.calls, self.tail, self.threads = [], [], b"", {}
        faults = str(start.call_fault) if start.call_fault else None
        self.tv.start("hidlaudio", clock=start.clock, call_faults=faults)

    def size(self, path):
        return os.path.getsize(self.root + path) if os.path.exists(self.root + path) else 0

    def client(self, number):
        while len(self.clients) <= number:
            self.clients.append(None)
        if self.clients[number] is None:
            self.clients[number] = self.tv.client()
            self.clients[number].timeout = 120
        return self.clients[number]

    def call(self, client, path, arguments):
        service, method = path.split(".")
        arguments = [argument.proxy if isinstance(argument, Callback) else argument for argument in arguments]
        return getattr(getattr(self.client(client), service), method)(*arguments)

    # Observation.

    def read_log(self):
        with open(self.root + "log/hidlaudio.log", "rb") as file:
            file.seek(self.log_at)
            new = file.read()
        self.log_at += len(new)
        *lines, self.tail = (self.tail + new).split(b"\n")
        for line in lines:
            found = LINE.fullmatch(line.decode("utf-8", "surrogateescape"))
            if found is None or found[4] not in TAGS:
                continue
            thread = self.main if found[1] == found[2] else self.threads.setdefault(found[2], [])
            thread.append((found[3], found[4], found[5]))

    def read_calls(self):
        with open(self.calls_file.name, "rb") as file:
            file.seek(self.calls_at)
            new = file.read()
        self.calls_at += len(new)
        for line in new.decode("utf-8", "surrogateescape").splitlines():
            kind, name, target = (line.split("\t") + ["", ""])[:3]
            target = target.removesuffix(" (deleted)")
            if kind not in PLATFORM_CALLS or name in UPLOAD_CALLS or "tovi_bectrl" in target:
                continue
            self.calls.append((name, target))

    def wait(self, condition, patience):
        """Waits for a condition on the log and the events, but not longer than `patience` seconds."""
        start = time.monotonic()
        while True:
            self.read_log()
            waited = time.monotonic() - start
            with self.lock:
                if condition():
                    self.longest_wait = max(self.longest_wait, waited)
                    return
            if waited > patience:
                return
            time.sleep(0.0005)

    def lose_patience(self):
        """Shortens the waits for things that will probably not come."""
        self.patience = min(self.patience, max(1, 4 * self.longest_wait))
