#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""A live picture of a trace with its running average and its peak, until the window is closed.

Usage: live_plot.py [READING] [--size N] [--save FILE --results N]
"""

import argparse

import lumenar
import matplotlib.pyplot as plt


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("reading", nargs="?", default="PROBE/1/LATENESS")
    parser.add_argument("--size", type=int, default=20, help="samples in the average")
    parser.add_argument("--results", type=int, help="end after so many results")
    parser.add_argument("--save", help="write the last picture to a file")
    arguments = parser.parse_args()

    with lumenar.Client() as c:
        live = c.reading(arguments.reading)
        with c.average(live, size=arguments.size) as average, c.peak(live) as peak:
            figure, axes = plt.subplots()
            lines = {}
            for name, label in ((live.name, "now"), (average.reading.name, "average"), (peak.reading.name, "peak")):
                (lines[name],) = axes.plot([], [], label=label)
            axes.legend()
            axes.set_title(live.name)
            with c.monitor([live, average, peak], timeout=10, count=arguments.results) as monitor:
                for result in monitor:
                    lines[result.name].set_data(result.x, result.value)
                    axes.set_xlabel(result.x_unit)
                    axes.set_ylabel(result.unit)
                    axes.relim()
                    axes.autoscale_view()
                    plt.pause(0.001)
                    if not plt.fignum_exists(figure.number):
                        break
            if arguments.save:
                figure.savefig(arguments.save)


if __name__ == "__main__":
    try:
        main()
    except KeyboardInterrupt:
        pass
    except lumenar.Error as error:
        raise SystemExit(f"live_plot: {error}")
