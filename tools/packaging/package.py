#!/usr/bin/env python3
"""Turns a Windows build of the detection control into the packages a site deploys, in a dist
folder: the signed DLL; a per-machine MSI that installs it under the 64-bit Program Files folder
and writes its COM registration as registry rows; a CAB with its INF for a page's
<object codebase=...>; all three signed with Authenticode (SHA-256). The DLL's debug information
goes to symbols/ beside them, for crash analysis.

    package.py --build-dir DIR --dist DIR [--signing-dir DIR]

DIR/packaging.json (written by the build) names the DLL, its debug information, the installer's
registry rows and the configured version. Signs with RIGEL_SIGN_PFX and RIGEL_SIGN_PASSWORD when
set, else with a test-only certificate authority kept in --signing-dir. Everything is made in a
folder of its own that replaces dist only when complete: on any error dist stays as it was.
Needs wixl, msibuild, msiinfo (msitools), gcab, osslsigncode and openssl.
"""

import argparse
import json
import os
import shutil
import string
import sys
import tempfile
import uuid
from xml.sax.saxutils import quoteattr

import signing
from command import run
from packaging_error import PackagingError
from pe_file import PeError, PeFile

HERE = os.path.dirname(os.path.abspath(__file__))
DLL = "RigelDetection.dll"
MSI = "RigelDetection.msi"
CAB = "RigelDetection.cab"
INF = "RigelDetection.inf"
SYMBOLS = "symbols"

# Fixed for the product's lifetime: a newer version replaces an older one through it.
UPGRADE_CODE = "{6B0A2C8E-3D71-4F59-9E24-8C1B5A7D0F36}"
COMPONENT_GUID = "{4E7F6A2B-91C3-4D85-A0B6-2C9D8E1F3A57}"

# A control that a page downloads must stay small.
MAX_DLL_BYTES = 1536 * 1024
# What Windows itself ships: a control may import nothing else.
SYSTEM_DLLS = {
    "advapi32.dll", "bcrypt.dll", "cfgmgr32.dll", "comctl32.dll", "comdlg32.dll", "crypt32.dll",
    "d3d9.dll", "d3d10.dll", "d3d11.dll", "dbghelp.dll", "dxgi.dll", "gdi32.dll",
    "iphlpapi.dll", "kernel32.dll", "msi.dll", "msvcrt.dll", "ntdll.dll", "ole32.dll",
    "oleaut32.dll", "powrprof.dll", "rpcrt4.dll", "secur32.dll", "setupapi.dll", "shell32.dll",
    "shlwapi.dll", "user32.dll", "userenv.dll", "version.dll", "wininet.dll", "winmm.dll",
    "wintrust.dll", "ws2_32.dll", "wtsapi32.dll",
}
TOOLS = ["wixl", "msibuild", "msiinfo", "gcab", "osslsigncode", "openssl"]


# -- what the build made ---------------------------------------------------------------------

class Build:
    def __init__(self, build_dir):
        manifest = os.path.join(build_dir, "packaging.json")
        try:
            with open(manifest, encoding="utf-8") as handle:
                fields = json.load(handle)
        except OSError:
            raise PackagingError("%s not found: configure and build %s with a Windows preset "
                                 "(cmake --preset release)" % (manifest, build_dir))
        except ValueError as error:
            raise PackagingError("%s is not valid JSON: %s" % (manifest, error))
        self.version = fields["version"]
        self.dll = fields["dll"]
        self.debug = fields["debug"]
        self.registry_rows = fields["registry_rows"]
        self.data_service = fields["data_service"]
        for path in (self.dll, self.debug, self.registry_rows):
            if not os.path.isfile(path):
                raise PackagingError("%s is missing: build %s first" % (path, build_dir))

    def version_commas(self):
        return self.version.replace(".", ",")

    def rows(self):
        """(key, name, value) of each installer registry row."""
        rows = []
        with open(self.registry_rows, encoding="ascii") as handle:
            for line in handle:
                fields = line.rstrip("\n").split("\t")
                if len(fields) != 3:
                    raise PackagingError("malformed registry row in %s: %r"
                                         % (self.registry_rows, line))
                rows.append(tuple(fields))
        return rows

    def class_id(self):
        for key, name, _ in self.rows():
            parts = key.split("\\")
            if len(parts) == 3 and parts[0] == "CLSID" and parts[2] == "InprocServer32" \
                    and name == "":
                return parts[1]
        raise PackagingError("%s registers no in-process class" % self.registry_rows)


def check_dll(build):
    """The DLL must be what a site can deploy: its version resource says the configured version,
    it is small, carries no debug information and imports only what Windows ships."""
    name = os.path.basename(build.dll)
    try:
        image = PeFile(build.dll)
        file_version, product_version = image.versions()
        imports = image.imports()
        sections = image.section_names()
    except PeError as error:
        raise PackagingError(str(error))
    if (file_version, product_version) != (build.version, build.version):
        raise PackagingError(
            "%s's version resource says %s (product %s), but the build is configured for %s: "
            "rebuild it" % (name, file_version, product_version, build.version))
    size = os.path.getsize(build.dll)
    if size > MAX_DLL_BYTES:
        raise PackagingError("%s is %d bytes, more than the %d bytes (1.5 MB) a control may take"
                             % (name, size, MAX_DLL_BYTES))
    debug = [section for section in sections if section.startswith(".debug")]
    if debug:
        raise PackagingError("%s carries debug information (%s): the build keeps it in a "
                             "separate file" % (name, ", ".join(debug)))
    foreign = [dll for dll in imports if dll.lower() not in SYSTEM_DLLS]
    if foreign:
        raise PackagingError("%s imports %s, which Windows does not ship: link it statically"
                             % (name, ", ".join(foreign)))


def check_tools():
    missing = [tool for tool in TOOLS if shutil.which(tool) is None]
    if missing:
        raise PackagingError("%s not found: run scripts/bootstrap" % ", ".join(missing))


# -- the packages ----------------------------------------------------------------------------

def template(name, **fields):
    with open(os.path.join(HERE, name), encoding="utf-8") as handle:
        return string.Template(handle.read()).substitute(fields)


def registry_xml(rows):
    lines = []
    for key, name, value in rows:
        name_attribute = "" if name == "" else " Name=%s" % quoteattr(name)
        lines.append('            <RegistryValue Root="HKCR" Key=%s%s Type="string" Value=%s/>'
                     % (quoteattr(key), name_attribute, quoteattr(value)))
    return "\n".join(lines)


def product_code(version):
    """Each version has its own product code, the same whenever that version is packaged."""
    return "{%s}" % str(uuid.uuid5(uuid.UUID(UPGRADE_CODE), version)).upper()


def msi_table(msi, table):
    """The rows of one table of the MSI (msiinfo export), without the three header lines."""
    lines = run(["msiinfo", "export", msi, table], "reading table %s of the MSI" % table)
    return [line.rstrip("\r").split("\t") for line in lines.splitlines()[3:] if line]


def make_msi(build, signed_dll, work, target, signer):
    rows = build.rows()
    source = os.path.join(work, "RigelDetection.wxs")
    with open(source, "w", encoding="utf-8") as handle:
        handle.write(template("RigelDetection.wxs", product_code=product_code(build.version),
                              version=build.version, upgrade_code=UPGRADE_CODE,
                              component_guid=COMPONENT_GUID, dll=DLL,
                              registry_rows=registry_xml(rows)))
    unsigned = os.path.join(work, "unsigned.msi")
    # wixl takes sources relative to the folder it runs in.
    run(["wixl", "-a", "x64", "-o", unsigned, source], "wixl failed",
        cwd=os.path.dirname(signed_dll))
    # wixl leaves a versioned file without its version (and hashes it instead, as for data
    # files); Windows Installer compares versions when it replaces a file.
    run(["msibuild", unsigned,
         "-q", "UPDATE `File` SET `Version` = '%s' WHERE `File` = '%s'" % (build.version, DLL),
         "-q", "DELETE FROM `MsiFileHash` WHERE `File_` = '%s'" % DLL],
        "fixing the MSI's file table failed")
    check_msi(unsigned, build, rows)
    signer.sign(unsigned, target)
    signer.verify(target)


def check_msi(msi, build, rows):
    """wixl drops what it does not know with a warning only: the tables must hold what the
    source asked for."""
    files = msi_table(msi, "File")
    if [(row[0], row[4]) for row in files] != [(DLL, build.version)]:
        raise PackagingError("the MSI's file table is not the one versioned DLL: %r" % files)
    components = msi_table(msi, "Component")
    if len(components) != 1 or not int(components[0][3]) & 256:
        raise PackagingError("the MSI's component is not 64-bit: %r" % components)
    registry = msi_table(msi, "Registry")
    if sorted((row[2], row[3], row[4]) for row in registry) != sorted(rows):
        raise PackagingError("the MSI's registry table differs from the registry rows")
    if msi_table(msi, "MsiFileHash"):
        raise PackagingError("the MSI still hashes the versioned DLL")


def make_cab(build, signed_dll, work, target, signer):
    contents = os.path.join(work, "cab")
    os.makedirs(contents)
    shutil.copyfile(signed_dll, os.path.join(contents, DLL))
    with open(os.path.join(contents, INF), "w", encoding="ascii", newline="\r\n") as handle:
        handle.write(template(INF, clsid=build.class_id(), version_commas=build.version_commas()))
    unsigned = os.path.join(work, "unsigned.cab")
    run(["gcab", "-c", "-z", unsigned, INF, DLL], "gcab failed", cwd=contents)
    listed = [line.split()[0] for line in
              run(["gcab", "-l", unsigned], "listing the CAB failed").splitlines() if line]
    if sorted(listed) != sorted([INF, DLL]):
        raise PackagingError("the CAB holds %r instead of the INF and the DLL" % listed)
    signer.sign(unsigned, target)
    signer.verify(target)


def make_packages(build, signer, work, stage):
    signed_dll = os.path.join(stage, DLL)
    signer.sign(build.dll, signed_dll)
    signer.verify(signed_dll)
    make_msi(build, signed_dll, work, os.path.join(stage, MSI), signer)
    make_cab(build, signed_dll, work, os.path.join(stage, CAB), signer)
    os.makedirs(os.path.join(stage, SYMBOLS))
    shutil.copyfile(build.debug, os.path.join(stage, SYMBOLS, DLL + ".debug"))


def replace_dist(stage, dist):
    old = None
    if os.path.exists(dist):
        old = tempfile.mkdtemp(prefix=".dist-old-", dir=os.path.dirname(dist))
        os.rename(dist, os.path.join(old, "dist"))
    try:
        os.rename(stage, dist)
    except OSError:
        if old:
            os.rename(os.path.join(old, "dist"), dist)
            os.rmdir(old)
        raise
    if old:
        shutil.rmtree(old)


def package(build_dir, dist, signing_dir, environ):
    build = Build(build_dir)
    check_dll(build)
    check_tools()
    dist = os.path.abspath(dist)
    parent = os.path.dirname(dist)
    os.makedirs(parent, exist_ok=True)
    with tempfile.TemporaryDirectory(prefix="rigel-package-") as work:
        signer = signing.choose(environ, signing_dir, work)
        # Next to dist, so that moving it into place is a rename.
        stage = tempfile.mkdtemp(prefix=".dist-new-", dir=parent)
        os.chmod(stage, 0o755)
        try:
            make_packages(build, signer, work, stage)
            replace_dist(stage, dist)
        except BaseException:
            shutil.rmtree(stage, ignore_errors=True)
            raise
    return build, signer


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--build-dir", required=True, help="a Windows build of the control")
    parser.add_argument("--dist", required=True, help="the folder to fill (replaced whole)")
    parser.add_argument("--signing-dir", default=os.path.join("build", "test-signing"),
                        help="where the test-only certificate authority is kept")
    options = parser.parse_args(argv)
    try:
        build, signer = package(options.build_dir, options.dist, options.signing_dir, os.environ)
    except (PackagingError, OSError) as error:
        print("package: %s" % error, file=sys.stderr)
        return 1
    print("Packaged version %s (data service %s), signed with %s:"
          % (build.version, build.data_service, signer.description))
    for name in (DLL, MSI, CAB, os.path.join(SYMBOLS, DLL + ".debug")):
        path = os.path.join(options.dist, name)
        print("  %-40s %10d bytes" % (path, os.path.getsize(path)))
    return 0


if __name__ == "__main__":
    sys.exit(main())
