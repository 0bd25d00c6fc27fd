# SPDX-License-Identifier: Apache-2.0
"""Model of IMicControl: the gain that the audio HAL keeps."""

import re

from prediction_values import HAL_OK, f32

TAG = "MicControl"
MIC = "AUDIO_DEVICE_IN_BUILTIN_MIC"
NUMBER = re.compile(r"\s*([+-]?(?:(?:\d+\.?\d*|\.\d+)(?:[eE][+-]?\d+)?|inf(?:inity)?|nan))", re.I)


def leading_number(text):
    """The number that a text begins with, as scanf reads it. C libraries differ in numbers that end early: "1e"."""
    found = NUMBER.match(text)
    return f32(float(found[1])) if found else None


class MicControl:
    def __init__(self, world):
        world.log("D", TAG, "[MicControl] start")
        self.device = world.hal_device(TAG)
        if self.device:
            world.log("D", TAG, "[MicControl] end")

    def set_mic_gain(self, world, mic_device, scale):
        scale = f32(scale)
        world.log("D", TAG, f"[setMicGain] start micDevice=[{mic_device}] scale=[{scale:f}]")
        if not 0.0 <= scale <= 1.0:
            world.log("E", TAG, f"Illegal parameters: scale:{scale:f}")
            return -1
        if mic_device != MIC:
            world.log("E", TAG, f"Illegal parameters: micDevice:{mic_device}")
            return -1
        if not self.device:
            world.log("E", TAG, "PrimaryHAL getService fails")
            return -1
        if world.hal_set("builtin_mic_gain", f"{scale:f}") != HAL_OK:
            world.log("E", TAG, "setParameters failed")
            return -1
        world.log("D", TAG, "[setMicGain] end ret:0")
        return 0

    def get_mic_gain(self, world, mic_device):
        world.log("D", TAG, "[getMicGain] start")
        if mic_device != MIC:
            world.log("E", TAG, f"Illegal parameters: micDevice:{mic_device}")
            return 0.0
        text = world.hal_get("builtin_mic_gain") if self.device else None
        gain = leading_number(text) if text is not None else None
        gain = 0.0 if gain is None else gain
        world.log("D", TAG, f"[getMicGain] end:scale = {gain:f}")
        return gain

    def get_mic_devices(self, world):
        world.log("D", TAG, "[getMicDevices] start")
        world.log("D", TAG, f"[getMicDevices] devices[0]=[{MIC}]")
        world.log("D", TAG, "[getMicDevices] end")
        return [MIC]
