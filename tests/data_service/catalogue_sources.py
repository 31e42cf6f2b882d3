#!/usr/bin/env python3
"""Holds the data service's value catalogue equal to the value IDs the control's C++ sources
write: every value ID in src/ must have a catalogue row, and every row must be written somewhere.

Value IDs are the integer literals 71000 to 71999; comments and string literals are left out of
the scan (the probe program's keys, for one, are strings). Run by ctest in the native build:

    catalogue_sources.py --sources SRC --results DIR

The results go to DIR/catalogue_tests.xml in the GoogleTest format, for the project's summary.
"""

import argparse
import os
import re
import sys
import time
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
sys.path.insert(0, os.path.join(ROOT, "tools", "data_service"))
sys.path.insert(0, os.path.join(ROOT, "tests", "e2e"))

import catalogue  # noqa: E402
from e2e_support import RecordingResult, write_xml  # noqa: E402

# Comments and literals in one alternation, so that a quote inside a comment or a slash inside
# a string is read as part of what it is in.
_SKIPPED = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'', re.DOTALL)
_VALUE_ID = re.compile(r"(?<![\w.])71[0-9]{3}(?![\w.])")
SOURCES = None


def blank_out(text):
    """The text with comments and literals replaced by blanks, line breaks kept for line numbers."""
    return _SKIPPED.sub(lambda m: re.sub(r"[^\n]", " ", m.group(0)), text)


def value_ids(text):
    """{value ID: [line numbers]} of a C++ text."""
    found = {}
    code = blank_out(text)
    for match in _VALUE_ID.finditer(code):
        line = code.count("\n", 0, match.start()) + 1
        found.setdefault(int(match.group(0)), []).append(line)
    return found


def scan(folder):
    """{value ID: ["file:line", ...]} over every C++ file under folder."""
    found = {}
    for directory, _, names in sorted(os.walk(folder)):
        for name in sorted(names):
            if not name.endswith((".cpp", ".h")):
                continue
            path = os.path.join(directory, name)
            with open(path, encoding="utf-8") as handle:
                for number, lines in value_ids(handle.read()).items():
                    where = os.path.relpath(path, os.path.dirname(folder))
                    found.setdefault(number, []).extend("%s:%d" % (where, n) for n in lines)
    return found


class ScannerTests(unittest.TestCase):

    def test_only_code_counts(self):
        text = ('constexpr std::uint32_t kName = 71357;  // was 71358\n'
                '/* 71359 and\n 71360 */ Store(71061, L"71398", \'7\');\n'
                'auto url = "http://x/*"; Add(71062); double d = 71063.5; int e = 710640;\n'
                'Probed(L"a \\" 71394 \\""); Add(GroupID(71070));\n')
        self.assertEqual(value_ids(text), {71357: [1], 71061: [3], 71062: [4], 71070: [5]})


class CatalogueSourceTests(unittest.TestCase):

    @classmethod
    def setUpClass(cls):
        cls.written = scan(SOURCES)
        cls.catalogued = {entry.number for entry in catalogue.load()}

    def test_every_value_id_in_the_sources_is_catalogued(self):
        missing = {number: places for number, places in self.written.items()
                   if number not in self.catalogued}
        self.assertEqual(missing, {}, "value IDs without a catalogue row (add them to "
                                      "tools/data_service/catalogue.csv)")

    def test_every_catalogued_value_id_is_written_by_the_sources(self):
        self.assertEqual(sorted(self.catalogued - set(self.written)), [],
                         "catalogue rows for value IDs no source writes")


def main():
    global SOURCES
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--sources", required=True, help="the control's src folder")
    parser.add_argument("--results", required=True, help="folder for catalogue_tests.xml")
    options = parser.parse_args()
    SOURCES = os.path.abspath(options.sources)
    suite = unittest.TestSuite()
    for case in (ScannerTests, CatalogueSourceTests):
        suite.addTests(unittest.TestLoader().loadTestsFromTestCase(case))
    started = time.monotonic()
    result = unittest.TextTestRunner(resultclass=RecordingResult, verbosity=2,
                                     stream=sys.stdout).run(suite)
    os.makedirs(options.results, exist_ok=True)
    write_xml(os.path.join(options.results, "catalogue_tests.xml"), result.cases,
              time.monotonic() - started)
    return 0 if result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
