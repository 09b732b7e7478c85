#!/usr/bin/python3
"""A GTK editor for the scenarios: a text view, an entry and a password entry, under a menu bar with an Alt shortcut.

Writes its state as one JSON object to the file that is named by its argument, whenever it changes. Lines on standard
input steer it: "focus NAME" and "clear".
"""

import json
import os
import sys

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, GLib, Gtk  # noqa: E402


class Editor:
    def __init__(self, path):
        self.path = path
        self.fired = 0
        self.menu_shown = 0
        self.window = Gtk.Window(title="GTK editor")
        self.window.set_default_size(600, 400)
        self.window.set_wmclass("gtk-editor", "Gtk-editor")
        box = Gtk.Box(orientation=Gtk.Orientation.VERTICAL)
        self.window.add(box)
        box.add(self._menu_bar())
        self.view = Gtk.TextView()
        self.view.set_wrap_mode(Gtk.WrapMode.WORD_CHAR)
        scrolled = Gtk.ScrolledWindow(vexpand=True)
        scrolled.add(self.view)
        box.add(scrolled)
        self.entry = Gtk.Entry()
        self.secret = Gtk.Entry(visibility=False)
        self.secret.set_input_purpose(Gtk.InputPurpose.PASSWORD)
        box.add(self.entry)
        box.add(self.secret)
        self.fields = {"text": self.view, "entry": self.entry, "secret": self.secret}
        self.view.get_buffer().connect("changed", self.save)
        for name in ("entry", "secret"):
            self.fields[name].connect("changed", self.save)
        self.window.connect("set-focus", lambda *_: GLib.idle_add(self.save))
        self.window.connect("notify::is-active", self.save)
        self.window.connect("destroy", Gtk.main_quit)
        GLib.io_add_watch(sys.stdin.fileno(), GLib.IO_IN | GLib.IO_HUP, self._steer)
        self.window.show_all()
        self.view.grab_focus()
        self.save()

    def _menu_bar(self):
        accelerators = Gtk.AccelGroup()
        self.window.add_accel_group(accelerators)
        menu = Gtk.Menu()
        item = Gtk.MenuItem(label="Act")
        item.add_accelerator("activate", accelerators, Gdk.KEY_k, Gdk.ModifierType.MOD1_MASK, Gtk.AccelFlags.VISIBLE)
        item.connect("activate", self._act)
        menu.append(item)
        menu.connect("show", self._menu_opened)
        top = Gtk.MenuItem.new_with_mnemonic("_File")
        top.set_submenu(menu)
        bar = Gtk.MenuBar()
        bar.append(top)
        return bar

    def _act(self, *_):
        self.fired += 1
        self.save()

    def _menu_opened(self, *_):
        self.menu_shown += 1
        self.save()

    def _steer(self, *_):
        line = sys.stdin.readline()
        if not line:
            return False
        command = line.split()
        if command[0] == "focus":
            self.fields[command[1]].grab_focus()
        elif command[0] == "clear":
            self.view.get_buffer().set_text("")
            self.entry.set_text("")
            self.secret.set_text("")
        self.save()
        return True

    def save(self, *_):
        buffer = self.view.get_buffer()
        focused = [name for name, field in self.fields.items() if field.is_focus()]
        state = {
            "text": buffer.get_text(buffer.get_start_iter(), buffer.get_end_iter(), True),
            "entry": self.entry.get_text(),
            "secret": self.secret.get_text(),
            "focus": focused[0] if focused else "",
            "active": self.window.is_active(),
            "fired": self.fired,
            "menus": self.menu_shown,
        }
        with open(self.path + ".new", "w", encoding="utf-8", newline="") as file:
            json.dump(state, file)
        os.replace(self.path + ".new", self.path)
        return False


Editor(sys.argv[1])
Gtk.main()
