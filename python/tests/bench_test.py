# SPDX-License-Identifier: Apache-2.0
"""The measurement itself works, and loses nothing at a rate that every machine can carry."""

import os
import subprocess
import sys
from pathlib import Path

BENCH = Path(os.environ["LUMENAR_SOURCE"]) / "python" / "bench.py"


def test_nothing_is_lost_at_an_easy_rate():
    ran = subprocess.run([sys.executable, str(BENCH), "--rate", "100", "--seconds", "2"], text=True, timeout=120,
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    assert ran.returncode == 0, ran.stdout
    assert " 0 lost on the way" in ran.stdout
    assert "processor time of this program: " in ran.stdout
