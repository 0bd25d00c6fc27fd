# SPDX-License-Identifier: Apache-2.0
"""A HIDL client: a process of its own that Python drives."""
import collections
import itertools
import re
import signal
import socket
import threading
import time
import types
import weakref

from . import programs
from .channel import Channel, ChannelClosed
from .errors import CallTimeout, ClientEnded, DeadObject, HidlError, ServiceNotFound, TransactionError
from .guardian import guard
from .processes import pause, start, wait_for_end

_SERVICES = {"hdmi": "IHdmiAudio", "listener": "IOutputEncodingStatusListener", "external": "IOutputExternal",
             "speaker": "IOutputSpeaker", "calibration": "IAcousticCalibration", "center": "ICenterSpeaker",
             "virtualizer": "IHeadphoneVirtualizer", "mic": "IMicControl"}


class RemoteObject:
    """An object of another process. Its methods are those of its interface, in snake_case."""

    def __init__(self, client, number, interface):
        self._client = client
        self._number = number
        self._interface = interface
        self._dead = False
        weakref.finalize(self, client._dropped.append, number)

    def __getattr__(self, name):
        method = None if name.startswith("_") else self._client._methods(self._interface).get(name)
        if method is None:
            raise AttributeError(f"{self._interface} has no method {name}")
        if method.unsupported:
            raise NotImplementedError(f"{self._interface}.{name} uses {method.unsupported}")

        def call(*args, **kwargs):
            client = self._client
            arguments = method.encode_arguments(client._types, args, kwargs, client)
            results = self._request("call", method=method.name, arguments=arguments)
            return method.decode_results(client._types, results, client)

        call.__name__ = name
        return call

    def __dir__(self):
        return [*super().__dir__(), *self._client._methods(self._interface)]

    def __eq__(self, other):
        if not isinstance(other, RemoteObject):
            return NotImplemented
        if self._client is not other._client:
            return False
        return self._number == other._number or self._request("same", other=other._number)

    __hash__ = None

    def __repr__(self):
        return f"<{self._interface}>"

    def ping(self):
        self._request("ping")

    def interface_chain(self):
        return self._request("chain")

    def interface_descriptor(self):
        return self._request("descriptor")

    def debug(self, *options):
        """Returns the text that the object's debug() writes."""
        return self._request("debug", options=list(options)).decode("utf-8", "replace")

    def cast(self, interface):
        """Returns the object with the methods of another of its interfaces, or None."""
        found = self._request("cast", interface=interface)
        return None if found is None else self._client.decode_object(found)

    def link_to_death(self, function):
        """Calls function(service) once after the service's process has died, on another thread."""
        link = DeathLink(self, function)
        # Python chooses the number, because the notice may come before the reply.
        self._client._links[link._number] = link
        try:
            if not self._request("link", link=link._number):
                raise HidlError(f"{self._interface} cannot be linked to death")
        except BaseException:
            self._client._links.pop(link._number, None)
            raise
        return link

    def _request(self, operation, **members):
        try:
            return self._client._request({"do": operation, "object": self._number, **members})
        except DeadObject:
            self._dead = True
            raise


class DeathLink:
    """A link to the death of a service."""

    def __init__(self, service, function):
        self._service = service
        self._function = function
        self._number = next(service._client._numbers)

    def unlink(self):
        """Returns whether the link existed and the service had not died."""
        client = self._service._client
        if client._links.pop(self._number, None) is None:
            return False
        return client._request({"do": "unlink", "link": self._number})

    def _died(self):
        self._service._dead = True
        self._function(self._service)


class Client:
    """A client process of a TV."""

    def __init__(self, tv, program=None):
        self.timeout = 30
        self.callback_errors = []
        self.tv = tv
        program = program or programs.program("hidl_client")
        self._types = programs.types_of(program)
        self._numbers = itertools.count(1)
        self._dropped = collections.deque()
        self._local = threading.local()
        self._lock = threading.Lock()
        self._services = {}
        self._links = {}
        self._callbacks = {}        # the Python objects by number
        self._callback_numbers = {}  # the numbers by object and interface
        self._control, other = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        self.log = tv.new_client_log()
        with other:
            # In a session of its own, so that Ctrl-C interrupts only Python.
            self._process = start(program, [str(other.fileno())], self.log, pass_fds=[other.fileno()],
                                  env=tv.environment(), start_new_session=True)
        guard("process", self._process.pid)
        threading.Thread(target=self._accept, daemon=True).start()
        tv.clients.append(self)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def __getattr__(self, name):
        if name not in _SERVICES:
            raise AttributeError(name)
        generation, service = self._services.get(name, (None, None))
        if service is None or service._dead or generation != self.tv.generation:
            # The generation is read before the look-up, so that a later start is noticed.
            generation = self.tv.generation
            service = self.get(self._types.newest(_SERVICES[name]))
            self._services[name] = (generation, service)
        return service

    def get(self, interface, instance="default", wait=0):
        """Looks a service up, for `wait` seconds at most. Raises ServiceNotFound."""
        if interface not in self._types.interfaces:
            raise ValueError(f"unknown interface {interface}")
        deadline = time.monotonic() + wait
        while True:
            found = self._request({"do": "find", "interface": interface, "instance": instance})
            if found is not None:
                return self.decode_object(found)
            if time.monotonic() >= deadline:
                raise ServiceNotFound(f"{interface}/{instance} is not registered")
            time.sleep(0.005)

    def register(self, interface, implementation, instance="default"):
        """Registers a Python object as a service."""
        if interface not in self._types.interfaces:
            raise ValueError(f"unknown interface {interface}")
        try:
            self._request({"do": "register", "interface": interface, "instance": instance,
                           "implementation": self.encode_object(interface, implementation, "implementation")})
        except TransactionError as error:
            error.args = (f"{interface}/{instance} cannot be registered: {error.status}",)
            raise

    @property
    def pid(self):
        return self._process.pid

    def pause(self):
        self._check_runs()
        pause(self._process)

    def resume(self):
        self._signal(signal.SIGCONT)

    def kill(self):
        self._signal(signal.SIGKILL)
        self._process.wait()

    def close(self):
        """Ends the process in an orderly way."""
        if self._process.poll() is not None:
            self._control.close()
            return
        self._process.send_signal(signal.SIGCONT)  # it may have ended meanwhile
        try:
            self._control.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        if wait_for_end(self._process, 10) is None:
            self._process.kill()
            self._process.wait()
        self._control.close()

    def _check_runs(self):
        if self._process.poll() is not None:
            raise ClientEnded(f"client {self.pid} has ended")

    def _signal(self, number):
        self._check_runs()
        self._process.send_signal(number)

    def _methods(self, interface):
        return self._types.interfaces.get(interface, {})

    # The form of objects in messages.

    def encode_object(self, interface, value, path):
        if isinstance(value, RemoteObject):
            if value._client is not self:
                raise ValueError(f"{path}: the object belongs to another client")
            return {"object": value._number}
        _check_callback(self._methods(interface), value, path)
        # Each access to a method of an object makes a new, equal Python object.
        key = (value if isinstance(value, types.MethodType) else id(value), interface)
        with self._lock:
            if key not in self._callback_numbers:
                number = next(self._numbers)
                self._callback_numbers[key] = number
                self._callbacks[number] = (interface, value)
            return {"callback": self._callback_numbers[key], "interface": interface}

    def decode_object(self, value):
        if "callback" in value:
            return self._callbacks[value["callback"]][1]
        return RemoteObject(self, value["object"], value["interface"])

    # Requests and callbacks.

    def _request(self, message):
        channel = self._channel()
        dropped = self._take_dropped()
        if dropped:
            message["drop"] = dropped
        try:
            reply = self._exchange(channel, message, time.monotonic() + self.timeout)
        except TimeoutError:
            self._forget_channel(channel)
            what = message.get("method") or message["do"]
            raise CallTimeout(f"{what} did not return in {self.timeout} s") from None
        except ChannelClosed:
            self._forget_channel(channel)
            if wait_for_end(self._process, 1) is None:
                raise HidlError("the call was abandoned, because a call from inside timed out") from None
            raise self._ended() from None
        except BaseException:  # such as KeyboardInterrupt: the reply may still come
            self._forget_channel(channel)
            raise
        return _value_of(reply)

    def _take_dropped(self):
        """Returns the numbers of the objects that Python no longer uses. Any thread, also several at once."""
        dropped = []
        while True:
            try:
                dropped.append(self._dropped.popleft())
            except IndexError:
                return dropped

    def _exchange(self, channel, message, deadline):
        """Sends a request and serves callbacks until its reply."""
        channel.send(message)
        while True:
            received = channel.receive(max(deadline - time.monotonic(), 0.001))
            if "callback" not in received and "died" not in received:
                return received
            channel.send({"answer": self._serve(received)})

    def _ended(self):
        return ClientEnded(f"client {self.pid} has ended; its log is {self.log}")

    def _channel(self):
        channel = getattr(self._local, "channel", None)
        if channel is None:
            here, there = socket.socketpair()
            with there:
                try:
                    socket.send_fds(self._control, [b"c"], [there.fileno()])
                except OSError:
                    here.close()
                    raise self._ended() from None
            channel = self._local.channel = Channel(here)
        return channel

    def _forget_channel(self, channel):
        channel.close()
        if self._local.channel is channel:
            self._local.channel = None

    def _accept(self):
        """Serves each thread of the runtime's pool, which opens a channel, on a thread of its own."""
        while True:
            try:
                _, descriptors, _, _ = socket.recv_fds(self._control, 1, 1)
            except OSError:
                return
            if not descriptors:
                return
            channel = Channel(socket.socket(fileno=descriptors[0]))
            threading.Thread(target=self._serve_pool_thread, args=(channel,), daemon=True).start()

    def _serve_pool_thread(self, channel):
        self._local.channel = channel
        try:
            while self._local.channel is channel:
                message = channel.receive()
                channel.send({"answer": self._serve(message)})
        except ChannelClosed:
            channel.close()

    def _serve(self, message):
        """Runs a callback or death notice. Returns the answer."""
        try:
            if "died" in message:
                link = self._links.pop(message["died"], None)
                if link is not None:
                    link._died()
                return {}
            interface, target = self._callbacks[message["callback"]]
            methods = self._methods(interface)
            method = next(found for found in methods.values() if found.name == message["method"])
            arguments = method.decode_arguments(self._types, message["arguments"], self)
            function = _function_of(methods, target, method.python_name)
            if function is None:
                raise AttributeError(f"{type(target).__name__} does not implement {method.python_name}()")
            result = function(*arguments)
            return method.encode_results(self._types, result, self)
        except BaseException as error:  # even SystemExit and pytest's failures, which would end only this thread
            if isinstance(error, KeyboardInterrupt) and threading.current_thread() is threading.main_thread():
                raise
            self.callback_errors.append(error)
            return {}


def _function_of(methods, target, name):
    """Returns the implementation of a method, or None."""
    if isinstance(target, dict):
        return target.get(name)
    function = getattr(target, name, None)
    return target if function is None and len(methods) == 1 and callable(target) else function


def _check_callback(methods, value, path):
    """An implementation may leave methods out: a call of them is an error of the callback."""
    unknown = [name for name in value if name not in methods] if isinstance(value, dict) else []
    if unknown:
        raise TypeError(f"{path}: the interface has no method {unknown[0]!r}")
    if not any(callable(_function_of(methods, value, name)) for name in methods):
        raise TypeError(f"{path}: {type(value).__name__} has none of the methods {', '.join(methods)}")


def _value_of(reply):
    if "error" not in reply:
        return reply.get("value")
    text = reply["text"]
    if reply["error"] == "invalid":
        raise HidlError(text)
    found = re.search(r"'(?:Status\((-?\d+)\): )?([A-Z_]+)", text)
    status = found.group(2) if found else "DEAD_OBJECT" if reply["error"] == "dead" else text
    code = int(found.group(1)) if found and found.group(1) else None
    raise (DeadObject if reply["error"] == "dead" else TransactionError)(text, status, code)
