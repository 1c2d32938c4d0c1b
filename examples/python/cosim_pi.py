#!/usr/bin/env python3
"""Lock-step co-simulation: Python closes the loop of a buck converter.

    PYTHONPATH=build python3 examples/python/cosim_pi.py

Every 10 us the script reads the output voltage of examples/buck_cosim.qz3
(the voltmeter VOUT), runs a PI controller towards 5 V and sets the duty
cycle of the circuit's modulator (the source DUTY) for the next interval.
"""
import os

import qz3

HERE = os.path.dirname(os.path.abspath(__file__))
INTERVAL, REFERENCE, KP, KI = 10e-6, 5.0, 0.002, 30.0


def main(steps=2000):
    with qz3.Circuit(os.path.join(HERE, "..", "buck_cosim.qz3")) as circuit:
        duty, vout = circuit.inputs["DUTY"], circuit.outputs["VOUT"]
        circuit.start()
        integral, last = 0.0, []
        for k in range(1, steps + 1):
            circuit.step_to(k * INTERVAL)
            v = vout.value
            error = REFERENCE - v
            integral += error * INTERVAL
            d = min(max(KP * error + KI * integral, 0.0), 0.95)
            duty.set(d)
            if k > steps - 100:
                last.append(v)
            if k % 200 == 0:
                print(f"t = {k * INTERVAL * 1e3:5.2f} ms  Vout = {v:.4f} V  duty = {d:.4f}")
        mean = sum(last) / len(last)
        print(f"mean of the last ms: {mean:.4f} V")
        return mean


if __name__ == "__main__":
    main()
