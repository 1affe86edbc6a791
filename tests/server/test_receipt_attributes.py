"""The whole receipt over HTTP: its attributes as the register receives them
(the library's log) and prints them (its paper), correction receipts and
their settlement, the duplicate, bar codes, and every input the register
would cut, round or not print refused with the field that holds it."""
import pathlib

import pytest

from conftest import checked, wait_until

FULL = {
    "type": "sale",
    "cashier": {"name": "Иванова А. В.", "inn": "500100732259"},
    "buyer": "+79001234567",
    "tax_system": "USN",
    "lines": [
        {"name": "Хлеб", "price": 45.50, "quantity": 2, "tax": 1, "unit": 796, "subject": 1, "method": 4},
        {"name": "Молоко", "price": 89.90, "quantity": 1.0, "tax": 2.0, "department": 1.0},
    ],
    "payments": [{"mode": "card", "amount": 50}, {"mode": "cash"}],
    "text": ["Спасибо за покупку",
             {"barcode": {"type": 2, "data": "4600000000019"}},
             "Ждем вас снова по адресу: ул. Ленина, д. 1, к. 2"],  # 48 characters
}


def library_log(server, device):
    """The library's log of the server's register, all of it."""
    folder = server.folder / (device + ".log")
    # The log holds texts as the library was given them: the Cyrillic letters
    # in CP1251.
    return "".join(p.read_bytes().decode("cp1251", errors="replace")
                   for p in sorted(folder.rglob("*")) if p.is_file())


def paper(server, device):
    return checked(server.get(f"/devices/{device}/paper"), "/devices/{id}/paper", "get", 200)["text"]


def test_a_receipt_with_every_attribute(shop):
    answer = checked(shop.change("/devices/sim/receipts", FULL), "/devices/{id}/receipts", "post", 200)
    assert answer["total"] == 180.9 and answer["change"] == 0
    log = wait_until("the receipt in the library's log", lambda: (lambda t: t if "CloseFiscalInv(" in t else None)(
        library_log(shop, "sim")))
    for sent in [",ReceiptType=0,Buyer=+79001234567,VatSystem=USN,OperName=Иванова А. В.,OperInn=500100732259,",
                 ",Unit=796,", ",Sign=1,SignPay=4,", ",Unit=0,", ",Sign=0,SignPay=0,",
                 "PrintBarCode()", "SetFiscalInvParam(Type=2,Data=" + FULL["text"][2] + ")"]:
        assert sent in log, sent
    printed = paper(shop, "sim")
    for line in ["КАССИР Иванова А. В.", "ИНН КАССИРА 500100732259", "ПОКУПАТЕЛЬ +79001234567", "СНО USN",
                 "Спасибо за покупку", "4600000000019", "Ждем вас снова"]:
        assert line in printed, line
    # The sales of the register are the receipt's, once.
    assert sum(shop.x_report("sim")["sales"]) == 180.9


def test_the_cashier_as_a_name_alone_and_in_a_shift(server_factory):
    server = server_factory()
    server.device("sim")
    checked(server.change("/devices/sim/shift/open", {"cashier": {"name": "Петров", "inn": "5001007322"}}),
            "/devices/{id}/shift/open", "post", 200)
    checked(server.change("/devices/sim/receipts", {"cashier": "Петров", "lines": [{"name": "Чай", "price": 1}]}),
            "/devices/{id}/receipts", "post", 200)
    log = library_log(server, "sim")
    assert "OpenShift(OpCode=30,OpPwd=30,TillNmb=1,Buyer=,VatSystem=,OperName=Петров,OperInn=5001007322," in log
    assert ",ReceiptType=0,Buyer=,VatSystem=,OperName=Петров,OperInn=," in log


CORRECTION = {"type": "sale", "cashier": {"name": "Иванова", "inn": "500100732259"}, "mode": "cash",
              "amount": 120.00, "sums": [100, 20]}


def test_a_correction_and_its_repeat(shop):
    before = shop.device("sim")["fiscal_drive"]["last_document"]
    first = checked(shop.change("/devices/sim/corrections", CORRECTION, key="corr"),
                    "/devices/{id}/corrections", "post", 200)
    assert first["document"] == before + 1 and first["total"] == 120 and first["sign"]
    again = shop.change("/devices/sim/corrections", CORRECTION, key="corr")
    assert again.status_code == 200 and again.json() == first
    assert again.headers.get("Idempotent-Replayed") == "true"
    other = shop.change("/devices/sim/corrections", dict(CORRECTION, amount=130), key="corr")
    assert checked(other, "/devices/{id}/corrections", "post", 409)["error"]["field"] == "Idempotency-Key"
    # On the register once: one document more, its cash in the drawer.
    assert shop.device("sim")["fiscal_drive"]["last_document"] == before + 1
    assert "КОРРЕКЦИЯ ПРИХОДА" in paper(shop, "sim")
    document = shop.get(f"/devices/sim/journal/{first['document']}").json()
    assert document["sign"] == first["sign"]
    assert checked(shop.change("/devices/sim/cash-out", {"amount": 120}), "/devices/{id}/cash-out", "post", 200)["cash"] == 0
    record = shop.get("/requests/corr").json()
    assert record["kind"] == "correction" and record["state"] == "committed"


def test_a_correction_refused_by_the_register_is_cancelled(shop):
    before = shop.device("sim")["fiscal_drive"]["last_document"]
    answer = shop.change("/devices/sim/corrections", dict(CORRECTION, amount=10, type="purchase"))
    # A purchase correction pays cash out of an empty drawer: the register
    # refuses the closing, and the receipt is cancelled.
    error = checked(answer, "/devices/{id}/corrections", "post", 422)["error"]
    assert error["operation"] == "CloseFiscalInv"
    reading = shop.device("sim")
    assert reading["document"]["open"] == "none"
    assert reading["fiscal_drive"]["last_document"] == before


@pytest.mark.parametrize("hang_up", ["CloseFiscalInv", pytest.param("52", id="TotalCorrecion")])
def test_an_ambiguous_correction_is_settled_from_the_register(server_factory, sim_factory, hang_up):
    """The register hangs up after a step of the correction: the request is
    settled from the register, and it is on the register once or not at all."""
    sim = sim_factory("--hang-up-after", hang_up)
    server = server_factory("--device", "shop=" + sim.device)
    server.device("shop")
    checked(server.change("/devices/shop/shift/open"), "/devices/{id}/shift/open", "post", 200)
    before = server.device("shop")["fiscal_drive"]["last_document"]
    first = server.change("/devices/shop/corrections", CORRECTION, key="lost")
    assert first.status_code in (200, 202), first.text
    record = server.settled("lost")
    assert record["state"] == "committed", record
    answer = record["answer"]
    assert answer["document"] == before + 1 and answer["total"] == 120
    steps = [s["step"] for s in record["steps"]]
    assert "ambiguous" in steps and steps[-1] in ("settled", "committed") and "closing" in steps
    again = server.change("/devices/shop/corrections", CORRECTION, key="lost")
    assert again.status_code == 200 and again.json() == answer
    reading = server.device("shop")
    assert reading["fiscal_drive"]["last_document"] == before + 1
    assert reading["document"]["open"] == "none"


def test_the_duplicate_of_the_last_receipt(shop):
    refused = checked(shop.change("/devices/sim/duplicate"), "/devices/{id}/duplicate", "post", 422)
    assert refused["error"]["operation"] == "PrintDublicateReceipt"
    checked(shop.change("/devices/sim/receipts", {"lines": [{"name": "Кефир", "price": 70}]}),
            "/devices/{id}/receipts", "post", 200)
    start = checked(shop.get("/devices/sim/paper"), "/devices/{id}/paper", "get", 200)["next"]
    checked(shop.change("/devices/sim/duplicate"), "/devices/{id}/duplicate", "post", 200)
    copy = shop.get("/devices/sim/paper", params={"from": start}).json()["text"]
    assert "КОПИЯ" in copy and "Кефир" in copy
    # A copy is no sale.
    assert sum(shop.x_report("sim")["sales"]) == 70


def line(**fields):
    return dict({"name": "Чай", "price": 10}, **fields)


# (what, body, field): each refused with 400, naming the field.
REFUSED_RECEIPTS = [
    ("a price of three decimals", {"lines": [line(price=1.005)]}, "lines[0].price"),
    ("a large price of three decimals", {"lines": [line(price=9999999.995)]}, "lines[0].price"),
    ("a quantity of four decimals", {"lines": [line(quantity=1.0005)]}, "lines[0].quantity"),
    ("a discount of three decimals", {"lines": [line(discount={"sum": 0.015})]}, "lines[0].discount.sum"),
    ("a percent of three decimals", {"lines": [line()], "surcharge": {"percent": 1.125}}, "surcharge.percent"),
    ("a payment of three decimals", {"lines": [line()], "payments": [{"amount": 5}, {"amount": 5.001}]},
     "payments[1].amount"),
    ("a payment mode the register lacks", {"lines": [line()], "payments": [{"mode": "cheque"}]}, "payments[0].mode"),
    ("a payment mode of 1.5", {"lines": [line()], "payments": [{"mode": 1.5}]}, "payments[0].mode"),
    ("a tax group of 1.5", {"lines": [line(tax=1.5)]}, "lines[0].tax"),
    ("a unit below 0", {"lines": [line(unit=-1)]}, "lines[0].unit"),
    ("a subject as text", {"lines": [line(subject="goods")]}, "lines[0].subject"),
    ("a method on an article line", {"lines": [{"article": 7, "method": 4}]}, "lines[0].article"),
    ("a name of 65 characters", {"lines": [line(name="Ч" * 65)]}, "lines[0].name"),
    ("a cashier of 31 characters", {"lines": [line()], "cashier": "К" * 31}, "cashier"),
    ("a cashier's name of 31 characters", {"lines": [line()], "cashier": {"name": "К" * 31}}, "cashier.name"),
    ("a cashier's tax number of 11 digits", {"lines": [line()], "cashier": {"inn": "12345678901"}}, "cashier.inn"),
    ("a cashier of another form", {"lines": [line()], "cashier": 7}, "cashier"),
    ("a buyer neither telephone nor e-mail", {"lines": [line()], "buyer": "Иван"}, "buyer"),
    ("a buyer's address the register cannot take", {"lines": [line()], "buyer": "a@b\tc"}, "buyer"),
    ("a tax system in Cyrillic", {"lines": [line()], "tax_system": "УСН"}, "tax_system"),
    ("a text line of 49 characters", {"lines": [line()], "text": ["ок", "x" * 49]}, "text[1]"),
    ("a text the register cannot print", {"lines": [line()], "text": ["€ 5"]}, "text[0]"),
    ("a bar code without data", {"lines": [line()], "text": [{"barcode": {"type": 2}}]}, "text[0].barcode.data"),
    ("a bar code of a kind above 9", {"lines": [line()], "text": [{"barcode": {"type": 10, "data": "1"}}]},
     "text[0].barcode.type"),
    ("a bar code in Cyrillic", {"lines": [line()], "text": [{"barcode": {"type": 1, "data": "код"}}]},
     "text[0].barcode.data"),
    ("a field with no name", {"lines": [line()], "": 1}, "body"),
    ("a line's field with no name", {"lines": [dict(line(), **{"": 1})]}, "lines[0]"),
]

REFUSED_CORRECTIONS = [
    ("an amount of three decimals", dict(CORRECTION, amount=1.005), "amount"),
    ("no amount", {"type": "sale"}, "amount"),
    ("a sum of three decimals", dict(CORRECTION, sums=[100, 19.999]), "sums[1]"),
    ("seven sums", dict(CORRECTION, sums=[0] * 7), "sums"),
    ("a receipt's type", dict(CORRECTION, type="return"), "type"),
    ("a mode above 5", dict(CORRECTION, mode=6), "mode"),
    ("a line", dict(CORRECTION, lines=[line()]), "lines"),
]


def test_every_input_the_register_would_change_is_refused(shop):
    before = shop.device("sim")["fiscal_drive"]["last_document"]
    for route, cases in [("receipts", REFUSED_RECEIPTS), ("corrections", REFUSED_CORRECTIONS)]:
        for what, body, field in cases:
            answer = shop.change(f"/devices/sim/{route}", body)
            error = checked(answer, f"/devices/{{id}}/{route}", "post", 400)["error"]
            assert error["field"] == field, (what, error)
    service = shop.change("/devices/sim/text", {"lines": ["ок", "x" * 33]})
    assert checked(service, "/devices/{id}/text", "post", 400)["error"]["field"] == "lines[1]"
    # A field with no name is the body's fault, whichever request it is in.
    for route in ("shift/open", "x-report", "operations/DiagnosticInfo"):
        answer = shop.change(f"/devices/sim/{route}", {"": "☃"})
        assert answer.status_code == 400 and answer.json()["error"]["field"] == "body", (route, answer.text)
    # Nothing reached the register, nor the journal.
    assert shop.device("sim")["fiscal_drive"]["last_document"] == before
    kinds = {r["kind"] for r in shop.get("/requests").json()["requests"]}
    assert kinds == {"shift-open"}


def test_amounts_that_binary_numbers_only_approach_are_taken(shop):
    """0.29 or 1.255 are no exact binary numbers, yet hold no more decimals
    than the register keeps: taken as written."""
    body = {"lines": [line(price=0.29, quantity=1.255), line(price=9999999.99, quantity=0.001)],
            "payments": [{"mode": "card", "amount": 0.36}, {"mode": "cash"}]}
    answer = checked(shop.change("/devices/sim/receipts", body), "/devices/{id}/receipts", "post", 200)
    # 0.29 x 1.255 = 0.36395 and 9999999.99 x 0.001 = 9999.99999, each
    # rounded to the kopeck by the register.
    assert answer["total"] == 10000.36
    assert round(sum(shop.x_report("sim")["sales"]), 2) == 10000.36


def test_a_payment_refused_by_the_register_names_it(shop):
    body = {"lines": [line(price=100)], "payments": [{"mode": "card", "amount": 40}, {"mode": 1, "amount": 500}]}
    error = checked(shop.change("/devices/sim/receipts", body), "/devices/{id}/receipts", "post", 422)["error"]
    assert error["field"] == "payments[1]" and error["operation"] == "Total" and "line" not in error
    short = {"lines": [line(price=100)], "payments": [{"mode": "card", "amount": 40}]}
    error = checked(shop.change("/devices/sim/receipts", short), "/devices/{id}/receipts", "post", 422)["error"]
    assert error["field"] == "payments" and "60" in error["text"]
    assert shop.device("sim")["document"]["open"] == "none"
    assert sum(shop.x_report("sim")["sales"]) == 0
