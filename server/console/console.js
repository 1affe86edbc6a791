// The technician's console: the registers, actions on them, the server's
// journal of requests, a register's electronic journal and paper. It uses
// only the server's public HTTP API, as any client does, and standard web
// APIs (no framework). Live updates come from GET /events, read through
// fetch so that the token can go with it.
"use strict";

(() => {
  const FINAL = ["committed", "refused", "not-committed", "not-sent", "no-reply"];
  const STATES = ["received", "sent", "committed", "refused", "ambiguous", "not-committed", "not-sent", "no-reply"];
  // The actions on a register: the route under /devices/{id}/ and whether a
  // fiscal document may result (those are confirmed first).
  const ACTIONS = {
    "shift-open": { path: "shift/open", fiscal: true },
    "x-report": { path: "x-report" },
    "z-report": { path: "z-report", fiscal: true },
    drawer: { path: "drawer" },
    "cash-in": { path: "cash-in", fiscal: true },
    "cash-out": { path: "cash-out", fiscal: true },
    receipt: { path: "receipts", fiscal: true },
    text: { path: "text" },
    clock: { path: "clock", method: "PUT" },
  };
  const REQUEST_LIMIT = 50;
  const LATEST_DOCUMENTS = 5;
  const PAPER_KEPT = 64 * 1024; // characters of paper kept on the page

  const $ = (id) => document.getElementById(id);
  const view = {
    lang: localStorage.getItem("verda.lang") === "en" ? "en" : "ru",
    token: sessionStorage.getItem("verda.token") || "",
    devices: new Map(), // id -> the last GET /devices/{id}
    fetchedAt: new Map(), // id -> performance.now() of that answer
    current: "",
    live: "connecting",
    outcomes: [], // newest first
    requests: [],
    openKey: "",
    paper: { device: "", next: 0, text: "" },
    documents: [], // read from the electronic journal: documents or errors
  };

  // --- Texts --------------------------------------------------------------------------

  function t(key, values) {
    const text = TEXTS[view.lang][key] ?? TEXTS.ru[key] ?? key;
    return values ? text.replace(/\{(\w+)\}/g, (all, name) => (name in values ? String(values[name]) : all)) : text;
  }
  const locale = () => (view.lang === "ru" ? "ru-RU" : "en-GB");
  const money = (n) =>
    Number(n).toLocaleString(locale(), { minimumFractionDigits: 2, maximumFractionDigits: 2 });
  const time = (iso) => (iso ? new Date(iso).toLocaleString(locale()) : "—");
  // The register counts a shift's age in whole minutes: its start is shown to the minute.
  const minute = (iso) =>
    iso ? new Date(iso).toLocaleString(locale(), { dateStyle: "short", timeStyle: "short" }) : "—";
  // A request's kind (an operation by name keeps its name) and a step of it.
  const kindName = (kind) => (TEXTS.ru["kind." + kind] ? t("kind." + kind) : kind);
  const stepName = (step) =>
    TEXTS.ru["state." + step] ? t("state." + step) : TEXTS.ru["step." + step] ? t("step." + step) : step;

  const minutes = (m) => (m < 60 ? t("minutes", { n: m }) : t("hours", { h: Math.floor(m / 60), m: m % 60 }));
  function duration(ms) {
    const s = Math.max(0, Math.round(ms / 1000));
    return s < 60 ? t("seconds", { n: s }) : minutes(Math.floor(s / 60));
  }

  // The page's fixed texts: data-t names the text of an element.
  function applyTexts() {
    document.documentElement.lang = view.lang;
    document.title = t("title");
    for (const node of document.querySelectorAll("[data-t]")) node.textContent = t(node.dataset.t);
    const lang = $("lang");
    lang.textContent = t("language");
    lang.lang = view.lang === "ru" ? "en" : "ru";
  }

  // An element with attributes and children (strings become text).
  function el(tag, attrs, ...children) {
    const node = document.createElement(tag);
    for (const [name, value] of Object.entries(attrs || {})) {
      if (value === undefined || value === null || value === false) continue;
      if (name === "dataset") Object.assign(node.dataset, value);
      else if (name in node && typeof value !== "string") node[name] = value;
      else node.setAttribute(name, value === true ? "" : value);
    }
    for (const child of children.flat()) {
      if (child !== undefined && child !== null && child !== false)
        node.append(child instanceof Node ? child : String(child));
    }
    return node;
  }
  const badge = (state) => el("span", { class: "badge", "data-state": state }, t("state." + state));

  // Re-renders a list whose items carry data-key, keeping the keyboard's
  // focus on the same item's control when a live update redraws it.
  function redraw(container, render) {
    const focused = container.contains(document.activeElement) ? document.activeElement : null;
    const item = focused && focused.closest("[data-key]");
    render();
    if (!item) return;
    const again = container.querySelector(`[data-key="${CSS.escape(item.dataset.key)}"] ${focused.tagName}`);
    if (again) again.focus();
  }

  // --- The API ------------------------------------------------------------------------

  // A request to the server; asks for the token when the server wants one.
  async function api(method, path, options = {}) {
    for (;;) {
      const headers = {};
      if (view.token) headers.Authorization = "Bearer " + view.token;
      if (options.key) headers["Idempotency-Key"] = options.key;
      const init = { method, headers };
      if (options.body !== undefined) {
        headers["Content-Type"] = "application/json";
        init.body = JSON.stringify(options.body);
      } else if (method !== "GET") {
        init.body = "";
      }
      const res = await fetch(path, init);
      if (res.status === 401) {
        await askToken(true);
        continue;
      }
      const type = res.headers.get("Content-Type") || "";
      const data = type.startsWith("application/json") ? await res.json() : await res.text();
      return { status: res.status, data, replayed: res.headers.get("Idempotent-Replayed") === "true" };
    }
  }
  const devicePath = (id, rest) => "/devices/" + encodeURIComponent(id) + "/" + rest;

  // A fresh idempotency key (crypto.randomUUID needs a secure context; a
  // console reached over the shop's network by plain HTTP has none).
  function newKey() {
    const bytes = crypto.getRandomValues(new Uint8Array(16));
    return "console-" + Array.from(bytes, (b) => b.toString(16).padStart(2, "0")).join("");
  }

  let tokenAsked = null;
  function askToken(wrong) {
    if (tokenAsked) return tokenAsked;
    const dialog = $("token-dialog");
    $("token-wrong").hidden = !wrong;
    tokenAsked = new Promise((resolve) => {
      $("token-form").onsubmit = (event) => {
        event.preventDefault();
        view.token = $("token").value;
        sessionStorage.setItem("verda.token", view.token);
        $("forget-token").hidden = false;
        dialog.close();
        tokenAsked = null;
        resolve();
      };
    });
    // Nothing works without it: Escape does not dismiss it.
    dialog.oncancel = (event) => event.preventDefault();
    dialog.showModal();
    return tokenAsked;
  }

  // Folds the calls of a burst into one run of fn, wait ms after the first:
  // a steady stream of events still refreshes the page, at most once per wait.
  function coalesce(fn, wait) {
    let timer = 0;
    return () => {
      if (!timer)
        timer = setTimeout(() => {
          timer = 0;
          fn();
        }, wait);
    };
  }

  // --- Registers ----------------------------------------------------------------------

  async function loadDevices() {
    const r = await api("GET", "/devices");
    if (r.status !== 200) return;
    view.devices.clear();
    for (const d of r.data) setDevice(d);
    if (!view.devices.has(view.current)) view.current = r.data.length ? r.data[0].id : "";
    renderDeviceChoices();
    renderDevices();
  }

  function setDevice(d) {
    view.devices.set(d.id, d);
    view.fetchedAt.set(d.id, performance.now());
  }

  const deviceLoaders = new Map();
  function reloadDevice(id) {
    if (!deviceLoaders.has(id))
      deviceLoaders.set(
        id,
        coalesce(async () => {
          const r = await api("GET", "/devices/" + encodeURIComponent(id));
          if (r.status !== 200) return;
          setDevice(r.data);
          renderDevices();
        }, 150)
      );
    deviceLoaders.get(id)();
  }

  function linkText(link) {
    if (link.state === "online") return t("link.online");
    if (link.state === "reconnecting") return t("link.reconnecting", { attempts: link.attempts ?? 1 });
    return t("link.offline", { since: time(link.since) });
  }

  function readingAge(d) {
    if (!d.reading) return t("reading.none");
    const age = d.reading.age_ms + (performance.now() - view.fetchedAt.get(d.id));
    return t("reading.age", { age: duration(age) });
  }

  function deviceCard(d) {
    const rows = [];
    const row = (label, value, extra) => rows.push(el("dt", null, label), el("dd", extra, value));
    row(t("model"), [d.model ?? "—", d.firmware ? " · " + t("firmware") + " " + d.firmware : ""]);
    row(t("serial"), d.serial ?? "—");
    row(t("transport"), [d.transport, d.simulated ? " (" + t("simulated") + ")" : ""]);
    if (d.link.error) row(t("linkError"), d.link.error);
    if (d.shift) {
      const s = d.shift;
      row(t("shift"), [
        s.open
          ? t("shift.open", {
              number: s.number,
              at: minute(s.opened_at),
              minutes: minutes(s.minutes || 0),
              receipts: s.receipts,
            })
          : t("shift.closed", { number: s.number }),
        s.over_24h ? el("strong", { class: "bad" }, " ", t("shift.over24")) : "",
      ]);
    }
    if (d.document) {
      const doc = d.document;
      row(
        t("document"),
        doc.open === "receipt"
          ? t("document.receipt", { lines: doc.lines, total: money(doc.total), paid: money(doc.paid) })
          : t("document." + doc.open)
      );
    }
    if (d.fiscal_drive) {
      const fd = d.fiscal_drive;
      row(t("fiscalDrive"), [fd.number, " · ", fd.version]);
      row(t("fiscalDrive.phase"), [
        t("fiscalDrive.value", fd),
        fd.warnings && fd.warnings !== "0" ? el("strong", { class: "bad" }, " ", t("fiscalDrive.warnings", fd)) : "",
      ]);
      row(t("fiscalDrive.last"), fd.last_document);
    }
    if (d.unsent) {
      const u = d.unsent;
      row(t("unsent"), u.count ? t("unsent.value", u) : "0", u.count ? { class: "warn" } : null);
    }
    row(t("queue"), d.queue);
    row(t("reading"), readingAge(d), { dataset: { ageOf: d.id } });
    return el(
      "article",
      { class: "card", "aria-labelledby": "card-" + d.id, dataset: { device: d.id, link: d.link.state } },
      el(
        "h3",
        { id: "card-" + d.id },
        d.id,
        " ",
        el("span", { class: "link", "data-link": d.link.state }, linkText(d.link))
      ),
      el("dl", null, rows)
    );
  }

  function renderDevices() {
    $("device-cards").replaceChildren(...Array.from(view.devices.values(), deviceCard));
  }

  function tickAges() {
    for (const node of document.querySelectorAll("[data-age-of]")) {
      const d = view.devices.get(node.dataset.ageOf);
      if (d) node.textContent = readingAge(d);
    }
  }

  function renderDeviceChoices() {
    const ids = Array.from(view.devices.keys());
    $("device").replaceChildren(...ids.map((id) => el("option", { value: id, selected: id === view.current }, id)));
    const filter = $("filter-device");
    const chosen = filter.value;
    filter.replaceChildren(
      el("option", { value: "" }, t("all")),
      ...ids.map((id) => el("option", { value: id, selected: id === chosen }, id))
    );
    for (const node of document.querySelectorAll("[data-device-name]")) node.textContent = view.current;
  }

  function chooseDevice(id) {
    view.current = id;
    for (const node of document.querySelectorAll("[data-device-name]")) node.textContent = id;
    view.documents = [];
    renderDocuments();
    view.paper = { device: "", next: 0, text: "" };
    loadPaper();
  }

  // --- Actions ------------------------------------------------------------------------

  // Resolves true when the technician confirms; Escape or Cancel say no.
  function confirmFiscal(text) {
    const dialog = $("confirm");
    $("confirm-text").textContent = text;
    dialog.returnValue = "";
    const answer = new Promise((resolve) => {
      dialog.onclose = () => resolve(dialog.returnValue === "yes");
    });
    dialog.showModal();
    $("confirm-yes").focus();
    return answer;
  }

  async function act(kind, body, confirmValues) {
    const device = view.current;
    if (!device) return;
    if (ACTIONS[kind].fiscal && !(await confirmFiscal(t("confirm." + kind, { device, ...confirmValues })))) return;
    const entry = { kind, device, body, key: newKey(), state: "running" };
    view.outcomes.unshift(entry);
    view.outcomes.length = Math.min(view.outcomes.length, 20);
    await send(entry);
  }

  // Sends an action (again, with its key, after the server did not answer).
  async function send(entry) {
    entry.state = "running";
    entry.pending = false;
    entry.settled = "";
    renderOutcomes();
    const action = ACTIONS[entry.kind];
    try {
      const r = await api(action.method || "POST", devicePath(entry.device, action.path), {
        body: entry.body,
        key: entry.key,
      });
      entry.status = r.status;
      entry.answer = r.data;
      entry.replayed = r.replayed;
      entry.state = stateOf(r.status, r.data);
    } catch (e) {
      entry.state = "network";
    }
    // 202: the outcome is not known yet; the server settles it from the register.
    entry.pending = entry.status === 202;
    renderOutcomes();
    announce(entry);
    if (entry.pending) settle(entry);
    reloadDevice(entry.device);
    schedulePaper();
  }

  function stateOf(status, data) {
    if (status === 200) return "committed";
    if (data && typeof data === "object" && data.state) return data.state;
    return status === 202 ? "ambiguous" : "error";
  }

  // An ambiguous request: its outcome is read from the journal once the
  // server has settled it from the register (a request event tells when).
  async function settle(entry) {
    const r = await api("GET", "/requests/" + encodeURIComponent(entry.key));
    if (r.status !== 200 || !FINAL.includes(r.data.state) || !entry.pending) return;
    entry.pending = false;
    entry.settled = r.data.state;
    entry.state = r.data.state;
    entry.status = r.data.status;
    entry.answer = r.data.answer;
    renderOutcomes();
    announce(entry);
  }

  // What a committed request's answer says: its document, sign and figures.
  function committedSummary(kind, a) {
    const parts = [];
    if (kind === "receipt")
      parts.push(t("out.receipt", { receipt: a.receipt, total: money(a.total), change: money(a.change) }));
    if (a.report !== undefined) parts.push(t("out.report", a));
    if (a.shift !== undefined && kind !== "receipt") parts.push(t("out.shift", a));
    if (a.document !== undefined && a.document !== null) parts.push(t("out.document", a));
    if (a.sign) parts.push(t("out.sign", a));
    if (a.cash !== undefined) parts.push(t("out.cash", { cash: money(a.cash) }));
    if (a.datetime) parts.push(t("out.clock", a));
    if (!parts.length) parts.push(t("out.done"));
    return parts;
  }

  // The outcome's words: document and sign, or code and text, or what is known.
  function outcomeDetails(entry) {
    const a = entry.answer || {};
    const parts = [];
    if (entry.state === "committed") {
      parts.push(...committedSummary(entry.kind, a));
    } else if (entry.state === "ambiguous" || entry.state === "received" || entry.state === "sent") {
      parts.push(t("out.ambiguous", { operation: a.operation || "—" }));
    } else if (entry.state === "network") {
      parts.push(t("out.network"));
    } else if (a.error) {
      const e = a.error;
      if (entry.status === 400) parts.push(t("out.field", { field: e.field, text: e.text }));
      else if (entry.state === "refused") parts.push(t("out.refused", e));
      else parts.push(t("out.error", { status: entry.status, text: e.text }));
      if (e.operation) parts.push(t("out.operation", e));
      if (e.line !== undefined) parts.push(t("out.line", { n: e.line + 1 }));
    } else {
      parts.push(t("out.error", { status: entry.status, text: String(entry.answer) }));
    }
    if (entry.settled) parts.unshift(t(entry.settled === "committed" ? "out.settledCommitted" : "out.settledNot"));
    if (entry.replayed) parts.push(t("out.replayed"));
    return parts.join("; ");
  }

  // A screen reader hears each outcome once, from a status line of its own.
  function announce(entry) {
    $("announce").textContent = `${kindName(entry.kind)} · ${entry.device}: ${t("state." + entry.state)}. ${outcomeDetails(entry)}`;
  }

  function renderOutcomes() {
    redraw($("outcomes"), () => $("outcomes").replaceChildren(
      ...view.outcomes.map((entry) =>
        el(
          "li",
          { class: "outcome", dataset: { key: entry.key, state: entry.state } },
          el("strong", null, kindName(entry.kind), " · ", entry.device, " "),
          entry.state === "error" ? null : badge(entry.state),
          " ",
          el("span", { class: "details" }, entry.state === "running" ? "" : outcomeDetails(entry)),
          el("small", { class: "key" }, t("out.key", { key: entry.key })),
          entry.state === "network"
            ? el("button", { type: "button", onclick: () => send(entry) }, t("out.repeat"))
            : null
        )
      )
    ));
  }

  function actionForms() {
    for (const button of document.querySelectorAll("[data-action]"))
      button.addEventListener("click", () => act(button.dataset.action));

    $("cash-form").addEventListener("submit", (event) => {
      event.preventDefault();
      const kind = event.submitter ? event.submitter.dataset.cash : "cash-in";
      const amount = Number($("cash-amount").value);
      act(kind, { amount }, { amount: money(amount) });
    });

    $("add-line").addEventListener("click", () => {
      addLine();
      const inputs = $("receipt-lines").querySelectorAll("input");
      inputs[inputs.length - 4].focus();
    });
    addLine();
    $("receipt-form").addEventListener("submit", (event) => {
      event.preventDefault();
      const body = receiptBody();
      const total = body.lines.reduce((sum, l) => sum + l.price * l.quantity, 0);
      act("receipt", body, { lines: body.lines.length, total: money(total) });
    });

    $("text-form").addEventListener("submit", (event) => {
      event.preventDefault();
      const lines = $("text-lines").value.replace(/\s+$/, "").split("\n");
      act("text", { lines });
    });

    $("clock-get").addEventListener("click", async () => {
      const r = await api("GET", devicePath(view.current, "clock"));
      $("clock-read").textContent = r.status === 200 ? r.data.datetime : r.data.error ? r.data.error.text : r.status;
    });
    $("clock-now").addEventListener("click", () => {
      const now = new Date();
      now.setMinutes(now.getMinutes() - now.getTimezoneOffset());
      $("clock-value").value = now.toISOString().slice(0, 19);
    });
    $("clock-form").addEventListener("submit", (event) => {
      event.preventDefault();
      // datetime-local gives YYYY-MM-DDTHH:MM[:SS]; the register takes DD.MM.YYYY HH:MM:SS.
      const [date, clock] = $("clock-value").value.split("T");
      const [y, m, d] = date.split("-");
      act("clock", { datetime: `${d}.${m}.${y} ${(clock + ":00").slice(0, 8)}` });
    });
  }

  // One line of the test receipt: name, price, quantity, tax group.
  function addLine() {
    const box = $("receipt-lines");
    const field = (key, attrs) =>
      el("label", null, el("span", { dataset: { t: key } }, t(key)), el("input", { required: true, ...attrs }));
    const line = el(
      "fieldset",
      { class: "line row-form" },
      el("legend", null),
      field("lineName", { name: "name", value: t("defaultItem"), maxlength: "64" }),
      field("linePrice", { name: "price", type: "number", min: "0", step: "0.01", inputmode: "decimal", value: "10.00" }),
      field("lineQuantity", { name: "quantity", type: "number", min: "0.001", step: "0.001", inputmode: "decimal", value: "1" }),
      field("lineTax", { name: "tax", type: "number", min: "1", max: "6", step: "1", value: "1" }),
      el("button", { type: "button", class: "remove", onclick: () => removeLine(line) })
    );
    box.append(line);
    numberLines();
  }

  function removeLine(line) {
    const box = $("receipt-lines");
    if (box.children.length === 1) return;
    line.remove();
    numberLines();
    box.querySelector("input").focus();
  }

  function numberLines() {
    const lines = Array.from($("receipt-lines").children);
    lines.forEach((line, i) => {
      line.querySelector("legend").textContent = t("line", { n: i + 1 });
      const remove = line.querySelector(".remove");
      remove.textContent = "×";
      remove.setAttribute("aria-label", t("removeLine", { n: i + 1 }));
      remove.hidden = lines.length === 1;
    });
  }

  function receiptBody() {
    const body = { type: $("receipt-type").value, lines: [] };
    for (const line of $("receipt-lines").children) {
      const value = (name) => line.querySelector(`[name=${name}]`).value;
      body.lines.push({
        name: value("name"),
        price: Number(value("price")),
        quantity: Number(value("quantity")),
        tax: Number(value("tax")),
      });
    }
    const kind = $("discount-kind").value;
    const size = Number($("discount-value").value);
    if (kind && size > 0) body.discount = { [kind]: size };
    const payments = [];
    for (const [mode, id] of [["cash", "pay-cash"], ["card", "pay-card"]]) {
      const amount = Number($(id).value);
      if (amount > 0) payments.push({ mode, amount });
    }
    if (payments.length) body.payments = payments;
    return body;
  }

  // --- Requests -----------------------------------------------------------------------

  function requestQuery() {
    const params = new URLSearchParams({ limit: REQUEST_LIMIT });
    if ($("filter-device").value) params.set("device", $("filter-device").value);
    if ($("filter-state").value) params.set("state", $("filter-state").value);
    for (const name of ["since", "until"]) {
      const value = $("filter-" + name).value;
      if (value) params.set(name, String(new Date(value).getTime()));
    }
    return "/requests?" + params;
  }

  let requestsAsked = 0;
  async function loadRequests() {
    const asked = ++requestsAsked;
    const r = await api("GET", requestQuery());
    if (r.status !== 200 || asked !== requestsAsked) return; // a later list is on its way
    view.requests = r.data.requests;
    renderRequests();
  }
  const scheduleRequests = coalesce(loadRequests, 250);

  function requestResult(r) {
    const a = r.answer || {};
    if (r.state === "committed") return committedSummary(r.kind, a).join("; ");
    if (a.error) return t("out.refused", a.error);
    return "";
  }

  function renderRequests() {
    const rows = view.requests.map((r) =>
      el(
        "tr",
        { dataset: { key: r.key, state: r.state } },
        el("td", null, time(r.created)),
        el("td", null, r.device),
        el(
          "td",
          null,
          el(
            "button",
            {
              type: "button",
              class: "link-button",
              "aria-label": t("openRequest", { kind: kindName(r.kind), time: time(r.created) }),
              onclick: (event) => openRequest(r.key, event.currentTarget),
            },
            kindName(r.kind)
          )
        ),
        el("td", null, badge(r.state)),
        el("td", { class: "result" }, requestResult(r))
      )
    );
    const body = $("request-table").tBodies[0];
    redraw(body, () => body.replaceChildren(...rows));
    $("request-empty").hidden = rows.length > 0;
  }

  let requestOpener = null;
  async function openRequest(key, opener) {
    if (opener) requestOpener = opener;
    const r = await api("GET", "/requests/" + encodeURIComponent(key));
    if (r.status !== 200) return;
    const q = r.data;
    const first = view.openKey !== key;
    view.openKey = key;
    $("h-request-detail").replaceChildren(t("requestTitle", { kind: kindName(q.kind), key: q.key }), " ", badge(q.state));
    $("request-steps").replaceChildren(
      ...q.steps.map((s) =>
        el(
          "li",
          { dataset: { step: s.step } },
          el("time", { datetime: s.at }, time(s.at)),
          " ",
          el("strong", null, stepName(s.step)),
          s.detail !== null ? el("code", null, " " + JSON.stringify(s.detail)) : null,
          s.step === "sent" && q.witness ? el("code", null, " " + t("witness") + " " + JSON.stringify(q.witness)) : null
        )
      )
    );
    $("request-body").textContent = JSON.stringify(q.body, null, 2);
    $("request-answer").textContent = JSON.stringify(q.answer, null, 2);
    const detail = $("request-detail");
    detail.hidden = false;
    if (first) detail.focus();
  }

  function closeRequest() {
    view.openKey = "";
    $("request-detail").hidden = true;
    if (requestOpener && requestOpener.isConnected) requestOpener.focus();
  }

  // --- Electronic journal -------------------------------------------------------------

  async function readDocuments(numbers) {
    const device = view.current;
    view.documents = [];
    for (const number of numbers) {
      const r = await api("GET", devicePath(device, "journal/" + number));
      if (device !== view.current) return;
      view.documents.push(r.status === 200 ? r.data : { number, error: r.data.error || { text: String(r.status) } });
      renderDocuments();
    }
    if (!numbers.length) renderDocuments(t("journalEmpty"));
  }

  function renderDocuments(empty) {
    const box = $("journal-documents");
    if (empty) return box.replaceChildren(el("p", { class: "hint" }, empty));
    box.replaceChildren(
      ...view.documents.map((doc) =>
        doc.error
          ? el("p", { class: "bad" }, t("journalDocument", { number: doc.number, shift: "—", time: "—" }), ": ",
               t("out.refused", doc.error))
          : el(
              "article",
              { class: "document", dataset: { number: doc.number } },
              el("h3", null, t("journalDocument", doc), doc.sign ? " · " + t("out.sign", doc) : ""),
              el("pre", null, doc.lines.join("\n"))
            )
      )
    );
  }

  // --- Paper --------------------------------------------------------------------------

  async function loadPaper() {
    const d = view.devices.get(view.current);
    const pre = $("paper");
    $("paper-none").hidden = !d || d.simulated;
    pre.hidden = !d || !d.simulated;
    if (!d || !d.simulated) return;
    const paper = view.paper;
    if (paper.device !== d.id) Object.assign(paper, { device: d.id, next: 0, text: "" });
    const r = await api("GET", devicePath(d.id, "paper?from=" + paper.next));
    if (r.status !== 200 || paper.device !== view.current || r.data.from !== paper.next) return;
    paper.next = r.data.next;
    if (!r.data.text && pre.textContent) return;
    paper.text = (paper.text + r.data.text).slice(-PAPER_KEPT);
    pre.textContent = paper.text;
    pre.scrollTop = pre.scrollHeight;
  }
  const schedulePaper = coalesce(loadPaper, 200);

  // --- Live updates -------------------------------------------------------------------

  function setLive(live) {
    view.live = live;
    const node = $("live");
    node.dataset.state = live;
    node.textContent = t("live." + live);
  }

  function onEvent(type, data) {
    if (type === "device") {
      reloadDevice(data.id);
    } else if (type === "request") {
      scheduleRequests();
      if (data.key === view.openKey) openRequest(data.key);
      if (data.state && FINAL.includes(data.state))
        for (const entry of view.outcomes) if (entry.key === data.key && entry.pending) settle(entry);
      if (data.device === view.current) schedulePaper();
    }
  }

  // GET /events as server-sent events, read through fetch (EventSource
  // cannot send the token); resumes after the last event it saw.
  async function listen() {
    let last = "";
    let wait = 1000;
    for (;;) {
      try {
        const headers = { Accept: "text/event-stream" };
        if (view.token) headers.Authorization = "Bearer " + view.token;
        if (last) headers["Last-Event-ID"] = last;
        const res = await fetch("/events", { headers, cache: "no-store" });
        if (res.status === 401) {
          await askToken(true);
          continue;
        }
        if (res.ok) {
          setLive("on");
          wait = 1000;
          // What changed while the stream was down.
          loadDevices();
          scheduleRequests();
          schedulePaper();
          const reader = res.body.getReader();
          const decoder = new TextDecoder();
          let buffer = "";
          for (;;) {
            const { value, done } = await reader.read();
            if (done) break;
            buffer += decoder.decode(value, { stream: true }).replace(/\r\n?/g, "\n");
            let end;
            while ((end = buffer.indexOf("\n\n")) >= 0) {
              const block = buffer.slice(0, end);
              buffer = buffer.slice(end + 2);
              let type = "message";
              let data = "";
              for (const line of block.split("\n")) {
                const colon = line.indexOf(":");
                if (colon <= 0) continue; // a comment or nothing
                const field = line.slice(0, colon);
                const text = line.slice(colon + 1).replace(/^ /, "");
                if (field === "id") last = text;
                else if (field === "event") type = text;
                else if (field === "data") data += (data ? "\n" : "") + text;
              }
              if (data) onEvent(type, JSON.parse(data));
            }
          }
        }
      } catch (e) {
        // the server went away: try again below
      }
      setLive("off");
      await new Promise((resolve) => setTimeout(resolve, wait));
      wait = Math.min(wait * 2, 10000);
    }
  }

  // --- Start --------------------------------------------------------------------------

  function renderAll() {
    applyTexts();
    setLive(view.live);
    renderDeviceChoices();
    renderDevices();
    numberLines();
    renderOutcomes();
    renderRequests();
    renderDocuments();
    const stateFilter = $("filter-state");
    const chosen = stateFilter.value;
    stateFilter.replaceChildren(
      el("option", { value: "" }, t("all")),
      ...STATES.map((s) => el("option", { value: s, selected: s === chosen }, t("state." + s)))
    );
  }

  async function start() {
    renderAll();
    $("forget-token").hidden = !view.token;
    $("lang").addEventListener("click", () => {
      view.lang = view.lang === "ru" ? "en" : "ru";
      localStorage.setItem("verda.lang", view.lang);
      renderAll();
      if (view.openKey) openRequest(view.openKey);
    });
    $("forget-token").addEventListener("click", () => {
      sessionStorage.removeItem("verda.token");
      location.reload();
    });
    $("device").addEventListener("change", (event) => chooseDevice(event.target.value));
    $("request-filter").addEventListener("change", loadRequests);
    $("request-filter").addEventListener("submit", (event) => event.preventDefault());
    $("request-close").addEventListener("click", closeRequest);
    $("journal-form").addEventListener("submit", (event) => {
      event.preventDefault();
      readDocuments([Number($("journal-number").value)]);
    });
    $("journal-latest").addEventListener("click", () => {
      const d = view.devices.get(view.current);
      const last = d && d.fiscal_drive ? d.fiscal_drive.last_document : 0;
      const numbers = [];
      for (let n = last; n > 0 && numbers.length < LATEST_DOCUMENTS; --n) numbers.push(n);
      readDocuments(numbers);
    });
    $("error-form").addEventListener("submit", async (event) => {
      event.preventDefault();
      const code = Math.trunc(Number($("error-code").value));
      const r = await api("GET", "/errors/" + code);
      $("error-text").textContent = r.status === 200 ? `${r.data.code}: ${r.data.text}` : String(r.status);
    });
    actionForms();

    const health = await (await fetch("/health")).json();
    if (health.token_required && !view.token) await askToken(false);
    await loadDevices();
    chooseDevice(view.current);
    setInterval(tickAges, 1000);
    listen();
  }

  start();
})();
