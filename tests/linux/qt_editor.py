"""A window with the text fields of Qt 6, steered as the GTK one is."""
import json
import signal
import sys

from PyQt6.QtCore import QSocketNotifier
from PyQt6.QtGui import QTextCursor
from PyQt6.QtWidgets import QApplication, QLineEdit, QPlainTextEdit, QPushButton, QTextEdit, QVBoxLayout, QWidget


def units(text):
    return len(text.encode("utf-16-le")) // 2


class Editor:
    def __init__(self):
        self.window = QWidget()
        self.window.setWindowTitle("editor")
        self.box = QVBoxLayout(self.window)
        self.field = None
        self.window.show()
        self.notifier = QSocketNotifier(sys.stdin.fileno(), QSocketNotifier.Type.Read)
        self.notifier.activated.connect(self.read)

    def read(self, *_):
        line = sys.stdin.readline()
        if not line:
            QApplication.quit()
            return
        name, *arguments = json.loads(line)
        print(json.dumps(getattr(self, name)(*arguments)), flush=True)

    def show(self, kind, text):
        if self.field is not None:
            self.box.removeWidget(self.field)
            self.field.deleteLater()
        if kind == "button":
            self.field = QPushButton("Press")
        elif kind in ("view", "plain"):
            self.field = QTextEdit() if kind == "view" else QPlainTextEdit()
            self.field.setPlainText(text)
            self.field.moveCursor(QTextCursor.MoveOperation.End)
        else:
            self.field = QLineEdit(text)
            self.field.setReadOnly(kind == "readonly")
            if kind == "password":
                self.field.setEchoMode(QLineEdit.EchoMode.Password)
        self.box.addWidget(self.field)
        self.window.showNormal()
        self.window.activateWindow()
        self.field.show()  # a field that is not yet shown would not get the focus of a window that has it
        self.field.setFocus()
        return True

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
        return True

    def text(self):
        return self.field.text() if isinstance(self.field, QLineEdit) else self.field.toPlainText()

    def caret(self):
        """In code points."""
        if isinstance(self.field, QLineEdit):
            position = self.field.cursorPosition()
        else:
            position = self.field.textCursor().position()
        return len(self.text().encode("utf-16-le")[: 2 * position].decode("utf-16-le"))

    def active(self):
        return self.field is not None and self.field.hasFocus()

    def hide(self):
        self.window.showMinimized()
        return True


signal.signal(signal.SIGINT, signal.SIG_DFL)
application = QApplication(sys.argv)
editor = Editor()
sys.exit(application.exec())
