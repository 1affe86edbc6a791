"""The Python package as a script uses it, against verda-sim."""

import threading

import pytest

import verda


def connect(simulator, timeout=500):
    return verda.Device.tcp("localhost", simulator.port, timeout=timeout)


def sell(register, name, price):
    """One receipt of one line, paid in cash; its document number."""
    receipt = register.open_fiscal_inv(1, "1", 1, 0, "", "", "", "")
    register.register_sale(name, "1", price, 1, 0, 1, "0", 0, 0, 0, 0, 0)
    register.total(0, price, "1")
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

        receipt = register.open_fiscal_inv(op_code=1, op_pwd="1", till_nmb=1, receipt_type=0,
                                           buyer="", vat_system="", oper_name="", oper_inn="")
        register.register_sale("Хлеб ржаной", "1", 45.5, 2, 0, 1, "0", 0, 0, 0, 0, 0)
        assert register.subtotal("1", "0", "0", 0).subtotal == 91.0
        paid = register.total(0, 100, "1")
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
    ("tax code above a byte", ("Хлеб", 256), ValueError),
    ("tax code as a float", ("Хлеб", 1.0), TypeError),
    ("price as text", ("Хлеб", "1", "45.50"), TypeError),
    ("price as a bool", ("Хлеб", "1", True), TypeError),
    ("unit as a float", ("Хлеб", "1", 1, 1, 0.5), TypeError),
    ("department beyond an int", ("Хлеб", "1", 1, 1, 0, 2 ** 31), ValueError),
]


@pytest.mark.parametrize("what, arguments, error", BAD_ARGUMENTS, ids=[c[0] for c in BAD_ARGUMENTS])
def test_bad_input_is_refused_before_anything_is_sent(simulator, what, arguments, error):
    defaults = ("Хлеб", "1", 1.0, 1.0, 0, 1, "0", 0.0, 0.0, 0.0, 0, 0)
    with connect(simulator) as register:
        register.open_shift(1, "1", 1, "", "", "", "")
        register.open_fiscal_inv(1, "1", 1, 0, "", "", "", "")
        with pytest.raises(error):
            register.register_sale(*(arguments + defaults[len(arguments):]))
        assert register.fiscal_transactions_status().items == 0
