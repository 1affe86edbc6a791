"""The HTTP API against the built-in simulated register: a whole receipt,
refusals, bad input, the token, the repeat, the operations' endpoints."""
import json
import shutil
import subprocess

import pytest

from conftest import SALE, SIM_IDENTITY, WAIT, checked


def ring_up(server, body, key=None):
    return server.change("/devices/sim/receipts", body, key=key)


def test_receipt_committed_once_and_repeated_from_the_journal(shop):
    article = {"name": "Сыр", "price": 120.00, "tax": 1, "quantity": 50}
    checked(shop.change("/devices/sim/articles/101", article, method="PUT"),
            "/devices/{id}/articles/{code}", "put", 200)
    body = dict(SALE, lines=[SALE["lines"][0], {"article": 101, "quantity": 1.5}])
    first = ring_up(shop, body, key="receipt-1")
    sale = checked(first, "/devices/{id}/receipts", "post", 200)
    # 91.00 less 5% = 86.45; 180.00 of cheese; less 10.00 on the receipt.
    assert sale["total"] == 256.45 and sale["change"] == 743.55
    assert sale["shift"] == 1 and sale["receipt"] == 1

    again = ring_up(shop, body, key="receipt-1")
    assert again.status_code == 200 and again.json() == sale
    assert again.headers.get("Idempotent-Replayed") == "true"

    # The register counted it once; its journal holds it with the same sign.
    report = shop.x_report("sim")
    assert report["sales"][0] == 256.45
    document = checked(shop.get(f"/devices/sim/journal/{sale['document']}"),
                       "/devices/{id}/journal/{document}", "get", 200)
    printed = "\n".join(document["lines"])
    assert document["sign"] == sale["sign"] and "Сыр" in printed and "Спасибо за покупку" in printed
    record = checked(shop.get("/requests/receipt-1"), "/requests/{key}", "get", 200)
    assert record["state"] == "committed" and record["answer"] == sale
    assert [s["step"] for s in record["steps"]] == ["received", "sent", "closing", "committed"]
    # The witness: which register, and its last fiscal document before the receipt.
    assert record["witness"] == dict(SIM_IDENTITY, fiscal_document=sale["document"] - 1)
    articles = checked(shop.get("/devices/sim/articles"), "/devices/{id}/articles", "get", 200)
    assert [(a["code"], a["name"], a["stock"]) for a in articles["articles"]] == [(101, "Сыр", 48.5)]


def test_refusal_half_way_cancels_the_receipt(shop):
    body = dict(SALE, lines=[SALE["lines"][0], {"article": 999, "quantity": 1}])
    answer = checked(ring_up(shop, body), "/devices/{id}/receipts", "post", 422)
    error = answer["error"]
    assert (error["operation"], error["line"], error["field"]) == ("RegisterArticleSale", 1, "lines[1]")
    text = checked(shop.get(f"/errors/{error['code']}"), "/errors/{code}", "get", 200)["text"]
    assert error["text"] == text and text
    device = shop.device("sim")
    assert device["document"]["open"] == "none"
    assert shop.x_report("sim")["sales"][0] == 0


BAD_RECEIPTS = [
    ("lines", {"type": "sale"}),
    ("lines", {"lines": []}),
    ("type", dict(SALE, type="gift")),
    ("lines[0].quantity", dict(SALE, lines=[{"name": "Хлеб", "price": 1, "quantity": -2}])),
    ("lines[0].price", dict(SALE, lines=[{"name": "Хлеб", "price": "45"}])),
    ("lines[0].colour", dict(SALE, lines=[{"name": "Хлеб", "price": 1, "colour": "red"}])),
    ("lines[0].name", dict(SALE, lines=[{"name": "Хлеб ☃", "price": 1}])),
    ("lines[0].name", dict(SALE, lines=[{"name": "Хлеб\tбелый", "price": 1}])),
    ("lines[0].article", dict(SALE, lines=[{"article": 5, "price": 1}])),
    ("lines[0].discount", dict(SALE, lines=[{"name": "Хлеб", "price": 1, "discount": {}}])),
    ("lines[0].discount.percent", dict(SALE, lines=[{"name": "Хлеб", "price": 1, "discount": {"percent": 101}}])),
    ("surcharge", dict(SALE, surcharge={"sum": 1})),
    ("payments[0].mode", dict(SALE, payments=[{"mode": "cheque"}])),
    ("text[0]", dict(SALE, text=["€"])),
    ("cashier", dict(SALE, cashier=7)),
    ("extra", dict(SALE, extra=1)),
    ("body", [1, 2]),
]


@pytest.mark.parametrize("field,body", BAD_RECEIPTS)
def test_bad_receipt_reaches_nothing(shop, field, body):
    before = shop.device("sim")["fiscal_drive"]["last_document"]
    answer = checked(ring_up(shop, body, key="bad-" + field), "/devices/{id}/receipts", "post", 400)
    assert answer["error"]["field"] == field
    assert shop.get("/requests/bad-" + field).status_code == 404
    assert shop.device("sim")["fiscal_drive"]["last_document"] == before


BAD_REQUESTS = [
    ("POST", "/devices/sim/cash-in", {"amount": -5}, "amount"),
    ("POST", "/devices/sim/cash-out", {}, "amount"),
    ("POST", "/devices/sim/text", {"lines": ["ok", 5]}, "lines[1]"),
    ("POST", "/devices/sim/drawer", {"open": True}, "open"),
    ("POST", "/devices/sim/x-report", {"now": 1}, "now"),
    ("PUT", "/devices/sim/clock", {"datetime": "2026-01-01 10:00"}, "datetime"),
    ("PUT", "/devices/sim/articles/7", {"name": "Сыр"}, "price"),
    ("POST", "/devices/sim/shift/open", {"cashier": "☃"}, "cashier"),
]


def test_bad_input_of_every_endpoint(shop):
    for method, path, body, field in BAD_REQUESTS:
        answer = shop.change(path, body, method=method)
        assert answer.status_code == 400 and answer.json()["error"]["field"] == field, (path, answer.text)
    raw = [("not json", "{"), ("over 1 MiB", json.dumps({"lines": ["x" * 60] * 20000}))]
    for what, data in raw:
        answer = shop.http.post(shop.url + "/devices/sim/text", data=data, timeout=WAIT,
                                headers={"Idempotency-Key": what, "Content-Type": "application/json"})
        assert answer.status_code == 400 and answer.json()["error"]["field"] == "body", what
    missing = shop.request("POST", "/devices/sim/drawer")
    assert missing.status_code == 400 and missing.json()["error"]["field"] == "Idempotency-Key"
    deadline = shop.change("/devices/sim/drawer", headers={"X-Deadline-Ms": "soon"})
    assert deadline.json()["error"]["field"] == "X-Deadline-Ms"
    assert checked(shop.get("/devices/nowhere"), "/devices/{id}", "get", 404)["error"]["field"] == "id"
    assert shop.get("/requests", params={"since": "yesterday"}).json()["error"]["field"] == "since"
    assert shop.get("/requests").json()["requests"][0]["kind"] == "shift-open"


def test_key_reused_for_another_request(shop):
    checked(shop.change("/devices/sim/cash-in", {"amount": 100}, key="k"), "/devices/{id}/cash-in", "post", 200)
    answer = shop.change("/devices/sim/cash-in", {"amount": 200}, key="k")
    assert checked(answer, "/devices/{id}/cash-in", "post", 409)["error"]["field"] == "Idempotency-Key"
    out = checked(shop.change("/devices/sim/cash-out", {"amount": 30}), "/devices/{id}/cash-out", "post", 200)
    assert (out["cash"], out["cash_in"], out["cash_out"]) == (70, 100, 30)


def test_service_endpoints(shop):
    checked(shop.change("/devices/sim/text", {"lines": ["Проверка связи", "line 2"]}),
            "/devices/{id}/text", "post", 200)
    checked(shop.change("/devices/sim/drawer"), "/devices/{id}/drawer", "post", 200)
    checked(shop.change("/devices/sim/clock", {"datetime": "01.02.2030 10:20:30"}, method="PUT"),
            "/devices/{id}/clock", "put", 200)
    clock = checked(shop.get("/devices/sim/clock"), "/devices/{id}/clock", "get", 200)
    assert clock["datetime"].startswith("01.02.2030 10:2")
    paper = checked(shop.get("/devices/sim/paper"), "/devices/{id}/paper", "get", 200)
    assert "Проверка связи" in paper["text"]
    later = checked(shop.get("/devices/sim/paper", params={"from": paper["next"]}), "/devices/{id}/paper", "get", 200)
    assert later == {"from": paper["next"], "next": paper["next"], "text": ""}
    z = checked(shop.change("/devices/sim/z-report"), "/devices/{id}/z-report", "post", 200)
    assert z["type"] == "Z" and z["document"] > 1
    assert shop.device("sim")["shift"]["open"] is False
    devices = checked(shop.get("/devices"), "/devices", "get", 200)
    assert [d["id"] for d in devices] == ["sim"] and devices[0]["model"]
    checked(shop.get("/health"), "/health", "get", 200)
    assert checked(shop.get("/openapi.json"), "/openapi.json", "get", 200)["openapi"].startswith("3.")


def test_token(server_factory):
    server = server_factory(token="s3cret")
    anonymous = server.http.__class__()
    health = checked(anonymous.get(server.url + "/health", timeout=WAIT), "/health", "get", 200)
    assert health["token_required"] is True
    # The console's files hold no data: the page loads, and then asks for the token.
    for path, route, status in (("/", "/", 200), ("/console/console.js", "/console/{file}", 200),
                                ("/console/missing.js", "/console/{file}", 404)):
        checked(anonymous.get(server.url + path, timeout=WAIT), route, "get", status)
    for headers in ({}, {"Authorization": "Bearer wrong"}, {"Authorization": "s3cret"}):
        answer = anonymous.get(server.url + "/devices", headers=headers, timeout=WAIT)
        assert checked(answer, "/devices", "get", 401)["error"]["field"] == "Authorization"
    assert server.get("/devices").status_code == 200


def test_metrics_pass_promtool(shop):
    ring_up(shop, SALE)
    text = shop.get("/metrics").text
    assert 'verda_http_requests_total{route="/devices/{id}/receipts",method="POST",status="200"} 1' in text
    assert 'verda_queue_depth{device="sim"} 0' in text
    # The register's health too: its shift open, its verdict one of three.
    assert 'verda_shift_open{device="sim"} 1' in text and 'verda_device_info{device="sim",' in text
    assert sum(f'verda_verdict{{device="sim",verdict="{v}"}} 1' in text for v in ("ok", "attention", "blocked")) == 1
    promtool = shutil.which("promtool")
    if promtool is None:
        pytest.skip("promtool (Debian prometheus) is not installed: the format is not checked")
    check = subprocess.run([promtool, "check", "metrics"], input=text, capture_output=True, text=True)
    assert check.returncode == 0, check.stdout + check.stderr


def test_naks_are_repeated_counted_and_sell_once(server_factory, sim_factory):
    """A register that answers some requests with NAK: each is sent again,
    the receipt is committed once, and the metrics count the NAKs and the
    repeats."""
    sim = sim_factory("--nak", "0.3", "--seed", "7")
    server = server_factory("--device", "shop=" + sim.device)
    server.device("shop")
    checked(server.change("/devices/shop/shift/open"), "/devices/{id}/shift/open", "post", 200)
    checked(server.change("/devices/shop/receipts", SALE), "/devices/{id}/receipts", "post", 200)
    assert sum(server.x_report("shop")["sales"]) == server.committed_total("shop")
    text = server.get("/metrics").text
    counts = {}
    for name in ("verda_naks_total", "verda_repeats_total"):
        line = next(l for l in text.splitlines() if l.startswith(name + '{device="shop"}'))
        counts[name] = int(line.rsplit(" ", 1)[1])
    assert 0 < counts["verda_naks_total"] <= counts["verda_repeats_total"]


def test_offline_register_fails_before_sending(server_factory, sim_factory):
    sim = sim_factory()
    sim.kill()  # its port now refuses
    server = server_factory("--device", "shop=" + sim.device)
    device = server.device("shop", online=False)
    assert device["link"]["state"] in ("offline", "reconnecting") and device["reading"] is None
    answer = server.change("/devices/shop/receipts", SALE, key="late", headers={"X-Deadline-Ms": "300"})
    assert checked(answer, "/devices/{id}/receipts", "post", 503)["state"] == "not-sent"
    assert server.get("/requests/late").json()["state"] == "not-sent"
    # Once the register is back, the same key runs again.
    sim.start()
    server.device("shop")
    checked(server.change("/devices/shop/shift/open"), "/devices/{id}/shift/open", "post", 200)
    checked(server.change("/devices/shop/receipts", SALE, key="late"), "/devices/{id}/receipts", "post", 200)


BAD_CONFIGS = [
    ('{"listen": "nowhere"}', "listen"),
    ('{"devices": [{"id": "a", "transport": "usb"}]}', "devices[0].transport"),
    ('{"devices": [{"id": "a", "transport": "sim", "speed": 1}]}', "devices[0].speed"),
    ('{"deadline_ms": "30s"}', "deadline_ms"),
    ('{\n  // a comment is fine\n  "token": "x",\n  oops\n}', ":4:"),
]


@pytest.mark.parametrize("text,named", BAD_CONFIGS)
def test_bad_configuration_file(programs, tmp_path, text, named):
    config = tmp_path / "verda-server.conf"
    config.write_text(text)
    run = subprocess.run([programs[0], "--config", str(config)], capture_output=True, text=True, timeout=WAIT)
    assert run.returncode == 2 and named in run.stderr, run.stderr


def test_any_operation_by_name(shop):
    listed = checked(shop.get("/operations"), "/operations", "get", 200)["operations"]
    close = next(op for op in listed if op["name"] == "CloseFiscalInv")
    assert [(p["name"], p["direction"]) for p in close["parameters"]][:2] == [("SlipNumber", "out"), ("nFD", "out")]
    path = "/devices/{id}/operations/{name}"
    cash = checked(shop.change("/devices/sim/operations/ParishOrConsumption", {"Type": "0", "Amount": 50}),
                   path, "post", 200)
    assert cash["outputs"] == {"CashSum": 50, "CashIn": 50, "CashOut": 0}
    record = shop.get("/requests").json()["requests"][0]
    assert record["kind"] == "operation:ParishOrConsumption"
    assert shop.get("/requests/" + record["key"]).json()["witness"] == dict(
        SIM_IDENTITY, fiscal_document=1, cash_in=0, cash_out=0)
    assert next(op for op in listed if op["name"] == "ParishOrConsumption")["may_fiscalise"] is True
    assert next(op for op in listed if op["name"] == "PrintXReport")["may_fiscalise"] is False
    name = checked(shop.change("/devices/sim/operations/DiagnosticInfo", {}), path, "post", 200)["outputs"]["Name"]
    assert name == shop.device("sim")["model"]
    refused = checked(shop.change("/devices/sim/operations/CloseFiscalInv", {}), path, "post", 422)
    assert refused["error"]["operation"] == "CloseFiscalInv"
    for name, body, field in [("NoSuchThing", {}, "name"), ("ParishOrConsumption", {"Type": "0"}, "Amount"),
                              ("ParishOrConsumption", {"Type": "0", "Amount": "5"}, "Amount"),
                              ("ParishOrConsumption", {"Type": "00", "Amount": 5}, "Type"),
                              ("CloseFiscalInv", {"nFD": 1}, "nFD")]:
        answer = shop.change("/devices/sim/operations/" + name, body)
        assert checked(answer, path, "post", 400)["error"]["field"] == field, (name, body)


def test_live_events_carry_each_step(shop):
    with shop.http.get(shop.url + "/events", stream=True, timeout=WAIT) as stream:
        assert stream.headers["Content-Type"].startswith("text/event-stream")
        checked(shop.change("/devices/sim/drawer", key="watched"), "/devices/{id}/drawer", "post", 200)
        steps = []
        for line in stream.iter_lines(decode_unicode=True):
            if line.startswith("data: "):
                event = json.loads(line[6:])
                if event.get("key") == "watched":
                    steps.append(event["step"])
            if "committed" in steps:
                break
    assert steps == ["received", "sent", "committed"]


def test_silent_client_holds_nobody_up(server_factory, tmp_path):
    import socket
    config = tmp_path / "quick.conf"
    config.write_text('{"read_timeout_ms": 500}')
    server = server_factory("--config", str(config))
    host, port = server.url[len("http://"):].split(":")
    with socket.create_connection((host, int(port)), timeout=WAIT) as silent:
        silent.sendall(b"POST /devices/sim/drawer HTTP/1.1\r\nHost: x\r\nContent-Length: 10\r\n\r\n")
        assert checked(server.get("/health"), "/health", "get", 200)["status"] == "ok"
        # The server gives up on the rest of the body and closes.
        silent.settimeout(WAIT)
        received = b""
        while chunk := silent.recv(4096):
            received += chunk
    assert b"200 OK" not in received
