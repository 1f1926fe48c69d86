# SPDX-License-Identifier: Apache-2.0
"""Runs a file of browser tests; exit status 77, with a line, where what they need is not installed."""

import shutil
import sys


def what_is_missing():
    missing = [program for program in ("chromium", "chromedriver") if not shutil.which(program)]
    for module in ("selenium", "pytest"):
        try:
            __import__(module)
        except ImportError:
            missing.append(f"python3-{module}")
    return missing


missing = what_is_missing()
if missing:
    print(f"skipped: {', '.join(missing)} not there (scripts/install-deps web)")
    sys.exit(77)

import pytest  # noqa: E402  (known to be there only now)

sys.exit(pytest.main(["-q", "-rs", "-p", "no:cacheprovider", *sys.argv[1:]]))
