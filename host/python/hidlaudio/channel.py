# SPDX-License-Identifier: Apache-2.0
"""Messages between a Python thread and a thread of the program hidl_client."""
import json
import struct
import time
import weakref

_HEAD = struct.Struct("=II")


class ChannelClosed(Exception):
    """The other end is closed."""


class Channel:
    """One end of a stream socket. A message is a dict that may contain bytes; see native/channel.h."""

    def __init__(self, connection):
        self._socket = connection
        # A thread that ends leaves its channel behind. This reference keeps the socket from being collected first.
        self._finalizer = weakref.finalize(self, connection.close)

    def close(self):
        self._finalizer()

    def send(self, message):
        attachment = bytearray()
        text = json.dumps(_detach(message, attachment)).encode()
        try:
            self._socket.settimeout(None)
            self._socket.sendall(_HEAD.pack(len(text), len(attachment)) + text + attachment)
        except OSError as error:
            raise ChannelClosed from error

    def receive(self, timeout=None):
        """Waits for a message. Raises TimeoutError, after which the channel cannot be used any more."""
        deadline = None if timeout is None else time.monotonic() + timeout
        text_size, size = _HEAD.unpack(self._read(_HEAD.size, deadline))
        text = self._read(text_size, deadline)
        return _attach(json.loads(text), self._read(size, deadline))

    def _read(self, size, deadline):
        data = bytearray(size)
        view = memoryview(data)
        while view:
            self._socket.settimeout(None if deadline is None else max(deadline - time.monotonic(), 0.001))
            try:
                count = self._socket.recv_into(view)
            except TimeoutError:
                raise
            except OSError as error:
                raise ChannelClosed from error
            if count == 0:
                raise ChannelClosed
            view = view[count:]
        return bytes(data)


def _detach(value, attachment):
    """Returns the message with places instead of its bytes, which are appended to `attachment`."""
    if isinstance(value, bytes):
        attachment += value
        return {"$bytes": [len(attachment) - len(value), len(value)]}
    if isinstance(value, dict):
        return {key: _detach(member, attachment) for key, member in value.items()}
    if isinstance(value, list):
        return [_detach(member, attachment) for member in value]
    return value


def _attach(value, attachment):
    if isinstance(value, dict):
        if "$bytes" in value:
            offset, size = value["$bytes"]
            return attachment[offset:offset + size]
        return {key: _attach(member, attachment) for key, member in value.items()}
    if isinstance(value, list):
        return [_attach(member, attachment) for member in value]
    return value
