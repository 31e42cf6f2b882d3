"""The console's pages: server-rendered HTML with inline CSS and SVG, usable without JavaScript
and without anything fetched from elsewhere.

Every text that comes from an upload, a request or a file goes through markup.escape; labels
come from the catalogue.
"""

import urllib.parse

import analysis_answer
from markup import escape as e

STYLE = """
body{font:14px/1.4 system-ui,sans-serif;margin:0;color:#1d1d1f;background:#fafafa}
header{background:#24364b;color:#fff;padding:8px 16px}
header a{color:#fff;margin-right:16px;text-decoration:none}
header a.current{border-bottom:2px solid #fff}
main{padding:8px 16px 32px}
table{border-collapse:collapse;margin:6px 0 16px;background:#fff}
th,td{border:1px solid #d5d9de;padding:3px 8px;text-align:left;vertical-align:top}
thead th{background:#eef1f4}
tbody th{font-weight:normal;color:#444;background:#f7f8f9}
.empty{color:#999}
.pass{color:#176c2f}.fail{color:#a5231b}.unknown{color:#8a6100}
.note{color:#555}
.warn{background:#fff4d6;padding:4px 8px;border:1px solid #e8c766}
td.num{text-align:right}
form.inline{display:inline}
input[type=number]{width:6em}
section{margin-bottom:12px}
.components{display:flex;flex-wrap:wrap;gap:0 28px;align-items:flex-start}
details{margin:4px 0}
"""

NAVIGATION = (("uploads", "/console/uploads", "Uploads"),
              ("machines", "/console/machines", "Machines"),
              ("fleet", "/console/fleet", "Fleet"),
              ("items", "/console/items", "Items"),
              ("groups", "/console/groups", "Group lists"),
              ("export", "/console/export", "Export"))

VALUE_LIMIT = 2000
REFERRER_PREFIX = "r:"


def page(title, body, current=""):
    links = "".join('<a href="%s"%s>%s</a>' % (href, ' class="current"' if name == current else "",
                                                text)
                    for name, href, text in NAVIGATION)
    return ('<!DOCTYPE html><html lang="en"><head><meta charset="utf-8">'
            '<meta name="viewport" content="width=device-width">'
            "<title>%s · Rigel console</title><style>%s</style></head>"
            "<body><header><nav>%s</nav></header><main><h1>%s</h1>%s</main></body></html>"
            % (e(title), STYLE, links, e(title), body))


def referrer_value(name):
    """How a referrer travels in a query: prefixed, so that the empty referrer differs from
    "all referrers" (no value)."""
    return None if name is None else REFERRER_PREFIX + name


def referrer_options(referrers, selected, counted=False):
    options = ['<option value="">All referrers</option>']
    for entry in referrers:
        name = entry[0]
        shown = e(name) or "(empty)"
        if counted:
            shown += " (%d)" % entry[1]
        options.append('<option value="%s"%s>%s</option>' % (
            e(referrer_value(name)), " selected" if name == selected else "", shown))
    return "".join(options)


def query_link(path, **parameters):
    kept = {name: value for name, value in parameters.items() if value not in (None, "")}
    return path + ("?" + urllib.parse.urlencode(kept) if kept else "")


def value_cell(text):
    """A value as a table cell: escaped, long values cut, empty ones marked."""
    if text is None:
        return '<td class="empty">(no value element)</td>'
    if not text:
        return '<td class="empty">(empty)</td>'
    if len(text) > VALUE_LIMIT:
        return ('<td>%s… <span class="note">(%d characters; the raw report has all)</span></td>'
                % (e(text[:VALUE_LIMIT]), len(text)))
    return "<td>%s</td>" % e(text)


def fact(text):
    return e(text) if text else '<span class="empty">—</span>'


# -- uploads ---------------------------------------------------------------------------------

def uploads_page(summaries, total, referrers, referrer, text, page_number, page_size, catalogue):
    body = ['<form method="get" action="/console/uploads">'
            '<label>Referrer <select name="referrer">%s</select></label> '
            '<label>Text <input name="q" value="%s"></label> <button>Filter</button></form>'
            % (referrer_options(referrers, referrer, counted=True), e(text or ""))]
    first = page_number * page_size + 1
    body.append('<p class="note">%d upload%s%s, newest first.</p>' % (
        total, "" if total == 1 else "s",
        "; showing %d–%d" % (first, first + len(summaries) - 1) if summaries else ""))
    body.append("<table><thead><tr><th>Time</th><th>Referrer</th><th>Session</th>%s</tr></thead>"
                "<tbody>" % "".join("<th>%s</th>" % e(catalogue.label(number))
                                    for number in (71061, 71063, 71060, 71064)))
    for summary in summaries:
        facts = summary.facts
        graphics = facts.get("graphics")
        if graphics and facts.get("graphics_count", 0) > 1:
            graphics += " (+%d)" % (facts["graphics_count"] - 1)
        body.append('<tr><td><a href="/console/uploads/%d">%s</a></td><td>%s</td><td>%s</td>'
                    "<td>%s</td><td>%s</td><td>%s</td><td>%s</td></tr>"
                    % (summary.id, e(summary.received_at), fact(summary.referrer),
                       e(summary.session[:60]), fact(facts.get("processor")),
                       fact(facts.get("memory")), fact(facts.get("os")), fact(graphics)))
    body.append("</tbody></table>")
    body.append(pager("/console/uploads", page_number, page_size, total,
                      referrer=referrer_value(referrer), q=text))
    return page("Uploads", "".join(body), "uploads")


def pager(path, page_number, page_size, total, **parameters):
    """Links to the newer and the older page of a list shown newest first."""
    links = []
    if page_number > 0:
        links.append('<a href="%s">Newer</a>' % e(query_link(path, page=page_number - 1,
                                                             **parameters)))
    if (page_number + 1) * page_size < total:
        links.append('<a href="%s">Older</a>' % e(query_link(path, page=page_number + 1,
                                                             **parameters)))
    return "<p>%s</p>" % " · ".join(links)


def upload_page(upload, parsed, catalogue, verdicts):
    """One upload: its identification, the verdicts per item, then the report as labelled
    tables per component, devices as rows, and every uncatalogued value by its number."""
    body = ["<table><tbody>",
            "<tr><th>Received</th><td>%s</td></tr>" % e(upload.received_at),
            "<tr><th>Referrer</th><td>%s</td></tr>" % fact(upload.referrer),
            "<tr><th>Session</th><td>%s</td></tr>" % e(upload.session),
            "<tr><th>Machine</th><td>%s</td></tr>" % (
                '<a href="/console/machines/%s">%s</a>' % (e(upload.machine_key),
                                                           e(upload.machine_key))
                if upload.machine_key else '<span class="empty">not recognisable</span>'),
            "<tr><th>Values</th><td>%d</td></tr>" % len(parsed.entries),
            '<tr><th>Report</th><td><a href="/console/uploads/%d/report.xml" download>'
            "report.xml</a></td></tr></tbody></table>" % upload.id]
    if any(entry.truncated for entry in parsed.entries):
        body.append('<p class="warn">The stored report is cut short: its last value is '
                    "incomplete.</p>")
    if verdicts:
        body.append("<section><h2>Requirements</h2>")
        for data in verdicts:
            body.append('<details><summary>%s: minimum <span class="%s">%s</span>, recommended '
                        '<span class="%s">%s</span></summary>%s</details>' % (
                            e(data["name"]), data["verdict"]["minimum"],
                            data["verdict"]["minimum"], data["verdict"]["recommended"],
                            data["verdict"]["recommended"], analysis_answer.render_html(data)))
        body.append("</section>")
    body.append(report_tables(parsed, catalogue))
    return page("Upload %d" % upload.id, "".join(body), "uploads")


def report_tables(parsed, catalogue):
    singles = {}   # component → [(entry in catalogue, report entry)]
    devices = {}   # (component, device title) → {number: {index: value}}, indices
    others = []
    for entry in parsed.entries:
        known = catalogue.get(entry.number) if entry.number is not None else None
        if known is None:
            others.append(entry)
        elif known.repeated and entry.index is not None:
            table = devices.setdefault((known.component, known.repeats), {})
            table.setdefault(known.number, {})[entry.index] = entry.value
        else:
            singles.setdefault(known.component, []).append((known, entry))
    parts = ['<div class="components">']
    for component in catalogue.components:
        titles = [title for (owner, title) in devices if owner == component]
        if component not in singles and not titles:
            continue
        parts.append("<section><h2>%s</h2>" % e(component))
        if component in singles:
            parts.append(_single_table(singles[component], catalogue))
        for title in titles:
            parts.append(_device_table(title, devices[(component, title)], catalogue))
        parts.append("</section>")
    parts.append("</div>")
    if others:
        parts.append("<section><h2>Other values</h2><p class=\"note\">Value IDs the catalogue "
                     "does not know, shown by their number.</p><table><thead><tr><th>Value ID"
                     "</th><th>Index</th><th>Value</th></tr></thead><tbody>")
        for entry in others:
            parts.append("<tr><td>%s</td><td>%s</td>%s</tr>" % (
                e(entry.id_text), e(entry.index_text), value_cell(entry.value)))
        parts.append("</tbody></table></section>")
    return "".join(parts)


def _single_table(pairs, catalogue):
    order = {known.number: position for position, known in enumerate(catalogue)}
    pairs = sorted(pairs, key=lambda pair: (order[pair[0].number], pair[1].index or 0))
    rows = []
    for known, entry in pairs:
        label = known.label
        if entry.index != 0:
            label += " [index %s]" % entry.index_text
        rows.append('<tr><th title="value %d">%s</th>%s</tr>' % (known.number, e(label),
                                                                 value_cell(entry.value)))
    return "<table><tbody>%s</tbody></table>" % "".join(rows)


def _device_table(title, columns, catalogue):
    numbers = [known.number for known in catalogue if known.number in columns]
    indices = sorted({index for values in columns.values() for index in values})
    head = "".join('<th title="value %d">%s</th>' % (number, e(catalogue.label(number)))
                   for number in numbers)
    rows = []
    for index in indices:
        cells = "".join(value_cell(columns[number][index]) if index in columns[number]
                        else '<td class="empty">—</td>' for number in numbers)
        rows.append("<tr><td>%d</td>%s</tr>" % (index, cells))
    return "<h3>%s</h3><table><thead><tr><th>#</th>%s</tr></thead><tbody>%s</tbody></table>" % (
        e(title), head, "".join(rows))


# -- machines and differences ----------------------------------------------------------------

def machines_page(machines, total, page_number, page_size, catalogue):
    body = ['<p class="note">%d machine%s recognised by their stable values (processor, board, '
            "BIOS, disks, volumes, monitors), the most recently seen first.</p>"
            % (total, "" if total == 1 else "s"),
            "<table><thead><tr><th>Machine</th><th>Uploads</th><th>First seen</th>"
            "<th>Last seen</th>%s</tr></thead><tbody>" % "".join(
                "<th>%s</th>" % e(catalogue.label(number)) for number in (71061, 71063, 71060))]
    for machine in machines:
        body.append('<tr><td><a href="/console/machines/%s">%s</a></td><td class="num">%d</td>'
                    "<td>%s</td><td>%s</td><td>%s</td><td>%s</td><td>%s</td></tr>" % (
                        e(machine.key), e(machine.key), machine.uploads, e(machine.first_seen),
                        e(machine.last_seen), fact(machine.facts.get("processor")),
                        fact(machine.facts.get("memory")), fact(machine.facts.get("os"))))
    body.append("</tbody></table>")
    body.append(pager("/console/machines", page_number, page_size, total))
    return page("Machines", "".join(body), "machines")


def machine_page(key, summaries, total):
    shown = "" if total == len(summaries) else "; the newest %d shown" % len(summaries)
    body = ['<p class="note">%d upload%s of this machine%s, newest first.</p>'
            % (total, "" if total == 1 else "s", shown),
            "<table><thead><tr><th>Upload</th><th>Time</th><th>Referrer</th><th>Session</th>"
            "<th>Difference</th></tr></thead><tbody>"]
    for position, summary in enumerate(summaries):
        older = summaries[position + 1] if position + 1 < len(summaries) else None
        compare = ('<a href="/console/diff?a=%d&amp;b=%d">to the upload before</a>'
                   % (older.id, summary.id) if older else "")
        body.append('<tr><td><a href="/console/uploads/%d">%d</a></td><td>%s</td><td>%s</td>'
                    "<td>%s</td><td>%s</td></tr>" % (
                        summary.id, summary.id, e(summary.received_at), fact(summary.referrer),
                        e(summary.session[:60]), compare))
    body.append("</tbody></table>")
    if len(summaries) > 1:
        options = "".join('<option value="%d">%d · %s</option>' % (s.id, s.id, e(s.received_at))
                          for s in summaries)
        body.append('<form method="get" action="/console/diff"><label>Compare <select name="a">'
                    "%s</select></label> <label>with <select name=\"b\">%s</select></label> "
                    "<button>Show the difference</button></form>" % (options, options))
    return page("Machine %s" % key, "".join(body), "machines")


def diff_page(older, newer, added, removed, changed, catalogue):
    body = ['<p>From <a href="/console/uploads/%d">upload %d</a> (%s) to '
            '<a href="/console/uploads/%d">upload %d</a> (%s).</p>' % (
                older.id, older.id, e(older.received_at), newer.id, newer.id,
                e(newer.received_at))]
    if older.machine_key != newer.machine_key:
        body.append('<p class="warn">These uploads come from different machines.</p>')
    body.append(_changes("Changed values", changed, catalogue, ("Before", "After")))
    body.append(_changes("Added values", added, catalogue, ("Value",)))
    body.append(_changes("Removed values", removed, catalogue, ("Value",)))
    return page("Difference", "".join(body), "machines")


def change_label(key, catalogue):
    ident, index = key
    label = catalogue.label(ident) if isinstance(ident, int) else "Value %s" % ident
    known = catalogue.get(ident) if isinstance(ident, int) else None
    if (known is not None and known.repeated) or index != 0:
        label += " [%s]" % index
    return label


def _changes(title, changes, catalogue, columns):
    if not changes:
        return "<section><h2>%s</h2><p class=\"note\">None.</p></section>" % e(title)
    order = {known.number: position for position, known in enumerate(catalogue)}
    changes = sorted(changes, key=lambda c: (order.get(c.key[0], len(order)), str(c.key)))
    rows = []
    for change in changes:
        texts = [text for text in (change.before, change.after)
                 if text is not None or len(columns) == 2]
        rows.append("<tr><th>%s</th>%s</tr>" % (e(change_label(change.key, catalogue)),
                                                "".join(value_cell(text) for text in texts)))
    return ("<section><h2>%s</h2><table><thead><tr><th>Value</th>%s</tr></thead><tbody>%s"
            "</tbody></table></section>" % (e(title), "".join("<th>%s</th>" % c for c in columns),
                                            "".join(rows)))


# -- fleet -----------------------------------------------------------------------------------

BAR_WIDTH = 200


def bar(tenths):
    width = BAR_WIDTH * tenths // 1000
    return ('<svg width="%d" height="12" role="img" aria-label="%d.%d %%">'
            '<rect width="%d" height="12" fill="#e3e7eb"/><rect width="%d" height="12" '
            'fill="#3b6ea5"/></svg>' % (BAR_WIDTH, tenths // 10, tenths % 10, BAR_WIDTH, width))


def fleet_page(tables, machines, referrers, referrer, fold, per_referrer):
    body = ['<form method="get" action="/console/fleet"><label>Referrer <select name="referrer">'
            '%s</select></label> <label>Fold groups of fewer than <input name="fold" type="number"'
            ' min="1" value="%d" size="4"> machines into Other</label> <button>Show</button></form>'
            % (referrer_options(referrers, referrer), fold),
            '<p class="note">%d machine%s, counted by the latest upload of each.</p>'
            % (machines, "" if machines == 1 else "s")]
    if per_referrer:
        body.append("<section><h2>Machines per referrer</h2><table><thead><tr><th>Referrer</th>"
                    "<th>Machines</th></tr></thead><tbody>")
        for name, count in per_referrer:
            body.append('<tr><td><a href="%s">%s</a></td><td class="num">%d</td></tr>' % (
                e(query_link("/console/fleet", referrer=referrer_value(name), fold=fold)),
                e(name) or "(empty)", count))
        body.append("</tbody></table></section>")
    body.append('<div class="components">')
    for table in tables:
        body.append('<section class="share" data-fact="%s"><h2>%s</h2><table><thead><tr><th>%s'
                    "</th><th>Machines</th><th>Share</th><th></th></tr></thead><tbody>"
                    % (e(table.fact), e(table.title), e(table.title)))
        for row in table.rows:
            body.append('<tr><td>%s</td><td class="num">%d</td><td class="num share">%d.%d %%</td>'
                        "<td>%s</td></tr>" % (e(row.value), row.machines, row.tenths // 10,
                                              row.tenths % 10, bar(row.tenths)))
        body.append("</tbody></table></section>")
    body.append("</div>")
    return page("Fleet", "".join(body), "fleet")


# -- items, group lists, export, login -------------------------------------------------------

def items_page(items, catalogue):
    body = ['<p class="note">From the items file; restart the service after editing it.</p>']
    for item in items.values():
        body.append("<section><h2>%s · %s</h2><table><thead><tr><th>Requirement</th>"
                    "<th>Compared value</th><th>Minimum</th><th>Recommended</th></tr></thead>"
                    "<tbody>" % (e(item.number), e(item.name)))
        for kind in item.kinds():
            minimum = item.requirements["minimum"].get(kind.name)
            recommended = item.requirement("recommended", kind.name)
            body.append("<tr><td>%s</td><td>%s</td><td>%s</td><td>%s</td></tr>" % (
                e(kind.name), e(catalogue.label(kind.number)),
                fact(minimum.text if minimum else None),
                fact(recommended.text if recommended else None)))
        body.append("</tbody></table></section>")
    return page("Items", "".join(body), "items")


def groups_page(lists, catalogue, message=""):
    body = []
    if message:
        body.append('<p class="warn">%s</p>' % e(message))
    body.append('<p class="note">The value IDs the control reports for each referrer; "*" is '
                "for referrers without a list of their own. Separate IDs by blanks, commas or "
                "bars.</p><table><thead><tr><th>Referrer</th><th>Value IDs</th><th></th></tr>"
                "</thead><tbody>")
    for referrer, groups in lists.items():
        named = ", ".join("%s (%d)" % (catalogue.label(number), number) for number in groups)
        body.append('<tr><td>%s</td><td><form method="post" action="/console/groups" '
                    'class="inline"><input type="hidden" name="referrer" value="%s">'
                    '<input name="groups" size="60" value="%s"> <button name="action" '
                    'value="save">Save</button> <button name="action" value="delete">Delete'
                    '</button></form><br><small class="note">%s</small></td></tr>' % (
                        e(referrer) or "(empty)", e(referrer),
                        e(" ".join(str(number) for number in groups)), e(named)))
    body.append('</tbody></table><h2>Add a referrer</h2><form method="post" '
                'action="/console/groups"><label>Referrer <input name="referrer"></label> '
                '<label>Value IDs <input name="groups" size="60"></label> <button name="action" '
                'value="save">Add</button></form>')
    return page("Group lists", "".join(body), "groups")


def export_page(referrers):
    options = referrer_options(referrers, None)
    form = ('<form method="get" action="/console/export.%s"><label>Referrer <select '
            'name="referrer">%s</select></label> <label>Uploads after number <input '
            'name="since" size="8"></label> <button>Download %s</button></form>')
    return page("Export", '<p class="note">One row per upload, one column per value ID, '
                "streamed without a row limit. <code>since</code> takes the last upload number "
                "already fetched (or a time such as 2024-05-01T00:00:00Z) for incremental pulls."
                "</p>" + "".join(form % (kind, options, kind.upper())
                                  for kind in ("csv", "json")), "export")


def login_page(message=""):
    warning = '<p class="warn">%s</p>' % e(message) if message else ""
    return page("Log in", warning + '<form method="post" action="/console/login"><label>Admin '
                'token <input name="token" type="password" autocomplete="off"></label> '
                "<button>Log in</button></form>")


def message_page(title, text, status_note=""):
    return page(title, "<p>%s</p>%s" % (e(text), status_note))
