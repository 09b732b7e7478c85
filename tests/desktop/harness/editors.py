"""The programs that text is dictated into. All of them answer alike: `text()`, `state()`, `focus(field)`, `clear()`."""

import http.server
import json
import pathlib
import queue
import subprocess
import threading

from harness.keys import SHIFT_LEFT
from harness.processes import Failure, Skip, poll

PROGRAMS = pathlib.Path(__file__).resolve().parent.parent / "programs"


class Editor:
    """`delivery` is how text arrives here: "inserted" through accessibility, else "pasted"."""

    name = ""
    delivery = "pasted"

    def state(self):
        raise NotImplementedError

    def text(self):
        return self.state().get("text", "")

    def wait_text(self, expected, timeout=10.0):
        seen = lambda: f"{self.name} holding {expected!r}; it holds {self.text()!r}"
        poll(seen, lambda: self.text() == expected, timeout)

    def wait_focus(self, field="text"):
        seen = lambda: f"{self.name} with the focus in {field}; its state: {self.state()}"
        poll(seen, lambda: self.state().get("focus") == field and self.state().get("active"))


class OwnEditor(Editor):
    """One of programs/*_editor.py."""

    delivery = "inserted"

    def __init__(self, desktop, kind):
        self.name = f"the {kind.upper()} editor"
        self.file = desktop.folder / f"{kind}-editor.json"
        script = PROGRAMS / f"{kind}_editor.py"
        self.process = desktop.run(f"{kind}-editor", "/usr/bin/python3", script, self.file, stdin=subprocess.PIPE)
        poll(f"{self.name} starting; see {self.process.log}", self.file.exists)
        self.wait_focus()

    def state(self):
        return json.loads(self.file.read_text(encoding="utf-8"))

    def _tell(self, line):
        self.process.popen.stdin.write(line.encode() + b"\n")
        self.process.popen.stdin.flush()

    def focus(self, field):
        self._tell(f"focus {field}")
        self.wait_focus(field)

    def clear(self):
        self._tell("clear")
        self.wait_text("")


class Page:
    """A page with fields, on a port of its own, that reports what happens to it and takes commands."""

    def __init__(self):
        self.latest = {}
        self.commands = queue.Queue()
        page = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                if self.path != "/command":
                    return self.reply("text/html; charset=utf-8", (PROGRAMS / "page.html").read_bytes())
                try:
                    command = page.commands.get(timeout=20)
                except queue.Empty:
                    command = ""
                self.reply("text/plain", command.encode())

            def do_POST(self):
                page.latest = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
                self.reply("text/plain", b"")

            def reply(self, kind, body):
                self.send_response(200)
                self.send_header("Content-Type", kind)
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        self.address = f"http://127.0.0.1:{self.server.server_port}/"


class Browser(Editor):
    def __init__(self, desktop, keys):
        self.page = Page()
        self.launch(desktop)
        poll(f"{self.name} showing the page; see {self.process.log}", lambda: self.page.latest, 40)
        # A browser starts with the focus in its address bar, and loses what comes while it is still starting: click
        # into the text area and press a key that means nothing, until the page has seen it.
        poll(f"{self.name} taking keys", lambda: self._takes_keys(desktop, keys), 20, interval=0.1)
        self.wait_focus()

    def _takes_keys(self, desktop, keys):
        window = active_window(desktop.display, self.process.pid)
        if window and "Shift" not in self.state().get("keys", ""):
            x, y, width, height = window
            keys.click(x + width // 2, y + height - 80)
            keys.tap(SHIFT_LEFT)
        return "Shift" in self.state().get("keys", "")

    def state(self):
        return self.page.latest

    def focus(self, field):
        self.page.commands.put(f"focus {field}")
        self.wait_focus(field)

    def clear(self):
        self.page.commands.put("clear")
        self.wait_text("")


class Firefox(Browser):
    name = "Firefox"

    def launch(self, desktop):
        profile = desktop.folder / "firefox"
        profile.mkdir()
        # No first-run pages, and nothing but loopback: every other address goes to a proxy that is not there.
        settings = {
            "app.update.enabled": False,
            "browser.aboutwelcome.enabled": False,
            "browser.shell.checkDefaultBrowser": False,
            "browser.startup.homepage_override.mstone": "ignore",
            "browser.tabs.warnOnClose": False,
            "browser.sessionstore.resume_from_crash": False,
            "datareporting.policy.dataSubmissionEnabled": False,
            "datareporting.policy.dataSubmissionPolicyBypassNotification": True,
            "network.captive-portal-service.enabled": False,
            "network.connectivity-service.enabled": False,
            "network.proxy.type": 1,
            "network.proxy.http": "127.0.0.1",
            "network.proxy.http_port": 9,
            "network.proxy.ssl": "127.0.0.1",
            "network.proxy.ssl_port": 9,
            "signon.rememberSignons": False,
            "toolkit.telemetry.reportingpolicy.firstRun": False,
        }
        lines = [f"user_pref({json.dumps(name)}, {json.dumps(value)});" for name, value in settings.items()]
        (profile / "user.js").write_text("\n".join(lines) + "\n")
        # The content sandbox needs name spaces that a container may not give.
        env = {"MOZ_DISABLE_CONTENT_SANDBOX": "1", "MOZ_CRASHREPORTER_DISABLE": "1"}
        command = ["firefox-esr", "--no-remote", "--profile", profile, self.page.address]
        self.process = desktop.run("firefox", *command, env=env)


class Chromium(Browser):
    """With its pages on the accessibility bus from the start."""

    name = "Chromium"
    accessibility = ["--force-renderer-accessibility"]

    def launch(self, desktop):
        options = """--no-sandbox --no-first-run --no-default-browser-check --disable-background-networking
            --disable-component-update --disable-sync --disable-gpu --disable-dev-shm-usage --password-store=basic
            --proxy-server=http://127.0.0.1:9 --window-size=900,600
            --test-type --disable-features=Translate,MediaRouter"""
        profile = desktop.folder / "chromium"
        command = ["chromium", *options.split(), *self.accessibility, f"--user-data-dir={profile}", self.page.address]
        self.process = desktop.run("chromium", *command)


class PlainChromium(Chromium):
    """As anybody starts it: it shows its pages to nobody until it is asked."""

    name = "Chromium without options"
    accessibility = []


class Terminal(Editor):
    """xterm with a program that keeps every byte it is sent."""

    name = "the terminal"

    def __init__(self, desktop):
        self.file = desktop.folder / "terminal-input"
        self.file.touch()
        keep = f"stty raw -echo; exec cat >'{self.file}'"
        self.process = desktop.run("xterm", "xterm", "-e", "sh", "-c", keep)
        poll("the terminal's window", lambda: active_window(desktop.display, self.process.pid))

    def state(self):
        return {"text": self.file.read_bytes().decode(errors="replace"), "focus": "text", "active": True}


class PlainEditor(Editor):
    """An editor of the system, read through the accessibility bus."""

    def __init__(self, desktop, command, delivery):
        self.name = command
        self.delivery = delivery
        file = desktop.folder / f"{command}.txt"
        file.touch()
        self.process = desktop.run(command, command, file)
        self.tree = AccessibleText(self.process.pid)
        poll(f"{command} on the accessibility bus", lambda: self.tree.find() is not None, 20)
        poll(f"{command}'s window", lambda: active_window(desktop.display, self.process.pid))

    def state(self):
        return {"text": self.tree.read(), "focus": "text", "active": True}


class AccessibleText:
    """The largest text field of a program, as the accessibility bus shows it."""

    def __init__(self, pid):
        import gi

        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi

        self.atspi = Atspi
        self.pid = pid
        Atspi.set_timeout(2000, 2000)

    def find(self):
        desktop = self.atspi.get_desktop(0)
        for index in range(desktop.get_child_count()):
            application = desktop.get_child_at_index(index)
            try:
                if application and application.get_process_id() == self.pid:
                    return self._text_below(application)
            except Exception:  # a program that is just ending
                continue
        return None

    def _text_below(self, node):
        states = node.get_state_set()
        if node.get_text_iface() and states.contains(self.atspi.StateType.EDITABLE):
            if states.contains(self.atspi.StateType.MULTI_LINE):
                return node
        for index in range(node.get_child_count()):
            child = node.get_child_at_index(index)
            found = self._text_below(child) if child else None
            if found:
                return found
        return None

    def read(self):
        node = self.find()
        if node is None:
            raise Failure(f"process {self.pid} shows no text field")
        return self.atspi.Text.get_text(node, 0, self.atspi.Text.get_character_count(node))


def active_window(display, pid):
    """The place on the screen, as (x, y, width, height), of the active window if it is that process's."""
    root = display.screen().root
    property = root.get_full_property(display.intern_atom("_NET_ACTIVE_WINDOW"), 0)
    if not property or not property.value or not property.value[0]:
        return None
    try:
        window = display.create_resource_object("window", property.value[0])
        owner = window.get_full_property(display.intern_atom("_NET_WM_PID"), 0)
        if not owner or owner.value[0] != pid:
            return None
        size = window.get_geometry()
        place = window.translate_coords(root, 0, 0)
    except Exception:  # it has just gone
        return None
    return -place.x, -place.y, size.width, size.height


def make(desktop, keys, kind):
    """"gtk", "qt", "firefox", "chromium", "plain chromium", "terminal", or the name of an editor of the system."""
    if kind in ("gtk", "qt"):
        return OwnEditor(desktop, kind)
    makers = {
        "firefox": lambda: Firefox(desktop, keys),
        "chromium": lambda: Chromium(desktop, keys),
        "plain chromium": lambda: PlainChromium(desktop, keys),
        "terminal": lambda: Terminal(desktop),
        "mousepad": lambda: PlainEditor(desktop, "mousepad", "inserted"),
        "featherpad": lambda: PlainEditor(desktop, "featherpad", "inserted"),
    }
    try:
        return makers[kind]()
    except FileNotFoundError as error:
        raise Skip(f"{error.filename} is not installed") from None
