"""How verda-server starts, or refuses to: a bad command line or
configuration is status 2 with a message naming what is wrong, a journal or
an address it cannot have is status 1, and nothing is left listening. A
configuration of every kind of register starts, shows each as configured,
and stops with status 0."""
import json
import socket
import subprocess

import pytest

from conftest import WAIT, checked


def run(programs, tmp_path, *args):
    journal = [] if "--journal" in args else ["--journal", str(tmp_path / "journal.db")]
    return subprocess.run([programs[0], *journal, *args], capture_output=True, text=True, timeout=WAIT)


# (what, the command line, the configuration file's text or None, status, what the message names)
REFUSALS = [
    ("unknown option", ["--speed", "9"], None, 2, "--speed"),
    ("device without an id", ["--device", "sim"], None, 2, "--device"),
    ("device of no transport", ["--device", "a=usb:1"], None, 2, "--device"),
    ("baud that is no number", ["--device", "a=serial:/dev/ttyS0@fast"], None, 2, "--device"),
    ("tcp without a port", ["--device", "a=tcp:127.0.0.1"], None, 2, "--device"),
    ("device given twice", ["--device", "a=sim", "--device", "a=sim"], None, 2, "given twice"),
    ("listen without a port", ["--listen", "127.0.0.1"], None, 2, "--listen"),
    ("configuration that cannot be read", ["--config", "{missing}"], None, 2, "cannot read"),
    ("id twice in the file", [], {"devices": [{"id": "a", "transport": "sim"}, {"id": "a", "transport": "sim"}]},
     2, "devices[1].id"),
    ("operator that is no object", [], {"devices": [{"id": "a", "transport": "sim", "operator": 1}]},
     2, "devices[0].operator"),
    ("operator's code out of range", [], {"devices": [{"id": "a", "transport": "sim", "operator": {"code": 100}}]},
     2, "devices[0].operator.code"),
    ("operator's unknown field", [], {"devices": [{"id": "a", "transport": "sim", "operator": {"pin": 1}}]},
     2, "devices[0].operator.pin"),
    ("timeout out of range", [], {"devices": [{"id": "a", "transport": "sim", "timeout": 99999}]},
     2, "devices[0].timeout"),
    ("devices that are no list", [], {"devices": {"a": "sim"}}, 2, "devices"),
    ("journal it cannot open", ["--journal", "{file}/journal.db"], None, 1, "journal"),
]


@pytest.mark.parametrize("what,args,config,status,named", REFUSALS, ids=[r[0] for r in REFUSALS])
def test_refused_start(programs, tmp_path, what, args, config, status, named):
    (tmp_path / "file").write_text("a file, not a folder")
    args = [a.replace("{missing}", str(tmp_path / "missing.conf")).replace("{file}", str(tmp_path / "file"))
            for a in args]
    if config is not None:
        (tmp_path / "verda-server.conf").write_text(json.dumps(config))
        args += ["--config", str(tmp_path / "verda-server.conf")]
    done = run(programs, tmp_path, *args)
    assert (done.returncode, done.stdout) == (status, ""), done.stderr
    assert named in done.stderr, done.stderr


def test_address_taken(programs, tmp_path):
    with socket.socket() as taken:
        taken.bind(("127.0.0.1", 0))
        taken.listen()
        port = taken.getsockname()[1]
        done = run(programs, tmp_path, "--listen", f"127.0.0.1:{port}")
    assert done.returncode == 1 and f"cannot listen on 127.0.0.1:{port}" in done.stderr, done.stderr
    assert done.stdout == ""


def test_every_kind_of_register_configured(server_factory, tmp_path):
    """A serial line that is no register, a TCP address where nobody listens
    and the built-in register, each with its own operator: the server starts,
    shows each as configured, and serves the one that answers."""
    with socket.socket() as free:
        free.bind(("127.0.0.1", 0))
        port = free.getsockname()[1]  # closed again: nobody listens there
    config = tmp_path / "shop.conf"
    config.write_text(json.dumps({"devices": [
        {"id": "line", "transport": "serial:/dev/null@9600", "timeout": 10},
        {"id": "far", "transport": f"tcp:127.0.0.1:{port}"},
        {"id": "here", "transport": "sim", "operator": {"code": 2, "password": "2", "name": "Петрова", "till": 3}},
    ]}))
    server = server_factory("--config", str(config))
    devices = {d["id"]: d for d in checked(server.get("/devices"), "/devices", "get", 200)}
    assert {i: d["transport"] for i, d in devices.items()} == {
        "line": "serial:/dev/null@9600", "far": f"tcp:127.0.0.1:{port}", "here": "sim"}
    assert server.device("here")["link"]["state"] == "online"
    assert server.device("far", online=False)["link"]["state"] != "online"
    # Another register's link down holds up nobody: the built-in one serves.
    checked(server.change("/devices/here/shift/open"), "/devices/{id}/shift/open", "post", 200)
