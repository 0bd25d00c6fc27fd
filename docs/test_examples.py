# SPDX-License-Identifier: Apache-2.0
"""Ten examples of tests with the Python package. docs/python.md describes the functions used here."""
import pytest
from hidlaudio import DeadObject, Events, background


def test_setting_survives_restart(tv, client):
    assert client.external.set_force_encoding_enabled(False) == 0
    tv.reboot()
    assert client.external.get_force_encoding_enabled() is False


def upload(client, data):
    """Uploads HRTF parameters. Returns the Events of the result."""
    result = Events()
    handle = client.virtualizer.allocate_parameter_buffer("HRTF", len(data))
    step = client.virtualizer.get_max_append_size()
    for start in range(0, len(data), step):
        assert client.virtualizer.append(handle, data[start:start + step]) == 0
    assert client.virtualizer.apply(handle, result) == 0
    return result


def test_controller_receives_all_bytes(tv, client):
    data = bytes(range(256)) * 2000
    assert upload(client, data).wait() == 0
    assert tv.bectrl.hrtf.received == data


@pytest.mark.tv(clock=10)
def test_app_dies_while_its_upload_runs(tv, make_client):
    tv.bectrl.rate = 1000
    app, other = make_client(), make_client()
    upload(app, bytes(2000))  # takes two seconds of the TV's clock
    app.kill()
    tv.log.wait_for("paramTransferThread finished")
    assert tv.state()["wake_locks"] == []
    tv.bectrl.rate = 1000000
    assert upload(other, b"next").wait() == 0


def test_middleware_refuses(tv, client):
    before = client.external.get_force_encoding_enabled()
    with tv.fault("a_mtktvapi_config_set_value", 7):
        assert client.external.set_force_encoding_enabled(not before) == 7
    assert client.external.get_force_encoding_enabled() is before
    assert client.external.set_force_encoding_enabled(not before) == 0


@pytest.mark.tv(boot=False)
def test_hal_comes_late(tv, client):
    tv.start("hidlaudio", wait=False)
    tv.log.wait_for("Waited one second for android.hardware.audio@5.0::IDevicesFactory")
    tv.start("audio_hal")
    speaker = client.get("com.tovi.dtv.hardware.audio@6.1::IOutputSpeaker", wait=10)
    assert speaker.set_tv_position(1) == 0
    assert tv.hal["tv_position"] == "wall_mount"


@pytest.mark.tv(clock=200)
def test_controller_hangs(tv, client):
    tv.bectrl.hrtf.hang = True
    assert upload(client, b"never ends").wait() == -2  # after 20 s of the TV's clock
    tv.log.wait_for("paramTransferThread finished")
    assert tv.state()["wake_locks"] == []
    device = client.virtualizer.allocate_parameter_buffer("DEVICE", 1)  # the daemon still serves calls
    assert client.virtualizer.append(device, b"x") == 0


def test_log_lines_in_order(tv, client):
    mark = tv.log.mark()
    assert upload(client, b"data").wait() == 0
    line = None
    for text in ("[allocateParameterBuffer] start", "[append] start", "[apply] start",
                 "Acquire Wakelock completed", "Release Wakelock completed", "paramTransferThread finished"):
        line = tv.log.wait_for(text, after=line or mark, tag="AudioHV")


def test_daemon_dies_and_app_recovers(tv, client):
    died = Events()
    external = client.external
    external.link_to_death(died)
    tv.kill("hidlaudio")
    assert died.wait() is external
    with pytest.raises(DeadObject):
        external.get_force_encoding_enabled()
    tv.start("hidlaudio")
    client.external.get_force_encoding_enabled()  # the attribute looks the service up again


def test_callback_calls_services(tv, make_client):
    setter, watcher = make_client(), make_client()
    levels = []

    def on_change(capabilities):
        # The service is waiting for this callback, and serves our calls meanwhile.
        levels.append((capabilities, watcher.hdmi.get_audio_capabilities()))

    watcher.hdmi.set_callback(on_change)
    setter.hdmi.set_audio_capabilities(["ARC_DD_NONE"])
    assert len(levels) == 1
    changed, all_levels = levels[0]
    assert changed == ["ARC_DD_NONE"]
    assert "ARC_DD_NONE" in all_levels


def test_stopped_hal_delays_all_clients(tv, make_client):
    first, second = make_client(), make_client()
    device = first.mic.get_mic_devices()[0]
    speaker = second.speaker  # looks the service up before the HAL is paused
    mark = tv.log.mark()
    tv.pause("audio_hal")
    slow = background(first.mic.get_mic_gain, device)
    tv.log.wait_for("getMicGain", after=mark)
    waiting = background(speaker.get_tv_position)  # one thread serves all calls
    assert not waiting.done()
    tv.resume("audio_hal")
    assert slow.result(timeout=10) == 0.0
    assert waiting.result(timeout=10) == 0
