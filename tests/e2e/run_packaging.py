#!/usr/bin/env python3
"""The packages end to end under Wine: scripts/package turns a Windows build into a dist folder,
and in a fresh Wine prefix the MSI is installed, used and removed, an older version is upgraded,
the CAB is unpacked and its DLL registered, and every signature is checked.

    run_packaging.py --build-dir DIR --dll DLL --capture debug_capture.exe
                     --mta-client mta_client.exe --results DIR
                     [--port 18080] [--work DIR] [--fixture-service DIR]

--build-dir is the Windows build that scripts/package packages; its DLL (--dll) must talk to the
data service on --port, which this runner starts. The results are also written to
DIR/packaging_tests.xml in the GoogleTest format. Standard library only.
"""

import configparser
import json
import os
import shutil
import subprocess
import sys
import unittest
import uuid

from e2e_support import SOURCE, main, option_parser, parse_results
from registry_snapshot import Difference, export

CLSID = "{3234EB1E-733E-4E6A-A8AB-EBB6287E5A7E}"
DLL = "RigelDetection.dll"
MSI = "RigelDetection.msi"
CAB = "RigelDetection.cab"
INF = "RigelDetection.inf"
PRODUCT = "Rigel Detection"

REFERRER = "packaging"
GROUPS = {REFERRER: [71424, 71218, 71206], "*": []}

INSTALL_FOLDER = "C:\\Program Files\\Rigel Detection"
INSTALLED_DLL = INSTALL_FOLDER + "\\" + DLL
CLASSES = "HKLM\\Software\\Classes"
# The same, as exports name it, in lower case.
CLASSES_KEY = "hkey_local_machine\\software\\classes"
# Windows Installer's own records of installed products, below the classes root.
INSTALLER_RECORDS = CLASSES_KEY + "\\installer"
UNINSTALL = "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall"

ENV = None
OPTIONS = None
# Set by the tests that make them, read by later ones.
SHARED = {}


def dist(name=""):
    return os.path.join(ENV.work, "dist", name)


def configured_version():
    with open(os.path.join(OPTIONS.build_dir, "packaging.json"), encoding="utf-8") as handle:
        return json.load(handle)["version"]


def setUpModule():
    # A fresh prefix: nothing of an earlier run may be found installed, and no server of an
    # earlier run may still hold its registry.
    if os.path.isdir(ENV.prefix):
        ENV.script("wine-prefix", "stop", ENV.prefix)
        shutil.rmtree(ENV.prefix)
    package()
    ENV.set_up(register=False)


def package():
    """scripts/package on the build, signed with a test authority of this run's own."""
    shutil.rmtree(dist(), ignore_errors=True)
    env = {name: value for name, value in os.environ.items()
           if not name.startswith("RIGEL_SIGN_")}
    done = subprocess.run(
        [os.path.join(SOURCE, "scripts", "package"), "--build-dir", OPTIONS.build_dir,
         "--dist", dist(), "--signing-dir", os.path.join(ENV.work, "signing")],
        stdin=subprocess.DEVNULL, capture_output=True, text=True, env=env, timeout=600)
    print(done.stdout, end="")
    if done.returncode != 0:
        raise RuntimeError("scripts/package failed with %d: %s" % (done.returncode,
                                                                   done.stderr))


# ---------------------------------------------------------------------------------------------
# Helpers

def msiexec(action, package_path, log_name):
    log = ENV.windows_path(os.path.join(ENV.work, log_name))
    return ENV.wine("msiexec", action, ENV.windows_path(package_path), "/qn", "/l*v", log)[0]


def classes(name):
    return export(ENV, CLASSES, name)


def com_keys(before, after):
    """What an installation changed below the classes root, less the installer's own records."""
    return Difference(before.without(INSTALLER_RECORDS), after.without(INSTALLER_RECORDS))


def split(comparable, prefix):
    """Splits a comparable difference at prefix: (what lies below it, prefix taken off; the
    rest)."""
    def key_of(entry):
        return entry if isinstance(entry, str) else entry[0]

    def strip(entry):
        if isinstance(entry, str):
            return entry[len(prefix):]
        return (entry[0][len(prefix):],) + entry[1:]

    below = tuple({entry for entry in part if key_of(entry).startswith(prefix)}
                  for part in comparable)
    rest = tuple(part - inside for part, inside in zip(comparable, below))
    return tuple({strip(entry) for entry in part} for part in below), rest


def products(name):
    """Version of each installed product named Rigel Detection, by its uninstall key."""
    snapshot = export(ENV, UNINSTALL, name)
    found = {}
    for (key, value_name), (_, _, data) in snapshot.values.items():
        if value_name == "displayname" and data == '"%s"' % PRODUCT:
            version = snapshot.values.get((key, "displayversion"), (None, None, '""'))[2]
            found[key.rsplit("\\", 1)[-1]] = version.strip('"')
    return found


def installed_file():
    """The installed DLL as a file of the host."""
    return os.path.join(ENV.prefix, "drive_c", "Program Files", "Rigel Detection", DLL)


def same_bytes(first, second):
    with open(first, "rb") as one, open(second, "rb") as other:
        return one.read() == other.read()


def mta_client(name):
    results = os.path.join(ENV.work, name + ".results")
    if os.path.exists(results):
        os.remove(results)
    code, output = ENV.wine(ENV.windows_path(OPTIONS.mta_client), ENV.windows_path(results))
    parsed = parse_results(results) if os.path.exists(results) else {}
    return code, parsed, output


def assert_detects(test, run):
    test.assertEqual(run.exit_code, 0, run.describe())
    test.assertEqual(run.results.get("version"), configured_version())
    test.assertTrue(run.results.get("sysinfo", "").startswith("<groups><group "),
                    run.describe())


def assert_marshaled(test, client):
    code, results, output = client
    test.assertEqual(code, 0, "%r %r" % (results, output))
    test.assertEqual({name: results.get(name) for name in ("apartment", "create.hr", "proxy",
                                                            "version.hr", "version")},
                     {"apartment": "MTA", "create.hr": "0x00000000", "proxy": "yes",
                      "version.hr": "0x00000000", "version": configured_version()})
    test.assertTrue(results.get("sysinfo", "").startswith("<groups><group "), results)


# ---------------------------------------------------------------------------------------------
# The tests, in the order they run

class Packages(unittest.TestCase):
    def test_dist_holds_the_three_packages_and_the_symbols(self):
        self.assertEqual(sorted(os.listdir(dist())), [CAB, DLL, MSI, "symbols"])
        self.assertEqual(os.listdir(dist("symbols")), [DLL + ".debug"])
        for name in (DLL, MSI, CAB):
            print("  %-20s %9d bytes" % (name, os.path.getsize(dist(name))))

    def test_each_signature_verifies_and_a_changed_byte_breaks_it(self):
        authority = os.path.join(ENV.work, "signing", "ca.crt")
        for name in (DLL, MSI, CAB):
            with self.subTest(name):
                verified = self.verify(authority, dist(name))
                self.assertEqual(verified.returncode, 0, verified.stdout)
                self.assertIn("Signature verification: ok", verified.stdout)
                print("  %s: %s" % (name, " | ".join(line.strip() for line in
                                                     verified.stdout.splitlines() if
                                                     line.startswith(("Signature verif",
                                                                      "Succeeded")))))
                changed = os.path.join(ENV.work, "changed-" + name)
                with open(dist(name), "rb") as handle:
                    data = bytearray(handle.read())
                data[len(data) // 2] ^= 0xFF
                with open(changed, "wb") as handle:
                    handle.write(data)
                broken = self.verify(authority, changed)
                self.assertEqual(broken.returncode, 1, broken.stdout)
                self.assertIn("MISMATCH", broken.stdout)
                print("  %s with one byte changed: exit %d, %s" % (
                    name, broken.returncode, " | ".join(
                        line.strip() for line in broken.stdout.splitlines()
                        if "MISMATCH" in line or line.startswith("Failed"))))

    @staticmethod
    def verify(authority, path):
        return subprocess.run(["osslsigncode", "verify", "-CAfile", authority, "-in", path],
                              stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              timeout=60)


class Cab(unittest.TestCase):
    """The CAB as a page's codebase delivers it: unpacked by Windows, its DLL registered by the
    INF's RegisterServer and then used by a script."""

    @classmethod
    def setUpClass(cls):
        cls.folder = os.path.join(ENV.work, "cab")
        shutil.rmtree(cls.folder, ignore_errors=True)
        os.makedirs(cls.folder)
        cls.extracted = ENV.wine("extrac32", "/E", "/L", ENV.windows_path(cls.folder),
                                 ENV.windows_path(dist(CAB)))
        inf = configparser.ConfigParser(interpolation=None, comment_prefixes=(";",))
        inf.read(os.path.join(cls.folder, INF), encoding="ascii")
        cls.inf = {section: dict(inf[section]) for section in inf.sections()}
        dll = ENV.windows_path(os.path.join(cls.folder, DLL))
        cls.registered = ENV.wine("regsvr32", "/s", dll)
        cls.scenario = ENV.run_scenario("installed.js", REFERRER, dll)
        cls.unregistered = ENV.wine("regsvr32", "/u", "/s", dll)
        cls.class_left = ENV.wine("reg", "query", "HKCR\\CLSID\\" + CLSID)[0] == 0

    def test_extracts_to_the_inf_and_the_signed_dll(self):
        self.assertEqual(self.extracted[0], 0, self.extracted[1])
        self.assertEqual(sorted(os.listdir(self.folder)), [DLL, INF])
        self.assertTrue(same_bytes(os.path.join(self.folder, DLL), dist(DLL)))

    def test_inf_names_the_dll_its_class_and_the_version_windows_reads_from_it(self):
        version = self.scenario.results.get("file_version")
        self.assertEqual(version, configured_version())
        self.assertEqual(self.inf, {
            "version": {"signature": '"$CHICAGO$"', "advancedinf": "2.0"},
            "Add.Code": {"rigeldetection.dll": DLL},
            DLL: {"file": "thiscab", "clsid": CLSID, "fileversion": version.replace(".", ","),
                  "registerserver": "yes"},
        })

    def test_sample_page_takes_the_control_from_the_cab_at_that_version(self):
        with open(os.path.join(SOURCE, "samples", "page.html"), encoding="utf-8") as handle:
            page = handle.read()
        self.assertIn('codebase="%s#version=%s"' % (CAB, self.inf[DLL]["fileversion"]), page)

    def test_extracted_dll_registers_and_detects(self):
        self.assertEqual(self.registered[0], 0, self.registered[1])
        assert_detects(self, self.scenario)
        self.assertEqual(self.unregistered[0], 0, self.unregistered[1])
        self.assertFalse(self.class_left)


class MsiInstall(unittest.TestCase):
    """A silent per-machine install, the control used by a script and an MTA client, the
    uninstall; then regsvr32 on a copy at the same path, for the keys to compare with."""

    @classmethod
    def setUpClass(cls):
        ENV.reset()
        cls.before = classes("before-install")
        cls.installed = msiexec("/i", dist(MSI), "install.log")
        cls.after = classes("after-install")
        cls.products = products("products-installed")
        cls.file_installed = os.path.exists(installed_file()) and same_bytes(installed_file(),
                                                                                  dist(DLL))
        cls.scenario = ENV.run_scenario("installed.js", REFERRER)
        cls.uploads = ENV.uploads()
        cls.mta_installed = mta_client("mta-installed")
        cls.removed = msiexec("/x", dist(MSI), "uninstall.log")
        cls.after_removal = classes("after-uninstall")
        cls.products_after_removal = products("products-removed")
        cls.folder_left = os.path.exists(os.path.dirname(installed_file()))

        os.makedirs(os.path.dirname(installed_file()))
        shutil.copyfile(dist(DLL), installed_file())
        cls.self_registered = ENV.wine("regsvr32", "/s", INSTALLED_DLL)
        cls.after_regsvr32 = classes("after-regsvr32")
        cls.mta_self_registered = mta_client("mta-regsvr32")
        cls.self_unregistered = ENV.wine("regsvr32", "/u", "/s", INSTALLED_DLL)
        cls.after_regsvr32_u = classes("after-regsvr32-u")
        shutil.rmtree(os.path.dirname(installed_file()))

        SHARED["installed keys"] = com_keys(cls.before, cls.after)

    def test_msiexec_installs_the_dll_under_program_files_as_one_product(self):
        self.assertEqual(self.installed, 0)
        self.assertTrue(self.file_installed)
        self.assertEqual(list(self.products.values()), [configured_version()])

    def test_installed_keys_are_those_regsvr32_writes_key_by_key_and_value_by_value(self):
        installed = com_keys(self.before, self.after).comparable()
        registered = com_keys(self.after_removal, self.after_regsvr32).comparable()
        self.assertEqual(self.self_registered[0], 0, self.self_registered[1])
        # Wine's RegisterTypeLib also registers the interface in the registry's 32-bit view, where
        # no client of a 64-bit in-process control looks: that twin is all regsvr32 adds.
        twin, registered = split(registered, CLASSES_KEY + "\\wow6432node\\interface\\")
        self.assertEqual(twin, split(installed, CLASSES_KEY + "\\interface\\")[0])
        self.assertEqual(installed, registered)
        self.assertIn(CLASSES_KEY + "\\typelib\\{bfa93d95-8544-4914-9bdd-4a26817125f1}\\1.0"
                      "\\0\\win64", installed[0])
        print("  the MSI added %d keys and %d values below %s" % (len(installed[0]),
                                                                 len(installed[1]), CLASSES))

    def test_a_script_creates_the_installed_control_by_progid_and_reads_a_report(self):
        assert_detects(self, self.scenario)
        self.assertEqual([(u["referrer"], u["report"]) for u in self.uploads],
                         [(REFERRER, self.scenario.results["sysinfo"])])

    def test_an_mta_client_calls_through_the_proxy_after_either_registration(self):
        assert_marshaled(self, self.mta_installed)
        assert_marshaled(self, self.mta_self_registered)

    def test_msiexec_x_leaves_no_key_and_no_file(self):
        self.assertEqual(self.removed, 0)
        removal = com_keys(self.before, self.after_removal)
        self.assertTrue(removal.is_empty(), removal.describe())
        # Windows Installer keeps the folders of its own records, empty.
        records = Difference(self.before, self.after_removal)
        self.assertEqual(records.added_values, [])
        self.assertTrue(set(key.lower() for key in records.added_keys) <= {
            INSTALLER_RECORDS, INSTALLER_RECORDS + "\\features", INSTALLER_RECORDS + "\\products",
            INSTALLER_RECORDS + "\\upgradecodes"}, records.describe())
        self.assertFalse(self.folder_left)
        self.assertEqual(self.products_after_removal, {})
        added = com_keys(self.before, self.after).added_keys
        removed = com_keys(self.after, self.after_removal).removed_keys
        print("  msiexec /x removed %d of the %d keys the install added" % (
            len(set(added) & set(removed)), len(added)))

    def test_regsvr32_u_leaves_no_key(self):
        self.assertEqual(self.self_unregistered[0], 0, self.self_unregistered[1])
        removal = Difference(self.after_removal, self.after_regsvr32_u)
        self.assertTrue(removal.is_empty(), removal.describe())


def lower_version(version):
    """The version with its last non-zero field lowered by one."""
    fields = [int(field) for field in version.split(".")]
    last = max(i for i, field in enumerate(fields) if field > 0)
    fields[last] -= 1
    return ".".join(str(field) for field in fields)


class Upgrade(unittest.TestCase):
    """An older version installed first, then the package: one product is left."""

    @classmethod
    def setUpClass(cls):
        cls.older_version = lower_version(configured_version())
        cls.older = os.path.join(ENV.work, "older.msi")
        shutil.copyfile(dist(MSI), cls.older)
        # The same package as an older release: its own version, product and package codes.
        subprocess.run(["msibuild", cls.older,
                        "-q", "UPDATE `Property` SET `Value` = '%s' WHERE `Property` = "
                              "'ProductVersion'" % cls.older_version,
                        "-q", "UPDATE `Property` SET `Value` = '{%s}' WHERE `Property` = "
                              "'ProductCode'" % str(uuid.uuid4()).upper(),
                        "-s", "%s %s" % (PRODUCT, cls.older_version), "Rigel", "x64;1033",
                        "{%s}" % str(uuid.uuid4()).upper()],
                       check=True, capture_output=True, timeout=60)
        cls.before = classes("before-upgrade")
        cls.older_installed = msiexec("/i", cls.older, "older.log")
        cls.products_older = products("products-older")
        cls.upgraded = msiexec("/i", dist(MSI), "upgrade.log")
        cls.products_upgraded = products("products-upgraded")
        cls.after = classes("after-upgrade")
        cls.removed = msiexec("/x", dist(MSI), "upgrade-uninstall.log")
        cls.after_removal = classes("after-upgrade-uninstall")

    def test_the_newer_version_replaces_the_older_one(self):
        self.assertEqual(self.older_installed, 0)
        self.assertEqual(list(self.products_older.values()), [self.older_version])
        self.assertEqual(self.upgraded, 0)
        self.assertEqual(list(self.products_upgraded.values()), [configured_version()])
        self.assertNotEqual(list(self.products_upgraded), list(self.products_older))

    def test_the_upgraded_control_has_the_keys_of_a_fresh_install(self):
        upgraded = com_keys(self.before, self.after)
        self.assertEqual(upgraded.comparable(), SHARED["installed keys"].comparable(),
                         upgraded.describe())

    def test_uninstalling_the_upgrade_leaves_nothing(self):
        self.assertEqual(self.removed, 0)
        removal = Difference(self.before, self.after_removal)
        self.assertTrue(removal.is_empty(), removal.describe())
        self.assertFalse(os.path.exists(os.path.dirname(installed_file())))


ORDER = [Packages, Cab, MsiInstall, Upgrade]


def bind(env, options):
    global ENV, OPTIONS
    ENV = env
    OPTIONS = options


if __name__ == "__main__":
    PARSER = option_parser(__doc__.split("\n\n")[0])
    PARSER.add_argument("--build-dir", required=True, help="the Windows build to package")
    PARSER.add_argument("--mta-client", required=True, help="mta_client.exe")
    sys.exit(main(ORDER, bind, GROUPS, "packaging_tests.xml", PARSER))
