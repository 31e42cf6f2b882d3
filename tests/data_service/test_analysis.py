"""The requirement analysis: unit ladders, the items file, verdicts and the endpoint."""

import fractions
import json
import re
import unittest
import xml.etree.ElementTree as ET

from service_support import ServiceTestCase, analysis_body, loaded, report_of

import analysis
import catalogue
import items
import quantities
from report import Report

CATALOGUE = catalogue.load()


def evaluate(lines, entries):
    item = items.parse(["[5]", "name = Probe"] + lines)["5"]
    return analysis.evaluate(item, Report(report_of(entries)), CATALOGUE)


def minimum(lines, entries):
    """(detected, result, reason) of an item's one requirement at the minimum level."""
    [line] = evaluate(lines, entries).lines
    return line.detected, line.checks["minimum"].result, line.checks["minimum"].reason


class QuantityTests(unittest.TestCase):

    def test_texts_read_as_exact_amounts(self):
        size, speed, bandwidth = quantities.SIZE.parse, quantities.SPEED.parse, \
            quantities.BANDWIDTH.parse
        gib = 1024 ** 3
        cases = [
            (size, "0.0 B", 0), (size, "1023.0 B", 1023), (size, "1.0 KB", 1024),
            (size, "1.5 KB", 1536), (size, "512.0 MB", 512 * 1024 ** 2), (size, "4 gb", 4 * gib),
            (size, " 2TB ", 2 * 1024 ** 4),
            # No rounding: the same amount in neighbouring units is equal.
            (size, "1126.4 MB", fractions.Fraction("1.1") * gib),
            (size, "1.1 GB", fractions.Fraction("1.1") * gib),
            (speed, "800.0 Hz", 800), (speed, "1.0 KHz", 1000), (speed, "2.4 GHz", 2400000000),
            (speed, "3200 MHz", 3200000000), (bandwidth, "512.0 bps", 512),
            (bandwidth, "1.5 Kbps", 1536), (bandwidth, "12.0 Mbps", 12582912),
            (bandwidth, "1 Gbps", gib), (quantities.parse_resolution, "1920 x 1080", (1920, 1080)),
            (quantities.parse_resolution, "1920x1080", (1920, 1080)),
        ]
        for read, text, amount in cases:
            with self.subTest(text=text):
                self.assertEqual(read(text), amount)

    def test_malformed_texts_are_refused_naming_the_text(self):
        refused = [(quantities.SIZE.parse, text, "a size (such as 1.5 GB)")
                   for text in ("", "GB", "1.5", "1,5 GB", "-1 GB", "2 GHz")] + [
            (quantities.SPEED.parse, "2.4 G", "a speed (such as 1.5 MHz)"),
            (quantities.BANDWIDTH.parse, "1e3 bps", "a bandwidth (such as 1.5 Mbps)"),
        ] + [(quantities.parse_version, text, "a version (such as 6.1.7601 or 9.0c)")
             for text in ("", "six", "1..2", "1.2.", "9.0cc", "1.2.3.4.5.6.7.8.9", "1" * 10)] + [
            (quantities.parse_resolution, text, "a resolution (such as 1280 x 720)")
            for text in ("1920", "1920x", "x1080", "1920*1080", "1920 by 1080")]
        for read, text, what in refused:
            with self.subTest(text=text):
                with self.assertRaises(quantities.Malformed) as caught:
                    read(text)
                self.assertEqual(str(caught.exception), "%r is not %s" % (text, what))
        # A huge number is refused without being converted, and named cut short.
        with self.assertRaises(quantities.Malformed) as caught:
            quantities.SIZE.parse("9" * 100000 + " GB")
        self.assertEqual(str(caught.exception),
                         "'%s…' is not a size (such as 1.5 GB)" % ("9" * 40))

    def test_versions_compare_number_by_number_then_by_letter(self):
        ascending = [["0.0"], ["1.9"], ["1.10"], ["6.0.6002"], ["6.1", "6.1.0.0"], ["6.1.7600"],
                     ["6.1.7601"], ["6.2"], ["9.0"], ["9.0b"], ["9.0c", "9.0C"], ["10.0"],
                     ["11.0"]]
        keys = [{quantities.parse_version(text) for text in equal} for equal in ascending]
        self.assertEqual([len(key) for key in keys], [1] * len(ascending))
        ordered = [key.pop() for key in keys]
        self.assertEqual(ordered, sorted(set(ordered)))


class ItemsFileTests(unittest.TestCase):

    def test_mistakes_stop_loading_with_the_line_named(self):
        head = "# items\n[1]\nname = One\n"
        cases = [
            (head + "minimum memroy = 2 GB",
             "items.ini line 4: unknown requirement 'memroy'; known: " + ", ".join(items.KINDS)),
            (head + "minimum memory = 2 GX",
             "items.ini line 4: '2 GX' is not a size (such as 1.5 GB)"),
            (head + "minimal memory = 2 GB",
             "items.ini line 4: 'minimal memory' does not start with minimum or recommended"),
            (head + "minimum memory 2 GB",
             "items.ini line 4: expected 'name = …' or 'minimum KIND = VALUE', "
             "got 'minimum memory 2 GB'"),
            (head + "minimum memory = 2 GB\n\nminimum  Memory = 3 GB",
             "items.ini line 6: minimum memory is already given on line 4"),
            (head + "[01]\nname = Again", "items.ini line 4: item 1 is already defined on line 2"),
            ("minimum memory = 2 GB",
             "items.ini line 1: a setting before the first item heading such as [1001]"),
            (head + "[abc]", "items.ini line 4: '[abc]' is not an item heading such as [1001]"),
            (head + "[2]\nminimum memory = 1 GB", "items.ini line 4: item 2 has no name = line"),
            (head + "name =", "items.ini line 4: the name is empty"),
            (b"[1]\nname = \xff\n", "items.ini: not UTF-8 text (invalid start byte)"),
        ]
        for text, message in cases:
            with self.subTest(message=message):
                self.assertEqual(loaded(self, items.load, "items.ini", text), message)

    def test_requested_item_numbers_match_without_leading_zeros_and_never_convert(self):
        for text, key in (("1001", "1001"), (" 0001001 ", "1001"), ("0", "0"), ("000", "0"),
                          ("", None), ("10a", None), ("-1", None), ("\u0661", None),
                          ("1" * 1000000, "1" * 1000000)):
            with self.subTest(text=text[:10]):
                self.assertEqual(items.item_key(text), key)


class EvaluationTests(unittest.TestCase):

    def test_every_kind_on_its_ladder_with_equal_passing(self):
        cases = [
            ("memory", 71063, "2 GB", "2.0 GB", "pass"),
            ("memory", 71063, "2 GB", "2048.0 MB", "pass"),
            ("memory", 71063, "2 GB", "2047.9 MB", "fail"),
            ("free disk space", 71436, "1 TB", "1023.9 GB", "fail"),
            ("processor speed", 71062, "2 GHz", "2000.0 MHz", "pass"),
            ("processor speed", 71062, "2 GHz", "1999.9 MHz", "fail"),
            ("processor count", 71254, "4", "4", "pass"),
            ("processor count", 71254, "4", "3", "fail"),
            ("operating system version", 71309, "6.1", "6.1.7601", "pass"),
            ("operating system version", 71309, "6.1.7601", "6.1", "fail"),
            ("directx version", 71082, "9.0c", "9.0c", "pass"),
            ("directx version", 71082, "9.0c", "9.0b", "fail"),
            ("screen resolution", 71214, "1024 x 768", "1024x768", "pass"),
            ("screen resolution", 71214, "1280 x 720", "1600x700", "fail"),
            ("screen resolution", 71214, "1920 x 1080", "1280x1440", "fail"),
            ("graphics memory", 71285, "512 MB", "0.5 GB", "pass"),
            ("download bandwidth", 71069, "1 Mbps", "1024.0 Kbps", "pass"),
            ("download bandwidth", 71069, "1 Mbps", "1000.0 Kbps", "fail"),
        ]
        for kind, number, required, detected, result in cases:
            with self.subTest(kind=kind, required=required, detected=detected):
                reason = "%s %s %s" % (detected, "meets" if result == "pass" else "is below",
                                       required)
                self.assertEqual(minimum(["minimum %s = %s" % (kind, required)],
                                         [(str(number), 0, detected)]),
                                 (detected, result, reason))

    def test_the_value_compared_or_why_there_is_none(self):
        memory, graphics = ["minimum memory = 2 GB"], ["minimum graphics memory = 1 GB"]
        huge = "<b>9" + "9" * 5000 + " GB"
        cases = [
            (memory, [], None, "unknown", "the upload holds no Physical memory"),
            (memory, [("71063", 0, "")], "", "unknown", "the upload's Physical memory is empty"),
            (memory, [("71063", 0, "lots")], "lots", "unknown",
             "Physical memory: 'lots' is not a size (such as 1.5 GB)"),
            (memory, [("71063", 0, huge)], huge, "unknown",
             "Physical memory: '<b>" + "9" * 37 + "…' is not a size (such as 1.5 GB)"),
            # Only a value of the compared ID counts, whatever else the upload holds.
            (memory, [("71436", 0, "8.0 GB"), ("710630", 0, "8.0 GB")], None, "unknown",
             "the upload holds no Physical memory"),
            # Memory counts its first value, graphics memory its best adapter.
            (memory, [("71063", 1, "4.0 GB"), ("71063", 0, "1.0 GB")], "1.0 GB", "fail",
             "1.0 GB is below 2 GB"),
            (graphics, [("71285", 0, "256.0 MB"), ("71285", 1, "broken"),
                        ("71285", 2, "2.0 GB")], "2.0 GB", "pass", "2.0 GB meets 1 GB"),
            (graphics, [("71285", 0, "broken"), ("71285", 1, "")], "broken", "unknown",
             "Dedicated video memory: 'broken' is not a size (such as 1.5 GB)"),
        ]
        for lines, entries, detected, result, reason in cases:
            with self.subTest(reason=reason[:40]):
                self.assertEqual(minimum(lines, entries), (detected, result, reason))

    def test_verdicts_fail_before_unknown_before_pass(self):
        lines = ["minimum memory = 1 GB", "recommended memory = 8 GB",
                 "minimum processor count = 2", "recommended directx version = 11.0"]
        cases = [
            # memory, processor count, DirectX → minimum, recommended
            ([("71063", 0, "4.0 GB"), ("71254", 0, "2"), ("71082", 0, "11.0")], "pass", "fail"),
            ([("71063", 0, "8.0 GB"), ("71254", 0, "4"), ("71082", 0, "11.0")], "pass", "pass"),
            ([("71063", 0, "8.0 GB"), ("71254", 0, "4")], "pass", "unknown"),
            ([("71063", 0, "0.5 GB"), ("71082", 0, "11.0")], "fail", "fail"),
            ([("71063", 0, "8.0 GB"), ("71082", 0, "11.0")], "unknown", "unknown"),
        ]
        for entries, lowest, recommended in cases:
            with self.subTest(entries=entries):
                self.assertEqual(evaluate(lines, entries).verdicts,
                                 {"minimum": lowest, "recommended": recommended})
        # A kind named only as recommended has nothing to fail at the minimum.
        check = evaluate(lines, [("71082", 0, "9.0c")]).lines[2].checks["minimum"]
        self.assertEqual((check.result, check.reason), ("pass", "no minimum requirement"))


ITEMS = items.parse(["[7]", "name = Small <Tool> & Co", "minimum memory = 2 GB",
                     "recommended memory = 4 GB", "minimum screen resolution = 1024 x 768"])
REPORT = report_of([("71424", 0, "s1"), ("71063", 0, "3.0 GB"), ("71214", 0, "1024x768")])


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
        cases = [(analysis_body("s1", "07", "u1", requested, "2"), "demo", "demo", "u1")
                 for requested in ("xml", "", "XML", "yaml", "<b>")]
        # The optional elements may be missing; any referrer is echoed, percent-decoded.
        cases += [("<System><SessionID>s1</SessionID><ItemID>07</ItemID></System>", referrer,
                   echoed, "") for referrer, echoed in (("", ""), ("r/with/slash", "r/with/slash"),
                                                        ("x%20y", "x y"))]
        for body, referrer, echoed, user in cases:
            with self.subTest(body=body, referrer=referrer):
                status, content_type, answer = self.analysis(body, referrer)
                self.assertEqual((status, content_type), (200, "application/xml; charset=utf-8"))
                self.assertEqual(re.sub(r' received="[^"]*"', "", answer), (
                    '<Analysis schema="1" status="ok" session="s1" user="%s" referrer="%s" '
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
                    "1024 x 768</Recommended></Requirement></Analysis>" % (user, echoed)))

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
        cases = [
            (analysis_body("s1", "8"), "unknown-item", "No item 8 in the items file."),
            (analysis_body("s1", "seven"), "unknown-item", "No item seven in the items file."),
            (analysis_body("s1", "9" * 1000000), "unknown-item",
             "No item %s… (1000000 characters) in the items file." % ("9" * 200)),
            (analysis_body("nobody", "7"), "no-upload", "No upload for session nobody."),
            (analysis_body("s" * 1024 * 1024, "7"), "no-upload",
             "No upload for session %s… (1048576 characters)." % ("s" * 200)),
        ]
        for body, status_text, message in cases:
            with self.subTest(message=message[:30]):
                status, _, answer = self.analysis(body)
                data = ET.fromstring(answer)
                self.assertEqual((status, data.get("status"), data.findtext("Message")),
                                 (200, status_text, message))
                self.assertEqual([v.text for v in data.findall("Verdict")],
                                 ["unknown", "unknown"])
                self.assertLess(len(answer), 2000)

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


if __name__ == "__main__":
    unittest.main()
