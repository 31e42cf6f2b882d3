"""Where uploads, speed posts and group lists are kept.

The rest of the service reaches storage only through open_store() and the methods of the store
it returns (those of sqlite_store.SqliteStore), so another engine, such as a database server for
sites with many visitors, is one more module and one more branch here.
"""

import sqlite_store


class StorageError(Exception):
    """A store that cannot be opened; the message says why."""


# What a store's methods may raise when the database itself fails.
ERRORS = (StorageError, sqlite_store.sqlite3.Error)


def open_store(location):
    """A store for a location: a SQLite file name, or ":memory:"."""
    try:
        return sqlite_store.SqliteStore(location)
    except sqlite_store.sqlite3.Error as error:
        raise StorageError("%s: %s" % (location, error))
