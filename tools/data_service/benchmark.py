#!/usr/bin/env python3
"""Page times of the console with many stored uploads (a benchmark, not a test).

Fills a SQLite file with synthetic full reports (every catalogued value, devices repeated, a few
thousand machines over five referrers), serves it on a free loopback port and times, over HTTP,
the uploads list, one upload, the fleet page and the whole CSV export. Prints p50 and p99 in
milliseconds per page.

    benchmark.py [--uploads 10000] [--runs 50] [--export-runs 5]
"""

import argparse
import http.client
import os
import random
import statistics
import sys
import tempfile
import threading
import time

import catalogue as catalogue_module
import machine
from data_service import DataService

REFERRERS = ["shop", "blog", "news", "games", ""]
PROCESSORS = ["Intel(R) Core(TM) i5-%d CPU @ 3.20GHz" % n for n in range(2400, 2420)] + \
    ["AMD Ryzen %d" % n for n in range(1, 11)]
SYSTEMS = ["Microsoft Windows 7 Ultimate Edition Service Pack 1 (build 7601), 64-bit",
           "Microsoft Windows 8.1 Professional (build 9600), 64-bit",
           "Microsoft Windows 10 (build 19045), 64-bit"]
ADAPTERS = ["Radeon HD %d" % n for n in range(5000, 5010)] + ["GeForce GTX %d" % n
                                                              for n in range(600, 610)]
BROWSERS = ["Chrome", "Firefox", "Internet Explorer", "Safari", "Opera"]
# Values that change from one detection of a machine to the next; the rest stay.
VOLATILE = {71076, 71379, 71382, 71436, 71069, 71422, 71207, 71424}


def sample_text(entry, machine_number, rng):
    """A plausible text of the entry's kind; stable values depend on the machine only."""
    if entry.number not in VOLATILE:
        rng = random.Random(machine_number * 1000 + entry.number)
    if entry.number == 71061:
        return PROCESSORS[machine_number % len(PROCESSORS)]
    if entry.number == 71060:
        return SYSTEMS[machine_number % len(SYSTEMS)]
    if entry.number == 71064:
        return ADAPTERS[machine_number % len(ADAPTERS)]
    if entry.number == 71447:
        return BROWSERS[rng.randrange(len(BROWSERS))]
    if entry.number == 71063:
        return "%d.%d GB" % (2 ** (machine_number % 6 + 1), machine_number % 10)
    kinds = {
        "size": lambda: "%.1f GB" % (rng.random() * 500),
        "speed": lambda: "%.1f GHz" % (1 + rng.random() * 3),
        "bandwidth": lambda: "%.1f Mbps" % (rng.random() * 100),
        "version": lambda: "%d.%d.%d" % (rng.randrange(12), rng.randrange(10),
                                         rng.randrange(9999)),
        "resolution": lambda: "%dx%d" % rng.choice([(1920, 1080), (1366, 768), (2560, 1440)]),
        "yes/no": lambda: rng.choice(["Yes", "No"]),
        "count": lambda: str(rng.randrange(16)),
        "identifier": lambda: "%016X" % rng.getrandbits(64),
        "name": lambda: "Name %d of machine %d" % (entry.number, machine_number),
    }
    return kinds[entry.kind]()


def sample_report(catalogue, machine_number, rng):
    parts = ["<groups>"]
    for entry in catalogue:
        for index in range(3 if entry.repeated else 1):
            text = sample_text(entry, machine_number * 3 + index, rng)
            parts.append('<group index="%d" id="%d"><value>%s</value></group>'
                          % (index, entry.number, text.replace("&", "&amp;")))
    parts.append("</groups>  ")
    return "".join(parts)


def fill(store, catalogue, count, machines):
    rng = random.Random(12)
    for number in range(count):
        text = sample_report(catalogue, rng.randrange(machines), rng)
        store.add_upload(REFERRERS[number % len(REFERRERS)], "session-%d" % number,
                         text.encode("utf-8"), text, machine.derive(text))


def timed(port, path, runs):
    connection = http.client.HTTPConnection("127.0.0.1", port, timeout=600)
    times = []
    try:
        for _ in range(runs):
            started = time.perf_counter()
            connection.request("GET", path)
            response = connection.getresponse()
            body = response.read()
            times.append((time.perf_counter() - started) * 1000)
            if response.status != 200 or not body:
                raise RuntimeError("%s answered %d" % (path, response.status))
    finally:
        connection.close()
    return times


def percentile(values, fraction):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(round(fraction * (len(ordered) - 1))))]


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--uploads", type=int, default=10000)
    parser.add_argument("--machines", type=int, default=3000)
    parser.add_argument("--runs", type=int, default=50)
    parser.add_argument("--export-runs", type=int, default=5)
    args = parser.parse_args(argv)
    catalogue = catalogue_module.load()
    with tempfile.TemporaryDirectory() as folder:
        server = DataService(0, db=os.path.join(folder, "bench.sqlite"), catalogue=catalogue)
        started = time.perf_counter()
        fill(server.store, catalogue, args.uploads, args.machines)
        print("filled %d uploads in %.1f s" % (args.uploads, time.perf_counter() - started))
        thread = threading.Thread(target=server.serve_forever, daemon=True)
        thread.start()
        try:
            pages = [("uploads list", "/console/uploads", args.runs),
                     ("uploads list, text filter", "/console/uploads?q=GeForce", args.runs),
                     ("one upload", "/console/uploads/%d" % (args.uploads // 2), args.runs),
                     ("fleet", "/console/fleet", args.runs),
                     ("CSV export (all uploads)", "/console/export.csv", args.export_runs)]
            print("%-28s %6s %10s %10s" % ("page", "runs", "p50 ms", "p99 ms"))
            for name, path, runs in pages:
                times = timed(server.port, path, runs)
                print("%-28s %6d %10.1f %10.1f" % (name, runs, statistics.median(times),
                                                   percentile(times, 0.99)))
        finally:
            server.shutdown()
            server.server_close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
