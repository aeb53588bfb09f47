#!/usr/bin/python3
"""Browsers open the virtual camera as a meeting does, through the desktop's camera portal:
`browser_test.py --lanternfly PROGRAM --browser chromium|firefox-esr`. Exit 77: the machine lacks a
program that this needs."""

import argparse
import contextlib
import http.server
import json
import os
import queue
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest
from pathlib import Path

OPTIONS = None
PATIENCE = 100  # seconds, of the slowest machine
FRAMES = 30
LEFT, RIGHT = (192, 32, 64), (32, 64, 192)  # colours of the camera's halves
TOLERANCE = 12  # of colours that went to YUV and back twice
PORTAL = "/usr/libexec/xdg-desktop-portal"
PERMISSIONS = "org.freedesktop.impl.portal.PermissionStore"
NOBODY = 65534

# Browsers refuse to run as root.
AS_USER = (["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups"]
           if os.geteuid() == 0 else [])

QUIET_MONITORS = """alsa_monitor.enabled = false
v4l2_monitor.enabled = false
libcamera_monitor.enabled = false
"""
QUIET_BLUETOOTH = "bluez_monitor.enabled = false\n"

# The portal offers cameras only where somebody could be asked. Nobody is: the answer is known.
ASKING = """[portal]
DBusName=org.lanternfly.test.Asking
Interfaces=org.freedesktop.impl.portal.Access;
UseIn=X-Generic
"""

CHROMIUM = ["--no-sandbox", "--no-first-run", "--disable-gpu", "--disable-background-networking",
            "--disable-component-update", "--disable-sync", "--disable-quic",
            "--enable-features=WebRtcPipeWireCamera", "--use-fake-ui-for-media-stream",
            "--autoplay-policy=no-user-gesture-required"]
FIREFOX = """user_pref("media.webrtc.camera.allow-pipewire", true);
user_pref("media.navigator.permission.disabled", true);
user_pref("media.autoplay.default", 0);
user_pref("browser.shell.checkDefaultBrowser", false);
user_pref("datareporting.policy.dataSubmissionEnabled", false);
user_pref("browser.aboutwelcome.enabled", false);
user_pref("app.update.enabled", false);
user_pref("network.captive-portal-service.enabled", false);
user_pref("network.connectivity-service.enabled", false);
"""


def missing():
    programs = [OPTIONS.browser, "pipewire", "wireplumber", "dbus-daemon", "gdbus", "Xvfb", "ffmpeg"]
    if AS_USER:
        programs.append("setpriv")
    return [name for name in programs if not shutil.which(name)] + (
        [] if os.path.exists(PORTAL) else ["xdg-desktop-portal"])


def remove(folder):
    """The portal's own file system goes from there a little after the portal."""
    end = time.monotonic() + PATIENCE
    while folder.exists() and time.monotonic() < end:
        shutil.rmtree(folder, ignore_errors=True)


class Page(http.server.BaseHTTPRequestHandler):
    results = queue.Queue()

    def do_GET(self):
        self.send_response(200)
        self.send_header("Content-Type", "text/html")
        self.end_headers()
        if self.path.startswith("/?"):
            self.wfile.write((Path(__file__).parent / "page.html").read_bytes())

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        self.send_response(204)
        self.end_headers()
        self.results.put(json.loads(body))

    def log_message(self, *_):
        pass


class Desktop:
    """What a desktop runs for a camera: message bus, PipeWire, its session manager, a screen."""

    def __init__(self, stack, folder):
        self.stack, self.folder = stack, folder
        self.logs = []
        settings = folder / "config" / "wireplumber"
        for name, text in (("main", QUIET_MONITORS), ("bluetooth", QUIET_BLUETOOTH)):
            (settings / f"{name}.lua.d").mkdir(parents=True)
            (settings / f"{name}.lua.d" / "51-private.lua").write_text(text)
        (folder / "portals").mkdir()
        (folder / "portals" / "asking.portal").write_text(ASKING)
        for name in ("run", "home", "state", "cache"):
            (folder / name).mkdir(mode=0o700)
        self.own(folder)
        self.environment = {
            **{name: os.environ[name] for name in ("PATH", "LANG") if name in os.environ},
            "HOME": str(folder / "home"), "XDG_RUNTIME_DIR": str(folder / "run"),
            "XDG_CONFIG_HOME": str(folder / "config"), "XDG_STATE_HOME": str(folder / "state"),
            "XDG_CACHE_HOME": str(folder / "cache"), "XDG_CURRENT_DESKTOP": "X-Generic",
            "XDG_DESKTOP_PORTAL_DIR": str(folder / "portals")}

    @staticmethod
    def own(path):
        if AS_USER:
            for at in [path, *path.rglob("*")]:
                os.chown(at, NOBODY, NOBODY)

    def start(self, name, *command, as_user=True, **settings):
        log = self.stack.enter_context(open(self.folder / f"{name}.log", "wb"))
        self.logs.append(Path(log.name))
        process = subprocess.Popen([*(AS_USER if as_user else []), *command], stderr=log,
                                   stdin=subprocess.DEVNULL, env=self.environment,
                                   start_new_session=True,
                                   **{"stdout": log, **settings})
        self.stack.callback(self.end, process)
        return process

    @staticmethod
    def end(process):
        with contextlib.suppress(ProcessLookupError):
            os.killpg(process.pid, signal.SIGTERM)
        with contextlib.suppress(subprocess.TimeoutExpired):
            process.wait(20)
        with contextlib.suppress(ProcessLookupError):
            os.killpg(process.pid, signal.SIGKILL)
        process.wait()

    def call(self, service, path, method, *arguments):
        done = subprocess.run([*AS_USER, "gdbus", "call", "--session", "--dest", service,
                               "--object-path", path, "--method", method, *arguments],
                              env=self.environment, capture_output=True, text=True,
                              timeout=PATIENCE)
        if done.returncode != 0:
            raise RuntimeError(done.stderr)
        return done.stdout

    def boot(self):
        screen, number = os.pipe()
        self.start("screen", "Xvfb", "-displayfd", str(number), "-screen", "0", "1280x800x24",
                   "-nolisten", "tcp", pass_fds=[number])
        os.close(number)
        with open(screen) as answer:
            self.environment["DISPLAY"] = ":" + answer.readline().strip()
        bus = self.start("bus", "dbus-daemon", "--session", "--nofork", "--print-address=1",
                         stdout=subprocess.PIPE)
        with bus.stdout as answer:
            address = answer.readline().decode().strip()
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = address
        # Services that the bus starts find the bus by themselves, PipeWire by the runtime folder.
        self.start("pipewire", "pipewire")
        self.start("wireplumber", "wireplumber")
        # Every name under which the portal may know the browser: it has been asked before.
        path = "/" + PERMISSIONS.replace(".", "/")
        for name in ("", OPTIONS.browser, "org.chromium.Chromium", "firefox", "org.mozilla.firefox"):
            self.call(PERMISSIONS, path, PERMISSIONS + ".SetPermission", "devices", "true",
                      "camera", name, "['yes']")

    def said(self):
        for log in self.logs:
            yield f"--- {log.name}\n{log.read_text(errors='replace')[-3000:]}"


class Browser(unittest.TestCase):
    def test_counts_frames_of_the_virtual_camera_and_sees_its_colours(self):
        with contextlib.ExitStack() as stack:
            folder = Path(tempfile.mkdtemp(prefix="lf-browser-"))
            stack.callback(remove, folder)
            folder.chmod(0o755)
            desktop = Desktop(stack, folder)
            try:
                desktop.boot()
                self.check(self.look(stack, desktop, folder))
            except BaseException:
                print("\n".join(desktop.said()), file=sys.stderr)
                raise

    def look(self, stack, desktop, folder):
        camera = folder / "halves.mp4"
        halves = "".join(f"color=c=0x{r:02x}{g:02x}{b:02x}:s=640x720:r=30:d=2[{side}];"
                         for side, (r, g, b) in (("l", LEFT), ("r", RIGHT)))
        subprocess.run(["ffmpeg", "-v", "error", "-filter_complex", 
                        halves + "[l][r]hstack,scale=out_color_matrix=bt709", "-pix_fmt",
                        "yuv420p", "-colorspace", "bt709", str(camera)], check=True)
        # As whoever builds it, who can read the build folder.
        desktop.start("lanternfly", OPTIONS.lanternfly, "present", "--no-window", "--no-control",
                      "--camera", str(camera), "--output", "pipewire", as_user=False)
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Page)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        stack.callback(server.server_close)
        stack.callback(server.shutdown)
        address = f"http://localhost:{server.server_port}/?frames={FRAMES}"
        profile = folder / "home" / "profile"
        profile.mkdir()
        if OPTIONS.browser == "firefox-esr":
            (profile / "user.js").write_text(FIREFOX)
            arguments = ["--profile", str(profile), "--no-remote"]
        else:
            arguments = [f"--user-data-dir={profile}", *CHROMIUM]
        desktop.own(profile)
        self.await_camera(desktop)
        desktop.start("browser", OPTIONS.browser, *arguments, address)
        return Page.results.get(timeout=PATIENCE)

    def await_camera(self, desktop):
        """Browsers look for cameras once, through the portal, which has to know it by then."""
        def is_in_pipewire():
            return '"Lanternfly"' in subprocess.run(
                [*AS_USER, "pw-dump"], env=desktop.environment, capture_output=True, text=True,
                timeout=PATIENCE).stdout

        def is_in_portal():
            return "true" in desktop.call(
                "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                "org.freedesktop.DBus.Properties.Get", "org.freedesktop.portal.Camera",
                "IsCameraPresent")

        for is_there, problem in ((is_in_pipewire, "PipeWire has no camera of this name"),
                                  (is_in_portal, "the portal sees no camera")):
            end = time.monotonic() + PATIENCE
            while not is_there():
                if time.monotonic() > end:
                    self.fail(problem)

    def check(self, seen):
        self.assertNotIn("error", seen)
        self.assertIn("Lanternfly", seen["label"])
        self.assertGreaterEqual(seen["frames"], FRAMES)
        self.assertEqual(seen["size"], [1280, 720])
        for side, wanted in (("left", LEFT), ("right", RIGHT)):
            for found, value in zip(seen[side], wanted):
                self.assertAlmostEqual(found, value, delta=TOLERANCE, msg=f"{side}: {seen[side]}")


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--lanternfly", required=True)
    parser.add_argument("--browser", required=True, choices=["chromium", "firefox-esr"])
    OPTIONS, rest = parser.parse_known_args()
    if lacking := missing():
        print(f"skipped: {', '.join(lacking)} not installed (make deps)")
        sys.exit(77)
    unittest.main(argv=[sys.argv[0], *rest])
