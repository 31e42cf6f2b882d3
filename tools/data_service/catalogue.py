"""The value catalogue: what every value ID the control writes means to a person.

catalogue.csv is the one place a label lives. Its rows are in display order: components appear
in the order of their first row, and within a component the values in the order of their rows.
"""

import csv
import os

DEFAULT_FILE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "catalogue.csv")

KINDS = ("name", "size", "speed", "bandwidth", "version", "resolution", "yes/no", "count",
         "identifier")
COLUMNS = ["id", "component", "label", "kind", "repeats"]


class CatalogueError(ValueError):
    pass


class Entry:
    """One value ID: its label, the component that writes it, the kind of its text and, for
    values repeated per device, the title of the device table (empty for single values)."""

    __slots__ = ("number", "component", "label", "kind", "repeats")

    def __init__(self, number, component, label, kind, repeats):
        self.number = number
        self.component = component
        self.label = label
        self.kind = kind
        self.repeats = repeats

    @property
    def repeated(self):
        return bool(self.repeats)

    def heading(self):
        """The label with its number, as export columns name it."""
        return "%s (%d)" % (self.label, self.number)


class Catalogue:
    def __init__(self, entries):
        self._entries = list(entries)
        self._by_number = {entry.number: entry for entry in self._entries}
        self.components = []
        for entry in self._entries:
            if entry.component not in self.components:
                self.components.append(entry.component)

    def __len__(self):
        return len(self._entries)

    def __iter__(self):
        return iter(self._entries)

    def get(self, number):
        return self._by_number.get(number)

    def label(self, number):
        """The label of a catalogued ID; an unknown ID is named by its number."""
        entry = self._by_number.get(number)
        return entry.label if entry else "Value %s" % number

    def in_component(self, component):
        return [entry for entry in self._entries if entry.component == component]


def load(path=DEFAULT_FILE):
    """Reads and checks the catalogue; every problem names the file and line."""
    with open(path, encoding="utf-8", newline="") as handle:
        reader = csv.reader(handle)
        header = next(reader, None)
        if header != COLUMNS:
            raise CatalogueError("%s line 1: the header must be %s" % (path, ",".join(COLUMNS)))
        entries = []
        numbers = set()
        labels = set()
        for row in reader:
            where = "%s line %d" % (path, reader.line_num)
            entry = _entry(row, where)
            if entry.number in numbers:
                raise CatalogueError("%s: value ID %d appears twice" % (where, entry.number))
            if entry.label in labels:
                raise CatalogueError("%s: label %r appears twice" % (where, entry.label))
            numbers.add(entry.number)
            labels.add(entry.label)
            entries.append(entry)
    return Catalogue(entries)


def _entry(row, where):
    if len(row) != len(COLUMNS):
        raise CatalogueError("%s: %d fields, expected %d" % (where, len(row), len(COLUMNS)))
    number, component, label, kind, repeats = (field.strip() for field in row)
    if not (number.isascii() and number.isdigit() and len(number) <= 9):
        raise CatalogueError("%s: %r is not a value ID" % (where, number))
    if not component or not label:
        raise CatalogueError("%s: component and label must not be empty" % where)
    if kind not in KINDS:
        raise CatalogueError("%s: kind %r is not one of %s" % (where, kind, ", ".join(KINDS)))
    return Entry(int(number), component, label, kind, repeats)
