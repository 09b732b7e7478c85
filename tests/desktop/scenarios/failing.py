"""Servers, microphones and disks that fail; and what is left after each."""

import contextlib
import json
import random
import sqlite3
import subprocess
import threading
import time

from harness import clipboard, editors, keys, proxy
from harness.clients import wait_until
from harness.processes import Failure, Skip, poll
from harness.runner import scenario
from harness.world import TRANSCRIBE

OFFLINE = "Pell can't reach the server. Check your connection and try again."
UNREADABLE = "The server sent something Pell could not read."

# What goes wrong on the way, and the sentences that may tell the user.
FAULTS = {
    "401": (dict(reply=proxy.UNAUTHORIZED), ["The token has expired."]),
    "500 with HTML": (dict(reply=proxy.HTML_500), ["Request failed (500)."]),
    "quota": (dict(reply=proxy.QUOTA), ["You have used up this month's minutes."]),
    "half a reply": (dict(half=True), [OFFLINE]),
    "another protocol": (dict(reply=proxy.NOT_HTTP), [OFFLINE, UNREADABLE]),
    "no reply": (dict(reply=b""), [OFFLINE]),
    "other JSON": (dict(reply=proxy.answer("200 OK", '{"transcript": 1}')), [UNREADABLE]),
    "no JSON": (dict(reply=proxy.answer("200 OK", b"\xff\xfe\x00")), [UNREADABLE]),
}


@scenario(limit=90)
def server_faults(world):
    """Each gives its sentence, keeps nothing, leaves no stream open; the next dictation works again."""
    world.setup(transcript="Back again.")
    for name, (fault, sentences) in FAULTS.items():
        world.proxy.misbehave(TRANSCRIBE, **fault)
        end = world.dictate()
        world.expect(end["event"], "dictation_failed", name)
        world.check(end["reason"] in sentences, f"{name}: told as {end['reason']!r}")
        world.pell.wait_silent()
        world.nothing_kept()
        world.expect(world.editor.text(), "", "the editor")
    world.proxy.behave()
    world.proxy.close()
    end = world.dictate()
    world.expect((end["event"], end["reason"]), ("dictation_failed", OFFLINE), "with the server down")
    world.proxy.open()
    world.expect(world.dictate()["event"], "delivered", "with the server back")
    world.editor.wait_text("Back again.")


@scenario(limit=90, long_limit=240)
def slow_server(world):
    """A late answer is still an answer, and the keys are free meanwhile."""
    world.setup(transcript="Late but right.")
    world.proxy.misbehave(TRANSCRIBE, slow=world.count(4, 50))
    since = world.pell.mark()
    with world.holding():
        time.sleep(0.1)
    world.keys.type("ab")
    world.editor.wait_text("ab")
    with world.keys.held(keys.ALT_LEFT):  # a press while the answer is awaited starts nothing
        time.sleep(0.5)
        world.check(not world.pell.records(), "a second recording during the upload")
    end = world.pell.wait_delivered(since, timeout=world.count(10, 70))
    world.expect(end["event"], "delivered", "the dictation")
    world.editor.wait_text("abLate but right.")


@scenario(limit=90)
def microphone_gone(world):
    """The sound server dies during a recording; when it is back, so is dictation."""
    world.setup(transcript="The microphone is back.")
    since = world.pell.mark()
    with world.keys.held(keys.ALT_LEFT):
        world.wait_recording()
        world.desktop.audio.kill()
        world.pell.wait_event("microphone_lost", since)
        told = world.pell.command("dictate", "finish")
    world.check(told.code == 1 and "lost the microphone" in told.err, f"the user is told {told}")
    world.expect(world.server.heard(), [], "recordings that reached the server")
    world.expect(world.pell.scratch_files(), [], "audio left behind")
    world.check(world.pell.process.running(), "pell ended with the sound server")
    world.expect(world.editor.text(), "", "the editor")
    world.desktop.start_audio()
    poll("the microphone", world.desktop.has_microphone)
    world.hum()

    def works():
        since = world.pell.mark()
        with world.keys.held(keys.ALT_LEFT):
            try:
                world.wait_recording(timeout=4)
            except Failure:
                return False
        return world.pell.wait_delivered(since)["event"] == "delivered"

    poll("a dictation with the new sound server", works, 20)
    world.editor.wait_text("The microphone is back.")
    world.pell.wait_silent()


@scenario()
def no_stream_left(world):
    """After a cancel, a quick release, a failure and a quit the sound server lists nothing of ours."""
    world.setup(transcript="Some words.")
    world.check(not world.pell.records(), "pell records while idle")
    world.begin()
    world.steer("cancel")
    world.pell.wait_silent()

    for _ in range(world.count(5, 50)):
        with world.keys.held(keys.ALT_LEFT):
            time.sleep(random.uniform(0.29, 0.36))  # around the instant at which the recording starts
        time.sleep(0.05)
    time.sleep(0.5)
    world.pell.wait_silent()

    world.proxy.close()
    world.dictate()
    world.pell.wait_silent()

    world.proxy.open()
    world.begin()
    world.expect(world.pell.stop(), 0, "the exit code")
    world.check(not world.desktop.recording_streams(), f"streams: {world.desktop.recording_streams()}")
    world.expect(world.pell.scratch_files(), [], "audio left behind")


def open_cleanly(world):
    with contextlib.closing(sqlite3.connect(world.pell.database)) as connection:
        world.expect(connection.execute("PRAGMA integrity_check").fetchone()[0], "ok", "the database")


@scenario(over=["automatic", "paste"], limit=240, long_limit=1500)
def killed_around_the_reply(world, mode):
    """Text that any other process has seen is in the history, whenever pell is killed."""
    world.setup(transcript="x", defaults={"injectionMode": mode}, start=False)
    choice = random.Random(mode)
    seen = 0
    for turn in range(world.count(10, 100)):
        text = f"Sentence number {turn} of {mode}."
        world.answer(text)
        world.pell.start("--hidden")
        world.begin()
        # The answer is held back, so that the instant at which it goes out is known.
        world.proxy.hold_answers(TRANSCRIBE)
        began = world.pell.mark()
        world.steer("finish")
        world.proxy.wait_held()
        instant = time.monotonic() + choice.uniform(-0.005, 0.08)
        timer = threading.Timer(0.01, world.proxy.let_go)
        timer.start()
        wait_until(instant + 0.01)
        world.pell.kill()
        time.sleep(0.1)  # what was on its way arrives
        arrived = text in world.editor.text() or clipboard.text(world.desktop) == text
        seen += arrived
        kept = [row["text"] for row in world.pell.rows()]
        if arrived and text not in kept:
            raise Failure(f"{text!r} was seen and is not in the history; log: {world.pell.events()[began:]}")
        world.check(kept.count(text) <= 1, f"{text!r} stands twice in the history")
        open_cleanly(world)
    world.check(seen > 0, "no kill came after the text; the instants prove nothing")
    world.pell.start("--hidden")
    world.answer("The last one.")
    world.dictate()
    world.pell.wait_row("The last one.", "inserted" if mode == "automatic" else "pasted")


@scenario(limit=240, long_limit=900)
def full_disk(world):
    """The disk fills up at the nth write: the text still arrives, nothing hangs, and later all is well."""
    world.setup(transcript="There is no room.", start=False)
    switch = world.folder / "disk-full"
    shim = full_disk_shim(world, world.desktop.home, switch)
    refused = 0
    steps = world.count([0, 1, 2, 3, 5, 8, 13], list(range(40)))
    for writes in steps:
        world.editor.clear()
        world.pell.start("--hidden", env=shim)
        switch.write_text(str(writes))
        end = world.dictate()
        world.expect(end["event"], "delivered", f"with a disk that is full after {writes} writes")
        world.editor.wait_text("There is no room.")
        refused += any(entry["event"] == "history_write_failed" for entry in world.pell.events())
        switch.unlink()
        world.expect(world.pell.stop(), 0, f"the exit code, full after {writes} writes")
        open_cleanly(world)
        json.loads(world.pell.defaults_file.read_text())
    world.check(refused, "the disk was never full")
    world.pell.start("--hidden")
    world.server.say("There is room again.")
    world.dictate()
    world.pell.wait_row("There is room again.", "inserted")


def full_disk_shim(world, folder, switch):
    """What a program is started with, so that the disk below the folder fills up once `switch` is there."""
    return {"LD_PRELOAD": str(build_shim(world)), "FULL_DISK_BELOW": str(folder), "FULL_DISK_SWITCH": str(switch)}


@scenario()
def no_room_for_the_recording(world):
    """The user is told, nothing is left of the recording, and with room the next one works."""
    world.setup(transcript="There is room again.", start=False)
    switch = world.folder / "disk-full"
    world.pell.start("--hidden", env=full_disk_shim(world, world.desktop.runtime, switch))
    for writes in (0, 1, 5):
        switch.write_text(str(writes))
        since = world.pell.mark()
        world.steer("begin")
        world.pell.wait_event("microphone_lost", since)
        told = world.pell.command("dictate", "finish")
        world.check(told.code == 1 and told.err.strip(), f"full after {writes} writes, the user is told {told}")
        world.pell.wait_silent()
        switch.unlink()
    world.expect(world.dictate()["event"], "delivered", "the dictation with room")
    world.editor.wait_text("There is room again.")


@scenario(limit=90, long_limit=240)
def full_disk_of_the_server(world):
    """The server answers whatever it cannot write down, in its own words, and recovers by itself."""
    world.setup(transcript="Some words.")
    world.server.stop()
    switch = world.folder / "disk-full"
    world.server.start(env=full_disk_shim(world, world.server.folder / "data", switch))
    refused = 0
    for writes in world.count(range(4), range(20)):
        switch.write_text(str(writes))
        end = world.dictate()
        world.check(world.server.process.running(), f"the server ended, full after {writes} writes")
        if end["event"] != "delivered":
            refused += 1
            world.check(end["reason"] not in (OFFLINE, UNREADABLE), f"full after {writes} writes: {end['reason']}")
        switch.unlink()
        world.expect(world.dictate()["event"], "delivered", f"with room again, after {writes} writes")
    world.check(refused, "the disk was never full")


def build_shim(world):
    shim = world.folder / "full_disk.so"
    source = editors.PROGRAMS / "full_disk.c"
    try:
        subprocess.run(["clang-16", "-O1", "-shared", "-fPIC", "-o", shim, source, "-ldl"], check=True, timeout=60)
    except FileNotFoundError:
        raise Skip("clang-16 is not installed") from None
    return shim
