"""Can this machine run it: an item's requirements against one upload.

Each requirement gives pass, fail or unknown with a reason; a level's verdict fails when any of
its requirements fails, is unknown when none fails but one is unknown, and passes otherwise. A
value the upload lacks or that does not read as its kind gives unknown, never an error.
"""

import items as items_module
import quantities

PASS = "pass"
FAIL = "fail"
UNKNOWN = "unknown"


class Check:
    __slots__ = ("level", "required", "result", "reason")

    def __init__(self, level, required, result, reason):
        self.level = level
        self.required = required
        self.result = result
        self.reason = reason


class Line:
    """One requirement kind of the item: what the upload holds and each level's check."""

    def __init__(self, kind, label, detected):
        self.kind = kind
        self.label = label
        self.detected = detected
        self.checks = {}


class Outcome:
    def __init__(self, item, lines):
        self.item = item
        self.lines = lines
        self.verdicts = {level: verdict([line.checks[level] for line in lines])
                         for level in items_module.LEVELS}


def verdict(checks):
    results = {check.result for check in checks}
    if FAIL in results:
        return FAIL
    if UNKNOWN in results:
        return UNKNOWN
    return PASS


def evaluate(item, report, catalogue):
    lines = []
    for kind in item.kinds():
        label = catalogue.label(kind.number)
        detected, amount, problem = _detected(kind, report, label)
        line = Line(kind, label, detected)
        for level in items_module.LEVELS:
            requirement = item.requirement(level, kind.name)
            line.checks[level] = _check(level, requirement, kind, detected, amount, problem)
        lines.append(line)
    return Outcome(item, lines)


def _detected(kind, report, label):
    """(text shown, amount or None, reason when there is no amount)."""
    texts = report.values(kind.number)
    if kind.several == "first":
        texts = texts[:1]
    if not texts:
        return None, None, "the upload holds no %s" % label
    best = None
    problem = None
    for text in texts:
        if not text.strip():
            problem = problem or "the upload's %s is empty" % label
            continue
        try:
            amount = kind.reader(text)
        except quantities.Malformed as error:
            problem = problem or "%s: %s" % (label, error)
            continue
        if best is None or _better(kind, amount, best[1]):
            best = (text, amount)
    if best is None:
        return texts[0], None, problem
    return best[0], best[1], None


def _better(kind, amount, than):
    if kind.reader is quantities.parse_resolution:
        return amount[0] * amount[1] > than[0] * than[1]
    return amount > than


def _check(level, requirement, kind, detected, amount, problem):
    if requirement is None:
        return Check(level, None, PASS, "no %s requirement" % level)
    if amount is None:
        return Check(level, requirement.text, UNKNOWN, problem)
    if kind.reader is quantities.parse_resolution:
        met = quantities.resolution_meets(amount, requirement.amount)
    else:
        met = amount >= requirement.amount
    if met:
        return Check(level, requirement.text, PASS, "%s meets %s" % (detected, requirement.text))
    return Check(level, requirement.text, FAIL, "%s is below %s" % (detected, requirement.text))
