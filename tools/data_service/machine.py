"""What the service derives from a report: the machine it came from and the facts lists show.

A machine is recognised by values that stay the same from one detection to the next: processor
signature and name, board, BIOS, disk models, volume capacities and monitor identification. The
computer identifier the control reports is a new GUID on every detection, and free space, speeds
and session values change all the time, so none of them is part of the key.
"""

import collections
import hashlib

import quantities
from report import Report

# Raise when derive() changes, so that stored uploads are derived again at start-up.
DERIVATION_VERSION = "2"

KEY_VALUES = (71386, 71061, 71171, 71170, 71356, 71073, 71074, 71383, 71294, 71431, 71443, 71075,
              71406, 71425)

NOT_REPORTED = "(not reported)"

# Facts shown per upload and counted over the fleet: fact name → value ID it comes from.
FACT_VALUES = {
    "processor": 71061,
    "vendor": 71296,
    "memory": 71063,
    "os": 71060,
    "graphics": 71064,
    "directx": 71082,
    "resolution": 71214,
    "browser": 71447,
}

_GB = 1024 ** 3
_LARGEST_BUCKET_GB = 128


def machine_key(report):
    """A short hash of the stable values; None when the report holds none of them."""
    parts = []
    for number in KEY_VALUES:
        texts = sorted(text for text in report.values(number) if text.strip())
        if texts:
            parts.append("%d=%s" % (number, "\x1f".join(texts)))
    if not parts:
        return None
    return hashlib.sha256("\x1e".join(parts).encode("utf-8")).hexdigest()[:16]


def memory_bucket(text):
    """Memory sizes in ranges between powers of two gigabytes, such as "16–32 GB"."""
    if not text:
        return NOT_REPORTED
    try:
        amount = quantities.SIZE.parse(text)
    except quantities.Malformed:
        return NOT_REPORTED
    if amount <= _GB:
        return "1 GB or less"
    upper = 2
    while amount > upper * _GB:
        if upper >= _LARGEST_BUCKET_GB:
            return "more than %d GB" % _LARGEST_BUCKET_GB
        upper *= 2
    return "%d–%d GB" % (upper // 2, upper)


def facts(report):
    found = {}
    for name, number in FACT_VALUES.items():
        text = report.first(number)
        found[name] = text if text and text.strip() else None
    found["graphics_count"] = len(report.values(FACT_VALUES["graphics"]))
    found["memory_bucket"] = memory_bucket(found["memory"])
    found["values"] = len(report.entries)
    return found


# What is kept beside a stored report: its machine key, its facts, and the text searches look in
# (every value, unescaped, one per line), so that a search never matches the report's markup.
Derived = collections.namedtuple("Derived", "machine_key facts search_text")


def derive(report_text):
    report = Report(report_text)
    search_text = "\n".join(entry.value for entry in report.entries if entry.value)
    return Derived(machine_key(report), facts(report), search_text)


class Change:
    __slots__ = ("key", "before", "after")

    def __init__(self, key, before, after):
        self.key = key
        self.before = before
        self.after = after


def difference(older, newer):
    """(added, removed, changed) between two reports, each a list of Change by (ID, index)."""
    before = older.mapping()
    after = newer.mapping()
    added = [Change(key, None, after[key]) for key in after if key not in before]
    removed = [Change(key, before[key], None) for key in before if key not in after]
    changed = [Change(key, before[key], after[key]) for key in after
               if key in before and before[key] != after[key]]
    return added, removed, changed
