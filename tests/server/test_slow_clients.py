"""A slow client holds up nobody: while hundreds of connections sit silent,
send their head a byte at a time, or wait for a register that does not
answer, another client's receipt on a healthy register is answered, before
any of them is let go. The server is given timeouts longer than the test, so
that it is the test that lets them go; the time the receipt took is printed
(the README gives it, measured)."""
import socket
import threading
import time

import pytest

from conftest import SALE, WAIT, checked, wait_until

LONG_MS = 600000


@pytest.fixture
def slow_shop(server_factory, sim_factory, tmp_path):
    """A server whose built-in register "sim" is healthy, with its shift open,
    and whose register "dead" never answers."""
    dead = sim_factory()
    dead.kill()  # its port now refuses
    config = tmp_path / "slow.conf"
    config.write_text(f'{{"read_timeout_ms": {LONG_MS}, "idle_timeout_ms": {LONG_MS}}}')
    server = server_factory("--config", str(config), "--device", "sim=sim", "--device", "dead=" + dead.device)
    server.device("sim")
    checked(server.change("/devices/sim/shift/open"), "/devices/{id}/shift/open", "post", 200)
    return server


def address(server):
    host, port = server.url[len("http://"):].split(":")
    return host, int(port)


def timed_receipt(server, what):
    start = time.monotonic()
    answer = checked(server.change("/devices/sim/receipts", SALE), "/devices/{id}/receipts", "post", 200)
    elapsed = time.monotonic() - start
    print(f"\na receipt answered in {elapsed:.3f} s while {what}")
    return answer


def still_open(connections):
    """None of them was answered or closed by the server: nothing to read."""
    for c in connections:
        c.setblocking(False)
        try:
            c.recv(1)
            return False
        except BlockingIOError:
            pass
        finally:
            c.setblocking(True)
    return True


def test_silent_connections(slow_shop):
    connections = [socket.create_connection(address(slow_shop), timeout=WAIT) for _ in range(200)]
    try:
        timed_receipt(slow_shop, "200 connections sat silent")
        assert still_open(connections)
    finally:
        for c in connections:
            c.close()


def test_heads_sent_a_byte_at_a_time(slow_shop):
    head = b"POST /devices/sim/drawer HTTP/1.1\r\nHost: shop\r\nIdempotency-Key: slow\r\nX-Slow: " + b"a" * 10000
    connections = [socket.create_connection(address(slow_shop), timeout=WAIT) for _ in range(150)]
    sent = [0] * len(connections)
    stop = threading.Event()

    def trickle():
        while not stop.is_set():
            for i, c in enumerate(connections):
                c.sendall(head[sent[i]:sent[i] + 1])
                sent[i] += 1
            time.sleep(0.02)
    thread = threading.Thread(target=trickle)
    thread.start()
    try:
        wait_until("every head to have begun", lambda: min(sent) >= 3)
        timed_receipt(slow_shop, "150 clients sent their heads a byte at a time")
        assert thread.is_alive() and min(sent) < len(head)  # still sending, none of them done
        assert still_open(connections)
    finally:
        stop.set()
        thread.join()
        for c in connections:
            c.close()


def test_clients_waiting_for_a_register_that_does_not_answer(slow_shop):
    answers, limit = [], 32  # the default queue_limit
    http = slow_shop.http

    def wait_for_dead(n):
        try:
            answers.append(http.post(slow_shop.url + "/devices/dead/receipts", json=SALE, timeout=WAIT,
                                     headers={"Idempotency-Key": f"dead-{n}", "X-Deadline-Ms": str(LONG_MS)}))
        except Exception as e:  # kept: an answer that never came fails the checks below
            answers.append(e)
    clients = [threading.Thread(target=wait_for_dead, args=(n,)) for n in range(150)]
    for t in clients:
        t.start()
    # Those past the limit are turned away at once, with nothing recorded.
    wait_until("the clients past the limit to be turned away", lambda: len(answers) == 150 - limit)
    assert all(a.status_code == 429 and a.headers["Retry-After"] == "1" for a in answers)
    assert {a.json()["error"]["reason"] for a in answers} == {"queue-full"}
    recorded = slow_shop.get("/requests", params={"device": "dead", "limit": 1000}).json()["requests"]
    assert len(recorded) == limit and {r["state"] for r in recorded} == {"received"}
    timed_receipt(slow_shop, f"{limit} clients waited for a register that does not answer, "
                             f"and {150 - limit} more were turned away")
    assert len(answers) == 150 - limit  # the waiting ones still wait
    assert slow_shop.device("dead", online=False)["queue"] == limit
    # The server stops under them: each waiting client is let go with
    # not-sent, however far its deadline, and the journal says the same.
    assert slow_shop.stop() == 0
    for t in clients:
        t.join(WAIT)
    assert len(answers) == 150
    waited = [a for a in answers if a.status_code != 429]
    assert len(waited) == limit and {(a.status_code, a.json()["state"]) for a in waited} == {(503, "not-sent")}
    slow_shop.start()
    recorded = slow_shop.get("/requests", params={"device": "dead", "limit": 1000}).json()["requests"]
    assert len(recorded) == limit and {r["state"] for r in recorded} == {"not-sent"}
