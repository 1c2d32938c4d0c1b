"""qz3: scripting libqz3 circuits from Python.

    import qz3
    with qz3.Circuit("examples/buck_converter.qz3") as circuit:
        circuit["R1.R"] = 10
        t, v = circuit.run().trace("Vout")

``qz3.sweep`` runs a study of many runs on local processes or a Dask cluster.
Every failure raises ``qz3.Qz3Error`` with the library's own line.
"""
from ._library import info
from .circuit import Circuit
from .cosim import Input, Output
from .errors import Qz3Error
from .sweep import draws, grid, normal, sweep, uniform

__all__ = ["Circuit", "Input", "Output", "Qz3Error", "draws", "grid", "info", "normal", "sweep", "uniform"]
