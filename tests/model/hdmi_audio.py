# SPDX-License-Identifier: Apache-2.0
"""Model of IHdmiAudio: levels in the configuration store, callbacks after each change."""

import collections

TAG = "hdmiaudio"
ARC_DD = ("setArcDdCapability", "getArcDdCapability", "g_audio__arc_dd_plus_capab",
          ["ARC_DD_NONE", "ARC_DD_PLUS", "ARC_DD_ATMOS"])
EARC_DD = (None, "getEarcDdCapability", "g_audio__earc_ddp_cap",
           ["EARC_DD_NONE", "EARC_DD_PLUS", "EARC_DD_ATMOS"])
ARC_MP4 = ("setArcMp4Capability", "getArcMp4Capability", "g_audio__arc_mpeg4_aac_lc_capab",
           ["ARC_MP4AAC_NONE", "ARC_MP4AAC_5_1", "ARC_MP4AAC_7_1", "ARC_MP4AAC_22_2"])


class HdmiAudio:
    def __init__(self, world):
        self.callbacks = []
        if world.wait_ready(200, lambda count: world.log(
                "D", TAG, f"<<<<<hdmiaudio waiting dtv_svc>>>>> count:{count}")) is None:
            world.log("D", TAG, "dtv_svc rpc server failed.")
        world.open_playback(TAG, "HdmiAudio")

    def get_audio_capabilities(self, world):
        world.log("D", TAG, "HIDL getAudioCapabilities")
        return [self._read(world, group) for group in (ARC_DD, EARC_DD, ARC_MP4)]

    def _read(self, world, group):
        _, getter, key, names = group
        status, value = world.config_get(key)
        if status != 0:
            world.log("E", TAG, f"{getter}, MTKTVAPI failed:ret = {status}\n")
            return "NONE"
        if not 0 <= value < len(names):
            world.log("E", TAG, f"{getter}, invalid value = {value}\n")
            return "NONE"
        world.log("D", TAG, f"{getter}, caps = {names[value]}\n")
        return names[value]

    def set_audio_capabilities(self, world, capabilities):
        world.log("D", TAG, "HIDL hdmiaudio set")
        applied, result, status = [], -1, -1
        for entry in capabilities:
            if not entry:
                continue
            for prefix, group in (("ARC_DD_", ARC_DD), ("ARC_MP4AAC_", ARC_MP4)):
                if entry.startswith(prefix):
                    status = self._write(world, group, capabilities)
                    if status == 0:
                        applied.append(entry)
            if result != 0:
                result = status
        if self.callbacks and applied:
            world.log("D", TAG, "issue capability changed callback event")
            for callback in list(self.callbacks):
                world.notify(callback, applied)
        world.log("D", TAG, "HIDL hdmiaudio set finish")
        return result

    def _write(self, world, group, capabilities):
        setter, _, key, names = group
        world.log("D", TAG, f"{setter}, capas list length: {len(capabilities)}\n")
        level = -1
        for entry in filter(None, capabilities):
            world.log("D", TAG, f"{setter}, capas : {entry}\n")
            if entry in names:
                level = max(level, names.index(entry))
        if level < 0:
            return -1
        world.log("D", TAG, f"{setter}, call set API capas : {level}\n")
        return world.config_set(key, level)

    def set_callback(self, world, callback):
        if callback is None:
            world.log("D", TAG, "callback is nullptr. skip setCallback")
            return
        world.log("D", TAG, "set callback")
        self.callbacks.append(callback)

    def registrations(self, client):
        """Returns how often each object of a client is registered."""
        return list(collections.Counter(entry for entry in self.callbacks if entry.client == client).values())

    def client_died(self, world, client, registrations):
        """One notice for each object: its other proxies, and with them their links, end with the first notice."""
        for count in registrations:
            world.log("E", TAG, "Monitored process died")
            for _ in range(count):
                world.log("D", TAG, "remove callback")
        self.callbacks = [entry for entry in self.callbacks if entry.client != client]
