#!/usr/bin/python3
"""Another program's clipboard: owns selections, well or badly, and asks for them. Shares no code with the product's side.

Steered as the editors are: lines of JSON, each [operation, argument...], and an answer to each. Bytes go as base64.
With the file of a picture as argument, it first offers that as GTK programs do, in every format that they can write.
"""

import array
import base64
import collections
import json
import os
import select
import sys
import time

from Xlib import X, Xatom
from Xlib.display import Display
from Xlib.protocol import event

WIDTHS = {16: "H", 32: "I"}


class Peer:
    def __init__(self):
        self.display = Display()
        self.window = new_window(self.display)
        self.content = {}  # target -> (type, width, bytes)
        self.sending = {}  # (window id, property) -> what is still to be sent

    def own(self, content, selection="CLIPBOARD", piece=200_000, answers=True, pieces=-1, pause=0):
        """`content` is target -> [type, width, bytes]; what is longer than a piece goes in pieces (INCR), after so many
        of which the owner goes away."""
        self.content = {name: (kind or name, width, base64.b64decode(data)) for name, (kind, width, data) in content.items()}
        self.piece, self.answering, self.pieces, self.pause = piece, answers, pieces, pause
        self.asked = collections.Counter()
        self.window.set_selection_owner(self.display.intern_atom(selection), X.CurrentTime)
        self.display.sync()

    def stop_answering(self):
        self.answering = False

    def requests(self):
        return self.asked

    def ask(self, target, selection="CLIPBOARD"):
        """[type, width, bytes] of what a target holds; null if it is refused or nobody answers."""
        display = Display()
        window, place = new_window(display), display.intern_atom("PEER_DATA")
        names = [display.intern_atom(name) for name in (selection, target)]
        window.convert_selection(*names, place, X.CurrentTime)
        answer = self.wait(display, lambda happening: happening.type == X.SelectionNotify)
        if not answer or answer.property == X.NONE:
            return None
        kind, width, whole = take(display, window, place)
        data = kind == "INCR"
        whole = b"" if data else whole
        while data:
            arrived = lambda happening: happening.type == X.PropertyNotify and happening.state == X.PropertyNewValue
            if not self.wait(display, arrived):
                return None
            if part := take(display, window, place):
                kind, width, data = part
                whole += data
        return [kind, width, base64.b64encode(whole).decode()]

    def wait(self, display, wanted):
        """The next event that is wanted; what is asked of us meanwhile is answered."""
        end = time.monotonic() + 5
        while time.monotonic() < end:
            while display.pending_events():
                happening = display.next_event()
                if wanted(happening):
                    return happening
            self.serve()
            select.select([display.fileno(), self.display.fileno()], [], [], 0.05)
        return None

    def serve(self):
        while self.display.pending_events():
            happening = self.display.next_event()
            if happening.type == X.SelectionRequest and self.answering:
                self.answer(happening)
            elif happening.type == X.PropertyNotify and happening.state == X.PropertyDelete:
                self.send_piece(happening.window, happening.atom)

    def answer(self, request):
        name = self.display.get_atom_name(request.target)
        self.asked[name] += 1
        place = request.property or request.target
        if not self.put(request.requestor, place, name):
            place = X.NONE
        told = {key: getattr(request, key) for key in ("time", "requestor", "selection", "target")}
        request.requestor.send_event(event.SelectionNotify(property=place, **told))
        self.display.flush()

    def put(self, window, place, name):
        if name == "TARGETS":
            names = ["TARGETS", "TIMESTAMP", "MULTIPLE", "DELETE", *self.content]
            atoms = [self.display.intern_atom(each) for each in names]
            window.change_property(place, Xatom.ATOM, 32, atoms)
        elif name not in self.content:
            return False
        elif len(self.content[name][2]) <= self.piece:
            self.write(window, place, *self.content[name])
        else:
            window.change_attributes(event_mask=X.PropertyChangeMask)
            window.change_property(place, self.display.intern_atom("INCR"), 32, [len(self.content[name][2])])
            self.sending[(window.id, place)] = self.content[name]
        return True

    def write(self, window, place, kind, width, data):
        units = array.array(WIDTHS[width], data) if width in WIDTHS else data
        window.change_property(place, self.display.intern_atom(kind), width, units)

    def send_piece(self, window, place):
        if (window.id, place) not in self.sending:
            return
        if self.pieces == 0:
            os._exit(0)
        self.pieces -= 1
        time.sleep(self.pause)
        kind, width, rest = self.sending[(window.id, place)]
        self.write(window, place, kind, width, rest[: self.piece])
        self.display.flush()
        self.sending[(window.id, place)] = (kind, width, rest[self.piece :])
        if not rest:
            del self.sending[(window.id, place)]

    def run(self):
        while True:
            self.serve()
            ready, _, _ = select.select([self.display.fileno(), sys.stdin], [], [], 0.1)
            if sys.stdin in ready:
                line = sys.stdin.readline()
                if not line:
                    return
                name, *arguments = json.loads(line)
                print(json.dumps(getattr(self, name)(*arguments)), flush=True)


def new_window(display):
    screen = display.screen()
    return screen.root.create_window(0, 0, 1, 1, 0, screen.root_depth, event_mask=X.PropertyChangeMask)


def take(display, window, place):
    """(type, width, bytes) of the property, which is deleted."""
    found = window.get_full_property(place, X.AnyPropertyType)
    if not found:
        return None
    window.delete_property(place)
    display.flush()
    data = found.value if isinstance(found.value, bytes) else found.value.tobytes()
    return display.get_atom_name(found.property_type), found.format, data


def hold_picture(file):
    import gi

    gi.require_version("Gtk", "3.0")
    from gi.repository import Gdk, GdkPixbuf, GLib, Gtk

    clipboard = Gtk.Clipboard.get(Gdk.SELECTION_CLIPBOARD)
    clipboard.set_image(GdkPixbuf.Pixbuf.new_from_file(file))
    GLib.idle_add(lambda: print("null", flush=True), priority=GLib.PRIORITY_LOW)
    Gtk.main()


if len(sys.argv) > 1:
    hold_picture(sys.argv[1])
else:
    Peer().run()
