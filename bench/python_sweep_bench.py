#!/usr/bin/env python3
"""A sweep of 64 loads of the buck converter: 1 worker against 2, and against
64 runs in this process one after the other (whose numbers must be the same).

    PYTHONPATH=build python3 bench/python_sweep_bench.py [--runs 64] [--time 11e-3]

Prints the wall time of each way, the speed-up of 2 workers over 1 (with the
start of the worker processes counted, and on pools started beforehand), and
whether all three gave identical records. A machine shared with other work
gives lower speed-ups: run it when the cores are idle.
"""
import argparse
import concurrent.futures
import multiprocessing
import os
import time

import numpy as np

import qz3

HERE = os.path.dirname(os.path.abspath(__file__))
BUCK = os.path.join(HERE, "..", "examples", "buck_converter.qz3")


def ripple_and_mean(circuit):
    t, v = circuit.trace("Vout")
    last = t >= t[-1] - 1e-3
    return {"mean": float(np.trapz(v[last], t[last]) / (t[last][-1] - t[last][0])),
            "ripple": float(v[last].max() - v[last].min())}


def sequential(loads, length):
    records = []
    for load in loads:
        with qz3.Circuit(BUCK) as circuit:
            circuit["R1.R"] = load
            circuit.run(time=length)
            records.append({"R1.R": load, "result": ripple_and_mean(circuit)})
    return records


def warm_pool(workers):
    context = multiprocessing.get_context("forkserver")
    context.set_forkserver_preload(["qz3"])
    pool = concurrent.futures.ProcessPoolExecutor(workers, mp_context=context)
    list(pool.map(time.sleep, [0.2] * workers))  # every worker started
    return pool


def timed(function):
    start = time.perf_counter()
    result = function()
    return time.perf_counter() - start, result


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--runs", type=int, default=64)
    parser.add_argument("--time", type=float, default=11e-3, help="simulated time per run, s")
    args = parser.parse_args()
    loads = list(np.linspace(2.5, 20.0, args.runs))
    params = {"R1.R": loads}

    t_seq, reference = timed(lambda: sequential(loads, args.time))
    t_cold1, cold1 = timed(lambda: qz3.sweep(BUCK, params, ripple_and_mean, workers=1, time=args.time))
    t_cold2, cold2 = timed(lambda: qz3.sweep(BUCK, params, ripple_and_mean, workers=2, time=args.time))
    warm = {}
    for workers in (1, 2):
        with warm_pool(workers) as pool:
            warm[workers] = timed(lambda: qz3.sweep(BUCK, params, ripple_and_mean, executor=pool, time=args.time))

    print(f"{args.runs} runs of {args.time * 1e3:g} ms of the buck converter, cpu count {os.cpu_count()}, "
          f"load average {os.getloadavg()[0]:.1f}")
    print(f"  in this process, one after the other  {t_seq:8.3f} s")
    print(f"  sweep(), 1 worker                     {t_cold1:8.3f} s")
    print(f"  sweep(), 2 workers                    {t_cold2:8.3f} s   speed-up {t_cold1 / t_cold2:.2f}x")
    print(f"  started pool, 1 worker                {warm[1][0]:8.3f} s")
    print(f"  started pool, 2 workers               {warm[2][0]:8.3f} s   speed-up {warm[1][0] / warm[2][0]:.2f}x")
    same = all(records == reference for records in (cold1, cold2, warm[1][1], warm[2][1]))
    print(f"  identical to the sequential runs: {'yes' if same else 'NO'}")
    return 0 if same else 1


if __name__ == "__main__":
    raise SystemExit(main())
