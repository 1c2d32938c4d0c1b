"""Co-simulation handles: sources the host drives, points it reads.

The library gives a new handle for each request, so each name is asked for
once per circuit and the handle kept.
"""
import ctypes

from ._library import call, encode


class Input:
    """A source of the circuit whose value the host sets between intervals."""

    def __init__(self, circuit, name):
        self._circuit = circuit
        self.name = name
        self.handle = call("QZ3_GetInput", circuit.handle, encode(name))

    def set(self, value):
        """The value the source has from the next time point on."""
        call("QZ3_SetInputValue", self._circuit.handle, self.handle, float(value))

    def set_logical(self, high):
        """The circuit's logic high level when true, its low level when false."""
        call("QZ3_SetInputLogicalValue", self._circuit.handle, self.handle, 1 if high else 0)


class Output:
    """A label, amperemeter or voltmeter whose present value the host reads."""

    def __init__(self, circuit, name):
        self._circuit = circuit
        self.name = name
        self.handle = call("QZ3_GetOutput", circuit.handle, encode(name))

    @property
    def value(self):
        v = ctypes.c_double()
        call("QZ3_GetOutputValue", self._circuit.handle, self.handle, ctypes.byref(v))
        return v.value

    @property
    def logical(self):
        """Whether the value is above the circuit's logic threshold."""
        v = ctypes.c_int()
        call("QZ3_GetOutputLogicalValue", self._circuit.handle, self.handle, ctypes.byref(v))
        return bool(v.value)

    def __float__(self):
        return self.value


class _Handles:
    def __init__(self, circuit, kind):
        self._circuit = circuit
        self._kind = kind
        self._made = {}

    def __getitem__(self, name):
        handle = self._made.get(name)
        if handle is None:
            handle = self._made[name] = self._kind(self._circuit, name)
        return handle

    def __contains__(self, name):
        return name in self._made

    def __iter__(self):
        return iter(self._made)


class Inputs(_Handles):
    """``circuit.inputs["DUTY"]`` is the input; ``circuit.inputs["DUTY"] = 0.4`` sets it."""

    def __init__(self, circuit):
        super().__init__(circuit, Input)

    def __setitem__(self, name, value):
        self[name].set(value)


class Outputs(_Handles):
    """``circuit.outputs["VOUT"].value`` reads the output now."""

    def __init__(self, circuit):
        super().__init__(circuit, Output)
