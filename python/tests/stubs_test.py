# SPDX-License-Identifier: Apache-2.0
"""The types that the package declares are those that it has."""

import inspect
import os
import subprocess
import sys
from pathlib import Path

import pytest

import lumenar
from lumenar import _core

PACKAGE = Path(os.environ["LUMENAR_SOURCE"]) / "python"


def mypy(*arguments, cwd):
    pytest.importorskip("mypy", reason="mypy is not installed (scripts/install-deps notebook)")
    return subprocess.run([sys.executable, "-m", "mypy", "--strict", "--cache-dir", os.devnull, *arguments], cwd=cwd,
                          text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)


def test_the_package_is_typed():
    assert (Path(lumenar.__file__).parent / "py.typed").exists()
    ran = mypy("-p", "lumenar", cwd=PACKAGE)
    assert ran.returncode == 0, ran.stdout


def test_a_wrong_use_is_seen(tmp_path):
    program = tmp_path / "wrong.py"
    program.write_text("import lumenar\nlumenar.Client().average(3, size='x')\n")
    environment = dict(os.environ, MYPYPATH=str(PACKAGE))
    pytest.importorskip("mypy", reason="mypy is not installed (scripts/install-deps notebook)")
    ran = subprocess.run([sys.executable, "-m", "mypy", "--cache-dir", os.devnull, str(program)], env=environment,
                         text=True, stdout=subprocess.PIPE)
    assert ran.returncode == 1 and ran.stdout.count("arg-type") == 2, ran.stdout


def test_the_stub_of_the_extension_names_what_is_there():
    text = (PACKAGE / "lumenar" / "_core.pyi").read_text()
    for name, thing in vars(_core).items():
        if name.startswith("_"):
            continue
        assert f"class {name}" in text or f"def {name}(" in text or f"{name}:" in text, name
        if inspect.isclass(thing):
            body = text.split(f"class {name}")[1].split("\nclass ")[0].split("\ndef ")[0]
            for member in vars(thing):
                if not member.startswith("_"):
                    assert f"def {member}(" in body, f"{name}.{member}"
