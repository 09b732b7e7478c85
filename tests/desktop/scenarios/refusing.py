"""Fields that must not receive dictated text."""

from Xlib import X

from harness import clipboard, editors
from harness.processes import poll
from harness.runner import scenario


@scenario(over=["gtk", "qt", "firefox", "chromium", "plain chromium"], limit=90)
def password_field(world, kind):
    """Refused at the start and at delivery; afterwards an ordinary field is served as before."""
    world.setup(editor=kind, transcript="A secret place.")
    world.editor.focus("secret")
    world.refused("role")
    world.nothing_kept()
    world.expect(world.server.heard(), [], "recordings that reached the server")

    world.editor.focus("text")
    before = clipboard.everything(world.desktop)
    since = world.held_back()
    world.editor.focus("secret")
    world.proxy.let_go()
    world.pell.wait_event("delivery_refused_secure_field", since, reason="role")
    world.pell.wait_row("A secret place.", "failed")
    world.expect(world.editor.state()["secret"], "", "the password field")
    world.expect(clipboard.everything(world.desktop), before, "the clipboard")

    world.editor.focus("text")
    world.server.say("An open place.")
    world.hold()
    world.editor.wait_text("An open place.")
    world.expect(world.editor.state()["secret"], "", "the password field")


@scenario(over=["gtk", "qt", "firefox", "plain chromium"], limit=90)
def password_field_that_was_there_first(world, kind):
    """Pell starts while the field has the focus, and knows of it by no event."""
    world.setup(editor=kind, transcript="A secret place.", start=False)
    world.editor.focus("secret")
    world.pell.start("--hidden")
    world.refused("role")
    world.expect(world.editor.state()["secret"], "", "the password field")


@scenario()
def exclusive_keyboard(world):
    """While another program holds the keyboard, as password prompts do, nothing is dictated."""
    world.setup(transcript="A secret place.")
    root = world.desktop.display.screen().root
    root.grab_keyboard(False, X.GrabModeAsync, X.GrabModeAsync, X.CurrentTime)
    world.desktop.display.sync()
    world.refused("secureInput")
    world.desktop.display.ungrab_keyboard(X.CurrentTime)
    world.desktop.display.sync()
    world.server.say("An open place.")
    world.hold()
    world.editor.wait_text("An open place.")


@scenario(accessibility="off")
def accessibility_switched_off(world):
    """A new desktop: the text ends on the clipboard; once accessibility is on, the key works and text is inserted."""
    world.setup(editor=None, transcript="Before it was allowed.")
    end = world.dictate()
    world.check(end["event"] == "delivered" and end["outcome"].startswith("failed"), f"it ended as {end}")
    world.pell.wait_row("Before it was allowed.", "failed")
    poll("the text on the clipboard", lambda: clipboard.text(world.desktop) == "Before it was allowed.")
    since = world.pell.mark()
    world.desktop.switch_accessibility(True)
    world.pell.wait_event("accessibility_changed", since, granted=True)
    world.pell.wait_event("hotkey_started", since)
    world.editor = editors.make(world.desktop, world.keys, "qt")
    world.server.say("Now it is allowed.")
    world.hold()
    world.editor.wait_text("Now it is allowed.")
    world.pell.wait_row("Now it is allowed.", "inserted")
    # Taken back, the key is dead within moments; nothing else ends.
    since = world.pell.mark()
    world.desktop.switch_accessibility(False)
    world.pell.wait_event("hotkey_stopped", since, reason="accessibility_revoked")
    world.check(world.pell.process.running(), "pell ended")
