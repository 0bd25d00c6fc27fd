# SPDX-License-Identifier: Apache-2.0
"""Child processes: waiting for their ends and stops."""
import os
import select
import signal
import subprocess


def pause(process):
    """Stops a child process and waits until all its threads are stopped, or it ends."""
    process.send_signal(signal.SIGSTOP)
    os.waitid(os.P_PID, process.pid, os.WSTOPPED | os.WEXITED | os.WNOWAIT)


def wait_for_end(process, timeout):
    """Returns the exit status, or None after `timeout` seconds. Does not poll, unlike Popen.wait()."""
    if process.poll() is None:
        try:
            descriptor = os.pidfd_open(process.pid)
        except ProcessLookupError:
            return process.wait()
        try:
            ended, _, _ = select.select([descriptor], [], [], timeout)
        finally:
            os.close(descriptor)
        if ended:
            return process.wait()  # unlike poll(), which returns None while another thread is in wait()
    return process.poll()


def end(process):
    """Ends a process with SIGTERM, or with SIGKILL if it has not ended after one second."""
    process.terminate()
    process.send_signal(signal.SIGCONT)
    if wait_for_end(process, 1) is None:
        process.kill()
        process.wait()


def start(program, arguments, log, **options):
    """Starts a process without input whose output is appended to a file."""
    with open(log, "ab") as output:
        return subprocess.Popen([program, *arguments], stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                                **options)
