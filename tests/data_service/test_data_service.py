"""Tests of the endpoints the control uses and of the service's start, over real loopback HTTP."""

import base64
import concurrent.futures
import http.client
import json
import os
import re
import socket
import sqlite3
import subprocess
import sys
import threading
import unittest

from service_support import (DEMO_GROUPS, KEY, SCRIPT, SPEED, ServiceTestCase, data_service,
                             group_list_path, loaded, report_of, scratch_file,
                             system_information_body)


class ControlEndpointTests(ServiceTestCase):

    def test_group_lists_by_referrer_behind_the_api_key(self):
        cases = [
            (group_list_path("demo"), 200, DEMO_GROUPS),
            (group_list_path("other"), 200, b"groups other\r\n71207\r\n"),
            (group_list_path(""), 200, b"groups \r\n71207\r\n"),
            # Percent-decoded but "+" kept; line breaks become blanks.
            (group_list_path("a+b%20c"), 200, b"groups a+b c\r\n71207\r\n"),
            (group_list_path("x%0D%0Ay"), 200, b"groups x  y\r\n71207\r\n"),
            (group_list_path("demo", KEY.lower()), 403, b"invalid api key"),
            (group_list_path("demo", KEY + "0"), 403, b"invalid api key"),
            (group_list_path("demo", ""), 403, b"invalid api key"),
            ("/Data/Service.svc/Group/list?refid=demo", 403, b"invalid api key"),
            ("/Data/Service.svc/Group/list?apikey=" + KEY, 400, b"refid missing"),
        ]
        for path, status, body in cases:
            with self.subTest(path=path):
                self.assertEqual(self.request("GET", path),
                                 (status, "text/plain; charset=utf-8", body))

    def test_uploads_are_stored_as_received_unescaped_once_and_numbered_or_refused(self):
        report = report_of([
            ("71424", 0, "s1"),
            ("71357", 0, "Intel&amp;Co &lt;LAN&gt; \"x\" 'y' caf\u00e9 \u65e5\u672c \U0001F600"),
            ("71357", 1, "a\tb\r\nc"),
        ])

        def wrapped(data):
            return b"<SystemInformation><Data>" + data + b"</Data></SystemInformation>"

        not_template = b"body is not a SystemInformation/Data element"
        ampersand = b"unescaped ampersand in Data"
        cases = [  # (body, reply, report stored or None)
            (system_information_body(report).encode("utf-8"), b"stored upload 1", report),
            (wrapped(b"a&amp;b&lt;c&gt;"), b"stored upload 2", "a&b<c>"),
            # "&amp;lt;" on the wire is the report's own "&lt;", not a "<".
            (wrapped(b"&amp;lt;"), b"stored upload 3", "&lt;"),
            (wrapped(b"&amp;amp;gt;"), b"stored upload 4", "&amp;gt;"),
            (wrapped(b""), b"stored upload 5", ""),
            (b"<SystemInformation></SystemInformation>", not_template, None),
            (b"<Other><Data>x</Data></Other>", not_template, None),
            (wrapped(b"x") + b"!", not_template, None), (b"", not_template, None),
            (wrapped(b"<groups>"), b"unescaped angle bracket in Data", None),
            (wrapped(b"a&b"), ampersand, None), (wrapped(b"&quot;"), ampersand, None),
            (wrapped(b"\xff\xfe"), b"body is not valid UTF-8", None),
            (wrapped(b"\xc3"), b"body is not valid UTF-8", None),
        ]
        for body, reply, stored in cases:
            with self.subTest(body=body[:80]):
                self.assertEqual(self.control_post("/SystemInformation/?refid=demo&sessid=s1",
                                                   "text/xml", body)[::2],
                                 (400 if stored is None else 200, reply))
        uploads = self.admin("uploads")["uploads"]
        self.assertEqual([u["report"] for u in uploads],
                         [stored for _, _, stored in cases if stored is not None])
        first = uploads[0]
        self.assertEqual((first["referrer"], first["session"], base64.b64decode(
            first["raw_body_b64"])), ("demo", "s1", cases[0][0]))

    def test_uploads_need_both_ids_and_xml_text_in_utf8(self):
        body = system_information_body("<groups></groups>  ").encode()
        cases = [("/SystemInformation/?refid=r", "text/xml", 400),
                 ("/SystemInformation/?sessid=s", "text/xml", 400),
                 ("/SystemInformation/", "text/xml", 400),
                 ("/SystemInformation?refid=r&sessid=s", "text/xml", 404)]
        cases += [("/SystemInformation/?refid=r&sessid=s", content_type, 415)
                  for content_type in ("application/xml; charset=utf-8",
                                       "text/xml; charset=utf-16", "text/plain", "")]
        for path, content_type, status in cases:
            with self.subTest(path=path, content_type=content_type):
                self.assertEqual(self.request("POST", path, body,
                                              {"Content-Type": content_type})[0], status)
        self.assertEqual(self.admin("uploads")["uploads"], [])
        self.assertEqual(self.request("POST", "/SystemInformation/?refid=r&sessid=s", body,
                                      {"Content-Type": "TEXT/XML"})[0], 200)

    def test_speed_posts_are_answered_with_their_size_and_counted_behind_the_key(self):
        for path, body, reply in ((SPEED, "x" * 10000, (200, b"10000")),
                                  (SPEED, "\u00e9" * 3, (200, b"6")), (SPEED, "", (200, b"0")),
                                  ("/Data/Service.svc/upload?apikey=nope", "x" * 100,
                                   (403, b"invalid api key")),
                                  ("/Data/Service.svc/upload", "x", (403, b"invalid api key"))):
            with self.subTest(path=path, size=len(body)):
                self.assertEqual(self.control_post(path, "application/xml", body)[::2], reply)
        self.assertEqual(self.admin("uploads")["speed_uploads"],
                         {"count": 3, "bytes": [10000, 6, 0]})

    def test_journal_keeps_the_control_s_requests_as_received_until_reset(self):
        head_get = self.control_head("GET", group_list_path("demo"))
        self.raw(head_get)
        body = system_information_body("<groups>\u00e9</groups>  ").encode("utf-8")
        head_post = self.control_head("POST", "/SystemInformation/?refid=demo&sessid=s1",
                                      "text/xml", len(body))
        self.raw(head_post + body)
        self.admin("uploads")
        self.page("/console/uploads")
        self.raw(b"NONSENSE\r\n\r\n")
        self.raw(b"POST /SystemInformation/?refid=r&sessid=s HTTP/1.1\r\nHost: h\r\n\r\n")
        self.raw(b"GET /x HTTP/1.1\r\nHost: h\r\nX-A: 1\r\nX-A: 2\r\n\r\n")
        self.control_post(SPEED, "application/xml", b"a\xffb")
        journal = self.admin("requests")
        self.assertEqual([(e["seq"], e["method"], e["status"]) for e in journal], [
            (1, "GET", 200), (2, "POST", 200), (3, None, 400), (4, "POST", 411), (5, "GET", 404),
            (6, "POST", 200)])
        get, post, bad_line, _, repeated, invalid_utf8 = journal
        self.assertEqual([base64.b64decode(e["raw_head_b64"]) for e in (get, post, bad_line)],
                         [head_get, head_post, b"NONSENSE\r\n"])
        self.assertEqual((get["path"], get["body"], get["body_b64"]),
                         (group_list_path("demo"), "", ""))
        self.assertEqual(post["header_list"], [
            ["Accept", "text/*"], ["User-Agent", "RIGEL"], ["Host", "127.0.0.1:%d" % self.port],
            ["Content-Type", "text/xml; charset=utf-8"], ["Content-Length", str(len(body))]])
        self.assertEqual((post["body"], base64.b64decode(post["body_b64"])),
                         (body.decode("utf-8"), body))
        # Repeated headers are joined in the dict and kept apart in the list.
        self.assertEqual((repeated["headers"], repeated["header_list"]), (
            {"Host": "h", "X-A": "1, 2"}, [["Host", "h"], ["X-A", "1"], ["X-A", "2"]]))
        # A body that is not UTF-8 is shown with replacement characters.
        self.assertEqual((invalid_utf8["body"], base64.b64decode(invalid_utf8["body_b64"])),
                         ("a\ufffdb", b"a\xffb"))
        self.assertEqual(self.request("POST", "/_admin/reset", b"")[::2], (200, b"reset"))
        self.assertEqual(self.admin("requests"), [])
        self.assertEqual(self.admin("uploads"),
                         {"uploads": [], "speed_uploads": {"count": 0, "bytes": []}})
        self.assertEqual(self.upload(report_of([]))[2], b"stored upload 2")

    def test_concurrent_uploads_are_all_stored(self):
        def upload(number):
            return self.upload(report_of([("71424", 0, "s%d" % number)]),
                               session="s%d" % number)[0]

        with concurrent.futures.ThreadPoolExecutor(16) as pool:
            self.assertEqual(list(pool.map(upload, range(16))), [200] * 16)
        sessions = sorted(u["session"] for u in self.admin("uploads")["uploads"])
        self.assertEqual(sessions, sorted("s%d" % n for n in range(16)))


class RobustnessTests(ServiceTestCase):
    server_options = {"max_body": 1000, "socket_timeout": 0.3}

    def test_malformed_oversized_or_unannounced_requests(self):
        post = ("POST %s HTTP/1.1\r\nHost: h\r\nContent-Type: application/xml\r\n" % SPEED).encode()
        cases = [
            (b"GARBAGE\r\n\r\n", 400), (b"\x00\xff\xfe\r\n\r\n", 400), (b"POST /\r\n\r\n", 400),
            (b"GET /a b HTTP/1.1\r\n\r\n", 400), (b"GET / XTTP/1.1\r\n\r\n", 400),
            (b"GET / HTTP/1.1.1\r\n\r\n", 400), (b"GET / HTTP/9.9\r\n\r\n", 505),
            (b"GET /" + b"a" * 70000 + b" HTTP/1.1\r\nHost: h\r\n\r\n", 414),
            (b"GET /" + b"a" * 60000 + b" HTTP/1.1\r\nHost: h\r\n\r\n", 404),
            (b"GET / HTTP/1.1\r\nX: " + b"y" * 70000 + b"\r\n\r\n", 431),
            (post + b"\r\n", 411), (post + b"Content-Length: abc\r\n\r\n", 400),
            (post + b"Content-Length: -5\r\n\r\n", 400),
            (post + "Content-Length: \u0663\r\n\r\n".encode(), 400),
            (post + b"Content-Length: 1\r\nContent-Length: 2\r\n\r\nxx", 400),
            (post + b"Transfer-Encoding: chunked\r\n\r\n1\r\nx\r\n0\r\n\r\n", 411),
            (post + b"Content-Length: 1001\r\n\r\n", 413),
            (post + b"Content-Length: 1000\r\n\r\n" + b"x" * 1000, 200),
        ]
        for request, status in cases:
            with self.subTest(request=request[:60]):
                self.assertEqual(self.raw(request)[0], status)
        self.assertEqual(self.admin("uploads")["speed_uploads"]["bytes"], [1000])
        self.assert_serving()

    def test_unknown_paths_and_methods(self):
        for method, path, status, body in (
                ("GET", "/", 404, b"not found"),
                ("GET", "/data/service.svc/group/list", 404, b"not found"),
                ("PUT", "/nowhere", 404, b"not found"),
                ("DELETE", "/_admin/uploads", 405, b"method not allowed"),
                ("POST", "/_admin/requests", 405, b"method not allowed"),
                ("POST", "/global/tests/test_2.bin", 405, b"method not allowed")):
            with self.subTest(method=method, path=path):
                self.assertEqual(self.request(method, path, b"")[::2], (status, body))

    def test_body_shorter_than_announced_closes_the_connection(self):
        request = ("POST %s HTTP/1.1\r\nHost: h\r\nContent-Type: application/xml\r\n"
                   "Content-Length: 100\r\n\r\nxxxx" % SPEED).encode()
        status, headers, body = self.raw(request, shutdown_write=True)
        self.assertEqual((status, body, headers["Connection"]),
                         (400, b"body shorter than Content-Length", "close"))
        self.assert_serving()

    def test_a_refused_request_keeps_the_connection(self):
        conn = http.client.HTTPConnection("127.0.0.1", self.port, timeout=5)
        try:
            conn.request("GET", group_list_path("demo", "bad"))
            response = conn.getresponse()
            self.assertEqual((response.read(), response.will_close), (b"invalid api key", False))
            conn.request("GET", group_list_path("demo"))
            self.assertEqual(conn.getresponse().read(), DEMO_GROUPS)
        finally:
            conn.close()

    def test_stalled_or_vanished_clients_are_dropped_and_others_are_served(self):
        stalled = ("POST %s HTTP/1.1\r\nHost: h\r\nContent-Length: 500\r\n\r\nxx" % SPEED).encode()
        with socket.create_connection(("127.0.0.1", self.port), timeout=5) as sock:
            sock.sendall(stalled)
        self.assert_serving()
        with socket.create_connection(("127.0.0.1", self.port), timeout=5) as sock:
            sock.sendall(stalled)
            self.assert_serving()
            # The service gives up on the stalled request and closes the connection.
            self.assertEqual(sock.recv(100), b"")
        self.assertEqual(self.admin("uploads")["speed_uploads"]["count"], 0)


class StartUpTests(unittest.TestCase):

    def start(self, *args):
        proc = subprocess.Popen([sys.executable, SCRIPT, *args], stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE)
        self.addCleanup(self.stop, proc)
        return proc

    @staticmethod
    def stop(proc):
        if proc.poll() is None:
            proc.terminate()
        proc.communicate(timeout=5)

    def test_runs_on_a_free_port_with_its_groups_download_size_log_and_database(self):
        groups = scratch_file(self, "groups.json", json.dumps({"cli": [5, 6], "one": [5]}))
        log_path = os.path.join(os.path.dirname(groups), "service.log")
        db_path = os.path.join(os.path.dirname(groups), "service.sqlite")
        proc = self.start("--port", "0", "--groups", groups, "--download-size", "300",
                          "--log", log_path, "--db", db_path)
        watchdog = threading.Timer(5, proc.kill)
        watchdog.start()
        try:
            first_line = proc.stdout.readline().decode("ascii")
        finally:
            watchdog.cancel()
        match = re.fullmatch(r"listening on 127\.0\.0\.1:(\d+)\n", first_line)
        conn = http.client.HTTPConnection("127.0.0.1", int(match.group(1)), timeout=5)
        # One group has no separator; without a "*" list an unknown referrer gets none.
        for referrer, line in (("cli", b"5|6"), ("one", b"5"), ("nobody", b"")):
            conn.request("GET", group_list_path(referrer))
            self.assertEqual(conn.getresponse().read(),
                             b"groups %s\r\n%s\r\n" % (referrer.encode(), line))
        conn.request("GET", "/global/tests/test_2.bin")
        response = conn.getresponse()
        self.assertEqual((response.getheader("Content-Type"), response.read()),
                         ("application/octet-stream", bytes(range(256)) + bytes(range(44))))
        report = report_of([("71206", 0, "\u00fcser &amp; co")])
        body = system_information_body(report).encode()
        conn.request("POST", "/SystemInformation/?refid=cli&sessid=s1", body,
                     {"Content-Type": "text/xml; charset=utf-8"})
        self.assertEqual(conn.getresponse().read(), b"stored upload 1")
        conn.close()
        self.stop(proc)
        with open(log_path, encoding="utf-8") as handle:
            log_text = handle.read()
        self.assertIn("GET %s 200 body=0" % group_list_path("cli"), log_text)
        self.assertIn("POST /SystemInformation/?refid=cli&sessid=s1 200 body=%d" % len(body),
                      log_text)
        db = sqlite3.connect(db_path)
        try:
            [row] = db.execute("SELECT id, received_at, referrer, session, raw_body, report"
                               " FROM uploads").fetchall()
        finally:
            db.close()
        self.assertRegex(row[1], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}\+00:00$")
        self.assertEqual((row[0],) + row[2:], (1, "cli", "s1", body, report))

    def test_startup_failures_end_the_process_at_once_naming_the_cause(self):
        groups = scratch_file(self, "groups.json", "{not json")
        typo = scratch_file(self, "items.ini", "[1]\nname = One\nminimum memory = 2 GB\n"
                                               "minimum procesor speed = 2 GHz\n")
        with socket.socket() as busy:
            busy.bind(("127.0.0.1", 0))
            busy.listen(1)
            # A message ending in ": " goes on with the system's own text. Without --groups the
            # sample groups file is loaded, so only the port fails.
            for args, code, message in (
                    (["--groups", groups], 2, "cannot load groups: %s line 1 column 2: "
                     "Expecting property name enclosed in double quotes" % groups),
                    (["--items", typo], 2, "cannot load items: %s line 4: unknown requirement "
                     "'procesor speed'; known: memory, free disk space, processor speed, "
                     "processor count, operating system version, directx version, screen "
                     "resolution, graphics memory, download bandwidth" % typo),
                    (["--host", "0.0.0.0"], 2,
                     "data_service.py: error: --host 0.0.0.0 is not loopback: give "
                     "--admin-token-file"),
                    (["--port", str(busy.getsockname()[1])], 1, "cannot start: ")):
                with self.subTest(args=args):
                    proc = self.start(*(["--port", "0"] + args))
                    out, err = proc.communicate(timeout=10)
                    last = err.decode().splitlines()[-1]
                    if message.endswith(": "):
                        last = last[:len(message)]
                    self.assertEqual((proc.returncode, out, last), (code, b"", message))
        with self.assertRaises(ValueError):
            data_service.DataService(0, host="0.0.0.0")

    def test_groups_files_of_bad_shape_are_refused_by_name(self):
        list_of_ids = "g.json: groups of referrer 'a' must be a list of value IDs"
        for text, message in (('[1, 2]', "g.json: top level must be an object"),
                              ('{"a": [1, "2"]}', list_of_ids), ('{"a": 5}', list_of_ids),
                              ('{"a": [true]}', list_of_ids), ('{"a": [-1]}', list_of_ids),
                              ('{"a": [1.5]}', list_of_ids)):
            with self.subTest(text=text):
                self.assertEqual(loaded(self, data_service.load_groups, "g.json", text), message)

    def test_the_groups_file_only_seeds_an_empty_database(self):
        db = scratch_file(self, "service.sqlite", b"")
        first = data_service.DataService(0, db=db, groups={"a": [1]})
        first.store.set_group_list("a", [2, 3])
        first.server_close()
        second = data_service.DataService(0, db=db, groups={"a": [9], "b": [9]})
        try:
            self.assertEqual(dict(second.store.group_lists()), {"a": [2, 3]})
        finally:
            second.server_close()

    def test_a_database_of_the_earlier_service_gets_its_uploads_derived(self):
        db = scratch_file(self, "service.sqlite", b"")
        connection = sqlite3.connect(db)
        with connection:
            connection.execute(
                "CREATE TABLE uploads (id INTEGER PRIMARY KEY AUTOINCREMENT, received_at TEXT "
                "NOT NULL, referrer TEXT NOT NULL, session TEXT NOT NULL, raw_body BLOB NOT "
                "NULL, report TEXT NOT NULL)")
            connection.execute("INSERT INTO uploads (received_at, referrer, session, raw_body, "
                               "report) VALUES ('t', 'r', 's', x'00', ?)",
                               (report_of([("71061", 0, "Xeon"), ("71064", 0, "Radeon")]),))
        connection.close()
        service = data_service.DataService(0, db=db)
        try:
            [summary], total = service.store.list_uploads(text="radeon")
            upload = service.store.get_upload(1)
        finally:
            service.server_close()
        self.assertRegex(summary.machine_key, "^[0-9a-f]{16}$")
        self.assertEqual((total, summary.facts["processor"], upload.raw_body), (1, "Xeon", b"\0"))


if __name__ == "__main__":
    unittest.main()
