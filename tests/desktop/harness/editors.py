"""The programs that text is dictated into. All of them answer alike: `text()`, `state()`, `focus(field)`, `clear()`."""

import http.server
import json
import pathlib
import queue
import subprocess
import threading

from harness.keys import BACKSPACE, CONTROL_LEFT, SHIFT_LEFT
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
        script = PROGRAMS / f"{kind}_editor.py"
        pipes = {"stdin": subprocess.PIPE, "stdout": subprocess.PIPE}
        self.process = desktop.run(f"{kind}-editor", "/usr/bin/python3", script, **pipes)
        self.wait_focus()

    def state(self):
        return self.process.ask("state")

    def focus(self, field):
        self.process.ask("focus", field)
        self.wait_focus(field)

    def clear(self):
        self.process.ask("clear")
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
    """An editor of the system, read through the file that it saves."""

    delivery = "inserted"

    def __init__(self, desktop, keys, command):
        self.name = command
        self.keys = keys
        self.file = desktop.folder / f"{command}.txt"
        self.file.touch()
        self.process = desktop.run(command, command, self.file)
        poll(f"{command}'s window", lambda: active_window(desktop.display, self.process.pid), 20)
        poll(f"{command} taking keys", self._takes_keys, 20, interval=0.1)

    def _takes_keys(self):
        self.keys.type("x")
        return "x" in self.text()

    def state(self):
        self.keys.tap(CONTROL_LEFT, self.keys.code("s"))
        return {"text": self.file.read_text().removesuffix("\n"), "focus": "text", "active": True}

    def clear(self):
        self.keys.tap(CONTROL_LEFT, self.keys.code("a"))
        self.keys.tap(BACKSPACE)
        self.wait_text("")


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
    browsers = {"firefox": Firefox, "chromium": Chromium, "plain chromium": PlainChromium}
    try:
        if kind in ("gtk", "qt"):
            return OwnEditor(desktop, kind)
        if kind in browsers:
            return browsers[kind](desktop, keys)
        return Terminal(desktop) if kind == "terminal" else PlainEditor(desktop, keys, kind)
    except FileNotFoundError as error:
        raise Skip(f"{error.filename} is not installed") from None
