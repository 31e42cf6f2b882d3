"""Escaping for every text the service writes into XML or HTML.

Whatever a report or a request holds is shown as text, never as markup: the five special
characters are escaped, and characters XML does not allow become "?" as the control itself
cleans them.
"""

import re

_FORBIDDEN = re.compile("[\x00-\x08\x0b\x0c\x0e-\x1f\x7f-\x84\x86-\x9f\ufdd0-\ufdef\ufffe\uffff]")
# Echoed request texts are cut so that a huge identifier gives a small answer.
ECHO_LIMIT = 200


def clean(text):
    return _FORBIDDEN.sub("?", text)


def escape(text):
    """Text content and double-quoted attribute values alike."""
    return (clean(text).replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;")
            .replace('"', "&quot;").replace("'", "&#39;"))


def cap(text, limit=ECHO_LIMIT):
    if len(text) <= limit:
        return text
    return "%s… (%d characters)" % (text[:limit], len(text))
