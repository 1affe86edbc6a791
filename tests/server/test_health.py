"""A register's fiscal health through verda-server: simulated registers put
in each state that stops a shop (verda-sim's state options), read by the
server's workers, shown decoded and judged by GET /devices/{id}, sent as
device events, and exported as metrics that promtool accepts and that the
shipped alert rules and dashboard use."""
import datetime
import json
import pathlib
import re
import shutil
import subprocess
import time

import jsonschema
import pytest
import yaml

from conftest import OPENAPI, WAIT, Server, Sim, checked, first_line, wait_until

MONITORING = pathlib.Path(__file__).resolve().parents[2] / "monitoring"

# A register standing at a known time, its shift opened two hours before:
# the opening is the register's own time, whatever the host's clock says.
STANDING = "01.06.2028 12:00:00"

# Each register's state, what the verdict must say (its reasons in order),
# and the decoded fields that show it (checked in the table below).
STATES = {
    "fine": ([], "ok", []),
    "over24h": (["--shift-opened", "-25h"], "blocked", ["shift-over-24h"]),
    "near24h": (["--shift-opened", "-23h20m"], "attention", ["shift-near-24h"]),
    "deadline": (["--fn-deadline", "+10d"], "attention", ["drive-deadline-near"]),
    "expired": (["--fn-deadline", "-2d"], "blocked", ["drive-expired"]),
    "unsent-old": (["--ofd-unsent", "3", "--ofd-unsent-since", "-6d"], "attention", ["unsent-old"]),
    "unsent-new": (["--ofd-unsent", "2", "--ofd-unsent-since", "-1d"], "ok", []),
    "warnings": (["--fn-warnings", "9"], "attention", ["drive-warnings"]),
    "several": (["--shift-opened", "-30h", "--fn-warnings", "128", "--fn-deadline", "+3d"], "blocked",
                ["shift-over-24h", "drive-deadline-near", "drive-warnings"]),
    "standing": (["--clock", STANDING, "--shift-opened", "-2h"], "ok", []),
}


def local(text):
    """A register's time (ISO 8601, no zone) in the host's zone, as epoch seconds."""
    return time.mktime(datetime.datetime.fromisoformat(text).timetuple())


def seconds_between(earlier, later):
    """Seconds between two of the register's times."""
    return (datetime.datetime.fromisoformat(later) - datetime.datetime.fromisoformat(earlier)).total_seconds()


def days_after_clock(health, date):
    """Days from the register's date when read to a date; the simulator set
    it from its date at the start, which may be the day before."""
    return (datetime.date.fromisoformat(date) - datetime.date.fromisoformat(health["clock"][:10])).days


# What each state shows decoded: a check of the health object for each.
DECODED = {
    "fine": lambda h: h["shift"]["open"] is False and h["unsent"]["count"] == 0
    and h["fiscal_drive"]["phase"]["code"] == "fiscal" and h["fiscal_drive"]["warnings"] == [],
    "over24h": lambda h: h["shift"]["open"] and h["shift"]["over_24h"] and h["shift"]["minutes"] >= 25 * 60,
    "near24h": lambda h: h["shift"]["open"] and not h["shift"]["over_24h"]
    and 23 * 60 + 20 <= h["shift"]["minutes"] < 24 * 60,
    "deadline": lambda h: days_after_clock(h, h["fiscal_drive"]["deadline"]) in (9, 10),
    "expired": lambda h: days_after_clock(h, h["fiscal_drive"]["deadline"]) in (-3, -2),
    "unsent-old": lambda h: h["unsent"]["count"] == 3
    and 6 * 86400 - 60 <= seconds_between(h["unsent"]["oldest"], h["clock"]) <= 6 * 86400 + 3600,
    "unsent-new": lambda h: h["unsent"]["count"] == 2 and h["unsent"]["first"] is not None,
    "warnings": lambda h: h["fiscal_drive"]["warning_flags"] == 9
    and [w["code"] for w in h["fiscal_drive"]["warnings"]] == ["replace-urgent", "operator-overdue"],
    "several": lambda h: [w["code"] for w in h["fiscal_drive"]["warnings"]] == ["critical"],
    "standing": lambda h: h["clock"] == "2028-06-01T12:00:00" and h["shift"]["opened"] == "2028-06-01T10:00:00",
}


class StandingSim(Sim):
    """A register whose clock stands: it keeps its memory in itself (a state
    file would let its clock run)."""

    def start(self, *extra):
        self.process = subprocess.Popen([self.program, "--tcp", f"127.0.0.1:{self.port}", *self.args, *extra],
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.port = int(first_line(self.process, "verda-sim").rsplit(":", 1)[1])


@pytest.fixture(scope="module")
def shop(request, tmp_path_factory):
    """One server with a register in each state, its health read every 200 ms."""
    server_program, sim_program = request.config.getoption("--server"), request.config.getoption("--sim")
    root = tmp_path_factory.mktemp("health")
    sims = {name: (StandingSim if "--clock" in args else Sim)(sim_program, root / name, *args)
            for name, (args, _, _) in STATES.items()}
    config = root / "verda-server.conf"
    config.write_text(json.dumps({"refresh_ms": 100, "health_ms": 200}))
    devices = [arg for name, sim in sims.items() for arg in ("--device", f"{name}={sim.device}")]
    server = Server(server_program, root / "server", "--config", str(config), *devices)
    for name in sims:
        server.device(name)
    yield server, sims
    server.stop()
    for sim in sims.values():
        if sim.process.poll() is None:
            sim.kill()


def health_of(server, name):
    """The register once its health has been read."""
    return wait_until(name + "'s health", lambda: (lambda d: d if d["health"] is not None else None)(
        checked(server.get("/devices/" + name), "/devices/{id}", "get", 200)))


def scrape(server):
    """The metrics page, checked by promtool, as {(name, labels): value}."""
    text = server.get("/metrics").content.decode("utf-8")
    promtool = shutil.which("promtool")
    if promtool is not None:
        check = subprocess.run([promtool, "check", "metrics"], input=text, capture_output=True, text=True)
        assert check.returncode == 0, check.stdout + check.stderr
    samples = {}
    for line in text.splitlines():
        if line.startswith("#") or not line:
            continue
        m = re.fullmatch(r'([a-z_:]+)(?:\{(.*)\})? (\S+)', line)
        assert m, line
        labels = tuple(sorted(re.findall(r'([a-z_]+)="((?:[^"\\]|\\.)*)"', m.group(2) or "")))
        samples[(m.group(1), labels)] = float(m.group(3))
    return text, samples


def gauge(samples, name, device, **labels):
    return samples.get((name, tuple(sorted(dict(labels, device=device).items()))))


@pytest.mark.parametrize("name", STATES)
def test_each_state_is_decoded_and_judged(shop, name):
    server, _ = shop
    _, verdict, reasons = STATES[name]
    device = health_of(server, name)
    assert device["verdict"]["verdict"] == verdict, device["verdict"]
    assert [r["code"] for r in device["verdict"]["reasons"]] == reasons
    # Each reason's own level, and the verdict the worst of them.
    levels = ["ok", "attention", "blocked"]
    assert all(r["verdict"] in levels[1:] and r["text"] for r in device["verdict"]["reasons"])
    assert max([levels.index(r["verdict"]) for r in device["verdict"]["reasons"]], default=0) == \
        levels.index(verdict)
    assert device["health"]["failures"] == []
    assert DECODED[name](device["health"]), device["health"]
    # The shift's opening is the register's own time, the same in both places.
    if device["shift"]["open"]:
        assert device["shift"]["opened_at"] == device["health"]["shift"]["opened"]
    else:
        assert "opened_at" not in device["shift"] and device["health"]["shift"]["opened"] is None


def test_metrics_agree_with_the_devices(shop):
    """Every register's health metrics say what its GET /devices/{id} says."""
    server, _ = shop
    devices = {name: health_of(server, name) for name in STATES}
    _, samples = scrape(server)
    for name, device in devices.items():
        h = device["health"]
        for verdict in ("ok", "attention", "blocked"):
            assert gauge(samples, "verda_verdict", name, verdict=verdict) == \
                (1 if verdict == device["verdict"]["verdict"] else 0), (name, verdict)
        info = gauge(samples, "verda_device_info", name, model=device["model"], firmware=device["firmware"],
                     serial=device["serial"], fiscal_drive=device["identity"]["fiscal_drive"])
        assert info == 1, name
        assert gauge(samples, "verda_shift_open", name) == int(h["shift"]["open"])
        opened = gauge(samples, "verda_shift_opened_timestamp_seconds", name)
        assert opened == (local(h["shift"]["opened"]) if h["shift"]["open"] else None), name
        # Validity ends at the end of the drive's last valid day.
        assert gauge(samples, "verda_fiscal_drive_deadline_timestamp_seconds", name) == \
            local(h["fiscal_drive"]["deadline"] + "T00:00:00") + 86400
        assert gauge(samples, "verda_ofd_unsent_documents", name) == h["unsent"]["count"]
        oldest = gauge(samples, "verda_ofd_oldest_unsent_timestamp_seconds", name)
        assert oldest == (local(h["unsent"]["oldest"]) if h["unsent"]["count"] else None), name
        assert gauge(samples, "verda_fiscal_drive_warnings", name) == h["fiscal_drive"]["warning_flags"]
        assert gauge(samples, "verda_unsettled_requests", name) == 0


def test_opened_at_is_held_for_the_shift(shop):
    """The opening of a shift stays put from reading to reading, at the
    register's own time (its clock stands years away from the host's)."""
    server, _ = shop
    seen, readings = set(), set()
    while len(readings) < 5:
        device = checked(server.get("/devices/standing"), "/devices/{id}", "get", 200)
        seen.add(device["shift"]["opened_at"])
        readings.add(device["reading"]["at"])
        time.sleep(0.05)
    assert seen == {"2028-06-01T10:00:00"}


def test_each_reading_is_sent_as_a_device_event(shop):
    server, _ = shop
    stream = server.http.get(server.url + "/events", stream=True, timeout=WAIT,
                             headers={"Accept": "text/event-stream"})
    schema = dict(OPENAPI["components"]["schemas"]["Device"], components=OPENAPI["components"])
    found = {}
    kind = None
    end = time.monotonic() + WAIT
    try:
        for line in stream.iter_lines(decode_unicode=True):
            if time.monotonic() > end:
                break
            if line.startswith("event:"):
                kind = line.split(":", 1)[1].strip()
            elif line.startswith("data:") and kind == "device":
                data = json.loads(line.split(":", 1)[1])
                if "health" in data:
                    jsonschema.Draft202012Validator(schema).validate(data)
                    found.setdefault(data["id"], set()).add(data["health"]["read_at"] + data["reading"]["at"])
            if len(found) == len(STATES) and all(len(r) >= 2 for r in found.values()):
                break
    finally:
        stream.close()
    # Every register, and each of them more than once: a new reading each time.
    assert set(found) == set(STATES) and all(len(r) >= 2 for r in found.values()), found


def test_a_register_that_goes_offline_is_link_down(server_factory, sim_factory):
    sim = sim_factory("--fn-warnings", "4")
    config = sim.folder / "verda-server.conf"
    config.write_text(json.dumps({"health_ms": 200}))
    server = server_factory("--config", str(config), "--device", "shop=" + sim.device)
    before = health_of(server, "shop")
    assert [r["code"] for r in before["verdict"]["reasons"]] == ["drive-warnings"]
    sim.kill()
    after = wait_until("link-down", lambda: (lambda d: d if d["verdict"]["reasons"][0]["code"] == "link-down"
                                             else None)(checked(server.get("/devices/shop"), "/devices/{id}", "get")))
    # The last reading is kept, and still judged: blocked by the link first.
    assert after["verdict"]["verdict"] == "blocked"
    assert [r["code"] for r in after["verdict"]["reasons"]] == ["link-down", "drive-warnings"]
    assert after["health"]["fiscal_drive"]["warning_flags"] == 4
    _, samples = scrape(server)
    assert gauge(samples, "verda_device_online", "shop") == 0
    assert gauge(samples, "verda_verdict", "shop", verdict="blocked") == 1


def promql_names(expression):
    """The metric names of a PromQL expression: its identifiers, less
    functions, keywords, label names, ranges and durations."""
    text = re.sub(r"label_values\(([^,()]*),[^)]*\)", r"\1", expression)  # a dashboard's variable
    text = re.sub(r'"(?:[^"\\]|\\.)*"', '""', text)  # label values
    text = re.sub(r"\{[^}]*\}", "", text)  # matchers
    text = re.sub(r"\[[^]]*\]", "", text)  # ranges
    text = re.sub(r"\b(by|without|on|ignoring|group_left|group_right)\s*\([^)]*\)", "", text)
    keywords = {"and", "or", "unless", "bool", "offset", "by", "without", "on", "ignoring", "inf", "nan"}
    names = set()
    for m in re.finditer(r"[a-zA-Z_:][a-zA-Z0-9_:]*", text):
        rest = text[m.end():].lstrip()
        if rest.startswith("(") or m.group(0).lower() in keywords:
            continue
        if m.start() > 0 and text[m.start() - 1].isdigit():
            continue  # a duration's unit: [5m]
        names.add(m.group(0))
    return names


def exported_names(text, samples):
    """The names a metrics page declares (with a histogram's series) and those it has samples of."""
    declared = set()
    for name, kind in re.findall(r"^# TYPE (\S+) (\S+)$", text, re.M):
        declared |= {name + s for s in ("_bucket", "_sum", "_count")} if kind == "histogram" else {name}
    return declared, {name for name, _ in samples}


def test_alert_rules_and_dashboard_use_only_exported_metrics(shop, tmp_path):
    """Every metric that the shipped rules and dashboard name is one that the
    running server exports; the health and link metrics that they judge by
    have a sample of each register. The dashboard's queries are PromQL that
    promtool reads."""
    server, _ = shop
    text, samples = scrape(server)
    exported, sampled = exported_names(text, samples)
    assert {"verda_device_info", "verda_verdict", "verda_shift_opened_timestamp_seconds",
            "verda_ofd_oldest_unsent_timestamp_seconds", "verda_unsettled_requests"} <= sampled
    rules = yaml.safe_load((MONITORING / "verda-alerts.yml").read_text())
    expressions = [r["expr"] for g in rules["groups"] for r in g["rules"]]
    dashboard = json.loads((MONITORING / "verda-dashboard.json").read_text())
    targets = [t["expr"] for p in dashboard["panels"] for t in p.get("targets", [])]
    queries = [v["query"]["query"] if isinstance(v["query"], dict) else v["query"]
               for v in dashboard["templating"]["list"] if v["type"] == "query"]
    assert len(expressions) == 7 and targets and queries
    for expression in expressions + targets + queries:
        names = promql_names(expression)
        assert names, expression
        assert names <= exported, (expression, names - exported)
    for expression in expressions:
        assert promql_names(expression) <= sampled, expression
    promtool = shutil.which("promtool")
    if promtool is None:
        pytest.skip("promtool (Debian prometheus) is not installed: the dashboard's PromQL is not read")
    # The dashboard's variables as a query would have them filled in.
    filled = [t.replace("$device", ".*").replace("$__rate_interval", "5m") for t in targets]
    rules = {"groups": [{"name": "dashboard", "rules": [{"record": f"panel:{i}", "expr": e}
                                                         for i, e in enumerate(filled)]}]}
    (tmp_path / "dashboard.yml").write_text(yaml.safe_dump(rules))
    check = subprocess.run([promtool, "check", "rules", str(tmp_path / "dashboard.yml")],
                           capture_output=True, text=True)
    assert check.returncode == 0, check.stdout + check.stderr
