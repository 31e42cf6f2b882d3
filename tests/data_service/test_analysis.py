"""The requirement analysis: unit ladders, the items file, verdicts and the endpoint."""

import json
import os
import re
import tempfile
import unittest
import xml.etree.ElementTree as ET

from service_support import SERVICE_DIR, ServiceTestCase, analysis_body, report_of

import analysis
import catalogue
import items
import quantities
from report import Report

CATALOGUE = catalogue.load()


def requirement_item(kind, minimum, recommended=None):
    lines = ["[5]", "name = Probe", "minimum %s = %s" % (kind, minimum)]
    if recommended is not None:
        lines.append("recommended %s = %s" % (kind, recommended))
    return items.parse(lines)["5"]


def results(item, entries):
    return analysis.evaluate(item, Report(report_of(entries)), CATALOGUE)


class UnitLadderTests(unittest.TestCase):

    def test_each_ladder_steps_by_its_own_factor(self):
        cases = [
            (quantities.SIZE, "0.0 B", 0),
            (quantities.SIZE, "1023.0 B", 1023),
            (quantities.SIZE, "1.0 KB", 1024),
            (quantities.SIZE, "1.5 KB", 1536),
            (quantities.SIZE, "512.0 MB", 512 * 1024 ** 2),
            (quantities.SIZE, "4 gb", 4 * 1024 ** 3),
            (quantities.SIZE, " 2TB ", 2 * 1024 ** 4),
            (quantities.SPEED, "800.0 Hz", 800),
            (quantities.SPEED, "1.0 KHz", 1000),
            (quantities.SPEED, "2.4 GHz", 2400000000),
            (quantities.SPEED, "3200 MHz", 3200000000),
            (quantities.BANDWIDTH, "512.0 bps", 512),
            (quantities.BANDWIDTH, "1.5 Kbps", 1536),
            (quantities.BANDWIDTH, "12.0 Mbps", 12582912),
            (quantities.BANDWIDTH, "1 Gbps", 1024 ** 3),
        ]
        for ladder, text, amount in cases:
            with self.subTest(text=text):
                self.assertEqual(ladder.parse(text), amount)

    def test_the_same_amount_in_neighbouring_units_is_equal(self):
        self.assertEqual(quantities.SIZE.parse("1024.0 MB"), quantities.SIZE.parse("1 GB"))
        self.assertEqual(quantities.SIZE.parse("1126.4 MB"), quantities.SIZE.parse("1.1 GB"))
        self.assertEqual(quantities.SPEED.parse("2000.0 MHz"), quantities.SPEED.parse("2 GHz"))
        self.assertEqual(quantities.BANDWIDTH.parse("1024.0 Kbps"),
                         quantities.BANDWIDTH.parse("1.0 Mbps"))
        # Speeds step by 1000, so 1024 MHz is more than 1 GHz; bandwidths by 1024.
        self.assertGreater(quantities.SPEED.parse("1024 MHz"), quantities.SPEED.parse("1 GHz"))
        self.assertLess(quantities.BANDWIDTH.parse("1000 Kbps"),
                        quantities.BANDWIDTH.parse("1 Mbps"))

    def test_malformed_amounts_name_the_text(self):
        cases = [
            (quantities.SIZE, "", "'' is not a size (such as 1.5 GB)"),
            (quantities.SIZE, "GB", "'GB' is not a size (such as 1.5 GB)"),
            (quantities.SIZE, "1.5", "'1.5' is not a size (such as 1.5 GB)"),
            (quantities.SIZE, "1,5 GB", "'1,5 GB' is not a size (such as 1.5 GB)"),
            (quantities.SIZE, "-1 GB", "'-1 GB' is not a size (such as 1.5 GB)"),
            (quantities.SIZE, "2 GHz", "'2 GHz' is not a size (such as 1.5 GB)"),
            (quantities.SPEED, "2.4 G", "'2.4 G' is not a speed (such as 1.5 MHz)"),
            (quantities.BANDWIDTH, "1e3 bps", "'1e3 bps' is not a bandwidth (such as 1.5 Mbps)"),
            (quantities.SIZE, "9" * 100000 + " GB",
             "'" + "9" * 40 + "…' is not a size (such as 1.5 GB)"),
        ]
        for ladder, text, message in cases:
            with self.subTest(text=text[:20]):
                with self.assertRaises(quantities.Malformed) as caught:
                    ladder.parse(text)
                self.assertEqual(str(caught.exception), message)

    def test_versions_compare_component_by_component_then_by_letter(self):
        ordered = ["0.0", "6.0.6002", "6.1", "6.1.7600", "6.1.7601", "6.2", "9.0", "9.0b",
                   "9.0c", "10.0", "11.0"]
        keys = [quantities.parse_version(text) for text in ordered]
        self.assertEqual(keys, sorted(keys))
        self.assertEqual(len(set(keys)), len(keys))
        self.assertEqual(quantities.parse_version("6.1"), quantities.parse_version("6.1.0.0"))
        self.assertGreater(quantities.parse_version("1.10"), quantities.parse_version("1.9"))
        self.assertEqual(quantities.parse_version("9.0C"), quantities.parse_version("9.0c"))
        for text in ("", "six", "1..2", "1.2.", "9.0cc", "1.2.3.4.5.6.7.8.9", "1" * 10):
            with self.subTest(text=text):
                self.assertRaises(quantities.Malformed, quantities.parse_version, text)

    def test_resolutions_need_both_width_and_height(self):
        self.assertEqual(quantities.parse_resolution("1920x1080"), (1920, 1080))
        self.assertEqual(quantities.parse_resolution("1920 x 1080"), (1920, 1080))
        self.assertTrue(quantities.resolution_meets((1920, 1080), (1920, 1080)))
        self.assertFalse(quantities.resolution_meets((2560, 1024), (1920, 1080)))
        self.assertFalse(quantities.resolution_meets((1280, 1440), (1920, 1080)))
        for text in ("1920", "1920x", "x1080", "1920*1080", "1920 by 1080"):
            with self.subTest(text=text):
                self.assertRaises(quantities.Malformed, quantities.parse_resolution, text)


class ItemsFileTests(unittest.TestCase):

    def test_the_shipped_file_has_three_items_with_names_and_requirements(self):
        loaded = items.load(os.path.join(SERVICE_DIR, "items.ini"))
        self.assertEqual([(key, item.name) for key, item in loaded.items()], [
            ("1001", "Harbour Racer"), ("1002", "Ledger Office"),
            ("1003", "Deep Field Render Studio")])
        for item in loaded.values():
            self.assertTrue(item.requirements["minimum"])

    def test_mistakes_stop_loading_with_the_line_named(self):
        head = ["# items", "[1]", "name = One"]
        cases = [
            (head + ["minimum memroy = 2 GB"],
             "items.ini line 4: unknown requirement 'memroy'; known: " + ", ".join(items.KINDS)),
            (head + ["minimum memory = 2 GX"],
             "items.ini line 4: '2 GX' is not a size (such as 1.5 GB)"),
            (head + ["minimal memory = 2 GB"],
             "items.ini line 4: 'minimal memory' does not start with minimum or recommended"),
            (head + ["minimum memory 2 GB"],
             "items.ini line 4: expected 'name = …' or 'minimum KIND = VALUE', "
             "got 'minimum memory 2 GB'"),
            (head + ["minimum memory = 2 GB", "", "minimum  Memory = 3 GB"],
             "items.ini line 6: minimum memory is already given on line 4"),
            (head + ["[01]", "name = Again"],
             "items.ini line 4: item 1 is already defined on line 2"),
            (["minimum memory = 2 GB"],
             "items.ini line 1: a setting before the first item heading such as [1001]"),
            (head + ["[abc]"], "items.ini line 4: '[abc]' is not an item heading such as [1001]"),
            (head + ["[2]", "minimum memory = 1 GB"],
             "items.ini line 4: item 2 has no name = line"),
            (head + ["name ="], "items.ini line 4: the name is empty"),
        ]
        for lines, message in cases:
            with self.subTest(message=message):
                with self.assertRaises(items.ItemsError) as caught:
                    items.parse(lines, "items.ini")
                self.assertEqual(str(caught.exception), message)

    def test_a_file_that_is_not_utf8_is_refused_by_name(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "items.ini")
            with open(path, "wb") as handle:
                handle.write(b"[1]\nname = \xff\n")
            with self.assertRaises(items.ItemsError) as caught:
                items.load(path)
        self.assertIn(path + ": not UTF-8 text", str(caught.exception))

    def test_requested_item_numbers_match_without_leading_zeros_and_never_convert(self):
        for text, key in (("1001", "1001"), (" 0001001 ", "1001"), ("0", "0"), ("000", "0"),
                          ("", None), ("10a", None), ("-1", None), ("\u0661", None),
                          ("1" * 1000000, "1" * 1000000)):
            with self.subTest(text=text[:10]):
                self.assertEqual(items.item_key(text), key)


class EvaluationTests(unittest.TestCase):

    def test_every_kind_on_its_ladder_with_equal_passing(self):
        cases = [
            ("memory", 71063, "2 GB", "2.0 GB", analysis.PASS),
            ("memory", 71063, "2 GB", "2048.0 MB", analysis.PASS),
            ("memory", 71063, "2 GB", "2047.9 MB", analysis.FAIL),
            ("memory", 71063, "2 GB", "1.9 GB", analysis.FAIL),
            ("free disk space", 71436, "12 GB", "74.7 GB", analysis.PASS),
            ("free disk space", 71436, "1 TB", "1023.9 GB", analysis.FAIL),
            ("processor speed", 71062, "2 GHz", "2000.0 MHz", analysis.PASS),
            ("processor speed", 71062, "2 GHz", "1999.9 MHz", analysis.FAIL),
            ("processor count", 71254, "4", "4", analysis.PASS),
            ("processor count", 71254, "4", "3", analysis.FAIL),
            ("operating system version", 71309, "6.1", "6.1.7601", analysis.PASS),
            ("operating system version", 71309, "6.1.7601", "6.1", analysis.FAIL),
            ("operating system version", 71309, "10.0", "6.3.9600", analysis.FAIL),
            ("directx version", 71082, "9.0c", "9.0c", analysis.PASS),
            ("directx version", 71082, "9.0c", "11.0", analysis.PASS),
            ("directx version", 71082, "9.0c", "9.0b", analysis.FAIL),
            ("screen resolution", 71214, "1024 x 768", "1024x768", analysis.PASS),
            ("screen resolution", 71214, "1280 x 720", "1600x700", analysis.FAIL),
            ("graphics memory", 71285, "512 MB", "0.5 GB", analysis.PASS),
            ("download bandwidth", 71069, "1 Mbps", "1024.0 Kbps", analysis.PASS),
            ("download bandwidth", 71069, "1 Mbps", "1000.0 Kbps", analysis.FAIL),
        ]
        for kind, number, required, detected, expected in cases:
            with self.subTest(kind=kind, required=required, detected=detected):
                outcome = results(requirement_item(kind, required), [(str(number), 0, detected)])
                [line] = outcome.lines
                check = line.checks["minimum"]
                self.assertEqual((line.detected, check.result), (detected, expected))
                self.assertEqual(check.reason, "%s %s %s" % (
                    detected, "meets" if expected == analysis.PASS else "is below", required))

    def test_missing_empty_and_malformed_values_are_unknown_with_a_reason(self):
        item = requirement_item("memory", "2 GB")
        cases = [
            ([], None, "the upload holds no Physical memory"),
            ([("71063", 0, "")], "", "the upload's Physical memory is empty"),
            ([("71063", 0, "lots")], "lots",
             "Physical memory: 'lots' is not a size (such as 1.5 GB)"),
            ([("71063", 0, "<b>9" + "9" * 5000 + " GB")], "<b>9" + "9" * 5000 + " GB",
             "Physical memory: '<b>" + "9" * 37 + "…' is not a size (such as 1.5 GB)"),
            # Only a value of the compared ID counts, whatever else the upload holds.
            ([("71436", 0, "8.0 GB"), ("710630", 0, "8.0 GB")], None,
             "the upload holds no Physical memory"),
        ]
        for entries, detected, reason in cases:
            with self.subTest(reason=reason[:40]):
                outcome = results(item, entries)
                [line] = outcome.lines
                self.assertEqual(line.detected, detected)
                for level in items.LEVELS:
                    self.assertEqual((line.checks[level].result, line.checks[level].reason),
                                     (analysis.UNKNOWN, reason))
                self.assertEqual(outcome.verdicts, {"minimum": analysis.UNKNOWN,
                                                    "recommended": analysis.UNKNOWN})

    def test_graphics_memory_counts_the_best_adapter(self):
        item = requirement_item("graphics memory", "1 GB")
        outcome = results(item, [("71285", 0, "256.0 MB"), ("71285", 1, "broken"),
                                 ("71285", 2, "2.0 GB")])
        [line] = outcome.lines
        self.assertEqual((line.detected, line.checks["minimum"].result), ("2.0 GB", analysis.PASS))
        outcome = results(item, [("71285", 0, "broken"), ("71285", 1, "")])
        self.assertEqual(outcome.lines[0].checks["minimum"].result, analysis.UNKNOWN)
        self.assertEqual(outcome.lines[0].checks["minimum"].reason,
                         "Dedicated video memory: 'broken' is not a size (such as 1.5 GB)")

    def test_verdicts_fail_before_unknown_before_pass(self):
        item = items.parse(["[9]", "name = Mixed", "minimum memory = 1 GB",
                            "recommended memory = 8 GB", "minimum processor count = 2",
                            "recommended directx version = 11.0"])["9"]
        cases = [
            # memory, processor count, DirectX → minimum, recommended
            ([("71063", 0, "4.0 GB"), ("71254", 0, "2"), ("71082", 0, "11.0")],
             analysis.PASS, analysis.FAIL),
            ([("71063", 0, "8.0 GB"), ("71254", 0, "4"), ("71082", 0, "11.0")],
             analysis.PASS, analysis.PASS),
            ([("71063", 0, "8.0 GB"), ("71254", 0, "4")], analysis.PASS, analysis.UNKNOWN),
            ([("71063", 0, "0.5 GB"), ("71082", 0, "11.0")], analysis.FAIL, analysis.FAIL),
            ([("71063", 0, "8.0 GB"), ("71082", 0, "11.0")], analysis.UNKNOWN, analysis.UNKNOWN),
        ]
        for entries, minimum, recommended in cases:
            with self.subTest(entries=entries):
                self.assertEqual(results(item, entries).verdicts,
                                 {"minimum": minimum, "recommended": recommended})
        # A kind named only as recommended has nothing to fail at the minimum.
        line = results(item, [("71082", 0, "9.0c")]).lines[2]
        self.assertEqual((line.checks["minimum"].result, line.checks["minimum"].reason),
                         (analysis.PASS, "no minimum requirement"))


ITEMS = items.parse(["[7]", "name = Small <Tool> & Co", "minimum memory = 2 GB",
                     "recommended memory = 4 GB", "minimum screen resolution = 1024 x 768"])
REPORT = report_of([("71424", 0, "s1"), ("71063", 0, "3.0 GB"), ("71214", 0, "1024x768")])
RECEIVED = re.compile(r' received="[^"]*"')


class AnalysisEndpointTests(ServiceTestCase):
    server_options = {"items": ITEMS}

    def analysis(self, body, referrer="demo"):
        status, headers, answer = self.control_post("/service/Analysis/" + referrer,
                                                    "application/xml", body)
        return status, headers["Content-Type"], answer.decode("utf-8")

    def test_answer_in_xml_for_the_latest_upload_of_the_session(self):
        self.upload(report_of([("71063", 0, "64.0 GB")]), session="s1")
        self.upload(REPORT, session="s1")
        self.upload(report_of([("71063", 0, "1.0 GB")]), session="s2")
        for requested in ("xml", "", "XML", "yaml", "<b>"):
            with self.subTest(requested=requested):
                status, content_type, answer = self.analysis(
                    analysis_body("s1", "07", "u1", requested, "2"))
                self.assertEqual((status, content_type), (200, "application/xml; charset=utf-8"))
                self.assertEqual(RECEIVED.sub("", answer), (
                    '<Analysis schema="1" status="ok" session="s1" user="u1" referrer="demo" '
                    'item="07" upload="2"><Item>Small &lt;Tool&gt; &amp; Co</Item>'
                    '<Verdict level="minimum">pass</Verdict>'
                    '<Verdict level="recommended">fail</Verdict>'
                    '<Requirement kind="memory" value="71063" label="Physical memory">'
                    "<Detected>3.0 GB</Detected>"
                    '<Minimum required="2 GB" result="pass">3.0 GB meets 2 GB</Minimum>'
                    '<Recommended required="4 GB" result="fail">3.0 GB is below 4 GB</Recommended>'
                    "</Requirement>"
                    '<Requirement kind="screen resolution" value="71214" label="Screen resolution">'
                    "<Detected>1024x768</Detected>"
                    '<Minimum required="1024 x 768" result="pass">1024x768 meets 1024 x 768'
                    '</Minimum><Recommended required="1024 x 768" result="pass">1024x768 meets '
                    "1024 x 768</Recommended></Requirement></Analysis>"))

    def test_answer_in_json_and_html(self):
        self.upload(REPORT, session="s1")
        status, content_type, answer = self.analysis(analysis_body("s1", "7", "u1", "json"))
        self.assertEqual((status, content_type), (200, "application/json; charset=utf-8"))
        data = json.loads(answer)
        self.assertEqual((data["schema"], data["status"], data["name"], data["verdict"]),
                         ("1", "ok", "Small <Tool> & Co",
                          {"minimum": "pass", "recommended": "fail"}))
        self.assertEqual(data["requirements"][0], {
            "kind": "memory", "label": "Physical memory", "value_id": 71063,
            "detected": "3.0 GB",
            "minimum": {"required": "2 GB", "result": "pass", "reason": "3.0 GB meets 2 GB"},
            "recommended": {"required": "4 GB", "result": "fail",
                            "reason": "3.0 GB is below 4 GB"}})
        status, content_type, answer = self.analysis(analysis_body("s1", "7", "u1", " Html "))
        self.assertEqual((status, content_type), (200, "text/html; charset=utf-8"))
        self.assertTrue(answer.startswith(
            '<div class="analysis" data-status="ok"><p class="verdict"><strong>Small &lt;Tool&gt;'
            ' &amp; Co</strong>: minimum <span class="pass">pass</span>, recommended '
            '<span class="fail">fail</span></p><table>'), answer)
        self.assertIn('<tr><th>Physical memory</th><td>3.0 GB</td><td class="pass">2 GB '
                      "<b>pass</b><br><small>3.0 GB meets 2 GB</small></td>", answer)

    def test_unknown_items_and_sessions_without_upload_are_answered_not_failed(self):
        self.upload(REPORT, session="s1")
        huge_item = "9" * 1000000
        huge_session = "s" * (1024 * 1024)
        cases = [
            (analysis_body("s1", "8"), "unknown-item", "No item 8 in the items file."),
            (analysis_body("s1", "seven"), "unknown-item", "No item seven in the items file."),
            (analysis_body("s1", huge_item), "unknown-item",
             "No item %s… (1000000 characters) in the items file." % ("9" * 200)),
            (analysis_body("nobody", "7"), "no-upload", "No upload for session nobody."),
            (analysis_body(huge_session, "7"), "no-upload",
             "No upload for session %s… (1048576 characters)." % ("s" * 200)),
        ]
        for body, status_text, message in cases:
            with self.subTest(message=message[:30]):
                status, _, answer = self.analysis(body)
                self.assertEqual(status, 200)
                data = ET.fromstring(answer)
                self.assertEqual((data.get("status"), data.findtext("Message")),
                                 (status_text, message))
                self.assertEqual([v.text for v in data.findall("Verdict")],
                                 ["unknown", "unknown"])
                self.assertLess(len(answer), 2000)
        self.assert_serving()

    def test_requests_that_are_not_analysis_requests_are_refused(self):
        cases = [
            (b"<System><ItemID>7</ItemID></System>",
             b"the analysis request has no <SessionID> element"),
            (b"<System><SessionID>s1</SessionID></System>",
             b"the analysis request has no <ItemID> element"),
            (b"<System><SessionID>s1</SessionID><ItemID>7</ItemID>",
             b"body is not a System analysis request"),
            (b"hello", b"body is not a System analysis request"),
            (analysis_body("s1", "\udcff").encode("utf-8", "surrogateescape"),
             b"body is not valid UTF-8"),
        ]
        for body, message in cases:
            with self.subTest(message=message):
                status, _, answer = self.control_post("/service/Analysis/demo",
                                                      "application/xml", body)
                self.assertEqual((status, answer), (400, message))
        status, _, _ = self.request("POST", "/service/Analysis/demo",
                                    analysis_body("s1", "7").encode(),
                                    {"Content-Type": "text/xml; charset=utf-8"})
        self.assertEqual(status, 415)
        status, headers, _ = self.raw(self.control_head("GET", "/service/Analysis/demo"))
        self.assertEqual((status, headers["Allow"]), (405, "POST"))

    def test_optional_fields_may_be_missing_and_any_referrer_is_echoed(self):
        self.upload(REPORT, session="s1")
        for referrer, echoed in (("", ""), ("r/with/slash", "r/with/slash"), ("x%20y", "x y")):
            with self.subTest(referrer=referrer):
                status, _, answer = self.analysis(
                    "<System><SessionID>s1</SessionID><ItemID>7</ItemID></System>", referrer)
                data = ET.fromstring(answer)
                self.assertEqual((status, data.get("referrer"), data.get("user")),
                                 (200, echoed, ""))


if __name__ == "__main__":
    unittest.main()
