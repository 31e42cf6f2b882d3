"""The terminal summary the demo ends with, read from a running service as a person sees it."""

import contextlib
import io
import re
import socket

from service_support import ServiceTestCase, report_of

import summary

REPORT = report_of([
    ("71424", 0, "s1"), ("71206", 0, ""), ("71061", 0, "Xeon &amp; Co"), ("71252", 0, "No"),
    ("71254", 0, "2"), ("71063", 0, "3.0 GB"), ("71387", 0, "C:\\"), ("71075", 0, "252.0 GB"),
    ("71387", 1, "Z:\\"), ("71076", 1, "1.0 GB"), ("71425", 0, "00 FF " * 20),
    ("99999", 3, "odd"), ("71214", 0, "1024x768")])


class SummaryTests(ServiceTestCase):

    def run_summary(self, *args):
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            code = summary.main(["--service", "http://127.0.0.1:%d" % self.port] + list(args))
        return code, output.getvalue()

    def test_one_short_table_per_component_then_the_verdict(self):
        self.assertEqual(self.run_summary(), (0, "The data service holds no upload yet.\n"))
        self.upload(REPORT, referrer="shop", session="s1")
        code, text = self.run_summary("--item", "1002")
        self.assertEqual(code, 0)
        self.assertEqual(re.sub(r"received \S+", "received T", text), "\n".join([
            "Upload 1 from referrer 'shop', session s1, received T",
            "Session",
            "  Session ID  s1",
            "Processor",
            "  Processor name   Xeon & Co",
            "  Processor count  2",
            "Memory",
            "  Physical memory  3.0 GB",
            "Screen",
            "  Screen resolution  1024x768",
            "Monitors",
            "  Monitors",
            "    #  EDID data",
            "    0  00 FF 00 FF 00 FF 00 FF…",
            "Logical drives",
            "  Volumes",
            "    #  Volume  Capacity  Free space",
            "    0  C:\\     252.0 GB  —",
            "    1  Z:\\     —         1.0 GB",
            "Other values",
            "  99999  3  odd",
            "(2 values that are empty or No not shown)",
            "Can this machine run Ledger Office (item 1002)?",
            "  minimum: unknown, recommended: unknown",
            "  Physical memory     3.0 GB    minimum 1 GB: pass        recommended 2 GB: pass",
            "  Largest free space  —         minimum 2 GB: unknown     recommended 2 GB: unknown",
            "  Processor speed     —         minimum 1.0 GHz: unknown  "
            "recommended 1.0 GHz: unknown",
            "  Processor count     2         minimum 1: pass           recommended 2: pass",
            "  Windows version     —         minimum 6.1: unknown      recommended 6.1: unknown",
            "  Screen resolution   1024x768  minimum 1024 x 768: pass  "
            "recommended 1024 x 768: pass",
            "  Download speed      —         minimum 1 Mbps: unknown   "
            "recommended 1 Mbps: unknown",
        ]) + "\n")
        code, text = self.run_summary("--item", "4")
        self.assertEqual((code, text.splitlines()[-2:]), (0, [
            "Can this machine run it (item 4)?", "  No item 4 in the items file."]))

    def test_a_service_that_does_not_answer_is_an_error(self):
        error = io.StringIO()
        with socket.socket() as bound_only, contextlib.redirect_stderr(error):
            bound_only.bind(("127.0.0.1", 0))
            address = "http://127.0.0.1:%d" % bound_only.getsockname()[1]
            self.assertEqual(summary.main(["--service", address]), 1)
        self.assertTrue(error.getvalue().startswith("summary: cannot read from %s: " % address),
                        error.getvalue())
