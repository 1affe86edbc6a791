"""verda-server stops as systemd stops it (SIGTERM) or as a terminal does
(SIGINT): it takes no new connection, what waits for a register is answered
not-sent, the receipt under way reaches a recorded state, and the process
ends with status 0, however long the clients' deadlines. What a client was
told is what the journal holds; after a restart every request is final, and
the register sold each receipt once."""
import signal
import threading

import pytest
import requests

from conftest import SALE, WAIT, wait_until
from test_settle import FINAL, open_shift, shop_on

SIGNALS = [pytest.param(s, id=s.name) for s in (signal.SIGTERM, signal.SIGINT)]
# Longer than the test waits for anything: a stop that waited for a
# client's deadline would fail the test.
LONG_MS = 600000


def send_receipts(server, keys):
    """Receipts from threads: {key: the answer, or the connection's error}."""
    answers = {}

    def send(key):
        try:
            answers[key] = server.change("/devices/shop/receipts", SALE, key=key,
                                         headers={"X-Deadline-Ms": str(LONG_MS)})
        except requests.ConnectionError as e:  # the server no longer listened
            answers[key] = e
    threads = [threading.Thread(target=send, args=(key,)) for key in keys]
    for t in threads:
        t.start()
    return threads, answers


def receipts_in(server, *states):
    rows = server.get("/requests", params={"device": "shop", "kind": "receipt"}).json()["requests"]
    return [r for r in rows if r["state"] in states]


def record_of(server, key):
    answer = server.get("/requests/" + key)
    return None if answer.status_code == 404 else answer.json()


def told_as_recorded(server, keys, answers):
    """Each client's answer against the restarted server's journal: the
    records it returns, all final."""
    records = []
    for key in keys:
        answer, record = answers[key], record_of(server, key)
        if isinstance(answer, Exception):
            assert record is None, (key, record)  # it never reached the server whole
            continue
        if record is None:  # turned away before anything was recorded
            assert answer.status_code == 503 and answer.json()["state"] == "not-sent", answer.text
            continue
        assert record["state"] in FINAL | {"not-sent"}, (key, record["state"])
        assert (answer.status_code, answer.json()) == (record["status"], record["answer"]), key
        records.append(record)
    return records


def sold_once_each(server, keys):
    """Repeats every key until it is committed; the register's sales then
    equal the journal's, one receipt a key."""
    for key in keys:
        again = server.change("/devices/shop/receipts", SALE, key=key)
        assert again.status_code == 200, again.text
    assert server.x_report("shop")["sales"][0] == server.committed_total("shop") == round(211.3 * len(keys), 2)


@pytest.mark.parametrize("sig", SIGNALS)
def test_stop_while_receipts_run(server_factory, sim_factory, sig):
    # Each reply comes 40 ms late: a receipt takes a while, the others queue.
    sim = sim_factory("--delay", "1", "--delay-ms", "40")
    server = shop_on(server_factory, sim)
    open_shift(server)
    keys = [f"stop-{n}" for n in range(8)]
    threads, answers = send_receipts(server, keys)
    wait_until("a receipt to be sent", lambda: receipts_in(server, "sent"))
    assert server.stop(sig) == 0
    for t in threads:
        t.join(WAIT)
    # Every client was let go by the stop itself.
    assert not any(t.is_alive() for t in threads)
    assert "stopped" in (server.folder / "server.log").read_text()
    server.start()
    records = told_as_recorded(server, keys, answers)
    # The receipt under way was finished, not abandoned.
    assert any(r["state"] == "committed" for r in records), [r["state"] for r in records]
    sold_once_each(server, keys)


@pytest.mark.parametrize("sig", SIGNALS)
def test_stop_while_the_register_is_gone_mid_receipt(server_factory, sim_factory, sig):
    """The register dies during a receipt: the worker waits to reach it again
    until the client's deadline, far away. The stop does not wait for it:
    the receipt stays ambiguous, which the next start settles from the
    register once it is back."""
    sim = sim_factory("--delay", "1", "--delay-ms", "40")
    server = shop_on(server_factory, sim)
    open_shift(server)
    keys = ["gone-0", "gone-1", "gone-2"]
    threads, answers = send_receipts(server, keys)
    wait_until("a receipt to be sent", lambda: receipts_in(server, "sent"))
    sim.kill()
    wait_until("the receipt to be ambiguous", lambda: receipts_in(server, "ambiguous"))
    assert server.stop(sig) == 0
    for t in threads:
        t.join(WAIT)
    assert not any(t.is_alive() for t in threads)
    # The client of the interrupted receipt was told that it is pending.
    pending = [a for a in answers.values() if not isinstance(a, Exception) and a.status_code == 202]
    assert len(pending) == 1 and pending[0].json()["state"] == "ambiguous", answers
    sim.start("--delay", "1", "--delay-ms", "40")
    server.start()
    for key in keys:
        if record_of(server, key) is not None:
            assert server.settled(key)["state"] in FINAL | {"not-sent"}
    sold_once_each(server, keys)
