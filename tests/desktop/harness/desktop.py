"""A private desktop: X server, window manager, session bus, accessibility, sound and keyring of its own.

What is played on the sink "speaker" is heard on the source "microphone", which is the default. Programs' own
sounds go to the sink "cues", which nobody hears.
"""

import contextlib
import dataclasses
import os
import pathlib
import subprocess
import uuid

from harness.processes import Failure, Process, end_marked, poll

KEYRING_PASSWORD = "keyring"  # lower-case letters: a scenario types it
MARK = "PELL_PRIVATE_DESKTOP"
SERVICES = pathlib.Path("/usr/share/dbus-1/services")
# Settings of the caller's own desktop; none of them may lead a program out of the private one.
INHERITED = """
    DISPLAY WAYLAND_DISPLAY XAUTHORITY DBUS_SESSION_BUS_ADDRESS AT_SPI_BUS_ADDRESS NO_AT_BRIDGE GTK_MODULES
    QT_QPA_PLATFORM QT_LINUX_ACCESSIBILITY_ALWAYS_ON QT_ACCESSIBILITY GDK_BACKEND SESSION_MANAGER DESKTOP_STARTUP_ID
    XDG_CONFIG_HOME XDG_DATA_HOME XDG_CACHE_HOME XDG_STATE_HOME XDG_CURRENT_DESKTOP PULSE_SINK PULSE_SOURCE
    GNOME_KEYRING_CONTROL SSH_AUTH_SOCK http_proxy https_proxy HTTP_PROXY HTTPS_PROXY ALL_PROXY all_proxy
""".split()

# No keys of the window manager's own: its Alt+Escape would take the focus away from the scenario's program.
OPENBOX = """<openbox_config xmlns="http://openbox.org/3.4/rc">
  <focus><focusNew>yes</focusNew></focus>
  <mouse><context name="Client">
    <mousebind button="Left" action="Press"><action name="Focus"/><action name="Raise"/></mousebind>
  </context></mouse>
</openbox_config>
"""


@dataclasses.dataclass
class Parts:
    """Which parts a desktop has. `accessibility` is "on", "off" (there, but switched off) or "none"."""

    accessibility: str = "on"
    audio: bool = True
    keyring: bool = True
    tray: bool = False


class Desktop:
    """Parts come up in `start` and go down in `close`, newest first. `env` is for programs of this desktop."""

    def __init__(self, folder, parts=Parts()):
        self.folder = pathlib.Path(folder)
        self.parts = parts
        self.processes = []
        self.id = uuid.uuid4().hex
        self.home = self.folder / "home"
        self.runtime = self.folder / "runtime"
        self.logs = self.folder / "log"
        for path in (self.folder, self.home, self.runtime, self.logs):
            path.mkdir(mode=0o700, parents=True, exist_ok=True)
        self.env = {name: value for name, value in os.environ.items() if name not in INHERITED}
        self.env |= {
            "HOME": str(self.home),
            "XDG_RUNTIME_DIR": str(self.runtime),
            "XDG_SESSION_TYPE": "x11",
            "LANG": "C.UTF-8",
            "LC_ALL": "C.UTF-8",
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={self.runtime}/bus",
            "PULSE_SERVER": f"unix:{self.runtime}/pulse.sock",
            # One registry for all desktops of a run: a fresh one costs half a second in each program.
            "GST_REGISTRY": str(shared_cache() / "gstreamer.registry"),
            MARK: self.id,
        }

    def __enter__(self):
        try:
            self.start()
        except BaseException:
            self.close()
            raise
        return self

    def __exit__(self, *_):
        self.close()

    def start(self):
        self._start_display()
        self._start_bus()
        # These come up side by side and are waited for together.
        waits = []
        config = self.folder / "openbox.xml"
        config.write_text(OPENBOX)
        self.run("openbox", "openbox", "--sm-disable", "--config-file", config)
        waits.append(("the window manager", self._has_window_manager))
        if self.parts.accessibility != "none":
            switch = "1" if self.parts.accessibility == "on" else "0"
            self.run("a11y", "/usr/libexec/at-spi-bus-launcher", "--launch-immediately", f"--a11y={switch}")
            waits.append(("the accessibility bus", lambda: self.owns("org.a11y.Bus")))
        if self.parts.audio:
            self.start_audio()
            waits.append(("the microphone", self.has_microphone))
        if self.parts.keyring:
            self._start_keyring()
            waits.append(("the keyring", self._has_keyring))
        for what, test in waits:
            poll(f"{what} coming up; see {self.logs}", test)
        if self.parts.tray:
            self.run("trayer", "trayer", "--edge", "bottom", "--widthtype", "request")
            poll("the tray", lambda: self.atom_owner("_NET_SYSTEM_TRAY_S0"))

    def close(self):
        if display := self.__dict__.pop("display", None):
            display.close()
        for process in reversed(self.processes):
            process.stop()
        self.processes.clear()
        end_marked(f"{MARK}={self.id}")

    def run(self, name, *command, **options):
        """Starts a program of this desktop, its output in log/NAME; it ends with the desktop."""
        env = self.env | options.pop("env", {})
        process = Process(name, command, self.logs / name, env=env, **options)
        self.processes.append(process)
        return process

    def output(self, *command, **options):
        """What a short command prints. Its failure is ours."""
        done = subprocess.run(command, env=self.env, capture_output=True, timeout=15, **options)
        if done.returncode:
            raise Failure(f"{' '.join(command)}: exit {done.returncode}: {done.stderr.decode(errors='replace')}")
        return done.stdout.decode(errors="replace")

    def gdbus(self, name, path, method, *arguments):
        command = ["gdbus", "call", "--session", "--timeout", "5", "--dest", name, "--object-path", path]
        return self.output(*command, "--method", method, *arguments)

    def owns(self, name):
        bus = ("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.NameHasOwner")
        with contextlib.suppress(Failure):
            return "true" in self.gdbus(*bus, name)
        return False

    def atom_owner(self, name):
        from Xlib import X

        owner = self.display.get_selection_owner(self.display.intern_atom(name))
        return owner != X.NONE

    def switch_accessibility(self, on):
        """What the desktop's own settings do when the user allows assistive programs."""
        value = f"<{'true' if on else 'false'}>"
        properties = ("org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties.Set")
        self.gdbus(*properties, "org.a11y.Status", "IsEnabled", value)

    # Sound ---------------------------------------------------------------------------------------------------

    def start_audio(self):
        script = self.folder / "pulse.pa"
        # norewinds bounds the sink's blocks: without it a new recording hears nothing for up to two seconds.
        script.write_text(
            f"load-module module-native-protocol-unix auth-anonymous=1 socket={self.runtime}/pulse.sock\n"
            "load-module module-null-sink sink_name=speaker rate=48000 norewinds=1\n"
            "load-module module-null-sink sink_name=cues rate=48000\n"
            "load-module module-remap-source source_name=microphone master=speaker.monitor\n"
            "set-default-source microphone\n"
            "set-default-sink cues\n"
        )
        options = "--daemonize=no --use-pid-file=no --exit-idle-time=-1 --disable-shm=yes --realtime=no"
        self.audio = self.run("pulse", "pulseaudio", "-n", "-F", script, *options.split(), "--high-priority=no")

    def has_microphone(self):
        with contextlib.suppress(Failure):
            return self.output("pactl", "get-default-source").strip() == "microphone"
        return False

    def recording_streams(self):
        """The names of the programs that record at this moment."""
        text = self.output("pactl", "list", "source-outputs")
        wanted = ("application.name = ", "application.process.binary = ")
        return [line.strip() for line in text.splitlines() if line.strip().startswith(wanted)]

    # The pieces ----------------------------------------------------------------------------------------------

    def _start_display(self):
        import Xlib.display

        reading, writing = os.pipe()
        command = ["Xvfb", "-displayfd", str(writing), "-screen", "0", "1280x800x24", "-noreset", "-nolisten", "tcp"]
        process = self.run("xvfb", *command, pass_fds=(writing,))
        os.close(writing)
        with os.fdopen(reading) as numbers:
            os.set_blocking(reading, False)
            number = poll("the X server", lambda: self._line(numbers, process))
        self.env["DISPLAY"] = f":{number}"
        self.display = poll("the X server's answer", lambda: _open_display(Xlib.display, f":{number}"))

    def _line(self, stream, process):
        if not process.running():
            raise Failure(f"{process.name} ended: {process.log.read_text(errors='replace')}")
        with contextlib.suppress(TypeError, BlockingIOError):
            return stream.readline().strip()
        return ""

    def _start_bus(self):
        """The bus starts services on demand, so a part that is left out must not be among its services."""
        services = self.folder / "services"
        services.mkdir()
        left_out = set()
        if self.parts.accessibility == "none":
            left_out.add("org.a11y.Bus.service")
        if not self.parts.keyring:
            left_out |= {"org.freedesktop.secrets.service", "org.gnome.keyring.service"}
        for file in SERVICES.glob("*.service"):
            if file.name not in left_out:
                (services / file.name).symlink_to(file)
        config = self.folder / "bus.conf"
        config.write_text(
            "<busconfig><type>session</type>"
            f"<listen>{self.env['DBUS_SESSION_BUS_ADDRESS']}</listen><servicedir>{services}</servicedir>"
            '<policy context="default"><allow send_destination="*" eavesdrop="true"/>'
            '<allow eavesdrop="true"/><allow own="*"/></policy></busconfig>'
        )
        self.run("dbus", "dbus-daemon", f"--config-file={config}", "--nofork", "--nopidfile")
        poll("the session bus", (self.runtime / "bus").is_socket)

    def _start_keyring(self):
        password = self.folder / "keyring-password"
        password.write_text(KEYRING_PASSWORD)
        with password.open("rb") as source:
            self.run("keyring", "gnome-keyring-daemon", "--foreground", "--unlock", "--components=secrets", stdin=source)

    def _has_window_manager(self):
        atom = self.display.intern_atom("_NET_SUPPORTING_WM_CHECK")
        return self.display.screen().root.get_full_property(atom, 0)

    def _has_keyring(self):
        if not self.owns("org.freedesktop.secrets"):
            return False
        service = ("org.freedesktop.secrets", "/org/freedesktop/secrets", "org.freedesktop.Secret.Service.ReadAlias")
        with contextlib.suppress(Failure):
            return "login" in self.gdbus(*service, "default")
        return False

    def screenshot(self, path):
        """The whole screen as a PNG. Gives false where it could not be taken."""
        command = ["import", "-window", "root", str(path)]
        return subprocess.run(command, env=self.env, capture_output=True, timeout=20).returncode == 0


def shared_cache():
    """A folder that outlives one desktop, for what is costly to make and the same in all of them."""
    base = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache")
    folder = base / "pell-desktop-tests"
    folder.mkdir(parents=True, exist_ok=True)
    return folder


def _open_display(module, name):
    try:
        return module.Display(name)
    except Exception:  # the server's socket is not there yet
        return None
