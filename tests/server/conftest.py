"""Fixtures: verda-sim and verda-server processes on free loopback ports,
and the server's answers checked against its OpenAPI document."""
import json
import os
import pathlib
import signal
import subprocess
import time
import uuid

import jsonschema
import pytest
import requests

OPENAPI = json.loads(
    (pathlib.Path(__file__).resolve().parents[2] / "server" / "openapi.json").read_text()
)
WAIT = 120  # seconds: generous, for a slow shared machine


def pytest_addoption(parser):
    parser.addoption("--server", required=True, help="the verda-server program")
    parser.addoption("--sim", required=True, help="the verda-sim program")
    parser.addoption("--receipts", type=int, default=100, help="receipts of each client in the load test")
    parser.addoption("--screenshots", default=None, help="folder for the console test's screenshots")
    parser.addoption("--seed", type=int, default=19, help="the randomized campaign's seed")
    parser.addoption("--campaign-receipts", type=int, default=6, help="receipts of each client in the campaign")


def wait_until(what, condition, timeout=WAIT):
    """Polls condition() until it returns something true, and returns that."""
    end = time.monotonic() + timeout
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError("timed out waiting for " + what)
        time.sleep(0.05)


def first_line(process, what):
    line = process.stdout.readline().strip()
    if not line:
        process.wait(timeout=WAIT)
        raise AssertionError(f"{what} did not start: {process.stderr.read()}")
    return line


class Sim:
    """A verda-sim process on TCP; it can be killed and started again on its
    port with the memory of its state file."""

    def __init__(self, program, folder, *args):
        self.program, self.folder, self.args = program, pathlib.Path(folder), list(args)
        self.folder.mkdir(parents=True, exist_ok=True)
        self.port = 0
        self.process = None
        self.start()

    def start(self, *extra):
        self.process = subprocess.Popen(
            [self.program, "--tcp", f"127.0.0.1:{self.port}", "--state", str(self.folder / "state"),
             "--paper", str(self.folder / "paper"), *self.args, *extra],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.port = int(first_line(self.process, "verda-sim").rsplit(":", 1)[1])

    def kill(self):
        self.process.kill()
        self.process.wait(timeout=WAIT)

    @property
    def device(self):
        return f"tcp:127.0.0.1:{self.port}"


class Server:
    """A verda-server process and a client of its HTTP API."""

    def __init__(self, program, folder, *args, token=None):
        self.program, self.folder, self.args, self.token = program, pathlib.Path(folder), list(args), token
        self.folder.mkdir(parents=True, exist_ok=True)
        self.http = requests.Session()
        if token:
            self.http.headers["Authorization"] = "Bearer " + token
        self.start()

    def start(self):
        args = [self.program, "--listen", "127.0.0.1:0", "--journal", str(self.folder / "journal.db"),
                *self.args]
        if self.token:
            args += ["--token", self.token]
        self.log = open(self.folder / "server.log", "a")
        self.process = subprocess.Popen(args, stdout=subprocess.PIPE, stderr=self.log, text=True)
        self.url = first_line(self.process, "verda-server")
        assert self.url.startswith(("http://127.0.0.1:", "https://127.0.0.1:")), self.url

    def stop(self, sig=signal.SIGTERM):
        # The client's connections kept alive are closed first, as a client
        # that is done does: the server would wait out their idle timeout.
        self.http.close()
        if self.process.poll() is None:
            self.process.send_signal(sig)
            self.process.wait(timeout=WAIT)
        self.log.close()
        return self.process.returncode

    def request(self, method, path, body=None, key=None, headers=None, **kw):
        headers = dict(headers or {})
        if key is not None:
            headers["Idempotency-Key"] = key
        data = None if body is None else json.dumps(body)
        if data is not None:
            headers["Content-Type"] = "application/json"
        elif method in ("POST", "PUT", "DELETE"):
            data = ""
        return self.http.request(method, self.url + path, data=data, headers=headers, timeout=WAIT, **kw)

    def get(self, path, **kw):
        return self.request("GET", path, **kw)

    def change(self, path, body=None, key=None, method="POST", **kw):
        """A request that changes a register, with a fresh key unless given."""
        return self.request(method, path, body, key=key or str(uuid.uuid4()), **kw)

    def device(self, id, online=True):
        """The register's reading, once its link is (or is not) online."""
        return wait_until(f"{id} online={online}", lambda: (lambda d: d if (d["link"]["state"] == "online") == online
                                                              and (d["reading"] is not None or not online) else None)(
            checked(self.get("/devices/" + id), "/devices/{id}", "get")))

    def settled(self, key):
        """The request, once it is in a final state."""
        final = {"committed", "refused", "not-committed", "not-sent", "no-reply"}
        return wait_until("request " + key + " settled",
                          lambda: (lambda r: r if r["state"] in final else None)(self.get("/requests/" + key).json()))

    def x_report(self, id):
        answer = self.change(f"/devices/{id}/x-report")
        checked(answer, "/devices/{id}/x-report", "post", 200)
        return answer.json()

    def committed(self, id):
        """The journal's committed receipts of a register."""
        rows = self.get("/requests", params={"device": id, "state": "committed", "limit": 10000}).json()["requests"]
        return [r for r in rows if r["kind"] == "receipt"]

    def committed_total(self, id):
        """The journal's sum of the committed sales of a register."""
        return round(sum(r["answer"]["total"] for r in self.committed(id)), 2)

    def fiscal_receipts(self, id):
        """Every fiscal receipt in the register's electronic journal, by its
        fiscal number: {number: document}."""
        last = self.device(id)["fiscal_drive"]["last_document"]
        found = {}
        for number in range(1, last + 1):
            # A link found dead on the way is opened again: the read is repeated.
            answer = wait_until("a journal read", lambda: (lambda a: a if a.status_code != 504 else None)(
                self.get(f"/devices/{id}/journal/{number}")))
            document = checked(answer, "/devices/{id}/journal/{document}", "get", 200)
            if document["kind"] in "SRPQ":
                found[number] = document
        return found


def checked(response, path, method, status=None):
    """The response, after its status (when given) and its body were checked
    against the OpenAPI document; returns the decoded body."""
    if status is not None:
        assert response.status_code == status, (response.status_code, response.text)
    documented = OPENAPI["paths"][path][method]["responses"].get(str(response.status_code))
    assert documented is not None, f"{method} {path}: status {response.status_code} is not documented: {response.text}"
    if "$ref" in documented:  # an answer shared by many routes: #/components/responses/NAME
        documented = OPENAPI["components"]["responses"][documented["$ref"].rsplit("/", 1)[1]]
    # The headers that a client acts on: declared where they are sent.
    if "Retry-After" in documented.get("headers", {}):
        assert "Retry-After" in response.headers, (method, path)
    if response.headers.get("Idempotent-Replayed"):
        assert "Idempotent-Replayed" in documented.get("headers", {}), (method, path, response.status_code)
    content = documented["content"]
    if "application/json" in content:
        body = response.json()
        schema = dict(content["application/json"]["schema"], components=OPENAPI["components"])
        jsonschema.Draft202012Validator(schema).validate(body)
        return body
    return response.text


@pytest.fixture
def programs(request):
    return request.config.getoption("--server"), request.config.getoption("--sim")


@pytest.fixture
def sim_factory(programs, tmp_path):
    sims = []

    def make(*args, name=None):
        sim = Sim(programs[1], tmp_path / (name or f"sim{len(sims)}"), *args)
        sims.append(sim)
        return sim
    yield make
    for sim in sims:
        if sim.process.poll() is None:
            sim.kill()


@pytest.fixture
def server_factory(programs, tmp_path):
    servers = []

    def make(*args, token=None, folder="server", root=None):
        server = Server(programs[0], (root or tmp_path) / folder, *args, token=token)
        servers.append(server)
        return server
    yield make
    # A server still running at the end is stopped as systemd stops it: it
    # must end by itself, with status 0 (which also writes its coverage counts).
    stopped = {server.folder: server.stop() for server in servers if server.process.poll() is None}
    assert all(status == 0 for status in stopped.values()), stopped


@pytest.fixture
def relay_factory():
    from relay import Relay
    relays = []

    def make(sim):
        relay = Relay(sim.port)
        relays.append(relay)
        return relay
    yield make
    for relay in relays:
        relay.close()


@pytest.fixture
def shop(server_factory):
    """A server with its built-in simulated register, the shift open."""
    server = server_factory()
    server.device("sim")
    checked(server.change("/devices/sim/shift/open"), "/devices/{id}/shift/open", "post", 200)
    return server


# What a simulated register reports itself as, unless told otherwise.
SIM_IDENTITY = {"device_number": "0000000001", "fiscal_drive": "9999078900012345"}

SALE = {"type": "sale", "cashier": "Иванова",
        "lines": [{"name": "Хлеб", "price": 45.50, "quantity": 2, "tax": 1, "department": 1,
                   "discount": {"percent": 5}},
                  {"name": "Молоко", "price": 89.90, "quantity": 1.5}],
        "discount": {"sum": 10.00},
        "payments": [{"mode": "cash", "amount": 1000.00}],
        "text": ["Спасибо за покупку"]}
