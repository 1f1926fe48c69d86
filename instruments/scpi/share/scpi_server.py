# SPDX-License-Identifier: Apache-2.0
"""Plays two instruments that speak SCPI over TCP: a multimeter and a spectrum analyser of 10,001 points.

For a first look without hardware, and for tests: it can do wrong what instruments do wrong. `:TEST:FAULT NAME[,COUNT[,SECONDS]]`
makes the next COUNT measurements (1) go wrong so, on whatever connection; the names stand at FAULTS below.
"""
import argparse
import math
import os
import random
import signal
import socket
import struct
import sys
import threading
import time

FAULTS = {
    "HANG": "no answer, and nothing is read any more",
    "HALF": "half of the answer",
    "SPLIT": "the answer in two pieces, SECONDS between",
    "LATE": "the answer SECONDS later",
    "LIE": "a block that announces 999999999 bytes",
    "LONG": "a block with four bytes more than it announces",
    "SHORT": "a block whose length is no multiple of a number's",
    "EMPTY": "a block without a byte",
    "ZERO": "a block of indefinite length",
    "NAN": "not a number, as SCPI has it",
    "INF": "infinity",
    "NINF": "minus infinity",
    "WORD": "a word in place of a number",
    "NOEND": "no line end behind the answer",
    "CLOSE": "the connection is closed instead",
    "RESET": "the connection is reset instead",
    "NUL": "zero bytes in the answer",
    "NOISE": "a megabyte of noise without a line end",
    "TWICE": "the answer twice",
    "UNASKED": "the answer, and SECONDS later a line that nobody asked for",
    "FIRST": "the first answer of a connection SECONDS later",
    "GREET": "a line at the beginning of each connection, at once",
}
KEPT = ("FIRST", "GREET")  # they concern connections, COUNT of them


class Device:
    """What all connections to one instrument share."""

    def __init__(self):
        self.lock = threading.Lock()
        self.errors = []
        self.faults = {}
        self.measurements = 0
        self.connections = 0
        self.log = []

    def take_fault(self, kept):
        with self.lock:
            for name, (count, seconds) in list(self.faults.items()):
                if (name in KEPT) != kept:
                    continue
                self.faults[name] = (count - 1, seconds)
                if count <= 1:
                    del self.faults[name]
                return name, seconds
        return None, 0

    def set_fault(self, argument):
        name, count, seconds = (argument.upper() + ",,").split(",")[:3]
        if name.strip() == "NONE":
            self.faults.clear()
        elif name.strip() not in FAULTS:
            self.errors.append('-224,"Illegal parameter value"')
        else:
            self.faults[name.strip()] = (int(count or 1), float(seconds or 0))

    def common(self, header, argument):
        """The answer to what every instrument understands; "" for a command, None for what it does not know."""
        if header == "*IDN?":
            return f"Lumenar,{self.name},0,1.0"
        if header in ("*CLS", "*RST"):
            self.errors.clear()
            return ""
        if header == "*OPC?":
            return "1"
        if header == ":SYST:ERR?":
            return self.errors.pop(0) if self.errors else '0,"No error"'
        if header == ":TEST:FAULT":
            self.set_fault(argument)
            return ""
        if header == ":TEST:FAULT?":
            return str(sum(count for count, _ in self.faults.values()))
        if header == ":TEST:COUNT?":
            return f"{self.measurements},{self.connections}"
        if header == ":TEST:LOG?":
            return "|".join(self.log[-50:])
        return None


class Multimeter(Device):
    name = "Multimeter"

    def answer(self, header, argument):
        if header in (":MEAS:VOLT:DC?", ":MEAS:VOLT?"):
            self.measurements += 1
            return f"{5 + 0.01 * math.sin(self.measurements / 10):+.8E}".encode()
        if header == ":MEAS:RES?":
            self.measurements += 1
            return b"+1.00000000E+03"
        return self.common(header, argument)


class Analyser(Device):
    name = "Spectrum analyser"
    lowest, highest = 9e3, 26.5e9

    def __init__(self, points):
        super().__init__()
        self.points = points
        self.form, self.swap = "ASC", False
        self.start, self.stop = 1e9, 2e9
        noise = random.Random(1)
        self.sweeps = [[self.level(i, noise) for i in range(points)] for _ in range(8)]
        self.blocks = {}

    def level(self, point, noise):
        x = (point / (self.points - 1) - 0.5) * 40 if self.points > 1 else 0
        return -90 + noise.uniform(-2, 2) + 60 * math.exp(-x * x)

    def trace(self):
        """The next sweep in the form that was asked for; the bytes of each are made once."""
        self.measurements += 1
        key = (self.measurements % len(self.sweeps), self.form, self.swap)
        if key not in self.blocks:
            self.blocks[key] = self.encode(self.sweeps[key[0]])
        return self.blocks[key]

    def encode(self, levels):
        if self.form == "ASC":
            return ",".join(f"{level:.6E}" for level in levels).encode()
        letter = {"REAL,32": "f", "REAL,64": "d"}[self.form]
        data = struct.pack(("<" if self.swap else ">") + letter * len(levels), *levels)
        return b"#%d%d" % (len(str(len(data))), len(data)) + data

    def set_frequencies(self, start, stop):
        if not self.lowest <= start <= stop <= self.highest:
            self.errors.append('-222,"Data out of range"')
            return ""
        self.start, self.stop = start, stop
        return ""

    def frequency(self, which, argument):
        center, span = (self.start + self.stop) / 2, self.stop - self.start
        number = float(argument)
        return self.set_frequencies(*{"STAR": (number, self.stop), "STOP": (self.start, number),
                                      "CENT": (number - span / 2, number + span / 2),
                                      "SPAN": (center - number / 2, center + number / 2)}[which])

    def answer(self, header, argument):
        if header in (":TRAC?", ":TRAC:DATA?"):
            return self.trace()
        if header == ":FORM" and argument.upper() in ("ASC", "REAL,32", "REAL,64"):
            self.form = argument.upper()
            return ""
        if header == ":FORM:BORD":
            self.swap = argument.upper().startswith("SWAP")
            return ""
        if header in (":INIT", ":INIT:CONT", ":ABOR"):
            return ""
        which = header[len(":SENS:FREQ:"):] if header.startswith(":SENS:FREQ:") else ""
        shown = {"STAR?": self.start, "STOP?": self.stop, "CENT?": (self.start + self.stop) / 2,
                 "SPAN?": self.stop - self.start}
        if which in shown:
            return f"{shown[which]:.9E}"
        if which + "?" in shown:
            return self.frequency(which, argument)
        return self.common(header, argument)


class Connection:
    """One client of an instrument, on a thread of its own."""

    def __init__(self, device, stream):
        self.device, self.stream = device, stream
        self.has_answered = False
        self.first_pause = 0

    def run(self):
        try:
            self.serve()
        except OSError:
            pass
        finally:
            self.stream.close()

    def serve(self):
        self.device.connections += 1
        fault, seconds = self.device.take_fault(kept=True)
        if fault == "GREET":
            self.stream.sendall(b"Good morning\n")
        self.first_pause = seconds if fault == "FIRST" else 0
        rest = b""
        while piece := self.stream.recv(65536):
            *lines, rest = (rest + piece).split(b"\n")
            for line in lines:
                self.take(line.decode("ascii", "replace").strip())

    def take(self, line):
        """One program message: commands with ";" between."""
        answers = []
        for part in line.split(";"):
            header, _, argument = part.strip().partition(" ")
            if header:
                answers.append(self.execute(header.upper(), argument.strip(), line))
        answers = [answer for answer in answers if answer]
        if answers:
            self.send(b";".join(answers), any(word in line.upper() for word in (":MEAS", ":TRAC")))

    def execute(self, header, argument, line):
        header = header if header[0] in "*:" else ":" + header
        with self.device.lock:
            self.device.log.append(line)
        try:
            answer = self.device.answer(header, argument)
        except ValueError:
            answer = None
        if answer is None:  # an unknown query has no answer: the error queue alone tells
            self.device.errors.append('-113,"Undefined header"')
        return answer.encode() if isinstance(answer, str) else answer

    def send(self, answer, is_measurement):
        if not self.has_answered and self.first_pause:
            time.sleep(self.first_pause)
        self.has_answered = True
        fault, seconds = self.device.take_fault(kept=False) if is_measurement else (None, 0)
        if fault is None:
            self.stream.sendall(answer + b"\n")
        else:
            self.misbehave(fault, seconds, answer)

    def misbehave(self, fault, seconds, answer):
        send = self.stream.sendall
        if fault == "HANG":
            threading.Event().wait()
        elif fault == "HALF":
            send(answer[:len(answer) // 2])
        elif fault == "SPLIT":
            send(answer[:len(answer) // 2])
            time.sleep(seconds or 0.05)
            send(answer[len(answer) // 2:] + b"\n")
        elif fault == "LATE":
            time.sleep(seconds)
            send(answer + b"\n")
        elif fault == "UNASKED":
            send(answer + b"\n")
            time.sleep(seconds)
            send(b"by the way\n")
        elif fault == "NOISE":
            send(random.Random(2).randbytes(1_000_000).replace(b"\n", b"N"))
        elif fault == "CLOSE":
            self.stream.shutdown(socket.SHUT_RDWR)
        elif fault == "RESET":
            self.stream.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            self.stream.close()
        else:
            send(self.wrong_answer(fault, answer))

    @staticmethod
    def wrong_answer(fault, answer):
        return {"LIE": b"#9999999999" + answer, "LONG": b"#18" + b"\x41" * 12 + b"\n", "SHORT": b"#17" + b"\x41" * 7 + b"\n",
                "EMPTY": b"#10\n", "ZERO": b"#0" + answer + b"\n", "NAN": b"9.91E37\n", "INF": b"9.9E37\n",
                "NINF": b"-9.9E37\n", "WORD": b"OVERLOAD\n", "NOEND": answer, "NUL": b"1.0\x00\x00\n",
                "TWICE": answer + b"\n" + answer + b"\n"}[fault]


def listen(device, host, port):
    """The socket at which the device listens; a thread takes its clients."""
    family = socket.AF_INET6 if ":" in host else socket.AF_INET
    listener = socket.create_server((host, port), family=family, backlog=16)

    def accept():
        while True:
            stream, _ = listener.accept()
            stream.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            threading.Thread(target=Connection(device, stream).run, daemon=True).start()

    threading.Thread(target=accept, daemon=True).start()
    return listener


def main():
    parser = argparse.ArgumentParser(description="Plays a multimeter and a spectrum analyser that speak SCPI over TCP.")
    parser.add_argument("--host", default="127.0.0.1", help="where it listens (%(default)s)")
    parser.add_argument("--multimeter", type=int, default=5025, metavar="PORT", help="0 for a free one (%(default)s)")
    parser.add_argument("--analyser", type=int, default=5026, metavar="PORT", help="0 for a free one (%(default)s)")
    parser.add_argument("--points", type=int, default=10001, help="of a sweep (%(default)s)")
    parser.add_argument("--faults", action="store_true", help="lists the faults of :TEST:FAULT and ends")
    options = parser.parse_args()
    if options.faults:
        for name, what in FAULTS.items():
            print(f"{name:8} {what}")
        return 0
    signal.signal(signal.SIGINT, signal.SIG_DFL)
    try:
        for name, device, port in (("multimeter", Multimeter(), options.multimeter),
                                   ("spectrum_analyser", Analyser(options.points), options.analyser)):
            print(f"{name} {options.host}:{listen(device, options.host, port).getsockname()[1]}")
    except OSError as error:
        print(f"scpi_server: port {port}: {os.strerror(error.errno)}", file=sys.stderr)
        return 1
    print("ready", flush=True)
    threading.Event().wait()
    return 0


if __name__ == "__main__":
    sys.exit(main())
