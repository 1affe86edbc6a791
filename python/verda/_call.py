"""How a method of verda.Device reaches its C function: the parameters' kinds,
the checks of the arguments, the ctypes values, and the outputs back."""

from __future__ import annotations

import ctypes
from typing import Any, NamedTuple

# ctypes of a value passed in, and of the pointer through which an output comes.
_VALUE = {"int": ctypes.c_int, "long": ctypes.c_long, "double": ctypes.c_double,
          "char": ctypes.c_char, "bool": ctypes.c_bool}
_LIMITS = {kind: (-(1 << (8 * ctypes.sizeof(_VALUE[kind]) - 1)),
                  (1 << (8 * ctypes.sizeof(_VALUE[kind]) - 1)) - 1) for kind in ("int", "long")}


class Parameter(NamedTuple):
    """A parameter of an operation: its Python name, its kind (int, long,
    double, char, bool, text) and its direction (in, out, inout)."""

    name: str
    kind: str
    direction: str


class Operation:
    """An operation: its C function's name, its parameters in the member's
    order, and the class of its outputs (None when it has none)."""

    __slots__ = ("function", "parameters", "result", "name", "_bound")

    def __init__(self, function: str, parameters: tuple, result: Any) -> None:
        self.function = function
        self.parameters = parameters
        self.result = result
        self.name = function[len("verda_"):]
        self._bound = None

    def bind(self, library: ctypes.CDLL):
        """The C function, its argument types declared on first use."""
        if self._bound is None:
            function = getattr(library, self.function)
            types = [ctypes.c_void_p]
            for p in self.parameters:
                if p.kind == "text":
                    types.append(ctypes.c_char_p)
                    if p.direction != "in":
                        types.append(ctypes.c_size_t)
                elif p.direction == "in":
                    types.append(_VALUE[p.kind])
                else:
                    types.append(ctypes.POINTER(_VALUE[p.kind]))
            function.argtypes = types
            function.restype = ctypes.c_int
            self._bound = function
        return self._bound


def argument(operation: Operation, parameter: Parameter, value: Any):
    """An input checked and made ready for ctypes; TypeError or ValueError
    before anything is sent."""
    where = f"{operation.name}: {parameter.name}"
    kind = parameter.kind
    if kind == "text":
        if not isinstance(value, str):
            raise TypeError(f"{where} must be a str, not {type(value).__name__}")
        if "\0" in value:
            raise ValueError(f"{where} holds a NUL character")
        try:
            return value.encode("utf-8")
        except UnicodeEncodeError as error:
            raise ValueError(f"{where} is not text that UTF-8 can carry") from error
    if kind == "char":
        # A character, or a raw byte given as such; never a number, which
        # would go out as the byte of that value where the register reads a
        # character ('1' is 0x31, not 0x01).
        if isinstance(value, str):
            if len(value) != 1:
                raise ValueError(f"{where} must be one character, not {len(value)}")
            try:
                return value.encode("cp866")
            except UnicodeEncodeError as error:
                raise ValueError(f"{where}: {value!r} has no byte in the register's "
                                 f"code page") from error
        if isinstance(value, bytes):
            if len(value) != 1:
                raise ValueError(f"{where} must be one byte, not {len(value)}")
            return value
        if isinstance(value, int) and not isinstance(value, bool):
            raise TypeError(f"{where} takes a character such as '1' (or one raw byte as "
                            f"bytes), not the int {value}")
        raise TypeError(f"{where} must be a one-character str or one byte, "
                        f"not {type(value).__name__}")
    if isinstance(value, bool) or not isinstance(value, (int, float) if kind == "double" else int):
        expected = "a number" if kind == "double" else "an int"
        raise TypeError(f"{where} must be {expected}, not {type(value).__name__}")
    if kind == "double":
        return float(value)
    low, high = _LIMITS[kind]
    if not low <= value <= high:
        raise ValueError(f"{where} is out of range: {value}")
    return value


def arguments(operation: Operation, values: tuple, buffers) -> tuple[list, list]:
    """The C function's arguments after the handle, and the places the outputs
    come back in, in order. buffers(i) gives the i-th text buffer of the call."""
    c_args, places, given = [], [], iter(values)
    texts = 0
    for p in operation.parameters:
        value = argument(operation, p, next(given)) if p.direction != "out" else None
        if p.kind == "text":
            if p.direction == "in":
                c_args.append(value)
                continue
            buffer = buffers(texts)
            texts += 1
            if p.direction == "inout":
                if len(value) >= len(buffer):
                    raise ValueError(f"{operation.name}: {p.name} is too long")
                ctypes.memmove(buffer, value + b"\0", len(value) + 1)
            else:
                buffer[0] = b"\0"
            c_args.extend((buffer, len(buffer)))
            places.append(buffer)
        elif p.direction == "in":
            c_args.append(value)
        else:
            place = _VALUE[p.kind]() if value is None else _VALUE[p.kind](value)
            c_args.append(ctypes.byref(place))
            places.append(place)
    return c_args, places


def outputs(operation: Operation, places: list):
    """The outputs object of a call that succeeded, or None."""
    if operation.result is None:
        return None
    values = []
    for p, place in zip((p for p in operation.parameters if p.direction != "in"), places):
        if p.kind == "text":
            values.append(place.value.decode("utf-8"))
        elif p.kind == "char":
            values.append(place.value.decode("cp866"))
        else:
            values.append(place.value)
    return operation.result(*values)
