"""Runs the packaging tools (wixl, msibuild, gcab, osslsigncode, openssl)."""

import subprocess

from packaging_error import PackagingError


def run(command, failure, cwd=None):
    """Runs a tool and returns its output; a failure becomes a PackagingError that says what
    failed, followed by the tool's own last words."""
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          cwd=cwd)
    if done.returncode != 0:
        detail = (done.stderr or done.stdout).strip().splitlines()
        raise PackagingError(failure + (": " + detail[-1] if detail else ""))
    return done.stdout
