"""Files, options and surroundings that are wrong: a clear sentence, nothing lost, nothing hanging."""

import contextlib
import json
import os
import signal
import sqlite3
import time

from Xlib.error import BadWindow

from harness import clients, clipboard, editors, keys
from harness.clients import EMAIL, PASSWORD, PROGRAMS, run_once
from harness.desktop import KEYRING_PASSWORD
from harness.processes import poll
from harness.runner import scenario
from scenarios.failing import full_disk_shim

# Which lines are wrong is for the programs' own tests; here, what a shell sees of one.
USAGE = [
    ("pell", ["nonsense"], 2),
    ("pell", ["--hidden", "--nonsense"], 2),
    ("pell", ["dictate", "begin"], 1),  # no pell runs
    ("pell-server", ["--nonsense"], 2),
    ("pell-server", ["--data", "/dev/null/nothing"], 1),
]


@scenario(limit=90)
def command_lines(world):
    for program, arguments, code in USAGE:
        outcome = run_once(world.desktop, program, *arguments, timeout=10)
        what = f"{program} {' '.join(arguments)}"
        world.expect(outcome.code, code, f"{what}: the exit code (it said {outcome.err!r})")
        world.check(outcome.err.strip(), f"{what}: nothing on standard error")
    for program in ("pell", "pell-server"):
        for option in ("--help", "--version"):
            outcome = run_once(world.desktop, program, option, timeout=10)
            world.expect((outcome.code, bool(outcome.out), outcome.err), (0, True, ""), f"{program} {option}")


@scenario()
def accounts(world):
    """Registering, signing in and out, with and without a running pell, and what is refused."""
    world.setup(editor=None, transcript="Mine.", start=False)
    pell = world.pell
    twice = pell.command("register", EMAIL, stdin=PASSWORD + "\n")
    world.expect(twice.code, 1, "registering twice")
    world.check(twice.err.strip(), "registering twice says nothing")
    empty = pell.command("sign-in", EMAIL, stdin="")
    world.check(empty.code in (1, 2) and empty.err.strip(), f"no password: {empty}")
    wrong = pell.command("sign-in", EMAIL, stdin="wrong password 12\n")
    world.check(wrong.code == 1 and wrong.err.strip(), f"a wrong password: {wrong}")
    alone = json.loads(pell.must("account", "--json"))
    pell.start("--hidden")
    world.expect(json.loads(pell.must("account", "--json")), alone, "the account, told by a running pell")
    pell.must("sign-out")
    nobody = pell.command("styles")
    world.check(nobody.code == 1 and "sign-in" in nobody.err, f"the styles of nobody: {nobody}")
    end = world.dictate()
    world.expect(end.get("reason"), "Your session expired. Sign in again.", "a dictation while signed out")
    pell.must("sign-in", EMAIL, stdin=PASSWORD + "\n")
    world.expect(world.dictate()["event"], "delivered", "a dictation after signing in")
    world.server.stop()
    world.proxy.close()
    down = pell.command("sign-in", EMAIL, stdin=PASSWORD + "\n")
    world.check(down.code == 1 and "reach the server" in down.err, f"with the server down: {down}")


@scenario()
def history_listing(world):
    world.setup(editor="gtk")
    for text in ("First entry.", "Second: नमस्ते.", "Third\x1b[31m entry."):
        world.answer(text)
        world.dictate()
        poll("the row", lambda: any(row["text"] == text for row in world.pell.rows()))
    rows = json.loads(world.pell.must("history", "--json"))
    world.expect([row["text"] for row in rows], ["Third\x1b[31m entry.", "Second: नमस्ते.", "First entry."], "history --json")
    found = json.loads(world.pell.must("history", "--json", "--search", "नमस्ते"))
    world.expect([row["text"] for row in found], ["Second: नमस्ते."], "a search")
    world.expect(len(json.loads(world.pell.must("history", "--json", "--limit", "1"))), 1, "rows with a limit of one")
    plain = world.pell.must("history")
    told = plain.find("First entry.") < plain.find("Third\\x1b[31m entry.")  # the newest last, escapes made visible
    world.check("First entry." in plain and told and "\x1b" not in plain, f"the plain listing: {plain!r}")
    world.pell.stop()
    world.expect(json.loads(world.pell.must("history", "--json")), rows, "the history without a running pell")


@scenario(audio=False)
def notes_as_files(world):
    """Notes come in and go out whole without a running pell; a note that cannot be read keeps no other back."""
    pell = clients.Pell(world.desktop, "http://127.0.0.1:9")
    world.expect(pell.must("notes", "list"), "", "the notes of nobody")
    files = {"plan.rtf": "{\\rtf1 {\\b Plan} of\\par the week", "list.txt": "नमस्ते\nPlan", "picture.txt": "\xff"}
    for name, content in files.items():
        (world.folder / name).write_bytes(content.encode("latin-1" if name == "picture.txt" else "utf-8"))
    mixed = pell.command("notes", "import", *files, cwd=world.folder)
    plan, listed = mixed.out.split()
    world.check(mixed.code == 1 and "picture.txt: not imported" in mixed.err, f"a file that is no text: {mixed}")
    rows = json.loads(pell.must("notes", "list", "--json"))
    world.expect([(row["id"], row["text"]) for row in rows], [(listed, "नमस्ते\nPlan"), (plan, "Plan of\nthe week")], "list --json")
    world.expect(pell.must("notes", "show", plan), "Plan of\nthe week\n", "show")
    for form, sign in {"rtf": "\\b\\cf1 Plan", "txt": "Plan of\nthe week", "md": "**Plan** of"}.items():
        exported = pell.must("notes", "export", plan, "--format", form)
        world.check(sign in exported, f"as {form}: {exported!r}")
    with contextlib.closing(sqlite3.connect(pell.database)) as database, database:
        database.execute("UPDATE notes SET rtf = '{\\rtf1 Plan' WHERE id = ?", [plan])
        database.execute("INSERT INTO notes VALUES (NULL, 'Unreadable', '', '', 9e9, 9e9)")
    folder = world.folder / "taken along"
    folder.mkdir()
    (folder / "नमस्ते.txt").write_text("of another")
    everything = pell.command("notes", "export", "--all", "--format", "txt", cwd=folder)
    world.check(everything.code == 1 and "Unreadable" in everything.err, f"export --all: {everything}")
    expected = {"नमस्ते.txt": "of another", "नमस्ते 2.txt": "नमस्ते\nPlan", "Plan of.txt": "Plan of\nthe week"}
    world.expect({file.name: file.read_text() for file in folder.iterdir()}, expected, "the files of export --all")
    nobody = pell.command("notes", "show", "nobody")
    world.check(nobody.code == 1 and "no note 'nobody'" in nobody.err, f"a note that is not there: {nobody}")


@scenario(over=["garbage", "empty", "half", "list"])
def damaged_defaults(world, kind):
    """Not lost, defaults used. Without its address pell looks for its server at the usual place."""
    damaged = {"garbage": b"\x00\xffnot json", "empty": b"", "half": b'{"apiBaseURL": "http', "list": b"[1, 2]"}[kind]
    world.setup(transcript="Unread.", start=False)
    world.pell.defaults_file.write_bytes(damaged)
    world.pell.start("--hidden")
    kept = list(world.pell.config.iterdir())
    if damaged:
        world.check(any(file.read_bytes() == damaged for file in kept), f"not kept; there is {kept}")
        told = [entry for entry in world.pell.events() if entry["level"] in ("WARN", "ERROR")]
        world.check("defaults" in world.pell.output().lower() and told, "the log does not tell")
    world.expect(world.pell.stop(), 0, "the exit code")


GARBAGE = b"this is no database" * 500


@scenario(over=["garbage", "folder", "truncated"])
def damaged_database(world, kind):
    """The damaged file is not lost, and dictation goes on or a sentence says why not."""
    world.setup(transcript="Words.", start=False)
    database = world.pell.database
    database.parent.mkdir(parents=True, exist_ok=True)
    if kind == "garbage":
        database.write_bytes(GARBAGE)
    elif kind == "folder":
        database.mkdir()
    else:
        world.pell.start("--hidden")
        world.dictate()
        world.pell.stop()
        data = database.read_bytes()
        for file in database.parent.glob("pell.db-*"):
            file.unlink()
        database.write_bytes(data[: len(data) // 2])
        world.editor.clear()
    before = database.read_bytes() if database.is_file() else None
    world.pell.start("--hidden", wait=False)
    poll("a launch or an end", lambda: not world.pell.process.running() or "app_launched" in world.pell.output(), 10)
    if world.pell.process.running():
        world.pell.wait_event("accessibility_changed")
        world.expect(world.dictate()["event"], "delivered", "a dictation beside a damaged history")
        world.editor.wait_text("Words.")
        told = [entry["event"] for entry in world.pell.events() if entry["level"] == "ERROR"]
        world.check({"store_unavailable", "history_write_failed"} & set(told), f"nothing tells of the damage: {told}")
        listing = world.pell.command("history")
        world.check(listing.code == 1 and listing.err.strip(), f"pell history: {listing}")
        world.pell.stop()
    else:
        world.check(world.pell.process.popen.returncode in (1, 2), f"it ended with {world.pell.process.popen.returncode}")
    kept = [file.read_bytes() for file in database.parent.iterdir() if file.is_file()]
    world.check(before is None or kind == "truncated" or before in kept, "the damaged file is gone")


@scenario()
def read_only_database(world):
    """The history cannot be written from the start: the text still reaches the editor, and the log tells."""
    world.setup(transcript="Words without a history.")
    world.dictate()
    rows = len(world.pell.rows())
    # Pell itself would repair the rights of what it owns; a file system that is read only stays so.
    switch = world.folder / "read-only"
    switch.write_text("0")
    world.restart(env=full_disk_shim(world, world.pell.data, switch))
    world.expect(world.dictate()["event"], "delivered", "the dictation")
    world.editor.wait_text("Words without a history.")
    told = [entry["event"] for entry in world.pell.events() if entry["level"] in ("WARN", "ERROR")]
    world.check(told, "nothing tells that the history was not written")
    world.pell.stop()
    world.expect(len(world.pell.rows()), rows, "rows of the history")


@scenario(audio=False)
def no_sound_server(world):
    world.setup(editor="gtk", transcript="Unheard.")
    since = world.pell.mark()
    world.steer("begin")
    world.pell.wait_event("microphone_unavailable", since)
    finish = world.pell.command("dictate", "finish")
    world.expect(finish.code, 1, "the exit code of a finish after the failure")
    world.check("could not start the microphone" in finish.err, f"it said {finish.err!r}")
    world.check(world.pell.process.running(), "pell ended")
    world.check("delivered" not in [entry["event"] for entry in world.pell.events()[since:]], "something was delivered")
    world.expect(world.editor.text(), "", "the editor")
    world.desktop.start_audio()
    poll("the microphone", world.desktop.has_microphone)
    world.hum()
    world.dictate()
    world.editor.wait_text("Unheard.")


@scenario(accessibility="none")
def no_accessibility_bus(world):
    """Pell runs, the command line dictates, and the text is on the clipboard."""
    world.setup(editor=None, transcript="For the clipboard.")
    world.expect(world.pell.wait_event("accessibility_changed")["granted"], False, "the grant")
    world.dictate()
    world.pell.wait_row("For the clipboard.", "failed")
    poll("the text on the clipboard", lambda: clipboard.text(world.desktop) == "For the clipboard.")
    world.expect(world.pell.stop(), 0, "the exit code")


@scenario(keyring=False)
def no_keyring(world):
    """The sign-in goes to a private file, the log tells, and it lasts over a restart."""
    world.setup(transcript="Without a keyring.")
    world.dictate()
    world.editor.wait_text("Without a keyring.")
    world.pell.wait_event("secure_store_fallback", level="WARN")
    world.restart()
    world.expect(world.dictate()["event"], "delivered", "a dictation after a restart")
    for folder in (world.pell.config, world.pell.data):
        for file in folder.rglob("*"):
            if file.is_file() and file.name != "defaults.json":
                world.expect(file.stat().st_mode & 0o077, 0, f"others' rights on {file.name}")


COLLECTION = "/org/freedesktop/secrets/collection/login"
LOCKED_OUT = ("dictation_failed", "Your session expired. Sign in again.")


@scenario(limit=90)
def locked_keyring(world):
    """A locked keyring hangs nothing and loses nothing: unlocked, the sign-in is still there."""
    world.setup(transcript="Unlocked again.")
    world.dictate()
    world.pell.stop()
    service = ("org.freedesktop.secrets", "/org/freedesktop/secrets", "org.freedesktop.Secret.Service.Lock")
    world.desktop.gdbus(*service, f"['{COLLECTION}']")
    world.editor.clear()
    # The desktop asks the user as soon as Pell wants to know who is signed in, and once: whoever waves it away is
    # not asked again with the next dictation.
    world.pell.start("--hidden")
    poll("the keyring's prompt", lambda: keyring_prompt(world))
    world.keys.tap(keys.ESCAPE)
    poll("the prompt gone", lambda: not keyring_prompt(world))
    world.editor.wait_focus()
    began = time.monotonic()
    end = world.dictate()
    world.check(time.monotonic() - began < 12, f"it took {time.monotonic() - began:.1f} s")
    world.expect((end["event"], end["reason"]), LOCKED_OUT, "with the prompt dismissed")
    world.check(not keyring_prompt(world), "asked again")
    outcome = world.pell.command("sign-in", EMAIL, stdin=PASSWORD + "\n")
    world.check(outcome.code == 1 and "the keyring did not keep it" in outcome.err, f"a sign-in meanwhile: {outcome}")
    world.pell.stop()
    world.pell.start("--hidden")
    poll("the keyring's prompt", lambda: keyring_prompt(world))
    world.keys.type(KEYRING_PASSWORD)
    world.keys.tap(keys.RETURN)
    poll("the prompt gone", lambda: not keyring_prompt(world))
    world.editor.wait_focus()
    world.expect(world.dictate()["event"], "delivered", "a dictation with the keyring unlocked")
    world.editor.wait_text("Unlocked again.")


def keyring_prompt(world):
    """The window, if there is one, that the keyring's prompter shows."""
    display = world.desktop.display
    property = display.screen().root.get_full_property(display.intern_atom("_NET_CLIENT_LIST"), 0)
    for window in property.value if property else []:
        with contextlib.suppress(BadWindow):  # it has just gone
            kind = display.create_resource_object("window", window).get_wm_class()
            if kind and "prompter" in kind[0].lower():
                return window
    return None


@scenario()
def no_display(world):
    """One sentence and exit code 1; the commands that need no screen still work."""
    world.setup(editor=None, transcript="x", start=False)
    for display in ({"DISPLAY": ""}, {"DISPLAY": ":7654"}):
        outcome = world.pell.command(env=display | {"WAYLAND_DISPLAY": ""})
        world.expect(outcome.code, 1, f"the exit code with {display}")
        world.check("display" in outcome.err.lower(), f"it said {outcome.err!r}")
        world.expect(world.pell.command("history", env=display).code, 0, "the history without a display")


# Values that point nowhere or mean nothing, and what the log says of them.
STRANGE_ENVIRONMENTS = [
    ({"XDG_DATA_HOME": "/dev/null/data"}, "store_unavailable"),
    ({"HOME": "", "XDG_CONFIG_HOME": "/dev/null/config"}, ""),
    ({"DBUS_SESSION_BUS_ADDRESS": "nonsense:"}, "secure_store_fallback"),
    ({"PULSE_SERVER": "unix:/dev/null", "GST_REGISTRY": "/dev/null/registry"}, ""),
    ({"LANG": "xx_XX.nonsense", "LC_ALL": "xx_XX.nonsense", "TZ": "Nowhere/Land"}, ""),
    ({"QT_QPA_PLATFORM": "nonsense"}, ""),
    ({"QT_QPA_PLATFORM": "wayland", "WAYLAND_DISPLAY": "wayland-7"}, ""),
]


@scenario(limit=90)
def strange_environment(world):
    """Pell starts, can be steered, prints its history and ends as asked for."""
    world.setup(editor=None, start=False)
    for env, event in STRANGE_ENVIRONMENTS:
        # A private folder for everything else, as a home that is none leaves its files to the real one.
        env = {"XDG_DATA_HOME": str(world.folder / "data"), "XDG_CONFIG_HOME": str(world.folder / "config")} | env
        listing = world.pell.command("history", env=env)
        world.check(listing.code == 0 or (listing.code == 1 and listing.err.strip()), f"{env}: pell history: {listing}")
        world.pell.start("--hidden", env=env, wait=False)
        world.pell.wait_event("app_launched")
        if event:
            world.pell.wait_event(event)
        world.pell.must("dictate", "cancel", env=env)
        world.expect(world.pell.stop(), 0, f"the exit code with {env}")


@scenario()
def no_private_folder(world):
    """Where others may look into the session's folder, and there is no other, Pell says so and ends."""
    world.setup(editor=None, start=False)
    env = {"XDG_RUNTIME_DIR": "", "TMPDIR": str(world.folder)}
    (world.folder / f"pell-{os.geteuid()}").touch()
    outcome = world.pell.command(env=env)
    world.check(outcome.code == 1 and "private folder" in outcome.err, f"{outcome}")


@scenario(over=["garbage", "folder"])
def damaged_server_database(world, kind):
    """pell-server says so and ends with 1, and what was there stays as it is."""
    world.server = clients.Server(world.desktop)
    world.server.stop()
    database = world.server.folder / "data/server.db"
    for file in database.parent.glob("server.db*"):
        file.unlink()
    if kind == "garbage":
        database.write_bytes(GARBAGE)
    else:
        database.mkdir()
    outcome = run_once(world.desktop, "pell-server", *world.server.options)
    world.check(outcome.code == 1 and "server.db" in outcome.err, f"{outcome}")
    world.check(kind == "folder" or database.read_bytes() == GARBAGE, "the file was changed")


@scenario()
def two_instances(world):
    """The second brings the first forward and ends with 0; of two at once one stays."""
    world.setup(editor=None, transcript="x", start=False)
    first, second = (
        world.desktop.run(f"pell-both-{number}", PROGRAMS / "pell", "--hidden") for number in (1, 2)
    )
    poll("one of two ending", lambda: first.running() != second.running())
    time.sleep(0.5)
    running, ended = (first, second) if first.running() else (second, first)
    world.check(running.running(), "both ended")
    world.expect(ended.popen.returncode, 0, "the exit code of the second")
    editors.make(world.desktop, world.keys, "gtk")
    for _ in range(3):
        world.expect(world.pell.command(timeout=5).code, 0, "the exit code of another")
    poll("the first one's window in front", lambda: editors.active_window(world.desktop.display, running.pid))
    world.check(running.running(), "the first ended")
    running.kill()
    world.pell.start("--hidden")  # what a killed one left behind keeps nobody out
    world.expect(world.pell.stop(), 0, "the exit code")


@scenario(over=["SIGTERM", "SIGINT", "SIGHUP"])
def ends_on_request(world, name):
    world.setup(editor=None, transcript="x")
    world.begin()
    began = time.monotonic()
    world.expect(world.pell.stop(getattr(signal, name)), 0, "the exit code")
    world.check(time.monotonic() - began < 3, "it took too long")
    world.expect(world.pell.scratch_files(), [], "audio left behind")


@scenario(tray=True)
def tray_item(world):
    """The tray shows an item of ours, and it looks different while recording."""
    world.setup(editor="gtk", transcript="Seen.")
    item = poll("an item in the tray", lambda: tray_window(world))

    def look():
        size = item.get_geometry()
        return item.get_image(0, 0, size.width, size.height, 2, 0xFFFFFFFF).data

    quiet = poll("a picture of the item", look)
    with world.holding():
        poll("another picture while recording", lambda: look() != quiet, 5)
    world.editor.wait_text("Seen.")
    poll("the first picture again", lambda: look() == quiet, 10)


def tray_window(world):
    display = world.desktop.display
    info, owner = display.intern_atom("_XEMBED_INFO"), display.intern_atom("_NET_WM_PID")

    def below(window):
        for child in window.query_tree().children:
            pid = child.get_full_property(owner, 0)
            if child.get_full_property(info, 0) and pid and pid.value[0] == world.pell.process.pid:
                return child
            if found := below(child):
                return found
        return None

    return below(display.screen().root)
