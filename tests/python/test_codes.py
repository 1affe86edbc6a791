"""The register's codes, through the keyword methods, against verda-sim: each
value does on the simulated register what docs/codes.md says it does."""

import pytest

import verda
from verda import (CorrectionType, DiscountKind, OpenDocument, PaymentMode, PaymentStatus,
                   ReceiptType, TaxGroup)


@pytest.fixture
def register(simulator):
    with verda.Device.tcp("localhost", simulator.port, timeout=500) as device:
        device.printer_init()
        device.start_shift(cashier="Кассир")
        device.cash_in(1000)
        yield device


def drawer(register):
    return register.cash_sums().cash_sum


# A receipt of 100 paid in cash: which way the drawer's cash moves.
RECEIPTS = [(ReceiptType.SALE, +1), (ReceiptType.RETURN, -1), (ReceiptType.PURCHASE, -1),
            (ReceiptType.PURCHASE_RETURN, +1)]


@pytest.mark.parametrize("kind, way", RECEIPTS, ids=[k.api_name for k, _ in RECEIPTS])
def test_each_receipt_type_moves_cash_and_counts_apart(register, kind, way):
    before = drawer(register)
    receipt = register.open_receipt(kind, cashier="Кассир", cashier_inn="500100732259",
                                    buyer="+79001234567")
    register.sell("Товар", 60.0, 2, tax=TaxGroup.GROUP_2)
    assert register.sum_up().subtotal == 120.0
    assert register.pay(120.0).error_status == PaymentStatus.EXACTLY
    assert register.close_fiscal_inv().slip_number == receipt.slip_number
    assert drawer(register) == pytest.approx(before + way * 120)
    report = register.x_report()
    for other in RECEIPTS:
        expected = 120.0 if other[0] == kind else 0.0
        assert report.of(other[0]) == (0.0, expected, 0.0, 0.0, 0.0, 0.0), other[0]


@pytest.mark.parametrize("kind, way", [(CorrectionType.SALE, +1), (CorrectionType.PURCHASE, -1)],
                         ids=["sale", "purchase"])
def test_a_correction_takes_sums_not_lines(register, kind, way):
    before = drawer(register)
    register.open_receipt(kind)
    with pytest.raises(verda.DeviceError):
        register.sell("Товар", 10.0)
    register.total_correcion(PaymentMode.CASH, 50.0, 50.0, 0, 0, 0, 0, 0)
    register.close_fiscal_inv()
    assert drawer(register) == pytest.approx(before + way * 50)
    assert register.fiscal_transactions_status().is_open == OpenDocument.NONE


# A discount of 10 (percent or sum) on a line of 100, then on the receipt.
DISCOUNTS = [(DiscountKind.NONE, 100.0, 100.0), (DiscountKind.PERCENT, 90.0, 81.0),
             (DiscountKind.SUM, 90.0, 80.0), (DiscountKind.SURCHARGE_PERCENT, 110.0, 121.0),
             (DiscountKind.SURCHARGE_SUM, 110.0, 120.0)]


@pytest.mark.parametrize("kind, line, receipt", DISCOUNTS, ids=[d[0].api_name for d in DISCOUNTS])
def test_each_discount_kind_on_a_line_and_on_the_receipt(register, kind, line, receipt):
    register.open_receipt()
    register.sell("Товар", 100.0, discount=kind, discount_value=10)
    assert register.sum_up().subtotal == line
    assert register.sum_up(discount=kind, value=10).subtotal == receipt
    # The value's sign does not matter: the kind says which way it goes.
    assert register.sum_up(discount=kind, value=-10).subtotal == receipt
    register.cancel_fiscal_inv()


@pytest.mark.parametrize("mode", list(PaymentMode), ids=lambda m: m.name.lower())
def test_only_cash_pays_more_than_is_due(register, mode):
    register.open_receipt()
    register.sell("Товар", 100.0)
    part = register.pay(40.0, mode)
    assert (part.error_status, part.new_amount) == (PaymentStatus.SHORT, 60.0)
    if mode == PaymentMode.CASH:
        rest = register.pay(100.0, mode)
        assert (rest.error_status, rest.new_amount) == (PaymentStatus.WITH_CHANGE, 40.0)
    else:
        with pytest.raises(verda.DeviceError):
            register.pay(100.0, mode)
        assert register.pay(0.0, mode).error_status == PaymentStatus.EXACTLY  # what is due
    register.close_fiscal_inv()


@pytest.mark.parametrize("group", list(TaxGroup), ids=lambda g: g.name.lower())
def test_each_tax_group_is_taxed_at_its_own_rate(register, group):
    rates = register.tax_rates()
    assert list(rates) == list(TaxGroup)
    register.open_receipt()
    register.sell("Товар", 120.0, tax=group)
    sums = register.sum_up()
    taxes = (sums.tax1, sums.tax2, sums.tax3, sums.tax4, sums.tax5, sums.tax6)
    for g, tax in zip(TaxGroup, taxes):
        rate = rates[g]
        expected = round(120 * rate / (100 + rate), 2) if g == group else 0.0
        assert tax == pytest.approx(expected), g
    register.cancel_fiscal_inv()


def test_cash_directions(register):
    before = register.cash_sums()
    register.cash_in(30)
    after = register.cash_out(20)
    assert after.cash_sum == pytest.approx(before.cash_sum + 10)
    assert (after.cash_in - before.cash_in, after.cash_out - before.cash_out) == (30, 20)
    with pytest.raises(verda.DeviceError):
        register.cash_out(after.cash_sum + 1)  # not more than the drawer holds
    assert register.cash_sums() == after


def test_the_open_document(register):
    def open_now():
        return register.fiscal_transactions_status().is_open

    assert open_now() == OpenDocument.NONE
    register.open_receipt()
    assert open_now() == OpenDocument.RECEIPT
    register.cancel_fiscal_inv()
    register.open_service_inv("0")
    assert open_now() == OpenDocument.SERVICE
    register.close_service_inv()
    assert open_now() == OpenDocument.NONE


def test_names_for_the_interfaces():
    for code in verda.CODES:
        for member in code:
            if member.api_name is not None:
                assert code.from_api_name(member.api_name) is member
        with pytest.raises(ValueError):
            code.from_api_name("no such name")
    assert ReceiptType.from_api_name("purchase-return") == 3
    assert PaymentMode.CASH.api_name == "cash" and PaymentMode.CREDIT.api_name is None
