# SPDX-License-Identifier: Apache-2.0
"""Model of IOutputSpeaker: surround type, position of the TV, delay of the main channel."""

from prediction_values import f32

TAG = "AudioOutSp"
POSITION = "g_audio__tv_position"
HAL_VALUES = {0: "table_top", 1: "wall_mount"}


class OutputSpeaker:
    def __init__(self, world):
        self.device = False
        world.log("D", TAG, "[OutputSpeaker] start")
        if world.wait_ready(2000, lambda count: world.log(
                "D", TAG, f"<<<<<hidlaudio waiting dtv_svc>>>>> count:{count}")) is None:
            world.log("D", TAG, "dtv_svc rpc server failed.")
        world.open_playback(TAG, "OutputSpeaker")
        self.device = world.hal_device(TAG)
        if not self.device:
            return
        status, value = world.config_get(POSITION)
        if status != 0:
            world.log("E", TAG, f"a_mtktvapi_config_get_value failed:ret = {status}")
            return
        world.log("D", TAG, f"get tv position:{value}")
        if value in HAL_VALUES:
            world.hal_set("tv_position", HAL_VALUES[value])
        else:
            world.log("E", TAG, f"a_mtktvapi_config_get_value:Illigal value = {value}")
        world.log("D", TAG, "[OutputSpeaker] end")

    def get_surround_type(self, world):
        name = "getSurroundType"
        world.log("D", TAG, f"[{name}] start")
        status, surround = world.config_get("g_audio__spk_sur_type")
        if status != 0:
            world.log("E", TAG, f"{name}, MTKTVAPI failed:ret = {status}\n")
            return 0
        status, speaker = world.config_get("g_audio__aud_speaker")
        if status != 0:
            world.log("E", TAG, f"{name}, MTKTVAPI CFG_AUD_SPEAKER failed:ret = {status}\n")
            speaker = 0
        result = surround if speaker != 1 and surround in (0, 1, 2) else 0
        world.log("D", TAG, f"[{name}] end ret:{result}")
        return result

    def get_tv_position(self, world):
        world.log("D", TAG, "[getTvPosition] start")
        status, value = world.config_get(POSITION)
        if status != 0:
            world.log("E", TAG, f"a_mtktvapi_config_get_value failed:ret = {status}")
            return 0
        world.log("D", TAG, f"get tv position:value = {value}, result = 0")
        world.log("D", TAG, f"[getTvPosition] end:ret = {value == 1:d}")
        return int(value == 1)

    def set_tv_position(self, world, type):
        world.log("D", TAG, f"[setTvPosition] start:type = {type}")
        if type not in HAL_VALUES:
            world.log("W", TAG, f"illigal argument:type = {type}")
        value = int(type == 1)
        status = world.config_set(POSITION, value)
        world.log("D", TAG, f"set tv position:value = {value}, result = {status}")
        if self.device:
            world.hal_set("tv_position", HAL_VALUES[value])
        world.log("D", TAG, f"[setTvPosition] end:ret = {status}")
        return status

    def get_delay(self, world):
        world.log("D", TAG, "[getDelay] start")
        status = world.middleware("MTAUDDEC_GetChannelMainDelaySp")
        if status == 0:
            status, delay = world.number("soc/audio_decoder/channel_main_delay_sp")
        if status != 0:
            world.log("E", TAG, f"MTAUDDEC_GetChannelMainDelaySp failed. ret:{status}")
            return 0.0
        world.log("D", TAG, f"[getDelay] end:ret = {delay - 2**32 if delay >= 2**31 else delay}")
        return f32(delay)
