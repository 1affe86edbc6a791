"""Faults of a real shop that once broke "never lost, never twice", each
made on purpose: a register that refuses to tell while a request is settled,
another register put at the same address, a journal deleted or replaced
under the server, and a journal that cannot be written. After each, the
invariants: every request final, each sale once on its register, the
register's totals the journal's."""
import os
import resource
import shutil
import subprocess
import threading
import time

import pytest

from conftest import SALE, SIM_IDENTITY, WAIT, checked, wait_until

RECEIPTS = "/devices/{id}/receipts"
OTHER = dict(SALE, lines=[{"name": "Сыр", "price": 120.00, "quantity": 1}], payments=[{"mode": "card"}])
OTHER_TOTAL = 110.0  # less the receipt's discount of 10
SALE_TOTAL = 211.3
FN_ERROR = 110903  # the register's "fiscal drive error"


def open_shift(server, id="shop"):
    checked(server.change(f"/devices/{id}/shift/open"), "/devices/{id}/shift/open", "post", 200)


def sell(server, body, key, id="shop", **kw):
    return server.change(f"/devices/{id}/receipts", body, key=key, **kw)


def in_background(function, *args, **kw):
    """Runs function in a thread; its result or exception in the returned dict."""
    out = {}

    def run():
        try:
            out["result"] = function(*args, **kw)
        except Exception as e:  # kept for the test to look at
            out["error"] = e
    thread = threading.Thread(target=run)
    thread.start()
    out["thread"] = thread
    return out


def device_when(server, what, condition, id="shop"):
    return wait_until(what, lambda: (lambda d: d if condition(d) else None)(
        checked(server.get("/devices/" + id), "/devices/{id}", "get", 200)))


def metric(server, line_start):
    text = server.get("/metrics").text
    return next(float(l.rsplit(" ", 1)[1]) for l in text.splitlines() if l.startswith(line_start))


def assert_each_sale_once(server, id="shop"):
    """Every committed receipt of the journal is in the register's electronic
    journal under its recorded number, with its total; no receipt is there
    that the journal does not hold as committed; the X report is the sum."""
    committed = server.committed(id)
    receipts = server.fiscal_receipts(id)
    numbers = sorted(r["answer"]["document"] for r in committed)
    assert numbers == sorted(receipts), (numbers, sorted(receipts))
    for r in committed:
        lines = "\n".join(receipts[r["answer"]["document"]]["lines"])
        assert f"={r['answer']['total']:.2f}" in lines, (r["key"], lines)
        assert receipts[r["answer"]["document"]]["sign"] == r["answer"]["sign"]
    assert round(sum(server.x_report(id)["sales"]), 2) == server.committed_total(id)


def test_refusals_while_a_request_is_settled_hold_every_new_change(server_factory, sim_factory, relay_factory):
    """A receipt's closing frame never reaches the register, and while the
    server settles it the register refuses its status reads: the next
    customer's receipt waits until the first is settled, and each gets its
    own outcome."""
    sim = sim_factory()
    relay = relay_factory(sim)
    server = server_factory("--device", "shop=" + relay.device)
    server.device("shop")
    open_shift(server)
    relay.drop("CloseFiscalInv", 5)  # every send of it
    relay.refuse("FiscalTransactionsStatus", FN_ERROR, 1000)
    lost = checked(sell(server, SALE, "lost"), RECEIPTS, "post", 202)
    assert lost == {"state": "ambiguous", "key": "lost", "operation": "CloseFiscalInv"}
    wait_until("the settlement to be refused", lambda: relay.applied("refuse", "FiscalTransactionsStatus") >= 3)
    device = device_when(server, "changes held", lambda d: d["changes"]["state"] == "settling")
    assert device["changes"]["unsettled"] == ["lost"]

    other = in_background(sell, server, OTHER, "next")
    wait_until("the next receipt to be queued", lambda: server.get("/requests/next").status_code == 200)
    # Held while the register will not tell: sampled, it never moves.
    for _ in range(5):
        assert server.get("/requests/next").json()["state"] == "received"
        assert server.get("/requests/lost").json()["state"] == "ambiguous"
        time.sleep(0.1)
    relay.clear()  # the register answers again
    other["thread"].join(WAIT)
    assert checked(other["result"], RECEIPTS, "post", 200)["total"] == OTHER_TOTAL
    assert server.settled("lost")["state"] == "not-committed"
    assert [r["key"] for r in server.committed("shop")] == ["next"]
    assert_each_sale_once(server)
    # The lost sale runs when its client repeats it, once.
    checked(sell(server, SALE, "lost"), RECEIPTS, "post", 200)
    assert_each_sale_once(server)


B_IDENTITY = {"device_number": "0000000002", "fiscal_drive": "9999078900054321"}


@pytest.mark.parametrize("ending", ["the original comes back", "a person settles it"])
def test_another_register_at_the_address_settles_nothing(server_factory, sim_factory, relay_factory, ending):
    a = sim_factory(name="a")
    b = sim_factory("--device-number", B_IDENTITY["device_number"], "--fn-number", B_IDENTITY["fiscal_drive"],
                    name="b")
    relay = relay_factory(a)
    server = server_factory("--device", "shop=" + relay.device)
    server.device("shop")
    open_shift(server)
    # A closes the receipt, its reply is lost, and A is taken away.
    relay.hang_up_after("CloseFiscalInv", away=True)
    checked(sell(server, SALE, "lost"), RECEIPTS, "post", 202)
    # B, another register, at the same address.
    relay.target(b.port)
    relay.back()
    device = device_when(server, "the register replaced", lambda d: d["changes"]["state"] == "replaced")
    assert device["changes"] == {"state": "replaced", "unsettled": ["lost"],
                                 "expected": SIM_IDENTITY, "found": B_IDENTITY}
    health = checked(server.get("/health"), "/health", "get", 200)
    assert health["status"] == "attention" and health["registers"]["shop"]["state"] == "replaced"
    assert metric(server, 'verda_device_replaced{device="shop"}') == 1
    assert device["verdict"]["verdict"] == "blocked" and "register-replaced" in \
        [r["code"] for r in device["verdict"]["reasons"]]
    b_reading = device_when(server, "B's reading", lambda d: d["fiscal_drive"]["number"] == B_IDENTITY["fiscal_drive"])
    # B takes no change meanwhile, and nothing of the lost request is written on it.
    held = sell(server, OTHER, "held", headers={"X-Deadline-Ms": "500"})
    assert checked(held, RECEIPTS, "post", 503)["state"] == "not-sent"
    assert server.get("/requests/lost").json()["state"] == "ambiguous"
    steps = server.get("/requests/lost").json()["steps"]
    assert steps[-1]["step"] == "unsettled" and steps[-1]["detail"]["reason"] == "another register"

    if ending == "the original comes back":
        relay.target(a.port)
        record = server.settled("lost")
        assert record["state"] == "committed" and record["answer"]["total"] == SALE_TOTAL
        checked(sell(server, OTHER, "held"), RECEIPTS, "post", 200)
        assert_each_sale_once(server)
    else:
        # The person reads A's paper: the receipt's fiscal number at its foot.
        paper = (a.folder / "paper").read_text()
        number = int(paper[paper.rindex("ФД №"):].split()[2])
        settled = checked(server.request("POST", "/requests/lost/settle", {"state": "committed", "document": number}),
                          "/requests/{key}/settle", "post", 200)
        assert settled["answer"] == {"state": "committed", "document": number, "settled": "by-hand"}
        device_when(server, "changes open", lambda d: d["changes"]["state"] == "open")
        again = sell(server, SALE, "lost")
        assert again.status_code == 200 and again.headers["Idempotent-Replayed"] == "true"
        # B takes changes now: the held receipt is the only sale on it.
        open_shift(server)
        checked(sell(server, OTHER, "held"), RECEIPTS, "post", 200)
        assert round(sum(server.x_report("shop")["sales"]), 2) == OTHER_TOTAL
        assert server.device("shop")["fiscal_drive"]["last_document"] == b_reading["fiscal_drive"]["last_document"] + 2


@pytest.mark.parametrize("how", ["deleted", "replaced"])
def test_a_journal_gone_under_the_server_stops_every_change(server_factory, programs, how):
    server = server_factory()
    server.device("sim")
    open_shift(server, "sim")
    checked(sell(server, SALE, "first", id="sim"), RECEIPTS, "post", 200)
    journal = server.folder / "journal.db"
    if how == "deleted":
        journal.unlink()
    else:
        shutil.copy(journal, server.folder / "copy.db")
        os.replace(server.folder / "copy.db", journal)
    before = server.device("sim")["fiscal_drive"]["last_document"]
    answer = checked(sell(server, SALE, "second", id="sim"), RECEIPTS, "post", 503)
    assert answer["error"]["reason"] == "journal-unavailable" and how in answer["error"]["text"]
    health = checked(server.get("/health"), "/health", "get", 503)
    assert health["status"] == "unavailable" and how in health["journal"]["cause"]
    assert metric(server, "verda_journal_writable") == 0
    verdict = server.device("sim")["verdict"]
    assert verdict["verdict"] == "blocked" and "journal-unavailable" in [r["code"] for r in verdict["reasons"]]
    # Reads go on; nothing reached the register; the process lives.
    checked(server.get("/devices/sim/clock"), "/devices/{id}/clock", "get", 200)
    assert server.device("sim")["fiscal_drive"]["last_document"] == before
    assert server.process.poll() is None
    assert server.stop() == 0
    if how == "deleted":
        # Never silently on an empty journal.
        run = subprocess.run([programs[0], "--listen", "127.0.0.1:0", "--journal", str(journal)],
                             capture_output=True, text=True, timeout=WAIT)
        assert run.returncode == 2 and "--new-journal" in run.stderr, run.stderr
        assert not journal.exists()
        server.args.append("--new-journal")
    server.start()
    assert checked(server.get("/health"), "/health", "get", 200)["status"] == "ok"


def limit_files(server, size):
    """A limit on the size of the files the server writes: past it, its
    journal's writes fail as on a full disk."""
    resource.prlimit(server.process.pid, resource.RLIMIT_FSIZE, (size, resource.RLIM_INFINITY))


def test_a_journal_that_cannot_be_written_stops_changes_and_resumes(server_factory, sim_factory):
    sim = sim_factory("--delay", "1", "--delay-ms", "20")
    server = server_factory("--device", "shop=" + sim.device)
    server.device("shop")
    open_shift(server)
    checked(sell(server, SALE, "before"), RECEIPTS, "post", 200)
    limit_files(server, 1024)
    answer = checked(sell(server, SALE, "during"), RECEIPTS, "post", 503)
    assert answer["error"]["reason"] == "journal-unavailable"
    health = checked(server.get("/health"), "/health", "get", 503)
    assert "I/O error" in health["journal"]["cause"] or "disk full" in health["journal"]["cause"]
    assert metric(server, "verda_journal_writable") == 0 and metric(server, "verda_journal_errors_total") >= 1
    checked(server.get("/devices/shop/clock"), "/devices/{id}/clock", "get", 200)
    assert server.process.poll() is None
    # Space again: the server resumes by itself, and the request, which was
    # never recorded, runs when repeated.
    limit_files(server, resource.RLIM_INFINITY)
    wait_until("the journal to be writable", lambda: server.get("/health").status_code == 200)
    checked(sell(server, SALE, "during"), RECEIPTS, "post", 200)

    # The journal fails while a receipt is on the register.
    midway = in_background(sell, server, SALE, "midway")
    wait_until("the receipt to be sent", lambda: server.get("/requests/midway").json().get("state") == "sent")
    limit_files(server, 1024)
    midway["thread"].join(WAIT)
    assert midway["result"].status_code in (200, 503), midway["result"].text
    limit_files(server, resource.RLIM_INFINITY)
    wait_until("the journal to be writable", lambda: server.get("/health").status_code == 200)
    assert server.settled("midway")["state"] in ("committed", "not-committed")
    if server.get("/requests/midway").json()["state"] == "not-committed":
        checked(sell(server, SALE, "midway"), RECEIPTS, "post", 200)
    assert server.process.poll() is None
    assert_each_sale_once(server)
