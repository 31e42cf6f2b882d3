"""Tests of the endpoints the control uses, over real loopback HTTP."""

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
import tempfile
import threading
import unittest

from service_support import (KEY, SCRIPT, ServiceTestCase, data_service, report_of,
                             system_information_body)


class GroupListTests(ServiceTestCase):

    def group_list(self, query):
        return self.request("GET", "/Data/Service.svc/Group/list?" + query)

    def test_referrer_line_then_its_groups_or_the_default_list(self):
        for referrer, body in (("demo", b"groups demo\r\n71424|71206|71218\r\n"),
                               ("other", b"groups other\r\n71207\r\n"),
                               ("", b"groups \r\n71207\r\n"),
                               # Percent-decoded but "+" kept; line breaks become blanks.
                               ("a+b%20c", b"groups a+b c\r\n71207\r\n"),
                               ("x%0D%0Ay", b"groups x  y\r\n71207\r\n")):
            with self.subTest(referrer=referrer):
                self.assertEqual(self.group_list("refid=%s&apikey=%s" % (referrer, KEY)),
                                 (200, "text/plain; charset=utf-8", body))

    def test_api_key_must_be_exact_and_referrer_present(self):
        for query in ("refid=demo&apikey=" + KEY.lower(), "refid=demo&apikey=" + KEY + "0",
                      "refid=demo&apikey=", "refid=demo"):
            with self.subTest(query=query):
                self.assertEqual(self.group_list(query),
                                 (403, "text/plain; charset=utf-8", b"invalid api key"))
        self.assertEqual(self.group_list("apikey=" + KEY)[0], 400)


class SystemInformationTests(ServiceTestCase):

    def test_reports_round_trip_numbered_and_in_order(self):
        report = report_of([
            ("71424", 0, "s1"),
            ("71357", 0, "Intel&amp;Co &lt;LAN&gt; \"x\" 'y' caf\u00e9 \u65e5\u672c \U0001F600"),
            ("71357", 1, "a\tb\r\nc"),
        ])
        body = system_information_body(report).encode("utf-8")
        status, headers, reply = self.upload(report, referrer="demo", session="s1")
        self.assertEqual((status, reply), (200, b"stored upload 1"))
        self.assertEqual(headers["Content-Type"], "text/plain; charset=utf-8")
        [stored] = self.admin("uploads")["uploads"]
        self.assertEqual(stored["report"], report)
        self.assertEqual((stored["referrer"], stored["session"]), ("demo", "s1"))
        self.assertEqual(base64.b64decode(stored["raw_body_b64"]), body)
        for number in (2, 3):
            self.assertEqual(self.upload("<groups></groups>  ", session="s%d" % number)[2],
                             b"stored upload %d" % number)
        self.assertEqual([u["session"] for u in self.admin("uploads")["uploads"]],
                         ["s1", "s2", "s3"])

    def test_data_is_unescaped_in_the_inverse_order(self):
        # "&amp;lt;" on the wire is the report's own "&lt;", not a "<".
        cases = [
            ("a&amp;b&lt;c&gt;", "a&b<c>"),
            ("&amp;lt;", "&lt;"),
            ("&amp;amp;gt;", "&amp;gt;"),
            ("&lt;&gt;&amp;", "<>&"),
            ("", ""),
        ]
        for number, (wire, report) in enumerate(cases, 1):
            with self.subTest(wire=wire):
                body = "<SystemInformation><Data>%s</Data></SystemInformation>" % wire
                status, _, _ = self.control_post("/SystemInformation/?refid=r&sessid=s%d" % number,
                                                 "text/xml", body)
                self.assertEqual(status, 200)
                self.assertEqual(self.admin("uploads")["uploads"][-1]["report"], report)

    def test_malformed_bodies_are_refused_and_nothing_is_stored(self):
        cases = {
            "no Data element": b"<SystemInformation></SystemInformation>",
            "wrong root": b"<Other><Data>x</Data></Other>",
            "text after the element": b"<SystemInformation><Data>x</Data></SystemInformation>!",
            "raw angle bracket": b"<SystemInformation><Data><groups></Data></SystemInformation>",
            "stray ampersand": b"<SystemInformation><Data>a&b</Data></SystemInformation>",
            "unknown entity": b"<SystemInformation><Data>&quot;</Data></SystemInformation>",
            "invalid UTF-8": b"<SystemInformation><Data>\xff\xfe</Data></SystemInformation>",
            "truncated UTF-8": b"<SystemInformation><Data>\xc3</Data></SystemInformation>",
            "empty": b"",
        }
        for name, body in cases.items():
            with self.subTest(name):
                status, headers, _ = self.control_post("/SystemInformation/?refid=r&sessid=s",
                                                       "text/xml", body)
                self.assertEqual(status, 400)
        self.assertEqual(self.admin("uploads")["uploads"], [])
        self.assert_serving()

    def test_missing_query_keys_and_other_paths_are_refused(self):
        body = system_information_body("<groups></groups>  ")
        for path, status in (("/SystemInformation/?refid=r", 400),
                             ("/SystemInformation/?sessid=s", 400), ("/SystemInformation/", 400),
                             ("/SystemInformation?refid=r&sessid=s", 404)):
            with self.subTest(path):
                self.assertEqual(self.control_post(path, "text/xml", body)[0], status)
        self.assertEqual(self.admin("uploads")["uploads"], [])

    def test_content_type_must_be_xml_text_in_utf8(self):
        body = system_information_body("<groups></groups>  ").encode()
        for content_type, expected in (("application/xml; charset=utf-8", 415),
                                       ("text/xml; charset=utf-16", 415), ("text/plain", 415),
                                       ("", 415), ("TEXT/XML", 200)):
            with self.subTest(content_type):
                status, _, _ = self.request("POST", "/SystemInformation/?refid=r&sessid=s", body,
                                            {"Content-Type": content_type})
                self.assertEqual(status, expected)


class SpeedUploadTests(ServiceTestCase):
    PATH = "/Data/Service.svc/upload?apikey=" + KEY

    def test_uploads_are_answered_with_their_size_in_bytes_and_counted(self):
        for size, body in ((10000, "x" * 10000), (6, "\u00e9" * 3), (0, "")):
            with self.subTest(size=size):
                self.assertEqual(self.control_post(self.PATH, "application/xml", body)[::2],
                                 (200, str(size).encode()))
        self.assertEqual(self.admin("uploads")["speed_uploads"],
                         {"count": 3, "bytes": [10000, 6, 0]})

    def test_wrong_key_is_refused_and_not_counted(self):
        for path in ("/Data/Service.svc/upload?apikey=nope", "/Data/Service.svc/upload"):
            with self.subTest(path):
                status, _, body = self.control_post(path, "application/xml", "x" * 100)
                self.assertEqual((status, body), (403, b"invalid api key"))
        self.assertEqual(self.admin("uploads")["speed_uploads"], {"count": 0, "bytes": []})


class DownloadTests(ServiceTestCase):

    def test_default_file_is_one_mebibyte_of_a_fixed_pattern(self):
        status, content_type, body = self.request("GET", "/global/tests/test_2.bin")
        self.assertEqual((status, content_type), (200, "application/octet-stream"))
        self.assertEqual(body, bytes(range(256)) * 4096)
        self.assertEqual(self.control_post("/global/tests/test_2.bin", "application/xml", "x")[0],
                         405)


class AdminTests(ServiceTestCase):

    def test_journal_keeps_the_exact_bytes_in_order(self):
        head_get = self.control_head("GET", "/Data/Service.svc/Group/list?refid=demo&apikey=" + KEY)
        self.raw(head_get)
        body = system_information_body("<groups>\u00e9</groups>  ").encode("utf-8")
        head_post = self.control_head("POST", "/SystemInformation/?refid=demo&sessid=s1",
                                      "text/xml", len(body))
        self.raw(head_post + body)
        self.admin("uploads")
        first, second = self.admin("requests")
        self.assertEqual(base64.b64decode(first["raw_head_b64"]), head_get)
        self.assertEqual((first["method"], first["status"], first["body"], first["body_b64"]),
                         ("GET", 200, "", ""))
        self.assertEqual(first["path"], "/Data/Service.svc/Group/list?refid=demo&apikey=" + KEY)
        self.assertEqual(base64.b64decode(second["raw_head_b64"]), head_post)
        self.assertEqual(second["header_list"], [
            ["Accept", "text/*"], ["User-Agent", "RIGEL"], ["Host", "127.0.0.1:%d" % self.port],
            ["Content-Type", "text/xml; charset=utf-8"], ["Content-Length", str(len(body))]])
        self.assertEqual(second["body"], body.decode("utf-8"))
        self.assertEqual(base64.b64decode(second["body_b64"]), body)
        self.assertEqual((second["method"], second["status"]), ("POST", 200))
        self.assertLess(first["seq"], second["seq"])

    def test_odd_and_refused_requests_are_journalled_too(self):
        self.raw(b"NONSENSE\r\n\r\n")
        self.raw(b"POST /SystemInformation/?refid=r&sessid=s HTTP/1.1\r\nHost: h\r\n\r\n")
        self.raw(b"GET /x HTTP/1.1\r\nHost: h\r\nX-A: 1\r\nX-A: 2\r\n\r\n")
        self.control_post("/Data/Service.svc/upload?apikey=" + KEY, "application/xml", b"a\xffb")
        bad_line, no_length, repeated, invalid_utf8 = self.admin("requests")
        self.assertEqual(base64.b64decode(bad_line["raw_head_b64"]), b"NONSENSE\r\n")
        self.assertEqual(bad_line["status"], 400)
        self.assertEqual((no_length["method"], no_length["status"]), ("POST", 411))
        # Repeated headers are joined in the dict and kept apart in the list.
        self.assertEqual(repeated["headers"], {"Host": "h", "X-A": "1, 2"})
        self.assertEqual(repeated["header_list"], [["Host", "h"], ["X-A", "1"], ["X-A", "2"]])
        self.assertEqual(repeated["status"], 404)
        # A body that is not UTF-8 is shown with replacement characters.
        self.assertEqual(invalid_utf8["body"], "a\ufffdb")
        self.assertEqual(base64.b64decode(invalid_utf8["body_b64"]), b"a\xffb")

    def test_reset_empties_everything(self):
        self.upload(report_of([]))
        self.control_post("/Data/Service.svc/upload?apikey=" + KEY, "application/xml", "xx")
        self.assertEqual(self.request("POST", "/_admin/reset", b"")[::2], (200, b"reset"))
        self.assertEqual(self.admin("requests"), [])
        self.assertEqual(self.admin("uploads"),
                         {"uploads": [], "speed_uploads": {"count": 0, "bytes": []}})
        self.assertEqual(self.upload(report_of([]))[2], b"stored upload 2")


class RobustnessTests(ServiceTestCase):
    server_options = {"max_body": 1000, "socket_timeout": 0.3}

    def test_malformed_or_oversized_request_heads(self):
        for head, expected in ((b"GARBAGE\r\n\r\n", 400), (b"\x00\xff\xfe\r\n\r\n", 400),
                               (b"POST /\r\n\r\n", 400), (b"GET /a b HTTP/1.1\r\n\r\n", 400),
                               (b"GET / XTTP/1.1\r\n\r\n", 400),
                               (b"GET / HTTP/1.1.1\r\n\r\n", 400),
                               (b"GET / HTTP/9.9\r\n\r\n", 505),
                               (b"GET /" + b"a" * 70000 + b" HTTP/1.1\r\nHost: h\r\n\r\n", 414),
                               (b"GET /" + b"a" * 60000 + b" HTTP/1.1\r\nHost: h\r\n\r\n", 404),
                               (b"GET / HTTP/1.1\r\nX: " + b"y" * 70000 + b"\r\n\r\n", 431)):
            with self.subTest(head=head[:30]):
                self.assertEqual(self.raw(head)[0], expected)
        self.assert_serving()

    def test_content_length_problems(self):
        path = "/Data/Service.svc/upload?apikey=" + KEY
        base = "POST %s HTTP/1.1\r\nHost: h\r\nContent-Type: application/xml\r\n" % path
        cases = [
            ("missing", base + "\r\n", 411),
            ("not a number", base + "Content-Length: abc\r\n\r\n", 400),
            ("negative", base + "Content-Length: -5\r\n\r\n", 400),
            ("non-ASCII digits", base + "Content-Length: \u0663\r\n\r\n", 400),
            ("two different", base + "Content-Length: 1\r\nContent-Length: 2\r\n\r\nxx", 400),
            ("chunked", base + "Transfer-Encoding: chunked\r\n\r\n1\r\nx\r\n0\r\n\r\n", 411),
            ("too large", base + "Content-Length: 1001\r\n\r\n", 413),
            ("largest accepted", base + "Content-Length: 1000\r\n\r\n" + "x" * 1000, 200),
        ]
        for name, request, expected in cases:
            with self.subTest(name):
                self.assertEqual(self.raw(request.encode("utf-8"))[0], expected)
        self.assertEqual(self.admin("uploads")["speed_uploads"]["bytes"], [1000])
        self.assert_serving()

    def test_body_shorter_than_announced(self):
        path = "/Data/Service.svc/upload?apikey=" + KEY
        request = ("POST %s HTTP/1.1\r\nHost: h\r\nContent-Type: application/xml\r\n"
                   "Content-Length: 100\r\n\r\nxxxx" % path).encode()
        status, headers, body = self.raw(request, shutdown_write=True)
        self.assertEqual((status, body), (400, b"body shorter than Content-Length"))
        self.assertEqual(headers["Connection"], "close")
        self.assert_serving()

    def test_unknown_paths_and_methods(self):
        for method, path, expected in (("GET", "/", 404), ("GET", "/data/service.svc/group/list",
                                                           404),
                                       ("PUT", "/nowhere", 404), ("DELETE", "/_admin/uploads", 405),
                                       ("POST", "/_admin/requests", 405)):
            with self.subTest(method=method, path=path):
                status, _, body = self.request(method, path, b"")
                self.assertEqual(status, expected)
                if expected == 404:
                    self.assertEqual(body, b"not found")

    def test_keep_alive_after_a_refused_request(self):
        conn = http.client.HTTPConnection("127.0.0.1", self.port, timeout=5)
        try:
            conn.request("GET", "/Data/Service.svc/Group/list?refid=demo&apikey=bad")
            self.assertEqual(conn.getresponse().read(), b"invalid api key")
            conn.request("GET", "/Data/Service.svc/Group/list?refid=demo&apikey=" + KEY)
            self.assertEqual(conn.getresponse().read(), b"groups demo\r\n71424|71206|71218\r\n")
        finally:
            conn.close()

    def test_stalled_or_vanished_clients_are_dropped_and_others_are_served(self):
        stalled = b"POST /Data/Service.svc/upload?apikey=" + KEY.encode() + \
            b" HTTP/1.1\r\nHost: h\r\nContent-Length: 500\r\n\r\nxx"
        with socket.create_connection(("127.0.0.1", self.port), timeout=5) as sock:
            sock.sendall(stalled)
        self.assert_serving()
        with socket.create_connection(("127.0.0.1", self.port), timeout=5) as sock:
            sock.sendall(stalled)
            self.assert_serving()
            # The service gives up on the stalled request and closes the connection.
            self.assertEqual(sock.recv(100), b"")
        self.assertEqual(self.admin("uploads")["speed_uploads"]["count"], 0)

    def test_concurrent_uploads_are_all_stored(self):
        def upload(number):
            return self.upload(report_of([("71424", 0, "s%d" % number)]),
                               session="s%d" % number)[0]

        with concurrent.futures.ThreadPoolExecutor(16) as pool:
            self.assertEqual(list(pool.map(upload, range(16))), [200] * 16)
        sessions = sorted(u["session"] for u in self.admin("uploads")["uploads"])
        self.assertEqual(sessions, sorted("s%d" % n for n in range(16)))


class FunctionTests(unittest.TestCase):

    def test_load_groups_rejects_bad_shapes(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "g.json")
            for text in ('[1, 2]', '{"a": [1, "2"]}', '{"a": 5}', '{"a": [true]}',
                         '{"a": [-1]}', '{"a": [1.5]}'):
                with self.subTest(text=text):
                    with open(path, "w") as handle:
                        handle.write(text)
                    with self.assertRaises(ValueError):
                        data_service.load_groups(path)

class CommandLineTests(unittest.TestCase):

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

    @staticmethod
    def first_line(proc):
        watchdog = threading.Timer(5, proc.kill)
        watchdog.start()
        try:
            return proc.stdout.readline().decode("ascii")
        finally:
            watchdog.cancel()

    def test_runs_on_a_free_port_with_its_groups_download_size_log_and_database(self):
        with tempfile.TemporaryDirectory() as folder:
            groups = os.path.join(folder, "groups.json")
            with open(groups, "w") as handle:
                json.dump({"cli": [5, 6], "one": [5]}, handle)
            log_path = os.path.join(folder, "service.log")
            db_path = os.path.join(folder, "service.sqlite")
            proc = self.start("--port", "0", "--groups", groups, "--download-size", "300",
                              "--log", log_path, "--db", db_path)
            match = re.fullmatch(r"listening on 127\.0\.0\.1:(\d+)\n", self.first_line(proc))
            self.assertIsNotNone(match)
            conn = http.client.HTTPConnection("127.0.0.1", int(match.group(1)), timeout=5)
            # One group has no separator; without a "*" list an unknown referrer gets none.
            for referrer, line in ((b"cli", b"5|6"), (b"one", b"5"), (b"nobody", b"")):
                conn.request("GET", "/Data/Service.svc/Group/list?refid=%s&apikey=%s"
                             % (referrer.decode(), KEY))
                self.assertEqual(conn.getresponse().read(),
                                 b"groups %s\r\n%s\r\n" % (referrer, line))
            for _ in range(2):
                conn.request("GET", "/global/tests/test_2.bin")
                self.assertEqual(conn.getresponse().read(), bytes(range(256)) + bytes(range(44)))
            report = report_of([("71206", 0, "\u00fcser &amp; co")])
            body = system_information_body(report).encode()
            conn.request("POST", "/SystemInformation/?refid=cli&sessid=s1", body,
                         {"Content-Type": "text/xml; charset=utf-8"})
            self.assertEqual(conn.getresponse().read(), b"stored upload 1")
            conn.request("POST", "/Data/Service.svc/upload?apikey=" + KEY, b"x" * 7,
                         {"Content-Type": "application/xml; charset=utf-8"})
            self.assertEqual(conn.getresponse().read(), b"7")
            conn.close()
            self.stop(proc)
            with open(log_path, encoding="utf-8") as handle:
                log_text = handle.read()
            self.assertIn("GET /Data/Service.svc/Group/list?refid=cli&apikey=%s 200 body=0" % KEY,
                          log_text)
            self.assertIn("POST /SystemInformation/?refid=cli&sessid=s1 200 body=%d" % len(body),
                          log_text)
            db = sqlite3.connect(db_path)
            try:
                rows = db.execute("SELECT id, received_at, referrer, session, raw_body, report"
                                  " FROM uploads").fetchall()
                speed = db.execute("SELECT bytes FROM speed_uploads").fetchall()
            finally:
                db.close()
        self.assertEqual(len(rows), 1)
        self.assertEqual(rows[0][0], 1)
        self.assertRegex(rows[0][1], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}\+00:00$")
        self.assertEqual(rows[0][2:], ("cli", "s1", body, report))
        self.assertEqual(speed, [(7,)])

    def test_startup_failures_end_the_process_at_once(self):
        with tempfile.TemporaryDirectory() as folder, socket.socket() as busy:
            groups = os.path.join(folder, "groups.json")
            with open(groups, "w") as handle:
                handle.write("{not json")
            busy.bind(("127.0.0.1", 0))
            busy.listen(1)
            # Without --groups the sample groups file is loaded, so only the port fails.
            for args, code, message in ((["--port", "0", "--groups", groups], 2,
                                         b"cannot load groups"),
                                        (["--port", str(busy.getsockname()[1])], 1,
                                         b"cannot start")):
                with self.subTest(code=code):
                    proc = self.start(*args)
                    out, err = proc.communicate(timeout=5)
                    self.assertEqual((proc.returncode, out), (code, b""))
                    self.assertIn(message, err)


if __name__ == "__main__":
    unittest.main()
