#!/usr/bin/env python3
"""The packaging step (tools/packaging/package.py, what scripts/package runs after building) on a
Windows build: what it refuses, with which message, and that a refused or failed run leaves the
dist folder as it was; signing with a given certificate and with the test-only authority.

    test_package.py --build-dir DIR --results DIR

DIR is a built Windows build tree (its packaging.json). The results also go to
DIR/package_tests.xml in the GoogleTest format. Needs what packaging needs (msitools, gcab,
osslsigncode, openssl) and the MinGW objcopy. Standard library only.
"""

import argparse
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

SOURCE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(SOURCE, "tests", "e2e"))
from e2e_support import RecordingResult, write_xml  # noqa: E402

PACKAGE = os.path.join(SOURCE, "tools", "packaging", "package.py")
OBJCOPY = "x86_64-w64-mingw32-objcopy"
DLL = "RigelDetection.dll"
PASSWORD = "pa55 word"

BUILD_DIR = None
BUILD = None  # the real build's packaging.json fields
SCRATCH = None  # removed at the end


def scratch(*names):
    path = os.path.join(SCRATCH, *names)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    return path


def run_package(build_dir, dist, **environment):
    """package.py as scripts/package runs it; RIGEL_SIGN_* come only from the arguments."""
    env = {name: value for name, value in os.environ.items()
           if not name.startswith("RIGEL_SIGN_")}
    env.update(environment)
    return subprocess.run([sys.executable, PACKAGE, "--build-dir", build_dir, "--dist", dist,
                           "--signing-dir", scratch("test-signing")],
                          stdin=subprocess.DEVNULL, capture_output=True, text=True, env=env,
                          timeout=300)


def crafted_build(name, dll=None, **fields):
    """A build folder whose packaging.json differs from the real one in the given fields,
    optionally naming a changed copy of the DLL made by dll(path)."""
    folder = scratch("builds", name)
    os.makedirs(folder)
    manifest = dict(BUILD, **fields)
    if dll is not None:
        manifest["dll"] = os.path.join(folder, DLL)
        shutil.copyfile(BUILD["dll"], manifest["dll"])
        dll(manifest["dll"])
    with open(os.path.join(folder, "packaging.json"), "w", encoding="utf-8") as handle:
        json.dump(manifest, handle)
    return folder


def replace_bytes(old, new):
    def change(path):
        with open(path, "rb") as handle:
            data = handle.read()
        assert data.count(old) == 1, old
        with open(path, "wb") as handle:
            handle.write(data.replace(old, new))
    return change


def grow_to(size):
    def change(path):
        with open(path, "ab") as handle:
            handle.write(b"\0" * (size - os.path.getsize(path)))
    return change


def add_debug_section(path):
    content = path + ".section"
    with open(content, "wb") as handle:
        handle.write(b"debug information")
    subprocess.run([OBJCOPY, "--add-section", ".debug_info=" + content, path], check=True,
                   capture_output=True)


def openssl(*args):
    subprocess.run(["openssl"] + list(args), check=True, capture_output=True, timeout=60)


def make_pfx(name, usage):
    """A certificate authority, a certificate it issued for the extended key usage, and both in
    a PKCS#12 file with PASSWORD. Returns (pfx, authority certificate)."""
    folder = scratch("pki", name)
    os.makedirs(folder)

    def path(file_name):
        return os.path.join(folder, file_name)

    openssl("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "30", "-subj",
            "/CN=%s authority" % name, "-keyout", path("ca.key"), "-out", path("ca.crt"),
            "-addext", "basicConstraints=critical,CA:TRUE",
            "-addext", "keyUsage=critical,keyCertSign")
    openssl("req", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=%s" % name,
            "-keyout", path("leaf.key"), "-out", path("leaf.csr"))
    with open(path("leaf.ext"), "w", encoding="ascii") as handle:
        handle.write("keyUsage=critical,digitalSignature\nextendedKeyUsage=%s\n" % usage)
    openssl("x509", "-req", "-days", "30", "-in", path("leaf.csr"), "-CA", path("ca.crt"),
            "-CAkey", path("ca.key"), "-set_serial", "7", "-extfile", path("leaf.ext"),
            "-out", path("leaf.crt"))
    openssl("pkcs12", "-export", "-inkey", path("leaf.key"), "-in", path("leaf.crt"),
            "-certfile", path("ca.crt"), "-out", path("signer.pfx"), "-passout",
            "pass:" + PASSWORD)
    return path("signer.pfx"), path("ca.crt")


def verify(authority, path):
    return subprocess.run(["osslsigncode", "verify", "-CAfile", authority, "-in", path],
                          stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60)


def folder_contents(folder):
    """Every file below folder with its bytes, for before-and-after comparisons."""
    contents = {}
    for root, _, files in os.walk(folder):
        for name in files:
            path = os.path.join(root, name)
            with open(path, "rb") as handle:
                contents[os.path.relpath(path, folder)] = handle.read()
    return contents


class Refusals(unittest.TestCase):
    """Each bad input stops packaging with its message, before or after work began; dist keeps
    what an earlier run left and nothing half made stays beside it."""

    @classmethod
    def setUpClass(cls):
        cls.code_signing, _ = make_pfx("code signing", "codeSigning")
        cls.server, _ = make_pfx("web server", "serverAuth")
        cls.version = BUILD["version"]
        missing = scratch("builds", "none")
        rows = scratch("rows.tsv")
        with open(rows, "w", encoding="ascii") as handle:
            handle.write("only one field\n")
        big = 1536 * 1024 + 1
        cls.cases = [
            ("password missing", BUILD_DIR, {"RIGEL_SIGN_PFX": cls.code_signing},
             "RIGEL_SIGN_PFX is set but RIGEL_SIGN_PASSWORD is not: give the password of %s in "
             "RIGEL_SIGN_PASSWORD" % cls.code_signing),
            ("certificate missing", BUILD_DIR, {"RIGEL_SIGN_PASSWORD": PASSWORD},
             "RIGEL_SIGN_PASSWORD is set but RIGEL_SIGN_PFX is not: name the certificate's "
             "PKCS#12 file in RIGEL_SIGN_PFX"),
            ("wrong password", BUILD_DIR,
             {"RIGEL_SIGN_PFX": cls.code_signing, "RIGEL_SIGN_PASSWORD": "wrong"},
             "cannot open %s with the password in RIGEL_SIGN_PASSWORD: wrong password, or not a "
             "PKCS#12 file" % cls.code_signing),
            ("not for code signing", BUILD_DIR,
             {"RIGEL_SIGN_PFX": cls.server, "RIGEL_SIGN_PASSWORD": PASSWORD},
             "the certificate in %s is not for code signing (extended key usage: TLS Web Server "
             "Authentication)" % cls.server),
            ("version differs", crafted_build("version", version="9.8.7.6"), {},
             "%s's version resource says %s (product %s), but the build is configured for "
             "9.8.7.6: rebuild it" % (DLL, cls.version, cls.version)),
            ("debug information", crafted_build("debug", dll=add_debug_section), {},
             "%s carries debug information (.debug_info): the build keeps it in a separate file"
             % DLL),
            ("too big", crafted_build("big", dll=grow_to(big)), {},
             "%s is %d bytes, more than the 1572864 bytes (1.5 MB) a control may take"
             % (DLL, big)),
            ("foreign import", crafted_build("import", dll=replace_bytes(b"msvcrt.dll\0",
                                                                          b"msvcrx.dll\0")), {},
             "%s imports msvcrx.dll, which Windows does not ship: link it statically" % DLL),
            ("no build", missing, {},
             "%s not found: configure and build %s with a Windows preset (cmake --preset "
             "release)" % (os.path.join(missing, "packaging.json"), missing)),
            # After the DLL was signed into the new folder.
            ("malformed rows", crafted_build("rows", registry_rows=rows), {},
             "malformed registry row in %s: 'only one field\\n'" % rows),
        ]

    def test_each_refusal_names_the_problem_and_leaves_dist_as_it_was(self):
        for name, build_dir, environment, message in self.cases:
            with self.subTest(name):
                parent = scratch("refusals", name.replace(" ", "-"))
                dist = os.path.join(parent, "dist")
                os.makedirs(dist)
                with open(os.path.join(dist, "earlier.txt"), "w", encoding="ascii") as handle:
                    handle.write("an earlier run's package")
                before = folder_contents(dist)
                done = run_package(build_dir, dist, **environment)
                self.assertEqual((done.returncode, done.stderr), (1, "package: %s\n" % message))
                self.assertEqual(done.stdout, "")
                self.assertEqual(folder_contents(dist), before)
                self.assertEqual(os.listdir(parent), ["dist"])

    def test_a_failure_after_work_began_leaves_no_dist_where_there_was_none(self):
        _, build_dir, _, message = self.cases[-1]
        parent = scratch("no-dist")
        done = run_package(build_dir, os.path.join(parent, "dist"))
        self.assertEqual(done.stderr, "package: %s\n" % message)
        self.assertEqual(os.listdir(parent), [])


class Signing(unittest.TestCase):
    def test_a_given_certificate_signs_every_package_and_dist_is_replaced_whole(self):
        pfx, authority = make_pfx("release", "codeSigning")
        dist = scratch("given", "dist")
        os.makedirs(dist)
        with open(os.path.join(dist, "earlier.txt"), "w", encoding="ascii") as handle:
            handle.write("an earlier run's package")
        done = run_package(BUILD_DIR, dist, RIGEL_SIGN_PFX=pfx,
                           RIGEL_SIGN_PASSWORD=PASSWORD)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(done.stdout.splitlines()[0],
                         "Packaged version %s (data service %s), signed with the certificate in "
                         "%s:" % (BUILD["version"], BUILD["data_service"], pfx))
        self.assertEqual(sorted(os.listdir(dist)), ["RigelDetection.cab", DLL,
                                                    "RigelDetection.msi", "symbols"])
        for name in ("RigelDetection.cab", DLL, "RigelDetection.msi"):
            verified = verify(authority, os.path.join(dist, name))
            self.assertEqual(verified.returncode, 0, verified.stdout)
            self.assertIn("Subject: /CN=release\n", verified.stdout)

    def test_without_a_certificate_a_test_only_authority_is_made_once_and_reused(self):
        authority = scratch("test-signing", "ca.crt")
        shutil.rmtree(os.path.dirname(authority), ignore_errors=True)
        first = run_package(BUILD_DIR, scratch("first", "dist"))
        self.assertEqual(first.returncode, 0, first.stderr)
        self.assertIn("signed with the test certificate authority in %s (TEST ONLY - not for "
                      "distribution):" % os.path.dirname(authority), first.stdout)
        with open(authority, "rb") as handle:
            made = handle.read()
        second = run_package(BUILD_DIR, scratch("second", "dist"))
        self.assertEqual(second.returncode, 0, second.stderr)
        with open(authority, "rb") as handle:
            self.assertEqual(handle.read(), made)

        subject = subprocess.run(["openssl", "x509", "-noout", "-subject", "-in", authority],
                                 capture_output=True, text=True, check=True).stdout
        self.assertIn("TEST ONLY - not for distribution", subject)
        verified = verify(authority, scratch("second", "dist", DLL))
        self.assertEqual(verified.returncode, 0, verified.stdout)
        self.assertIn("Microsoft Individual Code Signing purpose", verified.stdout)


def main():
    global BUILD, BUILD_DIR, SCRATCH
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--build-dir", required=True)
    parser.add_argument("--results", required=True)
    options = parser.parse_args()
    with open(os.path.join(options.build_dir, "packaging.json"), encoding="utf-8") as handle:
        BUILD = json.load(handle)
    BUILD_DIR = os.path.abspath(options.build_dir)
    SCRATCH = tempfile.mkdtemp(prefix="rigel-package-tests-")
    try:
        suite = unittest.TestSuite()
        for case in (Refusals, Signing):
            suite.addTests(unittest.TestLoader().loadTestsFromTestCase(case))
        started = time.monotonic()
        result = unittest.TextTestRunner(resultclass=RecordingResult, verbosity=2,
                                         stream=sys.stdout).run(suite)
        os.makedirs(options.results, exist_ok=True)
        write_xml(os.path.join(options.results, "package_tests.xml"), result.cases,
                  time.monotonic() - started)
    finally:
        shutil.rmtree(SCRATCH, ignore_errors=True)
    return 0 if result.wasSuccessful() and result.testsRun > 0 else 1


if __name__ == "__main__":
    sys.exit(main())
