"""The SQLite storage engine: one connection guarded by one lock (requests run on many threads).

Each upload keeps its raw body and report as received, plus what is derived from the report (the
machine key and the facts lists and the fleet show), so that lists never parse reports. When the
derivation changes, rederive() brings the stored rows up to date at start-up.
"""

import base64
import collections
import datetime
import json
import sqlite3
import threading

from records import MachineSummary, Upload, UploadSummary

# The small columns come first: a row's later columns are reached only past the large ones, so
# lists and the fleet never read the bodies.
_SCHEMA = (
    "CREATE TABLE IF NOT EXISTS uploads ("
    "id INTEGER PRIMARY KEY AUTOINCREMENT, received_at TEXT NOT NULL, "
    "referrer TEXT NOT NULL, session TEXT NOT NULL, "
    "machine_key TEXT, facts TEXT NOT NULL DEFAULT '{}', "
    "raw_body BLOB NOT NULL, report TEXT NOT NULL, search_text TEXT NOT NULL DEFAULT '')",
    # A database written before uploads had derived columns gets them; rederive() fills them.
    ("uploads", "machine_key", "TEXT"),
    ("uploads", "facts", "TEXT NOT NULL DEFAULT '{}'"),
    ("uploads", "search_text", "TEXT NOT NULL DEFAULT ''"),
    "CREATE INDEX IF NOT EXISTS uploads_by_session ON uploads (session, id)",
    "CREATE INDEX IF NOT EXISTS uploads_by_machine ON uploads (machine_key, id)",
    "CREATE INDEX IF NOT EXISTS uploads_by_referrer ON uploads (referrer, id)",
    "CREATE TABLE IF NOT EXISTS speed_uploads ("
    "id INTEGER PRIMARY KEY AUTOINCREMENT, received_at TEXT NOT NULL, bytes INTEGER NOT NULL)",
    "CREATE TABLE IF NOT EXISTS group_lists (referrer TEXT PRIMARY KEY, groups TEXT NOT NULL)",
    "CREATE TABLE IF NOT EXISTS meta (name TEXT PRIMARY KEY, value TEXT NOT NULL)",
)
_SUMMARY_COLUMNS = "id, received_at, referrer, session, machine_key, facts"
_UPLOAD_COLUMNS = "id, received_at, referrer, session, raw_body, report, machine_key, facts"
# Uploads without a machine key each count as a machine of their own.
_MACHINE = "COALESCE(machine_key, '#' || id)"
_REDERIVE_BATCH = 500


def now():
    return datetime.datetime.now(datetime.timezone.utc).isoformat(timespec="milliseconds")


def _like(text):
    return "%" + text.replace("\\", "\\\\").replace("%", "\\%").replace("_", "\\_") + "%"


def _derived_columns(derived):
    return (derived.machine_key, json.dumps(derived.facts, ensure_ascii=False),
            derived.search_text)


def _summary(row):
    return UploadSummary(row[0], row[1], row[2], row[3], row[4], json.loads(row[5]))


def _upload(row):
    return Upload(row[0], row[1], row[2], row[3], bytes(row[4]), row[5], row[6],
                  json.loads(row[7]))


class SqliteStore:
    def __init__(self, path):
        self._lock = threading.Lock()
        self._db = sqlite3.connect(path, check_same_thread=False)
        try:
            with self._db:
                for statement in _SCHEMA:
                    if isinstance(statement, tuple):
                        self._add_missing_column(*statement)
                    else:
                        self._db.execute(statement)
        except sqlite3.Error:
            self._db.close()
            raise

    def _add_missing_column(self, table, column, declaration):
        known = [row[1] for row in self._db.execute("PRAGMA table_info(%s)" % table)]
        if column not in known:
            self._db.execute("ALTER TABLE %s ADD COLUMN %s %s" % (table, column, declaration))

    def close(self):
        with self._lock:
            self._db.close()

    # -- uploads ---------------------------------------------------------------------------

    def add_upload(self, referrer, session, raw_body, report, derived):
        """Stores an upload with what was derived from it (machine.Derived)."""
        with self._lock, self._db:
            cursor = self._db.execute(
                "INSERT INTO uploads (received_at, referrer, session, raw_body, report, "
                "machine_key, facts, search_text) VALUES (?, ?, ?, ?, ?, ?, ?, ?)",
                (now(), referrer, session, raw_body, report) + _derived_columns(derived))
            return cursor.lastrowid

    def get_upload(self, upload_id):
        return self._one("SELECT %s FROM uploads WHERE id = ?" % _UPLOAD_COLUMNS, (upload_id,))

    def latest_upload_for_session(self, session):
        return self._one("SELECT %s FROM uploads WHERE session = ? ORDER BY id DESC LIMIT 1"
                         % _UPLOAD_COLUMNS, (session,))

    def _one(self, sql, parameters):
        with self._lock:
            row = self._db.execute(sql, parameters).fetchone()
        return _upload(row) if row else None

    def list_uploads(self, referrer=None, text=None, offset=0, limit=50):
        """(summaries newest first, total matching). text matches the referrer, session and
        value texts, without regard to case for ASCII letters."""
        where, parameters = self._filter(referrer, text)
        with self._lock:
            total = self._db.execute("SELECT COUNT(*) FROM uploads" + where,
                                     parameters).fetchone()[0]
            rows = self._db.execute(
                "SELECT %s FROM uploads%s ORDER BY id DESC LIMIT ? OFFSET ?"
                % (_SUMMARY_COLUMNS, where), parameters + [limit, offset]).fetchall()
        return [_summary(row) for row in rows], total

    @staticmethod
    def _filter(referrer, text):
        clauses, parameters = [], []
        if referrer is not None:
            clauses.append("referrer = ?")
            parameters.append(referrer)
        if text:
            pattern = _like(text)
            clauses.append("(referrer LIKE ? ESCAPE '\\' OR session LIKE ? ESCAPE '\\' OR "
                           "search_text LIKE ? ESCAPE '\\')")
            parameters += [pattern] * 3
        return (" WHERE " + " AND ".join(clauses) if clauses else ""), parameters

    def referrers(self):
        """(referrer, uploads) pairs, by referrer."""
        with self._lock:
            return self._db.execute("SELECT referrer, COUNT(*) FROM uploads GROUP BY referrer "
                                    "ORDER BY referrer").fetchall()

    def machine_uploads(self, key, limit):
        """(the newest uploads of a machine, at most limit of them; how many it made)."""
        with self._lock:
            total = self._db.execute("SELECT COUNT(*) FROM uploads WHERE machine_key = ?",
                                     (key,)).fetchone()[0]
            rows = self._db.execute("SELECT %s FROM uploads WHERE machine_key = ? ORDER BY id DESC "
                                    "LIMIT ?" % _SUMMARY_COLUMNS, (key, limit)).fetchall()
        return [_summary(row) for row in rows], total

    def machines(self, offset=0, limit=50):
        """(machines with their upload count, first and last time and latest facts, the most
        recently seen first; how many machines there are)."""
        with self._lock:
            total = self._db.execute("SELECT COUNT(DISTINCT machine_key) FROM uploads"
                                     ).fetchone()[0]
            rows = self._db.execute(
                "SELECT m.key, m.uploads, m.first_seen, m.last_seen, u.id, u.facts FROM "
                "(SELECT machine_key AS key, COUNT(*) AS uploads, MIN(received_at) AS first_seen,"
                " MAX(received_at) AS last_seen, MAX(id) AS latest FROM uploads"
                " WHERE machine_key IS NOT NULL GROUP BY machine_key ORDER BY latest DESC"
                " LIMIT ? OFFSET ?) AS m JOIN uploads AS u ON u.id = m.latest ORDER BY u.id DESC",
                (limit, offset)).fetchall()
        return [MachineSummary(row[0], row[1], row[2], row[3], row[4], json.loads(row[5]))
                for row in rows], total

    def latest_facts_per_machine(self, referrer=None):
        """The facts of each machine's latest upload (within the referrer when one is given)."""
        where = " WHERE referrer = ?" if referrer is not None else ""
        parameters = [referrer] if referrer is not None else []
        with self._lock:
            rows = self._db.execute(
                "SELECT facts FROM uploads WHERE id IN (SELECT MAX(id) FROM uploads%s GROUP BY %s)"
                % (where, _MACHINE), parameters).fetchall()
        return [json.loads(row[0]) for row in rows]

    def machines_per_referrer(self):
        """(referrer, machines that uploaded through it) pairs, by referrer."""
        with self._lock:
            return self._db.execute("SELECT referrer, COUNT(DISTINCT %s) FROM uploads "
                                    "GROUP BY referrer ORDER BY referrer" % _MACHINE).fetchall()

    def uploads_after(self, after_id, limit, referrer=None, received_after=None):
        """Whole uploads with an id above after_id, oldest first, at most limit of them."""
        clauses, parameters = ["id > ?"], [after_id]
        if referrer is not None:
            clauses.append("referrer = ?")
            parameters.append(referrer)
        if received_after is not None:
            clauses.append("received_at > ?")
            parameters.append(received_after)
        with self._lock:
            rows = self._db.execute("SELECT %s FROM uploads WHERE %s ORDER BY id LIMIT ?"
                                    % (_UPLOAD_COLUMNS, " AND ".join(clauses)),
                                    parameters + [limit]).fetchall()
        return [_upload(row) for row in rows]

    def rederive(self, version, derive):
        """Recomputes what is derived from every upload when the derivation's version differs
        from the one they were made with; returns how many uploads were updated."""
        with self._lock:
            row = self._db.execute("SELECT value FROM meta WHERE name = 'derivation'").fetchone()
        if row and row[0] == version:
            return 0
        updated = 0
        last = 0
        while True:
            with self._lock:
                rows = self._db.execute("SELECT id, report FROM uploads WHERE id > ? ORDER BY id "
                                        "LIMIT ?", (last, _REDERIVE_BATCH)).fetchall()
            if not rows:
                break
            changes = [_derived_columns(derive(report)) + (upload_id,)
                       for upload_id, report in rows]
            with self._lock, self._db:
                self._db.executemany("UPDATE uploads SET machine_key = ?, facts = ?, "
                                     "search_text = ? WHERE id = ?", changes)
            updated += len(rows)
            last = rows[-1][0]
        with self._lock, self._db:
            self._db.execute("INSERT OR REPLACE INTO meta (name, value) VALUES ('derivation', ?)",
                             (version,))
        return updated

    # -- speed posts, the admin snapshot and reset ------------------------------------------

    def add_speed_upload(self, size):
        with self._lock, self._db:
            self._db.execute("INSERT INTO speed_uploads (received_at, bytes) VALUES (?, ?)",
                             (now(), size))

    def snapshot(self):
        with self._lock:
            uploads = self._db.execute(
                "SELECT id, received_at, referrer, session, raw_body, report "
                "FROM uploads ORDER BY id").fetchall()
            sizes = [row[0] for row in self._db.execute(
                "SELECT bytes FROM speed_uploads ORDER BY id")]
        return {
            "uploads": [{"id": u[0], "received_at": u[1], "referrer": u[2], "session": u[3],
                         "raw_body_b64": base64.b64encode(u[4]).decode("ascii"),
                         "report": u[5]} for u in uploads],
            "speed_uploads": {"count": len(sizes), "bytes": sizes},
        }

    def clear(self):
        """Empties uploads and speed posts; group lists stay."""
        with self._lock, self._db:
            self._db.execute("DELETE FROM uploads")
            self._db.execute("DELETE FROM speed_uploads")

    # -- group lists ---------------------------------------------------------------------------

    def group_lists(self):
        with self._lock:
            rows = self._db.execute("SELECT referrer, groups FROM group_lists "
                                    "ORDER BY referrer").fetchall()
        return collections.OrderedDict((referrer, json.loads(groups)) for referrer, groups in rows)

    def group_list(self, referrer):
        with self._lock:
            row = self._db.execute("SELECT groups FROM group_lists WHERE referrer = ?",
                                   (referrer,)).fetchone()
        return json.loads(row[0]) if row else None

    def set_group_list(self, referrer, groups):
        with self._lock, self._db:
            self._db.execute("INSERT OR REPLACE INTO group_lists (referrer, groups) VALUES (?, ?)",
                             (referrer, json.dumps(list(groups))))

    def delete_group_list(self, referrer):
        with self._lock, self._db:
            return self._db.execute("DELETE FROM group_lists WHERE referrer = ?",
                                    (referrer,)).rowcount > 0

    def seed_group_lists(self, lists):
        """Stores the lists only when the database holds none yet: after that, the database
        is where they are edited."""
        with self._lock, self._db:
            if self._db.execute("SELECT COUNT(*) FROM group_lists").fetchone()[0]:
                return False
            self._db.executemany("INSERT INTO group_lists (referrer, groups) VALUES (?, ?)",
                                 [(referrer, json.dumps(groups)) for referrer, groups in
                                  lists.items()])
            return True
