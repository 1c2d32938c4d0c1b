"""An open schematic: values, runs, traces and co-simulation."""
import ctypes
import os

from . import _arrays, _schematic
from ._library import call, encode
from .cosim import Inputs, Outputs
from .errors import Qz3Error


class Circuit:
    """A schematic file opened in libqz3.

    Use it as a context manager: leaving the block closes the library's
    handle. ``circuit["R1.R"]`` reads a value and ``circuit["R1.R"] = 2e3``
    (or a text such as ``"2k"`` or a formula) writes it. One Circuit must not
    be used from two threads at once; separate circuits may.
    """

    def __init__(self, path):
        self.path = os.fspath(path)
        self._handle = -1
        self._handle = call("QZ3_Open", encode(self.path))
        self._schematic = _schematic.read(self.path)
        self._traces = {}
        self._ac_traces = {}
        self.inputs = Inputs(self)
        self.outputs = Outputs(self)

    # -- handle ------------------------------------------------------------
    @property
    def handle(self):
        """The library's circuit handle; a closed circuit raises Qz3Error."""
        if self._handle < 0:
            raise Qz3Error(f"circuit {self.path} is closed")
        return self._handle

    @property
    def closed(self):
        return self._handle < 0

    def close(self):
        """Closes the library's handle; closing twice does nothing."""
        if self._handle >= 0:
            handle, self._handle = self._handle, -1
            call("QZ3_Close", handle)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __del__(self):
        # A forgotten circuit is closed with its object, never twice.
        try:
            self.close()
        except Exception:
            pass

    def __repr__(self):
        state = "closed" if self.closed else f"handle {self._handle}"
        return f"<qz3.Circuit {self.path!r} ({state})>"

    # -- values and file -----------------------------------------------------
    def __getitem__(self, name):
        v = ctypes.c_double()
        call("QZ3_GetValue", self.handle, encode(name), ctypes.byref(v))
        return v.value

    def __setitem__(self, name, value):
        if isinstance(value, (str, bytes)):
            call("QZ3_SetText", self.handle, encode(name), encode(value))
        else:
            call("QZ3_SetValue", self.handle, encode(name), float(value))

    def text(self, name):
        """The parameter's text as the file holds it ("1k", "Rload*2")."""
        size = 256
        while True:
            buffer = ctypes.create_string_buffer(size)
            needed = call("QZ3_GetText", self.handle, encode(name), buffer, size)
            if needed <= size:
                return buffer.value.decode("utf-8", "replace")
            size = needed

    def save(self):
        call("QZ3_Save", self.handle)

    def save_as(self, path):
        call("QZ3_SaveAs", self.handle, encode(os.fspath(path)))

    # -- runs -----------------------------------------------------------------
    @property
    def time(self):
        """The time the present run has reached; 0 before a run."""
        t = ctypes.c_double()
        call("QZ3_GetSimulationTime", self.handle, ctypes.byref(t))
        return t.value

    def set_timeout(self, seconds):
        """Bounds each later simulate call to about this many seconds; 0 is none."""
        call("QZ3_SetTimeout", self.handle, int(seconds))

    def run(self, time=None, step=None):
        """A transient run from the start, of the file's length unless ``time`` is given.

        ``step`` replaces the file's step (and stays for later runs).
        Returns the circuit, so that ``circuit.run().trace("Vout")`` reads.
        """
        if step is not None:
            call("QZ3_SetStep", self.handle, float(step))
        length = self._schematic.screen if time is None else float(time)
        call("QZ3_Start", self.handle)
        call("QZ3_SimulateInterval", self.handle, length)
        return self

    def start(self):
        """Starts a new run at its operating point, for a co-simulation loop."""
        call("QZ3_Start", self.handle)

    def advance(self, interval):
        """Runs on for exactly ``interval`` seconds (starts a run if none is open)."""
        call("QZ3_SimulateInterval", self.handle, float(interval))
        return self.time

    def step_to(self, t):
        """Runs on until time ``t`` exactly, for lock-step co-simulation; returns the time."""
        return self.advance(float(t) - self.time)

    def delete_old_data(self):
        """Drops the points before the present time: bounds memory of long loops."""
        call("QZ3_DeleteOldData", self.handle)

    # -- traces ---------------------------------------------------------------
    @property
    def trace_names(self):
        """The transient traces of the file, in its order, then those added."""
        return self._schematic.tran_traces + [n for n in self._traces if n not in self._schematic.tran_traces]

    @property
    def ac_trace_names(self):
        return list(self._schematic.ac_traces)

    def _trace_handle(self, name):
        handle = self._traces.get(name)
        if handle is None:
            handle = self._traces[name] = call("QZ3_GetTrace", self.handle, encode(name))
        return handle

    def add_trace(self, kind, name):
        """Adds a trace: kind "V" or "I" of a component, or "F" for a formula.

        Returns the trace's name (what ``trace()`` takes): "V(R1)", "I(L1)" or
        the formula's text.
        """
        exports = {"V": ("QZ3_AddVTrace", "V({})"), "I": ("QZ3_AddITrace", "I({})"),
                   "F": ("QZ3_AddFuncTrace", "{}")}
        if kind not in exports:
            raise Qz3Error(f"trace kind {kind!r} is none of V, I, F")
        export, label = exports[kind]
        handle = call(export, self.handle, encode(name))
        label = label.format(name)
        self._traces[label] = handle
        return label

    def trace(self, name, at=None):
        """NumPy arrays ``(t, v)`` of every point the run recorded for the trace.

        With ``at`` (times), the values at those times instead, interpolated
        by the library, NaN outside the data.
        """
        handle = self._trace_handle(name)
        if at is not None:
            return _arrays.read_at(self.handle, handle, at)
        return _arrays.read_transient(self.handle, handle)

    def traces(self, names=None):
        """A dict of name: (t, v), for the file's traces unless names are given."""
        return {name: self.trace(name) for name in (self.trace_names if names is None else names)}

    def to_dataframe(self, names=None):
        """The traces as a pandas DataFrame on the union of their times (needs pandas)."""
        try:
            import pandas
        except ImportError:
            raise Qz3Error("to_dataframe needs pandas, which is not installed") from None
        import numpy as np
        names = self.trace_names if names is None else list(names)
        times = np.unique(np.concatenate([self.trace(name)[0] for name in names])) if names else np.empty(0)
        columns = {name: self.trace(name, at=times) for name in names}
        return pandas.DataFrame(columns, index=pandas.Index(times, name="t"))

    # -- AC -------------------------------------------------------------------
    def _ac_handle(self, name):
        handle = self._ac_traces.get(name)
        if handle is None:
            handle = self._ac_traces[name] = call("QZ3_GetACTrace", self.handle, encode(name))
        return handle

    def ac(self, names=None):
        """Runs the AC analysis of the file's frequency settings.

        Returns a dict of trace name: (f, magnitude, phase in degrees), for
        the file's AC traces unless names are given.
        """
        call("QZ3_CalcAC", self.handle)
        return {name: self.ac_trace(name) for name in (self.ac_trace_names if names is None else names)}

    def ac_trace(self, name):
        """(f, magnitude, phase in degrees) of the last AC analysis."""
        return _arrays.read_ac(self.handle, self._ac_handle(name))
