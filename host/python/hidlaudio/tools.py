# SPDX-License-Identifier: Apache-2.0
"""Helpers for tests: recorded events and calls on other threads."""
import collections
import concurrent.futures
import threading


class Events:
    """A callable that records its calls and returns `answer`, or the result of calling it."""

    def __init__(self, answer=None):
        self._answer = answer
        self._new = collections.deque()
        self._changed = threading.Condition()
        self.all = []

    def __call__(self, *arguments):
        event = arguments[0] if len(arguments) == 1 else arguments
        with self._changed:
            self.all.append(event)
            self._new.append(event)
            self._changed.notify_all()
        return self._answer(*arguments) if callable(self._answer) else self._answer

    def wait(self, timeout=10):
        """Returns the next event. Raises TimeoutError."""
        with self._changed:
            if not self._changed.wait_for(lambda: self._new, timeout):
                raise TimeoutError(f"no event in {timeout} s; there were {len(self.all)}")
            return self._new.popleft()

    def wait_count(self, n, timeout=10):
        """Waits until there were n events in total. Returns all."""
        with self._changed:
            if not self._changed.wait_for(lambda: len(self.all) >= n, timeout):
                raise TimeoutError(f"{len(self.all)} of {n} events in {timeout} s: {self.all}")
            return list(self.all)


def background(function, *args, **kwargs):
    """Calls the function on another thread. Returns a Future of its result."""
    future = concurrent.futures.Future()

    def run():
        try:
            future.set_result(function(*args, **kwargs))
        except BaseException as error:
            future.set_exception(error)

    threading.Thread(target=run, daemon=True).start()
    return future
