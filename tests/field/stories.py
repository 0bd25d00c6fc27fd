# SPDX-License-Identifier: Apache-2.0
"""What a tester did on a TV with each fault, among calls that have nothing to do with it."""

import random
import subprocess
from dataclasses import dataclass

import hidlaudio
from hidlaudio import Events, HidlError, background, programs

from logcat import Style

RESULTS = [{"channel": name, "level": level, "delay": delay,
            "equalizer": [{"gain": gain} for gain in (1.5, -2.0, 0.5)]}
           for name, level, delay in (("FL", -3.5, 1.0), ("FR", -3.0, 1.5), ("C", 0.5, 0.0))]
STORED_RESULTS = "data/vendor/tovi/hidlaudio/aud_ac.data"
BUILT_IN_MIC = "AUDIO_DEVICE_IN_BUILTIN_MIC"
SLOW_RATE = 40000  # bytes per second of the controller


@dataclass(frozen=True)
class Story:
    """`extras` are the files of the report beside the log: data, dump, record. The TV is booted unless `is_off`."""
    act: object
    style: Style
    extras: tuple = ()
    crashes: bool = False
    is_off: bool = False


class Session:
    def __init__(self, tv, seed):
        self.tv = tv
        self._random = random.Random(seed)
        self._apps = {}

    def app(self, name="player"):
        """Returns the client of this name; starts it at its first use."""
        if name not in self._apps:
            self._apps[name] = self.tv.client()
        return self._apps[name]

    def audioctl(self, *words):
        subprocess.run([programs.program("audioctl"), *words], env=self.tv.environment(), check=False,
                       capture_output=True, timeout=60)

    def chat(self, count):
        """Makes calls that do not change what the tester is interested in. Some overlap."""
        waiting = [background(self._any_call()) for _ in range(count // 3)]
        for _ in range(count - len(waiting)):
            self._any_call()()
        for call in waiting:
            call.result(timeout=60)

    def _any_call(self):
        app = self.app(self._random.choice(["player", "settings", "launcher"]))
        gain = self._random.choice([0.25, 0.5, 0.75])
        return self._random.choice([
            lambda: app.speaker.get_tv_position(),
            lambda: app.speaker.set_tv_position(1),
            lambda: app.speaker.get_delay(),
            lambda: app.speaker.get_surround_type(),
            lambda: app.center.get_center_speaker_latency(),
            lambda: app.mic.set_mic_gain(BUILT_IN_MIC, gain),
            lambda: app.mic.get_mic_gain(BUILT_IN_MIC),
            lambda: app.calibration.get_smooth_delay_enabled(),
            lambda: app.virtualizer.get_max_append_size(),
            lambda: app.listener.on_force_encoding_changed(True),
            lambda: self.audioctl("speaker", "position"),
            lambda: self.audioctl("mic", "devices"),
            lambda: self.audioctl("external", "formats"),
        ])


def flag_write_succeeds(s):
    s.chat(6)
    s.app("installer").calibration.set_calibrated_data(RESULTS)
    s.chat(5)
    s.tv.fault("write", "ENOSPC", count=1)
    s.app("installer").calibration.set_enabled(True)
    s.chat(3)
    s.audioctl("calibration", "status")


def cut_file_accepted(s):
    s.app("installer").calibration.set_calibrated_data(RESULTS)
    s.tv.shutdown()
    s.tv.files[STORED_RESULTS] = s.tv.files[STORED_RESULTS][:200]
    del s.tv.files["log/hidlaudio.log"]
    s.tv.boot()
    s.chat(7)
    s.audioctl("calibration", "on")
    s.chat(5)
    s.app("settings").calibration.get_calibrated_data()


def offset_stays(s):
    s.chat(5)
    s.app("installer").calibration.set_calibrated_data(RESULTS)
    s.chat(4)
    s.tv.fault("MTDRVCUST_dcustom_cust_spec_set", -1, count=1)
    s.app("installer").calibration.set_enabled(True)
    s.chat(6)


def mode_lost(s):
    s.chat(3)
    s.app("settings").external.set_force_encoding_enabled(False)
    s.chat(2)
    s.tv.reboot()
    s.chat(3)
    s.app("settings").external.get_force_encoding_enabled()


def retry_skipped(s):
    s.chat(6)
    s.tv.fault("a_mtktvapi_config_set_value", 7, count=1)
    s.app("settings").external.set_force_encoding_enabled(True)
    s.audioctl("external", "set", "on")
    s.audioctl("external", "get")
    s.chat(5)


def gain_without_hal(s):
    s.tv.fault("openPrimaryDevice", 1)
    s.tv.boot()
    for _ in range(3):
        s.app("player").speaker.get_tv_position()
        s.app("settings").mic.get_mic_devices()
        s.app("settings").mic.set_mic_gain(BUILT_IN_MIC, 0.5)
        s.audioctl("center", "show")
    s.tv.expect_end("hidlaudio")
    try:
        s.app("settings").mic.get_mic_gain(BUILT_IN_MIC)
    except HidlError:
        pass


def callback_kept(s):
    s.chat(4)
    s.app("player").hdmi.set_callback(Events())
    s.app("soundbar").hdmi.set_callback(Events())
    s.chat(3)
    s.audioctl("hdmi", "set", "ARC_DD_ATMOS")
    for name in ("player", "soundbar"):
        mark = s.tv.log.mark()
        s.app(name).kill()
        s.tv.log.wait_for("Monitored process died", after=mark)
        del s._apps[name]
    s.chat(2)
    s.audioctl("hdmi", "set", "ARC_DD_PLUS")


def null_callback(s):
    s.chat(9)
    s.app("player").hdmi.get_audio_capabilities()
    s.tv.expect_end("hidlaudio")
    try:
        s.app("player").hdmi.set_callback(None)
    except HidlError:
        pass


def append_bound(s):
    s.chat(4)
    app = s.app("headphones").virtualizer
    handle = app.allocate_parameter_buffer("HRTF", 300000)
    s.chat(4)
    app.append(handle, bytes(262144))
    app.append(handle, bytes(37856))
    app.apply(handle, Events())
    s.audioctl("virtualizer", "status")
    app.discard_parameter_buffer(handle)
    s.chat(2)


def buffers_leak(s):
    app = s.app("headphones").virtualizer
    for size in (1000, 1000, 2000, 2000, 4000):
        app.allocate_parameter_buffer("DEVICE", size)
        s.chat(2)
    s.audioctl("virtualizer", "on")
    app.allocate_parameter_buffer("HRTF", 1000)
    s.chat(3)


def upload(s, size, kind="DEVICE"):
    """Starts a slow upload. Returns its handle and the events of its callback."""
    s.tv.command("bectrl", "rate", str(SLOW_RATE))
    app = s.app("headphones").virtualizer
    handle = app.allocate_parameter_buffer(kind, size)
    app.append(handle, bytes(range(256)) * (size // 256))
    ended = Events()
    app.apply(handle, ended)
    return handle, ended


def discard_does_not_wait(s):
    s.chat(6)
    handle, ended = upload(s, 102400)
    s.chat(3)
    s.app("headphones").virtualizer.discard_parameter_buffer(handle)
    ended.wait()
    s.tv.log.wait_for("paramTransferThread finished")
    s.chat(4)


def second_apply(s):
    s.chat(5)
    handle, ended = upload(s, 51200)
    s.chat(2)
    s.app("headphones").virtualizer.apply(handle, Events())
    ended.wait()
    s.tv.log.wait_for("paramTransferThread finished")
    s.chat(2)


STORIES = {
    "calibration_cut_file_accepted": Story(cut_file_accepted, Style(year=True), ("data",)),
    "calibration_flag_write_succeeds": Story(flag_write_succeeds, Style()),
    "calibration_offset_stays_after_refusal": Story(offset_stays, Style(brief=True)),
    "external_mode_lost_on_restart": Story(mode_lost, Style(headers=True), ("data",)),
    "external_retry_skipped": Story(retry_skipped, Style(year=True, lossy=True)),
    "hdmi_callback_kept_after_death": Story(callback_kept, Style(headers=True), ("record",)),
    "hdmi_null_callback_crashes": Story(null_callback, Style(bugreport=True), crashes=True),
    "mic_gain_without_hal_crashes": Story(gain_without_hal, Style(headers=True, lossy=True), crashes=True,
                                          is_off=True),
    "virtualizer_append_bound": Story(append_bound, Style(bugreport=True), ("record",)),
    "virtualizer_buffer_count_leaks": Story(buffers_leak, Style(brief=True, headers=True)),
    "virtualizer_discard_does_not_wait": Story(discard_does_not_wait, Style(year=True), ("dump",)),
    "virtualizer_second_apply_queued": Story(second_apply, Style(lossy=True), ("dump",)),
}
