# SPDX-License-Identifier: Apache-2.0
"""The model of the daemon's environment: files, middleware, audio HAL, system calls, log.

`World.files` has the files of the virtual TV by their paths below its root. After each step they are compared
with those of the real TV. The model of each service is a module of its own and uses the functions of `World`. It
logs, calls and stores in the order in which the daemon must do so.
"""

import copy
import errno
import functools
from dataclasses import dataclass, field

import acoustic_calibration
import center_speaker
import encoding_status_listener
import hdmi_audio
import headphone_virtualizer
import mic_control
import output_external
import output_speaker
from prediction_values import ANY, FREE, HAL_OK

NO_TAG = "hidlaudio"  # the log library's default: the name of the program
KEPT = "data/vendor/tovi/hidlaudio/"
MARKER = "data/vendor/tmp/dtv_svc_is_ready"
COMMANDS = "soc/bectrl/custom_spec.log"
MISSING, UNCONNECTED = -1, -3  # statuses of the middleware


class DaemonDied(Exception):
    """An injected fault has killed the daemon in the middle of a call."""


@dataclass
class CallFault:
    """A fault of the daemon's system calls. Its text has the form of HIDLAUDIO_FAULT: `name:nth[+]:outcome`."""
    name: str
    nth: int
    lasting: bool = False
    error: str = "EIO"
    short: int = -1  # bytes that are transferred instead of an error

    def __str__(self):
        outcome = f"short={self.short}" if self.short >= 0 else self.error
        return f"{self.name}:{self.nth}{'+' if self.lasting else ''}:{outcome}"


@dataclass
class Start:
    """How the daemon is started."""
    clock: int = 4
    hal: bool = True          # whether the TV declares the audio HAL
    call_fault: CallFault = None


@dataclass
class Expected:
    """The prediction of one step: the main thread's lines of the log, calls of platform functions, result."""
    log: list = field(default_factory=list)
    calls: list = field(default_factory=list)
    result: object = None
    died: bool = False


class World:
    """A TV with a daemon. Copies of it are independent predictions."""

    TIMES_OUT = 1000  # with clocks of at least this speed, uploads that hang time out within a step

    def __init__(self, files, model):
        self.files = dict(files)
        self.model = model
        self.hal_lives = True
        self.running = False
        self.abandoned = False       # whether the driver hangs in an upload that has timed out
        self.wake_locks_stay = False  # whether a wake lock was left behind
        self.bectrl = {kind: dict(headphone_virtualizer.DEFAULTS) for kind in headphone_virtualizer.NAMES}
        self.events = []     # calls of callbacks: (callback, argument)
        self.nested = []     # results of the calls that callbacks made
        self.played = set()  # callbacks that have made their calls
        self.dead_clients = set()
        self.out = Expected()

    def copy(self):
        memo = {id(self.files): dict(self.files)}
        return copy.deepcopy(self, memo)

    # Log and calls.

    def log(self, level, tag, text):
        text = text.encode("utf-8", "surrogateescape")[:1023].decode("utf-8", "surrogateescape")
        lines = text.split("\n")
        if lines[-1] == "":
            lines.pop()
        self.out.log += [(level, tag or NO_TAG, line) for line in lines]

    def call(self, name, target=""):
        """A call of a platform function or a system call that can be made to fail. Returns (errno, bytes)."""
        self.out.calls.append((name, str(target)))
        self.counted[name] = self.counted.get(name, 0) + 1
        fault = self.start.call_fault
        if fault is None or fault.name != name:
            return 0, None
        count = self.counted[name]
        if not (count >= fault.nth if fault.lasting else count == fault.nth):
            return 0, None
        if fault.short >= 0:
            return 0, fault.short
        return getattr(errno, fault.error), None

    def thread_call(self, name):
        """A system call of an upload. Its order among the calls of the main thread is open. Returns an errno."""
        before = len(self.out.calls)
        error, _ = self.call(name)
        del self.out.calls[before:]
        return error

    def notify(self, callback, argument, upload=None):
        """The daemon calls a client, which may call back once."""
        if callback.client in self.dead_clients:
            if upload:
                upload.log.append(("E", headphone_virtualizer.TAG, FREE))
            return
        self.events.append((callback, argument))
        if not callback.calls or callback in self.played:
            return
        self.played.add(callback)
        kept = self.out.log
        self.out.log = upload.log if upload else kept
        for path, arguments in callback.calls:
            self.nested.append(self.method(path)(*arguments))
        self.out.log = kept

    def method(self, path):
        """The prediction of one method: "mic.get_mic_gain"."""
        service, method = path.split(".")
        return functools.partial(getattr(getattr(self, service), method), self)

    # Faults of middleware and HAL.

    def injected(self, function, folder="soc"):
        """Consumes one use of the fault on a function. Returns its status, or None if the function works."""
        path = f"{folder}/faults/{function}"
        if path not in self.files:
            return None
        outcome, *rest = self.files[path].decode().split()
        count, skip = [int(word) for word in rest + ["0", "0"]][:2]
        if skip > 0:
            skip -= 1
            self.files[path] = f"{outcome} {count}{f' {skip}' if skip else ''}\n".encode()
            return None
        if count == 1:
            del self.files[path]
        elif count > 1:
            self.files[path] = f"{outcome} {count - 1}\n".encode()
        if outcome == "dies" and folder == "soc":
            raise DaemonDied
        if outcome == "dies":
            self.hal_lives = False
            return None
        return int(outcome) if not outcome.startswith("delay") else None

    def middleware(self, function, target=""):
        """Returns the status of a call that only needs the connection."""
        self.call(function, target)
        status = self.injected(function)
        if status is not None:
            return status
        return 0 if self.connected else UNCONNECTED

    def connect(self, function):
        self.call(function)
        status = self.injected(function)
        if status is None:
            self.connected = True
        return status or 0

    def plain(self, function):
        self.call(function)
        return self.injected(function) or 0

    # Configuration store.

    def config_get(self, key):
        """Returns (status, value); the value counts only if the status is 0."""
        status = self.middleware("a_mtktvapi_config_get_value", key)
        if status != 0:
            return status, -1
        text = self.files.get("soc/config/" + key)
        try:
            value = int(text)
        except (TypeError, ValueError):
            return MISSING, -1
        return (0, value) if -2**31 <= value < 2**31 else (MISSING, -1)

    def config_set(self, key, value):
        status = self.middleware("a_mtktvapi_config_set_value", key)
        if status == 0:
            self.files["soc/config/" + key] = b"%d\n" % value
        return status

    def number(self, path):
        """Returns (status, value) of an unsigned number that the middleware reports."""
        text = self.files.get(path, b"")
        return (0, int(text)) if text.strip().isdigit() and int(text) < 2**32 else (MISSING, 0)

    # Readiness, EEPROM, back-end controller.

    def is_ready(self):
        error, _ = self.call("access", "/" + MARKER)
        return error == 0 and MARKER in self.files

    def sleep(self):
        self.call("nanosleep")

    def wait_ready(self, tries, on_try=None):
        """Returns the number of sleeps, or None after `tries` tests."""
        for count in range(tries):
            if self.is_ready():
                return count
            if on_try:
                on_try(count)
            self.sleep()
        return None

    def open_playback(self, tag, name):
        """The playback-control sequence."""
        self.plain("IMtkPb_Ctrl_Init")
        status = self.connect("MTAL_InitExCb")
        if status != 0:
            self.log("E", tag, f"ERROR: {name} MTAL_Init.... , r = {status} \n")
        else:
            self.log("D", tag, f"{name} mtal open success")

    def eeprom_init(self):
        self.middleware("MTEEPROM_GetProperty")
        status = self.middleware("MTEEPROM_Init")
        self.eeprom_ready = self.eeprom_ready or status == 0
        return status

    def eeprom(self, address):
        """Returns the byte, or None if it cannot be read."""
        status = self.middleware("MTEEPROM_Read", address)
        image = self.files.get("soc/eeprom.bin", b"")
        return image[address] if status == 0 and address < len(image) else None

    def is_back_end_model(self, tag, function, default, failed):
        self.plain("DRV_Init")
        if self.connect("MTAL_Init") != 0:
            return default
        if self.eeprom_init() != 0:
            self.log("E", tag, f"[{function}] Eeprom init {failed}.")
            return default
        flag = self.eeprom(0x1001A)
        if flag is None:
            self.log("E", tag, f"[{function}] Eeprom read {failed}.")
            return default
        return flag != 0

    def wait_back_end(self, tag, function, message):
        status = self.connect("MTAL_InitExCb")
        if status != 0:
            self.log("E", tag, f"[{function}] {message % status}")
            return
        for _ in range(30):
            status = self.middleware("MTDRVCUST_dcustom_cust_spec_get", 21)
            if status == 0:
                status, state = self.number("soc/bectrl/boot_state")
            if status != 0:
                self.log("E", tag, f"[{function}] MTDRVCUST_dcustom_cust_spec_get failed!!({status})")
                return
            if state == 1:
                return
            self.sleep()
        self.log("E", tag, f"[{function}] wait BeCtrl launch timeout.")

    def send_command(self, kind, payload):
        status = self.middleware("MTDRVCUST_dcustom_cust_spec_set", kind)
        if status == 0:
            if self.model != "be":
                return MISSING  # this TV has no controller, whatever the daemon believes
            line = f"{kind} {len(payload)} {payload.hex()}\n".encode()
            self.files[COMMANDS] = self.files.get(COMMANDS, b"") + line
        return status

    def set_equalizer(self, gains):
        status = self.middleware("MTAUDDEC_Set32EqualizerBandConfig")
        if status == 0:
            self.files["soc/audio_decoder/equalizer"] = gains
        return status

    # Audio HAL.

    def hal_device(self, tag):
        """The device for one service's constructor. Returns whether there is one."""
        if not self.device:
            if not self.start.hal or not self.hal_lives:
                self.log("E", None, "load audio interface failed")
            else:
                self.call("openPrimaryDevice")
                self.device = self.injected("openPrimaryDevice", "hal") is None and self.hal_lives
        if not self.device:
            self.log("E", tag, "load audio interface failed")
        return self.device

    def hal_set(self, key, value):
        """Returns the HAL's result, or None if it is dead."""
        if not self.hal_lives:
            return None
        self.call("setParameters", key)
        result = self.injected("setParameters", "hal")
        if not self.hal_lives:
            return None
        if result is None:
            self.files["hal/parameters/" + key] = value.encode() + b"\n"
        return result or HAL_OK

    def hal_get(self, key):
        """Returns the parameter's text, or None if the HAL delivers none."""
        if not self.hal_lives:
            return None
        self.call("getParameters", key)
        if self.injected("getParameters", "hal") is not None or not self.hal_lives:
            return None
        text = self.files.get("hal/parameters/" + key)
        return None if text is None else text.decode("utf-8", "surrogateescape").removesuffix("\n")

    # System calls on files.

    def open(self, path, create=False, truncate=False, call="open"):
        """Returns 0 or an errno. The file exists afterwards if it could be created."""
        error, _ = self.call(call, "/" + path)
        if error:
            return error
        if path not in self.files:
            if not create or self.missing_folder(path):
                return errno.ENOENT
            self.files[path] = b""
        elif truncate:
            self.files[path] = b""
        return 0

    def missing_folder(self, path):
        return path.rpartition("/")[0] + "/" not in self.files

    def read(self, path, offset, size, call="read"):
        """Returns (errno, bytes). The errno is ANY if the file just ends."""
        error, short = self.call(call, "/" + path)
        if error:
            return error, b""
        data = self.files[path][offset:offset + size]
        return ANY, data if short is None else data[:short]

    def write(self, path, offset, data):
        """Returns (errno, bytes written)."""
        error, short = self.call("write", "/" + path)
        if error:
            return error, -1
        data = data if short is None else data[:short]
        old = self.files[path]
        self.files[path] = old[:offset] + data + old[offset + len(data):]
        return ANY, len(data)

    def fsync(self, path):
        self.call("fsync", "/" + path)

    def seek(self, path, target):
        error, _ = self.call("fseek", f"/{path} {target}" if target else "/" + path)
        return error

    # The daemon.

    def boot(self, start):
        """Starts the daemon: all constructors, in their order."""
        self.start = start
        self.counted = {}
        self.connected = self.eeprom_ready = self.device = False
        self.log("D", "HidlAudio", "########## HIDL server side: main() is called:")
        self.running = True
        self.hdmi = hdmi_audio.HdmiAudio(self)
        self.listener = encoding_status_listener.OutputEncodingStatusListener()
        self.external = output_external.OutputExternal(self)
        self.speaker = output_speaker.OutputSpeaker(self)
        self.calibration = acoustic_calibration.AcousticCalibration(self)
        self.center = center_speaker.CenterSpeaker(self)
        self.virtualizer = headphone_virtualizer.HeadphoneVirtualizer(self)
        self.mic = mic_control.MicControl(self)

    def crash(self):
        """The daemon and its uploads have ended; the driver has reset its state files."""
        if self.running or self.abandoned:
            for kind, slot in self.virtualizer.slots.items():
                if slot.upload or self.abandoned:
                    self.files[headphone_virtualizer.proc_file(kind)] = bytes(2)
            self.wake_locks_stay = self.wake_locks_stay or self.virtualizer_busy()
        self.running = self.abandoned = False

    def client_died(self, client, registrations):
        self.dead_clients.add(client)
        self.hdmi.client_died(self, client, registrations)

    def virtualizer_busy(self):
        return self.running and any(slot.upload for slot in self.virtualizer.slots.values())

    def may_die(self):
        return any(text.startswith(b"dies") for path, text in self.files.items() if "/faults/" in path)

    def needs_time(self):
        """Whether something that the daemon waits for does not come."""
        return (MARKER not in self.files or self.model == "be" and self.number("soc/bectrl/boot_state") != (0, 1)
                or self.number("soc/audio_post/ready")[1] == 0)

    def perform(self, action):
        """Predicts one action, which is a function of this world."""
        self.out = Expected()
        try:
            self.out.result = action(self)
        except DaemonDied:
            self.out.died = True
        return self.out
