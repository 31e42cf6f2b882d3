"""Reading stored reports, the catalogue file, and what is derived from a report: the machine
key, the facts, the difference between two uploads and the fleet's shares."""

import unittest

from service_support import loaded, report_of

import catalogue
import fleet
import machine
from report import Entry, Report, parse

STABLE = [("71386", 0, "1F8BFBFF000A0671"), ("71061", 0, "Xeon"), ("71171", 0, "Board Co"),
          ("71073", 0, "BIOS"), ("71431", 0, "Disk 1"), ("71075", 0, "252.0 GB"),
          ("71075", 1, "100.0 GB"), ("71406", 0, "A4A04304")]


class ReportReadingTests(unittest.TestCase):

    def test_group_elements_whole_odd_or_broken_are_kept(self):
        def group(attributes, rest="<value>x</value></group>"):
            return "<group %s>%s" % (attributes, rest)

        cases = [
            ("unescaped once", report_of([("71061", 0, "Intel &amp;lt;X&amp;gt; &lt;b&gt;")]),
             [("71061", 71061, "0", 0, "Intel &lt;X&gt; <b>", False)]),
            ("ID with a leading zero, index 12", report_of([("071207", 12, "guid")]),
             [("071207", 71207, "12", 12, "guid", False)]),
            ("unknown ID", group('index="0" id="99999"'), [("99999", 99999, "0", 0, "x", False)]),
            ("ID without digits", group('index="0" id="abc"'), [("abc", None, "0", 0, "x", False)]),
            ("ID of a million digits", group('index="0" id="%s"' % ("7" * 1000000)),
             [("7" * 1000000, None, "0", 0, "x", False)]),
            ("index that is no number", group('index="-1" id="71061"'),
             [("71061", 71061, "-1", None, "x", False)]),
            ("attributes swapped", group('id="71061" index="2"'),
             [("71061", 71061, "2", 2, "x", False)]),
            ("no value element", group('index="0" id="71061"', "</group>"),
             [("71061", 71061, "0", 0, None, False)]),
            ("cut inside a value", '<groups><group index="0" id="1"><value>a</value></group>'
             '<group index="0" id="71061"><value>Intel Co',
             [("1", 1, "0", 0, "a", False), ("71061", 71061, "0", 0, "Intel Co", True)]),
            ("cut inside a tag", '<groups><group index="0" id="7106',
             [("", None, "0", 0, None, True)]),
            ("no groups at all", "<groups></groups>  ", []),
            ("not a report", "\x00\xff binary", []),
        ]
        for name, report, expected in cases:
            with self.subTest(name):
                self.assertEqual([(e.id_text, e.number, e.index_text, e.index, e.value,
                                   e.truncated) for e in parse(report)], expected)

    def test_hostile_repetitions_are_read_in_one_pass(self):
        # Either shape makes a backtracking scan quadratic; here they give one entry each.
        opened = '<group index="0" id="1"><value>' * 100000
        self.assertEqual(len(parse(opened + "</value></group>")), 1)
        self.assertEqual(len(parse("<group " * 300000)), 1)
        many = report_of([("71075", i, "%d.0 GB" % i) for i in range(20000)])
        self.assertEqual(Report(many).values(71075)[-1], "19999.0 GB")

    def test_lookups_order_by_index_and_the_later_of_equal_keys_wins(self):
        report = Report(report_of([("71064", 1, "second"), ("71064", 0, "first"),
                                   ("71063", 0, "1.0 GB"), ("71063", 0, "2.0 GB")]))
        self.assertEqual((report.values(71064), report.first(71064), report.first(71060)),
                         (["first", "second"], "first", None))
        self.assertEqual(report.mapping()[(71063, 0)], "2.0 GB")
        self.assertEqual(Entry("071063", "00", "x").key, (71063, 0))


class CatalogueFileTests(unittest.TestCase):

    def test_mistakes_are_named_by_line(self):
        header = "id,component,label,kind,repeats\n"
        row = "71061,Processor,Processor name,name,\n"
        cases = [
            ("id,label\n", "catalogue.csv line 1: the header must be id,component,label,kind,"
                           "repeats"),
            (header + row + "71061,Processor,Other,name,\n",
             "catalogue.csv line 3: value ID 71061 appears twice"),
            (header + row + "71062,Processor,Processor name,speed,\n",
             "catalogue.csv line 3: label 'Processor name' appears twice"),
            (header + "71062,Processor,Speed,fast,\n",
             "catalogue.csv line 2: kind 'fast' is not one of " + ", ".join(catalogue.KINDS)),
            (header + "7106x,Processor,Speed,speed,\n",
             "catalogue.csv line 2: '7106x' is not a value ID"),
            (header + "71062,Processor,Speed\n", "catalogue.csv line 2: 3 fields, expected 5"),
            (header + "71062,,Speed,speed,\n",
             "catalogue.csv line 2: component and label must not be empty"),
        ]
        for text, message in cases:
            with self.subTest(message=message):
                self.assertEqual(loaded(self, catalogue.load, "catalogue.csv", text), message)

    def test_components_keep_the_order_of_their_first_rows(self):
        found = loaded(self, catalogue.load, "catalogue.csv", "id,component,label,kind,repeats\n"
                       "1,B,One,name,\n2,A,Two,size,Disks\n3,B,Three,count,\n")
        self.assertEqual(found.components, ["B", "A"])
        self.assertEqual([e.label for e in found.in_component("B")], ["One", "Three"])
        self.assertEqual((found.label(2), found.get(2).repeated, found.label(4)),
                         ("Two", True, "Value 4"))
        self.assertEqual(found.get(3).heading(), "Three (3)")


class MachineTests(unittest.TestCase):

    def test_the_key_follows_the_stable_values_only(self):
        def key(entries):
            return machine.machine_key(Report(report_of(entries)))

        base = key(STABLE + [("71207", 0, "GUID-1"), ("71076", 0, "10.0 GB"), ("71424", 0, "s1"),
                             ("71069", 0, "1.0 Mbps")])
        self.assertRegex(base, "^[0-9a-f]{16}$")
        self.assertEqual(key(list(reversed(STABLE)) + [("71207", 0, "GUID-2"),
                                                       ("71076", 0, "9.0 GB")]), base)
        for changed in (("71406", 0, "B4A04304"), ("71075", 1, "120.0 GB"),
                        ("71425", 0, "00 FF FF"), ("71061", 0, "Xeon 2"), ("71431", 0, "Disk 2")):
            with self.subTest(changed=changed):
                others = [entry for entry in STABLE if entry[:2] != changed[:2]]
                self.assertNotEqual(key(others + [changed]), base)
        self.assertIsNone(key([("71207", 0, "GUID"), ("71061", 0, "  ")]))

    def test_memory_falls_into_ranges_between_powers_of_two(self):
        for text, bucket in (("512.0 MB", "1 GB or less"), ("1.0 GB", "1 GB or less"),
                             ("1.1 GB", "1–2 GB"), ("7.9 GB", "4–8 GB"), ("8.0 GB", "4–8 GB"),
                             ("8.1 GB", "8–16 GB"), ("128.0 GB", "64–128 GB"),
                             ("1.0 TB", "more than 128 GB"), ("lots", machine.NOT_REPORTED),
                             (None, machine.NOT_REPORTED)):
            with self.subTest(text=text):
                self.assertEqual(machine.memory_bucket(text), bucket)

    def test_facts_take_the_first_device_and_count_the_rest(self):
        facts = machine.facts(Report(report_of([
            ("71064", 1, "Second GPU"), ("71064", 0, "First GPU"), ("71063", 0, "7.9 GB"),
            ("71447", 0, " ")])))
        self.assertEqual(facts, {"processor": None, "vendor": None, "memory": "7.9 GB",
                                 "os": None, "graphics": "First GPU", "directx": None,
                                 "resolution": None, "browser": None, "graphics_count": 2,
                                 "memory_bucket": "4–8 GB", "values": 4})

    def test_difference_names_added_removed_and_changed_values(self):
        older = Report(report_of([("71207", 0, "A"), ("71075", 0, "1.0 GB"),
                                  ("71075", 1, "2.0 GB"), ("71061", 0, "same")]))
        newer = Report(report_of([("71207", 0, "B"), ("71075", 0, "1.0 GB"),
                                  ("71061", 0, "same"), ("71406", 0, "MON")]))
        self.assertEqual([[(c.key, c.before, c.after) for c in group]
                          for group in machine.difference(older, newer)],
                         [[((71406, 0), None, "MON")], [((71075, 1), "2.0 GB", None)],
                          [((71207, 0), "A", "B")]])


class FleetTests(unittest.TestCase):

    def test_shares_always_add_up_to_one_hundred_percent(self):
        for counts in ([1], [1, 1, 1], [2, 1], [1] * 7, [5, 3, 3, 1], [1000, 1], [0, 0]):
            with self.subTest(counts=counts):
                parts = fleet.apportion(counts)
                self.assertEqual(sum(parts), 1000 if sum(counts) else 0)
                for count, part in zip(counts, parts):
                    self.assertLessEqual(abs(part - count * 1000 / max(1, sum(counts))), 1)
        self.assertEqual(fleet.apportion([1, 1, 1]), [334, 333, 333])

    def test_small_groups_fold_into_other_and_unreported_stays_last(self):
        facts = [{"os": "Win 7"}] * 3 + [{"os": "Win 8"}] * 2 + [{"os": "XP"}, {"os": "2000"},
                                                                 {"os": None}]
        win7, unreported = fleet.Row("Win 7", 3, 375), fleet.Row(machine.NOT_REPORTED, 1, 125)
        for fold, max_rows, rows in (
                (1, 30, [win7, fleet.Row("Win 8", 2, 250), fleet.Row("2000", 1, 125),
                         fleet.Row("XP", 1, 125), unreported]),
                (2, 30, [win7, fleet.Row("Win 8", 2, 250), fleet.Row("Other", 2, 250),
                         unreported]),
                (1, 1, [win7, fleet.Row("Other", 4, 500), unreported])):
            with self.subTest(fold=fold, max_rows=max_rows):
                self.assertEqual(fleet.table(facts, "os", fold, max_rows), rows)


if __name__ == "__main__":
    unittest.main()
