# SPDX-License-Identifier: Apache-2.0
"""Model of IOutputExternal and IOutputEncodingStatusListener: forced encoding, and a file that keeps it."""

import struct

MODE_KEY = "g_audio__bitstream_output_mode"
MODE_FILE = "data/vendor/tovi/hidlaudio/bitstream_output_mode.data"


class OutputExternal:
    def __init__(self, world):
        if world.wait_ready(2000, lambda count: world.log(
                "D", None, f"<<<<<hidlaudio waiting dtv_svc>>>>> count:{count}")) is None:
            world.log("D", None, "dtv_svc rpc server failed.")
        world.open_playback(None, "OutputExternal")
        error = world.open(MODE_FILE, create=True)
        if error:
            world.log("E", None, f"[OutputExternal] open file /{MODE_FILE} failed, errno {error}")
            return
        _, data = world.read(MODE_FILE, 0, 4)
        mode = struct.unpack("<i", data.ljust(4, b"\0"))[0]
        text = "set bitstream output mode" if data else "prev setting not exist. set bitstream output mode"
        status = world.config_set(MODE_KEY, mode)
        world.log("D", None, f"[OutputExternal] {text} {mode},  result {status}")

    def set_force_encoding_enabled(self, world, enable):
        name = "setForceEncodingEnabled"
        world.log("D", None, f"[{name}] start enable:{enable:d}")
        mode = 0 if enable else 2
        status = world.config_set(MODE_KEY, mode)
        if status != 0:
            world.log("E", None, f"{name}, MTKTVAPI failed:ret = {status}\n")
        else:
            error = world.open(MODE_FILE)
            if error:
                world.log("E", None, f"[{name}] open file /{MODE_FILE} failed, errno {error}")
            else:
                _, written = world.write(MODE_FILE, 0, struct.pack("<i", mode))
                world.log("D", None, f"[{name}] write(data={mode}) ret = {written}")
        world.log("D", None, f"[{name}] end ret:{status}")
        return status

    def get_force_encoding_enabled(self, world):
        world.log("D", None, "[getForceEncodingEnabled] start")
        status, mode = world.config_get(MODE_KEY)
        if status != 0:
            world.log("E", None, f"getForceEncodingEnabled, MTKTVAPI failed:ret = {status}\n")
            return False
        world.log("D", None, f"[getForceEncodingEnabled] end ret:{mode == 0:d}")
        return mode == 0

    def set_encoding_format(self, world, _format):
        return self._fixed(world, "setEncodingFormat", 0)

    def get_encoding_format(self, world):
        return self._fixed(world, "getEncodingFormat", "auto")

    def get_available_encoding_formats(self, world):
        return self._fixed(world, "getAvailableEncodingFormats", [])

    def register_encoding_format_listener(self, world, _listener):
        return self._fixed(world, "registerEncodingFormatListener", 0)

    def unregister_encoding_format_listener(self, world, _listener):
        return self._fixed(world, "unregisterEncodingFormatListener", 0)

    def _fixed(self, world, name, result):
        world.log("D", None, f"[{name}] start")
        return result
