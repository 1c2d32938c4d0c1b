"""The Python examples run and say what they should."""
import os
import re
import subprocess
import sys

from conftest import EXAMPLES


def run_example(name, *args, cwd):
    script = os.path.join(EXAMPLES, "python", name)
    out = subprocess.run([sys.executable, script, *args], capture_output=True, text=True, timeout=300, cwd=cwd)
    assert out.returncode == 0, out.stderr
    return out.stdout


def test_the_cosim_example_regulates_to_five_volts(tmp_path):
    text = run_example("cosim_pi.py", cwd=tmp_path)
    mean = float(re.search(r"mean of the last ms: ([0-9.]+) V", text).group(1))
    assert abs(mean - 5.0) < 0.1


def test_the_load_sweep_example_tabulates_the_ripple(tmp_path):
    text = run_example("buck_load_sweep.py", "--loads", "2", "--workers", "2", "--time", "11e-3",
                       "--plot", str(tmp_path / "ripple.png"), cwd=tmp_path)
    rows = re.findall(r"^\s*([0-9.]+) Ohm\s+([0-9.]+) A\s+([0-9.]+) V\s+([0-9.]+) mV$", text, re.M)
    assert [float(r[0]) for r in rows] == [2.0, 50.0]
    # At 2 Ohm the converter conducts continuously: 6 V, and the ripple of
    # an LC filter, dI / (8 f C) with dI = 6 V * 0.5 / (L f) = 0.3 A.
    assert abs(float(rows[0][2]) - 6.0) < 0.01
    assert abs(float(rows[0][3]) - 0.3 / (8 * 100e3 * 100e-6) * 1e3) < 0.1
    plotted = (tmp_path / "ripple.png").exists()
    assert plotted == ("wrote " in text) and (plotted or "matplotlib is not installed" in text)
