"""What the data service's tests share: an in-process service on a free loopback port, clients
shaped like the control, report texts as the control writes them, and scratch files."""

import http.client
import json
import os
import shutil
import socket
import sys
import tempfile
import threading
import unittest
import urllib.parse

HERE = os.path.dirname(os.path.abspath(__file__))
SERVICE_DIR = os.path.normpath(os.path.join(HERE, "..", "..", "tools", "data_service"))
SCRIPT = os.path.join(SERVICE_DIR, "data_service.py")
sys.path.insert(0, SERVICE_DIR)

import data_service  # noqa: E402

KEY = "5B3D0A47-1E2C-4F88-9A61-C07D2E94B3F5"
GROUPS = {"demo": [71424, 71206, 71218], "*": [71207]}
SPEED = "/Data/Service.svc/upload?apikey=" + KEY
DEMO_GROUPS = b"groups demo\r\n71424|71206|71218\r\n"


def group_list_path(referrer, key=KEY):
    return "/Data/Service.svc/Group/list?refid=%s&apikey=%s" % (referrer, key)


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


def scratch_file(test, name, content):
    """A file holding content (text or bytes) in a folder removed after the test."""
    folder = tempfile.mkdtemp()
    test.addCleanup(shutil.rmtree, folder)
    path = os.path.join(folder, name)
    with open(path, "wb") as handle:
        handle.write(content.encode("utf-8") if isinstance(content, str) else content)
    return path


def loaded(test, load, name, content):
    """What load makes of a file named name holding content: its result, or the text of the
    ValueError it raises with the file's folder left out."""
    path = scratch_file(test, name, content)
    try:
        return load(path)
    except ValueError as error:
        return str(error).replace(path, name)


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

    def page(self, path):
        status, content_type, body = self.request("GET", path)
        self.assertEqual((status, content_type), (200, "text/html; charset=utf-8"), body[:300])
        return body.decode("utf-8")

    def post_form(self, path, fields, headers=None):
        return self.request("POST", path, urllib.parse.urlencode(fields).encode(), dict(
            {"Content-Type": "application/x-www-form-urlencoded"}, **(headers or {})))

    def group_list(self, referrer):
        return self.request("GET", group_list_path(referrer))[2]

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
        self.assertEqual((status, content_type), (200, "application/json; charset=utf-8"))
        return json.loads(body.decode("utf-8"))

    def assert_serving(self):
        self.assertEqual(self.request("GET", group_list_path("demo"))[::2], (200, DEMO_GROUPS))
