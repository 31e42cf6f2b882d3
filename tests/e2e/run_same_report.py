#!/usr/bin/env python3
"""The report of a full detection does not change from one build to the next.

An earlier build's DLL (the baseline) and this build's DLL each run one full detection in the same
throwaway Wine prefix, one after the other, each registered with regsvr32 for its own run: no
referrer, so every group is reported, and the log at its most detailed level, captured. The two
reports must hold the same values in the same order and the two logs the same lines, and the data
service must get the same requests, except for what is measured or generated on each run: that
list is PER_RUN below, the one place where it is written.

    run_same_report.py --dll RigelDetection.dll --baseline-dll EARLIER/RigelDetection.dll
                       --capture debug_capture.exe --results DIR
                       [--port 18080] [--work DIR] [--prefix DIR] [--fixture-service DIR]

--port must be the data service port compiled into both DLLs. The results are also written to
DIR/same_report_tests.xml in the GoogleTest format. Standard library only.
"""

import os
import re
import shutil
import sys
import unittest

from e2e_support import main, option_parser

SIZE = r"[0-9]+\.[0-9] (B|KB|MB|GB|TB)"
BANDWIDTH = r"[0-9]+\.[0-9] (bps|Kbps|Mbps|Gbps)"
GUID = r"[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}"
SESSION = r"[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"
NUMBER = r"[0-9]+"

# What is measured or generated on each run: value ID, the shape its text has in every run, and
# why it differs between runs. Only these values may differ; each must still have its shape.
PER_RUN = {
    "71424": (SESSION, "the session identifier, generated per process"),
    "71207": (GUID, "the computer identifier, a new GUID per detection"),
    "71069": (BANDWIDTH, "the download speed, measured"),
    "71422": (BANDWIDTH, "the upload speed, measured"),
    "71382": (SIZE, "the available physical memory, a reading of the moment"),
    "71436": (SIZE, "the largest free space of a drive, a reading of the moment"),
    "71076": (SIZE, "a drive's free space, a reading of the moment"),
    "71379": (SIZE, "a drive's used space, a reading of the moment"),
}
# The drives are listed by their free space, so two drives with nearly the same free space (C:
# and Z: on one Linux file system) may swap places between runs: each drive's root, size and
# disk number must be the same, in whatever order.
DRIVE = ("71387", "71075", "71435")

# Log messages that carry a per-run figure, which must have its shape in both runs while the rest
# of the message stays equal. A stored value is logged as it is added.
PER_RUN_LOG = [
    r"^Adding value: (.*) to (?:%s)#[0-9]+$" % "|".join(list(PER_RUN) + list(DRIVE)),
    r"^downloadRate = (%s) bps$" % NUMBER,
    r"^Network speed is: (%s) bps bps$" % NUMBER,
    r"^Formatted speed: (%s)$" % BANDWIDTH,
    r"^Upload Speed: (%s)$" % BANDWIDTH,
    r"^Cost is : (%s)$" % NUMBER,
    # The report's length follows the per-run values' lengths.
    r"^Header:  = Content-Type: text/xml; charset=utf-8\r\nContent-Length: (%s)$" % NUMBER,
    # The data service counts the uploads it stored.
    r"^Result: stored upload (%s)$" % NUMBER,
]

ENV = None
BASELINE = None


def setUpModule():
    ENV.set_up()


VALUE = re.compile(r'<group index="(\d+)" id="(\d+)"><value>(.*?)</value></group>', re.DOTALL)


def report_values(report):
    """The report's values as ("id#index", text) pairs in report order."""
    return [("%s#%s" % (group, index), text) for index, group, text in VALUE.findall(report)]


def skeleton(report):
    """The report without its values: what holds them together."""
    return VALUE.sub("", report)


def log_lines(run):
    return [entry.key() for entry in run.log]


def masked(line):
    """A log line's key with its per-run figure replaced."""
    level, depth, message = line
    for pattern in PER_RUN_LOG:
        match = re.match(pattern, message, re.DOTALL)
        if match:
            return level, depth, message[:match.start(1)] + "<per run>" + message[match.end(1):]
    return line


def group_of(key):
    return key.split("#")[0]


def drives(values):
    """Each drive's root, size and disk number, in an order of their own."""
    by_index = {}
    for key, text in values:
        if group_of(key) in DRIVE:
            by_index.setdefault(key.split("#")[1], {})[group_of(key)] = text
    return sorted(tuple(drive.get(group) for group in DRIVE) for drive in by_index.values())


class SameReport(unittest.TestCase):
    """The baseline's run first, then this build's, in the same prefix."""

    @classmethod
    def setUpClass(cls):
        cls.runs = {}
        cls.journals = {}
        # Both run from one folder: the control names files beside itself in its log.
        control = os.path.join(ENV.work, "control", os.path.basename(ENV.dll))
        os.makedirs(os.path.dirname(control), exist_ok=True)
        for name, dll in (("baseline", BASELINE), ("current", ENV.dll)):
            shutil.copyfile(dll, control)
            code, output = ENV.wine("regsvr32", "/s", ENV.windows_path(control))
            if code != 0:
                raise RuntimeError("regsvr32 %s failed with %d: %r" % (dll, code, output))
            ENV.reset()
            cls.runs[name] = ENV.run_scenario("full_detection.js")
            cls.journals[name] = ENV.journal()
        cls.values = {name: report_values(run.results.get("report", ""))
                      for name, run in cls.runs.items()}

    def test_both_runs_detect_without_error(self):
        for name, run in self.runs.items():
            self.assertEqual(run.exit_code, 0, "%s: %s" % (name, run.describe()))
            self.assertNotIn("error", run.results, name)
            self.assertGreater(len(self.values[name]), 100, name)

    def test_same_values_in_the_same_order_apart_from_the_per_run_ones(self):
        def fixed(values):
            return [(key, "<per run>" if group_of(key) in PER_RUN or group_of(key) in DRIVE
                     else text) for key, text in values]
        self.assertEqual(fixed(self.values["current"]), fixed(self.values["baseline"]))
        self.assertEqual(drives(self.values["current"]), drives(self.values["baseline"]))
        self.assertEqual(*(skeleton(self.runs[name].results.get("report", ""))
                           for name in ("current", "baseline")))
        self.assertTrue(drives(self.values["current"]), "no drive reported")

    def test_per_run_values_have_their_shape_in_both_runs(self):
        for name, values in self.values.items():
            found = {}
            for key, text in values:
                if group_of(key) in PER_RUN:
                    found.setdefault(group_of(key), []).append(text)
            self.assertEqual(sorted(found), sorted(PER_RUN), name)
            for value, texts in found.items():
                for text in texts:
                    self.assertRegex(text, "^(%s)$" % PER_RUN[value][0], "%s %s" % (name, value))

    def test_same_log_lines_apart_from_the_per_run_figures(self):
        logs = {name: [masked(line) for line in log_lines(run)]
                for name, run in self.runs.items()}
        self.assertGreater(len(logs["current"]), 200)
        self.assertEqual(logs["current"], logs["baseline"])

    def test_service_gets_the_same_requests(self):
        def requests(journal):
            return [(r["method"], re.sub(r"sessid=%s" % SESSION, "sessid=<per run>", r["path"]),
                     r["status"]) for r in journal]
        self.assertEqual(requests(self.journals["current"]), requests(self.journals["baseline"]))
        self.assertEqual(len(self.journals["current"]), 5, self.journals["current"])


def bind(env, options):
    global ENV, BASELINE
    ENV = env
    BASELINE = os.path.abspath(options.baseline_dll)


if __name__ == "__main__":
    parser = option_parser(__doc__.split("\n\n")[0])
    parser.add_argument("--baseline-dll", required=True,
                        help="the earlier build's RigelDetection.dll, built for the same port")
    sys.exit(main([SameReport], bind, {}, "same_report_tests.xml", parser))
