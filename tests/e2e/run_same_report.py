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
}

# Log lines that carry those values or the measurements behind them: the pattern picks the
# per-run part, which must have its shape in both runs while the rest of the line stays equal.
PER_RUN_LOG = [
    (r"^(?:Adding value: )(%s)(?: to 71424#0)$" % SESSION, SESSION),
    (r"^(?:Adding value: )(%s)(?: to 71207#0)$" % GUID, GUID),
    (r"^(?:Adding value: )(%s)(?: to 714(?:22|69)#0|(?: to 71069#0))$" % BANDWIDTH, BANDWIDTH),
    (r"^(?:Adding value: )(%s)(?: to 71382#0)$" % SIZE, SIZE),
    (r"^(?:downloadRate = )(%s)(?: bps)$" % NUMBER, NUMBER),
    (r"^(?:Network speed is: )(%s)(?: bps bps)$" % NUMBER, NUMBER),
    (r"^(?:Formatted speed: |Upload Speed: )(%s)$" % BANDWIDTH, BANDWIDTH),
    (r"^(?:Cost is : )(%s)$" % NUMBER, NUMBER),
    (r"^(?:Result: stored upload )(%s)$" % NUMBER, NUMBER),
]

ENV = None
BASELINE = None


def setUpModule():
    ENV.set_up()


def report_values(report):
    """The report's values as ("id#index", text) pairs in report order."""
    return [("%s#%s" % (group, index), text) for index, group, text in re.findall(
        r'<group index="(\d+)" id="(\d+)"><value>(.*?)</value></group>', report)]


def log_lines(run):
    return [entry.key() for entry in run.log]


def masked(line):
    """A log line with its per-run part replaced, and that part (None for a line without one)."""
    level, depth, message = line
    for pattern, _ in PER_RUN_LOG:
        match = re.match(pattern, message)
        if match:
            return (level, depth, message[:match.start(1)] + "<per run>" +
                    message[match.end(1):]), match.group(1)
    return line, None


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
            if os.environ.get("DUMP"):
                with open(os.path.join(ENV.work, name + ".log.txt"), "w") as f:
                    for line in log_lines(cls.runs[name]):
                        f.write(repr(line) + "\n")
        cls.values = {name: report_values(run.results.get("report", ""))
                      for name, run in cls.runs.items()}

    def test_both_runs_detect_without_error(self):
        for name, run in self.runs.items():
            self.assertEqual(run.exit_code, 0, "%s: %s" % (name, run.describe()))
            self.assertNotIn("error", run.results, name)
            self.assertGreater(len(self.values[name]), 100, name)

    def test_same_values_in_the_same_order_apart_from_the_per_run_ones(self):
        def fixed(values):
            return [(key, "<per run>" if key.split("#")[0] in PER_RUN else text)
                    for key, text in values]
        self.assertEqual(fixed(self.values["current"]), fixed(self.values["baseline"]))

    def test_per_run_values_have_their_shape_in_both_runs(self):
        for name, values in self.values.items():
            found = {key.split("#")[0]: text for key, text in values
                     if key.split("#")[0] in PER_RUN}
            self.assertEqual(sorted(found), sorted(PER_RUN), name)
            for value, text in found.items():
                self.assertRegex(text, "^(%s)$" % PER_RUN[value][0], "%s %s" % (name, value))

    def test_same_log_lines_apart_from_the_per_run_values(self):
        logs = {}
        for name, run in self.runs.items():
            lines = []
            for line in log_lines(run):
                fixed, _ = masked(line)
                lines.append(fixed)
            logs[name] = lines
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
