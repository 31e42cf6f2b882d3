"""Quantities read back from the texts the control prints, compared exactly.

The control prints sizes in steps of 1024 (B, KB, MB, GB, TB), speeds in steps of 1000 (Hz, KHz,
MHz, GHz) and bandwidths in steps of 1024 (bps, Kbps, Mbps, Gbps), each as a number with one
decimal and the unit; versions as dot-separated numbers (DirectX with a trailing letter, 9.0c);
resolutions as width x height. Amounts are kept as exact fractions so that two texts naming the
same amount compare equal whatever unit each uses.

Every reader raises Malformed with a short reason; texts of any length are refused in bounded
time, never converted digit by digit without a limit.
"""

import fractions
import re

# Longer numbers are no amount the control prints; refusing them keeps conversion bounded.
_MAX_DIGITS = 30


class Malformed(ValueError):
    pass


class Ladder:
    """A unit ladder: unit names from the smallest and the step between neighbours."""

    def __init__(self, what, units, step):
        self.what = what
        self.units = units
        self._factors = {unit.lower(): step ** power for power, unit in enumerate(units)}
        self._pattern = re.compile(r"\s*([0-9]{1,%d}(?:\.[0-9]{1,%d})?)\s*([A-Za-z]+)\s*"
                                   % (_MAX_DIGITS, _MAX_DIGITS))

    def parse(self, text):
        """The amount in the smallest unit, as a Fraction."""
        match = self._pattern.fullmatch(text)
        if match is None or match.group(2).lower() not in self._factors:
            raise Malformed("%s is not a %s (such as 1.5 %s)"
                            % (quote(text), self.what, self.units[-2]))
        return fractions.Fraction(match.group(1)) * self._factors[match.group(2).lower()]


SIZE = Ladder("size", ["B", "KB", "MB", "GB", "TB"], 1024)
SPEED = Ladder("speed", ["Hz", "KHz", "MHz", "GHz"], 1000)
BANDWIDTH = Ladder("bandwidth", ["bps", "Kbps", "Mbps", "Gbps"], 1024)

_COUNT = re.compile(r"\s*([0-9]{1,%d})\s*" % _MAX_DIGITS)
_VERSION = re.compile(r"\s*([0-9]{1,9}(?:\.[0-9]{1,9}){0,7})([A-Za-z]?)\s*")
_RESOLUTION = re.compile(r"\s*([0-9]{1,9})\s*[xX]\s*([0-9]{1,9})\s*")


def parse_count(text):
    match = _COUNT.fullmatch(text)
    if match is None:
        raise Malformed("%s is not a count" % quote(text))
    return int(match.group(1))


def parse_version(text):
    """A comparable key: the numbers component by component, missing ones counting as 0 (so
    6.1 equals 6.1.0), then the letter (9.0 < 9.0b < 9.0c)."""
    match = _VERSION.fullmatch(text)
    if match is None:
        raise Malformed("%s is not a version (such as 6.1.7601 or 9.0c)" % quote(text))
    numbers = [int(part) for part in match.group(1).split(".")]
    numbers += [0] * (8 - len(numbers))
    return tuple(numbers) + (match.group(2).lower(),)


def parse_resolution(text):
    match = _RESOLUTION.fullmatch(text)
    if match is None:
        raise Malformed("%s is not a resolution (such as 1280 x 720)" % quote(text))
    return int(match.group(1)), int(match.group(2))


def resolution_meets(detected, required):
    """A screen meets a resolution when it is at least as wide and at least as high."""
    return detected[0] >= required[0] and detected[1] >= required[1]


def quote(text, limit=40):
    """A text for a message, cut so that a huge input gives a short message."""
    if len(text) > limit:
        return repr(text[:limit] + "…")
    return repr(text)
