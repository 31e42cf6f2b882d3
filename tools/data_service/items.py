"""The items file: what each item (a product a site offers) needs of a visitor's machine.

    # comment
    [1001]
    name = Harbour Racer
    minimum memory = 2 GB
    recommended memory = 4 GB

One section per item, headed by its number. Each requirement line names a level (minimum or
recommended) and a kind; the value is written the way the control prints that kind. Every
mistake is reported with the file and line, so a typo stops the service at start-up instead of
turning into wrong verdicts.
"""

import collections
import re

import quantities

LEVELS = ("minimum", "recommended")

# kind → (value ID compared, reader, how several devices count)
Kind = collections.namedtuple("Kind", "name number reader several")

KINDS = collections.OrderedDict((kind.name, kind) for kind in (
    Kind("memory", 71063, quantities.SIZE.parse, "first"),
    Kind("free disk space", 71436, quantities.SIZE.parse, "first"),
    Kind("processor speed", 71062, quantities.SPEED.parse, "first"),
    Kind("processor count", 71254, quantities.parse_count, "first"),
    Kind("operating system version", 71309, quantities.parse_version, "first"),
    Kind("directx version", 71082, quantities.parse_version, "first"),
    Kind("screen resolution", 71214, quantities.parse_resolution, "first"),
    # A machine with several adapters meets the need when its best one does.
    Kind("graphics memory", 71285, quantities.SIZE.parse, "best"),
    Kind("download bandwidth", 71069, quantities.BANDWIDTH.parse, "first"),
))

_SECTION = re.compile(r"\[\s*([0-9]{1,18})\s*\]")
_SETTING = re.compile(r"([^=]+)=(.*)")


class ItemsError(ValueError):
    pass


class Requirement:
    __slots__ = ("kind", "text", "amount", "line")

    def __init__(self, kind, text, amount, line):
        self.kind = kind
        self.text = text
        self.amount = amount
        self.line = line


class Item:
    def __init__(self, number, line):
        self.number = number
        self.line = line
        self.name = ""
        # level → kind name → Requirement
        self.requirements = {level: collections.OrderedDict() for level in LEVELS}

    def kinds(self):
        """The kinds this item asks for, in the order of KINDS."""
        asked = set(self.requirements["minimum"]) | set(self.requirements["recommended"])
        return [kind for kind in KINDS.values() if kind.name in asked]

    def requirement(self, level, kind_name):
        """The requirement at a level; recommended falls back to the minimum when the file
        names no recommended value for the kind."""
        found = self.requirements[level].get(kind_name)
        if found is None and level == "recommended":
            found = self.requirements["minimum"].get(kind_name)
        return found


def item_key(text):
    """The item number a request names, as the items are keyed; None when it names none.

    Numbers are compared as digit texts without leading zeros, never converted, so a request
    for an item of any length costs no more than its length."""
    digits = text.strip()
    if not (digits.isascii() and digits.isdigit()):
        return None
    return digits.lstrip("0") or "0"


def load(path):
    """Reads the items file into an ordered mapping of item key → Item."""
    try:
        with open(path, encoding="utf-8") as handle:
            lines = handle.read().splitlines()
    except UnicodeDecodeError as error:
        raise ItemsError("%s: not UTF-8 text (%s)" % (path, error.reason))
    return parse(lines, path)


def parse(lines, path="items"):
    items = collections.OrderedDict()
    item = None
    for number, raw in enumerate(lines, 1):
        where = "%s line %d" % (path, number)
        line = raw.strip()
        if not line or line.startswith("#"):
            continue
        section = _SECTION.fullmatch(line)
        if section:
            key = section.group(1).lstrip("0") or "0"
            if key in items:
                raise ItemsError("%s: item %s is already defined on line %d"
                                 % (where, key, items[key].line))
            item = items[key] = Item(key, number)
            continue
        if line.startswith("["):
            raise ItemsError("%s: %s is not an item heading such as [1001]"
                             % (where, quantities.quote(line)))
        if item is None:
            raise ItemsError("%s: a setting before the first item heading such as [1001]" % where)
        _setting(item, line, where, number)
    for item in items.values():
        if not item.name:
            raise ItemsError("%s line %d: item %s has no name = line" % (path, item.line,
                                                                         item.number))
    return items


def _setting(item, line, where, number):
    setting = _SETTING.fullmatch(line)
    if setting is None:
        raise ItemsError("%s: expected 'name = …' or 'minimum KIND = VALUE', got %s"
                         % (where, quantities.quote(line)))
    key = " ".join(setting.group(1).lower().split())
    value = setting.group(2).strip()
    if key == "name":
        if not value:
            raise ItemsError("%s: the name is empty" % where)
        item.name = value
        return
    level, _, kind_name = key.partition(" ")
    if level not in LEVELS:
        raise ItemsError("%s: %s does not start with minimum or recommended"
                         % (where, quantities.quote(setting.group(1).strip())))
    kind = KINDS.get(kind_name)
    if kind is None:
        raise ItemsError("%s: unknown requirement %s; known: %s"
                         % (where, quantities.quote(kind_name), ", ".join(KINDS)))
    if kind_name in item.requirements[level]:
        raise ItemsError("%s: %s %s is already given on line %d"
                         % (where, level, kind_name, item.requirements[level][kind_name].line))
    try:
        amount = kind.reader(value)
    except quantities.Malformed as error:
        raise ItemsError("%s: %s" % (where, error))
    item.requirements[level][kind_name] = Requirement(kind, value, amount, number)
