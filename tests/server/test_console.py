"""The web console in headless Chromium (Selenium) against verda-server with
a built-in simulated register ("sim", whose paper the page shows) and a
verda-sim process ("back", which is stopped and started again). Each step
saves a screenshot at desktop and phone width, checks that nothing spills
sideways at 360 px, and fails on any error in the browser's console. In the
page's main states axe-core (tests/server/browser, installed by `npm ci`)
checks it in both languages at both widths: no violation at all."""
import datetime
import json
import pathlib
import shutil
import socket
import threading

import pytest

pytest.importorskip("selenium")
from selenium import webdriver  # noqa: E402
from selenium.webdriver.chrome.service import Service  # noqa: E402
from selenium.common.exceptions import StaleElementReferenceException  # noqa: E402
from selenium.webdriver.common.by import By  # noqa: E402
from selenium.webdriver.common.keys import Keys  # noqa: E402
from selenium.webdriver.support.ui import Select, WebDriverWait  # noqa: E402

from conftest import SALE, WAIT, wait_until  # noqa: E402

# Chromium as root on a machine without a network: no sandbox, no GPU, and
# none of the background lookups that would hang.
CHROMIUM_FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                  "--disable-background-networking", "--disable-component-update", "--disable-sync",
                  "--lang=ru-RU"]
DESKTOP, PHONE = 1280, 360
AXE = pathlib.Path(__file__).resolve().parent / "browser" / "node_modules" / "axe-core" / "axe.min.js"
# A focus target of the page (tabindex -1: an outcome, a card) is no control.
CONTROLS = "button, input, select, textarea, summary, [tabindex]:not([tabindex=\"-1\"])"


class Page:
    """The browser on the console, with the checks every step makes."""

    def __init__(self, driver, shots):
        self.driver, self.shots, self.count = driver, shots, 0

    def find(self, css):
        return self.driver.find_element(By.CSS_SELECTOR, css)

    def wait(self, what, condition):
        """Waits for condition(driver) to be true, and returns its value."""
        return WebDriverWait(self.driver, WAIT, poll_frequency=0.1,
                             ignored_exceptions=[StaleElementReferenceException]).until(condition, "timed out: " + what)

    def wait_css(self, css):
        return self.wait(css, lambda d: (lambda found: found[0] if found else None)(
            d.find_elements(By.CSS_SELECTOR, css)))

    def wait_text(self, css, text):
        return self.wait_read(f"{text!r} in {css}", css, lambda r: text in r["text"])

    def step(self, name, network_errors=False):
        """A screenshot of the whole page at both widths; the console is clean
        (but for the browser's own lines on failed requests, when a failure
        is what the step shows)."""
        self.count += 1
        for width, label in ((DESKTOP, "desktop"), (PHONE, "phone")):
            self.driver.set_window_size(width, 900)
            height = self.driver.execute_script("return document.documentElement.scrollHeight")
            self.driver.set_window_size(width, height)
            self.driver.execute_script("window.scrollTo(0, 0)")
            if self.shots:
                self.driver.save_screenshot(str(self.shots / f"{self.count:02d}-{name}-{label}.png"))
            if width == PHONE:
                spill = self.driver.execute_script("return document.documentElement.scrollWidth - innerWidth")
                assert spill <= 0, f"{name}: the page is {spill} px wider than a phone"
        self.driver.set_window_size(DESKTOP, 900)
        errors = [e for e in self.driver.get_log("browser") if e["level"] == "SEVERE"
                  and not (network_errors and e["source"] == "network")]
        assert not errors, f"{name}: errors in the browser's console: {errors}"

    def unnamed_controls(self):
        """The controls that a screen reader would announce without a name,
        the folded panels opened for the count."""
        unfold = "const shut = Array.from(document.querySelectorAll('details:not([open])'));" \
                 "shut.forEach(d => d.open = true); return shut;"
        visible = "return Array.from(document.querySelectorAll(arguments[0])).filter(e => e.checkVisibility())"

        def scan(driver):
            return [c.get_attribute("outerHTML")[:80] for c in driver.execute_script(visible, CONTROLS)
                    if not c.accessible_name.strip()]
        shut = self.driver.execute_script(unfold)
        # A live update may re-render a part of the page during the scan: then it scans again.
        unnamed = self.wait("a scan of the controls", lambda d: (scan(d),))[0]
        self.driver.execute_script("arguments[0].forEach(d => d.open = false)", shut)
        return unnamed

    def read(self, css):
        """What a re-rendered element shows now, read at once: its data-*
        attributes and its text, or None while there is none."""
        return self.driver.execute_script(
            "const e = document.querySelector(arguments[0]);"
            "return e && Object.assign({text: e.innerText}, e.dataset);", css)

    def wait_read(self, what, css, condition):
        return self.wait(what, lambda d: (lambda r: r if r and condition(r) else None)(self.read(css)))

    def language(self, lang):
        """Switches the page to lang ("ru" or "en") from its button."""
        html = self.driver.find_element(By.TAG_NAME, "html")
        if html.get_attribute("lang") != lang:
            self.find("#lang").click()
            self.wait("the page in " + lang, lambda d: html.get_attribute("lang") == lang)

    def accessible(self, name):
        """axe-core finds no violation, in both languages at both widths."""
        if not AXE.exists():
            pytest.fail(f"{AXE} is missing: run `npm ci` in tests/server/browser")
        lang = self.driver.find_element(By.TAG_NAME, "html").get_attribute("lang")
        found = []
        for each in (lang, "en" if lang == "ru" else "ru"):
            self.language(each)
            for width in (DESKTOP, PHONE):
                self.driver.set_window_size(width, 900)
                if not self.driver.execute_script("return !!window.axe"):
                    self.driver.execute_script(AXE.read_text())
                violations = self.driver.execute_async_script(
                    "const done = arguments[arguments.length - 1];"
                    "axe.run(document, {resultTypes: ['violations']}).then("
                    "  r => done(r.violations.map(v => ({id: v.id, impact: v.impact,"
                    "    nodes: v.nodes.map(n => n.target.join(' ') + ': ' + n.failureSummary)}))),"
                    "  e => done([{id: 'axe failed', nodes: [String(e)]}]))")
                found += [dict(v, lang=each, width=width) for v in violations]
        self.language(lang)
        self.driver.set_window_size(DESKTOP, 900)
        assert not found, f"{name}: axe finds\n" + json.dumps(found, ensure_ascii=False, indent=1)

    def act(self, css, confirm):
        """Starts an action; a fiscal one is confirmed from the keyboard.
        Returns its outcome once the page has one."""
        before = self.read("#outcomes li")
        self.find(css).click()
        if confirm:
            self.wait_css("#confirm[open]")
            self.driver.switch_to.active_element.send_keys(Keys.ENTER)  # the focus is on "Выполнить"
        return self.wait_read("an outcome", "#outcomes li", lambda r: r["state"] not in ("running", "ambiguous")
                              and (before is None or r["key"] != before["key"]))


def program(name):
    found = shutil.which(name) or shutil.which(name, path="/usr/lib/chromium")
    if found is None:
        pytest.skip(f"{name} is not installed (Debian chromium and chromium-driver)")
    return found


@pytest.fixture
def browser(request, tmp_path):
    options = webdriver.ChromeOptions()
    for flag in CHROMIUM_FLAGS:
        options.add_argument(flag)
    options.add_argument("--user-data-dir=" + str(tmp_path / "chromium"))
    options.binary_location = program("chromium")
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    driver = webdriver.Chrome(service=Service(program("chromedriver")), options=options)
    driver.set_page_load_timeout(WAIT)
    driver.set_script_timeout(WAIT)
    shots = request.config.getoption("--screenshots")
    if shots:
        shots = pathlib.Path(shots) / request.node.name
        shutil.rmtree(shots, ignore_errors=True)
        shots.mkdir(parents=True)

    def open(url):
        driver.get(url)
        return Page(driver, shots)
    yield open
    driver.quit()


class Door:
    """A loopback passage to the server that can be shut: the browser then
    cannot reach it (every connection is cut and refused), as when the
    server stops or its machine is unplugged, and the server comes back when
    it is opened."""

    def __init__(self, url):
        self.target = int(url.rsplit(":", 1)[1])
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.url = f"http://127.0.0.1:{self.listener.getsockname()[1]}"
        self.lock = threading.Lock()
        self.open_, self.links = True, []
        threading.Thread(target=self._accept, daemon=True).start()

    def shut(self):
        with self.lock:
            self.open_ = False
            links, self.links = self.links, []
        for link in links:
            for s in link:
                try:
                    s.shutdown(socket.SHUT_RDWR)  # wakes the thread that reads it
                except OSError:
                    pass
                s.close()

    def open(self):
        with self.lock:
            self.open_ = True

    def close(self):
        self.shut()
        self.listener.close()

    def _accept(self):
        while True:
            try:
                client, _ = self.listener.accept()
            except OSError:
                return
            with self.lock:
                if not self.open_:
                    client.close()
                    continue
                upstream = socket.create_connection(("127.0.0.1", self.target))
                self.links.append((client, upstream))
            for a, b in ((client, upstream), (upstream, client)):
                threading.Thread(target=self._pass, args=(a, b), daemon=True).start()

    @staticmethod
    def _pass(source, sink):
        try:
            while data := source.recv(65536):
                sink.sendall(data)
        except OSError:
            pass
        for s in (source, sink):
            try:
                s.shutdown(socket.SHUT_RDWR)
            except OSError:
                pass


@pytest.fixture
def door():
    doors = []

    def make(server):
        doors.append(Door(server.url))
        return doors[-1]
    yield make
    for d in doors:
        d.close()


def recorded(server, outcome):
    """The journal's answer to the request behind an outcome on the page."""
    record = server.get("/requests/" + outcome["key"]).json()
    assert record["state"] == "committed", record
    return record["answer"]


def layout_shift(page):
    """The page's cumulative layout shift since it loaded."""
    return page.driver.execute_async_script(
        "const done = arguments[arguments.length - 1]; let sum = 0;"
        "new PerformanceObserver(list => list.getEntries().forEach(e => { if (!e.hadRecentInput) sum += e.value; }))"
        "  .observe({type: 'layout-shift', buffered: true});"
        "setTimeout(() => done(sum), 300);")


def reason_of(page, css):
    """The reason a disabled control gives for itself, or None when enabled."""
    return page.driver.execute_script(
        "const b = document.querySelector(arguments[0]);"
        "return b.disabled ? document.getElementById(b.getAttribute('aria-describedby')).innerText : null;", css)


def test_console_drives_registers_and_shows_them_live(server_factory, sim_factory, browser, tmp_path):
    back = sim_factory(name="back")
    # A request waits 10 s for an offline register before it is given up.
    config = tmp_path / "server.conf"
    config.write_text('{"deadline_ms": 10000}')
    server = server_factory("--config", str(config), "--device", "sim=sim", "--device", "back=" + back.device)
    page = browser(server.url)
    for id in ("sim", "back"):
        page.wait_css(f'.card[data-device="{id}"][data-link="online"]')
    Select(page.find("#device")).select_by_value("sim")
    card = page.wait_text('.card[data-device="sim"]', "ВЕРДА")
    # The page does not jump while it loads; the selected register is marked;
    # the drive's phase is in words; the reports wait for an open shift.
    assert layout_shift(page) < 0.05
    assert page.read(".card.selected")["device"] == "sim" and "выбрана" in card["text"]
    assert "фискальный режим" in card["text"]
    assert reason_of(page, '[data-action="x-report"]') == "X-отчёт, Z-отчёт: смена закрыта"
    assert reason_of(page, '[data-action="shift-open"]') is None
    assert page.unnamed_controls() == []
    page.step("open")
    page.accessible("loaded")

    # Opening the shift: confirmed, committed with its document and sign,
    # and the register's card shows the shift open.
    outcome = page.act('[data-action="shift-open"]', confirm=True)
    answer = recorded(server, outcome)
    assert outcome["state"] == "committed"
    assert f"ФД № {answer['document']}" in outcome["text"] and f"ФП {answer['sign']}" in outcome["text"]
    page.wait_text('.card[data-device="sim"]', f"№ {answer['shift']} открыта")
    page.wait("the shift's actions", lambda d: reason_of(page, '[data-action="shift-open"]') == "Открыть смену: смена уже открыта"
              and reason_of(page, '[data-action="z-report"]') is None)
    page.step("shift-open")

    # A test receipt: committed, in the request list as committed, on the paper.
    page.find("#receipt-panel summary").click()
    name = page.find('#receipt-lines [name="name"]')
    name.clear()
    name.send_keys("Хлеб тестовый")
    price = page.find('#receipt-lines [name="price"]')
    price.clear()
    price.send_keys("45.50")
    quantity = page.find('#receipt-lines [name="quantity"]')
    quantity.clear()
    quantity.send_keys("2")
    page.find("#pay-cash").send_keys("100")
    page.accessible("a panel open")
    outcome = page.act('#receipt-form button[type="submit"]', confirm=True)
    receipt = recorded(server, outcome)
    assert (receipt["total"], receipt["change"]) == (91.0, 9.0)
    assert "итог 91,00, сдача 9,00" in outcome["text"] and f"ФП {receipt['sign']}" in outcome["text"]
    row = f'#request-table tr[data-key="{outcome["key"]}"]'
    shown = page.wait_read("the receipt in the list", row, lambda r: r["state"] == "committed")
    assert "Чек" in shown["text"] and f"ФП {receipt['sign']}" in shown["text"]
    page.wait_text("#paper", "Хлеб тестовый")
    page.wait_text("#paper", f"ФП {receipt['sign']}")
    # The request opens to show its steps.
    page.find(row + " button").click()
    steps = "return Array.from(document.querySelectorAll('#request-steps li'), li => li.dataset.step)"
    page.wait("the request's steps", lambda d: d.execute_script(steps) == ["received", "sent", "closing", "committed"])
    assert '"Хлеб тестовый"' in page.find("#request-body").text
    page.step("receipt")

    # An X report: not fiscal, so not confirmed; it prints on the paper.
    outcome = page.act('[data-action="x-report"]', confirm=False)
    report = recorded(server, outcome)
    assert outcome["state"] == "committed" and f"отчёт № {report['report']}" in outcome["text"]
    page.step("x-report")

    # The register's electronic journal, read back: the receipt with its sign;
    # and an error text looked up by its code.
    page.find("#journal-latest").click()
    page.wait_text(f'#journal-documents [data-number="{receipt["document"]}"]', f"ФП {receipt['sign']}")
    page.find("#error-code").send_keys("111003", Keys.ENTER)
    page.wait_text("#error-text", server.get("/errors/111003").json()["text"])
    page.step("journal")

    # The register "back" stops and starts again: the page follows it live.
    back.kill()
    page.wait_css('.card[data-device="back"][data-link="offline"]')
    page.wait_text('.card[data-device="back"] .link', "нет связи с")
    # A request for it waits, and says so and for how long; then it is not
    # sent, in words, with a hint, and the HTTP status is no register code.
    Select(page.find("#device")).select_by_value("back")
    page.find('[data-action="drawer"]').click()
    waiting = page.wait_read("the wait said", "#outcomes li", lambda r: r["state"] == "running"
                             and "Касса back не на связи: запрос ждёт её уже" in r["text"])
    assert page.driver.switch_to.active_element.get_attribute("data-key") == waiting["key"]
    given_up = page.wait_read("the request given up", "#outcomes li", lambda r: r["state"] == "not-sent")
    assert "Касса back не на связи; ничего не отправлено." in given_up["text"]
    assert "Проверьте кабель и питание кассы" in given_up["text"] and "код" not in given_up["text"]
    assert "ответ сервера HTTP 503" in page.driver.execute_script(
        "return document.querySelector('#outcomes li details').textContent")
    page.step("back-offline", network_errors=True)
    page.accessible("a register offline")
    # Repeated with the same key: the focus stays on its outcome, which
    # waits again, and is done once the register is back.
    page.find("#outcomes li button").click()
    assert page.driver.switch_to.active_element.get_attribute("data-key") == waiting["key"]
    page.wait_read("the repeat waiting", "#outcomes li", lambda r: r["state"] == "running")
    # Started again, it drops the reply to the shift's opening: the page
    # shows the request ambiguous, and then as the server settled it.
    back.start("--hang-up-after", "OpenShift")
    page.wait_css('.card[data-device="back"][data-link="online"]')
    repeated = page.wait_read("the repeat done", "#outcomes li", lambda r: r["state"] == "committed")
    assert repeated["key"] == waiting["key"] and recorded(server, repeated) is not None
    page.step("back-online")
    outcome = page.act('[data-action="shift-open"]', confirm=True)
    steps = [s["step"] for s in server.get("/requests/" + outcome["key"]).json()["steps"]]
    assert "ambiguous" in steps and steps[-1] == "settled", steps
    assert outcome["state"] == "committed" and "выяснено у кассы: проведён" in outcome["text"]
    assert f"ФП {recorded(server, outcome)['sign']}" in outcome["text"]
    page.step("back-settled")

    # In English every control still has a name, and the register's own
    # texts stay Russian.
    page.find("#lang").click()
    page.wait_text("h1", "Register console")
    assert page.driver.find_element(By.TAG_NAME, "html").get_attribute("lang") == "en"
    assert "committed" in page.read("#outcomes li")["text"]
    assert page.unnamed_controls() == []
    page.step("english")


def test_console_asks_for_the_token_once(server_factory, browser):
    server = server_factory(token="s3cret")
    page = browser(server.url)
    dialog = page.wait_css("#token-dialog[open]")
    # Escape at once, before any other key or click, does not dismiss it:
    # nothing works without the token.
    page.driver.switch_to.active_element.send_keys(Keys.ESCAPE)
    page.wait_css("#token-dialog[open]")
    dialog = page.find("#token-dialog")
    assert page.driver.find_elements(By.CSS_SELECTOR, ".card") == []
    page.step("token-asked")
    field = page.driver.switch_to.active_element
    assert field.get_attribute("id") == "token" and field.accessible_name == "Токен"
    field.send_keys("s3cret", Keys.ENTER)
    page.wait_css('.card[data-device="sim"][data-link="online"]')
    assert not dialog.is_displayed()
    page.step("token-given")
    # Kept for the session: a reload does not ask again.
    page.driver.refresh()
    page.wait_css('.card[data-device="sim"][data-link="online"]')
    assert page.driver.find_elements(By.CSS_SELECTOR, "#token-dialog[open]") == []
    page.step("token-kept")


def test_console_marks_the_field_a_400_names(shop, browser):
    page = browser(shop.url)
    page.wait_css('.card[data-device="sim"][data-link="online"]')
    page.find("#receipt-panel summary").click()
    page.find("#add-line").click()
    name = page.find('#receipt-lines fieldset:nth-child(2) [name="name"]')
    name.clear()
    name.send_keys("Чай ☕")
    # In each language: the line and field as the form names them, the
    # field marked and focused, the server's key nowhere.
    for lang, said in (("ru", "Строка 2, наименование: "), ("en", "Line 2, name: ")):
        page.language(lang)
        outcome = page.act('#receipt-form button[type="submit"]', confirm=True)
        assert outcome["state"] == "error" and said in outcome["text"] and "lines[" not in outcome["text"], outcome
        assert page.driver.switch_to.active_element == name
        assert name.get_attribute("aria-invalid") == "true"
        assert page.find("#field-error").text.startswith(said)
        assert shop.get("/requests/" + outcome["key"]).status_code == 404  # refused before the journal
    page.step("field-refused", network_errors=True)
    page.accessible("a 400 shown")
    # Typing into the field takes the mark away.
    name.send_keys(Keys.BACKSPACE)
    assert name.get_attribute("aria-invalid") is None and page.driver.find_elements(By.ID, "field-error") == []


def test_console_says_what_it_knows_while_the_server_is_away(server_factory, browser, door):
    server = server_factory()
    way = door(server)
    page = browser(way.url)
    page.wait_css('.card[data-device="sim"][data-link="online"]')
    actions = "#actions button[data-action], #actions button[data-cash], #receipt-submit, #text-submit, #clock-submit"
    enabled = "return Array.from(document.querySelectorAll(arguments[0]), b => !b.disabled)"
    assert any(page.driver.execute_script(enabled, actions))
    way.shut()
    # Every card is from before and unknown now; every action waits.
    card = page.wait_read("the card marked stale", '.card[data-device="sim"]', lambda r: r.get("stale") == "true")
    assert "сейчас неизвестно" in card["text"] and "на связи" not in card["text"]
    assert page.driver.execute_script("return document.querySelector('[data-age-of=sim]').innerText").startswith("от ")
    assert not any(page.driver.execute_script(enabled, actions))
    assert reason_of(page, '[data-action="drawer"]') == "Все действия: нет связи с сервером"
    assert page.find("#server-down").is_displayed() and page.read("#live")["state"] == "off"
    # What the page asks meanwhile fails quietly (no error in its console).
    page.find("#error-code").send_keys("111003", Keys.ENTER)
    page.wait_text("#error-text", "сервер не ответил")
    page.step("server-away", network_errors=True)
    page.accessible("the server away")
    way.open()
    page.wait_read("the card live again", '.card[data-device="sim"]', lambda r: "stale" not in r and r["link"] == "online")
    page.wait("actions back", lambda d: reason_of(page, '[data-action="drawer"]') is None)
    assert reason_of(page, '[data-action="x-report"]') == "X-отчёт, Z-отчёт: смена закрыта"
    assert not page.find("#server-down").is_displayed()
    page.step("server-back", network_errors=True)


B_IDENTITY = {"device_number": "0000000002", "fiscal_drive": "9999078900054321"}


def test_console_settles_a_replaced_registers_request_by_hand(server_factory, sim_factory, relay_factory, browser):
    a = sim_factory(name="a")
    b = sim_factory("--device-number", B_IDENTITY["device_number"], "--fn-number", B_IDENTITY["fiscal_drive"], name="b")
    relay = relay_factory(a)
    server = server_factory("--device", "shop=" + relay.device)
    server.device("shop")
    assert server.change("/devices/shop/shift/open").status_code == 200
    # A closes the receipt, its reply is lost, and B is put in its place.
    relay.hang_up_after("CloseFiscalInv", away=True)
    assert server.change("/devices/shop/receipts", SALE, key="lost").status_code == 202
    relay.target(b.port)
    relay.back()
    page = browser(server.url)
    card = page.wait_read("the register replaced", '.card[data-device="shop"]', lambda r: "Касса заменена." in r["text"])
    assert "Ожидалась: № 0000000001" in card["text"] and "Отвечает: № 0000000002" in card["text"]
    assert reason_of(page, '[data-action="drawer"]').endswith("касса заменена другой; сначала нужно решить прерванный запрос")
    page.step("replaced")
    page.accessible("a register replaced")
    # The person opens the request to settle it; a number is needed for a
    # committed one.
    page.find('.card[data-device="shop"] .unsettled [data-key="lost"] button').click()
    page.wait("the settle form focused", lambda d: d.switch_to.active_element.get_attribute("id") == "settle-committed")
    page.driver.switch_to.active_element.send_keys(Keys.SPACE)
    page.find("#settle-form button[type=submit]").click()
    page.wait("the number asked for", lambda d: d.switch_to.active_element.get_attribute("id") == "settle-document")
    assert page.find("#settle-document").get_attribute("aria-invalid") == "true"
    # The person reads A's paper: the receipt's fiscal number at its foot.
    paper = (a.folder / "paper").read_text()
    number = int(paper[paper.rindex("ФД №"):].split()[2])
    page.driver.switch_to.active_element.send_keys(str(number))
    page.find("#settle-form button[type=submit]").click()
    page.wait_css("#confirm[open]")
    assert f"ФД № {number}" in page.find("#confirm-text").text
    page.driver.switch_to.active_element.send_keys(Keys.ENTER)
    page.wait_text("#settle-result", f"Записано: запрос проведён, ФД № {number}.")
    assert page.driver.switch_to.active_element.get_attribute("id") == "settle-result"
    record = server.get("/requests/lost").json()
    assert record["state"] == "committed" and record["answer"]["settled"] == "by-hand" and record["answer"]["document"] == number
    # The register takes changes again.
    page.wait("the card open again", lambda d: "Касса заменена." not in page.read('.card[data-device="shop"]')["text"])
    page.wait("actions back", lambda d: reason_of(page, '[data-action="drawer"]') is None)
    page.step("settled-by-hand")


def troubled_register(server_factory, sim_factory, browser):
    """A register whose shift has been open for 25 hours and whose drive
    warns (replace within 3 days, the data operator overdue)."""
    opened = (datetime.datetime.now() - datetime.timedelta(hours=25)).strftime("%d.%m.%Y %H:%M:%S")
    sick = sim_factory("--fn-warnings", "9", "--shift-opened", opened, name="sick")
    server = server_factory("--device", "sick=" + sick.device)
    server.device("sick")
    return server, browser(server.url)


def test_console_says_a_registers_trouble_in_words(server_factory, sim_factory, browser):
    server, page = troubled_register(server_factory, sim_factory, browser)
    for lang, words in (("ru", ["прошло 24 часа", "заменить ФН в течение 3 дней", "ОФД вовремя не подтвердил документы"]),
                        ("en", ["24 hours have passed", "replace the drive within 3 days",
                                "the data operator has not confirmed documents in time"])):
        page.language(lang)
        card = page.wait_read("the drive's warnings", '.card[data-device="sick"]', lambda r: words[0] in r["text"])
        assert all(w in card["text"] for w in words), card["text"]
    page.language("ru")
    page.step("trouble")
    page.accessible("a register in trouble")


def test_console_leads_each_card_with_its_verdict(server_factory, sim_factory, browser):
    server, page = troubled_register(server_factory, sim_factory, browser)
    if "verdict" not in server.get("/devices/sick").json():
        pytest.skip("this server judges no register's health yet (GET /devices/{id} has no verdict)")
    wait_until("a verdict", lambda: server.get("/devices/sick").json()["verdict"])
    card = page.wait_read("the verdict", '.card[data-device="sick"]', lambda r: r.get("verdict") == "blocked")
    reasons = page.driver.execute_script(
        "return Array.from(document.querySelectorAll('.card[data-device=sick] .reasons li'), li => li.dataset.reason)")
    assert {"shift-over-24h", "drive-warnings"} <= set(reasons), reasons
    # The verdict leads the card, and its reasons are words of the page.
    lead = page.driver.execute_script(
        "const c = document.querySelector('.card[data-device=sick]');"
        "return [c.children[1].className, c.children[1].innerText, c.children[2].children[0].innerText]")
    assert lead == ["verdict", "Продажи остановлены",
                    "Смена открыта больше 24 часов: касса не продаёт, пока её не закрыть (Z-отчёт)."], lead
    page.language("en")
    card = page.wait_read("the verdict in English", '.card[data-device="sick"]', lambda r: "Sales stopped" in r["text"])
    assert "The fiscal drive reports warnings." in card["text"]
    page.step("verdict")
    page.accessible("a register's verdict")
