"""A randomized campaign against "never lost, never twice": clients sell on
two registers, each receipt under a key of its own, and repeat it with the
same key until it has a final answer, while the server is killed and started
again on its journal, the simulated registers are killed and started again
on their memory, and links hang up after any step of a receipt. At the end
every key is final, each register's X report is the journal's committed
receipts, and each committed receipt is in its register's electronic journal
once, under the number recorded. The seed is fixed in the test command
(--seed) and named in every failure."""
import random
import threading
import time

import requests

from conftest import checked, wait_until

REGISTERS, CLIENTS = 2, 3
# The steps of a receipt on the wire, after any of which a link may hang up.
STEPS = ["GetStateFN", "OpenFiscalInv", "RegisterSale", "Subtotal", "Total", "CloseFiscalInv"]
CLIENT_LIMIT = 300  # seconds a client may take for its receipts, on a slow machine


def test_campaign(server_factory, sim_factory, relay_factory, request):
    seed = request.config.getoption("--seed")
    receipts = request.config.getoption("--campaign-receipts")
    rng = random.Random(seed)
    print(f"campaign seed {seed}, {receipts} receipts a client")
    # Each reply 20 ms late, so that a receipt takes a while and faults fall inside it.
    sims = [sim_factory("--delay", "1", "--delay-ms", "20", name=f"r{i}") for i in range(REGISTERS)]
    relays = [relay_factory(sim) for sim in sims]
    server = server_factory(*[a for i, relay in enumerate(relays) for a in ("--device", f"r{i}={relay.device}")])
    for i in range(REGISTERS):
        server.device(f"r{i}")
        checked(server.change(f"/devices/r{i}/shift/open"), "/devices/{id}/shift/open", "post", 200)

    outcomes, problems = {}, []
    finished, seen, actions = [], [], []

    def client(register, number):
        http = requests.Session()
        end = time.monotonic() + CLIENT_LIMIT
        for n in range(receipts):
            key = f"s{seed}-r{register}-c{number}-{n}"
            body = {"lines": [{"name": "Товар", "price": 100 + 10 * number + n}]}
            while True:
                if time.monotonic() > end:
                    problems.append(f"{key}: no final answer in {CLIENT_LIMIT} s")
                    return
                try:
                    answer = http.post(f"{server.url}/devices/r{register}/receipts", json=body, timeout=60,
                                       headers={"Idempotency-Key": key, "X-Deadline-Ms": "20000"})
                except requests.RequestException:
                    time.sleep(0.2)  # the server was killed: the same key again
                    continue
                if answer.status_code in (200, 422):
                    outcomes[key] = answer.json()
                    break
                seen.append(answer.status_code)
                if answer.status_code not in (202, 503):
                    problems.append(f"{key}: {answer.status_code} {answer.text}")
                    return
                time.sleep(0.2)  # not yet final, or did not take effect: the same key again

    def chaos():
        for _ in range(2 * receipts):
            if len(finished) == REGISTERS * CLIENTS:
                return
            time.sleep(rng.uniform(0.2, 1.0))
            action, i = rng.choice(["server", "register", "hang-up", "hang-up"]), rng.randrange(REGISTERS)
            actions.append(action)
            if action == "server":
                server.process.kill()
                server.process.wait()
                server.log.close()
                server.start()
            elif action == "register":
                sims[i].kill()
                sims[i].start()
            else:
                relays[i].hang_up_after(rng.choice(STEPS))

    def run_client(register, number):
        try:
            client(register, number)
        finally:
            finished.append((register, number))

    clients = [threading.Thread(target=run_client, args=(r, c)) for r in range(REGISTERS) for c in range(CLIENTS)]
    for t in clients:
        t.start()
    chaos()
    for t in clients:
        t.join()
    print("faults:", {a: actions.count(a) for a in set(actions)},
          "answers before the final one:", {s: seen.count(s) for s in set(seen)})
    for relay in relays:
        relay.clear()
    assert problems == [], f"seed {seed}: {problems}"

    final = {"committed", "refused", "not-committed", "not-sent", "no-reply"}
    for key in outcomes:
        record = server.get("/requests/" + key).json()
        assert record["state"] in final, f"seed {seed}: {key} is {record['state']}"
    for i in range(REGISTERS):
        id = f"r{i}"
        wait_until(f"{id} to take changes", lambda: server.get("/devices/" + id).json()["changes"]["state"] == "open")
        committed = server.committed(id)
        found = server.fiscal_receipts(id)
        numbers = sorted(r["answer"]["document"] for r in committed)
        assert numbers == sorted(found), f"seed {seed}: {id}: journal {numbers}, register {sorted(found)}"
        for r in committed:
            lines = "\n".join(found[r["answer"]["document"]]["lines"])
            price = r["answer"]["total"]
            assert f"={price:.2f}" in lines, f"seed {seed}: {r['key']} is not document {r['answer']['document']}"
        report = server.x_report(id)
        assert round(sum(report["sales"]), 2) == server.committed_total(id), f"seed {seed}: {id}'s X report"
    assert sum(1 for a in outcomes.values() if a.get("state") == "committed") == len(server.committed("r0")) + \
        len(server.committed("r1")), f"seed {seed}"
