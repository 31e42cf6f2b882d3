#!/usr/bin/env python3
"""Prints what a running data service holds about the latest upload, for a person at a terminal:
one short table per component (values that are empty or "No" left out), then the analysis
verdict for an item as the control's page would get it.

    summary.py --service http://127.0.0.1:18080 [--item 1002] [--token-file FILE]
"""

import argparse
import json
import sys
import urllib.error
import urllib.parse
import urllib.request

import catalogue as catalogue_module
from report import Report

CELL_LIMIT = 60
HIDDEN = ("", "No")


def cut(text, limit=CELL_LIMIT):
    text = " ".join(text.split())
    return text if len(text) <= limit else text[:limit - 1] + "…"


def columns(rows, indent="  "):
    """Rows of cells as aligned text lines."""
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]))]
    return [indent + "  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip()
            for row in rows]


def component_tables(parsed, catalogue):
    """The lines of every component's table; returns (lines, how many values were left out)."""
    lines = []
    hidden = 0
    values = {}
    for entry in parsed.entries:
        if entry.number is not None and entry.index is not None:
            values[(entry.number, entry.index)] = entry.value or ""
    for component in catalogue.components:
        singles = []
        devices = {}
        for known in catalogue.in_component(component):
            found = {index: text for (number, index), text in values.items()
                     if number == known.number}
            visible = {index: text for index, text in found.items() if text not in HIDDEN}
            hidden += len(found) - len(visible)
            if not visible:
                continue
            if known.repeated:
                devices.setdefault(known.repeats, []).append((known, visible))
            else:
                singles.extend([known.label, cut(text)] for _, text in sorted(visible.items()))
        if not singles and not devices:
            continue
        lines.append(component)
        if singles:
            lines.extend(columns(singles))
        for title, found in devices.items():
            indices = sorted({index for _, visible in found for index in visible})
            rows = [["#"] + [known.label for known, _ in found]]
            rows += [[str(index)] + [cut(visible.get(index, "—"), 24) for _, visible in found]
                     for index in indices]
            lines.append("  " + title)
            lines.extend(columns(rows, "    "))
    unknown = [entry for entry in parsed.entries
               if entry.number is None or catalogue.get(entry.number) is None]
    if unknown:
        lines.append("Other values")
        lines.extend(columns([[entry.id_text, entry.index_text, cut(entry.value or "")]
                              for entry in unknown]))
    return lines, hidden


def verdict_lines(answer):
    if answer["status"] != "ok":
        return ["  " + answer.get("message", answer["status"])]
    lines = ["  minimum: %s, recommended: %s" % (answer["verdict"]["minimum"],
                                                 answer["verdict"]["recommended"])]
    rows = [[line["label"], line["detected"] or "—",
             "minimum %s: %s" % (line["minimum"]["required"] or "none", line["minimum"]["result"]),
             "recommended %s: %s" % (line["recommended"]["required"] or "none",
                                     line["recommended"]["result"])]
            for line in answer["requirements"]]
    return lines + (columns(rows) if rows else [])


class Service:
    def __init__(self, address, token=None):
        self.address = address.rstrip("/")
        self.headers = {"Authorization": "Bearer " + token} if token else {}

    def call(self, path, body=None, content_type=None):
        headers = dict(self.headers)
        if content_type:
            headers["Content-Type"] = content_type
        request = urllib.request.Request(self.address + path, data=body, headers=headers)
        with urllib.request.urlopen(request, timeout=10) as answer:
            return answer.read().decode("utf-8")

    def latest_upload(self):
        uploads = json.loads(self.call("/_admin/uploads"))["uploads"]
        return uploads[-1] if uploads else None

    def analysis(self, referrer, session, item):
        body = ("<System><SessionID>%s</SessionID><ItemID>%s</ItemID><UserID></UserID>"
                "<Format>json</Format><Schema>1</Schema></System>" % (session, item))
        return json.loads(self.call("/service/Analysis/" + urllib.parse.quote(referrer),
                                    body.encode("utf-8"), "application/xml; charset=utf-8"))


def summary(service, item, catalogue):
    upload = service.latest_upload()
    if upload is None:
        return ["The data service holds no upload yet."]
    lines = ["Upload %d from referrer %r, session %s, received %s" % (
        upload["id"], upload["referrer"], upload["session"], upload["received_at"])]
    tables, hidden = component_tables(Report(upload["report"]), catalogue)
    lines += tables
    lines.append("(%d values that are empty or No not shown)" % hidden)
    answer = service.analysis(upload["referrer"], upload["session"], item)
    lines.append("Can this machine run %s (item %s)?" % (answer.get("name", "it"), item))
    return lines + verdict_lines(answer)


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--service", required=True, help="the data service's address")
    parser.add_argument("--item", default="1002", help="the item to ask the analysis about")
    parser.add_argument("--token-file", help="admin token, for a service that needs one")
    args = parser.parse_args(argv)
    token = None
    if args.token_file:
        with open(args.token_file, encoding="utf-8") as handle:
            token = handle.read().strip()
    try:
        lines = summary(Service(args.service, token), args.item, catalogue_module.load())
    except (OSError, ValueError) as error:
        print("summary: cannot read from %s: %s" % (args.service, error), file=sys.stderr)
        return 1
    print("\n".join(lines))
    return 0


if __name__ == "__main__":
    sys.exit(main())
