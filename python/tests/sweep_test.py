"""Sweeps and Monte Carlo runs on local processes and threads.

The measures here are self-contained lambdas and local functions: they
travel by value, so a worker imports nothing of this test module.
"""
import concurrent.futures

import numpy as np
import pytest

import qz3

RESISTORS = [500.0, 1e3, 2e3]
AT = 1e-3


def expected(r, c):
    return 1 - np.exp(-AT / (r * c))


def test_a_grid_runs_in_order_and_threads_agree_with_processes(example):
    params = {"R1.R": RESISTORS, "C1.C": [0.5e-6, 1e-6, 2e-6]}
    measure = lambda circuit: float(circuit.trace("V(C1)", at=[1e-3])[0])  # noqa: E731
    in_processes = qz3.sweep(example("rc_lowpass.qz3"), params, measure, workers=2, time=2e-3)
    assert [(r["R1.R"], r["C1.C"]) for r in in_processes] == [(r, c) for r in RESISTORS for c in params["C1.C"]]
    for record in in_processes:
        assert set(record) == {"R1.R", "C1.C", "result"}
        assert record["result"] == pytest.approx(expected(record["R1.R"], record["C1.C"]), abs=2e-4)
    # Circuits of separate threads don't meet in the library.
    with concurrent.futures.ThreadPoolExecutor(3) as threads:
        assert qz3.sweep(example("rc_lowpass.qz3"), params, measure, executor=threads, time=2e-3) == in_processes


def test_failed_runs_keep_their_parameters_and_spare_the_others(example):
    def measure(circuit):  # a local function, sent by value
        if circuit["C1.C"] == 2e-6:
            raise ValueError("no use for this one")
        return float(circuit.trace("V(C1)", at=[1e-3])[0])
    params = {"R1.R": [1e3, "1k+("], "C1.C": [1e-6, 2e-6]}
    records = qz3.sweep(example("rc_lowpass.qz3"), params, measure, workers=2, time=2e-3)
    assert records[0] == {"R1.R": 1e3, "C1.C": 1e-6, "result": pytest.approx(expected(1e3, 1e-6), abs=2e-4)}
    assert records[1] == {"R1.R": 1e3, "C1.C": 2e-6, "error": "ValueError: no use for this one"}
    for bad in records[2:]:
        assert bad["R1.R"] == "1k+(" and bad["error"].startswith("QZ3_SetText: ")


def test_a_run_that_kills_its_worker_is_reported_alone(example):
    def measure(circuit):
        import os
        if circuit["R1.R"] == 1e3:
            os._exit(3)
        return float(circuit.trace("V(C1)", at=[1e-3])[0])
    records = qz3.sweep(example("rc_lowpass.qz3"), {"R1.R": RESISTORS}, measure, workers=2, time=2e-3)
    assert records[1]["R1.R"] == 1e3 and records[1]["error"].startswith("worker failed: BrokenProcessPool")
    for record in (records[0], records[2]):
        assert record["result"] == pytest.approx(expected(record["R1.R"], 1e-6), abs=2e-4)


def test_monte_carlo_draws_repeat_with_their_seed(example):
    params = {"R1.R": qz3.uniform(900, 1100), "C1.C": [0.9e-6, 1.1e-6]}
    measure = lambda circuit: float(circuit.trace("V(C1)", at=[1e-3])[0])  # noqa: E731
    runs = [qz3.sweep(example("rc_lowpass.qz3"), params, measure, samples=6, seed=7,
                      executor=concurrent.futures.ThreadPoolExecutor(2), time=2e-3) for _ in range(2)]
    assert runs[0] == runs[1] and len(runs[0]) == 6
    assert len({r["R1.R"] for r in runs[0]}) == 6
    for record in runs[0]:
        assert 900 <= record["R1.R"] <= 1100 and record["C1.C"] in (0.9e-6, 1.1e-6)
        assert record["result"] == pytest.approx(expected(record["R1.R"], record["C1.C"]), abs=2e-4)
    draws = qz3.draws({"R1.R": qz3.normal(1e3, 10.0), "C1.C": 1e-6}, 2000, seed=1)
    values = np.array([d["R1.R"] for d in draws])
    assert abs(values.mean() - 1e3) < 1.0 and abs(values.std() - 10.0) < 1.0
    assert all(d["C1.C"] == 1e-6 for d in draws)


def test_trace_names_as_the_measure_and_bad_sweeps(example):
    records = qz3.sweep(example("rc_lowpass.qz3"), {"R1.R": [1e3]}, "V(C1)",
                        executor=concurrent.futures.ThreadPoolExecutor(1), time=1e-3)
    t, v = records[0]["result"]["V(C1)"]
    np.testing.assert_allclose(v[1:], 1 - np.exp(-t[1:] / 1e-3), atol=1e-4)
    # Unrun circuits for a measure that makes its own analysis.
    corner = 1 / (2 * np.pi * 1e-3)
    records = qz3.sweep(example("rc_lowpass_ac.qz3"), {"C1.C": [1e-6, 2e-6]}, run=False,
                        measure=lambda circuit: (circuit.time, circuit.ac()["Vout"]),
                        executor=concurrent.futures.ThreadPoolExecutor(2))
    for record in records:
        time_before, (f, magnitude, _) = record["result"]
        assert time_before == 0.0
        gain = np.interp(corner, f, magnitude)
        assert gain == pytest.approx(1 / abs(1 + 1j * record["C1.C"] / 1e-6), rel=1e-3)
    with pytest.raises(qz3.Qz3Error, match="sweep values of R1.R are not a list"):
        qz3.sweep(example("rc_lowpass.qz3"), {"R1.R": 5}, "V(C1)")
    with pytest.raises(FileNotFoundError):
        qz3.sweep(example("no_such_file.qz3"), {"R1.R": [5]}, "V(C1)")


def test_threads_that_start_together_share_one_copy_of_the_file(example, tmp_path):
    # New bytes, so that every thread of the pool asks for the first copy at once.
    path = tmp_path / "rc_fresh.qz3"
    path.write_bytes(open(example("rc_lowpass.qz3"), "rb").read() + f"<!-- {tmp_path} -->\n".encode())
    with concurrent.futures.ThreadPoolExecutor(8) as threads:
        records = qz3.sweep(str(path), {"R1.R": RESISTORS * 4}, lambda circuit: circuit["R1.R"],
                            executor=threads, run=False)
    assert [r.get("result") for r in records] == RESISTORS * 4
