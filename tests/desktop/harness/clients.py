"""pell-server and pell, as processes of a private desktop."""

import contextlib
import dataclasses
import json
import os
import pathlib
import signal
import socket
import sqlite3
import subprocess
import time

from harness.processes import Failure, poll

ROOT = pathlib.Path(__file__).resolve().parents[3]
PROGRAMS = pathlib.Path(os.environ.get("PELL_PROGRAMS") or ROOT / "build/release/bin")
EMAIL, PASSWORD = "someone@example.org", "a long enough password 1"


@dataclasses.dataclass
class Outcome:
    code: int
    out: str
    err: str


def run_once(desktop, program, *arguments, stdin="", env=(), timeout=20, cwd=None):
    """Runs a program to its end; a program that does not end is a failure."""
    command = [str(PROGRAMS / program), *arguments]
    try:
        done = subprocess.run(
            command, input=stdin.encode(), env=desktop.env | dict(env), capture_output=True, timeout=timeout, cwd=cwd
        )
    except subprocess.TimeoutExpired:
        raise Failure(f"{program} {' '.join(arguments)} did not end within {timeout} s") from None
    return Outcome(done.returncode, done.stdout.decode(errors="replace"), done.stderr.decode(errors="replace"))


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Server:
    """A pell-server on a free port with data of its own. `transcript` scripts what it hears; None is real recognition."""

    def __init__(self, desktop, transcript=""):
        self.desktop = desktop
        self.folder = desktop.folder / "server"
        self.folder.mkdir(exist_ok=True)
        self.port = free_port()
        self.options = ["--listen", f"127.0.0.1:{self.port}", "--data", str(self.folder / "data")]
        if transcript is not None:
            command = f"wc -c >>'{self.folder}/heard' && exec cat '{self.folder}/transcript'"
            self.options += ["--transcribe-command", command]
            self.say(transcript)
        self.start()

    def start(self, env=None):
        self.process = self.desktop.run("pell-server", PROGRAMS / "pell-server", *self.options, env=env or {})
        poll(lambda: f"pell-server answering; its log: {self.process.log.read_text()}", self.answers)

    def stop(self):
        return self.process.stop()

    def answers(self):
        if not self.process.running():
            raise Failure(f"pell-server ended: {self.process.log.read_text()}")
        with socket.socket() as probe:
            return probe.connect_ex(("127.0.0.1", self.port)) == 0

    def say(self, text):
        """What the next recordings are heard as."""
        fresh = self.folder / "transcript.new"
        fresh.write_bytes(text.encode())
        fresh.rename(self.folder / "transcript")

    def heard(self):
        """How many bytes of sound each recording had, in order."""
        with contextlib.suppress(FileNotFoundError):
            return [int(line) for line in (self.folder / "heard").read_text().split()]
        return []



class Pell:
    """One pell in a desktop: its files, its log, its commands."""

    def __init__(self, desktop, address, defaults=None):
        self.desktop = desktop
        self.config = desktop.home / ".config/Pell"
        self.data = desktop.home / ".local/share/Pell"
        self.defaults_file = self.config / "defaults.json"
        self.database = self.data / "pell.db"
        self.config.mkdir(parents=True, exist_ok=True)
        self.defaults_file.write_text(json.dumps({"apiBaseURL": address, "playSounds": False} | (defaults or {})))
        self.process = None
        self.starts = 0

    def set_default(self, key, value):
        """Writes a preference while pell is not running."""
        values = json.loads(self.defaults_file.read_text())
        self.defaults_file.write_text(json.dumps(values | {key: value}))

    def command(self, *arguments, **options):
        return run_once(self.desktop, "pell", *arguments, **options)

    def must(self, *arguments, **options):
        outcome = self.command(*arguments, **options)
        if outcome.code:
            raise Failure(f"pell {' '.join(arguments)}: exit {outcome.code}: {outcome.err}{outcome.out}")
        return outcome.out

    def register(self, email=EMAIL, password=PASSWORD):
        self.must("register", email, stdin=password + "\n")

    def start(self, *arguments, env=None, wait=True):
        """Starts pell; with `wait`, returns when it has launched and, where it can, watches the keys."""
        self.starts += 1
        command = [PROGRAMS / "pell", *arguments]
        self.process = self.desktop.run(f"pell-{self.starts}", *command, env=env or {})
        if wait:
            self.wait_event("app_launched")
            granted = self.wait_event("accessibility_changed")["granted"]
            if granted:
                self.wait_event("hotkey_started")
        return self

    def stop(self, number=signal.SIGTERM):
        self.process.signal(number)
        return self.process.wait(10)

    def kill(self):
        self.process.kill()

    # The log -------------------------------------------------------------------------------------------------

    def output(self):
        return self.process.log.read_text(errors="replace")

    def events(self):
        found = []
        for line in self.output().splitlines():
            with contextlib.suppress(ValueError):
                entry = json.loads(line)
                if isinstance(entry, dict) and "event" in entry:
                    found.append(entry)
        return found

    def mark(self):
        """Where the log ends now, for `wait_event`."""
        return len(self.events())

    def wait_event(self, name, since=0, timeout=10.0, **fields):
        def find():
            for entry in self.events()[since:]:
                if entry["event"] == name and all(entry.get(key) == value for key, value in fields.items()):
                    return entry
            if not self.process.running():
                raise Failure(f"pell ended ({self.process.popen.returncode}) without {name}: {self.output()}")
            return None

        return poll(lambda: f"{name} {fields or ''} in the log; it says {self.events()[since:]}", find, timeout)

    def wait_delivered(self, since, timeout=20.0):
        """The end of a dictation that reached the server, whatever became of its text."""
        ends = ("delivered", "delivery_refused_secure_field", "dictation_failed")

        def find():
            return next((entry for entry in self.events()[since:] if entry["event"] in ends), None)

        return poll(lambda: f"the end of the dictation; the log says {self.events()[since:]}", find, timeout)

    # What it keeps -------------------------------------------------------------------------------------------

    def rows(self):
        """The history, oldest first, read beside the running program."""
        if not self.database.exists():
            return []
        with contextlib.closing(sqlite3.connect(f"file:{self.database}?mode=ro", uri=True, timeout=5)) as connection:
            connection.row_factory = sqlite3.Row
            try:
                return [dict(row) for row in connection.execute("SELECT * FROM dictations ORDER BY created_at, rowid")]
            except sqlite3.OperationalError as error:
                if "no such table" in str(error):
                    return []
                raise

    def wait_row(self, text, delivery, timeout=10.0):
        def find():
            return next((row for row in self.rows() if row["text"] == text and row["delivery"] == delivery), None)

        return poll(lambda: f"{text!r} as {delivery} in the history; it holds {self.summary()}", find, timeout)

    def summary(self):
        return [(row["text"], row["delivery"]) for row in self.rows()]

    def scratch_files(self):
        return sorted(self.desktop.runtime.glob("pell-*.m4a"))

    def records(self):
        """Whether this very process holds a recording stream."""
        text = self.desktop.output("pactl", "list", "source-outputs")
        return f'application.process.id = "{self.process.pid}"' in text

    def has_heard(self):
        """Whether the first sound of the running recording has reached its file."""
        with contextlib.suppress(FileNotFoundError):  # it is over
            return any(file.stat().st_size for file in self.scratch_files())
        return False

    def wait_silent(self):
        poll("the sound server listing no stream of pell", lambda: not self.records())
        if self.scratch_files():
            raise Failure(f"audio left behind: {self.scratch_files()}")


def wait_until(instant):
    """Sleeps up to a point of the monotonic clock; late by microseconds only."""
    while (left := instant - time.monotonic()) > 0:
        time.sleep(left if left > 0.002 else 0)
