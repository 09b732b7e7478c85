#!/usr/bin/python3
"""A Qt editor for the scenarios: the same fields, state file and steering as the GTK one."""

import json
import os
import sys

from PyQt6.QtCore import QSocketNotifier, Qt
from PyQt6.QtGui import QAction, QKeySequence
from PyQt6.QtWidgets import QApplication, QLineEdit, QMainWindow, QTextEdit, QVBoxLayout, QWidget


class Editor(QMainWindow):
    def __init__(self, path):
        super().__init__()
        self.path = path
        self.fired = 0
        self.menu_shown = 0
        self.setWindowTitle("Qt editor")
        self.resize(600, 400)
        menu = self.menuBar().addMenu("&File")
        action = QAction("Act", self)
        action.setShortcut(QKeySequence("Alt+K"))
        action.triggered.connect(self._act)
        menu.addAction(action)
        menu.aboutToShow.connect(self._menu_opened)
        self.view = QTextEdit()
        self.view.setAcceptRichText(False)
        self.entry = QLineEdit()
        self.secret = QLineEdit()
        self.secret.setEchoMode(QLineEdit.EchoMode.Password)
        self.fields = {"text": self.view, "entry": self.entry, "secret": self.secret}
        box = QVBoxLayout()
        for field in self.fields.values():
            box.addWidget(field)
        middle = QWidget()
        middle.setLayout(box)
        self.setCentralWidget(middle)
        self.view.textChanged.connect(self.save)
        self.entry.textChanged.connect(self.save)
        self.secret.textChanged.connect(self.save)
        QApplication.instance().focusChanged.connect(lambda *_: self.save())
        self.notifier = QSocketNotifier(sys.stdin.fileno(), QSocketNotifier.Type.Read)
        self.notifier.activated.connect(self._steer)
        self.show()
        self.view.setFocus()
        self.save()

    def _act(self):
        self.fired += 1
        self.save()

    def _menu_opened(self):
        self.menu_shown += 1
        self.save()

    def _steer(self):
        line = sys.stdin.readline()
        if not line:
            self.notifier.setEnabled(False)
            return
        command = line.split()
        if command[0] == "focus":
            self.fields[command[1]].setFocus()
        elif command[0] == "clear":
            for field in self.fields.values():
                field.clear()
        self.save()

    def save(self):
        focus = QApplication.focusWidget()
        names = [name for name, field in self.fields.items() if field is focus]
        state = {
            "text": self.view.toPlainText(),
            "entry": self.entry.text(),
            "secret": self.secret.text(),
            "focus": names[0] if names else (type(focus).__name__ if focus else ""),
            "active": QApplication.activeWindow() is self,
            "fired": self.fired,
            "menus": self.menu_shown,
        }
        with open(self.path + ".new", "w", encoding="utf-8", newline="") as file:
            json.dump(state, file)
        os.replace(self.path + ".new", self.path)


application = QApplication(sys.argv[:1])
application.setApplicationName("qt-editor")
application.setDesktopFileName("qt-editor")
application.setAttribute(Qt.ApplicationAttribute.AA_DontUseNativeMenuBar)
editor = Editor(sys.argv[1])
sys.exit(application.exec())
