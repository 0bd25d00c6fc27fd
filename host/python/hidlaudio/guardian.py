# SPDX-License-Identifier: Apache-2.0
"""A process that ends the TVs and clients of a Python process if that is killed.

Run as a program, its argument is the process. It reads lines from its input: "tv FOLDER\\tTV_PROGRAM" adds a
TV, "gone FOLDER" removes it, "client PID" adds a client.
"""
import os
import select
import shutil
import signal
import subprocess
import sys
import threading

_lock = threading.Lock()
_guardian = None


def guard(kind, text):
    """Notifies the guardian of this process, which is started at the first call."""
    global _guardian
    with _lock:
        if _guardian is None or _guardian[0] != os.getpid():
            process = subprocess.Popen([sys.executable, "-S", "-E", __file__, str(os.getpid())],
                                       stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
                                       stderr=subprocess.DEVNULL, start_new_session=True)
            _guardian = (os.getpid(), process)
        try:
            _guardian[1].stdin.write(f"{kind} {text}\n".encode("utf-8", "surrogateescape"))
            _guardian[1].stdin.flush()
        except OSError:
            pass  # it was killed


def _main(owner):
    tvs, clients = {}, []
    owner = os.pidfd_open(owner)
    pending = b""
    while True:
        ready, _, _ = select.select([owner, 0], [], [])
        data = os.read(0, 65536) if 0 in ready else b""
        *lines, pending = (pending + data).split(b"\n")
        for line in lines:
            _note(line, tvs, clients)
        if not data:
            break
    for client in clients:
        _signal(client)
    for folder, program in tvs.items():
        subprocess.run([program, "--tv", folder + b"/tv", "shutdown"], check=False)
        shutil.rmtree(folder, ignore_errors=True)


def _note(line, tvs, clients):
    kind, _, text = line.partition(b" ")
    if kind == b"tv":
        folder, _, program = text.partition(b"\t")
        tvs[folder] = program
    elif kind == b"gone":
        tvs.pop(text, None)
    else:
        try:
            clients.append(os.pidfd_open(int(text)))
        except OSError:
            pass  # it has ended


def _signal(client):
    try:
        signal.pidfd_send_signal(client, signal.SIGKILL)
    except OSError:
        pass  # it has ended


if __name__ == "__main__":
    _main(int(sys.argv[1]))
