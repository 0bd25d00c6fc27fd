# SPDX-License-Identifier: Apache-2.0
"""Model of ICenterSpeaker: what the start found in the tuning file and the EEPROM."""

import struct

from prediction_values import TUNING

BLOCK, BLOCK_SIZE = 23924, 20


class CenterSpeaker:
    def __init__(self, world):
        self.input = self.synchronized = False
        self.block = None
        world.log("D", None, "[CenterSpeaker] start")
        self.block = self._read_block(world)
        if self.block is None:
            return
        count = world.wait_ready(2000, lambda count: world.log(
            "D", None, f"<<<<<hidlaudio waiting dtv_svc>>>>> count:{count}"))
        if count is None:
            world.log("E", None, "[CenterSpeaker] dtv_svc rpc server failed [TimeOut].")
            return
        world.log("I", None, f"<<<<<hidlaudio dtv_svc is ready !>>>>> count:{count}")
        self._read_eeprom(world)
        world.log("D", None, "[CenterSpeaker] end")

    def _read_block(self, world):
        name = "readMmCecFromAqdata"
        error = world.open(TUNING, call="fopen")
        if error:
            world.log("E", None, f"[{name}] fopen failed, errno {error}")
            return None
        error = world.seek(TUNING, BLOCK)
        if error:
            world.log("E", None, f"[{name}] fseek failed, errno {error}")
            return None
        error, data = world.read(TUNING, BLOCK, BLOCK_SIZE, call="fread")
        if len(data) == BLOCK_SIZE:
            return struct.unpack("<Ii", data[:8])
        world.log("E", None, f"[{name}] fread failed, errno {error}")
        return None

    def _read_eeprom(self, world):
        world.plain("DRV_Init")
        if world.connect("MTAL_Init") != 0:
            world.log("E", None, "[CenterSpeaker] MTAL_Init fail.")
            return
        if world.eeprom_init() != 0:
            world.log("E", None, "[CenterSpeaker] Eeprom init fail.")
            return
        segment = world.eeprom(0x10089)
        if segment is None:
            world.log("E", None, "[CenterSpeaker] Eeprom read fail.(segment)")
        self.input = segment in (0x53, 0x54)
        mode = world.eeprom(0x10116)
        if mode is None:
            world.log("E", None, "[CenterSpeaker] Eeprom read fail.(center_speaker_mode)")
        self.synchronized = mode not in (None, 0)

    def get_center_speaker_acoustics_type(self, world):
        name = "getCenterSpeakerAcousticsType"
        world.log("D", None, f"[{name}] start")
        self._warn(world, name)
        kind = self.block[0] if self.block and self.block[0] <= 255 else 0
        world.log("D", None, f"[{name}] Return: TvSpeakerType={kind}")
        return [kind]

    def get_center_speaker_latency(self, world):
        name = "getCenterSpeakerLatency"
        world.log("D", None, f"[{name}] start")
        self._warn(world, name)
        samples = self.block[1] if self.block else 576
        world.log("D", None, f"[{name}] Return: samplingRate=48000, samples={samples}")
        return {"sampling_rate": 48000, "samples": samples}

    def _warn(self, world, name):
        if self.block is None:
            world.log("W", None, f"[{name}] Exist problem in AQData access.")

    def is_center_speaker_input_available(self, world):
        world.log("D", None, f"[isCenterSpeakerInputAvailable] Return: {self.input:d}")
        return self.input

    def is_synchronized_center_speaker_input_available(self, world):
        world.log("D", None, f"[isSynchronizedCenterSpeakerInputAvailable] Return: {self.synchronized:d}")
        return self.synchronized
