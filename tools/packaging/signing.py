"""Authenticode signing (SHA-256) with osslsigncode: with the release certificate that
RIGEL_SIGN_PFX names (a PKCS#12 file whose password is in RIGEL_SIGN_PASSWORD), or else with a
certificate authority and signing certificate made here with openssl for tests only."""

import os
import shutil
import subprocess

from command import run
from packaging_error import PackagingError

PFX_VARIABLE = "RIGEL_SIGN_PFX"
PASSWORD_VARIABLE = "RIGEL_SIGN_PASSWORD"
TIMESTAMP_VARIABLE = "RIGEL_SIGN_TIMESTAMP_URL"
DESCRIPTION = "Rigel Detection control"

TEST_ONLY = "TEST ONLY - not for distribution"
TEST_AUTHORITY = "/O=Rigel (%s)/CN=Rigel Detection test code signing authority" % TEST_ONLY
TEST_SIGNER = "/O=Rigel (%s)/CN=Rigel Detection test signer" % TEST_ONLY
# The signer is made anew when it has less than a day left.
RENEW_SECONDS = 86400
SIGNER_EXTENSIONS = ("basicConstraints=critical,CA:FALSE\n"
                     "keyUsage=critical,digitalSignature\n"
                     "extendedKeyUsage=codeSigning\n")
README = ("TEST ONLY. scripts/package made this certificate authority and signing certificate\n"
          "because no release certificate was given (RIGEL_SIGN_PFX). Nothing signed with them\n"
          "is trusted anywhere: never ship such packages, never commit these files.\n")


class Signer:
    def __init__(self, key_arguments, authority, description):
        self.key_arguments = key_arguments
        # The certificate authority to verify against, when one is known.
        self.authority = authority
        self.description = description

    def sign(self, source, target):
        command = ["osslsigncode", "sign"] + self.key_arguments + [
            "-h", "sha256", "-n", DESCRIPTION, "-in", source, "-out", target]
        timestamp = os.environ.get(TIMESTAMP_VARIABLE)
        if timestamp:
            command += ["-ts", timestamp]
        run(command, "signing %s failed" % os.path.basename(target))

    def verify(self, path):
        if self.authority is None:
            return
        output = run(["osslsigncode", "verify", "-CAfile", self.authority, "-in", path],
                     "the signature of %s does not verify" % os.path.basename(path))
        if "Signature verification: ok" not in output:
            raise PackagingError("the signature of %s does not verify" % os.path.basename(path))


def choose(environ, test_directory, work):
    """The release certificate's signer when RIGEL_SIGN_PFX is set, else the test-only one."""
    pfx = environ.get(PFX_VARIABLE, "")
    password = environ.get(PASSWORD_VARIABLE)
    if not pfx:
        if password is not None:
            raise PackagingError("%s is set but %s is not: name the certificate's PKCS#12 file "
                                 "in %s" % (PASSWORD_VARIABLE, PFX_VARIABLE, PFX_VARIABLE))
        return test_signer(test_directory)
    if password is None:
        raise PackagingError("%s is set but %s is not: give the password of %s in %s"
                             % (PFX_VARIABLE, PASSWORD_VARIABLE, pfx, PASSWORD_VARIABLE))
    return release_signer(pfx, password, work)


# -- the release certificate -------------------------------------------------------------------

def read_pkcs12(pfx, password, what):
    """Certificates of the PKCS#12 file; the password travels in the environment, never on a
    command line. Files exported by older Windows use algorithms OpenSSL 3 calls legacy."""
    env = dict(os.environ, RIGEL_PKCS12_PASSWORD=password)
    base = ["openssl", "pkcs12", "-in", pfx, "-nokeys", what, "-passin",
            "env:RIGEL_PKCS12_PASSWORD"]
    for extra in ([], ["-legacy"]):
        done = subprocess.run(base + extra, stdin=subprocess.DEVNULL, capture_output=True,
                              text=True, env=env)
        if done.returncode == 0:
            return done.stdout
    raise PackagingError("cannot open %s with the password in %s: wrong password, or not a "
                         "PKCS#12 file" % (pfx, PASSWORD_VARIABLE))


def certificate_text(pem, *options):
    done = subprocess.run(["openssl", "x509", "-noout"] + list(options), input=pem,
                          capture_output=True, text=True)
    return done.returncode, done.stdout


def check_code_signing(pfx, pem):
    _, usage = certificate_text(pem, "-ext", "extendedKeyUsage")
    purposes = [line.strip() for line in usage.splitlines()[1:] if line.strip()]
    if "Code Signing" not in ", ".join(purposes):
        raise PackagingError("the certificate in %s is not for code signing (extended key "
                             "usage: %s)" % (pfx, ", ".join(purposes) or "none"))
    expired, end = certificate_text(pem, "-checkend", "0", "-enddate")
    if expired != 0:
        raise PackagingError("the certificate in %s has expired (%s)"
                             % (pfx, end.strip().partition("=")[2]))


def release_signer(pfx, password, work):
    if not os.path.isfile(pfx):
        raise PackagingError("%s names %s, which is not a file" % (PFX_VARIABLE, pfx))
    check_code_signing(pfx, read_pkcs12(pfx, password, "-clcerts"))
    # The chain that came with the certificate, if any, is what the packages are verified with.
    chain = read_pkcs12(pfx, password, "-cacerts")
    authority = None
    if "BEGIN CERTIFICATE" in chain:
        authority = os.path.join(work, "chain.pem")
        with open(authority, "w", encoding="ascii") as handle:
            handle.write(chain)
    password_file = os.path.join(work, "password")
    with open(os.open(password_file, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600), "w",
              encoding="utf-8") as handle:
        handle.write(password)
    return Signer(["-pkcs12", pfx, "-readpass", password_file], authority,
                  "the certificate in %s" % pfx)


# -- the test-only certificate -----------------------------------------------------------------

def test_signer(directory):
    directory = os.path.abspath(directory)
    signer = os.path.join(directory, "signer.crt")
    complete = all(os.path.isfile(os.path.join(directory, name))
                   for name in ("ca.crt", "signer.crt", "signer.key"))
    if not complete or subprocess.run(
            ["openssl", "x509", "-noout", "-checkend", str(RENEW_SECONDS), "-in", signer],
            capture_output=True).returncode != 0:
        make_test_authority(directory)
    return Signer(["-certs", signer, "-key", os.path.join(directory, "signer.key")],
                  os.path.join(directory, "ca.crt"),
                  "the test certificate authority in %s (%s)" % (directory, TEST_ONLY))


def make_test_authority(directory):
    """A root authority and a code-signing certificate it issued, made in a fresh folder that
    replaces the old one only when complete."""
    fresh = directory + ".new"
    shutil.rmtree(fresh, ignore_errors=True)
    os.makedirs(fresh)

    def path(name):
        return os.path.join(fresh, name)

    failure = "making the test certificate authority failed"
    run(["openssl", "req", "-x509", "-newkey", "rsa:3072", "-nodes", "-sha256", "-days", "3650",
         "-subj", TEST_AUTHORITY, "-keyout", path("ca.key"), "-out", path("ca.crt"),
         "-addext", "basicConstraints=critical,CA:TRUE",
         "-addext", "keyUsage=critical,keyCertSign,cRLSign"], failure)
    run(["openssl", "req", "-newkey", "rsa:3072", "-nodes", "-sha256", "-subj", TEST_SIGNER,
         "-keyout", path("signer.key"), "-out", path("signer.csr")], failure)
    with open(path("signer.ext"), "w", encoding="ascii") as handle:
        handle.write(SIGNER_EXTENSIONS)
    run(["openssl", "x509", "-req", "-sha256", "-days", "730", "-in", path("signer.csr"),
         "-CA", path("ca.crt"), "-CAkey", path("ca.key"), "-set_serial",
         str(int.from_bytes(os.urandom(8), "big")), "-extfile", path("signer.ext"),
         "-out", path("signer.crt")], failure)
    with open(path("README"), "w", encoding="ascii") as handle:
        handle.write(README)
    old = directory + ".old"
    shutil.rmtree(old, ignore_errors=True)
    if os.path.isdir(directory):
        os.rename(directory, old)
    os.rename(fresh, directory)
    shutil.rmtree(old, ignore_errors=True)
