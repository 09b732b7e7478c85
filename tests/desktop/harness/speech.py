"""A voice for the virtual microphone, and how far what was recognised is from what was said."""

import hashlib
import re
import subprocess
import wave

from harness.desktop import shared_cache
from harness.processes import Failure


def spoken(text, voice="rms"):
    """A WAV file of the text. Made once for each text."""
    name = hashlib.sha256(f"{voice}/{text}".encode()).hexdigest()[:24]
    file = shared_cache() / f"{name}.wav"
    if not file.exists():
        fresh = file.with_suffix(".part")
        subprocess.run(["flite", "-voice", voice, "-t", text, "-o", str(fresh)], check=True, timeout=120)
        fresh.rename(file)
    return file


def seconds(file):
    with wave.open(str(file)) as sound:
        return sound.getnframes() / sound.getframerate()


def say(desktop, text, voice="rms"):
    """Plays the text on the speaker that the microphone hears, and returns when it has been said."""
    file = spoken(text, voice)
    command = ["paplay", "--device=speaker", str(file)]
    done = subprocess.run(command, env=desktop.env, capture_output=True, timeout=seconds(file) + 20)
    if done.returncode:
        raise Failure(f"paplay: {done.stderr.decode(errors='replace')}")


def words(text):
    return re.findall(r"[a-z']+", text.lower())


def distance(expected, seen):
    """Word errors between two texts: the fewest insertions, deletions and replacements."""
    before, after = words(expected), words(seen)
    row = list(range(len(after) + 1))
    for i, word in enumerate(before, 1):
        previous, row[0] = row[0], i
        for j, other in enumerate(after, 1):
            previous, row[j] = row[j], min(row[j] + 1, row[j - 1] + 1, previous + (word != other))
    return row[-1]
