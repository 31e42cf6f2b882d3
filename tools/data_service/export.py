"""CSV and JSON exports of the uploads: one row per upload, one column per catalogued value ID.

Both are generators of byte chunks that read the store a batch at a time, so an export of any
size is streamed in bounded memory and never holds the store while the client reads. A value ID
repeated per device gives all its values in one cell: the texts joined by line feeds in CSV, a
list in JSON. Values the catalogue does not know go to the last column as ID#index=text lines.
"""

import csv
import datetime
import io
import json

from report import Report

BATCH = 200
LEADING_COLUMNS = ["Upload", "Received", "Referrer", "Session", "Machine"]
OTHER_COLUMN = "Other values"


class BadSince(ValueError):
    pass


def parse_since(text):
    """(after upload number, after time): a number or an ISO time, the time in stored form."""
    text = (text or "").strip()
    if not text:
        return 0, None
    if text.isascii() and text.isdigit():
        if len(text) > 18:
            raise BadSince("since: %s… is not an upload number" % text[:20])
        return int(text), None
    try:
        moment = datetime.datetime.fromisoformat(text.replace("Z", "+00:00"))
    except ValueError:
        raise BadSince("since must be an upload number or a time such as 2024-05-01T00:00:00Z")
    if moment.tzinfo is None:
        moment = moment.replace(tzinfo=datetime.timezone.utc)
    return 0, moment.astimezone(datetime.timezone.utc).isoformat(timespec="milliseconds")


def _uploads(store, since, referrer):
    after, received_after = since
    while True:
        batch = store.uploads_after(after, BATCH, referrer, received_after)
        if not batch:
            return
        yield from batch
        after = batch[-1].id


def _cells(upload, catalogue):
    """(catalogued values by number, as lists in index order; uncatalogued as lines)."""
    parsed = Report(upload.report)
    values = {}
    others = []
    for entry in parsed.entries:
        if entry.number is not None and catalogue.get(entry.number) is not None:
            values.setdefault(entry.number, []).append((entry.index or 0, entry.value or ""))
        else:
            others.append("%s#%s=%s" % (entry.id_text, entry.index_text, entry.value or ""))
    ordered = {number: [text for _, text in sorted(pairs, key=lambda pair: pair[0])]
               for number, pairs in values.items()}
    return ordered, others


def csv_chunks(store, catalogue, since, referrer=None):
    buffer = io.StringIO()
    writer = csv.writer(buffer, lineterminator="\r\n")

    def take():
        text = buffer.getvalue()
        buffer.seek(0)
        buffer.truncate()
        return text.encode("utf-8")

    # A byte-order mark lets spreadsheet programs read the labels as UTF-8.
    buffer.write("\ufeff")
    writer.writerow(LEADING_COLUMNS + [entry.heading() for entry in catalogue] + [OTHER_COLUMN])
    yield take()
    for count, upload in enumerate(_uploads(store, since, referrer), 1):
        values, others = _cells(upload, catalogue)
        writer.writerow([upload.id, upload.received_at, upload.referrer, upload.session,
                         upload.machine_key or ""] +
                        ["\n".join(values.get(entry.number, ())) for entry in catalogue] +
                        ["\n".join(others)])
        if count % BATCH == 0:
            yield take()
    yield take()


def json_chunks(store, catalogue, since, referrer=None):
    columns = {str(entry.number): {"label": entry.label, "component": entry.component,
                                   "kind": entry.kind, "repeats": entry.repeats}
               for entry in catalogue}
    yield ('{"columns": %s,\n"uploads": [' % json.dumps(columns, ensure_ascii=False)).encode()
    pieces = []
    for count, upload in enumerate(_uploads(store, since, referrer)):
        values, others = _cells(upload, catalogue)
        row = {"upload": upload.id, "received": upload.received_at, "referrer": upload.referrer,
               "session": upload.session, "machine": upload.machine_key,
               "values": {str(number): texts[0] if len(texts) == 1 and
                          not catalogue.get(number).repeated else texts
                          for number, texts in values.items()},
               "other": others}
        pieces.append(("\n" if count == 0 else ",\n") + json.dumps(row, ensure_ascii=False))
        if len(pieces) == BATCH:
            yield "".join(pieces).encode("utf-8")
            pieces = []
    pieces.append("\n]}\n")
    yield "".join(pieces).encode("utf-8")
