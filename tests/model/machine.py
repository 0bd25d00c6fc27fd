# SPDX-License-Identifier: Apache-2.0
"""The state machine: random clients, faults, deaths and restarts on one TV, and the model beside it.

Every rule predicts its step with the model, takes it on the real TV, and compares result, log, platform calls,
callbacks, and every file. A failure is printed as Python: paste it below `state = BackEndTv()`.
"""

import struct
import time

import hidlaudio
from hypothesis import assume, strategies as st
from hypothesis.stateful import RuleBasedStateMachine, precondition, rule

import headphone_virtualizer as hv
import lab as lab_module
import values
from lab import Callback, Lab, plain, same_file, same_result, thread_matches
from prediction_values import TUNING
from world import KEPT, MARKER, CallFault, Start, World, log_matches

SLOW, FASTEST = 4, 1000000  # speeds of the clock: an upload that hangs has 5 s; a wait of 20 s takes none
labs = {}  # one real TV per model of TV, for the life of the process
patience = [30.0]  # seconds to wait for a thing that must happen; less once a failure is being shortened
steps = [0]
last_failure = [""]


def lab_of(model):
    if model not in labs:
        labs[model] = Lab(model)
    return labs[model]


def close_labs():
    while labs:
        labs.popitem()[1].close()


def pattern(size, seed):
    return (bytes((seed + 7 * i) % 251 for i in range(251)) * (size // 251 + 1))[:size]


class Died:
    def __eq__(self, other):
        return isinstance(other, Died)

    def __repr__(self):
        return "the daemon died"


# Preconditions. Named functions: Hypothesis spends most of its time on the source text of lambdas.
def is_running(machine):
    return machine.world.running


def hal_lives(machine):
    return machine.world.running and machine.world.hal_lives


def may_upload(machine):
    """Whether the order of the uploads' steps is known: no fault that strikes one of many threads."""
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

    # --- one step ---------------------------------------------------------------------------------------

    def step(self, real, *alternatives):
        """Takes a step on the TV. One of the alternative predictions must describe what came of it."""
        steps[0] += 1
        assume(not self.is_late())
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
        differences = None
        for world, prediction in zip(worlds, predictions):
            found = self.differences(world, prediction, result)
            if not found:
                self.world = world
                return self.settle(prediction)
            if differences is None or len(found) < len(differences):
                differences = found
        patience[0] = min(patience[0], 0.4)  # of the examples that make the failure shorter
        last_failure[0] = "\n".join(["the model predicts otherwise:"] + differences)
        raise AssertionError(last_failure[0])

    def is_late(self):
        """Whether an upload that hangs may time out during the next step: then the example is given up."""
        if not self.world.virtualizer_busy():
            self.uploading_since = None
        elif self.uploading_since is None:
            self.uploading_since = time.monotonic()
        since = self.uploading_since
        return since is not None and (time.monotonic() - since) * self.world.start.clock > 10

    def settle(self, prediction):
        self.lab.main.clear()
        self.lab.calls.clear()
        if prediction.died:
            self.lab.tv.wait_for_end("hidlaudio")
            self.world.crash()
            self.lab.stop("hidlaudio")

    def differences(self, world, prediction, result):
        found = []
        expected = Died() if prediction.died else prediction.result
        if not same_result(expected, result):
            found.append(f"result: {expected!r} expected, {result!r} returned")
        self.lab.wait(lambda: self.is_complete(world, prediction), patience[0])
        self.lab.read_calls()
        for at in range(max(len(prediction.log), len(self.lab.main))):
            line = prediction.log[at] if at < len(prediction.log) else None
            actual = self.lab.main[at] if at < len(self.lab.main) else None
            if line is None or actual is None or not log_matches(line, actual):
                found.append(f"log, line {at + 1} of the step: {line} expected, {actual} found")
                break
        for upload, lines in self.uploads(world):
            if not self.upload_matches(upload, lines):
                found.append(f"log of an upload: {upload.log} expected, {lines} found")
        if world.events != self.lab.events:
            found.append(f"callbacks: {world.events} expected, {self.lab.events} made")
        if not same_result(world.nested, self.lab.nested):
            found.append(f"calls from callbacks: {world.nested} expected, {self.lab.nested} returned")
        return found + self.call_differences(prediction) + self.file_differences(world)

    def uploads(self, world):
        threads = list(self.lab.threads.values()) + [[] for _ in world.virtualizer.uploads]
        return list(zip(world.virtualizer.uploads, threads)) if world.running else []

    def upload_matches(self, upload, lines):
        if upload.log[-1] == "in progress" and lines[-3:] != hv.IN_PROGRESS:
            return False
        return thread_matches(upload.log, lines)

    def is_complete(self, world, prediction):
        """Whether all has come that must come; also if something wrong has come already."""
        main = self.lab.main
        if any(not log_matches(*pair) for pair in zip(prediction.log, main)):
            return True
        return (len(main) >= len(prediction.log) and len(self.lab.events) >= len(world.events)
                and all(self.upload_matches(*pair) for pair in self.uploads(world)))

    def call_differences(self, prediction):
        actual = self.lab.calls
        expected = [call for call in prediction.calls
                    if call[0] not in lab_module.UPLOAD_CALLS and "tovi_bectrl" not in call[1]]
        if actual == expected:
            return []
        at = next((i for i, pair in enumerate(zip(expected, actual)) if pair[0] != pair[1]),
                  min(len(expected), len(actual)))
        return [f"platform call {at + 1} of the step: {expected[at:at + 3]} expected, {actual[at:at + 3]} made"]

    def file_differences(self, world):
        actual, found = self.lab.files(), []
        for path in sorted(actual.keys() | world.files.keys()):
            if lab_module.UNCOMPARED.match(path):
                continue
            if not same_file(world.files.get(path), actual.get(path)):
                found.append(f"{path}: {world.files.get(path)!r} expected, {actual.get(path)!r} found")
        with open(self.lab.root + "power/wake_lock", encoding="utf-8") as file:
            held = sorted(file.read().split())
        locks = sorted(hv.LOCKS[slot.upload.kind] for slot in world.virtualizer.slots.values()
                       if slot.upload) if world.running else held
        if held != locks and not world.wake_locks_stay:
            found.append(f"wake locks: {locks} expected, {held} held")
        return found

    # --- starts and deaths ------------------------------------------------------------------------------

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
        self.step(kill, lambda world: world.client_died(died))

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

    # --- the TV -----------------------------------------------------------------------------------------

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

    @rule(key=st.sampled_from(values.KEYS), text=values.config_texts)
    def config(self, key, text):
        self.put("soc/config/" + key, None if text is None else text.encode() + b"\n")

    @rule(file=values.files)
    def file(self, file):
        path, content = file
        if self.model != "be" and "bectrl" in path:
            return
        if path.rpartition("/")[0] + "/" == KEPT and KEPT not in self.world.files:
            return
        self.put(path, content)
        if self.world.needs_time() and self.world.start.clock < FASTEST:
            self.boot(Start(clock=SLOW))

    @rule(at=st.sampled_from([19412 + 0x14, 19412 + 0x34, 19412 + 0x38, 19412 + 0x3C, 19412 + 0x48, 22340, 22344,
                              22852, 23924, 23928]), word=values.words)
    def tuning(self, at, word):
        """Changes a word of the tuning file, and asks the service that reads it."""
        data = self.world.files.get(TUNING, b"").ljust(24576, b"\0")
        self.put(TUNING, data[:at] + struct.pack("<I", word & 0xFFFFFFFF) + data[at + 4:])
        if at < 23924:
            return self.world.running and self.act(0, "calibration.get_calibration_parameters", ())
        self.boot(Start(clock=SLOW))  # the start reads the rest
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

    # --- calls ------------------------------------------------------------------------------------------

    def act(self, client, path, arguments):
        self.step(lambda: self.lab.call(client, path, arguments),
                  lambda world: world.method(path)(*arguments))

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
        self.act(client, *call)

    @rule(client=st.integers(0, 2), call_fault=values.file_faults, call=values.file_calls)
    def call_after_file_fault(self, client, call_fault, call):
        self.boot(Start(SLOW, True, CallFault(*call_fault)))
        self.act(client, *call)

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
    @rule(client=st.integers(0, 2), calls=st.lists(values.calls, max_size=2))
    def set_callback(self, client, calls):
        self.act(client, "hdmi.set_callback", (self.callback(client, calls),))

    # --- uploads ----------------------------------------------------------------------------------------

    def handle_of(self, name):
        if name in ("device", "hrtf"):
            return self.world.virtualizer.slots[name == "hrtf"].handle
        return name

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
          calls=st.none() | st.lists(values.calls, max_size=1))
    def upload(self, client, kind, size, calls):
        """Allocates, fills and applies a buffer."""
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
