"""Starting programs, waiting for what they do, and leaving none behind."""

import json
import os
import pathlib
import signal
import subprocess
import time


class Failure(Exception):
    """What was expected did not happen; the text says what was seen instead."""


class Skip(Exception):
    """This machine cannot run the scenario; the text says what is missing."""


def poll(what, test, timeout=10.0, interval=0.02):
    """Calls `test` until it gives something true, and gives that. `what` may be a callable, for late detail."""
    deadline = time.monotonic() + timeout
    while True:
        found = test()
        if found:
            return found
        if time.monotonic() > deadline:
            raise Failure(f"not within {timeout:g} s: {what() if callable(what) else what}")
        time.sleep(interval)


class Process:
    """One program, its output in a file of its own. Stops by TERM, and by KILL when that is not enough."""

    def __init__(self, name, command, log, **options):
        self.name = name
        self.log = pathlib.Path(log)
        with self.log.open("ab") as output:
            options = {"stdin": subprocess.DEVNULL, "stdout": output} | options
            self.popen = subprocess.Popen([str(part) for part in command], stderr=output, **options)
        self.pid = self.popen.pid

    def ask(self, *command):
        """Steers one of programs/*.py, and gives its answer."""
        self.popen.stdin.write(json.dumps(command).encode() + b"\n")
        self.popen.stdin.flush()
        return self.answer()

    def answer(self):
        line = self.popen.stdout.readline()
        if not line:
            raise Failure(f"{self.name} ended: {self.log.read_text()}")
        return json.loads(line)

    def running(self):
        return self.popen.poll() is None

    def signal(self, number):
        if self.running():
            self.popen.send_signal(number)

    def wait(self, timeout=10.0):
        try:
            return self.popen.wait(timeout)
        except subprocess.TimeoutExpired:
            raise Failure(f"{self.name} was still running after {timeout:g} s") from None

    def stop(self):
        return ended(self.popen)

    def kill(self):
        self.popen.kill()
        self.popen.wait()


def ended(popen, grace=3.0):
    """Ends a program by TERM, and by KILL when that is not enough; its exit code."""
    if popen.poll() is None:
        popen.terminate()
    try:
        popen.wait(grace)
    except subprocess.TimeoutExpired:
        popen.kill()
        popen.wait()
    return popen.returncode


def marked_processes(mark):
    """The pids, other than our own, whose environment carries `mark` ("NAME=value")."""
    needle = mark.encode() + b"\0"
    for entry in os.listdir("/proc"):
        if not entry.isdigit() or int(entry) == os.getpid():
            continue
        try:
            if needle in pathlib.Path("/proc", entry, "environ").read_bytes() + b"\0":
                yield int(entry)
        except OSError:
            continue


def end_marked(mark):
    """Ends what a desktop's services have started on demand and left behind."""
    for number in (signal.SIGTERM, signal.SIGKILL):
        deadline = time.monotonic() + 1.0
        pids = list(marked_processes(mark))
        for pid in pids:
            try:
                os.kill(pid, number)
            except ProcessLookupError:
                pass
        while pids and time.monotonic() < deadline:
            time.sleep(0.02)
            pids = [pid for pid in pids if os.path.exists(f"/proc/{pid}") and not is_zombie(pid)]
        if not pids:
            return


def is_zombie(pid):
    try:
        return pathlib.Path("/proc", str(pid), "stat").read_text().rpartition(")")[2].split()[0] == "Z"
    except OSError:
        return True
