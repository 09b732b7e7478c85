#!/usr/bin/python3
"""Holds the clipboard until it is ended. Says "ready" when it does.

clipboard_owner.py FORMAT=FILE...    offers the files' bytes under those formats, large ones in pieces (INCR)
clipboard_owner.py image FILE        offers a picture as GTK programs do, in every format that they can write
"""

import pathlib
import sys

from Xlib import X, Xatom
from Xlib.display import Display
from Xlib.protocol import event

PIECE = 60_000  # well below what any X server takes in one request


class Owner:
    def __init__(self, content):
        self.display = Display()
        screen = self.display.screen()
        self.window = screen.root.create_window(0, 0, 1, 1, 0, screen.root_depth)
        self.content = {self.atom(name): data for name, data in content.items()}
        self.running = {}  # (window id, property) -> what is still to be sent, and its format
        self.selection = self.atom("CLIPBOARD")
        self.window.set_selection_owner(self.selection, X.CurrentTime)
        self.display.sync()

    def atom(self, name):
        return self.display.intern_atom(name)

    def run(self):
        while True:
            happening = self.display.next_event()
            if happening.type == X.SelectionRequest:
                self.answer(happening)
            elif happening.type == X.SelectionClear:
                return
            elif happening.type == X.PropertyNotify and happening.state == X.PropertyDelete:
                self.send_piece(happening.window, happening.atom)

    def answer(self, request):
        property = request.property or request.target
        if not self.put(request.requestor, property, request.target):
            property = X.NONE
        reply = event.SelectionNotify(
            time=request.time,
            requestor=request.requestor,
            selection=request.selection,
            target=request.target,
            property=property,
        )
        request.requestor.send_event(reply)
        self.display.flush()

    def put(self, window, property, target):
        if target == self.atom("TARGETS"):
            window.change_property(property, Xatom.ATOM, 32, [target, *self.content])
            return True
        data = self.content.get(target)
        if data is None:
            return False
        if len(data) <= 4 * PIECE:
            window.change_property(property, target, 8, data)
            return True
        window.change_attributes(event_mask=X.PropertyChangeMask)
        window.change_property(property, self.atom("INCR"), 32, [len(data)])
        self.running[(window.id, property)] = (data, target)
        return True

    def send_piece(self, window, property):
        rest, target = self.running.get((window.id, property), (None, None))
        if rest is None:
            return
        window.change_property(property, target, 8, rest[:PIECE])
        self.display.flush()
        if rest:
            self.running[(window.id, property)] = (rest[PIECE:], target)
        else:
            del self.running[(window.id, property)]


def hold_picture(file):
    import gi

    gi.require_version("Gtk", "3.0")
    from gi.repository import Gdk, GdkPixbuf, GLib, Gtk

    clipboard = Gtk.Clipboard.get(Gdk.SELECTION_CLIPBOARD)
    clipboard.set_image(GdkPixbuf.Pixbuf.new_from_file(file))
    GLib.idle_add(print, "ready", priority=GLib.PRIORITY_LOW)
    Gtk.main()


if __name__ == "__main__":
    sys.stdout.reconfigure(line_buffering=True)
    if sys.argv[1] == "image":
        hold_picture(sys.argv[2])
    else:
        pairs = (argument.partition("=") for argument in sys.argv[1:])
        owner = Owner({name: pathlib.Path(file).read_bytes() for name, _, file in pairs})
        print("ready")
        owner.run()
