"""Lock-step co-simulation from Python: the host closes the loop."""
import numpy as np
import pytest

import qz3


def test_a_pi_loop_holds_the_buck_converter_at_its_reference(example):
    interval, reference, kp, ki = 10e-6, 5.0, 0.002, 30.0
    with qz3.Circuit(example("buck_cosim.qz3")) as circuit:
        duty, vout = circuit.inputs["DUTY"], circuit.outputs["VOUT"]
        assert circuit.inputs["DUTY"] is duty  # one handle per name
        assert vout.value == 0.0  # no run yet
        circuit.start()
        integral, last = 0.0, []
        for k in range(1, 2001):
            assert circuit.step_to(k * interval) == pytest.approx(k * interval, rel=1e-12)
            error = reference - vout.value
            integral += error * interval
            duty.set(min(max(kp * error + ki * integral, 0.0), 0.95))
            if k > 1900:
                last.append(float(vout))
        assert np.mean(last) == pytest.approx(reference, abs=0.1)
        # The host's duty cycle is what the modulator used: the recorded
        # output agrees with what the host read.
        t, v = circuit.trace("Vout")
        assert v[-1] == pytest.approx(vout.value, abs=1e-9)


def test_inputs_set_by_item_and_logical_levels(example):
    with qz3.Circuit(example("buck_cosim.qz3")) as circuit:
        assert circuit.outputs["VOUT"].logical is False  # 0 V before a run
        circuit.inputs["DUTY"] = 0.25
        t = circuit.advance(6e-3)
        tv, v = circuit.trace("Vout")
        last = tv >= t - 1e-3
        assert np.trapz(v[last], tv[last]) / 1e-3 == pytest.approx(0.25 * 12, abs=0.1)
        assert circuit.outputs["VOUT"].logical is True  # above the 2.5 V threshold
        circuit.inputs["DUTY"].set_logical(True)  # the logic high, 5 V: always on
        circuit.advance(6e-3)
        assert circuit.outputs["VOUT"].value == pytest.approx(12.0, abs=0.3)
        with pytest.raises(qz3.Qz3Error) as error:
            circuit.step_to(0.0)
        assert str(error.value) == "QZ3_SimulateInterval: interval < 0"
        assert circuit.time == pytest.approx(12e-3)
