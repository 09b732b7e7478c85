"""A window with the text fields of GTK 3, steered by lines of JSON on standard input.

Each command is [name, argument...]; the answer is one JSON value.
"""
import json
import signal
import sys

import gi

gi.require_version("Gtk", "3.0")
gi.require_version("GdkX11", "3.0")
from gi.repository import GdkX11, GLib, Gtk  # noqa: E402


class Editor:
    def __init__(self):
        self.window = Gtk.Window(title="editor")
        self.box = Gtk.Box(orientation=Gtk.Orientation.VERTICAL)
        self.window.add(self.box)
        self.field = None
        self.window.show_all()
        GLib.io_add_watch(sys.stdin.fileno(), GLib.PRIORITY_DEFAULT, GLib.IO_IN | GLib.IO_HUP, self.read)

    def read(self, *_):
        line = sys.stdin.readline()
        if not line:
            Gtk.main_quit()
            return False
        name, *arguments = json.loads(line)
        print(json.dumps(getattr(self, name)(*arguments)), flush=True)
        return True

    def show(self, kind, text):
        """Puts a new field in the place of the last one, and the caret behind its text."""
        for child in self.box.get_children():
            self.box.remove(child)
        if kind == "view":
            self.field = Gtk.TextView()
            self.field.get_buffer().set_text(text)
        elif kind == "button":
            self.field = Gtk.Button(label="Press")
        else:
            self.field = Gtk.Entry(text=text, visibility=kind != "password", editable=kind != "readonly")
        self.box.pack_start(self.field, True, True, 0)
        self.window.show_all()
        self.window.deiconify()
        self.window.present_with_time(GdkX11.x11_get_server_time(self.window.get_window()))
        self.field.grab_focus()
        if kind not in ("button", "view"):
            self.field.set_position(-1)
        return True

    def select(self, start, length):
        if isinstance(self.field, Gtk.TextView):
            buffer = self.field.get_buffer()
            # The caret is the end of the selection, as after dragging the mouse forwards.
            buffer.select_range(buffer.get_iter_at_offset(start + length), buffer.get_iter_at_offset(start))
        else:
            self.field.select_region(start, start + length)
        return True

    def text(self):
        if isinstance(self.field, Gtk.TextView):
            buffer = self.field.get_buffer()
            return buffer.get_text(*buffer.get_bounds(), True)
        return self.field.get_text()

    def caret(self):
        if isinstance(self.field, Gtk.TextView):
            return self.field.get_buffer().get_property("cursor-position")
        return self.field.get_position()

    def active(self):
        return self.window.is_active()

    def hide(self):
        self.window.iconify()
        return True


signal.signal(signal.SIGINT, signal.SIG_DFL)
Editor()
Gtk.main()
