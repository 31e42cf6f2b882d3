#!/usr/bin/env python3
"""Reference data service for the detection control.

Serves the group list per referrer, stores system-information uploads in
SQLite, answers analysis requests from the stored report, accepts the
upload-speed posts and serves the download test file.  Binds 127.0.0.1 only.
Standard library only, so it runs wherever Python 3 does.
"""

import argparse
import base64
import collections
import datetime
import http.server
import json
import logging
import os
import re
import sqlite3
import sys
import threading
import urllib.parse

API_KEY = "5B3D0A47-1E2C-4F88-9A61-C07D2E94B3F5"

GROUP_LIST_PATH = "/Data/Service.svc/Group/list"
SYSTEM_INFORMATION_PATH = "/SystemInformation/"
ANALYSIS_PREFIX = "/service/Analysis/"
SPEED_UPLOAD_PATH = "/Data/Service.svc/upload"
DOWNLOAD_PATH = "/global/tests/test_2.bin"
ADMIN_PREFIX = "/_admin/"

DEFAULT_DOWNLOAD_SIZE = 1024 * 1024
DEFAULT_MAX_BODY = 8 * 1024 * 1024
# The request journal lives in memory; old entries fall off so a long demo
# cannot grow it without bound.
JOURNAL_LIMIT = 1000
# A client that stops sending mid-request must not hold a thread forever.
SOCKET_TIMEOUT_SECONDS = 10

DEFAULT_GROUPS_FILE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "groups.json")

log = logging.getLogger("data_service")
# Silent when imported; main() attaches the real handler.
log.addHandler(logging.NullHandler())

_SYSTEM_INFORMATION_BODY = re.compile(
    r"<SystemInformation><Data>(.*)</Data></SystemInformation>", re.DOTALL)
_ANALYSIS_BODY = re.compile(
    r"<System><SessionID>(.*?)</SessionID><ItemID>(.*?)</ItemID>"
    r"<UserID>(.*?)</UserID><Format>(.*?)</Format><Schema>(.*?)</Schema></System>",
    re.DOTALL)
_ENTITY = re.compile(r"&(amp|lt|gt);")
_ENTITY_TEXT = {"amp": "&", "lt": "<", "gt": ">"}
_REPORT_GROUP = re.compile(r'<group index="([^"]*)" id="([^"]*)">(.*?)</group>', re.DOTALL)
_REPORT_VALUE = re.compile(r"<value>([^<]*)</value>")
_LEADING_DIGITS = re.compile(r"[0-9]*")
_ASCII_DIGITS = re.compile(r"[0-9]+")


class BadRequest(Exception):
    """A request the service refuses; carries the status and the reply text."""

    def __init__(self, status, text, close=False):
        super().__init__(text)
        self.status = status
        self.text = text
        self.close = close


# ---------------------------------------------------------------------------
# Texts exchanged with the control

def unescape_report(escaped):
    """Inverse of the control's three-pass escaping (& first, then < and >).

    Every ampersand in the escaped text must start one of the three entities
    and no raw angle bracket may appear; anything else means the sender did
    not escape the report and is refused.
    """
    if "<" in escaped or ">" in escaped:
        raise ValueError("unescaped angle bracket in Data")
    if escaped.count("&") != len(_ENTITY.findall(escaped)):
        raise ValueError("unescaped ampersand in Data")
    return _ENTITY.sub(lambda m: _ENTITY_TEXT[m.group(1)], escaped)


def parse_report(report):
    """Returns (id, index, value text or None) per group element, in order.

    Value texts are returned as written in the report (still XML-escaped).
    A group whose value element is missing or incomplete yields None.
    """
    entries = []
    for match in _REPORT_GROUP.finditer(report):
        value = _REPORT_VALUE.fullmatch(match.group(3))
        entries.append((match.group(2), match.group(1), value.group(1) if value else None))
    return entries


def group_number(text):
    """Number of a group text: its leading decimal digits, None when there are none."""
    digits = _LEADING_DIGITS.match(text).group(0)
    return int(digits) if digits else None


def xml_attr(text):
    return (text.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;")
            .replace('"', "&quot;"))


def build_analysis(session, item, user, fmt, schema, report):
    entries = parse_report(report)
    wanted = group_number(item)
    item_values = [(index, value) for gid, index, value in entries
                   if wanted is not None and group_number(gid) == wanted]
    parts = ['<Analysis session="%s" item="%s" user="%s" format="%s" schema="%s">'
             % (xml_attr(session), xml_attr(item), xml_attr(user), xml_attr(fmt),
                xml_attr(schema)),
             "<Values>%d</Values>" % len(entries),
             '<Item id="%s" count="%d">' % (xml_attr(item), len(item_values))]
    for index, value in item_values:
        # The report's value text is already escaped, so it is copied as is.
        parts.append('<Value index="%s">%s</Value>' % (xml_attr(index), value or ""))
    parts.append("</Item></Analysis>")
    return "".join(parts)


def download_block(size):
    """The download test file: byte i is i mod 256."""
    return (bytes(range(256)) * (size // 256 + 1))[:size]


def parse_query(query):
    """Query keys to values.  The control does not URL-encode its IDs, so '+'
    stays a plus; percent escapes are still decoded.  The first occurrence of a
    key wins."""
    values = {}
    for pair in query.split("&") if query else []:
        key, _, value = pair.partition("=")
        key = urllib.parse.unquote(key, errors="replace")
        values.setdefault(key, urllib.parse.unquote(value, errors="replace"))
    return values


def load_groups(path):
    """Reads the referrer → group numbers file; raises ValueError on a bad shape."""
    with open(path, "r", encoding="utf-8") as handle:
        data = json.load(handle)
    if not isinstance(data, dict):
        raise ValueError("%s: top level must be an object" % path)
    for referrer, groups in data.items():
        if not isinstance(groups, list) or not all(
                isinstance(g, int) and not isinstance(g, bool) and g >= 0 for g in groups):
            raise ValueError("%s: groups of referrer %r must be a list of non-negative integers"
                             % (path, referrer))
    return data


# ---------------------------------------------------------------------------
# State shared by the request threads

class Store:
    """SQLite storage of uploads, guarded by one lock (requests run on many threads)."""

    def __init__(self, path):
        self._lock = threading.Lock()
        self._db = sqlite3.connect(path, check_same_thread=False)
        with self._lock, self._db:
            self._db.execute(
                "CREATE TABLE IF NOT EXISTS uploads ("
                "id INTEGER PRIMARY KEY AUTOINCREMENT, received_at TEXT NOT NULL, "
                "referrer TEXT NOT NULL, session TEXT NOT NULL, "
                "raw_body BLOB NOT NULL, report TEXT NOT NULL)")
            self._db.execute(
                "CREATE TABLE IF NOT EXISTS speed_uploads ("
                "id INTEGER PRIMARY KEY AUTOINCREMENT, received_at TEXT NOT NULL, "
                "bytes INTEGER NOT NULL)")

    @staticmethod
    def _now():
        return datetime.datetime.now(datetime.timezone.utc).isoformat(timespec="milliseconds")

    def add_upload(self, referrer, session, raw_body, report):
        with self._lock, self._db:
            cursor = self._db.execute(
                "INSERT INTO uploads (received_at, referrer, session, raw_body, report) "
                "VALUES (?, ?, ?, ?, ?)", (self._now(), referrer, session, raw_body, report))
            return cursor.lastrowid

    def latest_report(self, session):
        with self._lock:
            row = self._db.execute(
                "SELECT report FROM uploads WHERE session = ? ORDER BY id DESC LIMIT 1",
                (session,)).fetchone()
        return row[0] if row else None

    def add_speed_upload(self, size):
        with self._lock, self._db:
            self._db.execute("INSERT INTO speed_uploads (received_at, bytes) VALUES (?, ?)",
                             (self._now(), size))

    def snapshot(self):
        with self._lock:
            uploads = self._db.execute(
                "SELECT id, received_at, referrer, session, raw_body, report "
                "FROM uploads ORDER BY id").fetchall()
            sizes = [row[0] for row in self._db.execute(
                "SELECT bytes FROM speed_uploads ORDER BY id")]
        return {
            "uploads": [{"id": u[0], "received_at": u[1], "referrer": u[2], "session": u[3],
                         "raw_body_b64": base64.b64encode(u[4]).decode("ascii"),
                         "report": u[5]} for u in uploads],
            "speed_uploads": {"count": len(sizes), "bytes": sizes},
        }

    def clear(self):
        with self._lock, self._db:
            self._db.execute("DELETE FROM uploads")
            self._db.execute("DELETE FROM speed_uploads")

    def close(self):
        with self._lock:
            self._db.close()


class Journal:
    """Every non-admin request in arrival order, for tests that check the wire bytes."""

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
    """Wraps the request stream and keeps the bytes of every readline call,
    i.e. the request line and header block exactly as received."""

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


# ---------------------------------------------------------------------------
# HTTP

class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    server_version = "DataService/1.0"
    sys_version = ""
    # Error replies to unparsable request lines still need a status line.
    default_request_version = "HTTP/1.0"

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
        try:
            super().handle_one_request()
        except ConnectionError:
            self.close_connection = True
        if self.rfile.head and not self.path.startswith(ADMIN_PREFIX):
            self._record()

    def _record(self):
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

    # -- logging -----------------------------------------------------------

    def log_request(self, code="-", size="-"):
        self.status = int(code)
        path = self.path if len(self.path) <= 200 else self.path[:200] + "..."
        log.info("%s %s %s %d body=%d", self.client_address[0], self.command or "-",
                 path or "-", self.status, len(self.body))

    def log_message(self, format, *args):
        log.warning("%s %s", self.client_address[0], format % args)

    # -- replies -----------------------------------------------------------

    def _reply(self, status, body, content_type="text/plain; charset=utf-8",
               close=False, extra_headers=()):
        if isinstance(body, str):
            body = body.encode("utf-8")
        self.send_response(status)
        self.send_header("Content-Type", content_type)
        self.send_header("Content-Length", str(len(body)))
        self.send_header("Cache-Control", "no-cache")
        for name, value in extra_headers:
            self.send_header(name, value)
        if close:
            self.send_header("Connection", "close")
        self.end_headers()
        if self.command != "HEAD":
            self.wfile.write(body)

    def _read_body(self):
        if self.headers.get("Transfer-Encoding") is not None:
            raise BadRequest(411, "chunked bodies are not accepted; send Content-Length",
                             close=True)
        lengths = self.headers.get_all("Content-Length") or []
        if not lengths:
            if self.command == "POST":
                raise BadRequest(411, "Content-Length required", close=True)
            return b""
        if len(set(v.strip() for v in lengths)) != 1 or not _ASCII_DIGITS.fullmatch(
                lengths[0].strip()):
            raise BadRequest(400, "invalid Content-Length", close=True)
        length = int(lengths[0])
        if length > self.server.max_body:
            raise BadRequest(413, "body larger than %d bytes" % self.server.max_body, close=True)
        body = self.rfile.read(length)
        self.body = body
        if len(body) != length:
            raise BadRequest(400, "body shorter than Content-Length", close=True)
        return body

    def __getattr__(self, name):
        # Every method goes through the routes, so an unknown path is 404 and a
        # known path with the wrong method 405, whatever the method is.
        if name.startswith("do_"):
            return self._dispatch
        raise AttributeError(name)

    def _dispatch(self):
        try:
            self._read_body()
            path, _, query = self.path.partition("?")
            route = self._route(path)
            if route is None:
                raise BadRequest(404, "not found")
            allowed, handler = route
            if self.command != allowed:
                self._reply(405, "method not allowed", extra_headers=[("Allow", allowed)])
                return
            handler(path, parse_query(query))
        except BadRequest as refusal:
            self._reply(refusal.status, refusal.text, close=refusal.close)
        except (ConnectionError, TimeoutError):
            raise
        except Exception:
            log.exception("failure while handling %s %.200s", self.command, self.path)
            self._reply(500, "internal error", close=True)

    def _route(self, path):
        routes = {
            GROUP_LIST_PATH: ("GET", self._group_list),
            SYSTEM_INFORMATION_PATH: ("POST", self._system_information),
            SPEED_UPLOAD_PATH: ("POST", self._speed_upload),
            DOWNLOAD_PATH: ("GET", self._download),
            "/_admin/uploads": ("GET", self._admin_uploads),
            "/_admin/requests": ("GET", self._admin_requests),
            "/_admin/reset": ("POST", self._admin_reset),
        }
        if path in routes:
            return routes[path]
        if path.startswith(ANALYSIS_PREFIX):
            return ("POST", self._analysis)
        return None

    def _require_api_key(self, query):
        if query.get("apikey") != API_KEY:
            raise BadRequest(403, "invalid api key")

    def _require_content_type(self, expected):
        value = self.headers.get("Content-Type", "")
        media, *params = [part.strip() for part in value.split(";")]
        charset_ok = all(
            p.partition("=")[2].strip().strip('"').lower() == "utf-8"
            for p in params if p.partition("=")[0].strip().lower() == "charset")
        if media.lower() != expected or not charset_ok:
            raise BadRequest(415, "expected Content-Type %s; charset=utf-8" % expected)

    def _text_body(self):
        try:
            return self.body.decode("utf-8")
        except UnicodeDecodeError:
            raise BadRequest(400, "body is not valid UTF-8")

    # -- endpoints ---------------------------------------------------------

    def _group_list(self, path, query):
        self._require_api_key(query)
        if "refid" not in query:
            raise BadRequest(400, "refid missing")
        referrer = query["refid"]
        groups = self.server.groups.get(referrer, self.server.groups.get("*", []))
        # The control reads only the second line; the first must stay one line.
        first = "groups " + referrer.replace("\r", " ").replace("\n", " ")
        self._reply(200, first + "\r\n" + "|".join(str(g) for g in groups) + "\r\n")

    def _system_information(self, path, query):
        self._require_content_type("text/xml")
        if "refid" not in query or "sessid" not in query:
            raise BadRequest(400, "refid and sessid required")
        match = _SYSTEM_INFORMATION_BODY.fullmatch(self._text_body())
        if match is None:
            raise BadRequest(400, "body is not a SystemInformation/Data element")
        try:
            report = unescape_report(match.group(1))
        except ValueError as error:
            raise BadRequest(400, str(error))
        upload_id = self.server.store.add_upload(query["refid"], query["sessid"], self.body,
                                                 report)
        self._reply(200, "stored upload %d" % upload_id)

    def _analysis(self, path, query):
        self._require_content_type("application/xml")
        referrer = urllib.parse.unquote(path[len(ANALYSIS_PREFIX):], errors="replace")
        match = _ANALYSIS_BODY.fullmatch(self._text_body())
        if match is None:
            raise BadRequest(400, "body is not a System analysis request")
        session, item, user, fmt, schema = match.groups()
        report = self.server.store.latest_report(session)
        if report is None:
            raise BadRequest(404, "no report for session %s" % session)
        log.info("analysis for referrer %s session %s item %s", referrer, session, item)
        self._reply(200, build_analysis(session, item, user, fmt, schema, report),
                    content_type="application/xml; charset=utf-8")

    def _speed_upload(self, path, query):
        self._require_api_key(query)
        self._require_content_type("application/xml")
        self.server.store.add_speed_upload(len(self.body))
        self._reply(200, str(len(self.body)))

    def _download(self, path, query):
        self._reply(200, self.server.download_body, content_type="application/octet-stream")

    def _admin_uploads(self, path, query):
        self._reply(200, json.dumps(self.server.store.snapshot(), ensure_ascii=False),
                    content_type="application/json; charset=utf-8")

    def _admin_requests(self, path, query):
        self._reply(200, json.dumps(self.server.journal.list(), ensure_ascii=False),
                    content_type="application/json; charset=utf-8")

    def _admin_reset(self, path, query):
        self.server.store.clear()
        self.server.journal.clear()
        self._reply(200, "reset")


class DataService(http.server.ThreadingHTTPServer):
    daemon_threads = True

    def __init__(self, port=0, db=":memory:", groups=None, download_size=DEFAULT_DOWNLOAD_SIZE,
                 max_body=DEFAULT_MAX_BODY, socket_timeout=SOCKET_TIMEOUT_SECONDS):
        self.groups = groups if groups is not None else {}
        self.download_body = download_block(download_size)
        self.max_body = max_body
        self.socket_timeout = socket_timeout
        self.store = Store(db)
        self.journal = Journal()
        try:
            super().__init__(("127.0.0.1", port), Handler)
        except OSError:
            self.store.close()
            raise

    @property
    def port(self):
        return self.server_address[1]

    def server_close(self):
        super().server_close()
        self.store.close()


def main(argv=None):
    parser = argparse.ArgumentParser(description="Reference data service (127.0.0.1 only).")
    parser.add_argument("--port", type=int, required=True, help="TCP port; 0 picks a free one")
    parser.add_argument("--db", default=":memory:", help="SQLite file (default: in memory)")
    parser.add_argument("--groups", default=DEFAULT_GROUPS_FILE,
                        help="JSON file: referrer id -> list of group ids, '*' as default")
    parser.add_argument("--download-size", type=int, default=DEFAULT_DOWNLOAD_SIZE,
                        help="size in bytes of /global/tests/test_2.bin")
    parser.add_argument("--log", help="request log file (default: stderr)")
    args = parser.parse_args(argv)
    if not 0 <= args.port <= 65535:
        parser.error("--port must be between 0 and 65535")
    if args.download_size < 0:
        parser.error("--download-size must not be negative")

    handler = logging.FileHandler(args.log, encoding="utf-8") if args.log \
        else logging.StreamHandler(sys.stderr)
    handler.setFormatter(logging.Formatter("%(asctime)s %(levelname)s %(message)s"))
    log.addHandler(handler)
    log.setLevel(logging.INFO)

    try:
        groups = load_groups(args.groups)
    except (OSError, ValueError) as error:
        print("cannot load groups: %s" % error, file=sys.stderr)
        return 2
    try:
        server = DataService(args.port, args.db, groups, args.download_size)
    except (OSError, sqlite3.Error) as error:
        print("cannot start: %s" % error, file=sys.stderr)
        return 1

    print("listening on 127.0.0.1:%d" % server.port, flush=True)
    log.info("listening on 127.0.0.1:%d", server.port)
    try:
        server.serve_forever()
    except KeyboardInterrupt:
        pass
    finally:
        server.server_close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
