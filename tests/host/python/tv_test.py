# SPDX-License-Identifier: Apache-2.0
"""The TV, and what pytest reports."""
import os
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import pytest
from hidlaudio import DeadObject, Tv, TvError, guardian, programs
from hidlaudio.log import Log
from hidlaudio.processes import wait_for_end

PROGRAMS = str(programs.program("tv").parent)


@pytest.mark.tv(boot=False, config={"g_audio__tv_position": 1, "g_audio__aud_speaker": None},
                eeprom={"segment": 70}, files={"data/vendor/x": "text", "soc/audio_post/ready": None},
                faults={"getParameters": 2})
def test_options_and_mappings(tv):
    assert tv.config["g_audio__tv_position"] == 1 and "g_audio__aud_speaker" not in tv.config
    tv.config["g_audio__tv_position"] = -5
    assert dict(tv.config)["g_audio__tv_position"] == tv.state()["config"]["g_audio__tv_position"] == -5
    with pytest.raises(KeyError):
        del tv.config["none"]
    assert tv.eeprom["segment"] == tv.eeprom[0x10089] == 70
    assert tv.files["data/vendor/x"] == b"text" and "soc/audio_post/ready" not in tv.files
    assert list(tv.state()["faults"]) == ["getParameters"]
    with tv.fault("MTEEPROM_Read", -3, count=2, after=1):
        assert "-3" in tv.command("fault", "MTEEPROM_Read")
    tv.fault("write", "ENOSPC", count=1)
    tv.fault("read", short=2)
    assert tv.state()["faults"] == {"getParameters": {"status": 2}, "read": {"short": 2},
                                    "write": {"errno": "ENOSPC", "count": 1}}
    tv.clear_faults()
    assert tv.state()["faults"] == {}
    with pytest.raises(TvError, match="none"):
        tv.fault("none", 1)
    tv.bectrl.hrtf.rate = 1000
    assert (tv.bectrl.hrtf.rate, tv.bectrl.device.rate) == (1000, 16777216)
    tv.bectrl.hang = True
    assert tv.bectrl.hang is True and tv.bectrl.hrtf.received is None
    assert tv.pid("hidlaudio") is None


def test_system_call_of_running_daemon_fails(tv, client):
    tv.fault("write", "ENOSPC", count=1)
    assert [client.calibration.set_enabled(False) for _ in range(2)] == [-1, 0]
    assert tv.log.find("write AcousticCalibration enabled data failed, errno 28")
    assert tv.state()["faults"] == {}
    with tv.fault("fsync", dies=True):
        with pytest.raises(DeadObject):
            client.calibration.set_enabled(False)
    tv.wait_for_end("hidlaudio")
    tv.clear_faults()
    assert tv.problems() == []  # the fault has ended the daemon


def test_log(tv, client):
    mark = tv.log.mark()
    assert tv.log.find("setting not exist", level="D") and not tv.log.find("setting not exist", after=mark)
    client.speaker.set_tv_position(1)
    line = tv.log.wait_for("tv_position=", after=mark)
    assert (line.program, line.tag, line.pid) == ("audio_hal", "AudioHal", tv.pid("audio_hal"))
    with pytest.raises(TimeoutError, match="setParameters tv_position"):
        tv.log.wait_for("never", timeout=0)


def test_mark_is_after_lines_with_times_in_the_wrong_order(tmp_path):
    line = "01-01 00:00:00.00{} 1 1 I Tag: text\n"
    (tmp_path / "hidlaudio.log").write_text(line.format(2) + line.format(1))
    log = Log(tmp_path)
    mark = log.mark()
    assert len(log.find("text")) == 2 and log.find("text", after=mark) == []


def test_programs_end_and_start(tv, client):
    old = client.speaker
    tv.kill("hidlaudio")
    tv.start("hidlaudio")
    assert client.speaker.get_tv_position() == 0
    assert client.speaker != old
    with pytest.raises(TvError, match="running"):
        tv.start("hidlaudio")
    tv.reboot(clock=100)
    assert client.speaker.get_tv_position() == 0


# A test file that pytest runs in a process of its own.
FAILING = '''
import os, signal, time
from pathlib import Path
import pytest

def test_callback_error(client):
    def fail(capabilities): raise ValueError("from the callback")
    client.hdmi.set_callback(fail)
    client.hdmi.set_audio_capabilities(["ARC_DD_PLUS"])

def test_dead_daemon(tv):
    os.kill(tv.pid("hidlaudio"), signal.SIGKILL)
    tv.wait_for_end("hidlaudio")

def test_expected(tv):
    tv.kill("audio_hal")

@pytest.fixture
def broken(tv): raise ValueError("from the fixture")

def test_fixture(broken): pass

def test_wait(tv, client):
    client.hdmi
    client.pause()
    Path(os.environ["PIDS"]).write_text(f"{tv.pid('hidlaudio')} {tv.pid('audio_hal')} {client.pid}\\n{tv.path}\\n")
    time.sleep(60)
'''


def run_pytest(folder, *arguments):
    file = folder / "test_inner.py"
    file.write_text(FAILING)
    return subprocess.Popen([sys.executable, "-B", "-X", "dev", "-m", "pytest", "--basetemp", folder / "tmp",
                             "-p", "no:cacheprovider", "-p", "hidlaudio.pytest_plugin",
                             "--hidlaudio-programs", PROGRAMS, *arguments, file],
                            cwd=folder, env={**os.environ, "PIDS": str(folder / "pids")}, text=True,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT)


@pytest.mark.parametrize("arguments", [(), ("-p", "xdist", "-n", "2")])
def test_report_of_failing_tests(tmp_path, arguments):
    output, _ = run_pytest(tmp_path, "-k", "not wait", *arguments).communicate(timeout=100)
    assert "2 failed, 1 passed" in output and "1 error" in output
    for text in ("ValueError: from the callback", "hidlaudio ended with status -9", "HIDL server side"):
        assert text in output
    assert output.count("Captured log of the programs") == 3
    assert "ResourceWarning" not in output


def test_killed_pytest_leaves_nothing(tmp_path):
    process = run_pytest(tmp_path, "-k", "wait")
    pids = tmp_path / "pids"
    becomes_true(lambda: pids.exists() and pids.read_text().endswith("tv\n"))
    numbers, folder = pids.read_text().splitlines()
    process.kill()
    process.communicate()
    becomes_true(lambda: not Path(folder).parent.exists())
    becomes_true(lambda: not any(is_running(int(number)) for number in numbers.split()))


def becomes_true(condition):
    deadline = time.monotonic() + 60
    while not condition():
        assert time.monotonic() < deadline
        time.sleep(0.01)


def is_running(pid):
    try:
        return Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()[0] != "Z"
    except OSError:
        return False


CLOSED_AT_EXIT = '''
import atexit, hidlaudio
made = []
atexit.register(lambda: made[0].close())
made.append(hidlaudio.Tv())
'''

# The terminal sends the signal to all processes of the session's foreground group.
INTERRUPTED = '''
import os, signal, hidlaudio
with hidlaudio.Tv() as tv, tv.client() as client:
    service = client.external
    try:
        os.killpg(0, signal.SIGINT)
        while True:  # until Python handles the signal
            pass
    except KeyboardInterrupt:
        service.ping()
'''


# The exit handler of multiprocessing, which ends the second process, runs after that of the package.
FORKS = '''
import multiprocessing.util, os, sys, time
import hidlaudio
from hidlaudio import guardian
Process = multiprocessing.get_context("fork").Process
tv = hidlaudio.Tv(boot=False)
if os.fork() == 0:
    sys.exit()
os.wait()
assert len(tv.config) > 0
with guardian._lock:  # as if another thread was using it
    first = Process(target=guardian.guard, args=("gone", "/none"))
    first.start()
first.join()
Process(target=time.sleep, args=(200,), daemon=True).start()
'''


@pytest.mark.parametrize("script", [CLOSED_AT_EXIT, INTERRUPTED, FORKS], ids=["closed_at_exit", "interrupted", "forks"])
def test_script(script):
    result = subprocess.run([sys.executable, "-B", "-X", "dev", "-c", script], capture_output=True, text=True,
                            env={**os.environ, "HIDLAUDIO_PROGRAMS": PROGRAMS}, timeout=100, check=False,
                            start_new_session=True)
    assert (result.returncode, result.stderr) == (0, "")


@pytest.mark.parametrize("is_reaped", [False, True])
def test_end_is_noticed_while_another_thread_waits_for_the_process(is_reaped):
    process = subprocess.Popen(["sh", "-c", "exit 3"])
    if is_reaped:
        process.wait()
    process.poll = lambda: None  # as long as the other thread is in wait()
    assert wait_for_end(process, 60) == 3


def test_tvs_without_programs_leave_no_folders(tmp_path, monkeypatch):
    monkeypatch.setattr(tempfile, "tempdir", str(tmp_path))
    monkeypatch.setattr(programs, "_chosen", tmp_path)
    with pytest.raises(TvError, match="no program tv"):
        Tv()
    for folder in "12":  # the programs of these have been deleted
        (tmp_path / folder).mkdir()
    subprocess.run([sys.executable, "-I", guardian.__file__, str(os.getpid())], check=True, text=True,
                   input=f"tv {tmp_path}/1\t/none\ntv {tmp_path}/2\t/none\n")
    assert list(tmp_path.iterdir()) == []


def test_killed_client_frees_its_upload(tv, client, make_client):
    tv.bectrl.hang = True
    handle = client.virtualizer.allocate_parameter_buffer("HRTF", 1)
    client.virtualizer.append(handle, b"x")
    client.kill()
    assert signal.SIGKILL == -client._process.returncode
    assert make_client().virtualizer.allocate_parameter_buffer("HRTF", 1) > 0


def test_boot_that_fails_shows_the_log():
    with pytest.raises(TvError, match="hidlaudio ended"):
        Tv(faults={"a_mtktvapi_config_get_value": {"dies": True}}).close()
