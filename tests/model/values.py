# SPDX-License-Identifier: Apache-2.0
"""Strategies of the state machine: calls with usual, boundary and hostile arguments, faults, files."""

from hypothesis import strategies as st

from acoustic_calibration import DATA_FILE, FLAG_FILE
from mic_control import MIC
from output_external import MODE_FILE
from prediction_values import TUNING, f32
from world import KEPT, MARKER

KEYS = {  # of the configuration store, with the methods that read them
    "g_audio__tv_position": "speaker.get_tv_position", "g_audio__spk_sur_type": "speaker.get_surround_type",
    "g_audio__aud_speaker": "speaker.get_surround_type",
    "g_audio__bitstream_output_mode": "external.get_force_encoding_enabled",
    "g_audio__arc_dd_plus_capab": "hdmi.get_audio_capabilities",
    "g_audio__earc_ddp_cap": "hdmi.get_audio_capabilities",
    "g_audio__arc_mpeg4_aac_lc_capab": "hdmi.get_audio_capabilities"}
config = st.dictionaries(st.sampled_from(list(KEYS)), st.sampled_from(["0", "1", "2", "3", "4"]) | st.sampled_from(
    ["-1", "5", "2147483647", "-2147483648", "x", "", None]), min_size=1, max_size=5)
words = st.sampled_from([0, 1, 2, 7, 15, 255, 256, 258, 1024, -1, -10, -35, 0x02050A00, 0xC8C8C8FF, 2**31])
center_words = st.sampled_from([0, 1, 3, 254, 255, 256, 512, 2**31 - 1, -1, -2**31])
texts = st.sampled_from(["", "Tovi", "tovi", "Tovi ", "TOVI", "a\nb", "ü€", "x" * 2000, "%s%n", "auto"])

CAPABILITIES = ["ARC_DD_NONE", "ARC_DD_PLUS", "ARC_DD_ATMOS", "ARC_MP4AAC_NONE", "ARC_MP4AAC_5_1",
                "ARC_MP4AAC_7_1", "ARC_MP4AAC_22_2", "EARC_DD_PLUS", "NONE", "", "ARC_DD_", "ARC_DD_X", "ARC_DD",
                "ARC_MP4AAC_", "arc_dd_plus", "ARC_DD_PLUS ", "ARC_MP4AAC_22_2\n", "ARC_DD_" + "y" * 1100]

levels = st.sampled_from([0.0, -9.0, 9.0, 2.35, -3.0, 0.25, -0.25, 0.05, -0.05, 8.95, -0.0, f32(9.000001),
                          f32(-9.000001), 1e30]) | st.floats(-9.0, 9.0, width=32)
delays = st.sampled_from([0.0, 10.0, 0.01, 0.0104, 2.5, f32(10.000001), f32(-1e-20)]) | st.floats(0.0, 10.0, width=32)
gains = st.sampled_from([0.0, 9.0, -9.0, 0.25, -0.25, 1.0]) | st.floats(-9.0, 9.0, width=32)
bad_gains = st.sampled_from([f32(9.000001), f32(-9.000001), float("nan"), float("inf")])


def entry(channel, level, delay, bands):
    return {"channel": channel, "level": level, "delay": delay,
            "equalizer": [{"type": "x", "param1": 1.0, "param2": 2.0, "gain": gain} for gain in bands]}


@st.composite
def entries(draw):
    count = draw(st.sampled_from([0, 1, 30, 31, 31, 32, 40]))
    bands = [draw(gains)] * count
    for _ in range(draw(st.integers(0, 2)) if count else 0):
        bands[draw(st.integers(0, count - 1))] = draw(st.one_of(gains, gains, gains, bad_gains))
    channel = draw(st.sampled_from(["FL", "FR", "FL", "FR", "C", "FRONT", "FLX", "SBLR", "", "F"]))
    return entry(channel, draw(levels), draw(delays), bands)


valid_results = st.lists(st.builds(
    entry, st.sampled_from(["FL", "FL", "FR", "C"]), st.sampled_from([0.0, 9.0, -9.0, 2.35]),
    st.sampled_from([0.0, 0.01, 2.5, 10.0]), st.lists(gains, min_size=1, max_size=2)), min_size=1, max_size=3)
results = st.lists(entries(), max_size=3) | st.lists(entries(), min_size=8, max_size=11)
smooth = st.lists(st.sampled_from([0.0, 1.0, 2.5, 7.0, 10.0, -1.0, 0.01, 600.0, -0.02]), max_size=11)
mics = st.sampled_from([MIC, MIC, MIC, "", "AUDIO_DEVICE_IN", MIC + "2", "x\ny"])
scales = st.sampled_from([0.0, 1.0, 0.5, -0.0, f32(1.0000001), -1e-7, 1e-40, 0.3]) | st.floats(0, 1, width=32)


def method(path, *arguments):
    return st.tuples(st.just(path), st.tuples(*arguments))


booleans = st.booleans()
calls = st.one_of(
    method("hdmi.get_audio_capabilities"),
    method("hdmi.set_audio_capabilities", st.lists(st.sampled_from(CAPABILITIES), max_size=4)),
    method("hdmi.set_callback", st.none()),
    method("listener.on_force_encoding_changed", booleans),
    method("listener.on_encoding_format_changed", texts),
    method("external.set_force_encoding_enabled", booleans),
    method("external.set_force_encoding_enabled", booleans),
    method("external.get_force_encoding_enabled"),
    method("external.set_encoding_format", texts),
    method("external.get_encoding_format"),
    method("external.get_available_encoding_formats"),
    method("external.register_encoding_format_listener", st.none()),
    method("external.unregister_encoding_format_listener", st.none()),
    method("speaker.get_surround_type"),
    method("speaker.get_tv_position"),
    method("speaker.set_tv_position", st.sampled_from([0, 1, 2, 7, -1, 2**31 - 1, -2**31])),
    method("speaker.get_delay"),
    method("calibration.set_enabled", booleans),
    method("calibration.set_enabled", booleans),
    method("calibration.get_enabled"),
    method("calibration.set_calibrated_data", results),
    method("calibration.set_calibrated_data", results),
    method("calibration.get_calibrated_data"),
    method("calibration.get_calibration_parameters"),
    method("calibration.set_smooth_delay_enabled", booleans),
    method("calibration.get_smooth_delay_enabled"),
    method("calibration.set_smooth_delay", smooth),
    method("calibration.get_smooth_delay"),
    method("center.get_center_speaker_acoustics_type"),
    method("center.get_center_speaker_latency"),
    method("center.is_center_speaker_input_available"),
    method("center.is_synchronized_center_speaker_input_available"),
    method("virtualizer.set_virtualizer_enabled", booleans),
    method("virtualizer.get_virtualizer_enabled"),
    method("virtualizer.set_virtualizer_type", texts),
    method("virtualizer.get_virtualizer_type"),
    method("virtualizer.get_available_virtualizer_types"),
    method("virtualizer.set_upmix_enabled", booleans),
    method("virtualizer.get_upmix_enabled"),
    method("virtualizer.get_max_append_size"),
    method("mic.set_mic_gain", mics, scales),
    method("mic.get_mic_gain", mics),
    method("mic.get_mic_devices"),
)

# Calls that use a function of the TV, with a fault of that function.
stores = st.one_of(method("external.set_force_encoding_enabled", booleans),
                   method("speaker.set_tv_position", st.sampled_from([0, 1, 2])),
                   method("hdmi.set_audio_capabilities", st.lists(st.sampled_from(CAPABILITIES[:7]), max_size=4)))
loads = st.one_of(method("hdmi.get_audio_capabilities"), method("external.get_force_encoding_enabled"),
                  method("speaker.get_surround_type"), method("speaker.get_tv_position"))
sounds = st.one_of(method("calibration.set_enabled", booleans),
                   method("calibration.set_smooth_delay_enabled", booleans), method("calibration.set_smooth_delay", smooth))
switches = st.one_of(method("virtualizer.set_virtualizer_enabled", booleans),
                     method("virtualizer.set_upmix_enabled", booleans))
mic_calls = st.one_of(method("mic.set_mic_gain", st.just(MIC), st.floats(0, 1, width=32)),
                      method("mic.get_mic_gain", st.just(MIC)), method("speaker.set_tv_position", st.integers(0, 1)))
file_calls = st.one_of(
    method("calibration.set_calibrated_data", st.lists(entries(), min_size=1, max_size=3)),
    method("calibration.set_enabled", booleans), method("calibration.get_enabled"),
    method("calibration.get_calibrated_data"), method("calibration.get_calibration_parameters"),
    method("external.set_force_encoding_enabled", booleans))


def faulty(functions, those_calls):
    names = st.sampled_from([f"{name if '/' in name else 'soc/faults/' + name}" for name in functions])
    return st.tuples(names, st.sampled_from(["7 1", "-5 1", "1 1 1", "3 2"]), those_calls)


faulty_calls = st.one_of(
    faulty(["a_mtktvapi_config_set_value"], stores), faulty(["a_mtktvapi_config_get_value"], loads),
    faulty(["MTDRVCUST_dcustom_cust_spec_set", "MTAL_InitExCb", "MTAUDDEC_Set32EqualizerBandConfig",
            "MTAUDDEC_SetAcVolumeOffset", "MTAUDPOST_GetParameters"], sounds),
    faulty(["MTDRVCUST_dcustom_cust_spec_set", "MTAL_InitExCb"], switches),
    faulty(["hal/faults/setParameters", "hal/faults/getParameters"], mic_calls))
start_faults = st.tuples(
    st.sampled_from(["MTAL_InitExCb", "MTAL_Init", "MTEEPROM_Init", "MTEEPROM_Read", "a_mtktvapi_config_set_value",
                     "a_mtktvapi_config_get_value", "MTDRVCUST_dcustom_cust_spec_get",
                     "MTDRVCUST_dcustom_cust_spec_set", "MTAUDDEC_SetAcVolumeOffset"]),
    st.sampled_from(["7 1", "-5", "7 1 1", "3 1 2", "3 1 3"]))

# "newest" is the last one given out, which may have ended.
handles = st.sampled_from(["device", "hrtf", "device", "hrtf", "device", "hrtf", "newest", "newest", 0, -1, 1, 2, 254, 255, 2**31 - 1])
sizes = st.sampled_from([0, 1, 10, 5000, 262144, 262145, 300000, -1, -2**31])
behaviour = st.one_of(
    st.tuples(st.just("rate"), st.sampled_from([16777216, 2147483647, 1000000])),
    st.tuples(st.just("result"), st.sampled_from([1, 0, 2, 3, 4, 0xF2, 0xF3, 0xF4, 0xF5, 0xFF])),
    st.tuples(st.just("state"), st.sampled_from([0, 2, 0xFF])),
    st.tuples(st.sampled_from(["hang", "hang", "ioctl_fails", "open_fails"]), booleans))

FUNCTIONS = ["IMtkPb_Ctrl_Init", "MTAL_InitExCb", "DRV_Init", "MTAL_Init", "a_mtktvapi_config_get_value",
             "a_mtktvapi_config_set_value", "MTAUDDEC_GetChannelMainDelaySp", "MTAUDDEC_Set32EqualizerBandConfig",
             "MTAUDDEC_SetAcVolumeOffset", "MTAUDPOST_GetParameters", "MTDRVCUST_dcustom_cust_spec_get",
             "MTDRVCUST_dcustom_cust_spec_set", "MTEEPROM_GetProperty", "MTEEPROM_Init", "MTEEPROM_Read",
             "acquire_wake_lock", "release_wake_lock"]
uses = st.sampled_from(["", " 1", " 1 1", " 2", " 1 2"])
soc_faults = st.tuples(st.sampled_from(["soc/faults/" + name for name in FUNCTIONS]),
                       st.one_of(st.builds(str.__add__, st.sampled_from(["7", "-5", "-1"]), uses), st.just("")))
deaths = st.tuples(st.sampled_from(["soc/faults/a_mtktvapi_config_set_value",
                                    "soc/faults/MTDRVCUST_dcustom_cust_spec_set",
                                    "soc/faults/MTAUDDEC_SetAcVolumeOffset", "hal/faults/setParameters"]),
                   st.just("dies 1"))
hal_faults = st.tuples(st.sampled_from(["hal/faults/openPrimaryDevice", "hal/faults/setParameters",
                                        "hal/faults/getParameters"]),
                       st.one_of(st.builds(str.__add__, st.sampled_from(["1", "4"]), uses), st.just("")))
faults = st.one_of(soc_faults, soc_faults, hal_faults, deaths)

errors = st.sampled_from(["EIO", "ENOSPC", "EACCES", "EMFILE"])
call_faults = st.one_of(
    st.none(), st.none(),
    st.tuples(st.sampled_from(["open", "write", "read", "fopen", "fread", "fseek", "fsync", "remove"]),
              st.integers(1, 6), st.just(False), errors, st.just(-1)),
    st.tuples(st.sampled_from(["open", "write", "read", "fopen", "fread", "fseek", "fsync", "remove",
                               "pthread_create", "epoll_ctl", "timerfd_create", "timerfd_settime", "ioctl"]),
              st.just(1), st.just(True), errors, st.just(-1)),
    st.tuples(st.sampled_from(["pthread_create", "epoll_ctl", "timerfd_create", "timerfd_settime"]),
              st.integers(1, 3), st.just(False), errors, st.just(-1)),
    st.tuples(st.sampled_from(["write", "read", "fread"]), st.integers(1, 5), st.booleans(), st.just("EIO"),
              st.sampled_from([0, 1, 3, 20, 139])))

file_faults = st.tuples(st.sampled_from(["open", "write", "read", "fopen", "fread", "fseek", "remove"]),
                        st.integers(1, 5), booleans, errors, st.just(-1)) | st.tuples(
    st.sampled_from(["write", "read", "fread"]), st.integers(1, 5), booleans, st.just("EIO"),
    st.sampled_from([0, 1, 139]))

zeros = st.sampled_from([b"", b"\0", b"\1", b"\2", b"\5\0\0\0", b"\0\0\1", b"\1\0\0\0\0\0\0\0"])
modes = st.tuples(st.just(MODE_FILE), st.sampled_from([-1, 0, 2, 3, 5, 2**31 - 1]).map(
    lambda mode: mode.to_bytes(4, "little", signed=True)))
files = st.one_of(
    modes, modes,
    st.tuples(st.sampled_from([MODE_FILE, FLAG_FILE, DATA_FILE]), st.none() | zeros),
    st.tuples(st.just(DATA_FILE), st.sampled_from(
        [b"FL".ljust(140, b"\0") + b"\0", b"FL".ljust(140, b"\0"), b"FR".ljust(139, b"\0"),
         b"\1xyz" + b"LFE\0\1\2\3\4".ljust(140, b"\0") + b"\0"])),
    st.tuples(st.just(KEPT), st.sampled_from([None, b""])),
    st.tuples(st.just(TUNING), st.sampled_from([None, b"", b"\1" * 22979, b"\2" * 22980, b"\3" * 23943])),
    st.tuples(st.just("soc/audio_decoder/channel_main_delay_sp"), st.sampled_from([b"0\n", b"4294967295\n", b"x\n"])),
    st.tuples(st.just("hal/parameters/builtin_mic_gain"), st.sampled_from(
        [None, b"0.25\n", b" 0.5x\n", b"x\n", b"\n", b"-7\n", b"inf\n", b"0.1 0.2\n"])),
    st.tuples(st.sampled_from([MARKER, "soc/bectrl/boot_state"]), st.none()),
    st.tuples(st.just(MARKER), st.just(b"")),
    st.tuples(st.just("soc/bectrl/boot_state"), st.sampled_from([b"1\n", b"2\n"])),
    st.tuples(st.just("soc/audio_post/ready"), st.sampled_from([b"1\n", b"0\n", b"x\n"])),
)
