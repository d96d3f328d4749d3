#!/usr/bin/python3
"""Real-browser round trips of the worker's Linux layout.

    roundtrip.py chromium|firefox keep|running --worker PATH [--secure-delete] [--keep-home]

keep     fills a throwaway profile for three sites, saves passwords for two,
         runs the worker, starts the browser again and reads back from page
         scripts that the two sites with passwords kept all their data, the
         third kept none, the caches went and the browser took the profile
         without complaint; the worker's one notification counts exactly the
         third site's cookie rows and its one origin.
running  fills the same profile, then runs the worker while the browser holds
         it: the worker must exit 75, report nothing removed and leave
         everything, as the browser shows after a restart.
--secure-delete  runs the worker with secureDeleteData set.
--control  deletes the IndexedDB and cookies of one kept site by hand after the
         worker ran, to watch the verifier fail (a check of the test itself).

The worker runs in a private session bus (tests/integration/session.sh) with
a notification service and no keyring, so saved logins alone make its keep list.
Exit status 0 when every check passed, 1 with the failures listed otherwise.
"""

import argparse
import hashlib
import json
import os
import pathlib
import plistlib
import re
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import time

from chromium import Chromium
from firefox import Firefox
from site_server import SiteServer

KEPT = ["alpha.localhost", "gamma.localhost"]   # passwords saved
REMOVED = "beta.localhost"                        # no password: "never save" only
SITES = ["alpha.localhost", REMOVED, "gamma.localhost"]
WORKER_NAME = {"chromium": "Chromium", "firefox": "Firefox"}
PAGE_WAIT = 60      # seconds a page gets to report
WORKER_WAIT = 120   # seconds the worker gets
EXIT_TRY_AGAIN = 75
SESSION = pathlib.Path(__file__).resolve().parents[1] / "integration" / "session.sh"
PREFERENCES = "com.marrowgatestudios.Tasselby"
REPORT = re.compile(r"(\d+) Cookies \((\d+) Tracking Cookies\), (\d+) Databases, (\d+) Flash, "
                    r"(\d+) Silverlight, and Cache removed from (.+)")
COMPLAINT = re.compile(r"corrupt|malformed|database disk image", re.I)
SET_ASIDE = re.compile(r"corrupt|\.bak$|bak-rebuild", re.I)


class RoundTrip:
    def __init__(self, kind, worker, work):
        self.kind, self.worker, self.work = kind, worker, pathlib.Path(work)
        self.home = self.work / "home"
        self.home.mkdir()
        self.log = self.work / f"{kind}.log"
        self.browser = (Chromium if kind == "chromium" else Firefox)(self.home, self.log)
        self.failures = []
        self.timings = {}

    def check(self, ok, message):
        if not ok:
            self.failures.append(message)

    def timed(self, name, action, *args):
        start = time.monotonic()
        try:
            return action(*args)
        finally:
            self.timings[name] = round(time.monotonic() - start, 1)

    def visit_all(self, server, page):
        """Each site's page in turn; answers the reports by host."""
        reports = {}
        for host in SITES:
            tab = self.browser.open(server.url(host, page))
            reports[host] = server.take_report(page, host, PAGE_WAIT)
            if reports[host] is None:
                raise TimeoutError(f"{host}/{page} did not report within {PAGE_WAIT} s")
            if self.kind == "chromium":
                self.browser.close_tab(tab)
        return reports

    def fill(self, server):
        """A profile holding every kind of data for the three sites, and
        saved passwords for the kept ones."""
        self.browser.start()
        for host, report in self.visit_all(server, "set").items():
            if report["errors"]:
                raise RuntimeError(f"{host} could not write its data: {report['errors']}")
        kept = [server.origin(host) for host in KEPT]
        if self.kind == "firefox":
            self.browser.save_logins(kept)
        self.quit_browser("fill")
        if self.kind == "chromium":
            self.browser.save_logins(kept, never_saved=[server.origin(REMOVED)])

    def quit_browser(self, phase):
        self.check(self.browser.quit() == 0, f"the browser's exit status after {phase} was not 0")

    def write_preferences(self, secure_delete):
        folder = self.home / ".config" / "tasselby"
        folder.mkdir(parents=True, exist_ok=True)
        with open(folder / f"{PREFERENCES}.plist", "wb") as plist:
            plistlib.dump({"displayNotifications": True, "secureDeleteData": secure_delete}, plist)

    def run_worker(self):
        """Runs the worker in a private session bus that records its
        notification (no keyring: saved logins alone make the keep list);
        answers its exit status and the figures of its one notification."""
        out = self.work / "session"
        subprocess.run(["bash", str(SESSION), "--home", str(self.home), "--work", str(self.work),
                        "--out", str(out), "--", self.worker, "--layout=linux", f"--home={self.home}",
                        WORKER_NAME[self.kind]], stdin=subprocess.DEVNULL, timeout=WORKER_WAIT, check=True)
        status = int((out / "status").read_text())
        print(f"worker exit status {status}\n{(out / 'stdout').read_text()}{(out / 'stderr').read_text()}", end="")
        notifications = json.loads((out / "notifications.json").read_text())
        self.check(len(notifications) == 1, f"{len(notifications)} notifications, expected 1")
        figures = REPORT.fullmatch(notifications[0]["body"]) if notifications else None
        self.check(figures or not notifications, f"unexpected notification {notifications}")
        return status, figures and figures.groups()

    def cookie_rows(self, host):
        """Rows of `host` and its domain cookies in the profile's cookie
        store, read without writing anything (the browser is closed, and
        Firefox has checkpointed its write-ahead log when it quit)."""
        name, table, column = (("Cookies", "cookies", "host_key") if self.kind == "chromium"
                               else ("cookies.sqlite", "moz_cookies", "host"))
        with sqlite3.connect(f"file:{self.browser.profile / name}?immutable=1", uri=True) as db:
            rows = db.execute(f"SELECT count(*) FROM {table} WHERE {column} IN (?, ?)", (host, "." + host))
            count = rows.fetchone()[0]
        db.close()
        return count

    def read_back(self, server):
        self.browser.start()
        reports = self.visit_all(server, "get")
        self.quit_browser("the read-back")
        return reports

    def verify(self, reports, kept, http_cache):
        """Every host in `kept` shows all it wrote; every other host shows
        nothing; the HTTP cache answers `http_cache` for every host."""
        for host, report in reports.items():
            print(f"  {host}: {json.dumps(report, sort_keys=True)}")
            site = host.split(".")[0]
            if host in kept:
                expected = {"cookies": {f"host_{site}=h_{site}", f"dom_{site}=d_{site}"},
                            "local": {f"ls_{site}": f"local_{site}", f"ls2_{site}": f"local2_{site}"},
                            "indexeddb": {f"db_{site}": [f"idb_{site}"]},
                            "caches": {f"cache_{site}": [f"/cached=cs_{site}"]},
                            "serviceworkers": ["/"]}
            else:
                expected = {"cookies": set(), "local": {}, "indexeddb": {}, "caches": {}, "serviceworkers": []}
            found = dict(report, cookies=set(filter(None, report["cookies"].split("; "))))
            found["cookies"] -= {f"sess_{site}=s_{site}"}  # session cookies end with the browser
            for store, value in expected.items():
                self.check(found[store] == value, f"{host} {store}: expected {value}, found {found[store]}")
            self.check(report["httpcache"] == http_cache, f"{host} HTTP cache: expected {http_cache}")
            self.check(not report["errors"], f"{host} page errors: {report['errors']}")

    def verify_no_complaint(self, since):
        """The browser's output since offset `since` names no damaged store,
        no store was set aside as damaged (Firefox renames a damaged SQLite
        file to "*.bak" and starts afresh) and no LevelDB log reports
        corruption. Chromium razes a damaged SQLite store without a word: the
        read-back of the kept sites is what catches that."""
        with open(self.log, "rb") as log:
            log.seek(since)
            for line in log.read().decode(errors="replace").splitlines():
                self.check(not COMPLAINT.search(line), f"browser complained: {line.strip()}")
        for path in self.browser.profile.rglob("*"):
            self.check(not SET_ASIDE.search(path.name), f"the browser set aside a damaged store: {path}")
            if path.name == "LOG":
                self.check("Corruption" not in path.read_text(errors="replace"), f"LevelDB reports corruption: {path}")

    def control(self):
        """Removes the first kept site's IndexedDB and cookies by hand."""
        host = KEPT[0]
        pattern = f"IndexedDB/http_{host}_*" if self.kind == "chromium" else f"storage/default/http+++{host}+*"
        for path in self.browser.profile.glob(pattern):
            shutil.rmtree(path)
        cookies = self.browser.profile / ("Cookies" if self.kind == "chromium" else "cookies.sqlite")
        column = "host_key" if self.kind == "chromium" else "host"
        table = "cookies" if self.kind == "chromium" else "moz_cookies"
        with sqlite3.connect(cookies) as db:
            db.execute(f"DELETE FROM {table} WHERE {column} LIKE ?", (f"%{host}",))
        db.close()

    def test_keep(self, server, control, secure_delete):
        self.timed("fill", self.fill, server)
        self.write_preferences(secure_delete)
        passwords = digest(self.browser.password_stores())
        removed_cookies = self.cookie_rows(REMOVED)
        status, figures = self.timed("worker", self.run_worker)
        self.check(status == 0, f"worker exit status {status}, expected 0")
        # Beta's cookie rows, none of them a tracking cookie, and beta's one origin.
        expected = (str(removed_cookies), "0", "1", "0", "0", WORKER_NAME[self.kind])
        self.check(figures == expected, f"notification figures {figures}, expected {expected}")
        self.check(digest(self.browser.password_stores()) == passwords, "the password stores changed")
        if control:
            self.control()
        since = self.log.stat().st_size
        reports = self.timed("read-back", self.read_back, server)
        self.verify(reports, KEPT, "MISS")
        self.verify_no_complaint(since)

    def test_running(self, server, control, secure_delete):
        self.timed("fill", self.fill, server)
        self.write_preferences(secure_delete)
        self.browser.start()
        try:
            before = self.settled_state()
            status, figures = self.timed("worker", self.run_worker)
            after = self.store_state()
        finally:
            self.quit_browser("holding the profile")
        self.check(status == EXIT_TRY_AGAIN, f"worker exit status {status}, expected {EXIT_TRY_AGAIN}")
        expected = ("0", "0", "0", "0", "0", WORKER_NAME[self.kind])
        self.check(figures == expected, f"notification figures {figures}, expected {expected}")
        gone = sorted(str(p.relative_to(self.home)) for p in before["files"] - after["files"])
        self.check(not gone, f"{len(gone)} files removed from the running browser's profile: {gone[:5]}")
        for name, value in before.items():
            if name != "files":
                self.check(after[name] == value, f"{name} changed: {value} -> {after[name]}")
        if control:
            self.control()
        reports = self.timed("read-back", self.read_back, server)
        self.verify(reports, SITES, "HIT")

    def settled_state(self, tries=15):
        """The store state once the starting browser's own tidying is over:
        the first one that a second look a second later agrees with."""
        state = self.store_state()
        for _ in range(tries):
            time.sleep(1)
            state, previous = self.store_state(), state
            if state == previous:
                break
        return state

    def store_state(self):
        """What the worker would change, in a form that the browser's own
        idle writes leave alone: the files of the profile and its cache, and
        the cookie rows where the running browser lets them be read."""
        roots = [self.browser.profile, self.home / ".cache"]
        # os.walk passes over folders that vanish while it looks. Firefox
        # removes the cache entries it has moved to cache2/doomed whenever it likes.
        state = {"files": {pathlib.Path(folder, name) for root in roots for folder, _, names in os.walk(root)
                           if not folder.endswith("/cache2/doomed")
                           for name in names if not name.endswith(("-journal", "-wal", ".tmp", "LOG.old"))}}
        if self.kind == "chromium":
            uri = f"file:{self.browser.profile / 'Cookies'}?mode=ro"
            with sqlite3.connect(uri, uri=True, timeout=5) as db:
                # Chromium itself drops the session cookies' rows soon after it starts.
                state["cookie rows"] = db.execute(
                    "SELECT host_key, name FROM cookies WHERE is_persistent ORDER BY 1, 2").fetchall()
            db.close()
        else:
            sw = self.browser.profile / "serviceworker.txt"
            state["serviceworker.txt"] = sw.read_text() if sw.exists() else None
        return state


def digest(paths):
    return {str(p): hashlib.sha256(p.read_bytes()).hexdigest() for p in paths if p.exists()}


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("browser", choices=WORKER_NAME)
    parser.add_argument("test", choices=["keep", "running"])
    parser.add_argument("--worker", required=True)
    parser.add_argument("--keep-home", action="store_true", help="leave the throwaway home for a look")
    parser.add_argument("--secure-delete", action="store_true", help="set secureDeleteData for the worker")
    parser.add_argument("--control", action="store_true", help=argparse.SUPPRESS)
    args = parser.parse_args()

    work = tempfile.mkdtemp(prefix=f"tasselby-{args.browser}-{args.test}-")
    trip = RoundTrip(args.browser, os.path.abspath(args.worker), work)
    start = time.monotonic()
    try:
        with SiteServer() as server:
            getattr(trip, f"test_{args.test}")(server, args.control, args.secure_delete)
    except Exception as error:  # a browser or page that failed to answer
        trip.failures.append(f"{type(error).__name__}: {error}")
    finally:
        trip.browser.kill()
    print(f"timings (s): {trip.timings}, total {time.monotonic() - start:.1f}")
    if trip.failures:
        print(f"FAILED ({len(trip.failures)}):\n  " + "\n  ".join(trip.failures))
        print(f"browser output (last lines of {trip.log}, bus noise left out):")
        lines = [l for l in open(trip.log, errors="replace") if "dbus" not in l.lower()]
        print("".join(lines[-30:]))
    if args.keep_home:
        print(f"throwaway home kept: {work}")
    else:
        shutil.rmtree(work, ignore_errors=True)
    return 1 if trip.failures else 0


if __name__ == "__main__":
    sys.exit(main())
