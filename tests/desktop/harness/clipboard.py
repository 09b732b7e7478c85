"""Owners of the clipboard, and what stands on it, format by format."""

import pathlib
import subprocess

from harness.processes import Failure, poll

OWNER = pathlib.Path(__file__).resolve().parent.parent / "programs/clipboard_owner.py"
# Answers of the owner about itself, not content.
NOT_CONTENT = {"TIMESTAMP", "TARGETS", "MULTIPLE", "SAVE_TARGETS", "DELETE"}


class Owner:
    """A program that holds the clipboard: "image", FILE, or any number of "FORMAT=FILE" (sent by INCR when large)."""

    def __init__(self, desktop, *what):
        self.process = desktop.run("clipboard-owner", "/usr/bin/python3", OWNER, *what)
        poll(lambda: f"a clipboard owner: {self.process.log.read_text()}", lambda: self._ready(desktop), 10)

    def _ready(self, desktop):
        if not self.process.running():
            raise Failure(f"the clipboard owner ended: {self.process.log.read_text()}")
        return "ready" in self.process.log.read_text() and desktop.atom_owner("CLIPBOARD")

    def die(self):
        self.process.popen.kill()
        self.process.popen.wait()


def formats(desktop):
    done = _read(desktop, "TARGETS")
    return set(done.decode().split()) - NOT_CONTENT if done is not None else set()


def content(desktop, format):
    """The bytes in one format, or nothing."""
    return _read(desktop, format)


def everything(desktop):
    return {format: content(desktop, format) for format in formats(desktop)}


def text(desktop):
    found = content(desktop, "UTF8_STRING")
    return found.decode(errors="replace") if found is not None else None


def _read(desktop, format):
    command = ["xclip", "-o", "-selection", "clipboard", "-t", format]
    try:
        done = subprocess.run(command, env=desktop.env, capture_output=True, timeout=10)
    except subprocess.TimeoutExpired:
        raise Failure(f"reading {format} from the clipboard hung") from None
    return done.stdout if done.returncode == 0 else None
