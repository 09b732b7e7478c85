#!/usr/bin/python3
"""A window with one GTK text view. Prints the number of characters in it at each change; "clear" on standard input
empties it, "text" prints the whole of it as a JSON string."""

import json
import os
import sys

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import GLib, Gtk  # noqa: E402

window = Gtk.Window(title="Text field")
window.set_default_size(700, 500)
view = Gtk.TextView()
view.set_wrap_mode(Gtk.WrapMode.WORD_CHAR)
scrolled = Gtk.ScrolledWindow()
scrolled.add(view)
window.add(scrolled)
text = view.get_buffer()


def steer(*_):
    commands = os.read(sys.stdin.fileno(), 4096).split()  # several may have come at once
    for command in commands:
        if command == b"clear":
            text.set_text("")
        else:
            print(json.dumps(text.get_text(*text.get_bounds(), True)), flush=True)
    if not commands:
        Gtk.main_quit()
    return bool(commands)


text.connect("changed", lambda *_: print(text.get_char_count(), flush=True))
GLib.io_add_watch(sys.stdin.fileno(), GLib.PRIORITY_DEFAULT, GLib.IO_IN | GLib.IO_HUP, steer)
window.show_all()
view.grab_focus()
Gtk.main()
