"""A loopback web server for the real-browser tests.

It serves the pages of www/ to any "*.localhost" host name on one port of
127.0.0.1 and collects the JSON reports the pages post back. Both browsers map
"*.localhost" to loopback by themselves and treat it as a secure context, so
Cache Storage and service workers work over plain http.
"""

import http.server
import json
import pathlib
import threading
import urllib.parse

WWW = pathlib.Path(__file__).resolve().parent / "www"
ROUTES = {
    "/set": ("set.html", "text/html"),
    "/get": ("get.html", "text/html"),
    "/sw.js": ("sw.js", "text/javascript"),
}
CACHEABLE = "/cacheable.txt"


class SiteServer:
    """Serves on 127.0.0.1 at a free port until closed; reports are kept per
    (page, host) and can be awaited with a bound."""

    def __init__(self):
        self._reports = {}
        self._changed = threading.Condition()
        self._server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), self._handler())
        self.port = self._server.server_address[1]
        self._thread = threading.Thread(target=self._server.serve_forever, daemon=True)
        self._thread.start()

    def origin(self, host):
        return f"http://{host}:{self.port}"

    def url(self, host, page):
        return f"{self.origin(host)}/{page}"

    def take_report(self, page, host, timeout):
        """The report that `page` posted from `host` (removed from the
        server), or None when none came within `timeout` seconds."""
        key = (page, host)
        with self._changed:
            self._changed.wait_for(lambda: key in self._reports, timeout)
            return self._reports.pop(key, None)

    def close(self):
        self._server.shutdown()
        self._server.server_close()
        self._thread.join(5)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def _handler(self):
        server = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                path = urllib.parse.urlsplit(self.path).path
                if path == CACHEABLE:
                    self._send(b"cacheable", "text/plain", "max-age=86400")
                elif path in ROUTES:
                    name, kind = ROUTES[path]
                    self._send((WWW / name).read_bytes(), kind, "no-store")
                else:
                    self._send(b"", "text/plain", "no-store", 404)

            def do_POST(self):
                query = urllib.parse.parse_qs(urllib.parse.urlsplit(self.path).query)
                body = self.rfile.read(int(self.headers.get("Content-Length", 0)))
                host = self.headers.get("Host", "").split(":")[0]
                with server._changed:
                    server._reports[(query.get("page", [""])[0], host)] = json.loads(body)
                    server._changed.notify_all()
                self._send(b"", "text/plain", "no-store")

            def _send(self, body, kind, cache, status=200):
                self.send_response(status)
                self.send_header("Content-Type", kind)
                self.send_header("Cache-Control", cache)
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)

            def log_message(self, *args):
                pass

        return Handler
