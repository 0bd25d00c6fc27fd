# SPDX-License-Identifier: Apache-2.0
"""Runs examples/cpp on a virtual TV, through restarts of the daemon, and checks the quotations of its code.

Argument: the folder of the programs.
"""
import re
import subprocess
import sys
import threading
import time
import unittest
from pathlib import Path
from queue import Empty, Queue

TREE = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(TREE / "host" / "python"))
from hidlaudio import Tv, programs  # noqa: E402

LIMIT = 60  # seconds


class App:
    """The running example. A context manager."""

    def __init__(self, tv):
        self._process = subprocess.Popen([programs.program("audio_app")], stdin=subprocess.PIPE,
                                         stdout=subprocess.PIPE, text=True, env=tv.environment())
        self._lines = Queue()
        threading.Thread(target=self._read, daemon=True).start()

    def __enter__(self):
        return self

    def __exit__(self, error, *_):
        if error:
            self._process.kill()  # it may wait for the service, which does not return
        self._process.stdin.close()
        self.status = self._process.wait(LIMIT)
        self._process.stdout.close()

    def _read(self):
        for line in self._process.stdout:
            self._lines.put(line.rstrip("\n"))

    def enter(self, command):
        self._process.stdin.write(command + "\n")
        self._process.stdin.flush()

    def expect(self, *lines):
        """Waits for each of these lines. Other lines before them are returned."""
        skipped = []
        for line in lines:
            while (read := self._lines.get(timeout=LIMIT)) != line:
                skipped.append(read)
        return skipped

    def enter_until(self, line, command):
        """Repeats the command until the line is printed."""
        deadline = time.monotonic() + LIMIT
        read = None
        while read != line and time.monotonic() < deadline:
            self.enter(command)
            try:
                read = self._lines.get(timeout=0.2)
            except Empty:
                pass
        assert read == line, f"{line!r} was not printed"


class ExampleTest(unittest.TestCase):
    def test_app_lives_through_restarts_of_the_daemon(self):
        with Tv(clock=5) as tv, App(tv) as app, App(tv) as other:
            parameters = tv.path / "parameters"
            parameters.write_bytes(bytes(range(256)) * 4096)
            app.expect("connected")
            app.enter("set ARC_DD_PLUS")
            app.expect("changed ARC_DD_PLUS")
            app.enter("set NO_SUCH_NAME")
            app.expect("set failed: -1")

            app.enter(f"upload {parameters}")
            self.assertEqual(["25 %", "50 %", "75 %", "100 %"], app.expect("uploaded"))
            self.assertEqual(parameters.read_bytes(), tv.bectrl.hrtf.received)

            tv.kill("hidlaudio")
            app.expect("the service has died")
            tv.start("hidlaudio")
            app.expect("connected")
            other.expect("connected", "the service has died", "connected")
            other.enter("set ARC_DD_ATMOS")
            app.expect("changed ARC_DD_ATMOS")

            tv.bectrl.hang = True
            app.enter(f"upload {parameters}")
            app.expect("100 %")
            app.enter_until("cancelled", "cancel")

            app.enter(f"upload {parameters}")
            app.expect("100 %")
            tv.kill("hidlaudio")
            app.expect("the service has died", "upload lost")
            tv.bectrl.hang = False
            tv.start("hidlaudio")
            app.expect("connected")
            app.enter(f"upload {parameters}")
            app.expect("uploaded")
            self.assertEqual([], tv.problems())
        self.assertEqual(0, app.status)

    def test_tv_without_the_services(self):
        with Tv(services=[], boot=False) as tv, App(tv) as app:
            app.expect("this TV has no such services")
        self.assertEqual(1, app.status)

    def test_page_quotes_the_code(self):
        code = "\n".join(file.read_text(encoding="utf-8") for file in (TREE / "examples" / "cpp").glob("*.*"))
        page = (TREE / "docs" / "client.md").read_text(encoding="utf-8")
        quotations = re.findall(r"^```cpp\n(.*?)^```$", page, re.MULTILINE | re.DOTALL)
        self.assertTrue(quotations)
        for quotation in quotations:
            for part in quotation.split("…\n"):
                self.assertIn(part, code)


if __name__ == "__main__":
    programs.choose(sys.argv.pop(1))
    unittest.main()
