"""Tests of the reference data service over real loopback HTTP."""

import base64
import http.client
import json
import os
import re
import selectors
import socket
import sqlite3
import subprocess
import sys
import tempfile
import threading
import time
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
SERVICE_DIR = os.path.normpath(os.path.join(HERE, "..", "..", "tools", "data_service"))
SCRIPT = os.path.join(SERVICE_DIR, "data_service.py")
sys.path.insert(0, SERVICE_DIR)

import data_service  # noqa: E402

KEY = "5B3D0A47-1E2C-4F88-9A61-C07D2E94B3F5"
GROUPS = {"demo": [71424, 71206, 71218], "*": [71207]}


def control_escape(report):
    """The control's escaping of the report: & first, then <, then >."""
    return report.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;")


def system_information_body(report):
    return "<SystemInformation><Data>" + control_escape(report) + "</Data></SystemInformation>"


def analysis_body(session, item, user="u1", fmt="xml", schema="1"):
    return ("<System><SessionID>%s</SessionID><ItemID>%s</ItemID><UserID>%s</UserID>"
            "<Format>%s</Format><Schema>%s</Schema></System>" % (session, item, user, fmt, schema))


def report_of(entries):
    """A report as the control renders it: (id, index, already-cleaned text) per value."""
    return "<groups>" + "".join(
        '<group index="%d" id="%s"><value>%s</value></group>' % (index, gid, text)
        for gid, index, text in entries) + "</groups>  "


class ServiceTestCase(unittest.TestCase):
    """Starts an in-process service on a free loopback port for each test."""

    server_options = {}

    def setUp(self):
        options = {"groups": GROUPS}
        options.update(self.server_options)
        self.server = data_service.DataService(0, **options)
        self.port = self.server.port
        self.thread = threading.Thread(target=self.server.serve_forever,
                                       kwargs={"poll_interval": 0.05}, daemon=True)
        self.thread.start()

    def tearDown(self):
        self.server.shutdown()
        self.server.server_close()
        self.thread.join(5)

    # -- clients -----------------------------------------------------------

    def request(self, method, path, body=None, headers=None):
        conn = http.client.HTTPConnection("127.0.0.1", self.port, timeout=5)
        try:
            conn.request(method, path, body=body, headers=headers or {})
            response = conn.getresponse()
            return response.status, response.getheader("Content-Type"), response.read()
        finally:
            conn.close()

    def control_head(self, verb, path, content_type=None, length=None):
        """Request head shaped like the control's: its accept type and agent,
        then the two header lines it adds itself for a POST."""
        head = "%s %s HTTP/1.1\r\nAccept: text/*\r\nUser-Agent: RIGEL\r\nHost: 127.0.0.1:%d\r\n" % (
            verb, path, self.port)
        if content_type is not None:
            head += "Content-Type: %s; charset=utf-8\r\nContent-Length: %d\r\n" % (
                content_type, length)
        return (head + "\r\n").encode("ascii")

    def control_post(self, path, content_type, body):
        if isinstance(body, str):
            body = body.encode("utf-8")
        return self.raw(self.control_head("POST", path, content_type, len(body)) + body)

    def raw(self, data, shutdown_write=False):
        """Sends bytes as they are and reads one response: (status, headers, body)."""
        with socket.create_connection(("127.0.0.1", self.port), timeout=5) as sock:
            sock.sendall(data)
            if shutdown_write:
                sock.shutdown(socket.SHUT_WR)
            response = http.client.HTTPResponse(sock)
            response.begin()
            return response.status, dict(response.getheaders()), response.read()

    def upload(self, report, referrer="demo", session="s1"):
        return self.control_post("/SystemInformation/?refid=%s&sessid=%s" % (referrer, session),
                                 "text/xml", system_information_body(report))

    def admin(self, what):
        status, content_type, body = self.request("GET", "/_admin/" + what)
        self.assertEqual(status, 200)
        self.assertEqual(content_type, "application/json; charset=utf-8")
        return json.loads(body.decode("utf-8"))

    def assert_serving(self):
        status, _, body = self.request("GET", "/Data/Service.svc/Group/list?refid=demo&apikey=" + KEY)
        self.assertEqual((status, body), (200, b"groups demo\r\n71424|71206|71218\r\n"))


class GroupListTests(ServiceTestCase):

    def group_list(self, query):
        return self.request("GET", "/Data/Service.svc/Group/list?" + query)

    def test_known_referrer_gets_its_groups_on_the_second_line(self):
        status, content_type, body = self.group_list("refid=demo&apikey=" + KEY)
        self.assertEqual(status, 200)
        self.assertEqual(content_type, "text/plain; charset=utf-8")
        self.assertEqual(body, b"groups demo\r\n71424|71206|71218\r\n")

    def test_unknown_referrer_gets_the_default_list(self):
        self.assertEqual(self.group_list("refid=other&apikey=" + KEY),
                         (200, "text/plain; charset=utf-8", b"groups other\r\n71207\r\n"))

    def test_empty_referrer_is_a_referrer_like_any_other(self):
        self.assertEqual(self.group_list("refid=&apikey=" + KEY)[2], b"groups \r\n71207\r\n")

    def test_api_key_must_be_exact(self):
        for query in ("refid=demo&apikey=" + KEY.lower(), "refid=demo&apikey=" + KEY + "0",
                      "refid=demo&apikey=", "refid=demo"):
            with self.subTest(query=query):
                self.assertEqual(self.group_list(query),
                                 (403, "text/plain; charset=utf-8", b"invalid api key"))

    def test_missing_referrer_is_refused(self):
        self.assertEqual(self.group_list("apikey=" + KEY)[:1], (400,))

    def test_referrer_text_is_percent_decoded_but_plus_kept(self):
        self.assertEqual(self.group_list("refid=a+b%20c&apikey=" + KEY)[2],
                         b"groups a+b c\r\n71207\r\n")

    def test_line_breaks_in_the_referrer_do_not_move_the_group_line(self):
        self.assertEqual(self.group_list("refid=x%0D%0Ay&apikey=" + KEY)[2],
                         b"groups x  y\r\n71207\r\n")

    def test_request_exactly_as_the_control_sends_it(self):
        status, headers, body = self.raw(self.control_head(
            "GET", "/Data/Service.svc/Group/list?refid=demo&apikey=" + KEY))
        self.assertEqual((status, body), (200, b"groups demo\r\n71424|71206|71218\r\n"))
        self.assertEqual(headers["Content-Length"], "32")


class GroupListWithoutDefaultTests(ServiceTestCase):
    server_options = {"groups": {"demo": [1, 2]}}

    def test_unknown_referrer_without_default_gets_an_empty_second_line(self):
        status, _, body = self.request(
            "GET", "/Data/Service.svc/Group/list?refid=nobody&apikey=" + KEY)
        self.assertEqual((status, body), (200, b"groups nobody\r\n\r\n"))



class SingleGroupTests(ServiceTestCase):
    server_options = {"groups": {"r": [71424]}}

    def test_single_group_has_no_separator(self):
        self.assertEqual(self.request("GET", "/Data/Service.svc/Group/list?refid=r&apikey=" + KEY),
                         (200, "text/plain; charset=utf-8", b"groups r\r\n71424\r\n"))


class SystemInformationTests(ServiceTestCase):

    def test_report_round_trip_with_markup_characters_and_non_ascii(self):
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

    def test_uploads_are_numbered_and_kept_in_order(self):
        for number in (1, 2, 3):
            self.assertEqual(self.upload("<groups></groups>  ", session="s%d" % number)[2],
                             b"stored upload %d" % number)
        self.assertEqual([u["session"] for u in self.admin("uploads")["uploads"]],
                         ["s1", "s2", "s3"])

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

    def test_missing_query_keys_are_refused(self):
        body = system_information_body("<groups></groups>  ")
        for path in ("/SystemInformation/?refid=r", "/SystemInformation/?sessid=s",
                     "/SystemInformation/"):
            with self.subTest(path):
                self.assertEqual(self.control_post(path, "text/xml", body)[0], 400)
        self.assertEqual(self.admin("uploads")["uploads"], [])

    def test_content_type_must_be_xml_text_in_utf8(self):
        body = system_information_body("<groups></groups>  ").encode()
        for content_type in ("application/xml; charset=utf-8", "text/xml; charset=utf-16",
                             "text/plain", ""):
            with self.subTest(content_type):
                status, _, _ = self.request("POST", "/SystemInformation/?refid=r&sessid=s", body,
                                            {"Content-Type": content_type})
                self.assertEqual(status, 415)
        status, _, _ = self.request("POST", "/SystemInformation/?refid=r&sessid=s", body,
                                    {"Content-Type": "TEXT/XML"})
        self.assertEqual(status, 200)

    def test_path_without_trailing_slash_is_not_the_upload(self):
        status, _, body = self.control_post("/SystemInformation?refid=r&sessid=s", "text/xml",
                                            system_information_body(""))
        self.assertEqual((status, body), (404, b"not found"))


class SqliteStorageTests(ServiceTestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.db_path = os.path.join(folder.name, "uploads.sqlite")
        self.server_options = {"db": self.db_path}
        super().setUp()

    def test_upload_row_holds_raw_body_and_decoded_report(self):
        report = report_of([("71206", 0, "\u00fcser &amp; co")])
        self.assertEqual(self.upload(report, referrer="r1", session="s7")[0], 200)
        db = sqlite3.connect(self.db_path)
        try:
            rows = db.execute(
                "SELECT id, received_at, referrer, session, raw_body, report FROM uploads"
            ).fetchall()
        finally:
            db.close()
        self.assertEqual(len(rows), 1)
        self.assertEqual(rows[0][0], 1)
        self.assertRegex(rows[0][1], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}\+00:00$")
        self.assertEqual(rows[0][2:], ("r1", "s7", system_information_body(report).encode(),
                                       report))

    def test_speed_uploads_table(self):
        self.control_post("/Data/Service.svc/upload?apikey=" + KEY, "application/xml", "x" * 7)
        db = sqlite3.connect(self.db_path)
        try:
            self.assertEqual(db.execute("SELECT bytes FROM speed_uploads").fetchall(), [(7,)])
        finally:
            db.close()


class AnalysisTests(ServiceTestCase):

    REPORT = report_of([
        ("71424", 0, "s1"),
        ("71357", 0, "Intel &amp; Co &lt;LAN&gt;"),
        ("71357", 1, "Wireless \u00e9"),
        ("71207", 0, "{GUID}"),
    ])

    def analysis(self, body, referrer="demo"):
        return self.control_post("/service/Analysis/" + referrer, "application/xml", body)

    def test_analysis_counts_values_and_echoes_the_item_group(self):
        self.upload(self.REPORT, session="s1")
        status, headers, body = self.analysis(analysis_body("s1", "71357", "u1", "xml", "2"))
        self.assertEqual(status, 200)
        self.assertEqual(headers["Content-Type"], "application/xml; charset=utf-8")
        self.assertEqual(body.decode("utf-8"),
                         '<Analysis session="s1" item="71357" user="u1" format="xml" schema="2">'
                         "<Values>4</Values><Item id=\"71357\" count=\"2\">"
                         '<Value index="0">Intel &amp; Co &lt;LAN&gt;</Value>'
                         '<Value index="1">Wireless \u00e9</Value></Item></Analysis>')

    def test_item_absent_from_the_report(self):
        self.upload(self.REPORT, session="s1")
        status, _, body = self.analysis(analysis_body("s1", "99999"))
        self.assertEqual(status, 200)
        self.assertIn(b'<Values>4</Values><Item id="99999" count="0"></Item></Analysis>', body)

    def test_item_without_digits_matches_nothing(self):
        self.upload(report_of([("abc", 0, "x")]), session="s1")
        _, _, body = self.analysis(analysis_body("s1", "abc"))
        self.assertIn(b'<Item id="abc" count="0"></Item>', body)

    def test_item_compares_by_number(self):
        self.upload(self.REPORT, session="s1")
        _, _, body = self.analysis(analysis_body("s1", "071207"))
        self.assertIn(b'<Item id="071207" count="1"><Value index="0">{GUID}</Value></Item>', body)

    def test_latest_report_of_the_session_is_used(self):
        self.upload(self.REPORT, session="s1")
        self.upload(report_of([("71357", 0, "new")]), session="s1")
        self.upload(report_of([]), session="s2")
        _, _, body = self.analysis(analysis_body("s1", "71357"))
        self.assertIn(b'<Values>1</Values><Item id="71357" count="1">'
                      b'<Value index="0">new</Value></Item>', body)

    def test_unescaped_request_values_are_escaped_in_the_answer(self):
        self.upload(self.REPORT, session='s"1')
        status, _, body = self.analysis(analysis_body('s"1', "a&b", "<u>", "x", "1"))
        self.assertEqual(status, 200)
        self.assertTrue(body.startswith(b'<Analysis session="s&quot;1" item="a&amp;b" '
                                        b'user="&lt;u&gt;" format="x" schema="1">'), body)

    def test_no_report_for_the_session(self):
        self.upload(self.REPORT, session="s1")
        status, headers, body = self.analysis(analysis_body("s9", "71357"))
        self.assertEqual((status, body), (404, b"no report for session s9"))
        self.assertEqual(headers["Content-Type"], "text/plain; charset=utf-8")

    def test_malformed_requests(self):
        self.upload(self.REPORT, session="s1")
        cases = {
            "missing element": b"<System><SessionID>s1</SessionID></System>",
            "elements out of order": analysis_body("s1", "1").replace(
                "<ItemID>1</ItemID><UserID>u1</UserID>", "<UserID>u1</UserID><ItemID>1</ItemID>"
            ).encode(),
            "not XML": b"hello",
            "invalid UTF-8": analysis_body("s1", "\udcff").encode("utf-8", "surrogateescape"),
        }
        for name, body in cases.items():
            with self.subTest(name):
                self.assertEqual(self.analysis(body)[0], 400)
        status, _, _ = self.request("POST", "/service/Analysis/demo",
                                    analysis_body("s1", "1").encode(),
                                    {"Content-Type": "text/xml; charset=utf-8"})
        self.assertEqual(status, 415)
        self.assert_serving()

    def test_any_referrer_including_empty(self):
        self.upload(self.REPORT, session="s1")
        for referrer in ("", "r/with/slash", "x%20y"):
            with self.subTest(referrer=referrer):
                self.assertEqual(self.analysis(analysis_body("s1", "1"), referrer)[0], 200)

    def test_get_is_not_allowed(self):
        status, headers, _ = self.raw(self.control_head("GET", "/service/Analysis/demo"))
        self.assertEqual((status, headers["Allow"]), (405, "POST"))


class SpeedUploadTests(ServiceTestCase):
    PATH = "/Data/Service.svc/upload?apikey=" + KEY

    def test_uploads_are_answered_with_their_size_and_counted(self):
        for size in (10000, 50000, 0):
            with self.subTest(size=size):
                status, headers, body = self.control_post(self.PATH, "application/xml", "x" * size)
                self.assertEqual((status, body), (200, str(size).encode()))
        self.assertEqual(self.admin("uploads")["speed_uploads"],
                         {"count": 3, "bytes": [10000, 50000, 0]})

    def test_multibyte_body_counts_bytes(self):
        self.assertEqual(self.control_post(self.PATH, "application/xml", "\u00e9" * 3)[2], b"6")

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
        self.assertEqual(len(body), 1048576)
        self.assertEqual(body[:4], b"\x00\x01\x02\x03")
        self.assertEqual(body[255:258], b"\xff\x00\x01")
        self.assertEqual(body, bytes(range(256)) * 4096)

    def test_post_is_not_allowed(self):
        self.assertEqual(self.control_post("/global/tests/test_2.bin", "application/xml", "x")[0],
                         405)


class SmallDownloadTests(ServiceTestCase):
    server_options = {"download_size": 300}

    def test_size_is_configurable(self):
        status, _, body = self.request("GET", "/global/tests/test_2.bin")
        self.assertEqual((status, body), (200, bytes(range(256)) + bytes(range(44))))

    def test_download_twice_on_one_connection(self):
        conn = http.client.HTTPConnection("127.0.0.1", self.port, timeout=5)
        try:
            for _ in range(2):
                conn.request("GET", "/global/tests/test_2.bin")
                self.assertEqual(len(conn.getresponse().read()), 300)
        finally:
            conn.close()


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
        self.assertEqual(second["headers"]["Content-Type"], "text/xml; charset=utf-8")
        self.assertEqual(second["body"], body.decode("utf-8"))
        self.assertEqual(base64.b64decode(second["body_b64"]), body)
        self.assertEqual((second["method"], second["status"]), ("POST", 200))
        self.assertLess(first["seq"], second["seq"])

    def test_invalid_utf8_body_is_shown_with_replacement_characters(self):
        self.control_post("/Data/Service.svc/upload?apikey=" + KEY, "application/xml", b"a\xffb")
        [entry] = self.admin("requests")
        self.assertEqual(entry["body"], "a\ufffdb")
        self.assertEqual(base64.b64decode(entry["body_b64"]), b"a\xffb")

    def test_repeated_headers_are_joined_in_the_dict_and_kept_in_the_list(self):
        self.raw(b"GET /x HTTP/1.1\r\nHost: h\r\nX-A: 1\r\nX-A: 2\r\n\r\n")
        [entry] = self.admin("requests")
        self.assertEqual(entry["headers"], {"Host": "h", "X-A": "1, 2"})
        self.assertEqual(entry["header_list"], [["Host", "h"], ["X-A", "1"], ["X-A", "2"]])
        self.assertEqual(entry["status"], 404)

    def test_refused_requests_are_journalled_too(self):
        self.raw(b"NONSENSE\r\n\r\n")
        self.raw(b"POST /SystemInformation/?refid=r&sessid=s HTTP/1.1\r\nHost: h\r\n\r\n")
        bad_line, no_length = self.admin("requests")
        self.assertEqual(base64.b64decode(bad_line["raw_head_b64"]), b"NONSENSE\r\n")
        self.assertEqual(bad_line["status"], 400)
        self.assertEqual((no_length["method"], no_length["status"]), ("POST", 411))

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

    def test_malformed_request_lines(self):
        for line, expected in ((b"GARBAGE\r\n\r\n", 400), (b"\x00\xff\xfe\r\n\r\n", 400),
                               (b"POST /\r\n\r\n", 400), (b"GET /a b HTTP/1.1\r\n\r\n", 400),
                               (b"GET / XTTP/1.1\r\n\r\n", 400),
                               (b"GET / HTTP/1.1.1\r\n\r\n", 400),
                               (b"GET / HTTP/9.9\r\n\r\n", 505)):
            with self.subTest(line=line):
                self.assertEqual(self.raw(line)[0], expected)
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
        ]
        for name, request, expected in cases:
            with self.subTest(name):
                self.assertEqual(self.raw(request.encode("utf-8"))[0], expected)
        self.assertEqual(self.admin("uploads")["speed_uploads"]["count"], 0)
        self.assert_serving()

    def test_body_shorter_than_announced(self):
        path = "/Data/Service.svc/upload?apikey=" + KEY
        request = ("POST %s HTTP/1.1\r\nHost: h\r\nContent-Type: application/xml\r\n"
                   "Content-Length: 100\r\n\r\nxxxx" % path).encode()
        status, headers, body = self.raw(request, shutdown_write=True)
        self.assertEqual((status, body), (400, b"body shorter than Content-Length"))
        self.assertEqual(headers["Connection"], "close")
        self.assert_serving()

    def test_largest_accepted_body(self):
        path = "/Data/Service.svc/upload?apikey=" + KEY
        self.assertEqual(self.control_post(path, "application/xml", "x" * 1000)[2], b"1000")

    def test_huge_and_long_paths(self):
        self.assertEqual(self.raw(b"GET /" + b"a" * 70000 + b" HTTP/1.1\r\nHost: h\r\n\r\n")[0],
                         414)
        self.assertEqual(self.raw(b"GET /" + b"a" * 60000 + b" HTTP/1.1\r\nHost: h\r\n\r\n")[0],
                         404)
        self.assert_serving()

    def test_header_line_too_long(self):
        status = self.raw(b"GET / HTTP/1.1\r\nX: " + b"y" * 70000 + b"\r\n\r\n")[0]
        self.assertEqual(status, 431)
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

    def test_client_that_disconnects_mid_body(self):
        with socket.create_connection(("127.0.0.1", self.port), timeout=5) as sock:
            sock.sendall(b"POST /Data/Service.svc/upload?apikey=" + KEY.encode() +
                         b" HTTP/1.1\r\nHost: h\r\nContent-Length: 500\r\n\r\nxx")
        self.assert_serving()

    def test_stalled_client_is_dropped_and_others_are_served(self):
        with socket.create_connection(("127.0.0.1", self.port), timeout=5) as sock:
            sock.sendall(b"POST /Data/Service.svc/upload?apikey=" + KEY.encode() +
                         b" HTTP/1.1\r\nHost: h\r\nContent-Length: 500\r\n\r\nxx")
            self.assert_serving()
            # The service gives up on the stalled request and closes the connection.
            self.assertEqual(sock.recv(100), b"")
        self.assertEqual(self.admin("uploads")["speed_uploads"]["count"], 0)

    def test_concurrent_uploads_are_all_stored(self):
        errors = []

        def worker(number):
            try:
                status = self.upload(report_of([("71424", 0, "s%d" % number)]),
                                     session="s%d" % number)[0]
                if status != 200:
                    errors.append(status)
            except Exception as error:  # collected and asserted below
                errors.append(error)

        threads = [threading.Thread(target=worker, args=(n,)) for n in range(16)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join(10)
        self.assertEqual(errors, [])
        sessions = sorted(u["session"] for u in self.admin("uploads")["uploads"])
        self.assertEqual(sessions, sorted("s%d" % n for n in range(16)))


class FunctionTests(unittest.TestCase):

    def test_unescape_inverts_the_control_escaping(self):
        for text in ("", "&", "<>", "&amp;", "&lt;&gt;", "a&b<c>d", "&&<<>>", "&amp;lt;", "\u00e9&"):
            with self.subTest(text=text):
                self.assertEqual(data_service.unescape_report(control_escape(text)), text)

    def test_parse_report_tolerates_a_broken_value_element(self):
        report = ('<groups><group index="0" id="1"><value>a</value></group>'
                  '<group index="2" id="3"><value>b</group></groups>  ')
        self.assertEqual(data_service.parse_report(report), [("1", "0", "a"), ("3", "2", None)])

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

    def test_sample_groups_file(self):
        groups = data_service.load_groups(os.path.join(SERVICE_DIR, "groups.json"))
        self.assertIn(71424, groups["demo"])
        self.assertIn(71206, groups["demo"])
        self.assertEqual(groups["*"], [])


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
    def first_line(proc, timeout=5):
        selector = selectors.DefaultSelector()
        selector.register(proc.stdout, selectors.EVENT_READ)
        deadline = time.monotonic() + timeout
        line = b""
        while not line.endswith(b"\n") and time.monotonic() < deadline:
            if not selector.select(deadline - time.monotonic()):
                break
            chunk = os.read(proc.stdout.fileno(), 1)
            if not chunk:
                break
            line += chunk
        selector.close()
        return line.decode("ascii")

    def test_runs_on_a_free_port_logs_and_stores(self):
        with tempfile.TemporaryDirectory() as folder:
            groups = os.path.join(folder, "groups.json")
            with open(groups, "w") as handle:
                json.dump({"cli": [5, 6]}, handle)
            log_path = os.path.join(folder, "service.log")
            db_path = os.path.join(folder, "service.sqlite")
            proc = self.start("--port", "0", "--groups", groups, "--download-size", "10",
                              "--log", log_path, "--db", db_path)
            match = re.fullmatch(r"listening on 127\.0\.0\.1:(\d+)\n", self.first_line(proc))
            self.assertIsNotNone(match)
            conn = http.client.HTTPConnection("127.0.0.1", int(match.group(1)), timeout=5)
            conn.request("GET", "/Data/Service.svc/Group/list?refid=cli&apikey=" + KEY)
            self.assertEqual(conn.getresponse().read(), b"groups cli\r\n5|6\r\n")
            conn.request("GET", "/global/tests/test_2.bin")
            self.assertEqual(conn.getresponse().read(), bytes(range(10)))
            conn.request("POST", "/SystemInformation/?refid=cli&sessid=s1",
                         system_information_body("<groups></groups>  ").encode(),
                         {"Content-Type": "text/xml; charset=utf-8"})
            self.assertEqual(conn.getresponse().read(), b"stored upload 1")
            conn.close()
            self.stop(proc)
            with open(log_path, encoding="utf-8") as handle:
                log_text = handle.read()
            self.assertIn("GET /Data/Service.svc/Group/list?refid=cli&apikey=%s 200 body=0" % KEY,
                          log_text)
            self.assertIn("POST /SystemInformation/?refid=cli&sessid=s1 200 body=%d" % len(
                system_information_body("<groups></groups>  ")), log_text)
            with sqlite3.connect(db_path) as db:
                self.assertEqual(db.execute("SELECT session, report FROM uploads").fetchall(),
                                 [("s1", "<groups></groups>  ")])
            db.close()

    def test_bad_groups_file_stops_at_once(self):
        with tempfile.TemporaryDirectory() as folder:
            groups = os.path.join(folder, "groups.json")
            with open(groups, "w") as handle:
                handle.write("{not json")
            proc = self.start("--port", "0", "--groups", groups)
            out, err = proc.communicate(timeout=5)
            self.assertEqual(proc.returncode, 2)
            self.assertEqual(out, b"")
            self.assertIn(b"cannot load groups", err)

    def test_port_in_use(self):
        with socket.socket() as busy:
            busy.bind(("127.0.0.1", 0))
            busy.listen(1)
            proc = self.start("--port", str(busy.getsockname()[1]))
            _, err = proc.communicate(timeout=5)
        self.assertEqual(proc.returncode, 1)
        self.assertIn(b"cannot start", err)


if __name__ == "__main__":
    unittest.main()
