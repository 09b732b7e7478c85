#!/usr/bin/python3
"""A window with the text fields of Qt 6, under a menu bar with an Alt shortcut; steered as the GTK one is."""

import json
import sys

from PyQt6.QtCore import QSocketNotifier, Qt
from PyQt6.QtGui import QKeySequence, QTextCursor
from PyQt6.QtWidgets import (
    QApplication, QLineEdit, QMainWindow, QPlainTextEdit, QPushButton, QTextEdit, QVBoxLayout, QWidget,
)  # fmt: skip


def units(text):
    return len(text.encode("utf-16-le")) // 2


class Editor(QMainWindow):
    def __init__(self):
        super().__init__()
        self.fired = self.menus = 0
        self.setWindowTitle("Qt editor")
        self.resize(600, 400)
        menu = self.menuBar().addMenu("&File")
        menu.addAction("Act", lambda: self.count("fired")).setShortcut(QKeySequence("Alt+K"))
        menu.aboutToShow.connect(lambda: self.count("menus"))
        kinds = {"text": QTextEdit, "plain": QPlainTextEdit, "entry": QLineEdit, "secret": QLineEdit,
                 "readonly": QLineEdit, "button": QPushButton}  # fmt: skip
        self.fields = {name: kind() for name, kind in kinds.items()}
        self.field = self.fields["text"]
        self.field.setAcceptRichText(False)
        self.fields["secret"].setEchoMode(QLineEdit.EchoMode.Password)
        self.fields["readonly"].setReadOnly(True)
        middle = QWidget()
        box = QVBoxLayout(middle)
        for field in self.fields.values():
            box.addWidget(field)
        self.setCentralWidget(middle)
        self.notifier = QSocketNotifier(sys.stdin.fileno(), QSocketNotifier.Type.Read)
        self.notifier.activated.connect(self.read)
        self.showNormal()
        self.field.setFocus()

    def count(self, what):
        setattr(self, what, getattr(self, what) + 1)

    def read(self, *_):
        line = sys.stdin.readline()
        if not line:
            QApplication.quit()
            return
        name, *arguments = json.loads(line)
        print(json.dumps(operations[name](self, *arguments)), flush=True)

    def state(self):
        focus = QApplication.focusWidget()
        names = [name for name, field in self.fields.items() if field is focus]
        return {
            "text": self.fields["text"].toPlainText(),
            "secret": self.fields["secret"].text(),
            "focus": names[0] if names else (type(focus).__name__ if focus else ""),
            "active": QApplication.activeWindow() is self,
            "fired": self.fired,
            "menus": self.menus,
        }

    def show_field(self, name, text):
        self.field = self.fields[name]
        if isinstance(self.field, QLineEdit):
            self.field.setText(text)
        elif name != "button":
            self.field.setPlainText(text)
            self.field.moveCursor(QTextCursor.MoveOperation.End)
        self.showNormal()
        self.activateWindow()
        self.field.setFocus()

    def focus(self, name):
        self.fields[name].setFocus()

    def clear(self):
        self.fields["text"].clear()

    def select(self, start, length):
        text = self.text()
        first, last = units(text[:start]), units(text[: start + length])
        if isinstance(self.field, QLineEdit):
            self.field.setSelection(first, last - first)
        else:
            cursor = self.field.textCursor()
            cursor.setPosition(first)
            cursor.setPosition(last, QTextCursor.MoveMode.KeepAnchor)
            self.field.setTextCursor(cursor)

    def text(self):
        return self.field.text() if isinstance(self.field, QLineEdit) else self.field.toPlainText()

    def caret(self):
        """In code points."""
        is_line = isinstance(self.field, QLineEdit)
        position = self.field.cursorPosition() if is_line else self.field.textCursor().position()
        return len(self.text().encode("utf-16-le")[: 2 * position].decode("utf-16-le"))

    def active(self):
        return self.field.hasFocus()

    def iconify(self):
        self.showMinimized()


# Qt's own show and hide keep their meaning.
operations = {name: getattr(Editor, name) for name in ("state", "focus", "clear", "select", "text", "caret", "active")}
operations |= {"show": Editor.show_field, "hide": Editor.iconify}
application = QApplication(sys.argv[:1])
application.setApplicationName("qt-editor")
application.setDesktopFileName("qt-editor")
application.setAttribute(Qt.ApplicationAttribute.AA_DontUseNativeMenuBar)
editor = Editor()
sys.exit(application.exec())
