"""What a scenario is given: a desktop and, on request, a server, a pell, editors and faults in it."""

import contextlib
import json
import pathlib
import time

from harness import clients, editors, keys, proxy, speech
from harness.processes import Failure, poll

TRANSCRIBE = "/api/v1/transcribe"


class World:
    def __init__(self, desktop, long):
        self.desktop = desktop
        self.long = long
        self.keys = keys.Keyboard(desktop.display)
        self.server = self.proxy = self.pell = self.editor = None

    def count(self, default, long):
        """How often, or for how long: the full figure with --long."""
        return long if self.long else default

    @property
    def folder(self):
        return self.desktop.folder

    # The players ---------------------------------------------------------------------------------------------

    def setup(self, editor="gtk", transcript="", defaults=None, start=True, password=clients.PASSWORD):
        """A signed-in pell in front of its server (through the proxy), and an editor with the focus.

        `transcript` is what every recording is heard as; None means real recognition.
        """
        self.server = clients.Server(self.desktop, transcript=transcript)
        self.proxy = proxy.FaultProxy(self.server.port)
        self.pell = clients.Pell(self.desktop, self.proxy.address, defaults)
        self.pell.register(password=password)
        if transcript is not None and self.desktop.parts.audio:
            self.hum()
        if start:
            self.pell.start("--hidden")
        if editor:
            self.editor = editors.make(self.desktop, self.keys, editor)
        return self

    def hum(self):
        """Something to record: where the recogniser is scripted, any sound does."""
        self.desktop.output("pactl", "load-module", "module-sine", "sink=speaker", "frequency=300")

    def answer(self, text):
        """The server's next answers give exactly this text, in every byte."""
        words = len(text.split())
        result = {
            "transcript": text,
            "paragraphs": [text],
            "rawTranscript": text,
            "durationSeconds": 1.0,
            "words": words,
            "characters": len(text),
            "language": "en",
            "quota": {"minutesPerMonth": 100, "usedSeconds": 1.0, "remainingSeconds": 5999.0, "allowanceSeconds": 6000.0},
        }
        self.proxy.misbehave(TRANSCRIBE, reply=proxy.answer("200 OK", json.dumps(result)))

    # One dictation -------------------------------------------------------------------------------------------

    def wait_recording(self, timeout=5.0):
        """Until pell hears: on a busy machine the first sound comes long after the stream is there."""
        poll("pell recording", lambda: self.pell.records() and self.pell.has_heard(), timeout, interval=0.01)

    @contextlib.contextmanager
    def holding(self, key=keys.ALT_LEFT):
        """The key is down and pell records; leaving releases the key."""
        with self.keys.held(key):
            self.wait_recording()
            yield

    def hold(self, seconds=0.15):
        """One dictation by the hold, of about that many seconds of sound; returns how it ended."""
        since = self.pell.mark()
        with self.holding():
            time.sleep(seconds)
        return self.pell.wait_delivered(since)

    def double_tap(self, between=0.12):
        self.keys.tap(keys.ALT_LEFT, seconds=0.04)
        time.sleep(between)
        self.keys.tap(keys.ALT_LEFT, seconds=0.04)

    def hands_free(self, seconds=0.15):
        """One dictation by double tap and tap."""
        since = self.pell.mark()
        self.double_tap()
        self.wait_recording()
        time.sleep(seconds)
        self.keys.tap(keys.ALT_LEFT, seconds=0.04)
        return self.pell.wait_delivered(since)

    def held_back(self):
        """One dictation by the hold, whose answer waits at the proxy until `let_go`; gives where the log stood."""
        self.proxy.hold_answers(TRANSCRIBE)
        since = self.pell.mark()
        with self.holding():
            time.sleep(0.1)
        self.proxy.wait_held()
        return since

    def refused(self, reason):
        """The key goes down where nothing may be dictated: Pell says so and records nothing."""
        since = self.pell.mark()
        with self.keys.held(keys.ALT_LEFT):
            self.pell.wait_event("dictation_refused_secure_field", since, reason=reason)
            self.check(not self.pell.records(), "a refused dictation records")
        self.pell.wait_silent()

    def restart(self, **options):
        self.pell.stop()
        if self.editor:
            self.editor.clear()
        self.pell.start("--hidden", **options)

    def steer(self, action):
        self.pell.must("dictate", action)

    def begin(self):
        self.steer("begin")
        self.wait_recording()

    def dictate(self, seconds=0.1):
        """One dictation by the command line, which needs no key."""
        since = self.pell.mark()
        self.begin()
        time.sleep(seconds)
        self.steer("finish")
        return self.pell.wait_delivered(since)

    def speak(self, text):
        """Says the text into a dictation by the hold; returns how it ended."""
        speech.spoken(text)
        since = self.pell.mark()
        with self.holding():
            time.sleep(0.2)
            speech.say(self.desktop, text)
            time.sleep(0.3)
        return self.pell.wait_delivered(since, timeout=20 + len(text.split()))

    # What must hold ------------------------------------------------------------------------------------------

    def check(self, condition, otherwise):
        if not condition:
            raise Failure(otherwise)

    def expect(self, seen, expected, what):
        if seen != expected:
            raise Failure(f"{what}: {seen!r}, not {expected!r}")

    def nothing_kept(self):
        self.expect(self.pell.summary(), [], "the history")


def files_below(*folders):
    for folder in map(pathlib.Path, folders):
        yield from (path for path in [folder, *sorted(folder.rglob("*"))] if path.is_file() and not path.is_symlink())
