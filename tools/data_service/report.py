"""Reading the control's report: <groups><group index="I" id="G"><value>TEXT</value></group>…

Stored reports come from the network, so the reader accepts anything: a report cut short keeps
the groups it has (the last one marked truncated), unknown IDs and odd indices are kept as text,
and the scan is linear in the report's length whatever it holds.
"""

import re

_ENTITY = re.compile(r"&(amp|lt|gt);")
_ENTITY_TEXT = {"amp": "&", "lt": "<", "gt": ">"}
_INDEX_ATTRIBUTE = re.compile(r'\sindex="([^"]*)"')
_ID_ATTRIBUTE = re.compile(r'\sid="([^"]*)"')
_LEADING_DIGITS = re.compile(r"[0-9]*")
# The form the control writes; anything else takes the careful path.
_CANONICAL = re.compile(r'<group index="([0-9]{1,9})" id="([0-9]{1,9})"><value>([^<]*)</value>'
                        r"</group>")
# Value IDs and indices longer than this are not numbers the control writes; they stay text.
_MAX_DIGITS = 9

GROUP_OPEN = "<group "
GROUP_CLOSE = "</group>"
VALUE_OPEN = "<value>"
VALUE_CLOSE = "</value>"


def unescape(escaped):
    """Undoes the control's escaping of a value (& first, then < and >) in one pass."""
    return _ENTITY.sub(lambda m: _ENTITY_TEXT[m.group(1)], escaped)


def unescape_upload(escaped):
    """The report inside an upload's Data element: the same three entities, strictly.

    Every ampersand must start one of them and no raw angle bracket may appear; anything else
    means the sender did not escape the report."""
    if "<" in escaped or ">" in escaped:
        raise ValueError("unescaped angle bracket in Data")
    if escaped.count("&") != len(_ENTITY.findall(escaped)):
        raise ValueError("unescaped ampersand in Data")
    return unescape(escaped)


def small_number(text):
    """The number of a text's leading decimal digits, as the control's group IDs are read;
    None when there are none or too many to be an ID the control writes."""
    digits = _LEADING_DIGITS.match(text).group(0).lstrip("0")
    if len(digits) > _MAX_DIGITS:
        return None
    if digits:
        return int(digits)
    return 0 if text[:1] == "0" else None


class Entry:
    """One group element. number and index are None where their text is not a small number;
    value is None when the element has no complete value element."""

    __slots__ = ("id_text", "number", "index_text", "index", "value", "truncated")

    def __init__(self, id_text, index_text, value, truncated=False, numbers=None):
        self.id_text = id_text
        self.index_text = index_text
        if numbers is None:
            index = small_number(index_text)
            numbers = (small_number(id_text),
                       index if index is not None and index_text.isdigit() else None)
        self.number, self.index = numbers
        self.value = value
        self.truncated = truncated

    @property
    def key(self):
        """What tells two entries apart: the ID by number (else its text) and the index."""
        ident = self.number if self.number is not None else self.id_text
        position = self.index if self.index is not None else self.index_text
        return ident, position

    def __repr__(self):
        return "Entry(%r, %r, %r%s)" % (self.id_text, self.index_text, self.value,
                                        ", truncated" if self.truncated else "")


def parse(report):
    """Every group element of a report text, in order."""
    entries = []
    pos = 0
    while True:
        start = report.find(GROUP_OPEN, pos)
        if start < 0:
            return entries
        canonical = _CANONICAL.match(report, start)
        if canonical:
            index_text, id_text, value = canonical.groups()
            entries.append(Entry(id_text, index_text, unescape(value) if "&" in value else value,
                                 numbers=(int(id_text), int(index_text))))
            pos = canonical.end()
            continue
        end = report.find(GROUP_CLOSE, start)
        if end < 0:
            entries.append(_group(report[start:], truncated=True))
            return entries
        entries.append(_group(report[start:end]))
        pos = end + len(GROUP_CLOSE)


def _group(text, truncated=False):
    tag_end = text.find(">")
    tag = text[:tag_end] if tag_end >= 0 else text
    index = _INDEX_ATTRIBUTE.search(tag)
    ident = _ID_ATTRIBUTE.search(tag)
    value = None
    body = text[tag_end + 1:] if tag_end >= 0 else ""
    if body.startswith(VALUE_OPEN):
        close = body.find(VALUE_CLOSE)
        if close >= 0:
            value = unescape(body[len(VALUE_OPEN):close])
        else:
            value = unescape(body[len(VALUE_OPEN):])
            truncated = True
    return Entry(ident.group(1) if ident else "", index.group(1) if index else "", value,
                 truncated)


class Report:
    """A parsed report with lookups by value ID."""

    def __init__(self, text):
        self.text = text
        self.entries = parse(text)
        self._by_number = {}
        for entry in self.entries:
            if entry.number is not None:
                self._by_number.setdefault(entry.number, []).append(entry)

    def values(self, number):
        """The value texts of an ID in index order (missing value elements left out)."""
        found = sorted((e for e in self._by_number.get(number, ()) if e.value is not None),
                       key=lambda e: (e.index is None, e.index or 0))
        return [entry.value for entry in found]

    def first(self, number):
        """The value of an ID at its lowest index, or None."""
        found = self.values(number)
        return found[0] if found else None

    def mapping(self):
        """(ID, index) → value text; the later of two equal keys wins, as in the store."""
        return {entry.key: entry.value for entry in self.entries}
