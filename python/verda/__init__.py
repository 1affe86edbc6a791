"""Python access to a fiscal cash register through libCorteliaVERDA.

    import verda
    from verda import DiscountKind, PaymentMode, ReceiptType, TaxGroup

    with verda.Device.tcp("192.168.0.50", 4999) as register:
        register.printer_init()
        register.start_shift(cashier="Иванова А. В.")
        register.open_receipt(ReceiptType.SALE, cashier="Иванова А. В.")
        register.sell("Хлеб", 45.50, 2, tax=TaxGroup.GROUP_1,
                      discount=DiscountKind.PERCENT, discount_value=5)
        register.pay(100.00, PaymentMode.CASH)
        print(register.close_fiscal_inv().sign_fp)

Every operation of the register is a method of Device, named after the
operation in snake_case (OpenFiscalInv -> open_fiscal_inv); its inputs are
its parameters, in the order of the operation, and its outputs come back as
one object with an attribute each (n_fd, sign_fp, ...), or None. What a
point-of-sale program does most also has a method with keyword arguments:
start_shift, open_receipt, sell, sell_article, sum_up, pay, cash_in,
cash_out, cash_sums, x_report, z_report, tax_rates.

The register's codes are enums (ReceiptType, CorrectionType, DiscountKind,
PaymentMode, PaymentStatus, CashDirection, TaxGroup, ReceiptParameter,
OpenDocument, Unit, SettlementSubject, SettlementMethod; docs/codes.md):
a code sent as a number is an IntEnum, one sent as a byte an enum of
one-character strings. Text is str both ways; a char parameter takes a
one-character str (in the register's code page), or one raw byte as bytes,
but not an int (TypeError), and comes back as a one-character str.

A refusal of the register raises DeviceError (with .code and its Russian
.text); a failed exchange (or a broken reply) raises LinkError, a subclass.
After a LinkError the register may or may not have done what was asked: the
method's docstring says what to read to find out. Bad arguments raise
TypeError or ValueError before anything is sent: also text with a character
that the register's code page cannot carry.

The package loads libCorteliaVERDA by its soname, or from the path in the
environment variable VERDA_LIBRARY; a library that cannot be loaded raises
OSError naming the file tried and VERDA_LIBRARY.
"""

from __future__ import annotations

import ctypes
import os
import threading

from . import _call, _codes, _operations
from ._codes import *  # noqa: F401,F403 (the enums of the codes)
from ._library import ENVIRONMENT as LIBRARY_VARIABLE, library
from ._operations import *  # noqa: F401,F403 (the result classes)
from ._operations import Operations
from ._selling import Selling, ShiftReport

__all__ = ["Device", "DeviceError", "LinkError", "ShiftReport", "error_text",
           "LIBRARY_VARIABLE"] + _codes.__all__ + [
    name for name in dir(_operations) if name.endswith("Result")]

# Results that say the arguments were refused before anything was sent.
_BAD_ARGUMENT = {_operations.NULL_ARGUMENT, _operations.INVALID_UTF8,
                 _operations.NOT_IN_CODE_PAGE, _operations.INVALID_ARGUMENT}
_LINK = {_operations.EXCHANGE_FAILED, _operations.REPLY_TOO_SHORT,
         _operations.OPEN_FAILED, _operations.UNKNOWN_HOST}


def error_text(code: int) -> str:
    """The Russian text of a result code (the register's, the link's, the
    library's own)."""
    return library().verda_error_text(code).decode("utf-8")


class DeviceError(Exception):
    """The register refused an operation: .code is its result code, .text
    the Russian text of it."""

    def __init__(self, code: int, operation: str = "") -> None:
        self.code = code
        self.text = error_text(code)
        self.operation = operation
        super().__init__(f"{operation + ': ' if operation else ''}error {code}: {self.text}")


class LinkError(DeviceError):
    """The register could not be reached: no valid reply after every repeat
    (100001), a broken reply, or a link that could not be opened."""


def _raise(code: int, operation: str) -> None:
    if code in _BAD_ARGUMENT:
        raise ValueError(f"{operation}: {error_text(code)}")
    if code == _operations.OUT_OF_MEMORY:
        raise MemoryError(f"{operation}: {error_text(code)}")
    if code in _LINK:
        raise LinkError(code, operation)
    raise DeviceError(code, operation)


class Device(Selling, Operations):
    """One register, through a handle of its own. Make it open with
    Device.tcp or Device.serial; it is a context manager that closes on exit.
    Calls from several threads are serialised; two Devices work in
    parallel."""

    __slots__ = ("_handle", "_lock", "_buffers", "__weakref__")

    def __init__(self) -> None:
        """A device without a link; Device.tcp and Device.serial open one."""
        self._lock = threading.Lock()
        self._buffers: list = []
        self._handle = library().verda_device_new()
        if not self._handle:
            raise MemoryError("verda_device_new: out of memory")

    @classmethod
    def tcp(cls, host: str, port: int, timeout: int | None = None) -> Device:
        """A device connected over TCP to host (a name or an IPv4 address)
        and port. timeout: in milliseconds (at most 2559); None keeps the
        library's 50. Raises LinkError when the connection fails."""
        device = cls()
        try:
            if timeout is not None:
                device.set_timeout(timeout)
            device._check("verda_open_socket", library().verda_open_socket(
                device._handle, _call.argument(_OPEN_TCP, _HOST, host), _port(port)))
        except BaseException:
            device.close()
            raise
        return device

    @classmethod
    def serial(cls, path: str | os.PathLike, baud: int = 115200,
               timeout: int | None = None) -> Device:
        """A device on a serial line (8N1) at baud. timeout: in units of
        10 ms (at most 2559); None keeps the library's 50. Raises LinkError when the line
        cannot be opened."""
        device = cls()
        try:
            if timeout is not None:
                device.set_timeout(timeout)
            device._check("verda_open_serial", library().verda_open_serial(
                device._handle, _call.argument(_OPEN_SERIAL, _PATH, os.fspath(path)),
                _call.argument(_OPEN_SERIAL, _BAUD, baud)))
        except BaseException:
            device.close()
            raise
        return device

    def set_timeout(self, timeout: int) -> None:
        """The read timeout in the library's units: 1 ms on TCP, 10 ms on a
        serial line."""
        value = _call.argument(_SET_TIMEOUT, _TIMEOUT, timeout)
        with self._lock:
            self._check("verda_set_timeout", library().verda_set_timeout(self._open(), value))

    def set_log_dir(self, folder: str | os.PathLike | None) -> None:
        """Logs this device's exchanges to CorteliaVERDA.log in folder; None:
        no log (the default)."""
        value = None if folder is None else _call.argument(_SET_LOG_DIR, _FOLDER,
                                                            os.fspath(folder))
        with self._lock:
            self._check("verda_set_log_dir", library().verda_set_log_dir(self._open(), value))

    def close(self) -> None:
        """Closes the link and releases the handle; a closed device takes no
        more calls. Closing twice does nothing."""
        with self._lock:
            handle, self._handle = self._handle, None
            self._buffers = []
        if handle:
            library().verda_device_free(handle)

    @property
    def closed(self) -> bool:
        return self._handle is None

    def __enter__(self) -> Device:
        return self

    def __exit__(self, *exception) -> None:
        self.close()

    def __del__(self) -> None:
        try:
            if getattr(self, "_handle", None):
                self.close()
        except Exception:  # the interpreter is shutting down
            pass

    def _open(self):
        if self._handle is None:
            raise ValueError("the device is closed")
        return self._handle

    def _buffer(self, index: int):
        # Text outputs land in buffers kept for the device's life: a call
        # holds the lock, so one set serves every call.
        while len(self._buffers) <= index:
            self._buffers.append(ctypes.create_string_buffer(_operations.TEXT_MAX))
        return self._buffers[index]

    @staticmethod
    def _check(operation: str, code: int) -> None:
        if code != _operations.OK:
            _raise(code, operation)

    def _call(self, operation: _call.Operation, values: tuple):
        function = operation.bind(library())
        with self._lock:
            c_args, places = _call.arguments(operation, values, self._buffer)
            code = function(self._open(), *c_args)
            if code != _operations.OK:
                _raise(code, operation.name)
            return _call.outputs(operation, places)


def _port(port: int) -> int:
    return _call.argument(_OPEN_TCP, _PORT, port)


# The lifecycle's arguments, checked as the operations' are.
_OPEN_TCP = _call.Operation("verda_open_socket", (), None)
_OPEN_SERIAL = _call.Operation("verda_open_serial", (), None)
_SET_TIMEOUT = _call.Operation("verda_set_timeout", (), None)
_SET_LOG_DIR = _call.Operation("verda_set_log_dir", (), None)
_HOST = _call.Parameter("host", "text", "in")
_PORT = _call.Parameter("port", "int", "in")
_PATH = _call.Parameter("path", "text", "in")
_BAUD = _call.Parameter("baud", "int", "in")
_TIMEOUT = _call.Parameter("timeout", "int", "in")
_FOLDER = _call.Parameter("folder", "text", "in")
