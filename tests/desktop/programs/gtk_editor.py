#!/usr/bin/python3
"""A window with the text fields of GTK 3, under a menu bar with an Alt shortcut. The Qt editor answers alike.

Steered by lines of JSON on standard input: each is [operation, argument...], and its answer is one line of JSON.
"""

import json
import sys

import gi

gi.require_version("Gtk", "3.0")
gi.require_version("Gdk", "3.0")
gi.require_version("GdkX11", "3.0")
from gi.repository import Gdk, GdkX11, GLib, Gtk  # noqa: E402


class Editor:
    def __init__(self):
        self.fired = self.menus = 0
        self.window = Gtk.Window(title="GTK editor")
        self.window.set_default_size(600, 400)
        self.window.set_wmclass("gtk-editor", "Gtk-editor")
        box = Gtk.Box(orientation=Gtk.Orientation.VERTICAL)
        self.window.add(box)
        box.add(self.menu_bar())
        self.field = view = Gtk.TextView(wrap_mode=Gtk.WrapMode.WORD_CHAR)
        scrolled = Gtk.ScrolledWindow(vexpand=True)
        scrolled.add(view)
        box.add(scrolled)
        secret = Gtk.Entry(visibility=False, input_purpose=Gtk.InputPurpose.PASSWORD)
        others = {"entry": Gtk.Entry(), "secret": secret, "readonly": Gtk.Entry(editable=False), "button": Gtk.Button()}
        for other in others.values():
            box.add(other)
        self.fields = {"text": view} | others
        self.window.connect("destroy", Gtk.main_quit)
        GLib.io_add_watch(sys.stdin.fileno(), GLib.PRIORITY_DEFAULT, GLib.IO_IN | GLib.IO_HUP, self.read)
        self.window.show_all()
        view.grab_focus()

    def menu_bar(self):
        accelerators = Gtk.AccelGroup()
        self.window.add_accel_group(accelerators)
        item = Gtk.MenuItem(label="Act")
        item.add_accelerator("activate", accelerators, Gdk.KEY_k, Gdk.ModifierType.MOD1_MASK, Gtk.AccelFlags.VISIBLE)
        item.connect("activate", self.count, "fired")
        menu = Gtk.Menu()
        menu.append(item)
        menu.connect("show", self.count, "menus")
        top = Gtk.MenuItem.new_with_mnemonic("_File")
        top.set_submenu(menu)
        bar = Gtk.MenuBar()
        bar.append(top)
        return bar

    def count(self, _, what):
        setattr(self, what, getattr(self, what) + 1)

    def read(self, *_):
        line = sys.stdin.readline()
        if not line:
            Gtk.main_quit()
            return False
        name, *arguments = json.loads(line)
        print(json.dumps(getattr(self, name)(*arguments)), flush=True)
        return True

    def state(self):
        focused = [name for name, field in self.fields.items() if field.is_focus()]
        return {
            "text": self.text("text"),
            "secret": self.text("secret"),
            "focus": focused[0] if focused else "",
            "active": self.window.is_active(),
            "fired": self.fired,
            "menus": self.menus,
        }

    def show(self, name, text):
        """Brings the window to the front, the focus into a field with this text, and the caret behind it."""
        self.field = self.fields[name]
        if name == "text":
            self.field.get_buffer().set_text(text)
        elif name != "button":
            self.field.set_text(text)
        self.window.deiconify()
        self.window.present_with_time(GdkX11.x11_get_server_time(self.window.get_window()))
        self.focus(name)
        if name not in ("text", "button"):
            self.field.set_position(-1)

    def focus(self, name):
        self.fields[name].grab_focus()

    def clear(self):
        self.fields["text"].get_buffer().set_text("")

    def select(self, start, length):
        if self.field is self.fields["text"]:
            buffer = self.field.get_buffer()
            # The caret is the end of the selection, as after dragging the mouse forwards.
            buffer.select_range(buffer.get_iter_at_offset(start + length), buffer.get_iter_at_offset(start))
        else:
            self.field.select_region(start, start + length)

    def text(self, name=None):
        field = self.fields[name] if name else self.field
        if isinstance(field, Gtk.TextView):
            return field.get_buffer().get_text(*field.get_buffer().get_bounds(), True)
        return field.get_text()

    def caret(self):
        if isinstance(self.field, Gtk.TextView):
            return self.field.get_buffer().get_property("cursor-position")
        return self.field.get_position()

    def active(self):
        return self.window.is_active()

    def hide(self):
        self.window.iconify()


Editor()
Gtk.main()
