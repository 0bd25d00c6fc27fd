# SPDX-License-Identifier: Apache-2.0
"""Model of IHeadphoneVirtualizer: switches, the two parameter buffers, and their uploads.

The stage of an upload is `waiting` (for the upload of the other kind), `driving` (the driver transfers it) or
`ended`. The model makes all its progress at once, until it depends on a later step; the machine waits until the
daemon has made the same progress. The log of each transfer thread is predicted separately, because the lines of
different threads can have any order.
"""

from dataclasses import dataclass, field

from prediction_values import ANY

TAG = "AudioHV"
DEVICE, HRTF = 0, 1
NAMES = {DEVICE: "device", HRTF: "hrtf"}
LOCKS = {DEVICE: "HidlAudioDevice", HRTF: "HidlAudioHrtf"}
MOST, HANDLES = 262144, 254
THREAD = "paramTransferThread"
DEFAULTS = {"rate": 16777216, "result": 1, "state": 0, "hang": False, "ioctl_fails": False, "open_fails": False}
IN_PROGRESS = [("D", TAG, f"[{THREAD}] update proc file!!"),
               ("D", TAG, f"[{THREAD}] read proc file(state)=0x1"),
               ("D", TAG, f"[{THREAD}] read proc file(result)=0x0")]


def proc_file(kind):
    return f"proc/driver/tovi_bectrl/audio/{NAMES[kind]}_parameter_complete"


def mapped(result):
    return {0: -3, 1: 0, 2: -3, 3: 1, 0xF3: -1, 0xF4: -1}.get(result, -2)


@dataclass
class Upload:
    kind: int
    callback: object
    data: bytes
    stage: str = "waiting"
    log: list = field(default_factory=list)


class Slot:
    def __init__(self):
        self.handle, self.size, self.data, self.upload = -1, 0, None, None


class HeadphoneVirtualizer:
    def __init__(self, world):
        name = "HeadphoneVirtualizer"
        self.supported, self.enabled, self.upmix = False, False, True
        self.slots, self.counter = {DEVICE: Slot(), HRTF: Slot()}, 0
        self.uploads = []  # all, in the order of their threads
        world.log("D", TAG, f"[{name}] start")
        if not self._wait(world):
            world.log("E", TAG, f"[{name}] checkDtvSvcBoot failed. Return:0")
        else:
            self.supported = world.is_back_end_model(TAG, "isBeModelForHV", False, "failed")
        if self.supported:
            world.wait_back_end(TAG, "checkBeCtrlBootForHV", "HV MTAL_Init failed, Return:%d ")
            world.log("D", TAG, f"[{name}] end")
        else:
            world.log("E", TAG, f"[{name}] end. HRTF is not supported.")

    # Switches.

    def _wait(self, world):
        name = "checkDtvSvcBootForHV"
        count = world.wait_ready(2000)
        if count is None:
            world.log("E", TAG, f"[{name}] dtv_svc rpc server failed [TimeOut].")
            return False
        world.log("I", TAG, f"[{name}] <<<<<hidlaudio dtv_svc is ready !>>>>> count:{count}")
        return True

    def _send(self, world, kind, enable):
        name = "setEnabledToBeCtrl"
        if not self._wait(world):
            world.log("E", TAG, f"[{name}] BECtrl Boot failed [TimeOut].")
            return -5
        status = world.connect("MTAL_InitExCb")
        if status != 0:
            world.log("E", TAG, f"[{name}] HV MTAL_Init failed, Return:{status} ")
            return status
        status = world.send_command(kind, bytes([enable]))
        if status != 0:
            world.log("E", TAG,
                      f"[{name}] MTDRVCUST_dcustom_cust_spec_set failed!!({status}) type:{kind:x}")
        return status

    def _set(self, world, name, kind, attribute, enable):
        world.log("D", TAG, f"[{name}] start. enable:{enable:d}")
        if not self.supported:
            world.log("E", TAG, f"[{name}] end. HRTF is not supported. Return:-5")
            return -5
        status = self._send(world, kind, enable)
        if status != 0:
            world.log("E", TAG, f"[{name}] Notification to BeCtrl failed.")
        else:
            setattr(self, attribute, enable)
        world.log("D", TAG, f"[{name}] end. Return:{status}")
        return status

    def _get(self, world, name, value):
        world.log("D", TAG, f"[{name}] start")
        if not self.supported:
            world.log("E", TAG, f"[{name}] end. HRTF is not supported.")
            return False
        world.log("D", TAG, f"[{name}] end. Return:{value:d}")
        return value

    def set_virtualizer_enabled(self, world, enable):
        return self._set(world, "setVirtualizerEnabled", 32, "enabled", enable)

    def get_virtualizer_enabled(self, world):
        return self._get(world, "getVirtualizerEnabled", self.enabled)

    def set_upmix_enabled(self, world, enable):
        return self._set(world, "setUpmixEnabled", 33, "upmix", enable)

    def get_upmix_enabled(self, world):
        return self._get(world, "getUpmixEnabled", self.upmix)

    def set_virtualizer_type(self, world, type):
        name, result = "setVirtualizerType", 0 if type == "Tovi" else -5
        world.log("D", TAG, f"[{name}] start type=[{type}]")
        if result != 0:
            world.log("E", TAG, f"[{name}] {type} is not supported")
        world.log("D", TAG, f"[{name}] end Return: {result}")
        return result

    def get_virtualizer_type(self, world):
        world.log("D", TAG, "[getVirtualizerType] start")
        world.log("D", TAG, "[getVirtualizerType] end Return type=[Tovi]")
        return "Tovi"

    def get_available_virtualizer_types(self, world):
        world.log("D", TAG, "[getAvailableVirtualizerTypes] start")
        world.log("D", TAG, "[getAvailableVirtualizerTypes] types[i]=[Tovi]")
        return ["Tovi"]

    # Buffers.

    def _find(self, world, name, handle):
        for kind in (DEVICE, HRTF):
            if handle != -1 and self.slots[kind].handle == handle:
                if name:
                    world.log("D", TAG, f"[{name}] ParamType={kind}")
                return kind
        world.log("E", TAG, "[getParamFromHandle] handle is not found!")
        return None

    def allocate_parameter_buffer(self, world, type, size):
        name, handle = "allocateParameterBuffer", 0
        world.log("D", TAG, f"[{name}] start. ParamType={type}, size={size}")
        if type not in NAMES:
            world.log("E", TAG, f"[{name}] ParamType({type}) is not supported.")
        else:
            handle = self._allocate(world, type, size)
        world.log("D", TAG, f"[{name}] end. handle:{handle}")
        return handle

    def _allocate(self, world, kind, size):
        name, slot = "allocateParameterBufferInt", self.slots[kind]
        world.log("D", TAG, f"[{name}] start. type={kind}, handle={slot.handle}")
        self._discard(world, kind)
        slot = self.slots[kind]
        if size < 0:
            world.log("D", TAG, f"[{name}] malloc fail.")
            return 0
        world.log("D", TAG, f"[{name}] malloc success! data={ANY}")
        self.counter = self.counter % HANDLES + 1
        while self.counter in (self.slots[DEVICE].handle, self.slots[HRTF].handle):
            self.counter = self.counter % HANDLES + 1
        slot.handle, slot.size, slot.data = self.counter, size, b""
        world.log("D", TAG, f"[{name}] end. Return:{slot.handle}")
        return slot.handle

    def discard_parameter_buffer(self, world, handle):
        name, result = "discardParameterBuffer", -1
        world.log("D", TAG, f"[{name}] start. handle={handle}")
        kind = self._find(world, name, handle)
        if kind is not None:
            self._discard(world, kind)
            result = 0
        world.log("D", TAG, f"[{name}] end. Return:{result}")
        return result

    def _discard(self, world, kind):
        name = "discardParameterBufferInt"
        world.log("D", TAG, f"[{name}] star")
        if self.slots[kind].upload:
            world.log("D", TAG, f"[{name}] call cancel()")
            self._cancel(world, kind)
            self._advance(world)
        if self.slots[kind].data is not None:
            world.log("D", TAG, f"[{name}] release memory.")
            self.slots[kind] = Slot()
        world.log("D", TAG, f"[{name}] end")

    def get_max_append_size(self, world):
        world.log("D", TAG, "[getMaxAppendSize] start")
        world.log("D", TAG, f"[getMaxAppendSize] end. Return:{MOST}")
        return MOST

    def append(self, world, handle, data):
        name, result = "append", -1
        world.log("D", TAG, f"[{name}] start. handle={handle}")
        kind = self._find(world, name, handle)
        if kind is not None:
            if len(data) > MOST:
                world.log("E", TAG, f"[{name}] data size error. max append size={MOST}, append size={len(data)}")
                return -2
            result = self._append(world, self.slots[kind], data)
        world.log("D", TAG, f"[{name}] end. Return:{result}")
        return result

    def _append(self, world, slot, data):
        name = "appendInt"
        world.log("D", TAG, f"[{name}] start.  registered size={slot.size},  "
                            f"append accumulation={len(slot.data)}, data size={len(data)}")
        if slot.upload:
            world.log("W", TAG, f"[{name}] HIDL is waiting or BeCtrl is transferring!!")
            return -3
        if len(slot.data) + len(data) > slot.size:
            world.log("E", TAG, f"[{name}] data size error")
            return -2
        slot.data += data
        world.log("D", TAG, f"[{name}] end")
        return 0

    # Uploads.

    def apply(self, world, handle, callback):
        name = "apply"
        world.log("D", TAG, f"[{name}] start. handle:{handle}")
        kind = self._find(world, name, handle)
        if kind is None:
            return -1
        slot = self.slots[kind]
        if slot.size != len(slot.data):
            world.log("E", TAG, f"[checkDataSize] data size error! "
                                f"registered size:{slot.size}, array size:{len(slot.data)}")
            return -2
        if slot.upload:
            world.log("W", TAG, f"[{name}] HIDL is waiting or BeCtrl is transferring!!")
            return -3
        result = self._check_idle(world)
        if result != 0:
            return result
        if callback is None:
            world.log("E", TAG, f"[{name}] callback object is nullptr.")
            return -5
        error, _ = world.call("pthread_create")
        if error:
            world.log("E", TAG, f"[{name}] paramTransferThread create Failed.")
            return -5
        world.log("D", TAG, f"[{name}] end. Return:0")
        slot.upload = Upload(kind, callback, slot.data)
        self.uploads.append(slot.upload)
        self._start(world, slot.upload)
        self._advance(world)
        return 0

    def _check_idle(self, world):
        if any(slot.upload for slot in self.slots.values()):
            return 0
        states = []
        for kind in (DEVICE, HRTF):
            name = "readBeCtrlTransferState"
            if world.open(proc_file(kind), call="fopen"):
                world.log("W", TAG, f"[{name}] Proc file open failed!")
            else:
                error, state = world.read(proc_file(kind), 0, 2, call="fread")
                states.append(state)
                if len(state) < 2:
                    world.log("W", TAG, f"[{name}] fread proc file failed! errno:{error}")
            if len(states) <= kind or len(states[kind]) < 2:
                world.log("E", TAG, "[checkResuming] Proc file error! ret=-5")
                return -5
            if states[kind][0] != 0:
                world.log("W", TAG, "[checkResuming] BeCtrl is busy!")
                return -3
        return 0

    def _start(self, world, upload):
        lock = LOCKS[upload.kind]
        upload.log += [("D", TAG, f"[{THREAD}] start"), ("D", TAG, f"[{THREAD}] Acquire Wakelock {lock}")]
        status = world.injected("acquire_wake_lock")
        world.wake_locks_stay |= status is not None  # a function with a fault does nothing, whatever it returns
        if status is not None and status < 0:
            upload.log.append(("E", TAG, f"[{THREAD}] Acquire Wakelock failed(errno:{status})."))
            self._end(world, upload, -3)
        else:
            upload.log.append(("I", TAG, f"[{THREAD}] Acquire Wakelock completed."))

    def _advance(self, world):
        """Continues the uploads until each has ended, hangs, or waits for an upload that hangs."""
        for kind in (DEVICE, HRTF, DEVICE):
            upload, other = self.slots[kind].upload, self.slots[1 - kind].upload
            if upload and upload.stage == "waiting" and not (other and other.stage == "driving"):
                self._drive(world, upload)

    def _drive(self, world, upload):
        upload.stage, setting = "driving", world.bectrl[upload.kind]
        error = next((text for name, text in (("epoll_create1", None), ("epoll_ctl", "regist FD failed!!(proc)"),
                                              ("timerfd_create", "regist FD failed!!(timer)"),
                                              ("epoll_ctl", "regist FD failed!!(timer)"),
                                              ("timerfd_settime", "start timer failed!!"))
                      if world.thread_call(name) and text), None)
        if error:
            upload.log.append(("E", TAG, f"[{THREAD}] {error}"))
            return self._end(world, upload, -3)
        if setting["open_fails"]:
            upload.log.append(("E", TAG, "[setParametersToBeCtrl] bectrl device file open failed! : (-5)"))
            return self._end(world, upload, -2)
        if world.thread_call("ioctl") or setting["ioctl_fails"]:
            upload.log.append(("E", TAG, "[setParametersToBeCtrl] ioctl() failed! : (-1)"))
            return self._end(world, upload, -2)
        upload.log.append("in progress")
        if not setting["hang"] and setting["state"] != 1:
            return self._report(world, upload, setting["state"], setting["result"])
        if world.start.clock >= world.TIMES_OUT:
            return self._time_out(world, upload)

    def _report(self, world, upload, state, result, is_complete=True):
        """The driver publishes the end of an upload."""
        world.files[proc_file(upload.kind)] = bytes([state, result])
        if is_complete:
            world.files[f"bectrl/{NAMES[upload.kind]}.bin"] = upload.data
        upload.log += [IN_PROGRESS[0], ("D", TAG, f"[{THREAD}] read proc file(state)=0x{state_text(state)}"),
                       ("D", TAG, f"[{THREAD}] read proc file(result)=0x{state_text(result)}")]
        self._end(world, upload, mapped(result))

    def _time_out(self, world, upload):
        setting = world.bectrl[upload.kind]
        if setting["hang"]:
            world.abandoned = True  # the driver goes on with memory of the daemon: only a restart ends it
        else:
            world.files[proc_file(upload.kind)] = bytes([setting["state"], setting["result"]])
            world.files[f"bectrl/{NAMES[upload.kind]}.bin"] = upload.data
            upload.log.append("in progress")
        upload.log.append(("E", TAG, f"[{THREAD}] epoll timeout!!"))
        self._end(world, upload, -2)

    def _end(self, world, upload, result):
        upload.stage, lock = "ended", LOCKS[upload.kind]
        world.notify(upload.callback, result, upload)
        self.slots[upload.kind] = Slot()
        upload.log.append(("D", TAG, f"Release Wakelock {lock}"))
        status = world.injected("release_wake_lock")
        world.wake_locks_stay |= status is not None
        if status is not None and status < 0:
            upload.log.append(("E", TAG, f"Release Wakelock failed(errno:{status})."))
        else:
            upload.log.append(("I", TAG, "Release Wakelock completed."))
        upload.log.append(("D", TAG, "paramTransferThread finished"))

    def cancel(self, world, handle):
        name, result = "cancel", -1
        world.log("D", TAG, f"[{name}] start. handle={handle}")
        kind = self._find(world, name, handle)
        if kind is not None:
            result = self._cancel(world, kind)
        world.log("D", TAG, f"[{name}] end. Return:{result}")
        self._advance(world)
        return result

    def _cancel(self, world, kind):
        name, upload = "cancelInt", self.slots[kind].upload
        world.log("D", TAG, f"[{name}] start")
        result = 0
        if upload is None:
            result = -4
        elif upload.stage == "driving":
            result = -4 if self._refuses_cancel(world, kind) else 0
        if result == -4:
            world.log("W", TAG, f"[{name}] cancel failed.")
        world.log("D", TAG, f"[{name}] end. Return:{result}")
        if upload and upload.stage == "waiting":
            upload.log.append(("D", TAG, f"[{THREAD}] Waiting thread finish is canceled"))
            self._end(world, upload, 1)
        elif upload and result == 0:
            self._report(world, upload, world.bectrl[kind]["state"], 3, is_complete=False)
        return result

    def _refuses_cancel(self, world, kind):
        name = "notifyCancelToBeCtrl"
        if world.bectrl[kind]["open_fails"]:
            world.log("E", TAG, f"[{name}] bectrl device file open failed! : (-5)")
            return True
        if world.thread_call("ioctl") or world.bectrl[kind]["ioctl_fails"]:
            world.log("E", TAG, f"[{name}] ioctl() failed! : (-1)")
            return True
        return False


def state_text(byte):
    """A state byte in the log: a signed char, printed as the driver's byte or extended to 32 bits."""
    return f"{byte:x}" if byte < 128 else ANY
