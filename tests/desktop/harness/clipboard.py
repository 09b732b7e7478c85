"""Owners of the clipboard, and what stands on it, format by format."""

import base64
import pathlib
import subprocess

from harness.processes import Failure

PEER = pathlib.Path(__file__).resolve().parent.parent / "programs/clipboard_peer.py"
# Answers of the owner about itself, not content.
NOT_CONTENT = {"TIMESTAMP", "TARGETS", "MULTIPLE", "SAVE_TARGETS", "DELETE"}


class Owner:
    """A program that holds the clipboard: a picture, as GTK offers it, or formats with their bytes."""

    def __init__(self, desktop, content=None, picture=None):
        arguments = [picture] if picture else []
        pipes = {"stdin": subprocess.PIPE, "stdout": subprocess.PIPE}
        self.process = desktop.run("clipboard-owner", "/usr/bin/python3", PEER, *arguments, **pipes)
        if picture:
            self.process.answer()
        else:
            formats = {name: ["", 8, base64.b64encode(data).decode()] for name, data in content.items()}
            self.process.ask("own", formats)

    def die(self):
        self.process.kill()


def formats(desktop):
    done = _read(desktop, "TARGETS")
    return set(done.decode().split()) - NOT_CONTENT if done is not None else set()


def everything(desktop):
    return {format: _read(desktop, format) for format in formats(desktop)}


def text(desktop):
    found = _read(desktop, "UTF8_STRING")
    return found.decode(errors="replace") if found is not None else None


def _read(desktop, format):
    command = ["xclip", "-o", "-selection", "clipboard", "-t", format]
    try:
        done = subprocess.run(command, env=desktop.env, capture_output=True, timeout=10)
    except subprocess.TimeoutExpired:
        raise Failure(f"reading {format} from the clipboard hung") from None
    return done.stdout if done.returncode == 0 else None
