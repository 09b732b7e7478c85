"""Text that goes by the clipboard, and what was on the clipboard before."""

import random
import subprocess

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


def held_clipboard(world, kind):
    if kind == "picture":  # a PNG of about a megabyte
        file = world.folder / "picture.png"
        subprocess.run(["convert", "-size", "640x540", "plasma:red-blue", str(file)], check=True, timeout=60)
        return clipboard.Owner(world.desktop, picture=file)
    bytes_of = random.Random(kind).randbytes
    contents = {
        "files": {
            "text/uri-list": b"file:///etc/hostname\r\nfile:///etc/hosts\r\n",
            "x-special/gnome-copied-files": b"copy\nfile:///etc/hostname\nfile:///etc/hosts",
        },
        "large": {"application/x-pell-test": bytes_of(3_000_000), "text/html": bytes_of(1_000_000)},
    }
    return clipboard.Owner(world.desktop, contents[kind])


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


@scenario(over=["gtk", "qt"], limit=90)
def five_thousand_words(world, kind):
    world.setup(editor=kind)
    for delivery in ("inserted", "pasted"):
        text = "".join(f"{delivery} {number} wörd " for number in range(1700)).strip()
        if delivery == "pasted":
            world.pell.stop()
            world.pell.set_default("injectionMode", "paste")
            world.restart()
        world.answer(text)
        world.dictate()
        world.editor.wait_text(text)
        world.pell.wait_row(text, delivery)
