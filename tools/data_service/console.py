"""The operator's console: the requests behind each page, the page itself made by pages.py."""

import re

import analysis_answer
import export
import fleet
import machine
import pages
from http_handler import ADMIN_COOKIE, HttpError, Response, html, redirect, token_matches
from report import Report

PAGE_SIZE = 50
# One machine's page lists its newest uploads only; a machine that reports all day has many.
MACHINE_UPLOADS = 500
_UPLOAD_PATH = re.compile(r"/console/uploads/([0-9]{1,18})(/report\.xml)?")
_GROUP_SEPARATORS = re.compile(r"[\s,|]+")
_MAX_FOLD = 1000000
REFERRER_LIMIT = 1000


def routes(router):
    for path in ("/console", "/console/", "/console/uploads"):
        router.add("GET", path, uploads)
    router.add_prefix("GET", "/console/uploads/", upload)
    router.add("GET", "/console/machines", machines)
    router.add_prefix("GET", "/console/machines/", one_machine)
    router.add("GET", "/console/diff", difference)
    router.add("GET", "/console/fleet", fleet_view)
    router.add("GET", "/console/items", items_view)
    router.add("GET", "/console/export", export_form)
    router.add("GET", "/console/export.csv", export_csv)
    router.add("GET", "/console/export.json", export_json)
    router.add("GET", "/console/groups", groups, admin=True)
    router.add("POST", "/console/groups", change_groups, admin=True)
    router.add("GET", "/console/login", login_form)
    router.add("POST", "/console/login", login)


def not_found(text):
    return html(pages.message_page("Not found", text), status=404)


def selected_referrer(query):
    """The referrer a page is about, or None for all of them."""
    value = query.get("referrer", "")
    if value.startswith(pages.REFERRER_PREFIX):
        return value[len(pages.REFERRER_PREFIX):]
    return value or None


def number(query, name, default, largest):
    text = query.get(name, "").strip()
    if not text:
        return default
    if not (text.isascii() and text.isdigit()) or len(text) > 9:
        raise HttpError(400, "%s must be a whole number" % name)
    return min(int(text), largest)


def uploads(service, request):
    referrer = selected_referrer(request.query)
    text = request.query.get("q", "").strip()
    page_number = number(request.query, "page", 0, 10 ** 9)
    summaries, total = service.store.list_uploads(referrer, text, page_number * PAGE_SIZE,
                                                  PAGE_SIZE)
    return html(pages.uploads_page(summaries, total, service.store.referrers(), referrer, text,
                                   page_number, PAGE_SIZE, service.catalogue))


def upload(service, request):
    match = _UPLOAD_PATH.fullmatch(request.path)
    found = service.store.get_upload(int(match.group(1))) if match else None
    if found is None:
        return not_found("There is no such upload.")
    if match.group(2):
        return Response(200, found.report, "application/xml; charset=utf-8", headers=[
            ("Content-Disposition", 'attachment; filename="upload-%d.xml"' % found.id)])
    parsed = Report(found.report)
    verdicts = [analysis_answer.item_data(item, parsed, service.catalogue)
                for item in service.items.values()]
    return html(pages.upload_page(found, parsed, service.catalogue, verdicts))


def machines(service, request):
    page_number = number(request.query, "page", 0, 10 ** 9)
    found, total = service.store.machines(page_number * PAGE_SIZE, PAGE_SIZE)
    return html(pages.machines_page(found, total, page_number, PAGE_SIZE, service.catalogue))


def one_machine(service, request):
    key = request.path[len("/console/machines/"):]
    summaries, total = service.store.machine_uploads(key, MACHINE_UPLOADS)
    if not summaries:
        return not_found("No upload comes from this machine.")
    return html(pages.machine_page(key, summaries, total))


def difference(service, request):
    older = service.store.get_upload(number(request.query, "a", 0, 10 ** 18))
    newer = service.store.get_upload(number(request.query, "b", 0, 10 ** 18))
    if older is None or newer is None:
        return not_found("Name two stored uploads as a and b.")
    added, removed, changed = machine.difference(Report(older.report), Report(newer.report))
    return html(pages.diff_page(older, newer, added, removed, changed, service.catalogue))


def fleet_view(service, request):
    referrer = selected_referrer(request.query)
    fold = max(1, number(request.query, "fold", 1, _MAX_FOLD))
    facts = service.store.latest_facts_per_machine(referrer)
    per_referrer = service.store.machines_per_referrer() if referrer is None else []
    return html(pages.fleet_page(fleet.tables(facts, service.catalogue, fold), len(facts),
                                 service.store.referrers(), referrer, fold, per_referrer))


def items_view(service, request):
    return html(pages.items_page(service.items, service.catalogue))


def export_form(service, request):
    return html(pages.export_page(service.store.referrers()))


def _export(service, request, chunks, content_type, name):
    try:
        since = export.parse_since(request.query.get("since"))
    except export.BadSince as error:
        raise HttpError(400, str(error))
    body = chunks(service.store, service.catalogue, since, selected_referrer(request.query))
    return Response(200, body, content_type,
                    headers=[("Content-Disposition", 'attachment; filename="%s"' % name)])


def export_csv(service, request):
    return _export(service, request, export.csv_chunks, "text/csv; charset=utf-8", "uploads.csv")


def export_json(service, request):
    return _export(service, request, export.json_chunks, "application/json; charset=utf-8",
                   "uploads.json")


def groups(service, request):
    return html(pages.groups_page(service.store.group_lists(), service.catalogue))


def parse_groups(text):
    """Value IDs separated by blanks, commas or bars; raises ValueError naming the bad one."""
    found = []
    for piece in _GROUP_SEPARATORS.split(text.strip()):
        if not piece:
            continue
        if not (piece.isascii() and piece.isdigit()) or len(piece) > 9:
            raise ValueError("%r is not a value ID" % piece[:40])
        found.append(int(piece))
    return found


def change_groups(service, request):
    form = request.form()
    referrer = form.get("referrer", "")
    if len(referrer) > REFERRER_LIMIT:
        return _groups_refused(service, "A referrer has at most %d characters." % REFERRER_LIMIT)
    if form.get("action") == "delete":
        service.store.delete_group_list(referrer)
        return redirect("/console/groups")
    try:
        found = parse_groups(form.get("groups", ""))
    except ValueError as error:
        return _groups_refused(service, "Not saved: %s." % error)
    service.store.set_group_list(referrer, found)
    return redirect("/console/groups")


def _groups_refused(service, message):
    return html(pages.groups_page(service.store.group_lists(), service.catalogue, message),
                status=400)


def login_form(service, request):
    return html(pages.login_page())


def login(service, request):
    if not service.admin_token:
        return html(pages.login_page("This service binds loopback only: no token is needed."))
    token = request.form().get("token", "")
    if not token_matches(service.admin_token, token):
        return html(pages.login_page("That is not the admin token."), status=401)
    response = redirect("/console/groups")
    response.headers.append(("Set-Cookie", "%s=%s; HttpOnly; SameSite=Strict; Path=/"
                             % (ADMIN_COOKIE, token)))
    return response
