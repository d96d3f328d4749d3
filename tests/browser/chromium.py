"""Drives Debian's Chromium headless over the DevTools protocol on a pipe.

The protocol runs over file descriptors 3 (commands in) and 4 (answers out),
so the browser opens no debugging socket. Every wait has a bound.
"""

import fcntl
import json
import os
import pathlib
import sqlite3
import subprocess
import threading
import time

BINARY = "/usr/lib/chromium/chromium"  # the Debian wrapper adds flags of its own
FLAGS = [
    "--headless", "--no-sandbox", "--remote-debugging-pipe",
    "--no-first-run", "--no-default-browser-check", "--password-store=basic",
    # Nothing leaves the machine: every name resolves to loopback and every
    # proxied request goes to a closed port.
    "--host-resolver-rules=MAP * 127.0.0.1", "--proxy-server=127.0.0.1:9",
    "--proxy-bypass-list=*.localhost", "--disable-background-networking",
    "--disable-component-update", "--disable-sync", "--no-pings",
    "--disable-domain-reliability", "--disable-breakpad",
]


class Chromium:
    """One browser process on the user-data folder the Linux layout cleans
    (HOME/.config/chromium); `log` collects its standard error."""

    def __init__(self, home, log):
        self.home = pathlib.Path(home)
        self.user_data = self.home / ".config" / "chromium"
        self.profile = self.user_data / "Default"
        self.log = pathlib.Path(log)
        self._process = None
        self._reader = None

    def start(self, timeout=30):
        # The reader of an earlier start ends at its pipe's end of file; it
        # must be gone before new pipes may take its descriptor numbers.
        if self._reader is not None:
            self._reader.join(10)
        commands_in, self._commands = os.pipe()
        self._answers, answers_out = os.pipe()
        # The browser's ends move above 4 so that placing them cannot clash.
        commands_in, answers_out = (above_four(fd) for fd in (commands_in, answers_out))
        env = browser_env(self.home)
        with open(self.log, "ab") as log:
            # bash (dash takes single digits only) puts the two ends on descriptors 3 and 4.
            self._process = subprocess.Popen(
                ["/bin/bash", "-c", f'exec "$@" 3<&{commands_in} 4>&{answers_out} '
                 f'{commands_in}<&- {answers_out}>&-', "sh", BINARY,
                 f"--user-data-dir={self.user_data}", *FLAGS, "about:blank"],
                env=env, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                pass_fds=(commands_in, answers_out))
        os.close(commands_in)
        os.close(answers_out)
        self._next_id = 0
        # Each start has its own answers, so a reader left over from an
        # earlier start can never answer for this one.
        self._session = Session(self._answers)
        self._reader = threading.Thread(target=self._session.read_answers, daemon=True)
        self._reader.start()
        self.call("Browser.getVersion", timeout=timeout)

    def call(self, method, params=None, timeout=30):
        """Sends one command and answers its result; raises on an error
        answer, on a browser that exits, and after `timeout` seconds."""
        session = self._session
        with session.arrived:
            self._next_id += 1
            ident = self._next_id
        message = json.dumps({"id": ident, "method": method, "params": params or {}})
        os.write(self._commands, message.encode() + b"\0")
        with session.arrived:
            if not session.arrived.wait_for(lambda: ident in session.results or session.closed, timeout):
                raise TimeoutError(f"{method}: no answer within {timeout} s")
            if ident not in session.results:
                raise RuntimeError(f"{method}: the browser closed its pipe")
            answer = session.results.pop(ident)
        if "error" in answer:
            raise RuntimeError(f"{method}: {answer['error']}")
        return answer.get("result", {})

    def open(self, url):
        """Opens `url` in a new tab; the page reports by itself."""
        return self.call("Target.createTarget", {"url": url})["targetId"]

    def close_tab(self, target):
        self.call("Target.closeTarget", {"targetId": target})

    def quit(self, timeout=30):
        """Closes the browser cleanly and answers its exit status."""
        try:
            self.call("Browser.close", timeout=timeout)
        except RuntimeError:
            pass  # the pipe may close before the answer is written
        return self.wait(timeout)

    def wait(self, timeout):
        try:
            return self._process.wait(timeout)
        except subprocess.TimeoutExpired:
            self.kill()
            raise TimeoutError(f"Chromium still running {timeout} s after it was asked to quit")
        finally:
            os.close(self._commands)

    def kill(self):
        if self._process and self._process.poll() is None:
            self._process.kill()
            self._process.wait(10)

    def running(self):
        return self._process is not None and self._process.poll() is None

    def save_logins(self, origins, never_saved=()):
        """Adds saved passwords for `origins` to the profile's password
        stores, the last one to the account store ("Login Data For
        Account"), and "never save" entries for `never_saved`, in the
        browser's own tables. The browser must have created the files and
        quit."""
        assert not self.running()
        now = int((time.time() + 11644473600) * 1_000_000)  # microseconds since 1601
        rows = [(store, origin, 0) for store, origin in zip(
            ["Login Data"] * (len(origins) - 1) + ["Login Data For Account"], origins)]
        rows += [("Login Data", origin, 1) for origin in never_saved]
        for store, origin, blocked in rows:
            with sqlite3.connect(self.profile / store) as db:
                db.execute(
                    "INSERT INTO logins (origin_url, action_url, username_element, username_value,"
                    " password_element, password_value, submit_element, signon_realm, date_created,"
                    " blacklisted_by_user, scheme, password_type, times_used, date_last_used,"
                    " date_password_modified) VALUES (?, ?, 'user', ?, 'pass', ?, '', ?, ?, ?, 0, 0, 1, ?, ?)",
                    (origin + "/", origin + "/login", "" if blocked else "ann",
                     b"" if blocked else b"v10" + os.urandom(32), origin + "/", now, blocked, now, now))
            db.close()

    def password_stores(self):
        return [self.profile / "Login Data", self.profile / "Login Data For Account"]


class Session:
    """The answers of one browser start, read from its own pipe."""

    def __init__(self, answers):
        self.answers = answers
        self.results = {}
        self.arrived = threading.Condition()
        self.closed = False

    def read_answers(self):
        buffer = b""
        while True:
            chunk = os.read(self.answers, 65536)
            if not chunk:
                break
            buffer += chunk
            *messages, buffer = buffer.split(b"\0")
            with self.arrived:
                for message in messages:
                    answer = json.loads(message)
                    if "id" in answer:
                        self.results[answer["id"]] = answer
                self.arrived.notify_all()
        os.close(self.answers)
        with self.arrived:
            self.closed = True
            self.arrived.notify_all()


def above_four(fd):
    moved = fcntl.fcntl(fd, fcntl.F_DUPFD_CLOEXEC, 5)
    os.close(fd)
    return moved


def browser_env(home):
    """The environment of a browser on the throwaway home: no session bus, no
    display, nothing of the caller's own home."""
    env = {k: v for k, v in os.environ.items()
           if not k.startswith(("XDG_", "DBUS_", "DISPLAY", "WAYLAND_"))}
    env.update(HOME=str(home), XDG_CONFIG_HOME=f"{home}/.config", XDG_CACHE_HOME=f"{home}/.cache",
               XDG_DATA_HOME=f"{home}/.local/share")
    return env
