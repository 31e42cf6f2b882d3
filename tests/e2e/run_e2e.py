#!/usr/bin/env python3
"""End-to-end tests of the detection control under Wine.

The control DLL is registered with regsvr32 in a throwaway Wine prefix, the scenario scripts in
scenarios/ drive it through Wine's cscript (a real automation client) under debug_capture, which
records the control's debugger output, and the reference data service records every request.
The tests compare what each script read, what the control logged and what the service got.

    run_e2e.py --dll RigelDetection.dll --capture debug_capture.exe --results DIR
               [--port 18080] [--work DIR] [--prefix DIR] [--fixture-service DIR]

--port must be the data service port compiled into the DLL. --fixture-service names the folder
of a data service already running on that port (the ctest fixture's): it is stopped for the run
and started again afterwards. The results are also written to DIR/e2e_tests.xml in the
GoogleTest format. Standard library only.
"""

import base64
import os
import re
import shutil
import sys
import unittest

from e2e_support import assert_subsequence, main, messages, option_parser

API_KEY = "5B3D0A47-1E2C-4F88-9A61-C07D2E94B3F5"
CLSID = "{3234EB1E-733E-4E6A-A8AB-EBB6287E5A7E}"
LIBID = "{BFA93D95-8544-4914-9BDD-4A26817125F1}"
IID_SYSINFO = "{092C26A6-C957-4A3C-BB9D-CAF2DDA29142}"
PROGID = "RigelDetection_Test64.SysInfo.1"
VERSION_INDEPENDENT_PROGID = "RigelDetection_Test64.SysInfo"

REFERRER = "e2e"
# What the service tells the control to report for the referrer; 71218 (the referrer itself) is
# left out on purpose.
GROUPS = {REFERRER: [71424, 71206, 71069], "*": [1]}

# The configuration text that session.js and session.vbs pass to Configure.
CONFIGURATION = (
    "<user_id>u9</user_id><referrer_id>e2e</referrer_id>"
    "<groups>"
    '<group index="0" id="71069"><value>  a  &  b </value></group>'
    '<group index="1" id="71069"><value>second</value></group>'
    '<group index="0" id="71500"><value>not enabled</value></group>'
    '<group index="0" id="71207"><value>cfg-computer</value></group>'
    '<group index="0" id="71465"><value>No</value></group>'
    '<group index="0" id="71466"><value>Yes</value></group>'
    "</groups>")

SESSION_ID_PATTERN = re.compile(
    r"[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}")

# A GUID in registry form without its braces, made by the operating-system detector.
COMPUTER_ID_PATTERN = re.compile(r"[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}")

CANNOT_SEND = "Can't send Internet request. Error: 12029"  # nothing listens on the port
CAUGHT = "Caught exception."
CAUGHT_SEND = "Caught exception: Can't send Internet request."

# A bandwidth as the control prints it.
BANDWIDTH_PATTERN = re.compile(r"[0-9]+\.[0-9] (bps|Kbps|Mbps|Gbps)")


def expected_report(session, computer, download):
    """The report of the session scenarios: the configured values whose group the referrer
    enabled or that are always reported, cleaned, then the session identifiers the referrer
    enabled, all in the order they entered the store. Detection replaces the configured computer
    identifier, the download speed (71069) and Windows release flags in place (Wine's machine is
    Windows 7)."""
    return ('<groups><group index="0" id="71069"><value>%s</value></group>'
            '<group index="1" id="71069"><value>second</value></group>'
            '<group index="0" id="71207"><value>%s</value></group>'
            '<group index="0" id="71465"><value>No</value></group>'
            '<group index="0" id="71466"><value>No</value></group>'
            '<group index="0" id="71424"><value>%s</value></group>'
            '<group index="0" id="71206"><value>u9</value></group></groups>  '
            % (download, computer, session))


def escaped_for_upload(report):
    return report.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;")


ENV = None


def setUpModule():
    ENV.set_up()


# ---------------------------------------------------------------------------------------------
# Helpers for the assertions

def key_exists(key):
    return ENV.wine("reg", "query", key)[0] == 0


MISSING = " (missing)"
DLL_VALUES = ["HKCR\\CLSID\\%s\\InprocServer32\\" % CLSID,
              "HKCR\\TypeLib\\%s\\1.0\\409\\win64\\" % LIBID]
# Registry values that registration writes (a trailing backslash: the key's default value).
REGISTERED = {
    "HKCR\\%s\\CLSID\\" % VERSION_INDEPENDENT_PROGID: CLSID,
    "HKCR\\%s\\CurVer\\" % VERSION_INDEPENDENT_PROGID: PROGID,
    "HKCR\\%s\\CLSID\\" % PROGID: CLSID,
    "HKCR\\CLSID\\%s\\" % CLSID: "SysInfo Class",
    "HKCR\\CLSID\\%s\\InprocServer32\\ThreadingModel" % CLSID: "Apartment",
    "HKCR\\CLSID\\%s\\TypeLib\\" % CLSID: LIBID,
    "HKCR\\Interface\\%s\\" % IID_SYSINFO: "ISysInfo",
}


def read_registry(test):
    """Reads every registered value in one script run; missing values are named with MISSING."""
    run = ENV.run_scenario("registry.js", *(list(REGISTERED) + DLL_VALUES))
    test.assertEqual(run.exit_code, 0, run.describe())
    return run.results


# ---------------------------------------------------------------------------------------------
# The tests, in the order they run

class Registration(unittest.TestCase):
    def test_regsvr32_writes_the_class_its_names_and_the_type_library(self):
        values = read_registry(self)
        dll = ENV.windows_path(ENV.dll).lower()
        self.assertEqual({path: values.get(path) for path in REGISTERED}, REGISTERED)
        # The module's own path as Windows reports it: compared without regard to case.
        self.assertEqual([values.get(path, "").lower() for path in DLL_VALUES], [dll, dll])


class Basics(unittest.TestCase):
    """Members that need no detection, in one script run."""

    @classmethod
    def setUpClass(cls):
        ENV.reset()
        cls.scenario = ENV.run_scenario("basics.js")
        cls.results = cls.scenario.results
        cls.journal = ENV.journal()

    def test_script_ran_without_error(self):
        self.assertEqual(self.scenario.exit_code, 0, self.scenario.describe())
        self.assertNotIn("error", self.results)

    def test_created_by_both_names_with_the_version(self):
        self.assertEqual(self.results["version"], "4.5.22.0")
        self.assertEqual(self.results["second.version"], "4.5.22.0")

    def test_version_and_settings_reach_no_service(self):
        self.assertEqual(self.journal, [])

    def test_session_id_is_generated_and_kept_against_an_empty_text(self):
        self.assertRegex(self.results["session.generated"], "^%s$" % SESSION_ID_PATTERN.pattern)
        self.assertEqual(self.results["session.after_empty"], self.results["session.generated"])

    def test_logging_reads_back_the_level_capped_at_seven(self):
        self.assertEqual(self.results["logging.3"], "3")
        self.assertEqual(self.results["logging.12"], "7")
        self.assertEqual(self.results["logging.-1"], "-1")
        self.assertEqual(self.results["logging.+5x"], "5")

    def test_debug_reads_one_for_any_text_but_empty_and_zero(self):
        self.assertEqual(self.results["debug.initial"], "0")
        self.assertEqual(self.results["debug.00"], "1")
        self.assertEqual(self.results["debug.0"], "0")
        self.assertEqual(self.results["debug.empty"], "0")

    def test_empty_texts_are_ignored_for_referrer_and_computer_but_not_user(self):
        self.assertEqual(self.results["referrer"], "r-basics")
        self.assertEqual(self.results["user"], "")
        self.assertEqual(self.results["computer"], "c-basics")

    def test_two_objects_share_one_session(self):
        self.assertEqual(self.results["second.session"], self.results["session.generated"])
        self.assertEqual(self.results["first.user"], "shared")

    def test_log_holds_the_lines_enabled_at_their_time(self):
        # Level 0 at the first put: nothing. At 3: the level line but no scope trace. At 7: the
        # trace around "-1". At -1: nothing, not even the next put's level line. At 5 (from
        # " +5x"): the referrer puts are traced.
        self.assertEqual([entry.key() for entry in self.scenario.log], [
            ("TRACE", 0, "Setting level to: 12"),
            ("MARK", 0, "Entering: CSysInfo::put_Logging"),
            ("TRACE", 1, "Setting level to: -1"),
            ("MARK", 0, "Exiting: CSysInfo::put_Logging"),
            ("MARK", 0, "Entering: CSysInfo::put_ReferrerID"),
            ("MARK", 0, "Exiting: CSysInfo::put_ReferrerID"),
            ("MARK", 0, "Entering: CSysInfo::put_ReferrerID"),
            ("MARK", 0, "Exiting: CSysInfo::put_ReferrerID"),
        ])
        self.assertEqual(self.scenario.log[0].elapsed, "000000")


class SessionScenario:
    """A page's visit (session.js, session.vbs): the same assertions for both languages."""

    script = None

    @classmethod
    def setUpClass(cls):
        ENV.reset()
        cls.scenario = ENV.run_scenario(cls.script)
        cls.results = cls.scenario.results
        cls.session = cls.results.get("session", "")
        cls.journal = ENV.journal()
        cls.uploads = ENV.uploads()
        stored = re.search(r'<group index="0" id="71069"><value>([^<]*)</value>',
                           cls.results.get("report1", ""))
        cls.download = stored.group(1) if stored else "(no download speed)"

    def test_script_ran_without_error(self):
        self.assertEqual(self.scenario.exit_code, 0, self.scenario.describe())
        self.assertNotIn("error", self.results)

    def test_configuration_sets_the_identifiers(self):
        self.assertRegex(self.session, "^%s$" % SESSION_ID_PATTERN.pattern)
        self.assertEqual(self.results["referrer"], REFERRER)
        self.assertEqual(self.results["user"], "u9")

    def test_report_holds_the_referrers_groups_and_the_always_reported_values(self):
        self.assertEqual(self.results["report1"],
                         expected_report(self.session, self.results["computer"], self.download))

    def test_reading_again_writing_or_filtering_gives_the_same_report(self):
        self.assertEqual(self.results["report2"], self.results["report1"])
        self.assertEqual(self.results["system"], self.results["report1"])
        self.assertEqual(self.results["report.after_put"], self.results["report1"])

    def test_computer_id_is_read_back_from_the_values(self):
        self.assertRegex(self.results["computer"], "^%s$" % COMPUTER_ID_PATTERN.pattern)

    def test_reports_keep_the_logging_level_and_detect_raises_it(self):
        self.assertEqual(self.results["logging.after_sysinfo"], "3")
        self.assertEqual(self.results["logging.after_detect"], "7")

    def test_detection_downloads_the_test_file_for_the_enabled_download_speed(self):
        self.assertRegex(self.download, "^%s$" % BANDWIDTH_PATTERN.pattern)

    def test_values_are_the_stored_texts_by_leading_digits(self):
        self.assertEqual(self.results["value.71206"], "u9")
        self.assertEqual(self.results["value.71069#1"], self.download)

    def test_a_missing_value_is_left_unwritten_and_logged(self):
        self.assertEqual(self.results["missing.type"].lower(), "string")
        self.assertEqual(self.results["missing"], "")
        errors = [entry.key() for entry in self.scenario.log if entry.level == "ERR"]
        # The detectors log what Wine's machine lacks (no wireless display library beside the
        # control, display keys without driver values) while detecting; the missing value is
        # the one failure caught after that.
        self.assertEqual(errors[-1], ("ERR", 0, CAUGHT))
        self.assertEqual(errors.count(("ERR", 0, CAUGHT)), 1)
        self.assertIn(("ERR", 0, "Failure to load widiutil.dll: 126"), errors)

    def test_analysis_returns_the_services_answer(self):
        # 71206 names no item of the service's items file; an unknown Format answers in XML.
        self.assertEqual(
            self.results["analysis"],
            '<Analysis schema="1" status="unknown-item" session="%s" user="u9" referrer="e2e" '
            'item="71206"><Message>No item 71206 in the items file.</Message>'
            '<Verdict level="minimum">unknown</Verdict><Verdict level="recommended">unknown'
            '</Verdict></Analysis>' % self.session)

    def test_a_new_session_id_reports_and_uploads_again(self):
        self.assertEqual(self.results["report3"],
                         expected_report("e2e-second-session", self.results["computer"],
                                         self.download))

    def test_service_gets_groups_the_test_file_one_upload_per_session_and_the_analysis(self):
        self.assertEqual([(r["method"], r["path"], r["status"]) for r in self.journal], [
            ("GET", "/Data/Service.svc/Group/list?refid=e2e&apikey=" + API_KEY, 200),
            ("GET", "/global/tests/test_2.bin", 200),
            ("POST", "/SystemInformation/?refid=e2e&sessid=" + self.session, 200),
            ("POST", "/service/Analysis/e2e", 200),
            ("POST", "/SystemInformation/?refid=e2e&sessid=e2e-second-session", 200),
        ])

    def test_upload_arrives_as_the_escaped_report_in_utf8(self):
        upload = self.journal[2]
        body = ("<SystemInformation><Data>%s</Data></SystemInformation>"
                % escaped_for_upload(self.results["report1"])).encode("utf-8")
        self.assertEqual(base64.b64decode(upload["body_b64"]), body)
        head = base64.b64decode(upload["raw_head_b64"]).decode("ascii")
        self.assertIn("\r\nContent-Type: text/xml; charset=utf-8\r\nContent-Length: %d\r\n"
                      % len(body), head)
        self.assertIn("\r\nUser-Agent: RIGEL\r\n", head)

    def test_analysis_request_carries_session_user_and_arguments(self):
        self.assertEqual(
            self.journal[3]["body"],
            "<System><SessionID>%s</SessionID><ItemID>71206</ItemID><UserID>u9</UserID>"
            "<Format>f</Format><Schema>v</Schema></System>" % self.session)

    def test_service_stored_the_reports_the_script_read(self):
        self.assertEqual([(u["referrer"], u["session"], u["report"]) for u in self.uploads], [
            (REFERRER, self.session, self.results["report1"]),
            (REFERRER, "e2e-second-session", self.results["report3"]),
        ])

    def test_log_traces_configuration_detection_and_requests(self):
        assert_subsequence(self, self.scenario.log, [
            ("TRACE", 0, "config= " + CONFIGURATION),
            ("TRACE", 0, "Adding value:   a  &  b  to 71069#0"),
            ("TRACE", 0, "Adding value: not enabled to 71500#0"),
            ("TRACE", 0, "Adding value: %s to 71424#0" % self.session),
            ("TRACE", 0, "Adding value: e2e to 71218#0"),
            ("TRACE", 0, "Adding value: u9 to 71206#0"),
            ("TRACE", 0, "Result: groups e2e\r\n71424|71206|71069\r\n"),
            ("TRACE", 0, "Successfully sent data."),
            ("MARK", 0, "Entering: CSysInfo::Detect"),
            ("MARK", 1, "Entering: rigel::System::Detect"),
            ("MARK", 0, "Entering: CSysInfo::get_Analysis"),
            ("TRACE", 2, "Result: " + self.results["analysis"]),
            ("MARK", 0, "Exiting: CSysInfo::get_Analysis"),
            ("MARK", 0, "Entering: CSysInfo::get_SysInfo"),
            ("TRACE", 2, "Adding value: e2e-second-session to 71424#0"),
            ("MARK", 0, "Exiting: CSysInfo::get_SysInfo"),
        ])
        uploads = [message for message in messages(self.scenario.log, "TRACE")
                   if message.startswith("Result: stored upload ")]
        self.assertEqual(len(uploads), 2, uploads)


class SessionInJScript(SessionScenario, unittest.TestCase):
    script = "session.js"


class SessionInVBScript(SessionScenario, unittest.TestCase):
    script = "session.vbs"


def report_values(report):
    """The report's values by "id#index", unescaped."""
    values = {}
    for index, group, text in re.findall(
            r'<group index="(\d+)" id="(\d+)"><value>(.*?)</value></group>', report):
        values["%s#%s" % (group, index)] = (text.replace("&lt;", "<").replace("&gt;", ">")
                                            .replace("&amp;", "&"))
    return values


def size_in_bytes(text):
    """A size text such as "23.5 GB" in bytes."""
    number, unit = text.split(" ")
    return float(number) * 1024 ** ["B", "KB", "MB", "GB", "TB"].index(unit)


def proc_meminfo_bytes(name):
    with open("/proc/meminfo", encoding="ascii") as handle:
        for line in handle:
            key, _, rest = line.partition(":")
            if key == name:
                return int(rest.split()[0]) * 1024
    raise KeyError(name)


# Registry values staged before the machine scenario: (key, value name, data).
STAGED_BROWSERS = [
    ("HKLM\\SOFTWARE\\Mozilla\\Mozilla Firefox", "CurrentVersion", "45.0.2 (en-US)"),
    ("HKLM\\SOFTWARE\\Apple Computer, Inc.\\Safari", "Version", "5.34.57.2"),
]
USER_AGENT = ("Mozilla/5.0 (Windows NT 6.1; Win64; x64) AppleWebKit/537.36 (KHTML, like Gecko) "
              "Chrome/49.0.2623.112 Safari/537.36")


class StagedMachine(unittest.TestCase):
    """One detection pass with the real services on Wine's machine, a staged browser profile and
    the report compared with what the host itself says."""

    @classmethod
    def setUpClass(cls):
        for key, name, data in STAGED_BROWSERS:
            code, output = ENV.wine("reg", "add", key, "/v", name, "/t", "REG_SZ", "/d", data,
                                    "/f")
            if code != 0:
                raise RuntimeError("reg add %s failed: %r" % (key, output))
        cls.scenario = ENV.run_scenario("machine.js", USER_AGENT)
        cls.values = report_values(cls.scenario.results.get("report", ""))

    def test_script_ran_without_error(self):
        self.assertEqual(self.scenario.exit_code, 0, self.scenario.describe())
        self.assertNotIn("error", self.scenario.results)

    def test_memory_is_the_hosts(self):
        # Wine reports the host's memory; one decimal of the printed unit is the tolerance.
        total = size_in_bytes(self.values["71063#0"])
        unit = 1024 ** 3
        self.assertAlmostEqual(total / unit, proc_meminfo_bytes("MemTotal") / unit, delta=0.051)
        self.assertEqual(self.values["71174#0"], "")

    def test_operating_system_is_wines_windows_7(self):
        self.assertEqual(self.values["71060#0"],
                         "Microsoft Windows 7 Service Pack 1 (build 7601), 64-bit")
        self.assertEqual([self.values[key] for key in ("71309#0", "71264#0", "71276#0")],
                         ["6.1.7601", "Yes", "No"])
        self.assertRegex(self.values["71207#0"], "^%s$" % COMPUTER_ID_PATTERN.pattern)

    def test_staged_browsers_follow_wines_own_and_chrome_is_in_use(self):
        # Wine ships its own Internet Explorer entry; the staged two come after it.
        installed = [(self.values["71353#%d" % i], self.values["71352#%d" % i]) for i in range(3)]
        self.assertEqual(installed[1:], [("Firefox", "45.0.2 (en-US)"), ("Safari", "5.34.57.2")])
        self.assertEqual(installed[0][0], "Internet Explorer")
        self.assertNotIn("71353#3", self.values)
        flags = {key: self.values[key + "#0"] for key in
                 ("71407", "71456", "71447", "71448", "71449", "71450", "71451", "71460")}
        self.assertEqual(flags, {"71407": "Yes", "71456": "Yes", "71447": "Chrome",
                                 "71448": "No", "71449": "Yes", "71450": "No", "71451": "No",
                                 "71460": ""})

    def test_bios_and_board_are_wines(self):
        self.assertEqual([self.values[key] for key in ("71073#0", "71294#0", "71171#0")],
                         ["Default System BIOS", "The Wine Project", "Intel Corporation"])


class DeadService(unittest.TestCase):
    """Every member with nothing listening on the service's port."""

    @classmethod
    def setUpClass(cls):
        ENV.stop_service()
        cls.scenario = ENV.run_scenario("dead_service.js")
        cls.results = cls.scenario.results

    def test_every_member_returns_to_the_script(self):
        self.assertEqual(self.scenario.exit_code, 0, self.scenario.describe())
        self.assertNotIn("error", self.results)
        self.assertEqual(self.results["version"], "4.5.22.0")
        self.assertEqual(self.results["logging"], "7")
        self.assertEqual(self.results["debug"], "0")
        self.assertEqual(self.results["referrer"], REFERRER)

    def test_reports_are_empty_and_the_analysis_unwritten(self):
        self.assertEqual(self.results["sysinfo"], "")
        self.assertEqual(self.results["system"], "")
        self.assertEqual(self.results["analysis.type"], "string")
        self.assertEqual(self.results["analysis"], "")
        self.assertEqual(self.results["computer"], "")

    def test_values_stored_before_the_failure_stay_readable(self):
        self.assertEqual(self.results["value.71206"], "u-dead")
        self.assertEqual(self.results["value.71069"], "kept")

    def test_each_failure_is_logged_where_it_is_caught(self):
        # Depths follow the scope traces: the group-list request fails inside rigel::System::
        # Detect, whose exception each member catches at its own level.
        analysis = [("ERR", 4, CANNOT_SEND), ("ERR", 2, CAUGHT),
                    ("ERR", 2, CANNOT_SEND), ("ERR", 1, CAUGHT_SEND)]
        self.assertEqual([entry.key() for entry in self.scenario.log if entry.level == "ERR"], [
            ("ERR", 3, CANNOT_SEND), ("ERR", 1, CAUGHT),  # SysInfo
            ("ERR", 4, CANNOT_SEND), ("ERR", 2, CAUGHT),  # System
            ("ERR", 3, CANNOT_SEND), ("ERR", 1, CAUGHT),  # Detect
            ("ERR", 3, CANNOT_SEND), ("ERR", 1, CAUGHT),  # Value 71206
            ("ERR", 3, CANNOT_SEND), ("ERR", 1, CAUGHT),  # Value 71069
        ] + analysis + analysis)


class StagedSoftware(unittest.TestCase):
    """The software and applications detectors on a machine staged with their keys, an App Paths
    entry naming a file of ours with a version resource, and the wireless display stand-in
    beside the control, told what to answer through the environment."""

    APP_PATHS = "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\Winword.exe"
    ADAPTER = ("HKLM\\system\\CurrentControlSet\\Control\\Class\\"
               "{4D36E972-E325-11CE-BFC1-08002BE10318}\\0000")
    STAGED = [
        ("HKLM\\Software\\Intel\\Network_Services\\DMIX", "OEMVersion", "16.8.0"),
        ("HKLM\\Software\\Intel\\Wireless\\AppFramework\\Settings", "PROSetVersion",
         "15.1.0"),
        (ADAPTER, "DriverDesc", "Intel(R) Advanced Network Services Virtual Adapter"),
        (ADAPTER, "DriverVersion", "9.13.41.0"),
        ("HKLM\\SOFTWARE\\JavaSoft\\Java Runtime Environment", "BrowserJavaVersion",
         "1.7.0_45"),
    ]
    CHOSEN = "GetPlatform=0,1;GetProduct=0,0;GetWiDiVersion=0,0,0,5,1;GetWidgitVersion=0,3,0,0,0"
    VALUES = ["71351", "71377", "71369", "71370", "71488", "71489", "71486", "71487", "71490",
              "71491", "71499", "71417", "71418", "71454"]

    @classmethod
    def setUpClass(cls):
        if not ENV.stand_in:
            raise unittest.SkipTest("no --widi-stand-in given")
        beside_control = os.path.join(os.path.dirname(ENV.dll), "widiutil.dll")
        shutil.copyfile(ENV.stand_in, beside_control)
        cls.addClassCleanup(os.remove, beside_control)
        for key, name, data in cls.STAGED:
            cls.stage(key, "/v", name, "/d", data)
        cls.stage(cls.APP_PATHS, "/ve", "/d", ENV.windows_path(ENV.stand_in))
        os.environ["RIGEL_WIDI_STAND_IN"] = cls.CHOSEN
        cls.addClassCleanup(os.environ.pop, "RIGEL_WIDI_STAND_IN")
        cls.scenario = ENV.run_scenario("staged_software.js", *cls.VALUES)
        cls.results = cls.scenario.results

    @classmethod
    def stage(cls, key, *value):
        code, output = ENV.wine("reg", "add", key, *value, "/f")
        if code != 0:
            raise RuntimeError("reg add %s failed: %r" % (key, output))
        cls.addClassCleanup(ENV.wine, "reg", "delete", key, "/f")

    def test_script_ran_without_error(self):
        self.assertEqual(self.scenario.exit_code, 0, self.scenario.describe())
        self.assertNotIn("error", self.results)

    def test_values_are_what_was_staged(self):
        self.assertEqual({value: self.results.get(value) for value in self.VALUES}, {
            "71351": "4.5.22.0", "71377": "16.8.0", "71369": "15.1.0", "71370": "9.13.41.0",
            "71488": "3.0.0.0", "71489": "Yes", "71486": "", "71487": "No", "71490": "Yes",
            "71491": "No", "71499": "No", "71417": "Yes", "71418": "1.2.3.4",
            "71454": "1.7.0.45"})


class Unregistration(unittest.TestCase):
    def test_regsvr32_u_removes_every_key(self):
        self.assertEqual(ENV.unregister(), 0)
        values = read_registry(self)
        self.assertEqual(sorted(values), sorted(path + MISSING for path in
                                                list(REGISTERED) + DLL_VALUES))
        for key in ("HKCR\\" + VERSION_INDEPENDENT_PROGID, "HKCR\\" + PROGID,
                    "HKCR\\CLSID\\" + CLSID, "HKCR\\TypeLib\\" + LIBID,
                    "HKCR\\Interface\\" + IID_SYSINFO):
            self.assertFalse(key_exists(key), key)


ORDER = [Registration, Basics, SessionInJScript, SessionInVBScript, StagedMachine, StagedSoftware,
         DeadService, Unregistration]


def bind(env, _options):
    global ENV
    ENV = env


if __name__ == "__main__":
    sys.exit(main(ORDER, bind, GROUPS, "e2e_tests.xml", option_parser(__doc__.split("\n\n")[0])))
