# SPDX-License-Identifier: Apache-2.0
"""Ctrl-C in whatever waits, forks, and threads."""

import os
import signal
import subprocess
import sys
import threading

import pytest

import lumenar

# Says when it begins to wait, and how long Ctrl-C took to be a KeyboardInterrupt.
WAITING = """
import os, signal, sys, threading, time
import lumenar
def stop(process):
    os.kill(process, signal.SIGSTOP)
    while open(f"/proc/{{process}}/stat").read().rpartition(")")[2].split()[0] != "T":
        pass
{opening}
sent = []
def interrupt():
    time.sleep(0.3)
    sent.append(time.monotonic())
    signal.raise_signal(signal.SIGINT) if {from_inside} else os.kill(os.getpid(), signal.SIGINT)
threading.Thread(target=interrupt).start()
try:
    {waiting}
    print("no interrupt")
except KeyboardInterrupt:
    print("within", time.monotonic() - sent[0])
"""


def time_to_interrupt(environment, opening, waiting, from_inside=False):
    text = WAITING.format(opening=opening, waiting=waiting, from_inside=from_inside)
    ran = subprocess.run([sys.executable, "-c", text], timeout=60, text=True, stdout=subprocess.PIPE,
                         stderr=subprocess.PIPE, env={**environment, "PYTHONPATH": os.environ["PYTHONPATH"]})
    assert ran.returncode == 0 and "Traceback" not in ran.stderr, ran.stderr  # lines that somebody is away may be there
    assert ran.stdout.startswith("within "), ran.stdout
    return float(ran.stdout.split()[1])


@pytest.mark.parametrize("from_inside", [False, True])
def test_a_loop_that_waits_is_interrupted(platform, from_inside):
    opening = "c = lumenar.Client(); m = c.reading('COUNT').monitor()"
    assert time_to_interrupt(platform.environment, opening, "next(m)", from_inside) < 0.2


def test_an_event_loop_that_waits_is_interrupted(platform):
    opening = """import asyncio
c = lumenar.Client()
async def follow():
    async for r in c.reading('COUNT').monitor(): pass
"""
    assert time_to_interrupt(platform.environment, opening, "asyncio.run(follow())") < 0.5


@pytest.mark.parametrize("hangs, waiting", [
    ("sim", "r.result"),
    ("sim", "c.readings()"),
    ("naming", "c.engines()"),
    ("math_factory_hh", "c.average(r)"),
    ("topic_manager", "r.monitor()"),
    ("topic_manager", "p.publish(1)"),
    ("topic_manager", "c.close()"),
])
def test_a_call_to_one_who_hangs_is_interrupted(own_platform, hangs, waiting):
    opening = f"""
c = lumenar.Client(timeout=20)
r = c.reading("COUNT")
m = r.monitor() if "close" in {waiting!r} else None
p = c.publish("LEAVING/1/A", 1) if "publish" in {waiting!r} else None
stop({own_platform.processes[hangs].pid})
"""
    assert time_to_interrupt(own_platform.environment, opening, waiting) < 0.2


def test_a_creation_that_was_interrupted_leaves_no_object(own_platform):
    engine = own_platform.processes["math_factory_hh"].pid
    opening = f"""
c = lumenar.Client(timeout=20)
r = c.reading("OTHER")
stop({engine})
"""
    waiting = f"""c.average(r)
except KeyboardInterrupt:
    os.kill({engine}, {int(signal.SIGCONT)})
    end = time.monotonic() + 10
    while c.objects() and time.monotonic() < end: pass
    time.sleep(0.2)
    print("within 0" if not c.objects() else c.objects())
try:
    pass"""
    assert time_to_interrupt(own_platform.environment, opening, waiting) == 0


def test_a_handler_of_one_s_own_is_run(run_python):
    ran = run_python("""
import lumenar, os, signal, threading
def handler(*_): raise LookupError("mine")
signal.signal(signal.SIGALRM, handler)
m = lumenar.Client().reading("COUNT").monitor()
signal.setitimer(signal.ITIMER_REAL, 0.2)
try:
    next(m)
except LookupError as error:
    print(error)
""")
    assert (ran.returncode, ran.stdout, ran.stderr) == (0, "mine\n", "")


def test_many_threads_use_one_client(client):
    failures = []

    def use(number):
        try:
            for _ in range(20):
                with client.average("OTHER", size=number % 5 + 1) as average:
                    assert average.size == number % 5 + 1
                    assert average.result.unit == "W"
                assert client.reading("LEVEL").result.unit == "V"
        except BaseException as failure:
            failures.append(failure)

    threads = [threading.Thread(target=use, args=(number,)) for number in range(6)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert failures == []
    assert client.objects() == []


FORKING = """
import lumenar, os, sys
c = lumenar.Client()
r = c.reading("FAST")
m = r.monitor()
s = next(m)
{before}
child = os.fork()
if child == 0:
    {child}
    sys.exit(0)
print(os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]))
{after}
"""


def test_a_child_of_a_fork_is_told_what_to_do(run_python):
    ran = run_python(FORKING.format(before="", after="next(m)", child="""
    for use in (lambda: r.result, lambda: c.readings(), lambda: lumenar.Client()):
        try:
            use()
            sys.exit(3)
        except lumenar.BadArgument as error:
            assert "forked" in str(error)
    assert s.value.sum() < 0"""))
    assert (ran.returncode, ran.stdout, ran.stderr) == (0, "0\n", "")


def test_a_child_of_a_fork_ends_whatever_it_drops(run_python, platform):
    ran = run_python(FORKING.format(before="p = c.publish('LEAVING/1/A', 1)", child="del c, r, m, p", after="""
assert c.reading("LEAVING/1/A").result.value == 1
next(m)"""))
    assert (ran.returncode, ran.stdout, ran.stderr) == (0, "0\n", "")


def test_a_fork_after_everything_was_closed_is_free(run_python):
    ran = run_python(FORKING.format(before="c.close(); del c, r, m", after="", child="""
    with lumenar.Client() as mine: assert mine.reading("FAST").result.unit == "dBm" """))
    assert (ran.returncode, ran.stdout, ran.stderr) == (0, "0\n", "")


def test_multiprocessing_that_spawns_works(platform, tmp_path):
    script = tmp_path / "spawning.py"
    script.write_text("""
import multiprocessing
import lumenar
def ask(item):
    with lumenar.Client() as c: return c.reading(item).result.unit
if __name__ == "__main__":
    with lumenar.Client() as c, multiprocessing.get_context("spawn").Pool(2) as pool:
        print(pool.map(ask, ["FAST", "LEVEL"]))
""")
    ran = subprocess.run([sys.executable, str(script)], timeout=60, text=True, stdout=subprocess.PIPE,
                         stderr=subprocess.PIPE,
                         env={**platform.environment, "PYTHONPATH": os.environ["PYTHONPATH"]})
    assert (ran.returncode, ran.stdout, ran.stderr) == (0, "['dBm', 'V']\n", "")
