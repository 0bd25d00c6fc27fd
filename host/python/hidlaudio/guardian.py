# SPDX-License-Identifier: Apache-2.0
"""A process that ends the TVs and clients of a Python process if that is killed.

Run as a program, its argument is the process. It reads lines from its input: "tv FOLDER\\tTV_PROGRAM" adds a
TV, "gone FOLDER" removes it, "process PID" adds a client or a program of a TV. "end" ends the TVs and processes.
"""
import atexit
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
        if _guardian is None:
            # -I: the modules of this folder must not hide those of the standard library.
            process = subprocess.Popen([sys.executable, "-I", "-S", __file__, str(os.getpid())],
                                       stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
                                       stderr=subprocess.DEVNULL, bufsize=0, start_new_session=True)
            _guardian = process
            atexit.register(_dismiss, os.getpid(), process)
        try:
            _guardian.stdin.write(f"{kind} {text}\n".encode("utf-8", "surrogateescape"))
        except (OSError, ValueError):
            pass  # it was killed, or dismissed at the end of the program


def _after_fork():
    """Another thread of the parent may have held the lock. The guardian stays that of the parent."""
    global _lock, _guardian
    _lock = threading.Lock()
    if _guardian is not None:
        _guardian.stdin.close()
        _guardian.returncode = 0  # otherwise Python warns that it still runs
    _guardian = None


os.register_at_fork(after_in_child=_after_fork)


def _dismiss(owner, process):
    """Waits for the end of the guardian at the normal end of its process."""
    if owner != os.getpid():
        return  # a forked process, whose parent still needs it
    try:
        process.stdin.write(b"end\n")  # a process that a C library has forked may keep the pipe open
        process.stdin.close()
    except OSError:
        pass  # it was killed
    process.wait()


def _main(owner):
    tvs, processes = {}, []
    watched = [0]
    try:
        watched.append(os.pidfd_open(owner))
    except ProcessLookupError:
        pass  # it was killed already
    pending = b""
    while True:
        ready, _, _ = select.select(watched, [], [])
        data = os.read(0, 65536) if 0 in ready else b""
        *lines, pending = (pending + data).split(b"\n")
        for line in lines:
            _note(line, tvs, processes)
        if not data or b"end" in lines:
            break
    for process in processes:
        _kill(process)
    for folder, program in tvs.items():
        try:
            subprocess.run([program, "--tv", folder + b"/tv", "shutdown"], check=False)
        except OSError:
            pass  # the program is missing, for example while it is built
        shutil.rmtree(folder, ignore_errors=True)


def _note(line, tvs, processes):
    kind, _, text = line.partition(b" ")
    if kind == b"tv":
        folder, _, program = text.partition(b"\t")
        tvs[folder] = program
    elif kind == b"gone":
        tvs.pop(text, None)
    elif kind == b"process":
        _forget_ended(processes)
        try:
            processes.append(os.pidfd_open(int(text)))
        except OSError:
            pass  # it has ended


def _forget_ended(processes):
    ended, _, _ = select.select(processes, [], [], 0)
    for process in ended:
        processes.remove(process)
        os.close(process)


def _kill(process):
    try:
        signal.pidfd_send_signal(process, signal.SIGKILL)
    except OSError:
        pass  # it has ended


if __name__ == "__main__":
    _main(int(sys.argv[1]))
