"""The whole road: keys, a voice, recognition, the history, the editor."""

import json
import time

from harness import editors, keys, speech
from harness.runner import scenario
from harness.processes import poll

SENTENCES = {
    "gtk": "the weather is very nice today and we are going to walk in the park",
    "qt": "please send me the report before the end of the week",
}


@scenario(over=["gtk", "qt"], limit=90)
def spoken_words_arrive(world, kind):
    """Hold, speak, release. The one scenario where the recogniser is the real one."""
    world.setup(editor=kind, transcript=None)
    sentence = SENTENCES[kind]
    end = world.speak(sentence)
    world.expect(end["event"], "delivered", "the dictation")
    row = world.pell.rows()[-1]
    wrong = speech.distance(sentence, row["text"])
    world.check(wrong <= 2, f"{wrong} words wrong: {row['text']!r} for {sentence!r}")
    world.editor.wait_text(row["text"])
    world.pell.wait_row(row["text"], world.editor.delivery)
    world.check(row["duration"] > 2, f"a recording of {row['duration']} s")
    world.pell.wait_silent()


@scenario()
def rules_for_one_application(world):
    """What was said is cleaned in the account's style, or in the one that a rule names for the application in front."""
    said = "um we meet tomorrow period bring the plan"
    world.setup(editor="gtk", transcript=said)
    world.hold()
    row = world.pell.rows()[-1]
    world.expect((row["text"], row["raw_text"]), ("We meet tomorrow. Bring the plan.", said), "without a rule")
    notes = "- We meet tomorrow\n- Bring the plan"
    for style, text in {"meeting-notes-v1": notes, "terminal-command-v1": said}.items():
        world.pell.stop()
        world.pell.set_default("appStyleRules", {row["target_bundle_id"]: style})
        world.editor.clear()
        world.pell.start("--hidden")
        world.hold()
        world.expect(world.pell.rows()[-1]["text"], text, f"with a rule for {style}")
        world.editor.wait_text(text)
    world.expect(json.loads(world.pell.must("usage", "--json"))["lifetime"]["dictations"], 3, "what the server counted")
    earned = {item["id"]: item["unlockedAt"] for item in json.loads(world.pell.must("badges", "--json"))["badges"]}
    world.check(earned["words.1"] and not earned["words.100"], f"the badges: {earned}")


@scenario(limit=180, long_limit=900)
def long_speech_ends_in_text(world):
    """Four minutes with --long: longer than any single wait on the connection may last."""
    world.setup(editor="gtk", transcript=None)
    length = world.count(25, 240)
    sentence = SENTENCES["gtk"]
    speech.spoken(sentence)
    since = world.pell.mark()
    world.double_tap()
    world.wait_recording()
    until = time.monotonic() + length
    said = 0
    while time.monotonic() < until:
        speech.say(world.desktop, sentence)
        said += len(sentence.split())
    world.keys.tap(keys.ALT_LEFT, seconds=0.04)
    end = world.pell.wait_delivered(since, timeout=length + 60)
    world.expect(end["event"], "delivered", "the dictation")
    row = world.pell.rows()[-1]
    world.editor.wait_text(row["text"], timeout=30)
    heard = len(speech.words(row["text"]))
    world.check(heard > 0.8 * said, f"{heard} words of {said}")


@scenario(over=["mousepad", "featherpad"])
def everyday_editors(world, kind):
    world.setup(editor=kind, transcript="Words for an editor of the system.")
    world.editor.clear()
    world.hold()
    text = world.pell.rows()[-1]["text"]
    world.editor.wait_text(text)
    world.pell.wait_row(text, world.editor.delivery)


@scenario()
def hands_free(world):
    """Double tap, speak with the key up, tap. Typing meanwhile changes nothing."""
    world.setup(transcript="Hands free.")
    since = world.pell.mark()
    world.double_tap()
    world.wait_recording()
    world.keys.type("ab")
    world.check(world.pell.records(), "typing ended a hands-free recording")
    world.keys.tap(keys.ALT_LEFT, seconds=0.04)
    world.expect(world.pell.wait_delivered(since)["event"], "delivered", "the dictation")
    world.editor.wait_text("abHands free.")
    # A lone tap does nothing: no recording, no text, no menu.
    world.keys.tap(keys.ALT_LEFT, seconds=0.04)
    time.sleep(0.6)  # past the hold's threshold and the window of a double tap
    world.check(not world.pell.records(), "a lone tap started a recording")
    world.pell.wait_silent()


@scenario()
def control_alt_space(world):
    """Starts and stops, with any lock on, and the space never reaches the editor."""
    world.setup(transcript="Toggled.", defaults={"hotKeyTrigger": "toggleControlOptionSpace"})
    expected = ""
    for turn in range(3):
        if turn:
            world.keys.tap(keys.NUM_LOCK)
        since = world.pell.mark()
        world.keys.tap(keys.CONTROL_LEFT, keys.ALT_LEFT, keys.SPACE, seconds=0.3)  # long enough to repeat
        world.wait_recording()
        time.sleep(0.1)
        world.keys.tap(keys.CONTROL_LEFT, keys.ALT_LEFT, keys.SPACE)
        world.pell.wait_delivered(since)
        expected += "Toggled."
        world.editor.wait_text(expected)
    world.keys.type("x y")
    world.editor.wait_text(expected + "x y")
    world.pell.wait_silent()


@scenario()
def right_super_holds(world):
    """Without a threshold: down begins, up ends."""
    world.setup(transcript="Right super.", defaults={"hotKeyTrigger": "holdRightCommand"})
    since = world.pell.mark()
    with world.holding(keys.SUPER_RIGHT):
        time.sleep(0.15)
    world.pell.wait_delivered(since)
    world.editor.wait_text("Right super.")


@scenario(over=["gtk", "qt"])
def escape_throws_away(world, kind):
    world.setup(editor=kind, transcript="Never to be seen.")
    with world.holding():
        world.keys.tap(keys.ESCAPE)
        world.pell.wait_silent()
    time.sleep(0.5)  # the release counts as a tap, so let the window of a double tap pass
    world.double_tap()
    world.wait_recording()
    world.keys.tap(keys.ESCAPE)
    world.pell.wait_silent()
    time.sleep(0.5)  # nothing may follow
    world.expect(world.server.heard(), [], "recordings that reached the server")
    world.nothing_kept()
    world.expect(world.editor.text(), "", "the editor")
    world.expect(world.editor.state()["focus"], "text", "the focus")
    # The same keys still dictate.
    world.server.say("After all.")
    world.hold()
    world.editor.wait_text("After all.")


@scenario(limit=90)
def released_before_a_sound(world):
    """The key comes up before the microphone gave anything: nobody is troubled with a message."""
    world.setup(transcript="Word.")
    for _ in range(world.count(6, 60)):
        with world.keys.held(keys.ALT_LEFT):
            poll("pell recording", world.pell.records)
        time.sleep(0.8)  # a sound may have been heard after all, and its text is on its way
        world.pell.wait_silent()
    endings = [entry["event"] for entry in world.pell.events()]
    world.check("dictation_failed" not in endings, f"a message was shown: {endings}")
    heard = len(world.server.heard())
    world.expect(endings.count("delivered"), heard, "texts delivered of recordings heard")
    world.editor.wait_text("Word." * heard)


@scenario(over=["gtk", "qt"])
def shortcut_with_alt(world, kind):
    """A shortcut that begins with Alt, before and after the hold's threshold: the recording is lost, the shortcut works."""
    world.setup(editor=kind, transcript="Never to be seen.")
    act = world.keys.code("k")
    world.keys.tap(keys.ALT_LEFT, act)
    poll("the shortcut", lambda: world.editor.state()["fired"] == 1)
    with world.holding():
        world.keys.tap(act)
        poll("the shortcut during a recording", lambda: world.editor.state()["fired"] == 2)
        world.pell.wait_silent()
    time.sleep(0.6)
    world.check(not world.pell.records(), "the release after a shortcut counted as a tap")
    world.expect(world.server.heard(), [], "recordings that reached the server")
    world.nothing_kept()
    world.expect(world.editor.text(), "", "the editor")


@scenario(over=["firefox", "qt", "chromium"], limit=120, long_limit=600)
def focus_survives_alt(world, kind):
    """Holds and double taps in turn, a letter typed after each: the text area keeps the focus, and no menu opens."""
    world.setup(editor=kind)
    expected = ""
    for turn in range(world.count(10, 100)):
        # Each other than the last, or the end of its stay on the clipboard would be taken for this one's.
        text = f"Word {turn}."
        world.server.say(text)
        end = world.hold(0.05) if turn % 2 == 0 else world.hands_free(0.05)
        world.expect(end["event"], "delivered", f"dictation {turn}")
        world.editor.wait_text(expected + text)
        world.keys.type("x")
        expected += text + "x"
        world.editor.wait_text(expected)
    state = world.editor.state()
    world.expect(state["focus"], "text", "the focus")
    world.expect((state.get("menus", 0), state.get("fired", 0)), (0, 0), "menus and shortcuts")
    world.expect(len(world.pell.rows()), world.count(10, 100), "rows of the history")


@scenario()
def text_follows_the_user(world):
    """The application that is in front when the text arrives gets it, not the one where the dictation began."""
    world.setup(transcript="Where am I?")
    first = world.editor
    since = world.held_back()
    second = editors.make(world.desktop, world.keys, "qt")
    world.proxy.let_go()
    world.pell.wait_delivered(since)
    second.wait_text("Where am I?")
    world.expect(first.text(), "", "the first editor")
    world.check("qt" in (world.pell.rows()[-1]["target_bundle_id"] or "").lower(), f"target: {world.pell.rows()[-1]}")
