"""Finding libqz3 and calling it through ctypes.

The library is looked for, in this order: the file named by the environment
variable QZ3_LIBRARY; libqz3.so beside the package's parent folder (the build
tree, where the build links the package next to the library); build/libqz3.so
of the source tree the package sits in; the system's library path.
"""
import ctypes
import ctypes.util
import os
import threading

from .errors import Qz3Error

_int, _dbl, _str = ctypes.c_int, ctypes.c_double, ctypes.c_char_p
_pdbl, _pint, _ptr = ctypes.POINTER(ctypes.c_double), ctypes.POINTER(ctypes.c_int), ctypes.c_void_p

# Every export the package uses, with its C signature. Pointer outputs that
# the bulk readers fill in place of NumPy arrays are declared as void* so
# that a plain address can be passed without building a ctypes object.
_PROTOTYPES = {
    "QZ3_GetError": (_str, []),
    "QZ3_GetInfo": (_str, []),
    "QZ3_Open": (_int, [_str]),
    "QZ3_Save": (_int, [_int]),
    "QZ3_SaveAs": (_int, [_int, _str]),
    "QZ3_Close": (_int, [_int]),
    "QZ3_GetValue": (_int, [_int, _str, _pdbl]),
    "QZ3_SetValue": (_int, [_int, _str, _dbl]),
    "QZ3_GetText": (_int, [_int, _str, ctypes.c_char_p, _int]),
    "QZ3_SetText": (_int, [_int, _str, _str]),
    "QZ3_SetTimeout": (_int, [_int, _int]),
    "QZ3_SetStep": (_int, [_int, _dbl]),
    "QZ3_GetSimulationTime": (_int, [_int, _pdbl]),
    "QZ3_Start": (_int, [_int]),
    "QZ3_Simulate": (_int, [_int, _dbl]),
    "QZ3_SimulateInterval": (_int, [_int, _dbl]),
    "QZ3_GetTrace": (_int, [_int, _str]),
    "QZ3_AddVTrace": (_int, [_int, _str]),
    "QZ3_AddITrace": (_int, [_int, _str]),
    "QZ3_AddFuncTrace": (_int, [_int, _str]),
    "QZ3_GetDataSize": (_int, [_int, _int]),
    "QZ3_GetDataAt": (_int, [_int, _int, _int, _ptr, _ptr]),
    "QZ3_GetData": (_int, [_int, _int, _dbl, _ptr]),
    "QZ3_DeleteOldData": (_int, [_int]),
    "QZ3_GetInput": (_int, [_int, _str]),
    "QZ3_SetInputValue": (_int, [_int, _int, _dbl]),
    "QZ3_SetInputLogicalValue": (_int, [_int, _int, _int]),
    "QZ3_GetOutput": (_int, [_int, _str]),
    "QZ3_GetOutputValue": (_int, [_int, _int, _pdbl]),
    "QZ3_GetOutputLogicalValue": (_int, [_int, _int, _pint]),
    "QZ3_CalcAC": (_int, [_int]),
    "QZ3_GetACTrace": (_int, [_int, _str]),
    "QZ3_GetACDataSize": (_int, [_int, _int]),
    "QZ3_GetACDataAt": (_int, [_int, _int, _int, _ptr, _ptr, _ptr]),
}

_lock = threading.Lock()
_loaded = None


def _candidates():
    named = os.environ.get("QZ3_LIBRARY")
    if named:
        # An explicit choice is the only one: falling back to another copy
        # would hide a wrong setting.
        return [named]
    package = os.path.dirname(os.path.abspath(__file__))
    parent = os.path.dirname(package)
    found = [os.path.join(parent, "libqz3.so"),
             os.path.join(os.path.dirname(parent), "build", "libqz3.so")]
    system = ctypes.util.find_library("qz3")
    if system:
        found.append(system)
    return found


def _load():
    tried = []
    for path in _candidates():
        if os.sep in path and not os.path.exists(path):
            tried.append(path)
            continue
        try:
            lib = ctypes.CDLL(path)
        except OSError as error:
            raise Qz3Error(f"cannot load libqz3 from {path}: {error}") from None
        for name, (restype, argtypes) in _PROTOTYPES.items():
            function = getattr(lib, name)
            function.restype, function.argtypes = restype, argtypes
        return lib
    raise Qz3Error("libqz3 not found (looked for " + ", ".join(tried or ["the system's libqz3"]) +
                   "); set QZ3_LIBRARY to the library's file")


def library():
    """The loaded library; loads it on first use."""
    global _loaded
    if _loaded is None:
        with _lock:
            if _loaded is None:
                _loaded = _load()
    return _loaded


def encode(text):
    """Names and texts go to the library as bytes of the file system's encoding."""
    if isinstance(text, bytes):
        return text
    if not isinstance(text, str):
        raise TypeError(f"expected a text, got {type(text).__name__}")
    return os.fsencode(text)


def error_text():
    """What the calling thread's last library call said."""
    return library().QZ3_GetError().decode("utf-8", "replace")


def call(name, *args):
    """Calls an export and turns its -1 into a Qz3Error with the library's line."""
    result = getattr(library(), name)(*args)
    if result < 0:
        raise Qz3Error(error_text())
    return result


def info():
    """The library's version line."""
    return library().QZ3_GetInfo().decode("utf-8", "replace")
