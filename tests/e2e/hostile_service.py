#!/usr/bin/env python3
"""A hostile data service for the tests of the control's bounded waits: it answers the paths the
control uses, on the loopback address, the way one hostile mode says (never, a byte at a time, for
ever, far too much, or wrong), and every other request as a healthy service would.

    hostile_service.py --port PORT --mode MODE [--hold SECONDS]

It prints "listening on 127.0.0.1:PORT" once it accepts connections and then one line per request
("GET /path"). A connection it never answers is let go when the client closes it or after --hold
seconds, so that nothing outlives a test. Standard library only.
"""

import argparse
import http.server
import random
import socket
import sys
import time

GROUP_LIST_PATH = "/Data/Service.svc/Group/list"
SYSTEM_INFORMATION_PATH = "/SystemInformation/"
ANALYSIS_PREFIX = "/service/Analysis/"
SPEED_UPLOAD_PATH = "/Data/Service.svc/upload"
DOWNLOAD_PATH = "/global/tests/test_2.bin"

DOWNLOAD_SIZE = 256 * 1024
CHUNK = 64 * 1024
MAX_REQUEST_BODY = 16 * 1024 * 1024

# The groups a healthy list enables: the session identifiers, both speeds and a few machine values.
GROUPS = [71424, 71206, 71069, 71422, 71060, 71063, 71309]

# What the server does, by mode: a reply kind per request kind, and what the modes that spoil
# every reply do to it.
MODES = {
    "healthy": "answers everything as the reference service would",
    "invalid-utf8": "answers with invalid UTF-8 in every reply",
    "nuls": "answers with NUL bytes in every reply",
    "garbage-10mb": "answers every request with 10 MB of random bytes",
    "many-groups": "lists 100,000 group ids",
    "truncated": "cuts every reply off halfway through its declared length",
    "http-500": "answers every request with an HTTP 500 page",
    "huge-headers": "sends a 256 KB header block with every reply",
    "upload-413": "answers the upload test with 413",
    "silent-groups": "never answers the group list",
    "silent-upload": "never answers the report upload",
    "silent-analysis": "never answers the analysis request",
    "silent": "never answers anything",
    "trickle-download": "trickles the download test file, a byte a second",
    "endless-download": "never ends the download test file",
    "endless-groups": "never ends the group list",
    "oversized-groups": "answers the group list with 200 MB",
}


def kind_of(method, path):
    if method == "GET" and path.startswith(GROUP_LIST_PATH + "?"):
        return "groups"
    if method == "GET" and path == DOWNLOAD_PATH:
        return "download"
    if method == "POST" and path.startswith(SPEED_UPLOAD_PATH + "?"):
        return "speed-upload"
    if method == "POST" and path.startswith(SYSTEM_INFORMATION_PATH):
        return "report-upload"
    if method == "POST" and path.startswith(ANALYSIS_PREFIX):
        return "analysis"
    return "other"


def referrer_of(path):
    for pair in path.partition("?")[2].split("&"):
        key, _, value = pair.partition("=")
        if key == "refid":
            return value
    return ""


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    server_version = "Hostile/1.0"
    sys_version = ""

    def log_message(self, format, *args):  # noqa: A002 - the base class's name
        pass

    def do_GET(self):
        self.serve("GET")

    def do_POST(self):
        self.serve("POST")

    # -- the request ---------------------------------------------------------------------------

    def serve(self, method):
        print("%s %s" % (method, self.path), flush=True)
        body = self.read_body()
        kind = kind_of(method, self.path)
        mode = self.server.mode
        silent = {"silent-groups": ("groups",), "silent-upload": ("report-upload",),
                  "silent-analysis": ("analysis",)}.get(mode, ())
        if mode == "silent" or kind in silent:
            return self.hold()
        if mode == "http-500":
            return self.reply(500, b"<html><body><h1>500 Internal Server Error</h1></body></html>",
                              "text/html")
        if kind == "download":
            return self.download()
        if kind == "groups" and mode == "endless-groups":
            return self.stream(None)
        if kind == "groups" and mode == "oversized-groups":
            return self.stream(200 * 1024 * 1024)
        if kind == "speed-upload" and mode == "upload-413":
            return self.reply(413, b"Request Entity Too Large")
        self.reply(200, self.spoiled(self.healthy_body(kind, body)))

    def read_body(self):
        length = int(self.headers.get("Content-Length") or 0)
        return self.rfile.read(min(length, MAX_REQUEST_BODY)) if length > 0 else b""

    def healthy_body(self, kind, body):
        if kind == "groups":
            ids = GROUPS if self.server.mode != "many-groups" else range(100000, 200000)
            return ("groups %s\r\n%s\r\n" % (referrer_of(self.path),
                                            "|".join(str(i) for i in ids))).encode("ascii")
        if kind == "speed-upload":
            return str(len(body)).encode("ascii")
        if kind == "report-upload":
            return b"stored upload 1"
        if kind == "analysis":
            return b"<Analysis><Values>0</Values></Analysis>"
        return b"not found"

    def spoiled(self, body):
        mode = self.server.mode
        if mode == "invalid-utf8":
            return b"\xff\xfe\xc3(" + body + b"\xe2\x82\xed\xa0\x80\xf8"
        if mode == "nuls":
            return body[:len(body) // 2] + b"\0\0|\0" + body[len(body) // 2:]
        if mode == "garbage-10mb":
            return self.server.garbage
        return body

    # -- the replies ---------------------------------------------------------------------------

    def headers_out(self, status, length, content_type="text/plain"):
        self.send_response(status)
        self.send_header("Content-Type", content_type)
        if length is None:
            self.send_header("Connection", "close")
            self.close_connection = True
        else:
            self.send_header("Content-Length", str(length))
        if self.server.mode == "huge-headers":
            filler = "x" * 240
            for number in range(1024):
                self.send_header("X-Filler-%d" % number, filler)
        self.end_headers()

    def reply(self, status, body, content_type="text/plain"):
        if self.server.mode == "truncated":
            self.headers_out(status, len(body) * 2 + 2, content_type)
            self.wfile.write(body)
            self.close_connection = True
            return
        self.headers_out(status, len(body), content_type)
        self.wfile.write(body)

    def download(self):
        mode = self.server.mode
        if mode == "trickle-download":
            return self.trickle(DOWNLOAD_SIZE)
        if mode == "endless-download":
            return self.stream(None)
        self.reply(200, bytes(i % 256 for i in range(DOWNLOAD_SIZE)), "application/octet-stream")

    def trickle(self, length):
        """One byte a second, for as long as the client reads."""
        self.headers_out(200, length, "application/octet-stream")
        deadline = time.monotonic() + self.server.hold
        try:
            for _ in range(length):
                if time.monotonic() > deadline:
                    break
                self.wfile.write(b"7")
                self.wfile.flush()
                time.sleep(1)
        except OSError:
            pass
        self.close_connection = True

    def stream(self, length):
        """As fast as the client reads: length bytes, or without end (None)."""
        self.headers_out(200, length, "application/octet-stream")
        chunk = b"7|" * (CHUNK // 2)
        sent = 0
        deadline = time.monotonic() + self.server.hold
        try:
            while (length is None or sent < length) and time.monotonic() < deadline:
                part = chunk if length is None else chunk[:length - sent]
                self.wfile.write(part)
                sent += len(part)
        except OSError:
            pass
        self.close_connection = True

    def hold(self):
        """Keeps the connection without a word until the client lets go of it."""
        deadline = time.monotonic() + self.server.hold
        self.connection.settimeout(0.2)
        while time.monotonic() < deadline:
            try:
                if not self.connection.recv(4096):
                    break
            except socket.timeout:
                continue
            except OSError:
                break
        self.close_connection = True


class HostileService(http.server.ThreadingHTTPServer):
    daemon_threads = True
    allow_reuse_address = True

    def __init__(self, port, mode, hold):
        super().__init__(("127.0.0.1", port), Handler)
        self.mode = mode
        self.hold = hold
        self.garbage = random.Random(11).randbytes(10 * 1024 * 1024) if mode == "garbage-10mb" \
            else b""


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--port", type=int, required=True)
    parser.add_argument("--mode", choices=sorted(MODES), required=True)
    parser.add_argument("--hold", type=float, default=120,
                        help="seconds after which a connection held or streamed is let go")
    options = parser.parse_args(argv)
    server = HostileService(options.port, options.mode, options.hold)
    print("listening on 127.0.0.1:%d" % server.server_address[1], flush=True)
    with server:
        server.serve_forever()
    return 0


if __name__ == "__main__":
    sys.exit(main())
