"""A window with a menu bar and a text area, of GTK 3 or Qt 6 by the first argument, steered as the editors are."""
import json
import signal
import sys


class GtkWindow:
    def __init__(self):
        import gi

        gi.require_version("Gtk", "3.0")
        from gi.repository import GLib, Gtk

        self.gtk, self.menus = Gtk, 0
        self.window = Gtk.Window(title="menus")
        self.view = Gtk.TextView()
        bar = Gtk.MenuBar()
        for name in ("_File", "_Edit"):
            item, menu = Gtk.MenuItem.new_with_mnemonic(name), Gtk.Menu()
            menu.append(Gtk.MenuItem.new_with_mnemonic("_Action"))
            menu.connect("show", self.opened)
            item.set_submenu(menu)
            bar.append(item)
        box = Gtk.Box(orientation=Gtk.Orientation.VERTICAL)
        box.pack_start(bar, False, False, 0)
        box.pack_start(self.view, True, True, 0)
        self.window.add(box)
        self.window.set_default_size(400, 200)
        self.window.show_all()
        self.view.grab_focus()
        GLib.io_add_watch(sys.stdin.fileno(), GLib.PRIORITY_DEFAULT, GLib.IO_IN | GLib.IO_HUP, lambda *_: answer(self))

    def opened(self, *_):
        self.menus += 1

    def text(self):
        buffer = self.view.get_buffer()
        return buffer.get_text(*buffer.get_bounds(), True)

    def focused(self):
        return self.window.is_active() and self.view.has_focus()

    def run(self):
        self.gtk.main()


class QtWindow:
    def __init__(self):
        from PyQt6.QtCore import QSocketNotifier
        from PyQt6.QtWidgets import QApplication, QMainWindow, QPlainTextEdit

        self.application, self.menus = QApplication(sys.argv), 0
        self.window, self.view = QMainWindow(), QPlainTextEdit()
        for name in ("&File", "&Edit"):
            menu = self.window.menuBar().addMenu(name)
            menu.addAction("&Action")
            menu.aboutToShow.connect(self.opened)
        self.window.setCentralWidget(self.view)
        self.window.show()
        self.view.setFocus()
        self.notifier = QSocketNotifier(sys.stdin.fileno(), QSocketNotifier.Type.Read)
        self.notifier.activated.connect(lambda *_: answer(self))

    def opened(self):
        self.menus += 1

    def text(self):
        return self.view.toPlainText()

    def focused(self):
        return self.window.isActiveWindow() and self.view.hasFocus()

    def run(self):
        self.application.exec()


def answer(window):
    line = sys.stdin.readline()
    if not line:
        sys.exit(0)
    name = json.loads(line)[0]
    value = window.menus if name == "menus" else getattr(window, name)()
    print(json.dumps(value), flush=True)
    return True


signal.signal(signal.SIGINT, signal.SIG_DFL)
{"gtk": GtkWindow, "qt": QtWindow}[sys.argv[1]]().run()
