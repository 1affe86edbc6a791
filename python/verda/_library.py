"""Finding libCorteliaVERDA: the file named by the environment variable
VERDA_LIBRARY when it is set (a build tree, the tests), else the installed
library by its soname, as the dynamic loader finds it. A library that cannot
be loaded is an OSError that says which file was tried and how to name
another."""

from __future__ import annotations

import ctypes
import os
import threading

ENVIRONMENT = "VERDA_LIBRARY"

_lock = threading.Lock()
_library = None


def _soname() -> str:
    try:
        from ._build import SONAME  # written by the build (CMake) beside this file
    except ImportError as error:
        raise OSError(f"the verda package has no _build.py: set {ENVIRONMENT} to the path "
                      "of libCorteliaVERDA.so") from error
    return SONAME


def library() -> ctypes.CDLL:
    """The loaded library, its handle functions declared; loaded on first use."""
    global _library
    with _lock:
        if _library is None:
            given = os.environ.get(ENVIRONMENT)
            path = given or _soname()
            try:
                lib = ctypes.CDLL(path)
            except OSError as error:
                where = (f"{ENVIRONMENT}={given}" if given else
                         f"{path} (install libCorteliaVERDA, or set {ENVIRONMENT} to the path "
                         "of libCorteliaVERDA.so)")
                raise OSError(f"cannot load libCorteliaVERDA from {where}: {error}") from error
            handle, text, integer = ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int
            for name, result, parameters in (
                    ("verda_device_new", handle, ()),
                    ("verda_device_free", None, (handle,)),
                    ("verda_open_socket", integer, (handle, text, integer)),
                    ("verda_open_serial", integer, (handle, text, integer)),
                    ("verda_close", integer, (handle,)),
                    ("verda_set_timeout", integer, (handle, integer)),
                    ("verda_set_log_dir", integer, (handle, text)),
                    ("verda_error_text", text, (integer,))):
                function = getattr(lib, name)
                function.restype = result
                function.argtypes = parameters
            _library = lib
        return _library
