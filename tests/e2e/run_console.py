#!/usr/bin/env python3
"""The operator's console in a real browser, fed by the real control under Wine.

The registered control detects Wine's machine three times with a monitor staged in the prefix's
registry, twice with one monitor and once with another, so the service sees two machines; a
hand-made hostile upload joins them. Headless chromium then loads every console page from the
running data service; the tests read the DOM it dumps (--dump-dom) and a screenshot of each page
goes to RESULTS/console/.

    run_console.py --dll RigelDetection.dll --capture debug_capture.exe --results DIR
                   [--port 18080] [--work DIR] [--fixture-service DIR] [--chromium chromium]

The results are written to DIR/console_tests.xml in the GoogleTest format. Standard library only.
"""

import html.parser
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import urllib.parse
import urllib.request

from e2e_support import SOURCE, main, option_parser

sys.path.insert(0, os.path.join(SOURCE, "tools", "data_service"))
import catalogue  # noqa: E402

GROUPS = {"*": []}
CATALOGUE = catalogue.load()
BROWSER_TIMEOUT = 60
USER_AGENT = ("Mozilla/5.0 (Windows NT 6.1; Win64; x64) AppleWebKit/537.36 (KHTML, like Gecko) "
              "Chrome/49.0.2623.112 Safari/537.36")
ITEM = "1002"
DISPLAY = "HKLM\\SYSTEM\\CurrentControlSet\\Enum\\DISPLAY"
# Two monitors: model key, product code, name. Everything else about the machine is Wine's.
MONITORS = (("RGL0001", 1, "Rigel 24"), ("RGL0002", 2, "Rigel 27"))
HOSTILE_VALUE = "<script>document.title='owned'</script><img src=x onerror=alert(1)>"

ENV = None
OPTIONS = None
RUNS = []


def edid(product, name):
    """A 128-byte EDID block: header, maker RGL, the product code and a monitor-name descriptor."""
    block = bytearray(128)
    block[0:8] = b"\x00\xff\xff\xff\xff\xff\xff\x00"
    block[8:10] = (0x48EC).to_bytes(2, "big")
    block[10:12] = product.to_bytes(2, "little")
    block[54:72] = b"\x00\x00\x00\xfc\x00" + (name.encode("ascii") + b"\n" + b" " * 13)[:13]
    return block.hex().upper()


def stage_monitor(model, product, name):
    instance = "%s\\%s\\1&0" % (DISPLAY, model)
    for args in ((instance + "\\Control",),
                 (instance + "\\Device Parameters", "/v", "EDID", "/t", "REG_BINARY", "/d",
                  edid(product, name))):
        code, output = ENV.wine("reg", "add", *args, "/f")
        if code != 0:
            raise RuntimeError("reg add %s failed: %r" % (args[0], output))


def unstage_monitor(model):
    ENV.wine("reg", "delete", "%s\\%s" % (DISPLAY, model), "/f")


def detect(referrer):
    run = ENV.run_scenario("console.js", referrer, USER_AGENT, ITEM)
    if run.exit_code != 0 or "error" in run.results:
        raise RuntimeError("console.js failed: " + run.describe())
    RUNS.append(run)
    return run


def upload_hostile():
    report = ('<groups><group index="0" id="71061"><value>%s</value></group>'
              '<group index="0" id="99999"><value>unknown to the catalogue</value></group>'
              '<group index="0" id="71063"><value>7.9' % (
                  HOSTILE_VALUE.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;")))
    body = "<SystemInformation><Data>%s</Data></SystemInformation>" % (
        report.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;"))
    request = urllib.request.Request(
        "http://127.0.0.1:%d/SystemInformation/?refid=hostile&sessid=h1" % ENV.port,
        data=body.encode("utf-8"), headers={"Content-Type": "text/xml; charset=utf-8"})
    with urllib.request.urlopen(request, timeout=10) as answer:
        return answer.read().decode()


def setUpModule():
    ENV.set_up()
    for model, _, _ in MONITORS:
        unittest.addModuleCleanup(unstage_monitor, model)
    stage_monitor(*MONITORS[0])
    detect("")
    detect("shop")
    unstage_monitor(MONITORS[0][0])
    stage_monitor(*MONITORS[1])
    detect("shop")
    upload_hostile()


# ---------------------------------------------------------------------------------------------
# The browser and the DOM it dumps

class Element:
    def __init__(self, tag, attrs, parent=None):
        self.tag = tag
        self.attrs = dict(attrs)
        self.parent = parent
        self.children = []

    def text(self):
        return "".join(child if isinstance(child, str) else child.text()
                       for child in self.children)

    def find_all(self, tag, **attrs):
        found = []
        for child in self.children:
            if isinstance(child, Element):
                if child.tag == tag and all(child.attrs.get(k.rstrip("_")) == v
                                            for k, v in attrs.items()):
                    found.append(child)
                found.extend(child.find_all(tag, **attrs))
        return found

    def rows(self):
        """Each tr below as the list of its cells' texts."""
        return [[cell.text().strip() for cell in row.children
                 if isinstance(cell, Element) and cell.tag in ("td", "th")]
                for row in self.find_all("tr")]


class _TreeBuilder(html.parser.HTMLParser):
    VOID = {"meta", "br", "input", "img", "link", "hr", "rect"}

    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.root = Element("#document", {})
        self.current = self.root

    def handle_starttag(self, tag, attrs):
        element = Element(tag, attrs, self.current)
        self.current.children.append(element)
        if tag not in self.VOID:
            self.current = element

    def handle_startendtag(self, tag, attrs):
        self.current.children.append(Element(tag, attrs, self.current))

    def handle_endtag(self, tag):
        node = self.current
        while node is not self.root and node.tag != tag:
            node = node.parent
        if node is not self.root:
            self.current = node.parent

    def handle_data(self, data):
        self.current.children.append(data)


def parse_dom(text):
    builder = _TreeBuilder()
    builder.feed(text)
    builder.close()
    return builder.root


class Browser:
    """Headless chromium with a fresh profile for each call, so no state passes between pages."""

    FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             "--hide-scrollbars"]

    def __init__(self, program, screenshots):
        self.program = program
        self.screenshots = screenshots

    def run(self, url, *extra):
        with tempfile.TemporaryDirectory() as profile:
            done = subprocess.run([self.program] + self.FLAGS + ["--user-data-dir=" + profile] +
                                  list(extra) + [url], capture_output=True,
                                  timeout=BROWSER_TIMEOUT, stdin=subprocess.DEVNULL)
        if done.returncode != 0:
            raise RuntimeError("%s failed with %d: %s" % (self.program, done.returncode,
                                                          done.stderr.decode()[-2000:]))
        return done.stdout.decode("utf-8")

    def load(self, path, name, height=2400):
        """The page's DOM after loading; its screenshot goes to SCREENSHOTS/name.png."""
        url = "http://127.0.0.1:%d%s" % (ENV.port, path)
        self.run(url, "--window-size=1280,%d" % height,
                 "--screenshot=" + os.path.join(self.screenshots, name + ".png"))
        return parse_dom(self.run(url, "--dump-dom"))


BROWSER = None


def sections(dom):
    """Each h2 heading's text → the section element that holds it."""
    return {heading.find_all("h2")[0].text(): heading for heading in dom.find_all("section")
            if heading.find_all("h2")}


# ---------------------------------------------------------------------------------------------
# The tests

class ControlUploads(unittest.TestCase):
    def test_three_detections_and_the_analysis_through_the_control(self):
        self.assertEqual(len(RUNS), 3)
        for run in RUNS:
            answer = json.loads(run.results["analysis"])
            self.assertEqual((answer["status"], answer["item"], answer["session"],
                              answer["name"]), ("ok", ITEM, run.results["session"],
                                                "Ledger Office"))
            self.assertEqual(set(answer["verdict"].values()) - {"pass", "fail", "unknown"},
                             set())


class UploadsPage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.dom = BROWSER.load("/console/uploads", "uploads", 900)

    def test_newest_first_with_the_labelled_columns(self):
        table = self.dom.find_all("table")[0]
        rows = table.rows()
        self.assertEqual(rows[0], ["Time", "Referrer", "Session", "Processor name",
                                   "Physical memory", "Operating system", "Graphics adapter"])
        self.assertEqual([row[1] for row in rows[1:]], ["hostile", "shop", "shop", "—"])
        self.assertEqual([row[2] for row in rows[2:]],
                         [run.results["session"] for run in reversed(RUNS)])
        self.assertTrue(rows[2][5].startswith("Microsoft Windows"), rows[2])


class FullUploadPage(unittest.TestCase):
    """The first detection, reported in full: every value it holds has its label."""

    @classmethod
    def setUpClass(cls):
        cls.dom = BROWSER.load("/console/uploads/1", "upload", 4000)
        cls.report = RUNS[0].results["report"]
        cls.ids = sorted(set(int(number) for number in re.findall(r' id="(\d+)"', cls.report)))

    def test_every_reported_value_id_has_its_label(self):
        labelled = [number for number in self.ids if CATALOGUE.get(number) is not None]
        print("catalogue coverage of a full report under Wine: %d labelled of %d value IDs"
              % (len(labelled), len(self.ids)))
        self.assertEqual(labelled, self.ids)
        titles = {element.attrs["title"] for element in self.dom.find_all("th")
                  if "title" in element.attrs}
        self.assertEqual(titles, {"value %d" % number for number in self.ids})
        headers = {element.text() for element in self.dom.find_all("th")}
        for number in self.ids:
            self.assertIn(CATALOGUE.label(number), headers)

    def test_no_catalogued_value_id_is_shown_as_a_bare_number(self):
        numbers = {str(number) for number in self.ids}
        cells = [cell for row in self.dom.rows() for cell in row]
        self.assertEqual([cell for cell in cells if cell in numbers], [])
        labels = " ".join(element.text() for element in self.dom.find_all("th"))
        self.assertEqual([number for number in numbers if number in labels], [])
        self.assertNotIn("Other values", sections(self.dom))

    def test_components_and_devices_are_tables(self):
        found = sections(self.dom)
        for component in ("Session", "Operating system", "Processor", "Memory", "Monitors",
                          "Logical drives", "Browsers", "Requirements"):
            self.assertIn(component, found)
        monitors = found["Monitors"]
        device_rows = monitors.find_all("table")[-1].rows()
        self.assertEqual(device_rows[0][:3], ["#", "Monitor name", "Monitor identifier"])
        self.assertEqual(device_rows[1][:3], ["0", "Rigel 24", "0001EC48"])
        summaries = [summary.text() for summary in found["Requirements"].find_all("summary")]
        self.assertEqual([text.split(":")[0] for text in summaries],
                         ["Harbour Racer", "Ledger Office", "Deep Field Render Studio"])


class HostileUploadPage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.dom = BROWSER.load("/console/uploads/4", "upload-hostile", 1200)

    def test_markup_in_values_is_text_and_nothing_runs(self):
        self.assertEqual(self.dom.find_all("script"), [])
        self.assertEqual(self.dom.find_all("img"), [])
        self.assertEqual(self.dom.find_all("title")[0].text(), "Upload 4 · Rigel console")
        cells = [row for row in self.dom.rows() if row and row[0] == "Processor name"]
        self.assertEqual(cells, [["Processor name", HOSTILE_VALUE]])

    def test_unknown_ids_by_number_and_the_cut_value_kept(self):
        other = sections(self.dom)["Other values"]
        self.assertIn(["99999", "0", "unknown to the catalogue"], other.rows())
        self.assertIn(["Physical memory", "7.9"], self.dom.rows())
        self.assertIn("cut short", self.dom.find_all("main")[0].text())


class MachinesAndDifference(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.machines = BROWSER.load("/console/machines", "machines", 700)
        cls.uploads = {row[0]: int(row[1]) for row in cls.machines.find_all("table")[0].rows()[1:]}

    def test_one_staging_groups_together_the_other_stands_apart(self):
        # Machine A twice, machine B once, and the hand-made upload (its processor name is a
        # stable value) as a machine of its own.
        self.assertEqual(sorted(self.uploads.values()), [1, 1, 2])
        [twice] = [key for key, count in self.uploads.items() if count == 2]
        one = BROWSER.load("/console/machines/" + twice, "machine", 700)
        uploads = [link.text() for link in one.find_all("a")
                   if link.attrs.get("href", "").startswith("/console/uploads/")]
        self.assertEqual(uploads, ["2", "1"])

    def test_the_difference_names_the_changed_values(self):
        dom = BROWSER.load("/console/diff?a=1&b=2", "difference", 1400)
        changed = dict((row[0], row[1:]) for row in sections(dom)["Changed values"].rows()[1:])
        computer = [re.search(r'id="71207"><value>([^<]*)<', run.results["report"]).group(1)
                    for run in RUNS[:2]]
        self.assertEqual(changed["Computer identifier"], computer)
        self.assertEqual(changed["Session ID"], [RUNS[0].results["session"],
                                                 RUNS[1].results["session"]])
        self.assertEqual(changed["Referrer ID"], ["(empty)", "shop"])
        self.assertNotIn("Monitor identifier [0]", changed)


class FleetPage(unittest.TestCase):
    def shares(self, dom):
        tables = {}
        for section in dom.find_all("section", class_="share"):
            tables[section.attrs["data-fact"]] = [
                (row[0], int(row[1]), row[2]) for row in section.rows()[1:]]
        return tables

    def test_shares_over_all_machines_add_up(self):
        dom = BROWSER.load("/console/fleet", "fleet", 3200)
        tables = self.shares(dom)
        self.assertEqual(len(tables), 8)
        for fact, rows in tables.items():
            with self.subTest(fact=fact):
                self.assertEqual(sum(count for _, count, _ in rows), 3)
                self.assertEqual(round(sum(float(share.rstrip(" %")) for _, _, share in rows), 1),
                                 100.0)
        self.assertEqual(tables["browser"], [("Chrome", 2, "66.7 %"),
                                             ("(not reported)", 1, "33.3 %")])
        self.assertEqual(len(dom.find_all("svg")), sum(len(rows) for rows in tables.values()))

    def test_one_referrers_machines(self):
        dom = BROWSER.load("/console/fleet?" + urllib.parse.urlencode({"referrer": "r:shop"}),
                           "fleet-shop", 3200)
        tables = self.shares(dom)
        self.assertEqual(tables["browser"], [("Chrome", 2, "100.0 %")])
        self.assertEqual(tables["directx"], [("11.0", 2, "100.0 %")])


class OtherPages(unittest.TestCase):
    def test_items_group_lists_and_export_forms(self):
        items = BROWSER.load("/console/items", "items", 2400)
        self.assertEqual([h.text() for h in items.find_all("h2")],
                         ["1001 · Harbour Racer", "1002 · Ledger Office",
                          "1003 · Deep Field Render Studio"])
        groups = BROWSER.load("/console/groups", "groups", 700)
        self.assertEqual(groups.find_all("tr")[1].find_all("td")[0].text(), "*")
        export = BROWSER.load("/console/export", "export", 500)
        self.assertEqual([form.attrs["action"] for form in export.find_all("form")],
                         ["/console/export.csv", "/console/export.json"])


ORDER = [ControlUploads, UploadsPage, FullUploadPage, HostileUploadPage, MachinesAndDifference,
         FleetPage, OtherPages]


def bind(env, options):
    global ENV, BROWSER
    ENV = env
    screenshots = os.path.join(os.path.abspath(options.results), "console")
    shutil.rmtree(screenshots, ignore_errors=True)
    os.makedirs(screenshots)
    BROWSER = Browser(options.chromium, screenshots)


if __name__ == "__main__":
    PARSER = option_parser(__doc__.split("\n\n")[0])
    PARSER.add_argument("--chromium", default="chromium", help="the browser to drive")
    sys.exit(main(ORDER, bind, GROUPS, "console_tests.xml", PARSER))
