# SPDX-License-Identifier: Apache-2.0
"""A virtual TV."""
import json
import os
import shutil
import signal
import subprocess
import tempfile
import time
import traceback
from pathlib import Path

from . import programs
from .client import Client
from .errors import TvError
from .guardian import guard
from .log import Log
from .processes import end, pause, start, wait_for_end
from .tv_values import BackEnd, Config, Eeprom, Files, HalParameters

PROGRAMS = ("audio_hal", "hidlaudio")
_BOOT_TIMEOUT = 180
_HAL_FUNCTIONS = ("openPrimaryDevice", "setParameters", "getParameters")
_ALL_CALLS = 2**31 - 1


class Fault:
    """An injected fault. A context manager that clears it."""

    def __init__(self, tv, function):
        self._tv = tv
        self._function = function

    def clear(self):
        self._tv.command("fault", "--clear", self._function)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.clear()


class Tv:
    """A TV in a folder of its own. docs/python.md describes the options."""

    def __init__(self, *, model="be", centre_input=False, clock=1, services=None, files=None, config=None,
                 eeprom=None, faults=None, call_faults=None, boot=True):
        self._program = programs.program("tv")
        self._folder = Path(tempfile.mkdtemp(prefix="hidlaudio-"))
        self.path = self._folder / "tv"
        guard("tv", f"{self._folder}\t{self._program}")
        self.clients = []
        self.generation = 0
        self._clock = clock
        self._running = {}      # the processes by program, until the next start
        self._expected = set()  # programs that may end, until they are started again
        self._dying = set()     # programs that a fault may kill
        self._reported = set()
        self.log = Log(self.path / "log")
        self.files = Files(self.path)
        self.hal = HalParameters(self.path / "hal/parameters")
        self.config = Config(self)
        self.eeprom = Eeprom(self)
        self.bectrl = BackEnd(self)
        try:
            self.command("init", "--model", model, *(["--centre-input"] if centre_input else []))
            self._own_services = self._declared()
            if services is not None:
                self.files["manifest"] = "".join(f"{name}\n" for name in services)
            for mapping, values in ((self.files, files), (self.config, config), (self.eeprom, eeprom)):
                _assign(mapping, values or {})
            for function, fault in (faults or {}).items():
                self.fault(function, **(fault if isinstance(fault, dict) else {"status": fault}))
            if boot:
                self.boot(call_faults=call_faults)
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def client(self, program=None):
        """Returns a new client process of this TV."""
        return Client(self, program)

    def command(self, *arguments):
        """Runs a command of `tv`. Returns its output. Raises TvError with its message."""
        done = subprocess.run([self._program, "--tv", self.path, *arguments], stdin=subprocess.DEVNULL,
                              capture_output=True, check=False)
        if done.returncode != 0:
            raise TvError(done.stderr.decode(errors="replace").strip())
        return done.stdout.decode(errors="replace")

    def environment(self, clock=1, call_faults=None):
        """Returns the environment of a program of this TV."""
        environment = {name: value for name, value in os.environ.items() if not name.startswith("HIDLAUDIO_")}
        environment["HIDLAUDIO_TV"] = str(self.path)
        if clock != 1:
            environment["HIDLAUDIO_CLOCK"] = str(clock)
        if call_faults:
            environment["HIDLAUDIO_FAULT"] = call_faults
        return environment

    def new_client_log(self):
        return self._folder / f"client-{len(self.clients) + 1}.log"

    def boot(self, clock=None, call_faults=None):
        """Starts the programs that are not running."""
        for name in PROGRAMS:
            if self.pid(name) is None:
                self.start(name, clock, call_faults)

    def reboot(self, clock=None, call_faults=None):
        self.shutdown()
        self.boot(clock, call_faults)

    def shutdown(self):
        for name in reversed(PROGRAMS):
            process = self._running.pop(name, None)
            if process is not None:
                self._note_end(name, process)
                end(process)
        self.generation += 1

    def start(self, program, clock=None, call_faults=None, wait=True):
        """Starts one program, and waits until its services are registered."""
        if program not in PROGRAMS:
            raise ValueError(f"{program!r} is not one of {', '.join(PROGRAMS)}")
        if self.pid(program) is not None:
            raise TvError(f"{program} is running already")
        if program in self._running:
            self._note_end(program, self._running.pop(program))
        self._clock = clock or self._clock
        if not isinstance(call_faults, dict):
            call_faults = {"hidlaudio": call_faults}
        (self.path / "log").mkdir(mode=0o755, exist_ok=True)
        process = start(programs.program(program), [], self.path / f"log/{program}.log", cwd="/",
                        env=self.environment(self._clock, call_faults.get(program)), start_new_session=True)
        guard("process", process.pid)
        self._running[program] = process
        self._expected.discard(program)
        self.generation += 1
        if wait:
            self._wait_for_services(program, process)

    def kill(self, program, signal=signal.SIGKILL):
        """Sends a signal and waits for the end of the program."""
        self._expected.add(program)
        self._process(program).send_signal(signal)
        self.wait_for_end(program)

    def pause(self, program):
        pause(self._process(program))

    def resume(self, program):
        self._process(program).send_signal(signal.SIGCONT)

    def pid(self, program):
        """Returns the process of the program, or None if it is not running."""
        process = self._running.get(program)
        return process.pid if process is not None and process.poll() is None else None

    def wait_for_end(self, program, timeout=10):
        """Waits for the end of the program. Returns its exit status, negative if a signal killed it."""
        process = self._running.get(program)
        if process is None:
            return None
        status = wait_for_end(process, timeout)
        if status is None:
            raise TimeoutError(f"{program} has not ended in {timeout} s")
        self.generation += 1
        return status

    def expect_end(self, program):
        """The program may end from now on, until it is started again."""
        self._expected.add(program)

    def fault(self, function, status=None, *, count=None, after=0, delay=None, dies=False, short=None):
        """Makes a function or system call fail, or take `delay` seconds longer by the TV's clock, or transfer
        `short` bytes at most, or kill its process. The status of a system call is an errno or its name."""
        if (status is not None) + (delay is not None) + (short is not None) + dies != 1:
            raise TypeError("a fault needs one of status, delay, dies and short")
        text = "dies" if dies else str(status)
        if delay is not None:
            text = f"delay={round(delay * 1000)}"
        if short is not None:
            text = f"short={short}"
        if dies:
            self._dying.add("audio_hal" if function in _HAL_FUNCTIONS else "hidlaudio")
        counts = [str(count or _ALL_CALLS), str(after)] if count or after else []
        self.command("fault", "--", function, text, *counts)
        return Fault(self, function)

    def clear_faults(self):
        self.command("fault", "--clear")
        for name, process in self._running.items():
            self._note_end(name, process)
        self._dying.clear()

    def state(self):
        """Returns the state of the TV, as `tv show --json` prints it."""
        return json.loads(self.command("show", "--json"))

    def problems(self):
        """Returns the events that the test did not expect, one sentence each. Returns each event once."""
        for name, process in self._running.items():
            self._note_end(name, process)
        new = list(self._reported)
        self._reported.clear()
        for number, client in enumerate(self.clients, 1):
            new += [_describe(error, number) for error in client.callback_errors]
            client.callback_errors.clear()
        return new

    def close(self):
        """Ends everything and deletes the folder."""
        for client in self.clients:
            client.close()
        self.shutdown()
        if self.path.exists():
            self.command("shutdown")  # ends programs that the test has started with `tv boot`
        shutil.rmtree(self._folder, ignore_errors=True)
        guard("gone", self._folder)

    def client_logs(self):
        return {file.stem: file.read_text(errors="replace") for file in sorted(self._folder.glob("client-*.log"))}

    def _process(self, program):
        if self.pid(program) is None:
            raise TvError(f"{program} is not running")
        return self._running[program]

    def _note_end(self, name, process):
        if process.poll() is None or name in self._expected:
            return
        if name not in self._dying:
            self._reported.add(f"{name} ended with status {process.returncode}, which the test did not expect")
        self._expected.add(name)

    def _declared(self):
        lines = self.files["manifest"].decode().splitlines()
        return {line.strip() for line in lines if line.strip() and not line.startswith("#")}

    def _wait_for_services(self, program, process):
        is_hal = program == "audio_hal"
        wanted = {name for name in self._own_services & self._declared() if name.startswith("android.") == is_hal}
        deadline = time.monotonic() + _BOOT_TIMEOUT
        while wanted:
            wanted = {name for name in wanted if not self._is_registered(name, process.pid)}
            if process.poll() is not None:
                self._expected.add(program)
                raise TvError(f"{program} ended with status {process.returncode}:\n{self._end_of_log(program)}")
            if time.monotonic() > deadline:
                raise TvError(f"{program} has not registered {', '.join(sorted(wanted))}")
            time.sleep(0.003)

    def _is_registered(self, name, pid):
        # The line of a program that was killed stays.
        return f"\n{name} {pid} ".encode() in self.files.get("run/hwbinder/services", b"")

    def _end_of_log(self, program):
        return "\n".join(line.text for line in self.log if line.program == program)[-2000:]


def _assign(mapping, values):
    for key, value in values.items():
        if value is not None:
            mapping[key] = value
        elif key in mapping:
            del mapping[key]


def _describe(error, number):
    text = "".join(traceback.format_exception(type(error), error, error.__traceback__))
    return f"a callback of client {number} raised:\n{text}"
