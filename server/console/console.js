// The technician's console: the registers, actions on them, the server's
// journal of requests, a register's electronic journal and paper. It uses
// only the server's public HTTP API, as any client does, and standard web
// APIs (no framework). Live updates come from GET /events, read through
// fetch so that the token can go with it.
//
// What the page shows is what the server last said, and it says when that
// was: while the server cannot be reached, every card says its data is from
// then and unknown now, and every action waits until it is back.
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
  // What a register must be for an action to apply, and why it does not.
  const APPLIES = {
    "shift-open": (d) => !(d.shift && d.shift.open) || "why.shiftOpen",
    "x-report": (d) => !d.shift || d.shift.open || "why.shiftClosed",
    "z-report": (d) => !d.shift || d.shift.open || "why.shiftClosed",
  };
  // The drive's phases and warning flags as the simulated register reports
  // them, for a server whose reading carries no decoded health yet (the
  // server decodes them in common/FiscalHealth; the texts are in texts.js).
  const PHASES = { 1: "ready", 3: "fiscal" };
  const WARNING_BITS = { 1: "replace-urgent", 2: "resource-ending", 4: "memory-full", 8: "operator-overdue", 128: "critical" };
  const REQUEST_LIMIT = 50;
  const DEVICES_EVERY = 20000; // ms: the registers are asked again this often while live
  const SILENT_STREAM = 40000; // ms: the event stream is given up after this long without a byte
  const LATEST_DOCUMENTS = 5;
  const PAPER_KEPT = 64 * 1024; // characters of paper kept on the page

  const $ = (id) => document.getElementById(id);
  const view = {
    lang: localStorage.getItem("verda.lang") === "en" ? "en" : "ru",
    token: sessionStorage.getItem("verda.token") || "",
    devices: new Map(), // id -> the last GET /devices/{id}
    fetchedAt: new Map(), // id -> {mono: performance.now(), wall: Date.now()} of that answer
    current: "",
    live: "connecting",
    lostAt: 0, // Date.now() when the server was last found unreachable
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
  const hhmm = (ms) => new Date(ms).toLocaleTimeString(locale(), { hour: "2-digit", minute: "2-digit" });
  const date = (iso) => (iso ? new Date(iso + (iso.length === 10 ? "T00:00:00" : "")).toLocaleDateString(locale()) : "—");
  // A text as the register gives it: Russian, whatever the page's language.
  const ru = (text) => el("span", { lang: "ru" }, text);
  // A text with its values put in, as a list of strings and nodes: a value
  // that is a node (the register's own text, say) keeps its element.
  function tNodes(key, values) {
    return t(key)
      .split(/\{(\w+)\}/)
      .map((part, i) => (i % 2 === 0 ? part : part in values ? values[part] : "{" + part + "}"));
  }
  // A text of the server, in the page's language when it is a known one
  // (SERVER_TEXTS in texts.js), else as the server wrote it, in English. The
  // register's own part of it (a catalogue text) stays Russian.
  function serverText(text) {
    if (text === undefined || text === null || text === "") return [];
    for (const [pattern, key, own] of SERVER_TEXTS) {
      const m = pattern.exec(text);
      if (!m) continue;
      if (view.lang === "en" && !TEXTS.en[key]) return [text];
      const values = Object.assign({}, m.groups);
      for (const name of own || []) if (values[name]) values[name] = ru(values[name]);
      return tNodes(key, values);
    }
    return [view.lang === "en" ? text : el("span", { lang: "en" }, text)];
  }
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
  const plain = (parts) => parts.map((p) => (p instanceof Node ? p.textContent : p)).join("");

  // The page's fixed texts: data-t names the text of an element.
  function applyTexts() {
    document.documentElement.lang = view.lang;
    document.title = t("title");
    for (const node of document.querySelectorAll("[data-t]")) node.textContent = t(node.dataset.t);
    for (const node of document.querySelectorAll("[data-t-label]")) node.setAttribute("aria-label", t(node.dataset.tLabel));
    const lang = $("lang");
    lang.textContent = t("language");
    lang.lang = view.lang === "ru" ? "en" : "ru";
  }

  // An element with attributes and children (strings become text).
  function el(tag, attrs, ...children) {
    const node = document.createElement(tag);
    for (const [name, value] of Object.entries(attrs || {})) {
      if (value === undefined || value === null || value === false) continue;
      if (name === "dataset") {
        for (const [key, v] of Object.entries(value)) if (v !== undefined && v !== null) node.dataset[key] = v;
      }
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
    const found = container.querySelector(`[data-key="${CSS.escape(item.dataset.key)}"]`);
    if (!found) return;
    const again = focused === item ? found : found.querySelector(focused.tagName) || found;
    if (again.tabIndex < 0 && !again.hasAttribute("tabindex")) again.tabIndex = -1;
    again.focus({ preventScroll: true });
  }

  // --- The API ------------------------------------------------------------------------

  // A request to the server; asks for the token when the server wants one.
  // It never throws: a server that cannot be reached is status 0.
  async function api(method, path, options = {}) {
    try {
      return await apiOnce(method, path, options);
    } catch (e) {
      serverLost();
      return { status: 0, data: null, network: true };
    }
  }
  async function apiOnce(method, path, options) {
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
      if (options.deadline) headers["X-Deadline-Ms"] = String(options.deadline);
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
        tokenAsked = null;
        dialog.close();
        resolve();
      };
    });
    // Nothing works without it: Escape does not dismiss it. The browser may
    // close it all the same (a close request without a user's gesture cannot
    // be cancelled): then it opens again.
    dialog.oncancel = (event) => event.preventDefault();
    dialog.onkeydown = (event) => {
      if (event.key === "Escape") event.preventDefault();
    };
    dialog.onclose = () => {
      if (tokenAsked) setTimeout(() => tokenAsked && !dialog.open && dialog.showModal(), 0);
    };
    dialog.showModal();
    $("token").focus();
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
    if (r.status !== 200) return false;
    view.devices.clear();
    for (const d of r.data) setDevice(d);
    if (!view.devices.has(view.current)) view.current = r.data.length ? r.data[0].id : "";
    renderDeviceChoices();
    renderDevices();
    return true;
  }

  function setDevice(d) {
    view.devices.set(d.id, d);
    view.fetchedAt.set(d.id, { mono: performance.now(), wall: Date.now() });
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

  const serverDown = () => view.live === "off";

  function linkText(link) {
    if (link.state === "online") return t("link.online");
    if (link.state === "reconnecting") return t("link.reconnecting", { attempts: link.attempts ?? 1 });
    return t("link.offline", { since: time(link.since) });
  }

  // When the register was read, by this computer's clock.
  function readingTime(d) {
    const at = view.fetchedAt.get(d.id);
    return d.reading && at ? at.wall - d.reading.age_ms : 0;
  }

  function readingAge(d) {
    if (serverDown()) {
      const at = readingTime(d) || (view.fetchedAt.get(d.id) || {}).wall;
      return at ? t("reading.stale", { at: hhmm(at) }) : t("reading.unknown");
    }
    if (!d.reading) return t("reading.none");
    const age = d.reading.age_ms + (performance.now() - view.fetchedAt.get(d.id).mono);
    return t("reading.age", { age: duration(age) });
  }

  // The verdict on the register's fiscal health, and the reasons in words.
  function verdictOf(d) {
    if (serverDown()) return "unknown";
    return d.verdict ? d.verdict.verdict : d.verdict === null ? "none" : "";
  }

  function reasonText(r) {
    return TEXTS.ru["reason." + r.code] ? t("reason." + r.code) : serverText(r.text);
  }

  function phaseText(fd) {
    const phase = fd.phase;
    const code = phase && typeof phase === "object" ? phase.code : PHASES[phase];
    const value = phase && typeof phase === "object" ? phase.value : phase;
    return code && TEXTS.ru["phase." + code] ? t("phase." + code) : t("phase.other", { value });
  }

  // The drive's warnings in words: decoded by the server (health), or from
  // the flags as the simulated register sets them.
  function warningTexts(d) {
    const decoded = d.health && d.health.fiscal_drive && d.health.fiscal_drive.warnings;
    const codes = decoded
      ? decoded.map((w) => w.code)
      : (() => {
          const flags = Number(d.fiscal_drive.warnings);
          if (!Number.isInteger(flags)) return d.fiscal_drive.warnings ? ["raw:" + d.fiscal_drive.warnings] : [];
          const found = [];
          for (let bit = 1; bit <= 0x80; bit <<= 1)
            if (flags & bit) found.push(WARNING_BITS[bit] || "flag-0x" + bit.toString(16).padStart(2, "0"));
          return found;
        })();
    return codes.map((code) =>
      TEXTS.ru["warning." + code] ? t("warning." + code) : t("warning.other", { code: code.replace(/^raw:/, "") })
    );
  }

  // What holds the register's changes (another register at its address, a
  // request a person must settle), with the requests to settle.
  function changesBlock(d) {
    const c = d.changes;
    if (!c || c.state === "open") return null;
    const parts = [el("p", { class: "held" }, el("strong", null, t("changes." + c.state)), " ", t("changesWhy." + c.state))];
    if (c.state === "replaced" && c.expected && c.found)
      parts.push(
        el(
          "p",
          null,
          t("replaced.expected", { number: c.expected.device_number, drive: c.expected.fiscal_drive }),
          el("br"),
          t("replaced.found", { number: c.found.device_number, drive: c.found.fiscal_drive })
        )
      );
    if (c.unsettled.length)
      parts.push(
        el(
          "ul",
          { class: "unsettled" },
          c.unsettled.map((key) =>
            el(
              "li",
              { dataset: { key } },
              el("code", null, key),
              " ",
              el(
                "button",
                { type: "button", onclick: (event) => openRequest(key, event.currentTarget, true) },
                t("settleOpen")
              )
            )
          )
        )
      );
    return el("div", { class: "changes", "data-changes": c.state }, parts);
  }

  function deviceCard(d) {
    const rows = [];
    const row = (label, value, extra) => rows.push(el("dt", null, label), el("dd", extra, value));
    const stale = serverDown();
    const verdict = verdictOf(d);
    row(t("model"), [d.model ? ru(d.model) : "—", d.firmware ? " · " + t("firmware") + " " + d.firmware : ""]);
    row(t("serial"), d.serial ?? "—");
    row(t("transport"), [d.transport, d.simulated ? " (" + t("simulated") + ")" : ""]);
    if (d.link.error) row(t("linkError"), serverText(d.link.error));
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
    if (d.document && d.document.open !== "none") {
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
      const deadline = d.health && d.health.fiscal_drive ? d.health.fiscal_drive.deadline : null;
      row(t("fiscalDrive"), [fd.number, " · ", fd.version]);
      row(t("fiscalDrive.phase"), [phaseText(d.health && d.health.fiscal_drive ? d.health.fiscal_drive : fd), ", ",
        t("fiscalDrive.deadline", { deadline: deadline ? date(deadline) : fd.deadline })]);
      const warnings = warningTexts(d);
      row(t("fiscalDrive.warnings"), warnings.length ? el("ul", { class: "plain bad" }, warnings.map((w) => el("li", null, w)))
        : t("none"));
      row(t("fiscalDrive.last"), fd.last_document);
    }
    if (d.unsent) {
      const u = d.unsent;
      row(t("unsent"), u.count ? t("unsent.value", { count: u.count, first: u.first, since: u.since ? time(u.since) : "—" })
        : t("unsent.none"), u.count ? { class: "warn" } : null);
    }
    row(t("queue"), d.queue);
    row(t("reading"), readingAge(d), { dataset: { ageOf: d.id } });
    const selected = d.id === view.current;
    const reasons = !stale && d.verdict ? d.verdict.reasons : [];
    return el(
      "article",
      {
        class: "card" + (selected ? " selected" : ""),
        "aria-labelledby": "card-" + d.id,
        "aria-current": selected ? "true" : null,
        dataset: { key: d.id, device: d.id, link: stale ? "unknown" : d.link.state, verdict: verdict || null, stale: stale ? "true" : null },
      },
      el(
        "h3",
        { id: "card-" + d.id },
        d.id,
        " ",
        el("span", { class: "link", "data-link": stale ? "unknown" : d.link.state }, stale ? t("link.unknown") : linkText(d.link)),
        selected ? el("span", { class: "chosen" }, t("selected")) : null
      ),
      verdict
        ? el("p", { class: "verdict", "data-verdict": verdict }, t("verdict." + verdict))
        : null,
      reasons.length ? el("ul", { class: "reasons" }, reasons.map((r) => el("li", { "data-reason": r.code }, reasonText(r)))) : null,
      stale ? null : changesBlock(d),
      el("dl", { class: stale ? "stale" : null }, rows),
      selected
        ? null
        : el(
            "button",
            { type: "button", class: "choose", onclick: () => chooseDevice(d.id, true) },
            t("choose", { device: d.id })
          )
    );
  }

  function renderDevices() {
    const box = $("device-cards");
    redraw(box, () => box.replaceChildren(...Array.from(view.devices.values(), deviceCard)));
    const down = $("server-down");
    down.hidden = !serverDown();
    down.textContent = serverDown() ? t("serverDown", { at: hhmm(view.lostAt) }) : "";
    renderApplicable();
    tickOutcomes();
  }

  function tickAges() {
    for (const node of document.querySelectorAll("[data-age-of]")) {
      const d = view.devices.get(node.dataset.ageOf);
      if (d) node.textContent = readingAge(d);
    }
    tickOutcomes();
  }

  // Actions that cannot apply now are disabled, each with its reason beside.
  function renderApplicable() {
    const d = view.devices.get(view.current);
    const why = new Map(); // action -> text key
    const all = (key) => Object.keys(ACTIONS).forEach((a) => why.has(a) || why.set(a, key));
    if (serverDown()) all("why.serverDown");
    else if (!d) all("why.noRegister");
    else if (d.changes && d.changes.state !== "open") all("why.changes." + d.changes.state);
    else for (const [action, test] of Object.entries(APPLIES)) if (test(d) !== true) why.set(action, test(d));
    const reasons = [];
    const controls = [
      ...Array.from(document.querySelectorAll("[data-action]"), (b) => [b, b.dataset.action]),
      ...Array.from(document.querySelectorAll("[data-cash]"), (b) => [b, b.dataset.cash]),
      [$("receipt-submit"), "receipt"],
      [$("text-submit"), "text"],
      [$("clock-submit"), "clock"],
    ];
    for (const [button, action] of controls) {
      const key = why.get(action);
      button.disabled = !!key;
      if (key) {
        const id = "why-" + key.replace(/\W/g, "-");
        button.setAttribute("aria-describedby", id);
        if (!reasons.some((r) => r.id === id)) reasons.push({ id, key, actions: [] });
        reasons.find((r) => r.id === id).actions.push(action);
      } else button.removeAttribute("aria-describedby");
    }
    $("action-reasons").replaceChildren(
      ...reasons.map((r) =>
        el("li", { id: r.id }, r.actions.length === controls.length ? t("why.all") : r.actions.map((a) => t("action." + a)).join(", "), ": ", t(r.key))
      )
    );
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

  function chooseDevice(id, fromCard) {
    view.current = id;
    $("device").value = id;
    for (const node of document.querySelectorAll("[data-device-name]")) node.textContent = id;
    view.documents = [];
    renderDocuments();
    view.paper = { device: "", next: 0, text: "" };
    renderDevices();
    loadPaper();
    if (fromCard) {
      const card = document.querySelector(`.card[data-device="${CSS.escape(id)}"]`);
      if (card) {
        card.tabIndex = -1;
        card.focus();
      }
    }
  }

  // --- Actions ------------------------------------------------------------------------

  // Resolves true when the technician confirms; Escape or Cancel say no.
  function confirmAction(text, title) {
    const dialog = $("confirm");
    $("confirm-title").textContent = t(title || "confirmTitle");
    $("confirm-text").textContent = text;
    dialog.returnValue = "";
    const opener = document.activeElement;
    const answer = new Promise((resolve) => {
      dialog.onclose = () => {
        if (opener && opener.isConnected) opener.focus();
        resolve(dialog.returnValue === "yes");
      };
    });
    dialog.showModal();
    $("confirm-yes").focus();
    return answer;
  }

  // fields: the form's controls by the name the server gives a field
  // ("lines[0].name"), each with its label in words.
  async function act(kind, body, confirmValues, fields) {
    const device = view.current;
    if (!device || serverDown()) return;
    clearFieldError();
    if (ACTIONS[kind].fiscal && !(await confirmAction(t("confirm." + kind, { device, ...confirmValues })))) return;
    const entry = { kind, device, body, fields: fields || {}, key: newKey(), state: "running" };
    view.outcomes.unshift(entry);
    view.outcomes.length = Math.min(view.outcomes.length, 20);
    await send(entry);
  }

  // The outcome's item on the page, scrolled to and focused: the result of
  // an action is where the keyboard is.
  function focusOutcome(entry) {
    const item = $("outcomes").querySelector(`[data-key="${CSS.escape(entry.key)}"]`);
    if (!item) return;
    item.focus({ preventScroll: true });
    item.scrollIntoView({ block: "nearest" });
  }

  // Sends an action (again, with its key, after the server did not answer).
  async function send(entry) {
    entry.state = "running";
    entry.pending = false;
    entry.settled = "";
    entry.startedAt = performance.now();
    renderOutcomes();
    focusOutcome(entry);
    const action = ACTIONS[entry.kind];
    const r = await api(action.method || "POST", devicePath(entry.device, action.path), {
      body: entry.body,
      key: entry.key,
    });
    entry.status = r.status;
    entry.answer = r.data;
    entry.replayed = r.replayed;
    entry.state = r.network ? "network" : stateOf(r.status, r.data);
    // 202: the outcome is not known yet; the server settles it from the register.
    entry.pending = entry.status === 202;
    renderOutcomes();
    announce(entry);
    if (!markFieldError(entry) && $("outcomes").contains(document.activeElement)) focusOutcome(entry);
    if (entry.pending) settle(entry);
    if (!r.network) {
      reloadDevice(entry.device);
      schedulePaper();
    }
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
    entry.settled = r.data.answer && r.data.answer.settled === "by-hand" ? "by-hand" : r.data.state;
    entry.state = r.data.state;
    entry.status = r.data.status;
    entry.answer = r.data.answer;
    renderOutcomes();
    announce(entry);
  }

  // What a committed request's answer says: its document, sign and figures.
  function committedSummary(kind, a) {
    const parts = [];
    if (kind === "receipt" && a.receipt !== undefined)
      parts.push(t("out.receipt", { receipt: a.receipt, total: money(a.total), change: money(a.change) }));
    if (a.report !== undefined) parts.push(t("out.report", a));
    if (a.shift !== undefined && kind !== "receipt") parts.push(t("out.shift", a));
    if (a.document !== undefined && a.document !== null) parts.push(t("out.document", a));
    if (a.sign) parts.push(t("out.sign", a));
    if (a.cash !== undefined) parts.push(t("out.cash", { cash: money(a.cash) }));
    if (a.datetime) parts.push(t("out.clock", a));
    if (a.settled === "by-hand") parts.push(t("out.byHand"));
    if (!parts.length) parts.push(t("out.done"));
    return parts;
  }

  // A field the server named: its control on the page and its name in words.
  function fieldOf(entry, field) {
    let name = field || "";
    while (name) {
      if (entry.fields[name]) return entry.fields[name];
      const shorter = name.replace(/(\.[^.[\]]+|\[\d+\])$/, "");
      if (shorter === name) break;
      name = shorter;
    }
    return null;
  }
  function fieldLabel(entry, field) {
    const found = fieldOf(entry, field);
    return found ? found.label() : field;
  }

  // The words of an outcome: what happened, a hint what to do, and the
  // details (operation, HTTP status, key) apart.
  function outcomeWords(entry) {
    const a = entry.answer && typeof entry.answer === "object" ? entry.answer : {};
    const e = a.error || {};
    const words = [];
    const details = [];
    let hint = "";
    if (entry.state === "committed") {
      words.push(committedSummary(entry.kind, a).join("; "));
    } else if (entry.state === "ambiguous" || entry.state === "received" || entry.state === "sent") {
      words.push(t("out.ambiguous"));
      hint = "hint.ambiguous";
    } else if (entry.state === "network") {
      words.push(t("out.network"));
      hint = "hint.network";
    } else if (entry.state === "running") {
      return { words, details, hint };
    } else if (entry.status === 400) {
      words.push(...tNodes("out.field", { field: fieldLabel(entry, e.field), text: serverText(e.text) }));
      hint = "hint.field";
    } else if (entry.state === "refused" && entry.status === 422) {
      words.push(...tNodes("out.refused", { code: e.code, text: ru(e.text) }));
      hint = "hint.refused";
    } else {
      words.push(...serverText(e.text || (typeof entry.answer === "string" ? entry.answer : "")));
      hint =
        e.reason === "journal-unavailable" ? "hint.journal"
          : e.reason === "queue-full" ? "hint.queue"
          : entry.state === "not-sent" ? "hint.offline"
          : entry.state === "no-reply" ? "hint.noReply"
          : entry.status === 409 ? "hint.conflict"
          : "";
    }
    if (entry.settled === "by-hand") words.unshift(t("out.settledByHand") + "; ");
    else if (entry.settled) words.unshift(t(entry.settled === "committed" ? "out.settledCommitted" : "out.settledNot") + "; ");
    const operation = e.operation || a.operation;
    if (operation) details.push(t("out.operation", { operation }));
    if (e.line !== undefined) details.push(t("out.line", { n: e.line + 1 }));
    if (entry.status) details.push(t("out.http", { status: entry.status }));
    if (entry.replayed) details.push(t("out.replayed"));
    details.push(t("out.key", { key: entry.key }));
    return { words, details, hint };
  }

  // A screen reader hears each outcome once, from a status line of its own.
  function announce(entry) {
    const { words, hint } = outcomeWords(entry);
    $("announce").textContent =
      `${kindName(entry.kind)} · ${entry.device}: ${t("state." + entry.state)}. ${plain(words)}` + (hint ? " " + t(hint) : "");
  }

  // May the request go again with its key? Only when nothing of it took
  // effect, or the server did not say.
  const repeatable = (entry) =>
    entry.state === "network" || entry.state === "not-sent" || entry.status === 429 || entry.state === "not-committed";

  // While a request waits for a register that is not on the line, the page
  // says so and for how long.
  function waitingText(entry) {
    if (entry.state !== "running") return "";
    const d = view.devices.get(entry.device);
    if (!d || serverDown() || d.link.state === "online") return "";
    return t("out.waiting", { device: entry.device, wait: duration(performance.now() - entry.startedAt) });
  }
  function tickOutcomes() {
    for (const node of document.querySelectorAll("#outcomes [data-waiting]")) {
      const entry = view.outcomes.find((e) => e.key === node.dataset.waiting);
      if (entry) node.textContent = waitingText(entry);
    }
  }

  function renderOutcomes() {
    redraw($("outcomes"), () => $("outcomes").replaceChildren(
      ...view.outcomes.map((entry) => {
        const { words, details, hint } = outcomeWords(entry);
        return el(
          "li",
          { class: "outcome", tabindex: "-1", dataset: { key: entry.key, state: entry.state } },
          el("strong", null, kindName(entry.kind), " · ", entry.device, " "),
          entry.state === "error" ? null : badge(entry.state),
          " ",
          el("span", { class: "details" }, words),
          el("span", { class: "waiting warn", dataset: { waiting: entry.key } }, waitingText(entry)),
          hint ? el("span", { class: "hint" }, t(hint)) : null,
          details.length
            ? el("details", { class: "more" }, el("summary", null, t("out.details")), el("small", { class: "key" }, details.join("; ")))
            : null,
          repeatable(entry)
            ? el("button", { type: "button", disabled: serverDown(), onclick: () => send(entry) }, t("out.repeat"))
            : null
        );
      })
    ));
  }

  // A 400 names the field: it is marked, described and focused. True when
  // a field of the page took the focus.
  function markFieldError(entry, note, quietly) {
    if (entry.status !== 400 || !entry.answer || !entry.answer.error) return false;
    const found = fieldOf(entry, entry.answer.error.field);
    if (!found) return false;
    clearFieldError();
    view.fieldError = { entry, note };
    const control = found.control;
    const panel = control.closest("details");
    if (panel) panel.open = true;
    const said = el("span", { class: "field-error bad", id: "field-error" }, note || plain(outcomeWords(entry).words));
    control.setAttribute("aria-invalid", "true");
    control.setAttribute("aria-describedby", "field-error");
    (control.closest("label") || control).after(said);
    if (!quietly) control.focus();
    return true;
  }
  function clearFieldError() {
    view.fieldError = null;
    const note = $("field-error");
    if (note) note.remove();
    for (const control of document.querySelectorAll('[aria-invalid="true"]')) {
      control.removeAttribute("aria-invalid");
      control.removeAttribute("aria-describedby");
    }
  }

  // A control of a form as a field for fieldOf: label() gives its name now.
  const field = (control, label) => ({ control, label });
  const labelOf = (control) => control.closest("label").querySelector("span").textContent;

  function actionForms() {
    for (const button of document.querySelectorAll("[data-action]"))
      button.addEventListener("click", () => act(button.dataset.action));

    $("cash-form").addEventListener("submit", (event) => {
      event.preventDefault();
      const kind = event.submitter ? event.submitter.dataset.cash : "cash-in";
      const amount = Number($("cash-amount").value);
      act(kind, { amount }, { amount: money(amount) }, { amount: field($("cash-amount"), () => labelOf($("cash-amount"))) });
    });

    $("add-line").addEventListener("click", () => {
      addLine();
      const inputs = $("receipt-lines").querySelectorAll("input");
      inputs[inputs.length - 4].focus();
    });
    addLine();
    $("receipt-form").addEventListener("submit", (event) => {
      event.preventDefault();
      const { body, fields } = receiptBody();
      const total = body.lines.reduce((sum, l) => sum + l.price * l.quantity, 0);
      act("receipt", body, { lines: body.lines.length, total: money(total) }, fields);
    });

    $("text-form").addEventListener("submit", (event) => {
      event.preventDefault();
      const lines = $("text-lines").value.replace(/\s+$/, "").split("\n");
      const area = $("text-lines");
      const fields = { lines: field(area, () => labelOf(area)) };
      lines.forEach((line, i) => (fields[`lines[${i}]`] = field(area, () => t("line", { n: i + 1 }))));
      act("text", { lines }, null, fields);
    });

    $("clock-get").addEventListener("click", async () => {
      const r = await api("GET", devicePath(view.current, "clock"));
      $("clock-read").replaceChildren(
        ...(r.status === 200 ? [r.data.datetime] : r.network ? [t("out.network")]
          : r.data && r.data.error ? (r.status === 422 ? [ru(r.data.error.text)] : serverText(r.data.error.text))
          : [t("out.http", { status: r.status })])
      );
    });
    $("clock-now").addEventListener("click", () => {
      const now = new Date();
      now.setMinutes(now.getMinutes() - now.getTimezoneOffset());
      $("clock-value").value = now.toISOString().slice(0, 19);
    });
    $("clock-form").addEventListener("submit", (event) => {
      event.preventDefault();
      // datetime-local gives YYYY-MM-DDTHH:MM[:SS]; the register takes DD.MM.YYYY HH:MM:SS.
      const [day, clock] = $("clock-value").value.split("T");
      const [y, m, d] = day.split("-");
      act("clock", { datetime: `${d}.${m}.${y} ${(clock + ":00").slice(0, 8)}` }, null, {
        datetime: field($("clock-value"), () => labelOf($("clock-value"))),
      });
    });
    for (const form of ["cash-form", "receipt-form", "text-form", "clock-form", "settle-form"])
      $(form).addEventListener("input", clearFieldError);
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

  // The receipt's body, and its controls by the name the server gives each
  // field, so that a refused field is marked where it was typed.
  function receiptBody() {
    const body = { type: $("receipt-type").value, lines: [] };
    const fields = { type: field($("receipt-type"), () => labelOf($("receipt-type"))) };
    Array.from($("receipt-lines").children).forEach((line, i) => {
      const control = (name) => line.querySelector(`[name=${name}]`);
      body.lines.push({
        name: control("name").value,
        price: Number(control("price").value),
        quantity: Number(control("quantity").value),
        tax: Number(control("tax").value),
      });
      const inLine = (name, key) => field(control(name), () => t("line", { n: i + 1 }) + ", " + t(key).toLowerCase());
      fields[`lines[${i}]`] = inLine("name", "lineName");
      fields[`lines[${i}].name`] = inLine("name", "lineName");
      fields[`lines[${i}].price`] = inLine("price", "linePrice");
      fields[`lines[${i}].quantity`] = inLine("quantity", "lineQuantity");
      fields[`lines[${i}].tax`] = inLine("tax", "lineTax");
    });
    fields.lines = fields["lines[0]"];
    const kind = $("discount-kind").value;
    const size = Number($("discount-value").value);
    if (kind && size > 0) body.discount = { [kind]: size };
    fields.discount = field($("discount-value"), () => t("receiptDiscount") + ", " + t("discountValue").toLowerCase());
    const payments = [];
    for (const [mode, id, key] of [["cash", "pay-cash", "payCash"], ["card", "pay-card", "payCard"]]) {
      const amount = Number($(id).value);
      const payment = field($(id), () => t("payments") + ", " + t(key).toLowerCase());
      if (amount > 0) {
        fields[`payments[${payments.length}]`] = payment;
        payments.push({ mode, amount });
      }
      fields.payments = fields.payments || payment;
    }
    if (payments.length) body.payments = payments;
    return { body, fields };
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
    if (a.error && r.status === 422) return tNodes("out.refused", { code: a.error.code, text: ru(a.error.text) });
    if (a.error) return serverText(a.error.text);
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
  // toSettle: opened to settle it by hand, the form takes the focus.
  async function openRequest(key, opener, toSettle) {
    if (opener) requestOpener = opener;
    const r = await api("GET", "/requests/" + encodeURIComponent(key));
    if (r.status !== 200) return;
    const q = r.data;
    const first = view.openKey !== key;
    view.openKey = key;
    const form = $("settle-form");
    const wasShown = !form.hidden;
    // Offered only where the server cannot settle it itself: another
    // register at the address, a document that is not the request's, or a
    // register no longer configured.
    const d = view.devices.get(q.device);
    const stuck = !d || ["replaced", "needs-a-person"].includes(d.changes && d.changes.state);
    form.hidden = q.state !== "ambiguous" || !stuck;
    if (first) $("settle-result").textContent = "";
    if (first && !form.hidden) form.reset();
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
    if (toSettle && !form.hidden) {
      $("settle-committed").focus();
      form.scrollIntoView({ block: "nearest" });
    } else if (first) detail.focus();
    if (wasShown && form.hidden && form.contains(document.activeElement)) $("settle-result").focus();
  }

  // A person settles an ambiguous request from what the register shows:
  // confirmed first, then recorded by the server.
  async function settleByHand(event) {
    event.preventDefault();
    const key = view.openKey;
    const state = $("settle-form").elements["settle-state"].value;
    const number = Number($("settle-document").value);
    const result = $("settle-result");
    clearFieldError();
    if (state === "committed" && !(number >= 1)) {
      markSettleField(t("settle.needDocument"), "settle.needDocument");
      return;
    }
    const text = state === "committed" ? t("confirm.settleCommitted", { key, document: number }) : t("confirm.settleNot", { key });
    if (!(await confirmAction(text, "confirmSettleTitle"))) return;
    const r = await api("POST", "/requests/" + encodeURIComponent(key) + "/settle", {
      body: state === "committed" ? { state, document: number } : { state },
    });
    if (r.status === 200) {
      result.textContent = t(state === "committed" ? "settle.doneCommitted" : "settle.doneNot", { document: number });
      for (const entry of view.outcomes) if (entry.key === key && entry.pending) settle(entry);
      reloadDevice(r.data.device);
      scheduleRequests();
    } else if (r.status === 400 && r.data.error.field === "document") {
      markSettleField(plain(serverText(r.data.error.text)));
      return;
    } else {
      result.replaceChildren(
        ...(r.network ? [t("out.network")] : r.status === 409 ? [t("settle.notAmbiguous")] : serverText(r.data.error.text))
      );
    }
    result.focus();
    openRequest(key);
  }
  // key: the page's own text of the fault; text: the server's words otherwise.
  function markSettleField(text, key) {
    const entry = { fields: { document: field($("settle-document"), () => labelOf($("settle-document"))) } };
    markFieldError(Object.assign(entry, { status: 400, answer: { error: { field: "document", text } } }), text);
    view.fieldError.retell = () => (key ? t(key) : text);
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
      view.documents.push(
        r.status === 200 ? r.data : { number, status: r.status, error: (r.data && r.data.error) || { text: r.network ? t("out.network") : "" } }
      );
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
               doc.status === 422 ? tNodes("out.refused", { code: doc.error.code, text: ru(doc.error.text) })
                 : serverText(doc.error.text))
          : el(
              "article",
              { class: "document", dataset: { number: doc.number } },
              el("h3", null, t("journalDocument", doc), doc.sign ? " · " + t("out.sign", doc) : ""),
              el("pre", { lang: "ru" }, doc.lines.join("\n"))
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
    const changed = view.live !== live;
    view.live = live;
    const node = $("live");
    node.dataset.state = live;
    node.textContent = live === "off" ? t("live.off", { at: hhmm(view.lostAt) }) : t("live." + live);
    if (changed) {
      renderDevices();
      renderOutcomes();
    }
  }

  // The server could not be reached: what the page shows is from before.
  function serverLost() {
    if (view.live === "off") return;
    view.lostAt = Date.now();
    setLive("off");
  }

  function onEvent(type, data) {
    if (type === "device") {
      // The register's whole object with each new reading; a change of its
      // link alone is asked for.
      if (data.transport !== undefined && data.link && data.changes) {
        setDevice(data);
        renderDevices();
      } else reloadDevice(data.id);
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
    let silent = 0;
    let wait = 1000;
    for (;;) {
      try {
        const headers = { Accept: "text/event-stream" };
        if (view.token) headers.Authorization = "Bearer " + view.token;
        if (last) headers["Last-Event-ID"] = last;
        // The server says ": idle" every 15 s at least: a stream silent for
        // longer than SILENT_STREAM has lost the server (unplugged, say).
        const stop = new AbortController();
        const watch = () => {
          clearTimeout(silent);
          silent = setTimeout(() => stop.abort(), SILENT_STREAM);
        };
        watch();
        const res = await fetch("/events", { headers, cache: "no-store", signal: stop.signal });
        if (res.status === 401) {
          await askToken(true);
          continue;
        }
        if (res.ok) {
          setLive("on");
          revealed();
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
            watch();
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
      clearTimeout(silent);
      serverLost();
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
    // A marked field keeps its mark, in the page's new language.
    const kept = view.fieldError;
    if (kept) {
      markFieldError(kept.entry, kept.retell ? kept.retell() : null, true);
      view.fieldError.retell = kept.retell;
    }
    const stateFilter = $("filter-state");
    const chosen = stateFilter.value;
    stateFilter.replaceChildren(
      el("option", { value: "" }, t("all")),
      ...STATES.map((s) => el("option", { value: s, selected: s === chosen }, t("state." + s)))
    );
  }

  // The page is shown once its first data is in: nothing moves while it loads.
  function revealed() {
    document.body.classList.remove("loading");
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
      $("error-text").replaceChildren(
        ...(r.status === 200 ? [`${r.data.code}: `, ru(r.data.text)] : r.network ? [t("out.network")]
          : r.data && r.data.error ? serverText(r.data.error.text) : [t("out.http", { status: r.status })])
      );
    });
    actionForms();

    $("settle-form").addEventListener("submit", settleByHand);

    // The server's health says whether a token is needed; a server that
    // cannot be reached is asked again by listen(), which then loads the rest.
    const health = await api("GET", "/health");
    if (health.status !== 0 && health.data && health.data.token_required && !view.token) await askToken(false);
    if (await loadDevices()) chooseDevice(view.current);
    revealed();
    setInterval(tickAges, 1000);
    // Readings age as the server's do: the registers are asked again now and then.
    setInterval(() => view.live === "on" && loadDevices(), DEVICES_EVERY);
    listen();
  }

  start();
})();
