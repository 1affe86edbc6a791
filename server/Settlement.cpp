#include "Settlement.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <cstdlib>

#include "ServerLog.h"
#include "common/Codes.h"
#include "wire/Documents.h"

namespace server {

namespace {

const auto kShortestBackoff = std::chrono::milliseconds(100);
const auto kLongestBackoff = std::chrono::milliseconds(10000);

// The register's "no records in the electronic journal".
const int kNoJournalRecords = 105000;
// Every date the register's clock can show.
const char kFirstDay[] = "01.01.2000";
const char kLastDay[] = "31.12.2037";

// The register's last document of any kind (0 before the first).
int lastDocument(RegisterHandle& d) {
    char first[64] = "", last[64] = "";
    int firstNumber = 0, lastNumber = 0;
    const int result =
        verda_GetDocInEJByDate(d.handle(), kFirstDay, kLastDay, '0', first, sizeof first, last,
                               sizeof last, &firstNumber, &lastNumber);
    if (result == kNoJournalRecords) return 0;
    d.check("GetDocInEJByDate", result);
    return lastNumber;
}

// The drive's state; the device number is read again when the drive is not
// the one read before, so that a register replaced without a break of its
// link (a serial line) shows as what it is.
DriveState currentDrive(RegisterHandle& d) {
    const DriveState drive = readDrive(d);
    if (drive.number != d.identity.fiscalDrive) {
        d.identity.fiscalDrive = drive.number;
        d.readDeviceNumber();
    }
    return drive;
}

// The amount on the line that starts with label: its last word, after any "=".
bool labelledAmount(const json& document, const char* label, double& amount) {
    for (const auto& line : document["lines"]) {
        const std::string text = line.get<std::string>();
        const size_t start = text.find_first_not_of(' ');
        if (start == std::string::npos || text.compare(start, std::strlen(label), label) != 0)
            continue;
        const size_t end = text.find_last_not_of(' ');
        size_t word = text.find_last_of(" =", end);
        word = word == std::string::npos ? 0 : word + 1;
        char* stop = nullptr;
        const std::string number = text.substr(word, end + 1 - word);
        amount = std::strtod(number.c_str(), &stop);
        return !number.empty() && *stop == '\0';
    }
    return false;
}

// The fiscal number in the document's foot (its label, the number sign, the
// number); 0 when it has none.
int fiscalNumberOf(const json& document) {
    const std::string label = wire::document::kFiscalNumberLabel;
    for (const auto& line : document["lines"]) {
        const std::string text = line.get<std::string>();
        if (text.compare(0, label.size(), label) != 0) continue;
        const size_t digits = text.find_first_of("0123456789", label.size());
        if (digits != std::string::npos) return std::atoi(text.c_str() + digits);
    }
    return 0;
}

bool sameAmount(double a, double b) {
    return std::fabs(a - b) < 0.005;
}

// The receipt's "closing" step of its last run: its number, total and change.
json closingOf(const Request& r) {
    json closing;
    for (const Step& s : r.steps) {
        if (s.step == "sent") closing = nullptr;
        if (s.step == "closing") closing = s.detail;
    }
    return closing;
}

char receiptKind(const Request& r) {
    // Both kinds of correction receipt are one kind in the electronic journal.
    if (r.kind == kCorrectionKind) return wire::document::kReceiptKinds[VERDA_CORRECTION_SALE];
    const char* sale = codes::nameOf(codes::kReceiptType, VERDA_RECEIPT_SALE);
    const std::string type = r.body.is_object() ? r.body.value("type", sale) : sale;
    int value = 0;
    if (!codes::valueOf(codes::kReceiptType, type.c_str(), value)) return 0;
    return wire::document::kReceiptKinds[value];
}

json summary(const json& document) {
    return {{"number", document["number"]},
            {"kind", document["kind"]},
            {"fiscal_number", fiscalNumberOf(document)}};
}

Finding undecided(const std::string& reason, json detail = json::object()) {
    Finding f;
    f.verdict = Finding::Undecided;
    f.detail = std::move(detail);
    f.detail["outcome"] = "undecided";
    f.detail["reason"] = reason;
    return f;
}

Finding notCommittedFinding() {
    Finding f;
    f.verdict = Finding::NotCommitted;
    f.answer = notCommitted(VERDA_EXCHANGE_FAILED, verda_error_text(VERDA_EXCHANGE_FAILED));
    f.detail = {{"outcome", stateName(State::NotCommitted)}};
    return f;
}

Finding committedFinding(json answer, const json& document) {
    Finding f;
    f.verdict = Finding::Committed;
    f.answer = committed(std::move(answer));
    f.detail = {{"outcome", stateName(State::Committed)}, {"document", summary(document)}};
    return f;
}

// A fiscal document past the witness: the request's, if it is of the
// request's kind and total and carries the number asked for.
Finding fiscalDocument(RegisterHandle& d, const Request& r, Fiscal fiscal, int number) {
    const json document = readJournalDocument(d, number, true);
    const std::string kind = document["kind"].get<std::string>();
    const std::string sign = document.value("sign", "");
    bool matches = fiscalNumberOf(document) == number && !sign.empty();
    json answer = {{"document", number}, {"sign", sign}};
    if (fiscal != Fiscal::ZReport) answer["shift"] = document["shift"];
    if (fiscal == Fiscal::Receipt) {
        const json closing = closingOf(r);
        double total = 0;
        matches = matches && closing.is_object() && kind == std::string(1, receiptKind(r)) &&
                  labelledAmount(document, wire::document::kTotalLabel, total) &&
                  sameAmount(total, closing.value("total", -1.0));
        if (matches)
            for (const char* key : {"receipt", "total", "change"}) answer[key] = closing[key];
    } else if (fiscal == Fiscal::ShiftOpen) {
        matches = matches && kind == std::string(1, wire::document::kShiftOpening);
    } else {
        matches = matches && kind == std::string(1, wire::document::kZReport);
        answer["report"] = document["shift"];
        answer["type"] = "Z";
    }
    if (!matches) return undecided("another document", {{"document", summary(document)}});
    return committedFinding(answer, document);
}

// A cash document past the witness: the request's, if it books the amount.
Finding cashDocument(RegisterHandle& d, const Request& r, bool in, int number) {
    const json document = readJournalDocument(d, number, false);
    const double amount = r.body.value("amount", -1.0);
    double booked = 0;
    const char kind = in ? wire::document::kCashIn : wire::document::kCashOut;
    if (document["kind"] != std::string(1, kind) ||
        !labelledAmount(document, wire::document::kCashSumLabel, booked) ||
        !sameAmount(booked, amount))
        return undecided("another document", {{"document", summary(document)}});
    const CashTotals now = cashTotals(d);
    return committedFinding({{"amount", money(amount)},
                             {"cash", money(now.cash)},
                             {"cash_in", money(now.in)},
                             {"cash_out", money(now.out)},
                             {"document", number}},
                            document);
}

}  // namespace

json readWitness(RegisterHandle& d, Fiscal fiscal) {
    if (fiscal == Fiscal::No) return d.identity.toJson();
    const DriveState drive = currentDrive(d);
    json witness = d.identity.toJson();
    witness["fiscal_document"] = drive.lastDocument;
    if (fiscal == Fiscal::CashIn || fiscal == Fiscal::CashOut)
        witness["document"] = lastDocument(d);
    if (fiscal == Fiscal::CashIn || fiscal == Fiscal::CashOut || fiscal == Fiscal::ByName) {
        const CashTotals cash = cashTotals(d);
        witness["cash_in"] = cash.in;
        witness["cash_out"] = cash.out;
    }
    return witness;
}

Finding examine(RegisterHandle& d, const Request& r) {
    const Fiscal fiscal = fiscalOf(r.kind);
    const json& w = r.witness;
    // Which register this is: read before anything else, and nothing is
    // touched on another one. (A witness written by an older server holds no
    // identity: only its counters are compared.)
    const DriveState drive = currentDrive(d);
    const Identity expected = Identity::of(w);
    if (expected.known() && expected != d.identity) {
        Finding f = undecided("another register",
                              {{"expected", expected.toJson()}, {"found", d.identity.toJson()}});
        f.replaced = true;
        return f;
    }
    if (fiscal == Fiscal::No) {
        freeRegister(d);
        Finding f;
        f.verdict = Finding::NoReply;
        f.answer = noReply();
        f.detail = {{"outcome", stateName(State::NoReply)}};
        return f;
    }
    if (!w.is_object() || !w.contains("fiscal_document")) return undecided("no witness");
    const int before = w["fiscal_document"].get<int>();
    switch (fiscal) {
        case Fiscal::Receipt:
        case Fiscal::ShiftOpen:
        case Fiscal::ZReport:
            if (drive.lastDocument <= before) {
                freeRegister(d);
                return notCommittedFinding();
            }
            return fiscalDocument(d, r, fiscal, before + 1);
        case Fiscal::CashIn:
        case Fiscal::CashOut: {
            if (!w.contains("document")) return undecided("no witness");
            const int last = w["document"].get<int>();
            if (lastDocument(d) <= last) return notCommittedFinding();
            return cashDocument(d, r, fiscal == Fiscal::CashIn, last + 1);
        }
        default: {
            // An operation by name: whether anything moved, but not what.
            const CashTotals cash = cashTotals(d);
            const bool moved = drive.lastDocument != before ||
                               !sameAmount(cash.in, w.value("cash_in", 0.0)) ||
                               !sameAmount(cash.out, w.value("cash_out", 0.0));
            if (!moved) {
                freeRegister(d);
                return notCommittedFinding();
            }
            return undecided("an operation by name: what it left cannot be told apart",
                             {{"fiscal_document", drive.lastDocument},
                              {"cash_in", cash.in},
                              {"cash_out", cash.out}});
        }
    }
}

// --- Settlement --------------------------------------------------------------------

Settlement::Settlement(Shared& shared, const std::string& device)
    : shared_(shared), device_(device), due_(Clock::now()), backoff_(kShortestBackoff) {}

void Settlement::mark() {
    std::lock_guard<std::mutex> lock(mutex_);
    pending_ = true;
    due_ = Clock::now();
    backoff_ = kShortestBackoff;
}

void Settlement::abandon(const std::string& key) {
    std::lock_guard<std::mutex> lock(mutex_);
    abandoned_.insert(key);
    pending_ = true;
}

Clock::time_point Settlement::due() {
    std::lock_guard<std::mutex> lock(mutex_);
    return due_;
}

bool Settlement::held() {
    std::lock_guard<std::mutex> lock(mutex_);
    return pending_;
}

bool Settlement::replaced() {
    std::lock_guard<std::mutex> lock(mutex_);
    return hold_ == Hold::Replaced;
}

json Settlement::describe() {
    static const char* const kNames[] = {"open", "settling", "replaced", "needs-a-person",
                                         "journal-unavailable"};
    std::lock_guard<std::mutex> lock(mutex_);
    // Not looked at yet, or nothing found in flight: open.
    const Hold shown =
        hold_ == Hold::None && pending_ && !unsettled_.empty() ? Hold::Settling : hold_;
    json out = {{"state", kNames[static_cast<int>(shown)]}, {"unsettled", unsettled_}};
    if (hold_ == Hold::Replaced) {
        out["expected"] = expected_;
        out["found"] = found_;
    }
    return out;
}

void Settlement::hold(Hold reason, Clock::time_point now) {
    std::lock_guard<std::mutex> lock(mutex_);
    hold_ = reason;
    due_ = now + backoff_;
    backoff_ = std::min(backoff_ * 2, kLongestBackoff);
}

bool Settlement::apply(const Request& r, State from, const Finding& f) {
    const std::string outcome = f.detail.value("outcome", "");
    switch (f.verdict) {
        case Finding::Committed:
        case Finding::NotCommitted:
        case Finding::NoReply: {
            const Event event = f.verdict == Finding::Committed      ? Event::SettleCommitted
                                : f.verdict == Finding::NotCommitted ? Event::SettleNotCommitted
                                                                     : Event::SettleNoReply;
            if (!shared_.move(device_, r.key, from, event, f.detail, f.answer)) return false;
            shared_.metrics.settled(device_, outcome);
            logInfo("request settled", {{"device", device_}, {"key", r.key}, {"outcome", outcome}});
            {
                std::lock_guard<std::mutex> lock(mutex_);
                lastFound_.erase(r.key);
            }
            return true;
        }
        case Finding::Undecided:
            break;
    }
    // Left for later, or for a person: written once for each thing found.
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto last = lastFound_.find(r.key);
        if (last != lastFound_.end() && last->second == f.detail && from == State::Ambiguous)
            return false;
        lastFound_[r.key] = f.detail;
    }
    if (from == State::Sent)
        shared_.move(device_, r.key, from, Event::BecomeAmbiguous, f.detail,
                     pending(r.key, "settlement"));
    else
        shared_.step(device_, r.key, "unsettled", f.detail);
    logWarn("request left unsettled", {{"device", device_}, {"key", r.key}, {"found", f.detail}});
    return false;
}

bool Settlement::pass(RegisterHandle& d) {
    std::set<std::string> abandoned;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!pending_) return true;
        if (Clock::now() < due_) return false;
        abandoned.swap(abandoned_);
    }
    const auto now = Clock::now();
    Hold reason = Hold::None;
    std::vector<std::string> unsettled;
    json expected, found;
    try {
        for (const Request& r : shared_.journal.unsettled(device_)) {
            if (r.state == State::Received) {
                // Nothing was sent: only a run that has ended is settled here;
                // one that waits in the queue runs.
                if (abandoned.count(r.key) == 0) continue;
                shared_.move(device_, r.key, State::Received, Event::Abandon,
                             {{"outcome", stateName(State::NotCommitted)}},
                             notCommitted(503,
                                          "nothing was sent: the request's run ended (the "
                                          "server stopped, or its journal failed) before it "
                                          "reached the register"));
                abandoned.erase(r.key);
                shared_.metrics.settled(device_, stateName(State::NotCommitted));
                continue;
            }
            if (!d.isOpen()) {
                // Only the register can tell; it will when its link is back.
                unsettled.push_back(r.key);
                if (reason == Hold::None) reason = Hold::Settling;
                continue;
            }
            try {
                const auto full = shared_.journal.get(r.key);
                if (!full || !inFlight(full->state)) continue;
                const Finding f = examine(d, *full);
                if (apply(*full, full->state, f)) continue;
                unsettled.push_back(r.key);
                if (f.replaced) {
                    reason = Hold::Replaced;
                    expected = f.detail["expected"];
                    found = f.detail["found"];
                } else if (f.verdict == Finding::Undecided && reason != Hold::Replaced) {
                    reason = Hold::NeedsAPerson;
                } else if (reason == Hold::None) {
                    reason = Hold::Settling;
                }
            } catch (const Refused& refused) {
                // The register would not tell: the request stays as it is.
                logWarn("cannot settle: " + refused.operation + ": " + refused.text,
                        {{"device", device_}, {"key", r.key}});
                unsettled.push_back(r.key);
                if (reason == Hold::None) reason = Hold::Settling;
            }
        }
    } catch (const JournalError& e) {
        logError(e.what(), {{"device", device_}});
        reason = Hold::Journal;
        for (const std::string& key : abandoned) abandon(key);
    } catch (const LinkLost&) {
        for (const std::string& key : abandoned) abandon(key);
        hold(Hold::Settling, now);
        throw;
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        unsettled_ = unsettled;
        expected_ = expected;
        found_ = found;
        if (reason == Hold::None) {
            pending_ = !abandoned_.empty();
            hold_ = Hold::None;
            backoff_ = kShortestBackoff;
            return !pending_;
        }
    }
    hold(reason == Hold::None ? Hold::Settling : reason, now);
    return false;
}

}  // namespace server
