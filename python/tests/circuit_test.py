"""The Circuit class through the real library: analytic answers, exact texts."""
import os
import subprocess
import sys

import numpy as np
import pytest

import qz3

TAU = 1e3 * 1e-6  # R1 * C1 of rc_lowpass.qz3


def time_weighted_mean(t, v):
    return np.trapz(v, t) / (t[-1] - t[0])


def test_rc_step_follows_its_exponential(example):
    with qz3.Circuit(example("rc_lowpass.qz3")) as circuit:
        t, v = circuit.run(time=5e-3).trace("V(C1)")
        assert t.dtype == np.float64 and t.shape == v.shape and len(t) > 100
        assert np.all(np.diff(t) > 0)
        assert t[0] == 0.0 and t[-1] == pytest.approx(5e-3, rel=1e-12)
        np.testing.assert_allclose(v, 1 - np.exp(-t / TAU), atol=1e-4)
        # The library's interpolation at chosen times, NaN past the run.
        at = np.array([TAU, 2 * TAU, 3 * TAU, 1.0])
        values = circuit.trace("V(C1)", at=at)
        np.testing.assert_allclose(values[:3], 1 - np.exp(-at[:3] / TAU), atol=1e-4)
        assert np.isnan(values[3])
        both = circuit.traces()
        assert list(both) == ["V(V1)", "V(C1)"]
        np.testing.assert_array_equal(both["V(C1)"][1], v)


def test_values_and_texts_are_read_written_and_saved(scratch_copy):
    path = scratch_copy("rc_lowpass.qz3")
    with qz3.Circuit(path) as circuit:
        assert circuit["R1.R"] == 1e3
        assert circuit.text("R1.R") == "1e+3"
        circuit["R1.R"] = "2k"
        assert circuit["R1.R"] == 2e3
        circuit["C1.C"] = 0.5e-6
        t, v = circuit.run(time=2e-3).trace("V(C1)")
        # The new values are those of this run: the same time constant.
        np.testing.assert_allclose(v, 1 - np.exp(-t / TAU), atol=1e-4)
        # A formula longer than the first buffer comes back whole.
        long_text = "=2000" + "+0" * 300
        circuit["R1.R"] = long_text
        assert circuit.text("R1.R") == long_text and circuit["R1.R"] == 2e3
        circuit.save()
        circuit.save_as(path + ".copy.qz3")
    for saved in (path, path + ".copy.qz3"):
        with qz3.Circuit(saved) as again:
            assert again["R1.R"] == 2e3 and again["C1.C"] == 0.5e-6


def test_buck_converter_settles_at_half_its_input(example):
    with qz3.Circuit(example("buck_converter.qz3")) as circuit:
        circuit.run()
        t, v = circuit.trace("Vout")
        assert t[-1] == pytest.approx(11e-3)
        last = t >= 9e-3
        assert time_weighted_mean(t[last], v[last]) == pytest.approx(6.0, abs=0.02)
        # The inductor carries the load current, 6 V / 5 Ohm, on average.
        ti, i = circuit.trace("I(L1)")
        assert time_weighted_mean(ti[ti >= 9e-3], i[ti >= 9e-3]) == pytest.approx(1.2, abs=0.02)
        # A heavier load keeps the voltage (ideal switch) and doubles the current.
        circuit["R1.R"] = 2.5
        ti, i = circuit.run().trace("I(L1)")
        assert time_weighted_mean(ti[ti >= 9e-3], i[ti >= 9e-3]) == pytest.approx(2.4, abs=0.04)


def test_ac_corner_of_the_rc_lowpass(example):
    with qz3.Circuit(example("rc_lowpass_ac.qz3")) as circuit:
        result = circuit.ac()
        f, magnitude, phase = result["Vout"]
        assert len(f) == 301 and f[0] == pytest.approx(1) and f[-1] == pytest.approx(1e6)
        expected = 1 / np.abs(1 + 2j * np.pi * f * TAU)
        np.testing.assert_allclose(magnitude, expected, rtol=1e-6, atol=1e-9)
        np.testing.assert_allclose(phase, -np.degrees(np.arctan(2 * np.pi * f * TAU)), atol=1e-4)


def test_added_traces_read_like_the_files(example):
    with qz3.Circuit(example("rc_lowpass.qz3")) as circuit:
        current = circuit.add_trace("I", "R1")
        assert current == "I(R1)" and "I(R1)" in circuit.trace_names
        t, i = circuit.run(time=3e-3).trace(current)
        # Through R1 flows C dv/dt = exp(-t/tau) mA, either way round, once
        # the source has risen after the operating point at 0.
        assert i[0] == 0.0
        np.testing.assert_allclose(np.abs(i[1:]), 1e-3 * np.exp(-t[1:] / TAU), atol=1e-6)
        with pytest.raises(qz3.Qz3Error, match="is none of V, I, F"):
            circuit.add_trace("Q", "R1")


def test_failures_carry_the_librarys_text_and_leave_the_circuit_usable(example, tmp_path):
    missing = str(tmp_path / "missing.qz3")
    with pytest.raises(qz3.Qz3Error) as error:
        qz3.Circuit(missing)
    assert str(error.value) == f"QZ3_Open: cannot open file {missing}\n{missing} : No such file or directory"
    with qz3.Circuit(example("rc_lowpass.qz3")) as circuit:
        cases = [
            (lambda: circuit["R9.R"], "QZ3_GetValue: parameter R9.R not found"),
            (lambda: circuit.__setitem__("R9.R", 1.0), "QZ3_SetValue: parameter R9.R not found"),
            (lambda: circuit.text(""), "QZ3_GetText: no parameter name"),
            (lambda: circuit.trace("V(X9)"), "QZ3_GetTrace: trace V(X9) not found"),
            (lambda: circuit.run(step=-1), "QZ3_SetStep: step <= 0"),
            (lambda: circuit.inputs["R1"], "QZ3_GetInput: component R1 cannot be an input"),
            (lambda: circuit.outputs["Q1"], "QZ3_GetOutput: component Q1 not found"),
            (lambda: circuit.ac_trace("V(X9)"), "QZ3_GetACTrace: trace V(X9) not found"),
        ]
        for action, text in cases:
            with pytest.raises(qz3.Qz3Error) as error:
                action()
            assert str(error.value) == text
        with pytest.raises(qz3.Qz3Error, match="^QZ3_SetText: "):
            circuit["R1.R"] = "1k+("
        # Nothing above spoiled the handle.
        t, v = circuit.run(time=1e-3).trace("V(C1)")
        assert v[-1] == pytest.approx(1 - np.exp(-1), abs=1e-4)
    with pytest.raises(qz3.Qz3Error, match="is closed"):
        circuit.run()
    with pytest.raises(qz3.Qz3Error, match="is closed"):
        circuit["R1.R"]
    circuit.close()  # a second close is harmless


def test_a_missing_library_is_an_error_not_a_crash(tmp_path):
    script = ("import qz3\n"
              "try:\n    qz3.Circuit('x.qz3')\nexcept qz3.Qz3Error as e:\n    print('Qz3Error:', e)\n")
    env = dict(os.environ, QZ3_LIBRARY=str(tmp_path / "libnothing.so"))
    out = subprocess.run([sys.executable, "-c", script], env=env, capture_output=True, text=True, timeout=60)
    assert out.returncode == 0, out.stderr
    assert out.stdout.startswith("Qz3Error: libqz3 not found (looked for " + str(tmp_path / "libnothing.so"))
    (tmp_path / "libbroken.so").write_text("not a library")
    env["QZ3_LIBRARY"] = str(tmp_path / "libbroken.so")
    out = subprocess.run([sys.executable, "-c", script], env=env, capture_output=True, text=True, timeout=60)
    assert out.returncode == 0, out.stderr
    assert out.stdout.startswith("Qz3Error: cannot load libqz3 from " + str(tmp_path / "libbroken.so"))


def test_to_dataframe_puts_the_traces_on_one_time_axis(example):
    with qz3.Circuit(example("rc_lowpass.qz3")) as circuit:
        circuit.run(time=2e-3)
        try:
            import pandas  # noqa: F401  optional: the package never needs it
        except ImportError:
            with pytest.raises(qz3.Qz3Error, match="needs pandas"):
                circuit.to_dataframe()
            return
        frame = circuit.to_dataframe()
        assert list(frame.columns) == ["V(V1)", "V(C1)"]
        t, v = circuit.trace("V(C1)")
        np.testing.assert_allclose(frame["V(C1)"].loc[t].to_numpy(), v)
