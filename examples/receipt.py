#!/usr/bin/python3
"""The Python package in a point-of-sale script in miniature: one register,
one receipt of one loaf of bread paid in cash.

    receipt.py tcp HOST PORT          a register on the network
    receipt.py serial DEVICE [BAUD]   a register on a serial line (115200)

A refusal of the register raises verda.DeviceError, with its code and its
Russian text. The exit status is 0 when the receipt was closed."""

import sys

import verda
from verda import PaymentMode, ReceiptType, TaxGroup


def open_register(argv):
    if len(argv) == 4 and argv[1] == "tcp":
        return verda.Device.tcp(argv[2], int(argv[3]))
    if len(argv) in (3, 4) and argv[1] == "serial":
        return verda.Device.serial(argv[2], int(argv[3]) if len(argv) == 4 else 115200)
    print(f"usage: {argv[0]} tcp HOST PORT | serial DEVICE [BAUD]", file=sys.stderr)
    sys.exit(2)


def main(argv):
    if len(argv) < 3:
        open_register(argv)  # prints the usage
    try:
        with open_register(argv) as register:
            register.printer_init()
            try:
                print("shift", register.start_shift(cashier="Иванова").n_shift, "opened")
            except verda.DeviceError as error:
                print(f"no new shift: {error.text}")  # one that is open already is fine
            receipt = register.open_receipt(ReceiptType.SALE, cashier="Иванова",
                                            cashier_inn="500100732259")
            try:
                # One loaf at 45.50 in tax group 1, department 1, no discount.
                register.sell("Хлеб", 45.50, 1, tax=TaxGroup.GROUP_1)
                paid = register.pay(50.00, PaymentMode.CASH)  # change allowed
                print(f"status {paid.error_status}, {paid.new_amount:.2f}")
            except verda.LinkError:
                # The register may have the line or the payment, or not: the
                # receipt stays open for whoever finds out (see the method's
                # docstring); nothing more is sent over a lost link.
                raise
            except verda.DeviceError:
                register.cancel_fiscal_inv()
                raise
            closed = register.close_fiscal_inv()
            print(f"receipt {receipt.slip_number}, fiscal document {closed.n_fd}, "
                  f"sign {closed.sign_fp}")
    except verda.DeviceError as error:
        print(f"error {error.code}: {error.text}", file=sys.stderr)
        print("no receipt sold")
        return 1
    print("receipt sold")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
