#!/usr/bin/env python3
"""What every end-to-end runner under Wine shares: the throwaway prefix with the data service and
the registered DLL (Environment), the scenario outputs (results file, captured log), assertion
helpers and the GoogleTest XML results for the project's summary. Standard library only.

A runner lists its test classes in order and calls main(), which parses the common options,
builds the Environment and hands it to the runner's bind() before the tests start.
"""

import argparse
import array
import json
import os
import re
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.request
from xml.sax.saxutils import quoteattr

SOURCE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
SCENARIOS = os.path.join(SOURCE, "tests", "e2e", "scenarios")
WINE = "/usr/lib/wine/wine64"

SCENARIO_TIMEOUT = 60
COMMAND_TIMEOUT = 120
HTTP_TIMEOUT = 5


# ---------------------------------------------------------------------------------------------
# Outputs of a scenario run

def parse_results(path):
    """Reads a scenario's results file: UTF-16 with a byte-order mark, one record per result:
    name, tab, length in UTF-16 units, tab, text, line feed."""
    with open(path, "rb") as handle:
        data = handle.read()
    if data.startswith(b"\xff\xfe"):
        data = data[2:]
    units = array.array("H")
    units.frombytes(data)
    if sys.byteorder != "little":
        units.byteswap()

    def text(start, end):
        return units[start:end].tobytes().decode("utf-16-le", "surrogatepass")

    results = {}
    pos = 0
    tab = ord("\t")
    while pos < len(units):
        name_end = units.index(tab, pos)
        length_end = units.index(tab, name_end + 1)
        name = text(pos, name_end)
        length = int(text(name_end + 1, length_end))
        value_start = length_end + 1
        results[name] = text(value_start, value_start + length)
        if text(value_start + length, value_start + length + 1) != "\n":
            raise ValueError("malformed record %r in %s" % (name, path))
        pos = value_start + length + 1
    return results


# A log line's prefix: wall-clock time, seconds since the first line (at least six characters),
# the level name in five characters, a bar, and one ". " per trace depth.
LOG_PREFIX = re.compile(
    r"(\d\d:\d\d:\d\d)  ([0-9.]{6,})  (ERR  |WARN |TRACE|MARK |DUMP ) \| ((?:\. )*)")


class LogEntry:
    def __init__(self, elapsed, level, depth, message):
        self.elapsed = elapsed
        self.level = level
        self.depth = depth
        self.message = message

    def key(self):
        return (self.level, self.depth, self.message)

    def __repr__(self):
        return "%s %d %r" % self.key()


def parse_log(text):
    """Splits the captured debugger output into entries. Each output string is one line ending in
    a line feed; a message that itself holds line feeds continues on the following lines."""
    entries = []
    lines = text.split("\n")
    if lines and lines[-1] == "":
        lines.pop()
    for line in lines:
        match = LOG_PREFIX.match(line)
        if match:
            entries.append(LogEntry(match.group(2), match.group(3).strip(),
                                    len(match.group(4)) // 2, line[match.end():]))
        elif entries:
            entries[-1].message += "\n" + line
        else:
            raise ValueError("log does not start with a prefixed line: %r" % line)
    return entries


class ScenarioRun:
    def __init__(self, name, exit_code, results, log, output):
        self.name = name
        self.exit_code = exit_code
        self.results = results
        self.log = log
        self.output = output

    def describe(self):
        return "%s exit %s, results %r, output %r" % (self.name, self.exit_code, self.results,
                                                      self.output)


# ---------------------------------------------------------------------------------------------
# The environment: a Wine prefix, the data service and the registered DLL

class Environment:
    def __init__(self, options, groups):
        self.dll = os.path.abspath(options.dll)
        self.capture = os.path.abspath(options.capture)
        self.port = options.port
        self.work = os.path.abspath(options.work)
        self.prefix = os.path.abspath(options.prefix or os.path.join(self.work, "prefix"))
        self.fixture_service = options.fixture_service
        self.stand_in = options.widi_stand_in and os.path.abspath(options.widi_stand_in)
        self.service_dir = os.path.join(self.work, "service")
        self.groups_file = os.path.join(self.work, "groups.json")
        self.groups = groups
        self.registered = False
        self.timings = []

    @staticmethod
    def windows_path(path):
        return "Z:" + os.path.abspath(path).replace("/", "\\")

    def wine_environment(self):
        env = dict(os.environ)
        env.update({"WINEPREFIX": self.prefix, "WINEDEBUG": "-all",
                    "WINEDLLOVERRIDES": "mscoree,mshtml=;winealsa.drv=d"})
        return env

    def wine(self, *args, timeout=COMMAND_TIMEOUT):
        """Runs a Wine program; returns its exit code and its output (stdout and stderr).

        The output goes through a file, never a pipe: Wine's desktop and RPC processes, started
        on demand, inherit the handles and would hold a pipe open until they idle out. Kept
        running between the steps, they also spare each step their ten-second start."""
        with tempfile.TemporaryFile(dir=self.work) as output:
            done = subprocess.run([WINE] + list(args), env=self.wine_environment(),
                                  stdin=subprocess.DEVNULL, stdout=output,
                                  stderr=subprocess.STDOUT, timeout=timeout)
            output.seek(0)
            return done.returncode, output.read()

    @staticmethod
    def script(name, *args):
        done = subprocess.run([os.path.join(SOURCE, "scripts", name)] + list(args),
                              stdin=subprocess.DEVNULL, capture_output=True,
                              timeout=COMMAND_TIMEOUT)
        if done.returncode != 0:
            raise RuntimeError("scripts/%s %s failed with %d: %s" % (
                name, " ".join(args), done.returncode, done.stderr.decode("utf-8", "replace")))

    # -- set-up and tear-down ------------------------------------------------------------------

    def set_up(self, register=True):
        """The prefix, the data service and, unless told not to, the DLL registered with
        regsvr32 (a runner that installs the control itself registers nothing up front)."""
        os.makedirs(self.work, exist_ok=True)
        with open(self.groups_file, "w", encoding="utf-8") as handle:
            json.dump(self.groups, handle)
        # Clean-ups run in the reverse order, also after a failed set-up.
        start = time.monotonic()
        self.script("wine-prefix", "start", self.prefix)
        self.timings.append(("Wine prefix start", (time.monotonic() - start) * 1000))
        unittest.addModuleCleanup(self.script, "wine-prefix", "stop", self.prefix)
        self.take_port()
        self.script("data-service", "start", str(self.port), self.service_dir,
                    "--groups", self.groups_file)
        unittest.addModuleCleanup(self.stop_service)
        if register:
            self.register()

    def take_port(self):
        """Stops the service already on the port, if a folder was named for it, until the end."""
        if self.fixture_service and os.path.exists(os.path.join(self.fixture_service,
                                                                "service.pid")):
            self.script("data-service", "stop", str(self.port), self.fixture_service)
            unittest.addModuleCleanup(self.script, "data-service", "restart", str(self.port),
                                      self.fixture_service)

    def stop_service(self):
        self.script("data-service", "stop", str(self.port), self.service_dir)

    def register(self):
        start = time.monotonic()
        code, output = self.wine("regsvr32", "/s", self.windows_path(self.dll))
        self.timings.append(("regsvr32", (time.monotonic() - start) * 1000))
        if code != 0:
            raise RuntimeError("regsvr32 failed with %d: %r" % (code, output))
        self.registered = True
        unittest.addModuleCleanup(self.unregister)

    def unregister(self):
        if self.registered:
            self.registered = False
            return self.wine("regsvr32", "/u", "/s", self.windows_path(self.dll))[0]
        return 0

    # -- the data service ----------------------------------------------------------------------

    def http(self, method, path, body=None):
        request = urllib.request.Request("http://127.0.0.1:%d%s" % (self.port, path),
                                         data=body, method=method)
        with urllib.request.urlopen(request, timeout=HTTP_TIMEOUT) as response:
            return response.read()

    def reset(self):
        self.http("POST", "/_admin/reset", b"")

    def journal(self):
        return json.loads(self.http("GET", "/_admin/requests"))

    def uploads(self):
        return json.loads(self.http("GET", "/_admin/uploads"))["uploads"]

    # -- scenarios -----------------------------------------------------------------------------

    def runnable(self, script):
        """The script as cscript runs it: a JScript scenario gets the shared prelude in front."""
        source = os.path.join(SCENARIOS, script)
        if not script.endswith(".js"):
            return source
        combined = os.path.join(self.work, script)
        with open(os.path.join(SCENARIOS, "prelude.js"), encoding="utf-8") as prelude, \
                open(source, encoding="utf-8") as body, \
                open(combined, "w", encoding="utf-8", newline="\r\n") as out:
            out.write(prelude.read() + "\n" + body.read())
        return combined

    def run_scenario(self, script, *args, timeout=None):
        """Runs a scenario under the debugger capture; it is ended after timeout seconds
        (SCENARIO_TIMEOUT unless given)."""
        timeout = timeout or SCENARIO_TIMEOUT
        stem = script.replace(".", "_")
        results_file = os.path.join(self.work, stem + ".results")
        log_file = os.path.join(self.work, stem + ".log")
        for path in (results_file, log_file):
            if os.path.exists(path):
                os.remove(path)
        start = time.monotonic()
        code, output = self.wine(self.windows_path(self.capture),
                         "--timeout=%d" % timeout, self.windows_path(log_file),
                         "cscript", "//nologo", self.windows_path(self.runnable(script)),
                         self.windows_path(results_file), *args, timeout=timeout + 10)
        self.timings.append(("%s (whole run)" % script, (time.monotonic() - start) * 1000))
        results = parse_results(results_file) if os.path.exists(results_file) else {}
        # The messages' own line ends stay as they are.
        with open(log_file, encoding="utf-8", newline="") as handle:
            log = parse_log(handle.read())
        for name, value in results.items():
            if name.startswith("ms."):
                self.timings.append(("%s %s" % (script, name[3:]), float(value)))
        return ScenarioRun(script, code, results, log, output.decode("cp437", "replace"))


# ---------------------------------------------------------------------------------------------
# Helpers for the assertions

def messages(log, level=None):
    return [entry.message for entry in log if level is None or entry.level == level]


def assert_subsequence(test, log, expected):
    """Each expected (level, depth, message) occurs in the log, in this order."""
    keys = [entry.key() for entry in log]
    pos = 0
    for item in expected:
        if item not in keys[pos:]:
            test.fail("log line %r not found after position %d in:\n%s"
                      % (item, pos, "\n".join(map(repr, keys))))
        pos = keys.index(item, pos) + 1


# ---------------------------------------------------------------------------------------------
# Results in the GoogleTest XML format, for the project's summary

class RecordingResult(unittest.TextTestResult):
    def __init__(self, *args, **kwargs):
        super().__init__(*args, **kwargs)
        self.cases = []  # (suite, name, seconds, failure text or None, skipped)
        self._started = 0.0

    def startTest(self, test):
        self._started = time.monotonic()
        super().startTest(test)

    def _add(self, test, failure=None, skipped=False):
        seconds = time.monotonic() - self._started
        if isinstance(test, unittest.TestCase):
            suite, name = type(test).__name__, test._testMethodName
        else:  # a failed class or module set-up
            suite, name = "SetUp", str(test)
        self.cases.append((suite, name, seconds, failure, skipped))

    def addSuccess(self, test):
        super().addSuccess(test)
        self._add(test)

    def addFailure(self, test, err):
        super().addFailure(test, err)
        self._add(test, self._exc_info_to_string(err, test))

    def addError(self, test, err):
        super().addError(test, err)
        self._add(test, self._exc_info_to_string(err, test))

    def addSkip(self, test, reason):
        super().addSkip(test, reason)
        self._add(test, skipped=True)


def cdata(text):
    return "<![CDATA[%s]]>" % text.replace("]]>", "]]]]><![CDATA[>")


def write_xml(path, cases, seconds):
    suites = {}
    for case in cases:
        suites.setdefault(case[0], []).append(case)
    failures = sum(1 for case in cases if case[3] is not None)
    skipped = sum(1 for case in cases if case[4])
    lines = ['<?xml version="1.0" encoding="UTF-8"?>',
             '<testsuites tests="%d" failures="%d" disabled="0" skipped="%d" errors="0" '
             'time="%.3f" name="AllTests">' % (len(cases), failures, skipped, seconds)]
    for suite, members in suites.items():
        lines.append('  <testsuite name=%s tests="%d" failures="%d" disabled="0" skipped="%d" '
                     'errors="0" time="%.3f">'
                     % (quoteattr(suite), len(members),
                        sum(1 for m in members if m[3] is not None),
                        sum(1 for m in members if m[4]), sum(m[2] for m in members)))
        for _, name, case_seconds, failure, was_skipped in members:
            attributes = 'name=%s status="run" result="%s" time="%.3f" classname=%s' % (
                quoteattr(name), "skipped" if was_skipped else "completed", case_seconds,
                quoteattr(suite))
            if failure is not None:
                first = failure.strip().splitlines()[-1]
                lines.append('    <testcase %s>' % attributes)
                lines.append('      <failure message=%s type="">%s</failure>'
                             % (quoteattr(first), cdata(failure)))
                lines.append('    </testcase>')
            elif was_skipped:
                lines.append('    <testcase %s><skipped/></testcase>' % attributes)
            else:
                lines.append('    <testcase %s/>' % attributes)
        lines.append('  </testsuite>')
    lines.append('</testsuites>')
    with open(path, "w", encoding="utf-8") as handle:
        handle.write("\n".join(lines) + "\n")


def option_parser(description):
    """The options every runner takes; a runner may add its own before calling main()."""
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--dll", required=True, help="RigelDetection.dll")
    parser.add_argument("--capture", required=True, help="debug_capture.exe")
    parser.add_argument("--results", required=True, help="folder for the results file")
    parser.add_argument("--port", type=int, default=18080,
                        help="the data service port compiled into the DLL")
    parser.add_argument("--work", help="scratch folder (default: e2e next to the results)")
    parser.add_argument("--prefix", help="Wine prefix (default: WORK/prefix)")
    parser.add_argument("--fixture-service",
                        help="folder of a data service on the port to stop and restart")
    parser.add_argument("--widi-stand-in", help="widiutil.dll, the wireless display stand-in")
    return parser


def main(order, bind, groups, results_name, parser, argv=None):
    """Runs the test classes in order with a fresh Environment; writes RESULTS/results_name."""
    options = parser.parse_args(argv)
    if options.work is None:
        options.work = os.path.join(os.path.dirname(os.path.abspath(options.results)), "e2e")
    env = Environment(options, groups)
    bind(env, options)
    suite = unittest.TestSuite()
    loader = unittest.TestLoader()
    for case in order:
        suite.addTests(loader.loadTestsFromTestCase(case))
    started = time.monotonic()
    runner = unittest.TextTestRunner(resultclass=RecordingResult, verbosity=2, stream=sys.stdout)
    result = runner.run(suite)
    seconds = time.monotonic() - started

    print("Timings under Wine (milliseconds):")
    for name, value in env.timings:
        print("  %-40s %8.0f" % (name, value))
    os.makedirs(options.results, exist_ok=True)
    write_xml(os.path.join(options.results, results_name), result.cases, seconds)
    return 0 if result.wasSuccessful() and result.testsRun > 0 else 1
