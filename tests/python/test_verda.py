"""The Python package as a script uses it, against verda-sim."""

import os
import pathlib
import shutil
import subprocess
import sys
import threading

import pytest

import verda
from verda import DiscountKind, PaymentMode, ReceiptType, TaxGroup


def connect(simulator, timeout=500):
    return verda.Device.tcp("localhost", simulator.port, timeout=timeout)


def sell(register, name, price):
    """One receipt of one line, paid in cash; its document number."""
    receipt = register.open_fiscal_inv(1, "1", 1, ReceiptType.SALE, "", "", "", "")
    register.register_sale(name, TaxGroup.GROUP_1, price, 1, 0, 1, DiscountKind.NONE, 0, 0, 0, 0,
                           0)
    register.total(PaymentMode.CASH, price, "1")
    closed = register.close_fiscal_inv()
    assert closed.sign_fp != ""
    return receipt.n_doc


def test_whole_shift(simulator):
    with connect(simulator) as register:
        assert register.printer_init() is None
        assert register.diagnostic_info().name == "ВЕРДА 35V-Ф"
        shift = register.open_shift(1, "1", 1, "", "", "Ёлкина А.А.", "")
        assert shift.n_shift == 1
        assert register.get_status_shift().shift_is_open is True
        assert register.programming("Dept_name", "0").value == "Отдел 1"

        receipt = register.open_fiscal_inv(op_code=1, op_pwd="1", till_nmb=1,
                                           receipt_type=ReceiptType.SALE, buyer="", vat_system="",
                                           oper_name="", oper_inn="")
        register.register_sale("Хлеб ржаной", TaxGroup.GROUP_1, 45.5, 2, 0, 1, DiscountKind.NONE,
                               0, 0, 0, 0, 0)
        assert register.subtotal("1", "0", DiscountKind.NONE, 0).subtotal == 91.0
        paid = register.total(PaymentMode.CASH, 100, "1")
        assert paid.error_status in ("0", "D", "R") and paid.new_amount == pytest.approx(9.0)
        closed = register.close_fiscal_inv()
        assert closed.slip_number == receipt.slip_number and closed.sign_fp.isdigit()

        register.print_x_report()
        report = register.print_report("Z")
        assert sum((report.sum1, report.sum2, report.sum3, report.sum4, report.sum5,
                    report.sum6)) == pytest.approx(91.0)
        assert register.get_status_shift().shift_is_open is False
    assert register.closed
    assert "Хлеб ржаной" in simulator.paper.read_text(encoding="utf-8")


def test_refusal_has_its_code_and_text(simulator):
    with connect(simulator) as register:
        with pytest.raises(verda.DeviceError) as refused:
            register.close_fiscal_inv()  # no receipt is open
    error = refused.value
    assert not isinstance(error, verda.LinkError)
    assert error.code > 100001 and error.operation == "CloseFiscalInv"
    assert error.text == verda.error_text(error.code) and error.text.startswith("Ошибка")
    assert verda.error_text(100001) == "Ошибка ввода/вывода, устройство не отвечает"


def test_two_registers_in_two_threads(simulators):
    registers = [connect(s) for s in simulators(2)]
    documents = [[], []]

    def work(i):
        registers[i].open_shift(1, "1", 1, "", "", "", "")
        for n in range(8):
            documents[i].append(sell(registers[i], f"Товар {n}", 10 + n))

    threads = [threading.Thread(target=work, args=(i,)) for i in range(2)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    for register in registers:
        register.close()
    # Each register numbered its own eight receipts in a row.
    for numbers in documents:
        assert numbers == list(range(numbers[0], numbers[0] + 8))


def test_dead_link(simulator):
    register = connect(simulator, timeout=20)
    register.check_connection()
    simulator.stop()
    with pytest.raises(verda.LinkError) as lost:
        register.check_connection()
    assert lost.value.code == 100001
    register.close()
    with pytest.raises(verda.LinkError):
        verda.Device.tcp("127.0.0.1", simulator.port)  # nothing listens there now
    with pytest.raises(ValueError):
        register.check_connection()  # closed


BAD_ARGUMENTS = [
    # (what, the sale's arguments after the name, exception)
    ("no name", (None,), TypeError),
    ("name of bytes", (b"bread",), TypeError),
    ("name out of the code page", ("Цена 5 €",), ValueError),
    ("name with a tab", ("Хлеб\tржаной",), ValueError),
    ("name with a NUL", ("Хлеб\0",), ValueError),
    ("name with a lone surrogate", ("\udc80",), ValueError),
    ("tax code of two characters", ("Хлеб", "12"), ValueError),
    ("tax code out of the code page", ("Хлеб", "€"), ValueError),
    ("tax code as an int", ("Хлеб", 1), TypeError),  # would go out as byte 0x01
    ("tax code as a number code", ("Хлеб", ReceiptType.RETURN), TypeError),
    ("tax code of two bytes", ("Хлеб", b"12"), ValueError),
    ("tax code as a float", ("Хлеб", 1.0), TypeError),
    ("discount kind as an int", ("Хлеб", "1", 1, 1, 0, 1, 0), TypeError),
    ("price as text", ("Хлеб", "1", "45.50"), TypeError),
    ("price as a bool", ("Хлеб", "1", True), TypeError),
    ("unit as a float", ("Хлеб", "1", 1, 1, 0.5), TypeError),
    ("department beyond an int", ("Хлеб", "1", 1, 1, 0, 2 ** 31), ValueError),
]


@pytest.mark.parametrize("what, arguments, error", BAD_ARGUMENTS, ids=[c[0] for c in BAD_ARGUMENTS])
def test_bad_input_is_refused_before_anything_is_sent(simulator, what, arguments, error):
    defaults = ("Хлеб", TaxGroup.GROUP_1, 1.0, 1.0, 0, 1, DiscountKind.NONE, 0.0, 0.0, 0.0, 0, 0)
    with connect(simulator) as register:
        register.open_shift(1, "1", 1, "", "", "", "")
        register.open_fiscal_inv(1, "1", 1, 0, "", "", "", "")
        with pytest.raises(error):
            register.register_sale(*(arguments + defaults[len(arguments):]))
        assert register.fiscal_transactions_status().items == 0


@pytest.mark.parametrize("tax", ["1", b"1", TaxGroup.GROUP_1], ids=["str", "bytes", "enum"])
def test_a_char_parameter_takes_a_character_a_byte_or_a_code(simulator, tax):
    with connect(simulator) as register:
        register.start_shift()
        register.open_receipt()
        register.register_sale("Хлеб", tax, 10, 1, 0, 1, DiscountKind.NONE, 0, 0, 0, 0, 0)
        assert register.sum_up().tax1 == pytest.approx(1.67)  # group 1, at 20 %
    assert "Хлеб" in simulator.paper.read_text(encoding="utf-8")


def python_in(environment, folder=None):
    """Runs a program in a fresh Debian interpreter with the package on its
    path (folder's copy, or the build's) and environment; its result."""
    env = {k: v for k, v in os.environ.items() if k != verda.LIBRARY_VARIABLE}
    if folder is not None:
        env["PYTHONPATH"] = str(folder)
    env.update(environment)
    program = "import verda\nverda.error_text(0)\n"
    return subprocess.run([sys.executable, "-c", program], env=env, capture_output=True,
                          text=True, timeout=60)


def test_a_library_that_cannot_be_loaded_is_named(tmp_path):
    missing = tmp_path / "libCorteliaVERDA.so"
    run = python_in({verda.LIBRARY_VARIABLE: str(missing)})
    assert run.returncode != 0
    assert "OSError" in run.stderr and f"VERDA_LIBRARY={missing}" in run.stderr

    # The package's own soname, where the loader finds none.
    package = tmp_path / "site" / "verda"
    shutil.copytree(pathlib.Path(verda.__file__).parent, package,
                    ignore=shutil.ignore_patterns("__pycache__"))
    (package / "_build.py").write_text('SONAME = "libCorteliaVERDA.so.99"\n')
    run = python_in({"LD_LIBRARY_PATH": ""}, tmp_path / "site")
    assert run.returncode != 0
    assert "libCorteliaVERDA.so.99" in run.stderr and "VERDA_LIBRARY" in run.stderr
