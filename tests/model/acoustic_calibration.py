# SPDX-License-Identifier: Apache-2.0
"""Model of IAcousticCalibration: results and switch in files, their way to the sound, smooth delay."""

import math
import struct

from prediction_values import ANY, FREE, TUNING, f32

TAG = "AudioAC"
DATA_FILE = "data/vendor/tovi/hidlaudio/aud_ac.data"
FLAG_FILE = "data/vendor/tovi/hidlaudio/aud_ac_enabled.data"
BANDS, RECORD, MOST_RECORDS, MOST_ITEMS = 31, 140, 9, 10
BLOCK_AT, BLOCK_SIZE, CURVE_AT, CURVE_SIZE = 19412, 196, 22340, 128
CURVES = ["Front", "Center", "Surround", "SurroundBack", "FrontHeight"]


def number_in_log(value):
    return ANY if math.isnan(value) else f"{value:10.5f}"


def tenths(value):
    """Tenths of a dB, rounded half away from zero, in single precision."""
    product = f32(f32(value) * 10.0)
    return int(f32(product + (0.5 if value >= 0 else -0.5)))


def samples(milliseconds):
    """Samples at 48 kHz as two bytes, or None if the number does not fit."""
    if not math.isfinite(milliseconds):
        return None
    count = int(f32(f32(f32(f32(milliseconds) / 1000.0) * 48000.0) + 0.5))
    return struct.pack("<h", count) if -2**15 <= count < 2**15 else None


def band(gain):
    return {"type": "Parametric", "param1": 0.0, "param2": 0.0, "gain": gain}


class Record:
    def __init__(self, data):
        self.name = data[:4].split(b"\0")[0]
        self.level, self.delay, *self.gains = struct.unpack("<33f", data[8:])


class AcousticCalibration:
    def __init__(self, world):
        self.back_end, self.device = True, False
        self.smooth, self.smooth_values = False, []
        name = "AcousticCalibration"
        world.log("D", TAG, f"[{name}] start")
        if self._wait(world):
            self.back_end = world.is_back_end_model(TAG, "isBeModel", True, "fail")
        if self.back_end:
            world.wait_back_end(TAG, "checkBeCtrlBoot", "AC MTAL_Init failed, ret = %d ")
        self.device = world.hal_device(TAG)
        if not self.device:
            return
        records = self._read_records(world) if self._flag_on_boot(world) == 1 else None
        offset = 0.0
        if records is None:
            self._flatten(world)
        else:
            self._apply(world, records)
            offset = self._offset(world, records)
        self._publish(world, name, offset)
        world.log("D", TAG, f"[{name}] end")

    # Switch.

    def _flag_on_boot(self, world):
        name = "getEnabledOnBoot"
        world.log("D", TAG, f"[{name}] start")
        if world.open(FLAG_FILE) == 0:
            error, data = world.read(FLAG_FILE, 0, 1)
            flag = data[0] if data else -1
            if not data:
                world.log("E", TAG, f"[{name}] read AcousticCalibration enabled data failed, errno {error}")
        else:
            world.log("E", TAG, f"[{name}] open error")
            error = world.open(FLAG_FILE, create=True, truncate=True)
            if error:
                world.log("E", TAG, f"[{name}] open filed, /{FLAG_FILE} failed, errno {error}")
                return -1
            flag = self._write_flag(world, name, b"\0")
        world.log("D", TAG, f"[{name}] end Return: {flag}")
        return flag

    def _write_flag(self, world, name, byte):
        error, written = world.write(FLAG_FILE, 0, byte)
        if written == 1:
            world.fsync(FLAG_FILE)
            return 0
        world.log("E", TAG, f"[{name}] write AcousticCalibration enabled data failed, errno {error}")
        return -1

    def _store_flag(self, world, enable):
        if world.open(FLAG_FILE, create=True, truncate=True):
            world.log("E", TAG, "[setEnabledData] open error")
            return -1
        return self._write_flag(world, "setEnabledData", b"\1" if enable else b"\0")

    def get_enabled(self, world):
        name, result = "getEnabled", False
        world.log("D", TAG, f"[{name}] start")
        if world.open(FLAG_FILE, call="fopen"):
            world.log("E", TAG, f"[{name}] fopen error")
        else:
            error, data = world.read(FLAG_FILE, 0, 1, call="fread")
            if not data:
                world.log("E", TAG, f"[{name}] fread AcousticCalibration enabled data failed, errno {error}")
            result = data == b"\1"
        world.log("D", TAG, f"[{name}] end Return: {result:d}")
        return result

    def set_enabled(self, world, enable):
        name, result, offset = "setEnabled", -1, 0.0
        world.log("D", TAG, f"[{name}] start enable:{enable:d}")
        if not enable:
            result = self._flatten(world)
        else:
            records = self._read_records(world)
            if records is None:
                world.log("E", TAG, f"[{name}] end readCalibratedData failed")
            else:
                result = self._apply(world, records)
                offset = self._offset(world, records)
        if result != 0:
            world.log("E", TAG, f"[{name}] Skip to write enabled data, because calibration was fail.")
        else:
            result = self._store_flag(world, enable)
        self._publish(world, name, offset)
        world.log("D", TAG, f"[{name}] end Return: {result}")
        return result

    def _publish(self, world, name, offset):
        offset = offset if self.back_end else f32(offset + 12.0)
        world.log("D", TAG, f"[{name}] auto_calib_offset={offset:4.1f}dB")
        if self.device:
            world.hal_set("ac_offset", f"{offset:f}")

    # Results.

    def set_calibrated_data(self, world, data):
        name = "setCalibratedData"
        world.log("D", TAG, f"[{name}] start")
        if not self._are_in_range(world, data):
            return -1
        if world.open(DATA_FILE, create=True, truncate=True):
            world.log("E", TAG, f"[{name}] open error")
            world.log("D", TAG, f"[{name}] end")
            return -1
        for at, entry in enumerate(data):
            gains = [one["gain"] for one in entry.get("equalizer", [])][:BANDS]
            gains += [0.0] * (BANDS - len(gains))
            channel = entry.get("channel", "").encode("utf-8", "surrogateescape")[:4]
            packed = struct.pack("<8s33f", channel, entry.get("level", 0.0), entry.get("delay", 0.0), *gains)
            error, written = world.write(DATA_FILE, at * RECORD, packed)
            if written < RECORD:
                world.log("E", TAG, f"[{name}] {FREE}{error}")
                error, _ = world.call("remove", "/" + DATA_FILE)
                if error:
                    world.log("E", TAG, f"[{name}] {FREE}{error}")
                else:
                    del world.files[DATA_FILE]
                world.log("D", TAG, f"[{name}] end")
                return -1
        end = len(data) * RECORD
        world.write(DATA_FILE, end, b"\1\0\0\0")
        world.write(DATA_FILE, end + 4, b"\0\0\0\0")
        world.fsync(DATA_FILE)
        world.log("D", TAG, f"[{name}] end")
        return 0

    def _are_in_range(self, world, data):
        for entry in data:
            values = [("Volume", entry.get("level", 0.0), -9.0, 9.0),
                      ("Delay", entry.get("delay", 0.0), 0.0, 10.0)]
            values += [("GEQ Gain", one["gain"], -9.0, 9.0) for one in entry.get("equalizer", [])]
            for kind, value, least, most in values:
                if not least <= f32(value) <= most:
                    text = f"[checkCalibratedData] [{kind}] is NG.  ffsetLevel: {number_in_log(f32(value))} "
                    world.log("E", TAG, text)
                    return False
        return True

    def _read_records(self, world):
        """Returns the records, or None if the file cannot be read."""
        name, at, records, marked = "readCalibratedData", 0, [], False
        error = world.open(DATA_FILE, call="fopen")
        if error:
            world.log("E", TAG, f"[{name}] fopen failed, errno {error}")
            return None
        for _ in range(MOST_ITEMS):
            error, byte = world.read(DATA_FILE, at, 1, call="fread")
            if not byte:
                world.log("E", TAG, f"[{name}] fread failed, errno {error}")
                return None
            if byte == b"\0":
                break
            error = world.seek(DATA_FILE, 3 if byte == b"\1" else -1)
            if error:
                world.log("E", TAG, f"[{name}] fseek failed, errno {error}")
                return None
            if byte == b"\1":
                marked, at = True, at + 4
                continue
            error, data = world.read(DATA_FILE, at, RECORD, call="fread")
            if len(data) < RECORD:
                world.log("E", TAG, f"[{name}] fread failed, errno {error}")
                return None
            records.append(Record(data))
            at += RECORD
        for record in records:
            record.delay = record.delay if marked else 0.0
        return records

    def get_calibrated_data(self, world):
        name = "getCalibratedData"
        world.log("D", TAG, f"[{name}] start")
        records = self._read_records(world)
        if records is None:
            world.log("E", TAG, f"[{name}] end readCalibratedData failed")
            return []
        world.log("D", TAG, f"[{name}] end")
        return [{"channel": record.name.decode("utf-8", "surrogateescape"),
                 "equalizer": [band(gain) for gain in record.gains],
                 "level": record.level, "delay": record.delay} for record in records[:MOST_RECORDS]]

    def _offset(self, world, records):
        level = next((record.level for record in records[:MOST_RECORDS] if record.name == b"FL"), 0.0)
        world.log("D", TAG, f"[getAutoCalibOffset] offsetLevel:{level:4.1f}dB")
        return level

    # The two ways to the sound.

    def _wait(self, world):
        count = world.wait_ready(2000)
        if count is None:
            world.log("E", TAG, "[checkDtvSvcBoot] dtv_svc rpc server failed [TimeOut].")
            return False
        world.log("I", TAG, f"<<<<<hidlaudio dtv_svc is ready !>>>>> count:{count}")
        return True

    def _apply(self, world, records):
        records = records[:MOST_RECORDS]
        if not self.back_end:
            front = next((record for record in records if record.name == b"FL"), None)
            gains = front.gains if front else [0.0] * BANDS
            return self._send_driver(world, gains + [0.0], tenths(front.level) if front else 0)
        fronts = [record for record in records if record.name == b"FL"]
        # Without front left the equalizer is flat: no client stored 31 times the lowest gain.
        block = bytearray(b"\x80" * 32 + bytes(4))
        for front in fronts:
            block[:32] = bytes(128 + tenths(value) for value in front.gains + [front.level])
            block[32:34] = samples(front.delay)
        for record in records:
            if record.name == b"FR":
                block[34:36] = samples(record.delay)
        return self._send_back_end(world, block)

    def _flatten(self, world):
        if self.back_end:
            return self._send_back_end(world, bytearray(b"\x80" * 32 + bytes(4)))
        return self._send_driver(world, [0.0] * 32, 0)

    def _send_back_end(self, world, block):
        name = "setCalibratedDataToBeCtrl"
        if self.smooth and len(self.smooth_values) >= 2:
            for at, value in ((32, self.smooth_values[0]), (34, self.smooth_values[1])):
                block[at:at + 2] = samples(value)
        if not self._wait(world):
            world.log("E", TAG, f"[{name}] BECtrl Boot failed [TimeOut].")
            return -1
        status = world.connect("MTAL_InitExCb")
        if status != 0:
            world.log("E", TAG, f"[{name}] AC MTAL_Init failed, ret = {status} ")
        status = world.send_command(28, bytes(block))
        if status != 0:
            world.log("E", TAG, f"[{name}] MTDRVCUST_dcustom_cust_spec_set failed!!({status})")
        return status

    def _send_driver(self, world, gains, offset):
        name = "setCalibratedDataToAudioDriver"
        if not self._wait(world):
            world.log("E", TAG, f"[{name}] AQCtrl Boot failed [TimeOut].")
            return -1
        self._wait_post_processor(world)
        status = world.set_equalizer(gains)
        if status != 0:
            world.log("E", TAG, f"[{name}] MTAUDDEC_Set32EqualizerBandConfig failed. ret:{status}")
            return status
        status = world.middleware("MTAUDDEC_SetAcVolumeOffset")
        if status == 0:
            world.files["soc/audio_decoder/volume_offset"] = b"%d\n" % offset
            return 0
        world.log("E", TAG, f"[{name}] MTAUDDEC_SetAcVolumeOffset failed. ret:{status}")
        world.set_equalizer([0.0] * 32)
        return status

    def _wait_post_processor(self, world):
        for _ in range(50):
            status = world.middleware("MTAUDPOST_GetParameters")
            ready = 0
            if status == 0:
                status, ready = world.number("soc/audio_post/ready")
            if status != 0:
                world.log("E", TAG, f"[checkCpupostReady] MTAUDPOST_GetParameters failed!!({status})")
                return
            if ready:
                return
            world.sleep()
        world.log("E", TAG, "[checkCpupostReady] wait cpupost Ready timeout.")

    # Smooth delay.

    def _reapply(self, world, name):
        if not self.get_enabled(world):
            return self._flatten(world)
        records = self._read_records(world)
        if records is not None:
            return self._apply(world, records)
        result = self._flatten(world)
        world.log("E", TAG, f"[{name}] end read NG.")
        return result

    def set_smooth_delay_enabled(self, world, enable):
        name = "setSmoothDelayEnabled"
        world.log("D", TAG, f"[{name}] start arg:{enable:d}")
        if not self.back_end:
            world.log("E", TAG, f"[{name}] none BE model")
            return -2
        if enable == self.smooth:
            return 0
        if enable:
            self.smooth_values = [0.0, 0.0]
        self.smooth = enable
        result = self._reapply(world, name)
        if result != 0:
            self.smooth = not enable
        world.log("D", TAG, f"[{name}] end Return: {result}")
        return result

    def get_smooth_delay_enabled(self, world):
        world.log("D", TAG, f"[getSmoothDelayEnabled] Return: {self.smooth:d}")
        return self.smooth

    def set_smooth_delay(self, world, delays):
        name = "setSmoothDelay"
        world.log("D", TAG, f"[{name}] start")
        if not self.back_end:
            world.log("E", TAG, f"[{name}] none BE model.")
            return -2
        if not self.smooth:
            world.log("D", TAG, f"[{name}] SD invalid.")
            return 0
        if not 2 <= len(delays) <= 9:
            return -1
        self.smooth_values = [f32(value) for value in delays]
        result = self._reapply(world, name)
        world.log("D", TAG, f"[{name}] end Return: {result}")
        return result

    def get_smooth_delay(self, world):
        world.log("D", TAG, "[getSmoothDelay] start")
        world.log("D", TAG, "[getSmoothDelay] end")
        return list(self.smooth_values)

    # Parameters of the measurement.

    def get_calibration_parameters(self, world):
        name = "getCalibrationParameters"
        world.log("D", TAG, f"[{name}] start")
        regions = self._read_regions(world, name)
        if regions is None:
            return parameters(bytes(BLOCK_SIZE), None)
        world.log("D", TAG, f"[{name}] end")
        return parameters(regions[0], regions[1:])

    def _read_regions(self, world, name):
        error = world.open(TUNING, call="fopen")
        if error:
            world.log("E", TAG, f"[{name}] fopen failed, errno {error}")
            return None
        regions = []
        places = [(BLOCK_AT, BLOCK_SIZE)] + [(CURVE_AT + i * CURVE_SIZE, CURVE_SIZE) for i in range(5)]
        for at, size in places:
            error = world.seek(TUNING, at)
            if error:
                world.log("E", TAG, f"[{name}] fseek failed, errno {error}")
                return None
            error, data = world.read(TUNING, at, size, call="fread")
            if len(data) < size:
                world.log("E", TAG, f"[{name}] fread failed, errno {error}")
                return None
            regions.append(data)
        return regions


def parameters(block, curves):
    """The settings in the regions of the tuning file; without `curves`, all zero and empty."""
    word = lambda at: struct.unpack_from("<i", block, at)[0]
    unsigned = lambda at: struct.unpack_from("<I", block, at)[0]
    scaled = lambda number: f32(number * 0.1)
    result = {f"int_value{i + 1}": word(at) for i, at in enumerate((0, 4, 8, 12, 16, 0x28, 0x2C))}
    numbers = [unsigned(0x14), unsigned(0x18), unsigned(0x1C), word(0x24), word(0x20), unsigned(0x30), word(0x34)]
    result |= {f"scaled_value{i + 1}": scaled(number) for i, number in enumerate(numbers)}
    empty = curves is None
    for number, low, high in ((1, 0x38, 0x3C), (2, 0x40, 0x44)):
        result[f"frequency_ranges{number}"] = [] if empty else [
            {"channel": channel, "lower_frequency": float((unsigned(low) >> (24 - 8 * i) & 255) * 10),
             "upper_frequency": float((unsigned(high) >> (24 - 8 * i) & 255) * 100)}
            for i, channel in enumerate(("Front", "Center", "Other"))]
    result["equalizer"] = [] if empty else [band(scaled(unsigned(0x48 + 4 * i))) for i in range(BANDS)]
    result["channel_curves"] = [] if empty else [
        {"channel": channel, "enabled": struct.unpack_from("<i", curve)[0] == 1,
         "equalizer": [band(scaled(gain)) for gain in struct.unpack_from("<31i", curve, 4)]}
        for channel, curve in zip(CURVES, curves)]
    return result
