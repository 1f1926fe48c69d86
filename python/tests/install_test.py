# SPDX-License-Identifier: Apache-2.0
"""The installed package: in Debian's place, complete, and wherever the tree was moved."""

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

BUILD = Path(os.environ["LUMENAR_PROGRAMS"]).parent


@pytest.fixture(scope="module")
def tree(tmp_path_factory):
    """Installed, and moved away from where it was installed, beside the libraries of ours that it needs."""
    if shutil.which("cmake") is None:
        pytest.skip("cmake is not installed")
    directory = tmp_path_factory.mktemp("installed")
    subprocess.run(["cmake", "--install", BUILD, "--component", "python", "--prefix", directory / "first"], check=True,
                   stdout=subprocess.DEVNULL)
    (directory / "first").rename(directory / "moved")
    for library in Path(os.environ["LUMENAR_LIBRARIES"]).glob("liblumenar_*.so*"):
        shutil.copy(library, directory / "moved" / "lib", follow_symlinks=False)
    return directory / "moved"


def test_it_stands_where_debian_s_python_looks(tree):
    package = tree / "lib/python3/dist-packages/lumenar"
    names = {path.name for path in package.iterdir()}
    assert {"__init__.py", "_client.py", "_core.pyi", "py.typed"} <= names
    assert len([name for name in names if re.fullmatch(r"_core\..*\.so", name)]) == 1
    assert not [path for path in package.iterdir() if path.is_symlink()]


def test_it_finds_its_library_wherever_it_was_moved(tree, platform):
    dynamic = subprocess.run(["readelf", "-d", *(tree / "lib/python3/dist-packages/lumenar").glob("_core*.so")],
                             stdout=subprocess.PIPE, text=True, check=True).stdout
    paths = re.findall(r"R(?:UN)?PATH.*\[(.*)\]", dynamic)
    assert paths and all(part.startswith("$ORIGIN") for path in paths for part in path.split(":"))
    program = "import lumenar; print(lumenar.__file__); print(lumenar.Client().reading('LEVEL').result.unit)"
    environment = {**platform.environment, "PYTHONPATH": str(tree / "lib/python3/dist-packages")}
    ran = subprocess.run([sys.executable, "-B", "-c", program], text=True, stdout=subprocess.PIPE,
                         stderr=subprocess.PIPE, env=environment)
    assert ran.returncode == 0, ran.stderr
    file, unit = ran.stdout.split()
    assert file.startswith(str(tree)) and unit == "V"
