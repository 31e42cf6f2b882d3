#!/usr/bin/env python3
"""Reference data service for the detection control, and the operator's console.

Serves the group list per referrer, stores system-information uploads, answers analysis
requests from the items file, accepts the upload-speed posts and serves the download test file;
the console under /console shows what was collected. Binds 127.0.0.1 unless told otherwise, and
then requires an admin token for editing. Standard library only.

Modules: http_handler (HTTP), control_api and console (endpoints), storage (the only way to the
database), catalogue (labels), report and machine (reading uploads), analysis, analysis_answer
and items (requirements), fleet, export and pages (what the console shows).
"""

import argparse
import http.server
import ipaddress
import json
import logging
import os
import re
import sys

import catalogue as catalogue_module
import console
import control_api
import items as items_module
import machine
import storage
from http_handler import Handler, Journal, Router, log

DEFAULT_DOWNLOAD_SIZE = 1024 * 1024
DEFAULT_MAX_BODY = 8 * 1024 * 1024
# A client that stops sending mid-request must not hold a thread forever.
SOCKET_TIMEOUT_SECONDS = 10
LOOPBACK = "127.0.0.1"

HERE = os.path.dirname(os.path.abspath(__file__))
DEFAULT_GROUPS_FILE = os.path.join(HERE, "groups.json")
DEFAULT_ITEMS_FILE = os.path.join(HERE, "items.ini")
# Tokens travel in a cookie and a header: no characters that either would need to quote.
_TOKEN = re.compile(r"[A-Za-z0-9._~+/=-]{16,256}")


def is_loopback(host):
    if host == "localhost":
        return True
    try:
        return ipaddress.ip_address(host).is_loopback
    except ValueError:
        return False


def load_groups(path):
    """Reads the referrer → group numbers file; raises ValueError on a bad shape."""
    with open(path, "r", encoding="utf-8") as handle:
        try:
            data = json.load(handle)
        except json.JSONDecodeError as error:
            raise ValueError("%s line %d column %d: %s"
                             % (path, error.lineno, error.colno, error.msg)) from None
    if not isinstance(data, dict):
        raise ValueError("%s: top level must be an object" % path)
    for referrer, groups in data.items():
        if not isinstance(groups, list) or not all(
                isinstance(g, int) and not isinstance(g, bool) and 0 <= g < 10 ** 9
                for g in groups):
            raise ValueError("%s: groups of referrer %r must be a list of value IDs"
                             % (path, referrer))
    return data


def load_token(path):
    with open(path, encoding="utf-8") as handle:
        token = handle.read().strip()
    if not _TOKEN.fullmatch(token):
        raise ValueError("%s: the token must be 16 to 256 letters, digits or ._~+/=-" % path)
    return token


class DataService(http.server.ThreadingHTTPServer):
    daemon_threads = True

    def __init__(self, port=0, db=":memory:", groups=None, download_size=DEFAULT_DOWNLOAD_SIZE,
                 max_body=DEFAULT_MAX_BODY, socket_timeout=SOCKET_TIMEOUT_SECONDS, host=LOOPBACK,
                 items=None, catalogue=None, admin_token=None):
        if not is_loopback(host) and not admin_token:
            raise ValueError("binding %s needs an admin token" % host)
        self.download_body = control_api.download_block(download_size)
        self.max_body = max_body
        self.socket_timeout = socket_timeout
        self.admin_token = admin_token
        self.items = items if items is not None else items_module.load(DEFAULT_ITEMS_FILE)
        self.catalogue = catalogue if catalogue is not None else catalogue_module.load()
        self.journal = Journal()
        self.router = Router()
        control_api.routes(self.router)
        console.routes(self.router)
        self.store = storage.open_store(db)
        try:
            self.store.rederive(machine.DERIVATION_VERSION, machine.derive)
            self.store.seed_group_lists(groups or {})
            super().__init__((host, port), Handler)
        except BaseException:
            self.store.close()
            raise

    @property
    def port(self):
        return self.server_address[1]

    def server_close(self):
        super().server_close()
        self.store.close()


def _options(argv):
    parser = argparse.ArgumentParser(description="Reference data service and operator console.")
    parser.add_argument("--port", type=int, required=True, help="TCP port; 0 picks a free one")
    parser.add_argument("--host", default=LOOPBACK,
                        help="address to bind (default 127.0.0.1); any other address needs "
                             "--admin-token-file")
    parser.add_argument("--db", default=":memory:", help="SQLite file (default: in memory)")
    parser.add_argument("--groups", default=DEFAULT_GROUPS_FILE,
                        help="JSON file: referrer id -> list of group ids, '*' as default; "
                             "seeds an empty database")
    parser.add_argument("--items", default=DEFAULT_ITEMS_FILE,
                        help="items and their requirements (default: items.ini here)")
    parser.add_argument("--admin-token-file",
                        help="file holding the token that editing and /_admin requests need")
    parser.add_argument("--download-size", type=int, default=DEFAULT_DOWNLOAD_SIZE,
                        help="size in bytes of /global/tests/test_2.bin")
    parser.add_argument("--log", help="request log file (default: stderr)")
    args = parser.parse_args(argv)
    if not 0 <= args.port <= 65535:
        parser.error("--port must be between 0 and 65535")
    if args.download_size < 0:
        parser.error("--download-size must not be negative")
    if not is_loopback(args.host) and not args.admin_token_file:
        parser.error("--host %s is not loopback: give --admin-token-file" % args.host)
    return args


def _attach_log(path):
    handler = logging.FileHandler(path, encoding="utf-8") if path \
        else logging.StreamHandler(sys.stderr)
    handler.setFormatter(logging.Formatter("%(asctime)s %(levelname)s %(message)s"))
    log.addHandler(handler)
    log.setLevel(logging.INFO)


def main(argv=None):
    args = _options(argv)
    _attach_log(args.log)
    loaders = (("groups", lambda: load_groups(args.groups)),
               ("items", lambda: items_module.load(args.items)),
               ("catalogue", catalogue_module.load),
               ("admin token", lambda: args.admin_token_file and load_token(args.admin_token_file)))
    loaded = {}
    for name, loader in loaders:
        try:
            loaded[name] = loader()
        except (OSError, ValueError) as error:
            print("cannot load %s: %s" % (name, error), file=sys.stderr)
            return 2
    try:
        server = DataService(args.port, args.db, loaded["groups"], args.download_size,
                             host=args.host, items=loaded["items"], catalogue=loaded["catalogue"],
                             admin_token=loaded["admin token"] or None)
    except (OSError,) + storage.ERRORS as error:
        print("cannot start: %s" % error, file=sys.stderr)
        return 1

    address = "%s:%d" % (args.host, server.port)
    print("listening on %s" % address, flush=True)
    log.info("listening on %s", address)
    try:
        server.serve_forever()
    except KeyboardInterrupt:
        pass
    finally:
        server.server_close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
