"""HTTP handling: reading requests strictly, routing them, sending replies, keeping the journal.

Endpoints are functions of (service, Request) that return a Response or raise HttpError; they
never see sockets. A Response whose body is an iterable of byte strings is streamed in chunks.
"""

import base64
import collections
import hmac
import http.cookies
import http.server
import logging
import re
import threading
import urllib.parse

log = logging.getLogger("data_service")
# Silent when imported; the command line attaches the real handler.
log.addHandler(logging.NullHandler())

ADMIN_COOKIE = "rigel_admin"
# Requests under these paths are the operator's, not the control's: the journal leaves them out.
UNRECORDED_PREFIXES = ("/_admin/", "/console")
# The request journal lives in memory; old entries fall off so a long run cannot grow it.
JOURNAL_LIMIT = 1000
_ASCII_DIGITS = re.compile(r"[0-9]+")
_LOGGED_PATH = 200


class HttpError(Exception):
    """A request the service refuses; carries the status and the reply text."""

    def __init__(self, status, text, close=False, headers=()):
        super().__init__(text)
        self.status = status
        self.text = text
        self.close = close
        self.headers = list(headers)


class Request:
    def __init__(self, method, path, query, headers, body):
        self.method = method
        self.path = path
        self.query = query
        self.headers = headers
        self.body = body

    def text(self):
        try:
            return self.body.decode("utf-8")
        except UnicodeDecodeError:
            raise HttpError(400, "body is not valid UTF-8")

    def form(self):
        """The fields of a URL-encoded form body."""
        return parse_query(self.text().replace("+", " "))

    def require_content_type(self, expected):
        value = self.headers.get("Content-Type", "")
        media, *params = [part.strip() for part in value.split(";")]
        charset_ok = all(
            p.partition("=")[2].strip().strip('"').lower() == "utf-8"
            for p in params if p.partition("=")[0].strip().lower() == "charset")
        if media.lower() != expected or not charset_ok:
            raise HttpError(415, "expected Content-Type %s; charset=utf-8" % expected)


class Response:
    def __init__(self, status, body, content_type="text/plain; charset=utf-8", headers=(),
                 close=False):
        self.status = status
        self.body = body.encode("utf-8") if isinstance(body, str) else body
        self.content_type = content_type
        self.headers = list(headers)
        self.close = close


def html(body, status=200, headers=()):
    return Response(status, body, "text/html; charset=utf-8", headers)


def redirect(location):
    return Response(303, "see " + location, headers=[("Location", location)])


def parse_query(query):
    """Query keys to values. The control does not URL-encode its IDs, so "+" stays a plus;
    percent escapes are still decoded. The first occurrence of a key wins."""
    values = {}
    for pair in query.split("&") if query else []:
        key, _, value = pair.partition("=")
        key = urllib.parse.unquote(key, errors="replace")
        values.setdefault(key, urllib.parse.unquote(value, errors="replace"))
    return values


Route = collections.namedtuple("Route", "handler admin")


class Router:
    """Paths (exact, or by prefix in the order added) to their handlers per method."""

    def __init__(self):
        self._exact = {}
        self._prefixes = []

    def add(self, method, path, handler, admin=False):
        self._exact.setdefault(path, {})[method] = Route(handler, admin)

    def add_prefix(self, method, prefix, handler, admin=False):
        for known, methods in self._prefixes:
            if known == prefix:
                methods[method] = Route(handler, admin)
                return
        self._prefixes.append((prefix, {method: Route(handler, admin)}))

    def find(self, path):
        """The routes of a path by method, or None."""
        if path in self._exact:
            return self._exact[path]
        for prefix, methods in self._prefixes:
            if path.startswith(prefix):
                return methods
        return None


class Journal:
    """Every request the control makes, in arrival order, for tests that check the wire bytes."""

    def __init__(self, limit=JOURNAL_LIMIT):
        self._lock = threading.Lock()
        self._entries = collections.deque(maxlen=limit)
        self._next = 1

    def add(self, entry):
        with self._lock:
            entry["seq"] = self._next
            self._next += 1
            self._entries.append(entry)

    def list(self):
        with self._lock:
            return list(self._entries)

    def clear(self):
        with self._lock:
            self._entries.clear()


class _RecordingReader:
    """Wraps the request stream and keeps the bytes of every readline call, i.e. the request
    line and header block exactly as received."""

    def __init__(self, stream):
        self._stream = stream
        self.head = bytearray()

    def readline(self, *args):
        line = self._stream.readline(*args)
        self.head += line
        return line

    def read(self, *args):
        return self._stream.read(*args)

    def __getattr__(self, name):
        return getattr(self._stream, name)


def supplied_token(headers):
    """The admin token a request carries: a bearer token, or the console's login cookie."""
    authorization = headers.get("Authorization", "")
    if authorization.startswith("Bearer "):
        return authorization[len("Bearer "):].strip()
    cookie = http.cookies.SimpleCookie()
    try:
        cookie.load(headers.get("Cookie", ""))
    except http.cookies.CookieError:
        return ""
    return cookie[ADMIN_COOKIE].value if ADMIN_COOKIE in cookie else ""


def token_matches(expected, supplied):
    return hmac.compare_digest(expected.encode("utf-8"), supplied.encode("utf-8"))


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    server_version = "DataService/1.0"
    sys_version = ""
    # Error replies to unparsable request lines still need a status line.
    default_request_version = "HTTP/1.0"
    # Head and body leave in separate writes; with Nagle's algorithm the body would wait for the
    # client's delayed acknowledgement of the head.
    disable_nagle_algorithm = True

    def setup(self):
        self.timeout = self.server.socket_timeout
        super().setup()
        self.rfile = _RecordingReader(self.rfile)

    def handle_one_request(self):
        self.rfile.head = bytearray()
        self.body = b""
        self.status = None
        self.command = None
        self.path = ""
        self.headers = None
        self.recorded = False
        try:
            super().handle_one_request()
        except ConnectionError:
            self.close_connection = True
        # A request that got no reply (the client went away) is still in the journal.
        self._record()

    def _record(self):
        """Adds the request to the journal once, before its reply leaves, so that the journal's
        order is the order in which clients got their answers."""
        if self.recorded or not self.rfile.head or self.path.startswith(UNRECORDED_PREFIXES):
            return
        self.recorded = True
        header_list = list(self.headers.items()) if self.headers is not None else []
        headers = {}
        for name, value in header_list:
            headers[name] = headers[name] + ", " + value if name in headers else value
        self.server.journal.add({
            "method": self.command,
            "path": self.path,
            "status": self.status,
            "headers": headers,
            "header_list": [[name, value] for name, value in header_list],
            "raw_head_b64": base64.b64encode(bytes(self.rfile.head)).decode("ascii"),
            "body": self.body.decode("utf-8", errors="replace"),
            "body_b64": base64.b64encode(self.body).decode("ascii"),
        })

    # -- logging ---------------------------------------------------------------------------

    def log_request(self, code="-", size="-"):
        self.status = int(code)
        self._record()
        path = self.path if len(self.path) <= _LOGGED_PATH else self.path[:_LOGGED_PATH] + "..."
        log.info("%s %s %s %d body=%d", self.client_address[0], self.command or "-",
                 path or "-", self.status, len(self.body))

    def log_message(self, format, *args):
        log.warning("%s %s", self.client_address[0], format % args)

    # -- replies ---------------------------------------------------------------------------

    def _send(self, response):
        self.send_response(response.status)
        self.send_header("Content-Type", response.content_type)
        self.send_header("Cache-Control", "no-cache")
        for name, value in response.headers:
            self.send_header(name, value)
        if isinstance(response.body, bytes):
            self.send_header("Content-Length", str(len(response.body)))
            if response.close:
                self.send_header("Connection", "close")
            self.end_headers()
            if self.command != "HEAD":
                self.wfile.write(response.body)
            return
        self.send_header("Transfer-Encoding", "chunked")
        self.end_headers()
        try:
            for chunk in response.body:
                if chunk:
                    self.wfile.write(b"%x\r\n%s\r\n" % (len(chunk), chunk))
        except (ConnectionError, TimeoutError):
            raise
        except Exception:
            # The status line is gone: the client learns of the failure from the missing last
            # chunk when the connection closes.
            log.exception("failure while streaming %.200s", self.path)
            self.close_connection = True
            return
        self.wfile.write(b"0\r\n\r\n")

    def _read_body(self):
        if self.headers.get("Transfer-Encoding") is not None:
            raise HttpError(411, "chunked bodies are not accepted; send Content-Length",
                            close=True)
        lengths = self.headers.get_all("Content-Length") or []
        if not lengths:
            if self.command == "POST":
                raise HttpError(411, "Content-Length required", close=True)
            return
        if len(set(v.strip() for v in lengths)) != 1 or not _ASCII_DIGITS.fullmatch(
                lengths[0].strip()):
            raise HttpError(400, "invalid Content-Length", close=True)
        length = int(lengths[0])
        if length > self.server.max_body:
            raise HttpError(413, "body larger than %d bytes" % self.server.max_body, close=True)
        self.body = self.rfile.read(length)
        if len(self.body) != length:
            raise HttpError(400, "body shorter than Content-Length", close=True)

    def __getattr__(self, name):
        # Every method goes through the routes, so an unknown path is 404 and a known path with
        # the wrong method 405, whatever the method is.
        if name.startswith("do_"):
            return self._dispatch
        raise AttributeError(name)

    def _dispatch(self):
        try:
            self._read_body()
            path, _, query = self.path.partition("?")
            methods = self.server.router.find(path)
            if methods is None:
                raise HttpError(404, "not found")
            route = methods.get(self.command)
            if route is None:
                raise HttpError(405, "method not allowed",
                                headers=[("Allow", ", ".join(sorted(methods)))])
            request = Request(self.command, path, parse_query(query), self.headers, self.body)
            if route.admin:
                self._require_admin(request)
            self._send(route.handler(self.server, request))
        except HttpError as refusal:
            self._send(Response(refusal.status, refusal.text, headers=refusal.headers,
                                close=refusal.close))
        except (ConnectionError, TimeoutError):
            raise
        except Exception:
            log.exception("failure while handling %s %.200s", self.command, self.path)
            self._send(Response(500, "internal error", close=True))

    def _require_admin(self, request):
        """Editing and admin requests need the token when the service has one (always when it
        binds anything but loopback), and a form post must come from the console's own origin."""
        origin = request.headers.get("Origin")
        host = request.headers.get("Host", "")
        if request.method == "POST" and origin not in (None, "null") and \
                origin not in ("http://" + host, "https://" + host):
            raise HttpError(403, "cross-origin request refused")
        expected = self.server.admin_token
        if expected and not token_matches(expected, supplied_token(request.headers)):
            raise HttpError(401, "admin token required: log in at /console/login",
                            headers=[("WWW-Authenticate", "Bearer")])
