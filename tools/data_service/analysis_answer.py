"""The analysis endpoint's request and answer.

The control inserts the request's values into its template without escaping, so the body is
read by a text scan in the template's order, not by an XML parser. The answer is schema "1" in
the form the request's Format names: "json", "html", or "xml" for anything else.
"""

import json

import analysis
import items as items_module
import markup
from report import Report

SCHEMA = "1"
FIELDS = ("SessionID", "ItemID", "UserID", "Format", "Schema")
REQUIRED = ("SessionID", "ItemID")
ROOT_OPEN = "<System>"
ROOT_CLOSE = "</System>"

CONTENT_TYPES = {
    "xml": "application/xml; charset=utf-8",
    "json": "application/json; charset=utf-8",
    "html": "text/html; charset=utf-8",
}


class MalformedRequest(ValueError):
    pass


def parse_request(body):
    """The five fields of an analysis request; absent optional ones are empty."""
    text = body.strip()
    if not (text.startswith(ROOT_OPEN) and text.endswith(ROOT_CLOSE)):
        raise MalformedRequest("body is not a System analysis request")
    fields = {}
    pos = len(ROOT_OPEN)
    for name in FIELDS:
        opening, closing = "<%s>" % name, "</%s>" % name
        start = text.find(opening, pos)
        end = text.find(closing, start + len(opening)) if start >= 0 else -1
        if end < 0:
            if name in REQUIRED:
                raise MalformedRequest("the analysis request has no %s element" % opening)
            fields[name] = ""
            continue
        fields[name] = text[start + len(opening):end]
        pos = end + len(closing)
    return fields


def answer_form(requested):
    form = requested.strip().lower()
    return form if form in ("json", "html") else "xml"


def build(fields, referrer, items, store, catalogue):
    """The answer's data, the same for every form."""
    data = {
        "schema": SCHEMA,
        "status": "ok",
        "session": markup.cap(fields["SessionID"]),
        "user": markup.cap(fields["UserID"]),
        "referrer": markup.cap(referrer),
        "item": markup.cap(fields["ItemID"]),
    }
    key = items_module.item_key(fields["ItemID"])
    item = items.get(key) if key is not None else None
    if item is None:
        return _unanswered(data, "unknown-item",
                           "No item %s in the items file." % data["item"])
    data["name"] = item.name
    upload = store.latest_upload_for_session(fields["SessionID"])
    if upload is None:
        return _unanswered(data, "no-upload", "No upload for session %s." % data["session"])
    data["upload"] = upload.id
    data["received"] = upload.received_at
    data.update(outcome_data(analysis.evaluate(item, Report(upload.report), catalogue)))
    return data


def item_data(item, parsed, catalogue):
    """The answer's data for one item against a parsed report, as the console shows it."""
    data = {"schema": SCHEMA, "status": "ok", "item": item.number, "name": item.name}
    data.update(outcome_data(analysis.evaluate(item, parsed, catalogue)))
    return data


def outcome_data(outcome):
    return {
        "verdict": dict(outcome.verdicts),
        "requirements": [{
            "kind": line.kind.name,
            "label": line.label,
            "value_id": line.kind.number,
            "detected": None if line.detected is None else markup.cap(line.detected),
            **{level: {"required": check.required, "result": check.result,
                       "reason": markup.cap(check.reason)}
               for level, check in line.checks.items()},
        } for line in outcome.lines],
    }


def _unanswered(data, status, message):
    data["status"] = status
    data["message"] = message
    data["verdict"] = {level: analysis.UNKNOWN for level in items_module.LEVELS}
    data["requirements"] = []
    return data


def render(data, form):
    if form == "json":
        return json.dumps(data, ensure_ascii=False)
    if form == "html":
        return render_html(data)
    return render_xml(data)


def _attributes(pairs):
    return "".join(' %s="%s"' % (name, markup.escape(str(value)))
                   for name, value in pairs if value is not None)


def render_xml(data):
    head = [("schema", data["schema"]), ("status", data["status"]), ("session", data["session"]),
            ("user", data["user"]), ("referrer", data["referrer"]), ("item", data["item"]),
            ("upload", data.get("upload")), ("received", data.get("received"))]
    parts = ["<Analysis%s>" % _attributes(head)]
    if "name" in data:
        parts.append("<Item>%s</Item>" % markup.escape(data["name"]))
    if "message" in data:
        parts.append("<Message>%s</Message>" % markup.escape(data["message"]))
    for level, result in data["verdict"].items():
        parts.append('<Verdict level="%s">%s</Verdict>' % (level, result))
    for line in data["requirements"]:
        parts.append("<Requirement%s>" % _attributes(
            [("kind", line["kind"]), ("value", line["value_id"]), ("label", line["label"])]))
        if line["detected"] is not None:
            parts.append("<Detected>%s</Detected>" % markup.escape(line["detected"]))
        for level in items_module.LEVELS:
            check = line[level]
            parts.append("<%s%s>%s</%s>" % (
                level.capitalize(),
                _attributes([("required", check["required"]), ("result", check["result"])]),
                markup.escape(check["reason"]), level.capitalize()))
        parts.append("</Requirement>")
    parts.append("</Analysis>")
    return "".join(parts)


def render_html(data):
    """A fragment a page can place as it is: escaped texts, classes pass/fail/unknown."""
    verdict = data["verdict"]
    title = markup.escape(data.get("name") or "Item %s" % data["item"])
    parts = ['<div class="analysis" data-status="%s">' % markup.escape(data["status"]),
             '<p class="verdict"><strong>%s</strong>: minimum <span class="%s">%s</span>, '
             'recommended <span class="%s">%s</span></p>'
             % (title, verdict["minimum"], verdict["minimum"], verdict["recommended"],
                verdict["recommended"])]
    if "message" in data:
        parts.append('<p class="message">%s</p>' % markup.escape(data["message"]))
    if data["requirements"]:
        parts.append("<table><thead><tr><th>Requirement</th><th>Detected</th><th>Minimum</th>"
                     "<th>Recommended</th></tr></thead><tbody>")
        for line in data["requirements"]:
            detected = line["detected"]
            parts.append("<tr><th>%s</th><td>%s</td>%s%s</tr>" % (
                markup.escape(line["label"]),
                "—" if detected is None else markup.escape(detected),
                _html_check(line["minimum"]), _html_check(line["recommended"])))
        parts.append("</tbody></table>")
    parts.append("</div>")
    return "".join(parts)


def _html_check(check):
    required = "" if check["required"] is None else markup.escape(check["required"]) + " "
    return '<td class="%s">%s<b>%s</b><br><small>%s</small></td>' % (
        check["result"], required, check["result"], markup.escape(check["reason"]))
