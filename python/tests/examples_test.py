# SPDX-License-Identifier: Apache-2.0
"""The examples run as they stand."""

import json
import os
import subprocess
import sys
from pathlib import Path

import pytest

from platform_of_processes import Platform

EXAMPLES = Path(os.environ["LUMENAR_SOURCE"]) / "examples"


@pytest.fixture(scope="module")
def probe():
    with Platform(readings="") as running:
        running.start_engine("probe")
        yield running


def run(probe, directory, *command, backend="Agg"):
    pytest.importorskip("matplotlib", reason="matplotlib is not installed (scripts/install-deps notebook)")
    environment = {**probe.environment, "PYTHONPATH": os.environ["PYTHONPATH"], "MPLBACKEND": backend,
                   "MPLCONFIGDIR": str(directory), "HOME": str(directory)}
    return subprocess.run([sys.executable, *map(str, command)], cwd=directory, env=environment, text=True, timeout=240,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)


def code_of(notebook):
    cells = json.loads(notebook.read_text())["cells"]
    return "\n".join("".join(cell["source"]) for cell in cells if cell["cell_type"] == "code")


def leaves_nothing(probe):
    return not probe.mathctl("list").splitlines()[1:] and "NOTEBOOK" not in probe.mathctl("engines")


def test_the_notebook_s_cells_run(probe, tmp_path):
    ran = run(probe, tmp_path, "-c", code_of(EXAMPLES / "lumenar.ipynb"))
    assert ran.returncode == 0, ran.stdout
    assert leaves_nothing(probe)


def test_the_notebook_runs_as_one(probe, tmp_path):
    pytest.importorskip("nbconvert", reason="nbconvert is not installed (scripts/install-deps notebook)")
    pytest.importorskip("ipykernel", reason="ipykernel is not installed (scripts/install-deps notebook)")
    ran = run(probe, tmp_path, "-m", "nbconvert", "--to", "notebook", "--execute", "--output-dir", tmp_path,
              EXAMPLES / "lumenar.ipynb", backend="module://matplotlib_inline.backend_inline")
    assert ran.returncode == 0, ran.stdout
    cells = json.loads((tmp_path / "lumenar.ipynb").read_text())["cells"]
    outputs = [output for cell in cells for output in cell.get("outputs", [])]
    assert sum("image/png" in output.get("data", {}) for output in outputs) == 2
    assert not [output for output in outputs if output["output_type"] == "error"]
    assert leaves_nothing(probe)


def test_the_notebook_is_kept_without_its_outputs():
    cells = json.loads((EXAMPLES / "lumenar.ipynb").read_text())["cells"]
    assert all(not cell.get("outputs") and not cell.get("execution_count") for cell in cells)


def test_the_live_plot_draws(probe, tmp_path):
    picture = tmp_path / "live.png"
    ran = run(probe, tmp_path, EXAMPLES / "live_plot.py", "PROBE/1/LATENESS", "--results", 30, "--save", picture)
    assert ran.returncode == 0, ran.stdout
    assert picture.read_bytes().startswith(b"\x89PNG")
    assert leaves_nothing(probe)


def test_the_live_plot_says_what_is_wrong(probe, tmp_path):
    ran = run(probe, tmp_path, EXAMPLES / "live_plot.py", "NOTHING")
    assert ran.returncode == 1
    assert ran.stdout.startswith("live_plot: ") and "Traceback" not in ran.stdout
