#!/usr/bin/env python3
"""Reading a trace of 10^6 points into NumPy arrays.

    PYTHONPATH=build python3 bench/python_trace_bench.py [--points 1000000]

The RC low-pass runs with a step that records the wanted number of points;
then the whole trace is read with Circuit.trace (best of five), and, for
scale, the values at 10^6 chosen times with Circuit.trace(at=...).
"""
import argparse
import os
import time

import numpy as np

import qz3

HERE = os.path.dirname(os.path.abspath(__file__))
RC = os.path.join(HERE, "..", "examples", "rc_lowpass.qz3")


def best_of(repeats, function):
    times = []
    for _ in range(repeats):
        start = time.perf_counter()
        result = function()
        times.append(time.perf_counter() - start)
    return min(times), result


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--points", type=int, default=1_000_000)
    args = parser.parse_args()
    length = 10e-3
    with qz3.Circuit(RC) as circuit:
        start = time.perf_counter()
        circuit.run(time=length, step=length / args.points)
        simulated = time.perf_counter() - start
        seconds, (t, v) = best_of(5, lambda: circuit.trace("V(C1)"))
        at = np.linspace(0, length, len(t))
        seconds_at, values = best_of(3, lambda: circuit.trace("V(C1)", at=at))
    print(f"run of {len(t)} points: {simulated:.2f} s, load average {os.getloadavg()[0]:.1f}")
    print(f"trace():       {seconds * 1e3:8.1f} ms  ({seconds / len(t) * 1e9:.0f} ns a point)")
    print(f"trace(at=...): {seconds_at * 1e3:8.1f} ms  ({seconds_at / len(at) * 1e9:.0f} ns a point)")
    assert np.all(np.diff(t) > 0) and not np.isnan(values).any()


if __name__ == "__main__":
    main()
