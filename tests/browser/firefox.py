"""Drives Debian's Firefox ESR headless over Marionette on 127.0.0.1.

The profile lives where the Linux layout looks for it: HOME/.mozilla/firefox,
listed in that root's profiles.ini (written by Firefox itself when it makes
the profile). Every wait has a bound.
"""

import json
import pathlib
import socket
import subprocess
import time

from chromium import browser_env

BINARY = "/usr/lib/firefox-esr/firefox-esr"
PROFILE_NAME = "harness"
# Marionette on a port of our choosing; every other request goes to a closed
# loopback port, and nothing phones home.
PREFS = {
    "network.proxy.type": 1,
    "network.proxy.http": "127.0.0.1", "network.proxy.http_port": 9,
    "network.proxy.ssl": "127.0.0.1", "network.proxy.ssl_port": 9,
    "network.proxy.no_proxies_on": "localhost, .localhost, 127.0.0.1",
    "network.trr.mode": 5,
    "network.connectivity-service.enabled": False,
    "network.captive-portal-service.enabled": False,
    "services.settings.server": "http://127.0.0.1:9/",
    "app.normandy.enabled": False,
    "app.update.enabled": False,
    "extensions.update.enabled": False,
    "toolkit.telemetry.enabled": False,
    "datareporting.healthreport.uploadEnabled": False,
    "datareporting.policy.dataSubmissionEnabled": False,
    "browser.safebrowsing.malware.enabled": False,
    "browser.safebrowsing.phishing.enabled": False,
    "browser.safebrowsing.downloads.enabled": False,
    "browser.shell.checkDefaultBrowser": False,
    "browser.startup.homepage_override.mstone": "ignore",
    "browser.sessionstore.resume_from_crash": False,
    "signon.rememberSignons": True,
}


class Firefox:
    """One browser process on one profile made by Firefox under
    HOME/.mozilla/firefox; `log` collects its output."""

    def __init__(self, home, log):
        self.home = pathlib.Path(home)
        self.root = self.home / ".mozilla" / "firefox"
        self.profile = self.root / f"{PROFILE_NAME}.default"
        self.cache = self.home / ".cache" / "mozilla" / "firefox" / self.profile.name
        self.log = pathlib.Path(log)
        self._process = None
        self._socket = None

    def create_profile(self, timeout=30):
        # With the legacy root present Firefox lists the profile there, by a
        # relative path, rather than under the XDG configuration folder.
        self.root.mkdir(parents=True, exist_ok=True)
        with open(self.log, "ab") as log:
            subprocess.run([BINARY, "--headless", "-CreateProfile", f"{PROFILE_NAME} {self.profile}"],
                           env=browser_env(self.home), stdin=subprocess.DEVNULL, stdout=log,
                           stderr=log, timeout=timeout, check=True)

    def start(self, timeout=60):
        if not self.profile.exists():
            self.create_profile()
        port = free_port()
        prefs = dict(PREFS, **{"marionette.port": port})
        (self.profile / "user.js").write_text(
            "".join(f"user_pref({json.dumps(k)}, {json.dumps(v)});\n" for k, v in prefs.items()))
        with open(self.log, "ab") as log:
            self._process = subprocess.Popen(
                [BINARY, "--headless", "--marionette", "-remote-allow-system-access", "--no-remote",
                 "-profile", str(self.profile)],
                env=browser_env(self.home), stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        deadline = time.monotonic() + timeout
        while True:
            try:
                self._socket = socket.create_connection(("127.0.0.1", port), timeout=5)
                break
            except OSError:
                if time.monotonic() > deadline or self._process.poll() is not None:
                    self.kill()
                    raise TimeoutError(f"Marionette did not listen within {timeout} s")
                time.sleep(0.2)
        self._socket.settimeout(timeout)
        self._buffer = b""
        self._next_id = 0
        self._receive()  # the greeting
        self.call("WebDriver:NewSession", {"capabilities": {"alwaysMatch": {"acceptInsecureCerts": True}}})

    def call(self, command, params=None, timeout=30):
        """Sends one command and answers its result; raises on an error
        answer and after `timeout` seconds."""
        self._next_id += 1
        message = json.dumps([0, self._next_id, command, params or {}]).encode()
        self._socket.sendall(str(len(message)).encode() + b":" + message)
        self._socket.settimeout(timeout)
        while True:
            kind, ident, error, result = self._receive()
            if kind == 1 and ident == self._next_id:
                break
        if error:
            raise RuntimeError(f"{command}: {error}")
        return result

    def open(self, url):
        """Loads `url` in the one tab; the page reports by itself."""
        self.call("WebDriver:Navigate", {"url": url})

    def save_logins(self, origins):
        """Saves a password for each origin through the browser's own login
        manager, as a user accepting the offer to save would."""
        self.call("Marionette:SetContext", {"value": "chrome"})
        try:
            self.call("WebDriver:ExecuteScript", {"args": [origins], "script": """
                const [origins] = arguments;
                return (async () => {
                  for (const origin of origins) {
                    const login = Cc["@mozilla.org/login-manager/loginInfo;1"]
                      .createInstance(Ci.nsILoginInfo);
                    login.init(origin, origin, null, "ann", "secret", "user", "pass");
                    await Services.logins.addLoginAsync(login);
                  }
                  return (await Services.logins.getAllLogins()).length;
                })();"""})
        finally:
            self.call("Marionette:SetContext", {"value": "content"})

    def password_stores(self):
        return [self.profile / "logins.json", self.profile / "key4.db"]

    def quit(self, timeout=30):
        """Closes the browser cleanly and answers its exit status."""
        try:
            self.call("Marionette:Quit", {"flags": ["eAttemptQuit"]}, timeout)
        finally:
            self._socket.close()
        return self.wait(timeout)

    def wait(self, timeout):
        try:
            return self._process.wait(timeout)
        except subprocess.TimeoutExpired:
            self.kill()
            raise TimeoutError(f"Firefox still running {timeout} s after it was asked to quit")

    def kill(self):
        if self._process and self._process.poll() is None:
            self._process.kill()
            self._process.wait(10)

    def running(self):
        return self._process is not None and self._process.poll() is None

    def _receive(self):
        while b":" not in self._buffer:
            self._read()
        length, _, rest = self._buffer.partition(b":")
        while len(rest) < int(length):
            self._read()
            length, _, rest = self._buffer.partition(b":")
        self._buffer = rest[int(length):]
        return json.loads(rest[:int(length)])

    def _read(self):
        chunk = self._socket.recv(65536)
        if not chunk:
            raise RuntimeError("Marionette closed the connection")
        self._buffer += chunk


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]
