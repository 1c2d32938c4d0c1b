#!/usr/bin/env python3
"""Accuracy against speed of the ideal buck converter (examples/buck_converter.qz3).

The converter is exactly linear between its switching events, so its output
has a closed form: on each interval the state (iL, vC) follows
x' = A x + b, solved with the eigenvectors of A; the diode's turn-off (the
current reaching zero in discontinuous conduction, at start-up) is located by
bisection to the last bit. The script runs the example at several steps and
prints, for each, the worst error of Vout over 9-10 ms against that solution
and the CPU time of the run. When ngspice (an unrelated open-source
simulator, used only as a peer) is installed, it runs the same converter at a
maximum step of 100 ns and its worst error and CPU time are printed too, with
the speed ratio at equal accuracy: the largest step of this engine whose
error is no larger than the peer's.

    python3 bench/buck_accuracy.py [BUILD_DIR] [STEP ...]

Needs NumPy. BUILD_DIR defaults to ./build.
"""
import os
import resource
import shutil
import subprocess
import sys
import tempfile

import numpy as np

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "python"))

VIN, L, C, R, PERIOD, WIDTH = 12.0, 100e-6, 100e-6, 5.0, 10e-6, 5e-6
A = np.array([[0.0, -1.0 / L], [1.0 / C, -1.0 / (R * C)]])
B_ON, B_OFF = np.array([VIN / L, 0.0]), np.zeros(2)
FROM, TO, END = 9e-3, 10e-3, 10e-3


def flow(b, x0, dt):
    """States at times dt after x0 under x' = A x + b (dt an array)."""
    rest = -np.linalg.solve(A, b)
    lam, vec = np.linalg.eig(A)
    c = np.linalg.solve(vec, (x0 - rest).astype(complex))
    dt = np.atleast_1d(dt)
    return (vec @ (c[:, None] * np.exp(np.outer(lam, dt)))).real.T + rest


def turn_off(x, span):
    """Time after x when the freewheeling current reaches zero, or None."""
    grid = np.linspace(0.0, span, 2001)
    negative = np.flatnonzero(flow(B_OFF, x, grid)[:, 0] < 0)
    if not negative.size:
        return None
    lo, hi = grid[negative[0] - 1], grid[negative[0]]
    for _ in range(80):
        mid = 0.5 * (lo + hi)
        lo, hi = (lo, mid) if flow(B_OFF, x, mid)[0, 0] < 0 else (mid, hi)
    return lo


def intervals(end):
    """(start, kind, state at start) of each linear interval up to `end`."""
    x, out = np.zeros(2), []
    for k in range(int(round(end / PERIOD))):
        t0 = k * PERIOD
        out.append((t0, "on", x.copy()))
        x = flow(B_ON, x, WIDTH)[0]
        t1, span = t0 + WIDTH, PERIOD - WIDTH
        stop = turn_off(x, span)
        out.append((t1, "off", x.copy()))
        if stop is None:
            x = flow(B_OFF, x, span)[0]
            continue
        x = np.array([0.0, flow(B_OFF, x, stop)[0, 1]])
        out.append((t1 + stop, "idle", x.copy()))
        x = np.array([0.0, x[1] * np.exp(-(span - stop) / (R * C))])
    return out


def exact_vout(parts, t):
    starts = np.array([p[0] for p in parts])
    which = np.searchsorted(starts, t, side="right") - 1
    v = np.empty(t.shape)
    for i in np.unique(which):
        t0, kind, x0 = parts[i]
        sel = which == i
        dt = t[sel] - t0
        if kind == "idle":
            v[sel] = x0[1] * np.exp(-dt / (R * C))
        else:
            v[sel] = flow(B_ON if kind == "on" else B_OFF, x0, dt)[:, 1]
    return v


def worst_error(parts, t, v, shift=0.0):
    sel = (t >= FROM) & (t <= TO)
    return float(np.max(np.abs(v[sel] - exact_vout(parts, t[sel] - shift))))


def child_cpu():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def run_qz3(build, step, csv):
    """CPU seconds of `qz3 run` at this step, and the Vout it recorded.

    The timed run writes nothing; a second run writes the points."""
    command = [os.path.join(build, "tools", "qz3"), "run", os.path.join(HERE, "..", "examples", "buck_converter.qz3"),
               "--time", repr(END), "--step", repr(step), "--trace", "Vout"]
    before = child_cpu()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    seconds = child_cpu() - before
    subprocess.run(command + ["--csv", csv], check=True, stdout=subprocess.DEVNULL)
    data = np.loadtxt(csv, delimiter=",", skiprows=1)
    return seconds, data[:, 0], data[:, 1]


# The same converter for the peer. Its switch closes when the gate passes
# 0.6 V and opens below 0.4 V, so with 1 ns edges it is on from 0.6 ns to
# 5.0006 us of each period: the exact solution is shifted by 0.6 ns for it.
PEER_SHIFT = 0.6e-9
PEER_NETLIST = """* buck converter, 100 kHz, 50 %
VIN in 0 DC 12
VG g 0 PULSE(0 1 0 1n 1n 4.999u 10u)
S1 in sw g 0 SWBUCK
D1 0 sw DIDEAL
L1 sw out 100u IC=0
C1 out 0 100u IC=0
RL out 0 5
.model SWBUCK SW(VT=0.5 VH=0.1 RON=1m ROFF=1e9)
.model DIDEAL D(IS=1e-14 N=0.01 RS=1m)
.options method=gear
.tran 100n 10m 0 100n uic
.control
set wr_singlescale
option numdgt=12
run
wrdata {out} v(out)
quit 0
.endc
.end
"""


def run_peer(folder):
    netlist, out = os.path.join(folder, "buck.cir"), os.path.join(folder, "peer.txt")
    with open(netlist, "w") as f:
        f.write(PEER_NETLIST.format(out=out))
    before = child_cpu()
    subprocess.run(["ngspice", "-b", netlist], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    seconds = child_cpu() - before
    data = np.loadtxt(out)
    return seconds, data[:, 0], data[:, 1]


def main():
    build = os.path.abspath(sys.argv[1] if len(sys.argv) > 1 else "build")
    steps = [float(s) for s in sys.argv[2:]] or [5e-6, 1e-6, 1e-7, 2e-8, 1e-8, 5e-9]
    parts = intervals(END)
    rows = []
    with tempfile.TemporaryDirectory() as folder:
        csv = os.path.join(folder, "qz3.csv")
        print("| step | points | worst error of Vout, 9-10 ms | qz3 cpu s |\n|---|---|---|---|")
        for step in steps:
            seconds, t, v = run_qz3(build, step, csv)
            error = worst_error(parts, t, v)
            rows.append((step, error, seconds))
            print(f"| {step:g} | {t.size} | {error:.3e} | {seconds:.3f} |")
        if not shutil.which("ngspice"):
            print("ngspice is not installed: no peer row (apt-get install ngspice)")
            return
        seconds, t, v = run_peer(folder)
        error = worst_error(parts, t, v, PEER_SHIFT)
        print(f"\nngspice, max step 100 ns: {t.size} points, worst error {error:.3e}, cpu {seconds:.3f} s")
        fair = [r for r in rows if r[1] <= error]
        if fair:
            step, own, mine = max(fair, key=lambda r: r[0])
            print(f"equal accuracy: qz3 at step {step:g} (error {own:.3e}) takes {mine:.3f} s: "
                  f"ngspice / qz3 = {seconds / max(mine, 1e-9):.1f}")


if __name__ == "__main__":
    main()
