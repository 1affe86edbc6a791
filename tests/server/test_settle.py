"""Never twice, never lost: lost replies, a register that dies and a server
that is killed, each settled from the register and checked against its X
report."""
import signal
import threading
import uuid

from conftest import SALE, checked, wait_until

FINAL = {"committed", "not-committed"}


def shop_on(server_factory, sim, folder="server"):
    server = server_factory("--device", "shop=" + sim.device, folder=folder)
    server.device("shop")
    return server


def open_shift(server):
    checked(server.change("/devices/shop/shift/open"), "/devices/{id}/shift/open", "post", 200)


def test_reply_lost_after_the_receipt_was_closed(server_factory, sim_factory):
    sim = sim_factory("--hang-up-after", "CloseFiscalInv")
    server = shop_on(server_factory, sim)
    open_shift(server)
    before = server.device("shop")["fiscal_drive"]["last_document"]
    pending = checked(server.change("/devices/shop/receipts", SALE, key="lost"), "/devices/{id}/receipts", "post", 202)
    assert pending == {"state": "ambiguous", "key": "lost", "operation": "CloseFiscalInv"}
    record = server.settled("lost")
    assert record["state"] == "committed"
    answer = record["answer"]
    assert answer["document"] == before + 1 and answer["total"] == 211.3 and answer["sign"]
    steps = [s["step"] for s in record["steps"]]
    assert steps == ["received", "sent", "closing", "ambiguous", "settled"]
    # The repeat gets the settled answer; the register sold once.
    again = server.change("/devices/shop/receipts", SALE, key="lost")
    assert again.status_code == 200 and again.json() == answer
    assert server.x_report("shop")["sales"][0] == 211.3
    document = server.get(f"/devices/shop/journal/{answer['document']}").json()
    assert document["sign"] == answer["sign"]


def test_reply_lost_after_a_sale_line_runs_the_receipt_again(server_factory, sim_factory):
    sim = sim_factory("--hang-up-after", "RegisterSale:2")
    server = shop_on(server_factory, sim)
    open_shift(server)
    answer = checked(server.change("/devices/shop/receipts", SALE, key="again"), "/devices/{id}/receipts", "post", 200)
    record = server.get("/requests/again").json()
    steps = [s["step"] for s in record["steps"]]
    assert steps == ["received", "sent", "ambiguous", "settled", "sent", "closing", "committed"]
    assert record["steps"][3]["detail"] == {"outcome": "not-committed", "then": "run again"}
    assert server.x_report("shop")["sales"][0] == answer["total"] == 211.3
    assert server.committed_total("shop") == 211.3


def ring_up_in_background(server, keys):
    """Receipts sent from threads; a server killed under them leaves their
    clients without an answer, which is what a POS sees."""
    def send(key):
        try:
            server.change("/devices/shop/receipts", SALE, key=key)
        except Exception:  # the connection died with the server
            pass
    threads = [threading.Thread(target=send, args=(key,)) for key in keys]
    for t in threads:
        t.start()
    return threads


def in_state(server, state):
    rows = server.get("/requests", params={"device": "shop", "kind": "receipt"}).json()["requests"]
    return [r for r in rows if r["state"] == state]


def test_register_killed_in_the_middle_of_a_receipt(server_factory, sim_factory):
    # Each reply comes 40 ms late, so that a receipt takes a while.
    sim = sim_factory("--delay", "1", "--delay-ms", "40")
    server = shop_on(server_factory, sim)
    open_shift(server)
    threads = ring_up_in_background(server, ["middle"])
    wait_until("the receipt to be sent", lambda: server.get("/requests/middle").json().get("state") == "sent")
    sim.kill()
    sim.start("--delay", "1", "--delay-ms", "40")
    for t in threads:
        t.join()
    record = server.settled("middle")
    assert record["state"] in FINAL
    assert server.x_report("shop")["sales"][0] == server.committed_total("shop")
    assert server.device("shop")["document"]["open"] == "none"


def test_server_killed_in_the_middle_of_receipts(server_factory, sim_factory):
    sim = sim_factory("--delay", "1", "--delay-ms", "40")
    server = shop_on(server_factory, sim)
    open_shift(server)
    keys = [str(uuid.uuid4()) for _ in range(6)]
    threads = ring_up_in_background(server, keys)
    wait_until("a receipt to be sent", lambda: in_state(server, "sent"))
    server.stop(signal.SIGKILL)
    for t in threads:
        t.join()
    server.start()
    journaled = []
    for key in keys:
        record = server.get("/requests/" + key)
        if record.status_code == 404:
            continue  # killed before it was written: its client got no answer
        journaled.append(server.settled(key))
    assert journaled and {r["state"] for r in journaled} <= FINAL, [r["state"] for r in journaled]
    assert server.x_report("shop")["sales"][0] == server.committed_total("shop")
    # A receipt that did not take effect runs when its client repeats it.
    for record in journaled:
        if record["state"] == "not-committed":
            repeat = server.change("/devices/shop/receipts", SALE, key=record["key"])
            assert repeat.status_code == 200, repeat.text
    assert server.x_report("shop")["sales"][0] == server.committed_total("shop") == round(211.3 * len(journaled), 2)


def test_reply_lost_after_cash_in_by_operation_name_waits_for_a_person(server_factory, sim_factory):
    """An operation called by name moved the register's cash, but what it left
    cannot be told apart: the request stays ambiguous, the register takes no
    new change (reads go on), and a person settles it by hand."""
    sim = sim_factory("--hang-up-after", "ParishOrConsumption:2")  # the first only reads the sums
    server = shop_on(server_factory, sim)
    open_shift(server)
    pending = server.change("/devices/shop/operations/ParishOrConsumption", {"Type": "0", "Amount": 70}, key="cash")
    assert checked(pending, "/devices/{id}/operations/{name}", "post", 202)["state"] == "ambiguous"
    device = wait_until("the register to wait for a person", lambda: (lambda d: d if d["changes"]["state"] == "needs-a-person" else None)(
        checked(server.get("/devices/shop"), "/devices/{id}", "get", 200)))
    assert device["changes"]["unsettled"] == ["cash"]
    health = checked(server.get("/health"), "/health", "get", 200)
    assert health["status"] == "attention" and health["registers"]["shop"]["state"] == "needs-a-person"
    # Held: a change waits until its deadline and is not sent; a read answers.
    held = server.change("/devices/shop/cash-out", {"amount": 20}, key="held", headers={"X-Deadline-Ms": "500"})
    assert checked(held, "/devices/{id}/cash-out", "post", 503)["state"] == "not-sent"
    checked(server.get("/devices/shop/clock"), "/devices/{id}/clock", "get", 200)

    path = "/requests/{key}/settle"
    for key, body, status, field in [("cash", {"state": "maybe"}, 400, "state"),
                                     ("cash", {"state": "committed"}, 400, "document"),
                                     ("cash", {"state": "not-committed", "document": 3}, 400, "document"),
                                     ("held", {"state": "not-committed"}, 409, "key"),
                                     ("nobody", {"state": "not-committed"}, 404, "key")]:
        answer = server.request("POST", f"/requests/{key}/settle", body)
        assert checked(answer, path, "post", status)["error"]["field"] == field, (key, body)
    settled = checked(server.request("POST", "/requests/cash/settle", {"state": "committed", "document": 3}),
                      path, "post", 200)
    assert settled["state"] == "committed" and settled["answer"] == {"state": "committed", "document": 3,
                                                                     "settled": "by-hand"}
    assert settled["steps"][-1]["step"] == "settled-by-hand" and settled["steps"][-1]["detail"]["document"] == 3
    again = server.request("POST", "/requests/cash/settle", {"state": "not-committed"})
    assert checked(again, path, "post", 409)["error"]["field"] == "key"
    # The register takes changes again; the held request runs when repeated.
    cash = checked(server.change("/devices/shop/cash-out", {"amount": 20}, key="held"), "/devices/{id}/cash-out", "post", 200)
    assert (cash["cash_in"], cash["cash_out"], cash["cash"]) == (70, 20, 50)
    assert server.get("/requests/held").json()["answer"] == cash  # its new answer, not the 503
