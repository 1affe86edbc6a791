"""Load: 8 simulated registers, 4 clients each, 100 receipts each, all at
once. Every receipt is committed once, and each register's totals are the
journal's sums."""
import os
import pathlib
import tempfile
import threading
import uuid

import pytest
import requests

from conftest import WAIT, checked

REGISTERS, CLIENTS = 8, 4


@pytest.fixture
def memory_folder(tmp_path):
    """The journal in memory where the machine has a tmpfs: this test counts
    receipts, and a disk's syncs would only make it slow."""
    shm = pathlib.Path("/dev/shm")
    if not (shm.is_dir() and os.access(shm, os.W_OK)):
        yield tmp_path
        return
    with tempfile.TemporaryDirectory(dir=shm, prefix="verda-load-") as folder:
        yield pathlib.Path(folder)


def test_eight_registers_under_load(server_factory, sim_factory, memory_folder, request):
    receipts = request.config.getoption("--receipts")
    sims = [sim_factory() for _ in range(REGISTERS)]
    server = server_factory(*[a for i, sim in enumerate(sims) for a in ("--device", f"r{i}={sim.device}")],
                            root=memory_folder)
    for i in range(REGISTERS):
        server.device(f"r{i}")
        checked(server.change(f"/devices/r{i}/shift/open"), "/devices/{id}/shift/open", "post", 200)
    answers, failures = {}, []

    def client(register, number):
        http = requests.Session()
        for n in range(receipts):
            # A price of its own for every receipt, so that a sum counted
            # twice or lost shows.
            price = 10 + number + n / 100
            key = str(uuid.uuid4())
            body = {"lines": [{"name": "Товар", "price": price, "quantity": 1}]}
            try:
                answer = http.post(f"{server.url}/devices/r{register}/receipts", json=body,
                                   headers={"Idempotency-Key": key}, timeout=WAIT)
                if answer.status_code != 200:
                    failures.append(answer.text)
                else:
                    answers[key] = (register, price, answer.json())
            except requests.RequestException as e:
                failures.append(str(e))

    threads = [threading.Thread(target=client, args=(r, c)) for r in range(REGISTERS) for c in range(CLIENTS)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert failures == []
    assert len(answers) == REGISTERS * CLIENTS * receipts
    for register in range(REGISTERS):
        mine = [(price, a) for r, price, a in answers.values() if r == register]
        assert all(a["total"] == round(price, 2) for price, a in mine)
        assert len({a["document"] for _, a in mine}) == CLIENTS * receipts
        total = round(sum(a["total"] for _, a in mine), 2)
        assert server.committed_total(f"r{register}") == total
        assert round(server.x_report(f"r{register}")["sales"][0], 2) == total
