# SPDX-License-Identifier: Apache-2.0
"""Clients and values, with the tests' own interface, which has a method for each kind of type."""
import collections
import dataclasses
import math
import os
import threading

import pytest
from hidlaudio import (CallTimeout, ClientEnded, DeadObject, Events, ServiceNotFound, TransactionError, Tv, background,
                       programs, types)

PROBE = "com.tovi.test.probe@1.1::IProbe"
CLIENT = os.environ["PROBE_CLIENT"]
pytestmark = pytest.mark.tv(services=[f"{PROBE}/default"], boot=False)


class Probe:
    """An IProbe in Python."""

    def __init__(self):
        self.callback = None

    def add(self, a, b):
        return a + b

    def echo(self, value):
        return value

    def echo_texts(self, texts):
        return texts

    def echo_text(self, text):
        return text

    def echo_bytes(self, data):
        return data

    def set_callback(self, callback):
        self.callback = callback

    def get_callback(self):
        return self.callback

    def pass_callbacks(self, given):
        return given, given[0] == given[-1]

    def call_back(self, value):
        return self.callback.on_event(value), 0


@pytest.fixture
def fake(tv):
    """The Probe, served by a client of its own."""
    server = tv.client(CLIENT)
    server.probe = Probe()
    server.register(PROBE, server.probe)
    return server


@pytest.fixture
def user(tv, fake):
    return tv.client(CLIENT)


@pytest.fixture
def probe(user):
    return user.get(PROBE)


def test_values_come_back_unchanged(probe):
    everything = programs.types_of(CLIENT).class_of("com.tovi.test.probe@1.0::Everything")
    item = {"name": "bass", "gains": [0.1, -1.5], "notes": ["a", ""], "enabled": True, "colour": "GREEN"}
    value = everything(
        truth=True, small=-128, small_unsigned=255, medium=-2**15, medium_unsigned=2**16 - 1, large=-2**31,
        large_unsigned=2**32 - 1, huge=-2**63, huge_unsigned=2**64 - 1, real=0.1, precise=math.inf, colour=7,
        flags=["ONE", "TWO"], three_numbers=[1, -2, 3], two_texts=["x", "y"], text="ÿ\udc80", item=item,
        truths=[True, False], numbers=[0.1, -math.inf], table=[[1], [], [2, 3]], items=[item, {}],
        texts=[["a"], []], grid=[[1, 2, 3], [4, 5, 6]], names=[["a", "b"], ["c", "d"]])
    back = probe.echo(value)
    # Dicts, names and lists of flags come back as dataclasses and members.
    assert dataclasses.asdict(back) == {**dataclasses.asdict(value), "flags": 3, "item": {**item, "colour": 1},
                                        "items": [{**item, "colour": 1}, dataclasses.asdict(
                                            type(back.item)())]}
    assert back.item.colour.name == "GREEN" and type(back.colour) is int and int(back.flags) == 3
    assert math.isnan(probe.echo({"real": math.nan}).real)
    for data in (b"", b"\0\xff", bytes(100000)):
        assert probe.echo_bytes(memoryview(data)) == data
    assert probe.echo_texts(texts=[["ä"], []]) == [["ä"], []]


@pytest.mark.parametrize("value, error, path", [
    ({"truth": 1}, TypeError, "value.truth"),
    ({"large": True}, TypeError, "value.large"),
    ({"large": 1.0}, TypeError, "value.large"),
    ({"small": 128}, ValueError, "value.small"),
    ({"small_unsigned": -1}, ValueError, "value.small_unsigned"),
    ({"huge_unsigned": 2**64}, ValueError, "value.huge_unsigned"),
    ({"real": 1e39}, ValueError, "value.real"),
    ({"precise": "1"}, TypeError, "value.precise"),
    ({"colour": "BLUE"}, ValueError, "value.colour"),
    ({"colour": 2**31}, ValueError, "value.colour"),
    ({"flags": 256}, ValueError, "value.flags"),
    ({"three_numbers": [1, 2]}, ValueError, "value.three_numbers"),
    ({"text": 1}, TypeError, "value.text"),
    ({"items": [{}, {"gains": [0, "x"]}]}, TypeError, r"value.items\[1\].gains\[1\]"),
    ({"item": {"nam": ""}}, TypeError, "value.item: Item has no field 'nam'"),
    ({"table": "ab"}, TypeError, "value.table"),
    (None, TypeError, "value: expected Everything or dict"),
])
def test_wrong_value_is_named(probe, value, error, path):
    with pytest.raises(error, match=r"^echo\(\): " + path):
        probe.echo(value)


def test_wrong_number_of_arguments(probe):
    for args, kwargs in (((1,), {}), ((1, 2, 3), {}), ((1,), {"c": 2}), ((1, 2), {"a": 1})):
        with pytest.raises(TypeError):
            probe.add(*args, **kwargs)
    assert probe.add(b=-1, a=3) == 2
    with pytest.raises(AttributeError):
        probe.subtract(1, 2)


def test_callback_runs_on_the_thread_that_waits_and_may_call(probe):
    threads = []

    def on_event(value):
        threads.append(threading.get_ident())
        if value == 0:
            return 100
        nested = probe.call_back(value - 1)
        return probe.add(nested.answer, value)

    probe.set_callback(on_event)
    assert probe.call_back(4) == (110, 0)
    assert threads == [threading.get_ident()] * 5


def test_objects_keep_their_identity(fake, user, probe):
    events, other = Events(answer=1), Events(answer=2)
    probe.set_callback(events)
    assert probe.get_callback() is events
    same, equal = probe.pass_callbacks([events, other, events])
    assert same[0] is events and same[1] is other and equal
    assert probe.pass_callbacks([events, other]).equal is False
    assert user.get(PROBE) == probe
    assert probe.interface_chain()[0] == PROBE == probe.interface_descriptor()
    with pytest.raises(ValueError, match="another client"):
        probe.set_callback(fake.probe.callback)
    for wrong in (3, {"on_evnt": events}):
        with pytest.raises(TypeError, match="callback"):
            probe.set_callback(wrong)


def test_callback_error_is_kept_and_answered_with_zero(user, probe):
    def fail(value):
        raise KeyError(value)

    probe.set_callback(fail)
    assert probe.call_back(5) == (0, 0)
    probe.set_callback(lambda value: "text")
    assert probe.call_back(5) == (0, 0)
    assert [type(error) for error in user.callback_errors] == [KeyError, TypeError]
    user.callback_errors.clear()


def test_interrupt_during_a_callback_ends_the_call(user, probe):
    def interrupt(value):
        raise KeyboardInterrupt

    probe.set_callback(interrupt)
    with pytest.raises(KeyboardInterrupt):
        probe.call_back(5)
    assert probe.add(1, 2) == 3 and user.callback_errors == []


def test_another_thread_takes_the_last_dropped_object(user, probe):
    class EmptiedAfterTheCheck(collections.deque):
        def __bool__(self):
            return True

    user._dropped = EmptiedAfterTheCheck()
    assert probe.add(1, 2) == 3


def test_death_notice_and_dead_object(fake, probe):
    died, unlinked = Events(), Events()
    probe.link_to_death(died)
    link = probe.link_to_death(unlinked)
    assert link.unlink() and not link.unlink()
    fake.kill()
    assert died.wait() is probe
    with pytest.raises(DeadObject) as error:
        probe.ping()
    assert error.value.status == "DEAD_OBJECT"
    assert died.all == [probe] and unlinked.all == []


def test_paused_process_times_out_and_ended_client_raises(fake, user, probe):
    user.timeout = 0.2
    fake.pause()
    with pytest.raises(CallTimeout):
        probe.ping()
    waiting = background(probe.add, 1, 2)
    fake.resume()
    user.timeout = 30
    assert probe.add(1, 2) == 3
    assert waiting.exception(10) is None or isinstance(waiting.exception(), CallTimeout)
    user.kill()
    with pytest.raises(ClientEnded):
        probe.ping()
    with pytest.raises(ClientEnded):
        user.pause()


def test_absent_and_undeclared_services(tv):
    client = tv.client(CLIENT)
    with pytest.raises(ServiceNotFound):
        client.get(PROBE)
    with pytest.raises(ValueError):
        client.get("com.tovi.test.probe@9.9::IProbe")
    with pytest.raises(TransactionError) as error:
        client.register(PROBE, Probe(), "undeclared")
    assert error.value.status == "UNKNOWN_ERROR"
    later = background(client.get, PROBE, wait=10)
    tv.client(CLIENT).register(PROBE, Probe())
    assert later.result(10).add(1, 1) == 2


def test_types_of_the_tv():
    assert types.ParamType["HRTF"] == 1
    band = types.bandEqualizer(type="PEQ", param1=63)
    assert (band.type, band.param1, band.gain) == ("PEQ", 63, 0.0)
    with pytest.raises(AttributeError):
        types.NoSuchType  # noqa: B018


def test_without_pytest():
    with Tv(model="standard") as tv, tv.client() as client:
        assert client.speaker.get_tv_position().name == "TABLE_TOP"
        folder = tv.path
    assert not folder.exists()
