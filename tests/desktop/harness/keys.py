"""The keyboard and the mouse, by XTEST. Keys go by key code: xdotool's names press companions along with them."""

import contextlib
import time

from Xlib import XK, X
from Xlib.ext import xtest

ALT_LEFT, ALT_RIGHT, SUPER_RIGHT, CONTROL_LEFT, SHIFT_LEFT = 64, 108, 134, 37, 50
ESCAPE, SPACE, RETURN, BACKSPACE, NUM_LOCK = 9, 65, 36, 22, 77


class Keyboard:
    def __init__(self, display):
        self.display = display

    def press(self, code):
        xtest.fake_input(self.display, X.KeyPress, code)
        self.display.sync()

    def release(self, code):
        xtest.fake_input(self.display, X.KeyRelease, code)
        self.display.sync()

    def tap(self, *codes, seconds=0.0):
        """Presses the codes in order and releases them in the opposite one; `seconds` is how long they stay down."""
        with self.held(*codes):
            if seconds:
                time.sleep(seconds)

    @contextlib.contextmanager
    def held(self, *codes):
        for code in codes:
            self.press(code)
        try:
            yield
        finally:
            for code in reversed(codes):
                self.release(code)

    def code(self, character):
        name = {" ": "space", ".": "period", "\n": "Return"}.get(character, character)
        return self.display.keysym_to_keycode(XK.string_to_keysym(name))

    def type(self, text):
        """Lower-case letters, digits and blanks."""
        for character in text:
            self.tap(self.code(character))

    def click(self, x, y):
        xtest.fake_input(self.display, X.MotionNotify, x=x, y=y)
        for kind in (X.ButtonPress, X.ButtonRelease):
            xtest.fake_input(self.display, kind, 1)
        self.display.sync()
