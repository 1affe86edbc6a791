"""The web console in headless Chromium (Selenium) against verda-server with
a built-in simulated register ("sim", whose paper the page shows) and a
verda-sim process ("back", which is stopped and started again). Each step
saves a screenshot at desktop and phone width, checks that nothing spills
sideways at 360 px, and fails on any error in the browser's console."""
import pathlib
import shutil

import pytest

pytest.importorskip("selenium")
from selenium import webdriver  # noqa: E402
from selenium.webdriver.chrome.service import Service  # noqa: E402
from selenium.common.exceptions import StaleElementReferenceException  # noqa: E402
from selenium.webdriver.common.by import By  # noqa: E402
from selenium.webdriver.common.keys import Keys  # noqa: E402
from selenium.webdriver.support.ui import Select, WebDriverWait  # noqa: E402

from conftest import WAIT  # noqa: E402

# Chromium as root on a machine without a network: no sandbox, no GPU, and
# none of the background lookups that would hang.
CHROMIUM_FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                  "--disable-background-networking", "--disable-component-update", "--disable-sync",
                  "--lang=ru-RU"]
DESKTOP, PHONE = 1280, 360
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

    def step(self, name):
        """A screenshot of the whole page at both widths; the console is clean."""
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
        errors = [e for e in self.driver.get_log("browser") if e["level"] == "SEVERE"]
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


def recorded(server, outcome):
    """The journal's answer to the request behind an outcome on the page."""
    record = server.get("/requests/" + outcome["key"]).json()
    assert record["state"] == "committed", record
    return record["answer"]


def test_console_drives_registers_and_shows_them_live(server_factory, sim_factory, browser):
    back = sim_factory(name="back")
    server = server_factory("--device", "sim=sim", "--device", "back=" + back.device)
    page = browser(server.url)
    for id in ("sim", "back"):
        page.wait_css(f'.card[data-device="{id}"][data-link="online"]')
    Select(page.find("#device")).select_by_value("sim")
    page.wait_text('.card[data-device="sim"]', "ВЕРДА")
    assert page.unnamed_controls() == []
    page.step("open")

    # Opening the shift: confirmed, committed with its document and sign,
    # and the register's card shows the shift open.
    outcome = page.act('[data-action="shift-open"]', confirm=True)
    answer = recorded(server, outcome)
    assert outcome["state"] == "committed"
    assert f"ФД № {answer['document']}" in outcome["text"] and f"ФП {answer['sign']}" in outcome["text"]
    page.wait_text('.card[data-device="sim"]', f"№ {answer['shift']} открыта")
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
    page.step("back-offline")
    # Started again, it drops the reply to the shift's opening: the page
    # shows the request ambiguous, and then as the server settled it.
    back.start("--hang-up-after", "OpenShift")
    page.wait_css('.card[data-device="back"][data-link="online"]')
    page.step("back-online")
    Select(page.find("#device")).select_by_value("back")
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
