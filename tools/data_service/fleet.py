"""Shares of machines by processor, memory, operating system, graphics, DirectX, screen and
browser, over the latest upload of each machine.

Shares are given in tenths of a percent and apportioned by largest remainder, so that the shares
of one table always add up to exactly 100.0 %.
"""

import collections

from machine import NOT_REPORTED

OTHER = "Other"

# (fact name, value ID whose label names the table, suffix of the title)
DIMENSIONS = (
    ("vendor", 71296, ""),
    ("processor", 71061, ""),
    ("memory_bucket", 71063, " (range)"),
    ("os", 71060, ""),
    ("graphics", 71064, " (first adapter)"),
    ("directx", 71082, ""),
    ("resolution", 71214, ""),
    ("browser", 71447, ""),
)

# A table shows at most this many values; the rarer ones join Other, so that a fleet of many
# different machines still gives a page a person can read.
MAX_ROWS = 30

Row = collections.namedtuple("Row", "value machines tenths")
Table = collections.namedtuple("Table", "fact title rows")


def apportion(counts, whole=1000):
    """Integer parts of whole in proportion to counts, adding up to whole (largest remainder;
    ties go to the earlier count)."""
    total = sum(counts)
    if total == 0:
        return [0] * len(counts)
    exact = [count * whole for count in counts]
    parts = [value // total for value in exact]
    short = whole - sum(parts)
    order = sorted(range(len(counts)), key=lambda i: (-(exact[i] % total), i))
    for i in order[:short]:
        parts[i] += 1
    return parts


def table(facts_list, fact, fold, max_rows=MAX_ROWS):
    """Rows of one dimension; values held by fewer than fold machines, and those beyond the
    max_rows most frequent, are folded into Other."""
    counts = collections.Counter(facts.get(fact) or NOT_REPORTED for facts in facts_list)
    unreported = counts.pop(NOT_REPORTED, 0)
    ranked = sorted(counts.items(), key=lambda pair: (-pair[1], pair[0]))
    kept = [(value, count) for value, count in ranked[:max_rows] if count >= fold]
    folded = sum(counts.values()) - sum(count for _, count in kept)
    if unreported:
        kept.append((NOT_REPORTED, unreported))
    if folded:
        position = len(kept) - (1 if unreported else 0)
        kept.insert(position, (OTHER, folded))
    tenths = apportion([count for _, count in kept])
    return [Row(value, count, part) for (value, count), part in zip(kept, tenths)]


def tables(facts_list, catalogue, fold):
    return [Table(fact, catalogue.label(number) + suffix, table(facts_list, fact, fold))
            for fact, number, suffix in DIMENSIONS]
