#!/usr/bin/env python3
"""How the output ripple of the buck converter grows with its load.

    PYTHONPATH=build python3 examples/python/buck_load_sweep.py [--loads 16] [--plot buck_ripple.png]

Sweeps the load resistor R1 of examples/buck_converter.qz3 over the local
cores, measures the mean and the peak-to-peak ripple of Vout over the last
millisecond of each run, prints a table and, with matplotlib installed, plots
the ripple against the load current.
"""
import argparse
import os

import numpy as np

import qz3

HERE = os.path.dirname(os.path.abspath(__file__))
BUCK = os.path.join(HERE, "..", "buck_converter.qz3")


def last_millisecond(circuit):
    t, v = circuit.trace("Vout")
    last = t >= t[-1] - 1e-3
    t, v = t[last], v[last]
    return {"mean": float(np.trapz(v, t) / (t[-1] - t[0])), "ripple": float(v.max() - v.min())}


def plot(records, path):
    try:
        import matplotlib
        matplotlib.use("Agg")
        import matplotlib.pyplot as plt
    except ImportError:
        print("matplotlib is not installed: no plot")
        return
    good = [r for r in records if "result" in r]
    current = [r["result"]["mean"] / r["R1.R"] for r in good]
    ripple = [r["result"]["ripple"] * 1e3 for r in good]
    figure, axes = plt.subplots(figsize=(6, 4))
    axes.plot(current, ripple, "o-")
    axes.set_xlabel("load current (A)")
    axes.set_ylabel("output ripple, peak to peak (mV)")
    axes.set_title("Buck converter, 12 V to 6 V, 100 kHz")
    axes.grid(True)
    figure.tight_layout()
    figure.savefig(path)
    print(f"wrote {path}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--loads", type=int, default=16, help="number of load values")
    parser.add_argument("--plot", default="buck_ripple.png")
    parser.add_argument("--workers", type=int, default=None)
    parser.add_argument("--time", type=float, default=30e-3,
                        help="simulated time per run, s: light loads ring for longer")
    args = parser.parse_args()
    loads = np.geomspace(2.0, 50.0, args.loads).round(3).tolist()
    records = qz3.sweep(BUCK, {"R1.R": loads}, last_millisecond, workers=args.workers, time=args.time)
    print(f"{'load':>10} {'current':>10} {'mean':>10} {'ripple':>12}")
    for record in records:
        if "error" in record:
            print(f"{record['R1.R']:>8} Ohm  failed: {record['error']}")
            continue
        mean, ripple = record["result"]["mean"], record["result"]["ripple"]
        print(f"{record['R1.R']:>6.3f} Ohm {mean / record['R1.R']:>8.3f} A {mean:>8.4f} V {ripple * 1e3:>9.3f} mV")
    plot(records, args.plot)


if __name__ == "__main__":
    main()
