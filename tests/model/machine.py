# SPDX-License-Identifier: Apache-2.0
"""The state machine: random clients, faults, deaths and restarts on a TV.

Each step is predicted with the model and taken on the real TV. Then result, log, platform calls, callbacks and
all files are compared.
"""

import functools
import itertools
import struct
import time
import types

import hidlaudio
from hypothesis import assume, strategies as st
from hypothesis.stateful import RuleBasedStateMachine, precondition, rule

import values
from comparison import Died, differences
from lab import Callback, Lab, plain
from mic_control import MIC
from prediction_values import TUNING
from world import KEPT, CallFault, Start, World

SLOW, FASTEST = 1, 1000000  # speeds of the clock
# Seconds of an upload that hangs: it times out after 20, so no step begins after 5, and no step waits longer than 12.
UPLOAD_TIMEOUT, LAST_STEP, LONGEST_STEP = 20, 5, 12
labs = {}  # one real TV per model of TV, for the life of the process
progress = types.SimpleNamespace(steps=0, failure="")


def lab_of(model):
    if model not in labs:
        labs[model] = Lab(model)
    return labs[model]


def close_labs():
    while labs:
        labs.popitem()[1].close()


def pattern(size, seed):
    return (bytes((seed + 7 * i) % 251 for i in range(251)) * (size // 251 + 1))[:size]


# Preconditions. They are named functions, because Hypothesis reads the source text of lambdas, which is slow.
def is_running(machine):
    return machine.world.running


def hal_lives(machine):
    return machine.world.running and machine.world.hal_lives


def may_upload(machine):
    """Whether the effect of the call fault does not depend on the order of the threads."""
    world = machine.world
    fault = world.running and world.start.call_fault
    counted = fault and (fault.name == "open" or fault.name in ("fopen", "fread")
                         and not (fault.lasting and fault.nth == 1))
    return world.running and world.start.clock <= World.TIMES_OUT and not counted and not world.abandoned


class Machine(RuleBasedStateMachine):
    model = None

    def __init__(self):
        super().__init__()
        self.lab = lab_of(self.model)
        self.lab.reset()
        self.world = World(self.lab.factory, self.model)
        self.uploading_since = None
        self.generations = [0, 0, 0]  # how often each client was killed and replaced
        self.boot(Start(clock=SLOW))

    def teardown(self):
        for number, client in enumerate(self.lab.clients):
            if client and client.callback_errors:
                client.kill()
                self.lab.clients[number] = None
        self.lab.stop("hidlaudio")

    # One step.

    def step(self, real, *alternatives):
        """Takes a step on the TV. Its effects must match one of the alternative predictions."""
        progress.steps += 1
        start = time.monotonic()
        assume(not self.uploading_since or start - self.uploading_since < LAST_STEP)
        self.lab.events.clear()
        self.lab.nested.clear()
        self.world.events, self.world.nested = [], []
        worlds = [self.world] + [self.world.copy() for _ in alternatives[1:]]
        predictions = [world.perform(action) for world, action in zip(worlds, alternatives)]
        if any(prediction.died for prediction in predictions):
            self.lab.tv.expect_end("hidlaudio")
        if not self.world.hal_lives:
            self.lab.tv.expect_end("audio_hal")
        try:
            result = plain(real())
        except hidlaudio.DeadObject:
            result = Died()
        found = []
        for world, prediction in zip(worlds, predictions):
            patience = min(self.lab.patience, LONGEST_STEP) if world.virtualizer_busy() else self.lab.patience
            found.append(differences(self.lab, world, prediction, result, patience))
            if not found[-1]:
                self.world = world
                return self.settle(prediction, start)
        assume(not self.has_timed_out(start))
        self.lab.lose_patience()  # similar examples follow, to shorten this one
        progress.failure = "\n".join(["the model predicts otherwise:"] + min(found, key=len))
        raise AssertionError(progress.failure)

    def has_timed_out(self, start):
        """Whether the machine is so slow that an upload has timed out, which is not predicted at this clock."""
        since = self.uploading_since or start
        return (self.world.start.clock == SLOW and time.monotonic() - since > UPLOAD_TIMEOUT - 1
                and any("imeout" in text for lines in self.lab.threads.values() for _, _, text in lines))

    def settle(self, prediction, start):
        self.lab.main.clear()
        self.lab.calls.clear()
        if prediction.died:
            self.lab.tv.wait_for_end("hidlaudio")
            self.world.crash()
            self.lab.stop("hidlaudio")
        self.uploading_since = (self.uploading_since or start) if self.world.virtualizer_busy() else None

    # Starts and deaths.

    def boot(self, start):
        if self.world.needs_time():
            start.clock = FASTEST
        self.lab.stop("hidlaudio")
        self.world.crash()
        for path in [path for path in self.world.files if "/faults/" in path]:
            if self.world.files[path].startswith(b"dies"):
                self.put(path, None)
        manifest = self.lab.factory["manifest"]
        self.lab.put("manifest", manifest if start.hal else manifest.replace(b"\nandroid", b"\n# android"))
        self.world.hal_lives = start.hal or bool(self.lab.tv.pid("audio_hal"))
        if start.hal:
            self.lab.start_hal(SLOW)
        self.step(lambda: self.lab.start(start), lambda world: world.boot(start))

    @rule(clock=st.sampled_from([SLOW, World.TIMES_OUT]), hal=st.sampled_from([True, True, True, False]),
          call_fault=values.call_faults)
    def restart(self, clock, hal, call_fault):
        """Kills the daemon, and starts it again."""
        self.boot(Start(clock, hal, CallFault(*call_fault) if call_fault else None))

    @precondition(is_running)
    @rule(client=st.integers(0, 2))
    def kill_client(self, client):
        def kill():
            self.lab.clients[client].kill()
            self.lab.clients[client] = None
        self.lab.client(client)
        died = (client, self.generations[client])
        self.generations[client] += 1
        orders = sorted(set(itertools.permutations(self.world.hdmi.registrations(died))))  # any order of the notices
        self.step(kill, *[functools.partial(World.client_died, client=died, registrations=order) for order in orders])
        if self.world.hdmi.callbacks and not self.world.may_die():
            self.act((client + 1) % 3, "hdmi.set_audio_capabilities", (["ARC_DD_PLUS"],))  # calls all others

    def callback(self, client, calls):
        self.lab.client(client)
        calls = [call for call in calls if call[0] != "hdmi.set_audio_capabilities"]
        return Callback(self.lab, (client, self.generations[client]), calls)

    @precondition(hal_lives)
    @rule()
    def kill_hal(self):
        def forget(world):
            world.hal_lives = False
        self.step(lambda: self.lab.stop("audio_hal"), forget)

    # The TV.

    def put(self, path, content):
        self.lab.put(path, content)
        if content is None:
            self.world.files.pop(path, None)
            if path == KEPT:
                for name in [name for name in self.world.files if name.startswith(KEPT)]:
                    del self.world.files[name]
        else:
            self.world.files[path] = content

    @rule(fault=values.faults)
    def fault(self, fault):
        path, text = fault
        if not (text.startswith("dies") and self.world.virtualizer_busy()):
            self.put(path, text.encode() + b"\n" if text else None)

    @rule(client=st.integers(0, 2), texts=values.config)
    def config(self, client, texts):
        """Changes values of the configuration store, and calls the methods that read them."""
        for key, text in texts.items():
            self.put("soc/config/" + key, None if text is None else text.encode() + b"\n")
        for method in sorted({values.KEYS[key] for key in texts} if self.world.running else ()):
            self.act(client, method, ())

    @rule(file=values.files, restart=st.booleans())
    def file(self, file, restart):
        path, content = file
        if self.model != "be" and "bectrl" in path:
            return
        if path.rpartition("/")[0] + "/" == KEPT and KEPT not in self.world.files:
            return
        self.put(path, content)
        if restart or self.world.needs_time() and self.world.start.clock < FASTEST:
            self.boot(Start(clock=SLOW))

    def put_tuning_word(self, at, word):
        data = self.world.files.get(TUNING, b"").ljust(24576, b"\0")
        self.put(TUNING, data[:at] + struct.pack("<I", word & 0xFFFFFFFF) + data[at + 4:])

    @precondition(is_running)
    @rule(client=st.integers(0, 2), at=st.sampled_from([19412 + 0x14, 19412 + 0x34, 19412 + 0x38, 19412 + 0x3C,
                                                        19412 + 0x48, 22340, 22344, 22852]), word=values.words)
    def tuning_of_calibration(self, client, at, word):
        self.put_tuning_word(at, word)
        self.act(client, "calibration.get_calibration_parameters", ())

    @rule(at=st.sampled_from([23924, 23928]), word=values.center_words)
    def tuning_of_center_speaker(self, at, word):
        self.put_tuning_word(at, word)
        self.boot(Start(clock=SLOW))
        self.act(0, "center.get_center_speaker_acoustics_type", ())
        self.act(0, "center.get_center_speaker_latency", ())

    @rule(address=st.sampled_from([0x1001A, 0x10089, 0x10116]), byte=st.sampled_from([0, 1, 2, 0x52, 0x53, 0x54, 0x55]))
    def eeprom(self, address, byte):
        if self.model != "be" and address == 0x1001A:
            return  # a controller that the virtual TV does not have
        data = self.world.files["soc/eeprom.bin"]
        self.put("soc/eeprom.bin", data[:address] + bytes([byte]) + data[address + 1:])
        self.boot(Start(clock=SLOW))
        self.act(0, "center.is_center_speaker_input_available", ())
        self.act(0, "center.is_synchronized_center_speaker_input_available", ())

    # Calls.

    def act(self, client, path, arguments):
        self.step(lambda: self.lab.call(client, path, arguments),
                  lambda world: world.method(path)(*arguments))

    def act_and_read_back(self, client, path, arguments):
        """Makes a call that may fail. If it sets something, then reads it: a failure must not change it."""
        self.act(client, path, arguments)
        if ".set_" in path and self.world.running:
            self.act(client, path.replace(".set_", ".get_"), (MIC,) if path.startswith("mic.") else ())

    @precondition(is_running)
    @rule(client=st.integers(0, 2), call=values.calls)
    def call(self, client, call):
        self.act(client, *call)

    @precondition(is_running)
    @rule(client=st.integers(0, 2), faulty=values.faulty_calls)
    def faulty_call(self, client, faulty):
        path, text, call = faulty
        if path.startswith("hal/") and int(text.split()[0]) not in range(5):
            text = "4 1"  # the HAL has no such result
        self.put(path, text.encode() + b"\n")
        self.act_and_read_back(client, *call)

    @rule(client=st.integers(0, 2), call_fault=values.file_faults, call=values.file_calls)
    def call_after_file_fault(self, client, call_fault, call):
        self.boot(Start(SLOW, True, CallFault(*call_fault)))
        self.act_and_read_back(client, *call)

    @rule(client=st.integers(0, 2), fault=values.start_faults, call=values.calls)
    def call_after_start_fault(self, client, fault, call):
        self.put("soc/faults/" + fault[0], fault[1].encode() + b"\n")
        self.boot(Start(clock=SLOW))
        self.act(client, *call)

    @precondition(is_running)
    @rule(first=values.calls, second=values.calls)
    def calls_at_once(self, first, second):
        def both():
            other = hidlaudio.background(self.lab.call, 1, *second)
            return [self.lab.call(0, *first), other.result()]

        def in_order(world):
            one = world.method(first[0])(*first[1])
            return [one, world.method(second[0])(*second[1])]

        def reversed_order(world):
            other = world.method(second[0])(*second[1])
            return [world.method(first[0])(*first[1]), other]
        if not self.world.may_die() and not self.world.virtualizer_busy():
            self.step(both, in_order, reversed_order)

    @precondition(is_running)
    @rule(client=st.integers(0, 2), data=values.valid_results)
    def calibrate(self, client, data):
        """Stores results and switches them on, so that all later steps find them."""
        self.act(client, "calibration.set_calibrated_data", (data,))
        self.act(client, "calibration.set_enabled", (True,))

    @precondition(is_running)
    @rule(client=st.integers(0, 2), calls=st.lists(values.calls, max_size=2), times=st.sampled_from([1, 1, 2, 3]))
    def set_callback(self, client, calls, times):
        callback = self.callback(client, calls)
        for _ in range(times):
            self.act(client, "hdmi.set_callback", (callback,))

    # Uploads.

    def handle_of(self, name):
        if name == "newest":
            return self.world.virtualizer.counter
        return self.world.virtualizer.slots[name == "hrtf"].handle if name in NAMES else name

    def must_not_wait(self, kind):
        """Whether an upload would end by its time-out only, which takes long at this speed of the clock."""
        slot, setting = self.world.virtualizer.slots.get(kind), self.world.bectrl.get(kind)
        return slot and slot.upload and (setting["ioctl_fails"] or setting["open_fails"])

    def is_end_certain(self, kind):
        """Whether no upload may time out on a busy machine, or each must."""
        return self.world.start.clock == SLOW or kind in (0, 1) and self.world.bectrl[kind]["hang"]

    @precondition(is_running)
    @rule(client=st.integers(0, 2), kind=st.sampled_from([0, 1, 0, 1, 2, -1]), size=values.sizes)
    def allocate(self, client, kind, size):
        if not self.must_not_wait(kind):
            self.act(client, "virtualizer.allocate_parameter_buffer", (kind, size))

    @precondition(is_running)
    @rule(client=st.integers(0, 2), handle=values.handles, size=values.sizes.filter(lambda size: size >= 0),
          seed=st.integers(0, 250))
    def append(self, client, handle, size, seed):
        self.act(client, "virtualizer.append", (self.handle_of(handle), pattern(size, seed)))

    @precondition(may_upload)
    @rule(client=st.integers(0, 2), kind=st.integers(0, 1), size=st.sampled_from([0, 1, 5000]),
          calls=st.none() | st.lists(values.calls, max_size=1), hang=st.booleans())
    def upload(self, client, kind, size, calls, hang):
        """Allocates, fills and applies a buffer."""
        if hang:
            self.bectrl((kind,), ("hang", True))
        if self.must_not_wait(kind) or not self.is_end_certain(kind):
            return
        self.allocate(client, kind, size)
        self.append(client, NAMES[kind], size, size)
        self.apply(client, NAMES[kind], calls)

    @precondition(may_upload)
    @rule(client=st.integers(0, 2), handle=values.handles, calls=st.none() | st.lists(values.calls, max_size=2))
    def apply(self, client, handle, calls):
        if not self.is_end_certain({"device": 0, "hrtf": 1}.get(handle)):
            return
        callback = None if calls is None else self.callback(client, [] if self.world.may_die() else calls)
        self.act(client, "virtualizer.apply", (self.handle_of(handle), callback))

    @precondition(is_running)
    @rule(client=st.integers(0, 2), method=st.sampled_from(["cancel", "discard_parameter_buffer"]),
          handle=values.handles)
    def end(self, client, method, handle):
        kind = {"device": 0, "hrtf": 1}.get(handle)
        if method == "cancel" or not self.must_not_wait(kind):
            self.act(client, "virtualizer." + method, (self.handle_of(handle),))

    @rule(kinds=st.sampled_from([(0,), (1,), (0, 1)]), setting=values.behaviour)
    def bectrl(self, kinds, setting):
        name, value = setting
        if self.model != "be" or name == "state" and self.world.virtualizer_busy():
            return
        for kind in kinds:
            self.world.bectrl[kind][name] = value
        self.world.bectrl[0]["open_fails"] = self.world.bectrl[1]["open_fails"] = (
            value if name == "open_fails" else self.world.bectrl[0]["open_fails"])
        self.lab.put_behaviour(self.world.bectrl)


NAMES = ("device", "hrtf")


class BackEndTv(Machine):
    model = "be"


class StandardTv(Machine):
    model = "standard"
