"""Whole traces into NumPy arrays.

The library hands out one point per call. The calls are made by ``map`` over
the export itself, with the addresses of the arrays' cells computed by NumPy,
so that no Python statement runs per point: each point costs one foreign call
and nothing else. Failures are rare, so the results are only scanned after a
block, and the first failing call is made again to get its message.
"""
import itertools

import numpy as np

from ._library import call, error_text, library
from .errors import Qz3Error

# Points per block of calls: bounds the lists of addresses to a few MB.
_BLOCK = 1 << 16


def _addresses(array, first, count):
    return (array.ctypes.data + array.itemsize * np.arange(first, first + count, dtype=np.int64)).tolist()


def _raise_first_failure(export, results, args_of):
    failed = next(i for i, result in enumerate(results) if result < 0)
    export(*args_of(failed))
    raise Qz3Error(error_text())


def _read_indexed(export, ncir, ntrace, count, columns):
    arrays = [np.empty(count) for _ in range(columns)]
    for first in range(0, count, _BLOCK):
        n = min(_BLOCK, count - first)
        pointers = [_addresses(array, first, n) for array in arrays]
        results = list(map(export, itertools.repeat(ncir, n), itertools.repeat(ntrace, n),
                           range(first, first + n), *pointers))
        if min(results) < 0:
            _raise_first_failure(export, results,
                                 lambda i: (ncir, ntrace, first + i, *(p[i] for p in pointers)))
    return tuple(arrays)


def read_transient(ncir, ntrace):
    """(t, v) of every point the trace recorded."""
    lib = library()
    count = call("QZ3_GetDataSize", ncir, ntrace)
    return _read_indexed(lib.QZ3_GetDataAt, ncir, ntrace, count, 2)


def read_ac(ncir, ntrace):
    """(f, magnitude, phase in degrees) of every point of an AC trace."""
    lib = library()
    count = call("QZ3_GetACDataSize", ncir, ntrace)
    return _read_indexed(lib.QZ3_GetACDataAt, ncir, ntrace, count, 3)


def read_at(ncir, ntrace, times):
    """The trace at the given times, interpolated by the library; NaN where it has no data."""
    times = np.ascontiguousarray(times, dtype=np.float64).ravel()
    values = np.full(times.shape, np.nan)
    export = library().QZ3_GetData
    for first in range(0, times.size, _BLOCK):
        n = min(_BLOCK, times.size - first)
        results = np.fromiter(map(export, itertools.repeat(ncir, n), itertools.repeat(ntrace, n),
                                  times[first:first + n].tolist(), _addresses(values, first, n)),
                              dtype=np.int64, count=n)
        failed = np.flatnonzero(results < 0)
        values[first + failed] = np.nan
        if failed.size:
            _check_outside_data(export, ncir, ntrace, times[first + failed[0]])
    return values


def _check_outside_data(export, ncir, ntrace, time):
    # Outside the data is an answer here (NaN), not a failure; a bad handle is.
    scratch = np.empty(1)
    export(ncir, ntrace, float(time), scratch.ctypes.data)
    text = error_text()
    if not text.endswith("no data at requested time"):
        raise Qz3Error(text)
