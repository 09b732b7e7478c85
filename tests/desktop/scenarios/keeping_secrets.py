"""What is nobody's business: passwords, tokens, dictated words."""

import pathlib
import subprocess
import threading

from harness import clients
from harness.desktop import MARK
from harness.processes import marked_processes
from harness.runner import scenario
from harness.world import TRANSCRIBE, files_below

PASSWORD = "canary-password-4711 Xy"
SENTENCE = "The canary sentence sings at midnight."


class Watch:
    """Looks again and again at the arguments, the environment and the scratch files of a desktop's programs."""

    def __init__(self, desktop):
        self.desktop = desktop
        self.seen = set()
        self.done = threading.Event()
        self.thread = threading.Thread(target=self._look, daemon=True)
        self.thread.start()

    def _look(self):
        mark = f"{MARK}={self.desktop.id}"
        while not self.done.wait(0.02):
            for pid in marked_processes(mark):
                for name in ("cmdline", "environ"):
                    try:
                        self.seen.add((f"{name} of {pid}", pathlib.Path(f"/proc/{pid}/{name}").read_bytes()))
                    except OSError:
                        continue

    def end(self):
        self.done.set()
        self.thread.join()
        return self.seen


def secrets_of(world):
    """The canaries, and the tokens as pell really used them."""
    bearers = {headers["authorization"].split()[-1] for _, _, headers in world.proxy.requests if "authorization" in headers}
    lookup = ["secret-tool", "lookup", "service", "com.pell.dictation", "account", "refresh-token"]
    refresh = subprocess.run(lookup, env=world.desktop.env, capture_output=True).stdout.decode().strip()
    world.check(bearers, "no access token was used")
    world.check(refresh, "the keyring holds no refresh token")
    return {"the password": PASSWORD, "the sentence": SENTENCE, "the refresh token": refresh} | {
        f"access token {number}": token for number, token in enumerate(bearers)
    }


def journal(world):
    done = subprocess.run(["journalctl", "--since", "-10min", "-o", "cat"], capture_output=True)
    return done.stdout if done.returncode == 0 else b""


@scenario(limit=90)
def canaries(world):
    """One whole life: registered, dictated, failed, signed out and in again. The secrets are nowhere but in their places."""
    watch = Watch(world.desktop)
    world.setup(transcript=SENTENCE, password=PASSWORD)
    world.dictate()
    world.editor.wait_text(SENTENCE)
    world.proxy.misbehave(TRANSCRIBE, half=True)
    world.dictate()
    world.proxy.behave()
    world.pell.must("sign-out")
    world.pell.must("sign-in", clients.EMAIL, stdin=PASSWORD + "\n")
    world.dictate()
    secrets = secrets_of(world)
    begun = world.pell.command("sign-in", clients.EMAIL, stdin="canary-wrong-password\n")
    world.expect(begun.code, 1, "the exit code for a wrong password")
    secrets["the wrong password"] = "canary-wrong-password"
    world.pell.stop()
    seen = watch.end() | {("the journal", journal(world))}
    # Their places: the history, the keyring, the script of the recogniser.
    allowed = ("pell.db", "keyrings", "/server/transcript")
    for file in {*files_below(world.folder, *pathlib.Path("/tmp").glob("pell*"))}:
        if any(part in str(file) for part in allowed):
            continue
        try:
            seen.add((str(file), file.read_bytes()))
        except OSError:
            continue
    # The search would find them: the sentence stands in the history, and stands there to be read.
    kept = b"".join(file.read_bytes() for file in world.pell.data.glob("pell.db*"))
    world.check(SENTENCE.encode() in kept, "the history does not hold the sentence as it was looked for")
    for where, data in seen:
        for what, secret in secrets.items():
            world.check(secret.encode() not in data, f"{what} stands in {where}")


@scenario()
def private_files(world):
    """Nobody else on the machine can read the history, the preferences, the audio or the server's accounts."""
    world.setup(transcript="Private.")
    world.dictate()
    world.begin()
    found = list(files_below(world.pell.data, world.pell.config, world.server.folder / "data"))
    scratch = world.pell.scratch_files()
    world.check(scratch, "no scratch file during a recording")
    # defaults.json was written by the scenario, not by pell.
    for file in [*found, *scratch]:
        if file.name != "defaults.json":
            world.expect(file.stat().st_mode & 0o077, 0, f"others' rights on {file.name}")
    for folder in (world.pell.data, world.server.folder / "data"):
        world.expect(folder.stat().st_mode & 0o077, 0, f"others' rights on {folder}")
    world.steer("cancel")
