"""Text that goes by the clipboard, and what was on the clipboard before."""

import random
import signal
import subprocess
import time

from harness import clipboard
from harness.processes import poll
from harness.runner import scenario

PARAGRAPHS = "First paragraph, with an umlaut: grün.\n\nनमस्ते दुनिया। Second one — “quoted”, 日本語, 👩‍👩‍👧."


@scenario(over=["firefox", "chromium"], limit=90)
def browser_text_area(world, kind):
    world.setup(editor=kind)
    world.answer(PARAGRAPHS)
    world.hold()
    world.editor.wait_text(PARAGRAPHS)
    world.pell.wait_row(PARAGRAPHS, "pasted")


@scenario()
def terminal(world):
    """A line break would run a command: it becomes a blank."""
    world.setup(editor="terminal")
    world.answer("echo one\necho two\r\necho three\n\nend")
    world.hold()
    poll(lambda: f"the text; there is {world.editor.text()!r}", lambda: "end" in world.editor.text())
    seen = world.editor.text()
    world.check("\n" not in seen and "\r" not in seen, f"line breaks reached the terminal: {seen!r}")
    world.expect(seen.split(), "echo one echo two echo three end".split(), "the terminal's input")
    world.pell.wait_row("echo one\necho two\r\necho three\n\nend", "pasted")


def random_file(world, name, size):
    file = world.folder / name
    file.write_bytes(random.Random(name).randbytes(size))
    return file


def picture(world):
    """A PNG of about a megabyte."""
    file = world.folder / "picture.png"
    subprocess.run(["convert", "-size", "640x540", "plasma:red-blue", str(file)], check=True, timeout=60)
    return file


def held_clipboard(world, kind):
    if kind == "picture":
        return clipboard.Owner(world.desktop, "image", picture(world))
    if kind == "files":
        uris = world.folder / "uris"
        uris.write_bytes(b"file:///etc/hostname\r\nfile:///etc/hosts\r\n")
        copied = world.folder / "copied"
        copied.write_bytes(b"copy\nfile:///etc/hostname\nfile:///etc/hosts")
        return clipboard.Owner(world.desktop, f"text/uri-list={uris}", f"x-special/gnome-copied-files={copied}")
    large, html = random_file(world, "large", 3_000_000), random_file(world, "html", 1_000_000)
    return clipboard.Owner(world.desktop, f"application/x-pell-test={large}", f"text/html={html}")


@scenario(over=["picture", "files", "large"])
def clipboard_comes_back(world, kind):
    """Byte for byte in every format, also when its owner has died meanwhile ("large" comes in pieces)."""
    world.setup(editor="gtk", transcript="Pasted over it.", defaults={"injectionMode": "paste"})
    owner = held_clipboard(world, kind)
    before = {format: data for format, data in clipboard.everything(world.desktop).items() if data}
    if kind == "picture":
        # The others are the same bytes under other names, or icons that a picture of this size has none of.
        before = {name: before[name] for name in ("image/png", "image/jpeg", "image/bmp", "image/tiff")}
    world.check(before, "nothing was put on the clipboard")
    world.hold()
    world.editor.wait_text("Pasted over it.")
    owner.die()
    world.pell.wait_row("Pasted over it.", "pasted")

    def differing():
        now = clipboard.everything(world.desktop)
        ours = [name for name, data in now.items() if data and b"Pasted over it." in data]
        return ours + [name for name in before if now.get(name) != before[name]]

    poll(lambda: f"the clipboard as it was; differing: {differing()}", lambda: not differing(), 10, interval=0.2)


@scenario()
def a_later_copy_wins(world):
    """What the user copies after the paste is not replaced by what stood there before it."""
    world.setup(editor="gtk", transcript="Pasted.", defaults={"injectionMode": "paste"})
    held_clipboard(world, "files")
    world.hold()
    world.editor.wait_text("Pasted.")
    later = random_file(world, "later", 2000)
    clipboard.Owner(world.desktop, f"application/x-later={later}")
    time.sleep(2.0)  # past the restore
    world.expect(clipboard.formats(world.desktop), {"application/x-later"}, "formats on the clipboard")


@scenario()
def copy_only(world):
    world.setup(editor="gtk", transcript="Only copied.", defaults={"injectionMode": "copyOnly"})
    world.hold()
    world.pell.wait_row("Only copied.", "copied")
    poll("the text on the clipboard", lambda: clipboard.text(world.desktop) == "Only copied.")
    world.expect(world.editor.text(), "", "the editor")
    world.check("x-kde-passwordManagerHint" in clipboard.formats(world.desktop), "the text is not marked as secret")


@scenario()
def hung_clipboard_owner(world):
    """A stopped program owns the clipboard: the dictation still ends in text, and soon."""
    world.setup(editor="gtk", transcript="Never mind.", defaults={"injectionMode": "paste"})
    owner = held_clipboard(world, "files")
    owner.process.signal(signal.SIGSTOP)
    began = time.monotonic()
    world.hold()
    world.editor.wait_text("Never mind.")
    owner.process.signal(signal.SIGCONT)
    world.check(time.monotonic() - began < 5, f"it took {time.monotonic() - began:.1f} s")


SCRIPTS = ["a quick word", "Grüße, ça va?", "नमस्ते दुनिया", "مرحبا بالعالم", "日本語のテキスト", "e\u0301\u0308 combining",
           "👩‍👩‍👧 and 🇮🇳", "Ω≈ç√∫", "привет", "\t tab and (brackets) <b>&amp;</b>"]  # fmt: skip


def mixed_text(seed):
    choice = random.Random(seed)
    pieces = [choice.choice(SCRIPTS) for _ in range(choice.randint(1, 40))]
    return choice.choice([" ", "\n", ", "]).join(pieces)


@scenario(over=["gtk", "qt", "firefox"], limit=120, long_limit=900)
def exact_in_every_script(world, kind):
    """A thousand deliveries, in all, with --long."""
    world.setup(editor=kind)
    for number in range(world.count(15, 334)):
        text = mixed_text(f"{kind}{number}")
        world.answer(text)
        world.editor.clear()
        end = world.dictate(0.02)
        world.expect(end["event"], "delivered", f"delivery {number}")
        world.editor.wait_text(text)
        world.expect(world.pell.rows()[-1]["text"], text, "the history")


@scenario(limit=90)
def five_thousand_words(world):
    world.setup(editor="gtk")
    for delivery in ("inserted", "pasted"):
        text = "".join(f"{delivery} {number} wörd " for number in range(1700)).strip()
        if delivery == "pasted":
            world.pell.stop()
            world.editor.clear()
            world.pell.set_default("injectionMode", "paste")
            world.pell.start("--hidden")
        world.answer(text)
        world.dictate()
        world.editor.wait_text(text)
        world.pell.wait_row(text, delivery)
