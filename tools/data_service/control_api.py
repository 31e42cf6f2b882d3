"""The endpoints the control calls, and the /_admin endpoints tests and scripts use.

API key, paths, bodies and replies are those the control is built against; see README.md.
"""

import json
import re
import urllib.parse

import analysis_answer
import machine
import markup
import report
from http_handler import HttpError, Response, log

API_KEY = "5B3D0A47-1E2C-4F88-9A61-C07D2E94B3F5"

GROUP_LIST_PATH = "/Data/Service.svc/Group/list"
SYSTEM_INFORMATION_PATH = "/SystemInformation/"
ANALYSIS_PREFIX = "/service/Analysis/"
SPEED_UPLOAD_PATH = "/Data/Service.svc/upload"
DOWNLOAD_PATH = "/global/tests/test_2.bin"
DEFAULT_GROUPS = "*"

_SYSTEM_INFORMATION_BODY = re.compile(
    r"<SystemInformation><Data>(.*)</Data></SystemInformation>", re.DOTALL)


def routes(router):
    router.add("GET", GROUP_LIST_PATH, group_list)
    router.add("POST", SYSTEM_INFORMATION_PATH, system_information)
    router.add("POST", SPEED_UPLOAD_PATH, speed_upload)
    router.add("GET", DOWNLOAD_PATH, download)
    router.add_prefix("POST", ANALYSIS_PREFIX, analysis)
    router.add("GET", "/_admin/uploads", admin_uploads, admin=True)
    router.add("GET", "/_admin/requests", admin_requests, admin=True)
    router.add("POST", "/_admin/reset", admin_reset, admin=True)


def download_block(size):
    """The download test file: byte i is i mod 256."""
    return (bytes(range(256)) * (size // 256 + 1))[:size]


def _require_api_key(request):
    if request.query.get("apikey") != API_KEY:
        raise HttpError(403, "invalid api key")


def group_list(service, request):
    _require_api_key(request)
    if "refid" not in request.query:
        raise HttpError(400, "refid missing")
    referrer = request.query["refid"]
    groups = service.store.group_list(referrer)
    if groups is None:
        groups = service.store.group_list(DEFAULT_GROUPS) or []
    # The control reads only the second line; the first must stay one line.
    first = "groups " + referrer.replace("\r", " ").replace("\n", " ")
    return Response(200, first + "\r\n" + "|".join(str(g) for g in groups) + "\r\n")


def system_information(service, request):
    request.require_content_type("text/xml")
    if "refid" not in request.query or "sessid" not in request.query:
        raise HttpError(400, "refid and sessid required")
    match = _SYSTEM_INFORMATION_BODY.fullmatch(request.text())
    if match is None:
        raise HttpError(400, "body is not a SystemInformation/Data element")
    try:
        text = report.unescape_upload(match.group(1))
    except ValueError as error:
        raise HttpError(400, str(error))
    upload_id = service.store.add_upload(request.query["refid"], request.query["sessid"],
                                         request.body, text, machine.derive(text))
    return Response(200, "stored upload %d" % upload_id)


def analysis(service, request):
    request.require_content_type("application/xml")
    referrer = urllib.parse.unquote(request.path[len(ANALYSIS_PREFIX):], errors="replace")
    try:
        fields = analysis_answer.parse_request(request.text())
    except analysis_answer.MalformedRequest as error:
        raise HttpError(400, str(error))
    data = analysis_answer.build(fields, referrer, service.items, service.store,
                                 service.catalogue)
    form = analysis_answer.answer_form(fields["Format"])
    log.info("analysis for referrer %s session %s item %s: %s", markup.cap(referrer, 80),
             markup.cap(fields["SessionID"], 80), markup.cap(fields["ItemID"], 80),
             data["status"])
    return Response(200, analysis_answer.render(data, form), analysis_answer.CONTENT_TYPES[form])


def speed_upload(service, request):
    _require_api_key(request)
    request.require_content_type("application/xml")
    service.store.add_speed_upload(len(request.body))
    return Response(200, str(len(request.body)))


def download(service, request):
    return Response(200, service.download_body, "application/octet-stream")


def _json(data):
    return Response(200, json.dumps(data, ensure_ascii=False), "application/json; charset=utf-8")


def admin_uploads(service, request):
    return _json(service.store.snapshot())


def admin_requests(service, request):
    return _json(service.journal.list())


def admin_reset(service, request):
    service.store.clear()
    service.journal.clear()
    return Response(200, "reset")
