# SPDX-License-Identifier: Apache-2.0
"""The end of the interpreter, whatever is open, and in whatever order things go."""

import itertools
import os
import subprocess
import sys
import time

import pytest

OPENING = """
import lumenar
c = lumenar.Client()
r = c.reading("FAST")
a = c.average(r, size=2)
m = a.monitor(timeout=10)
s = next(m)
v = s.value
p = c.publish("LEAVING/1/A", v, unit="dBm")
"""


def ends_cleanly(ran):
    assert (ran.returncode, ran.stderr) == (0, "")
    return True


def test_everything_is_open_at_the_end(run_python, platform):
    ends_cleanly(run_python(OPENING))
    assert "LEAVING" not in platform.mathctl("engines")


# All orders of five would take minutes; these have each name before and after each other one.
ORDERS = ["crmps", "spmrc", "rcspm", "mpscr", "pcmsr", "srcpm"]


@pytest.mark.parametrize("order", ORDERS)
def test_things_go_in_any_order(run_python, order):
    pairs = set(itertools.permutations("crmps", 2))
    assert {(a, b) for o in ORDERS for a, b in itertools.combinations(o, 2)} >= pairs
    ends_cleanly(run_python(OPENING + "".join(f"del {name}\n" for name in order)))


@pytest.mark.parametrize("text", [
    "import lumenar",
    "import lumenar; c = lumenar.Client('127.0.0.1:1')",
    OPENING + "c.close()",
    OPENING + "c.close(); m.close(); p.close()",
    OPENING + "import builtins; builtins.kept = (c, m, p, s, v)",
    OPENING + "class Loop: pass\nx = Loop(); x.me = x; x.c, x.m, x.p = c, m, p\ndel c, m, p",
    OPENING + "import atexit; atexit.register(lambda: c.closed)",
    OPENING + "import sys; sys.exit(0)",
    # closed, and opened again
    OPENING + "c.close()\nwith lumenar.Client() as again: assert again.reading('FAST').result.unit == 'dBm'",
    # a reader in another thread, which is not waited for
    OPENING + "import threading\nthreading.Thread(target=lambda: list(a.monitor()), daemon=True).start()\nnext(m)",
    # and calls
    OPENING + "import threading\ndef ask():\n    while True: r.result\n"
              "for _ in range(4): threading.Thread(target=ask, daemon=True).start()\nnext(m)",
    # a reader that is waited for, and whose client is closed meanwhile
    OPENING + "import threading\nn = a.monitor()\nt = threading.Thread(target=lambda: list(n))\n"
              "t.start(); c.close(); t.join()",
])
def test_what_is_open_is_closed(run_python, text):
    ends_cleanly(run_python(text))


def test_an_event_loop_that_was_left(run_python):
    ends_cleanly(run_python(OPENING + """
import asyncio
async def follow():
    async for x in a.monitor(timeout=10):
        break
asyncio.run(follow())
"""))


def test_an_exception_ends_the_program_with_its_sentence(run_python):
    ran = run_python(OPENING + "c.reading('NOTHING')")
    assert ran.returncode == 1
    assert ran.stderr.splitlines()[-1].startswith("lumenar._errors.NotFound: ")


def test_services_that_hang_do_not_hold_the_end_up(own_platform):
    program = OPENING + "print('open', flush=True); input()"
    child = subprocess.Popen([sys.executable, "-c", program], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
                             env={**own_platform.environment, "PYTHONPATH": os.environ["PYTHONPATH"]})
    assert child.stdout.readline() == "open\n"
    for name in ("topic_manager", "naming", "math_factory_hh"):
        own_platform.stop(name)
    begin = time.monotonic()
    child.communicate("\n", timeout=20)
    assert child.returncode == 0
    assert time.monotonic() - begin < 8
