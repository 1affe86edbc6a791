"""What a point-of-sale program does most, as methods of verda.Device with
keyword arguments and the enums of the register's codes. Each runs one
operation of the register (its docstring names it), whose own method, with
all of the operation's parameters in its order, stays beside it."""

from __future__ import annotations

from typing import NamedTuple

from ._codes import (CashDirection, DiscountKind, PaymentMode, ReceiptType, SettlementMethod,
                     SettlementSubject, TaxGroup, Unit)
from ._operations import (OpenFiscalInvResult, OpenShiftResult, ParishOrConsumptionResult,
                          RegisterArticleSaleResult, RegisterSaleResult, SubtotalResult,
                          TotalResult)


class ShiftReport(NamedTuple):
    """The figures of an X or Z report: each group of sums has one sum for
    each tax group, GROUP_1 first."""

    number: int
    """the report's number"""
    fiscal_document: int
    """the fiscal document's number (the register's nFD)"""
    fiscal_sign: int
    """its fiscal sign"""
    sales: tuple[float, ...]
    """ReceiptType.SALE"""
    returns: tuple[float, ...]
    """ReceiptType.RETURN"""
    purchases: tuple[float, ...]
    """ReceiptType.PURCHASE"""
    purchase_returns: tuple[float, ...]
    """ReceiptType.PURCHASE_RETURN"""

    def of(self, receipt_type: ReceiptType) -> tuple[float, ...]:
        """The sums of one kind of receipt."""
        return (self.sales, self.returns, self.purchases,
                self.purchase_returns)[ReceiptType(receipt_type).value]


class Selling:
    """The keyword methods of verda.Device (see the module)."""

    __slots__ = ()

    def start_shift(self, *, cashier: str = "", cashier_inn: str = "", operator: int = 1,
                    password: str = "1", till: int = 1) -> OpenShiftResult:
        """Opens a shift (OpenShift) and gives its fiscal document, sign and
        number.

        Args:
            cashier: the cashier's name, printed; when given, the register
                works as its operator 30, whatever operator says.
            cashier_inn: the cashier's tax number (ИНН), sent when longer
                than 3 characters.
            operator, password: the register's operator and password.
            till: the till's number.
        """
        return self.open_shift(operator, password, till, "", "", cashier, cashier_inn)

    def open_receipt(self, type: ReceiptType | int = ReceiptType.SALE, *, cashier: str = "",
                     cashier_inn: str = "", buyer: str = "", tax_system: str = "",
                     operator: int = 1, password: str = "1",
                     till: int = 1) -> OpenFiscalInvResult:
        """Opens a receipt (OpenFiscalInv) and gives its number, document
        and shift.

        Args:
            type: a ReceiptType, or a CorrectionType for a correction
                receipt (then paid by total_correcion).
            cashier, cashier_inn, operator, password, till: as start_shift.
            buyer: the buyer's telephone or e-mail address, for an
                electronic receipt; "" for none.
            tax_system: the register's text for the tax system; "" for the
                register's own.
        """
        return self.open_fiscal_inv(operator, password, till, type, buyer, tax_system, cashier,
                                    cashier_inn)

    def sell(self, name: str, price: float, quantity: float = 1.0, *,
             tax: TaxGroup | str = TaxGroup.GROUP_1, department: int = 1,
             unit: Unit | int = Unit.NONE, subject: SettlementSubject | int = SettlementSubject.NONE,
             method: SettlementMethod | int = SettlementMethod.NONE,
             discount: DiscountKind | str = DiscountKind.NONE, discount_value: float = 0.0,
             discount_sum: float = 0.0) -> RegisterSaleResult:
        """Adds a sale line to the open receipt (RegisterSale).

        Args:
            name: the goods' name, at most 64 characters; "" sells under the
                department's name.
            price: the price of one unit; quantity: how many.
            tax: the line's TaxGroup; department: its department, from 1.
            unit, subject, method: the line's unit, what it sells and how it
                is settled (Unit, Sign and SignPay; 0: none).
            discount, discount_value: a DiscountKind on the line and its
                value (percent or sum).
            discount_sum: the line's discount as a sum (DiscSum), 0 for none.
        """
        return self.register_sale(name, tax, price, quantity, unit, department, discount,
                                  discount_value, discount_sum, 0.0, subject, method)

    def sell_article(self, code: int, quantity: float = 1.0, *,
                     discount: DiscountKind | str = DiscountKind.NONE,
                     discount_value: float = 0.0) -> RegisterArticleSaleResult:
        """Sells an article of the register's database by its code
        (RegisterArticleSale): its name, price, tax group and department
        are the register's.

        Args:
            code: the article's code; quantity: how many.
            discount, discount_value: a DiscountKind on the line and its
                value.
        """
        return self.register_article_sale(code, quantity, discount, discount_value)

    def sum_up(self, *, discount: DiscountKind | str = DiscountKind.NONE, value: float = 0.0,
               printed: bool = True, displayed: bool = False) -> SubtotalResult:
        """The receipt's subtotal and its tax by tax group (Subtotal),
        with a discount or surcharge on the whole receipt; what is then due.

        Args:
            discount, value: a DiscountKind on the receipt and its value; a
                new one replaces the one before.
            printed, displayed: print the subtotal, show it on the display.
        """
        return self.subtotal("1" if printed else "0", "1" if displayed else "0", discount, value)

    def pay(self, amount: float = 0.0, mode: PaymentMode | int = PaymentMode.CASH, *,
            change: bool = True) -> TotalResult:
        """Records a payment on the open receipt (Total). The answer's
        error_status is a PaymentStatus: SHORT with what is still due in
        new_amount, WITH_CHANGE with the change, EXACTLY.

        Args:
            amount: the sum paid; 0 pays what is due.
            mode: the PaymentMode.
            change: whether change may be given (cash only).
        """
        return self.total(mode, amount, "1" if change else "0")

    def cash_in(self, amount: float) -> ParishOrConsumptionResult:
        """Books cash put into the drawer (ParishOrConsumption); gives the
        cash in the drawer and the shift's sums in and out."""
        return self.parish_or_consumption(CashDirection.IN, amount)

    def cash_out(self, amount: float) -> ParishOrConsumptionResult:
        """Books cash taken out of the drawer (ParishOrConsumption); as
        cash_in."""
        return self.parish_or_consumption(CashDirection.OUT, amount)

    def cash_sums(self) -> ParishOrConsumptionResult:
        """The cash in the drawer and the shift's sums in and out, booking
        nothing (ParishOrConsumption with 0)."""
        return self.parish_or_consumption(CashDirection.IN, 0.0)

    def x_report(self) -> ShiftReport:
        """Prints the X report, the shift so far, and gives its figures
        (PrintReport "X")."""
        return _report(self.print_report("X"))

    def z_report(self) -> ShiftReport:
        """Prints the Z report, which closes the shift, and gives its
        figures (PrintReport "Z")."""
        return _report(self.print_report("Z"))

    def tax_rates(self) -> dict[TaxGroup, float]:
        """The register's rate of each tax group, in percent
        (ReportOnTaxRates)."""
        rates = self.report_on_tax_rates()
        return dict(zip(TaxGroup, (rates.tax_a, rates.tax_b, rates.tax_c, rates.tax_d,
                                   rates.tax_e, rates.tax_f)))


def _report(r) -> ShiftReport:
    def six(prefix):
        return tuple(getattr(r, f"{prefix}{i}") for i in range(1, 7))

    return ShiftReport(r.n_rep, r.n_fd, r.sign_fp, six("sum"), six("ret"), six("purch"),
                       six("ret_purch"))
