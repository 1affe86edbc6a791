#include "Procedures.h"

#include <cmath>

#include "Lifecycle.h"
#include "common/Codes.h"
#include "wire/Documents.h"

namespace server {

namespace {

const int kNoArticle = 111004;  // the register's "no such article", which ends a walk

char taxCode(int tax) {
    return static_cast<char>('0' + tax);
}

const Operator& op(RegisterHandle& device) {
    return device.config().op;
}

}  // namespace

double money(double value) {
    return std::round(value * 100) / 100;
}

json committed(json answer) {
    answer["state"] = stateName(State::Committed);
    return answer;
}

// An amount of 0 only asks.
CashTotals cashTotals(RegisterHandle& d) {
    CashTotals t;
    VERDA_CALL(d, ParishOrConsumption, '0', 0.0, &t.cash, &t.in, &t.out);
    return t;
}

// Refusals are ignored: there may be nothing to close.
void freeRegister(RegisterHandle& d) {
    char open = 0;
    int number = 0, items = 0;
    double amount = 0, paid = 0;
    VERDA_CALL(d, FiscalTransactionsStatus, &open, &number, &items, &amount, &paid);
    int slip = 0;
    try {
        if (open == '1') VERDA_CALL(d, CancelFiscalInv, &slip);
        if (open == '2') VERDA_CALL(d, CloseServiceInv, &slip);
    } catch (const Refused&) {
    }
}

namespace {

// A document of the electronic journal: its number, shift, time, kind and lines.
json journalDocument(RegisterHandle& d, int number, bool byFiscalNumber) {
    int document = 0, shift = 0, lines = 0;
    char time[64] = "", kind = 0;
    VERDA_CALL(d, GetInfoFromEJ0, number, byFiscalNumber ? '1' : '0', &document, &shift, time,
               sizeof time, &kind, &lines);
    json out = {{"number", document},
                {"shift", shift},
                {"time", time},
                {"kind", std::string(1, kind)},
                {"lines", json::array()}};
    for (int i = 0; i < lines; ++i) {
        char line[512] = "";
        VERDA_CALL(d, GetInfoFromEJ1, line, sizeof line);
        out["lines"].push_back(line);
    }
    return out;
}

// The fiscal sign printed at the foot of a fiscal document: the mark and digits.
std::string signOf(const json& document) {
    static const std::string kMark = wire::document::kSignMark;
    for (const auto& line : document["lines"]) {
        const std::string text = line.get<std::string>();
        const size_t at = text.rfind(kMark);
        if (at == std::string::npos) continue;
        const size_t from = at + kMark.size();
        const size_t to = text.find_first_not_of("0123456789", from);
        return text.substr(from, to == std::string::npos ? std::string::npos : to - from);
    }
    return "";
}

json reportAnswer(char type, int number, int document, int sign, const double (&sums)[24]) {
    json answer = {{"report", number}, {"document", document == 0 ? json() : json(document)}};
    if (document != 0) answer["sign"] = std::to_string(sign);
    const char* const names[] = {"sales", "returns", "purchases", "purchase_returns"};
    for (int k = 0; k < 4; ++k) {
        answer[names[k]] = json::array();
        for (int g = 0; g < 6; ++g) answer[names[k]].push_back(money(sums[k * 6 + g]));
    }
    answer["type"] = std::string(1, type);
    return committed(answer);
}

// The receipt flow's steps in the request's lifecycle: the witness before
// the first command that changes the register, the step "closing" before the
// one that may fiscalise it, and every result counted by the handle.
class ReceiptSteps : public receipt::Observer {
  public:
    explicit ReceiptSteps(Run& run) : run_(run) {}
    void sending() override { run_.send(); }
    void closing(const receipt::Progress& p) override {
        run_.step("closing",
                  {{"receipt", p.slip}, {"total", money(p.total)}, {"change", money(p.change)}});
        run_.fiscal = true;
    }
    void called(const char* /*operation*/, int result) override { run_.device.count(result); }

  private:
    Run& run_;
};

// The register's operator for a cashier as the client gave it.
receipt::Cashier operatorFor(RegisterHandle& d, receipt::Cashier cashier) {
    const Operator& o = op(d);
    cashier.number = o.code;
    cashier.password = o.password;
    cashier.till = o.till;
    if (cashier.name.empty()) cashier.name = o.name;
    return cashier;
}

// The answer of a closed receipt, or what its failure throws: LinkLost for a
// lost link (which closes it), LineRefused naming the refused part, Refused
// for the rest.
json answerOf(RegisterHandle& d, const receipt::Outcome& outcome) {
    const receipt::Progress& p = outcome.progress;
    if (outcome.closed)
        return committed({{"receipt", outcome.receipt.slip},
                          {"document", outcome.receipt.fiscalDocument},
                          {"sign", outcome.receipt.sign},
                          {"shift", outcome.receipt.shift},
                          {"total", money(p.total)},
                          {"change", money(p.change)}});
    const receipt::Failure& f = outcome.failure;
    if (f.linkLost()) {  // counted already
        d.close();
        throw LinkLost{f.operation};
    }
    if (f.unpaid) {
        json due = money(p.due);
        throw LineRefused{Refused{422, "the payments fall short by " + due.dump(), f.operation}, -1,
                          "payments"};
    }
    const Refused refused{f.code, verda_error_text(f.code), f.operation};
    const std::string index = "[" + std::to_string(f.index) + "]";
    switch (f.stage) {
        case receipt::Stage::Line:
            throw LineRefused{refused, f.index, "lines" + index};
        case receipt::Stage::Text:
            throw LineRefused{refused, -1, "text" + index};
        case receipt::Stage::Payment:
            throw LineRefused{refused, -1, "payments" + index};
        default:
            throw refused;
    }
}

// An order of the receipt flow (a receipt or a correction) run by flow, for
// the register's operator.
template <class Order>
json runFlow(Run& run, Order order,
             receipt::Outcome (*flow)(verda_device*, const Order&, receipt::Observer&)) {
    RegisterHandle& d = run.device;
    order.cashier = operatorFor(d, order.cashier);
    ReceiptSteps steps(run);
    return answerOf(d, flow(d.handle(), order, steps));
}

}  // namespace

json runReceipt(Run& run, const ReceiptOrder& order) {
    return runFlow(run, order, receipt::sell);
}

json runCorrection(Run& run, const CorrectionOrder& correction) {
    return runFlow(run, correction, receipt::correct);
}

json runDuplicate(Run& run) {
    run.send();
    VERDA_CALL0(run.device, PrintDublicateReceipt);
    return committed(json::object());
}

json runShiftOpen(Run& run, const receipt::Cashier& cashier) {
    RegisterHandle& d = run.device;
    run.send();
    const receipt::Cashier c = operatorFor(d, cashier);
    int document = 0, sign = 0, shift = 0;
    run.fiscal = true;
    VERDA_CALL(d, OpenShift, c.number, c.password.c_str(), c.till, "", "", c.name.c_str(),
               c.inn.c_str(), &document, &sign, &shift);
    return committed({{"document", document}, {"sign", std::to_string(sign)}, {"shift", shift}});
}

json runReport(Run& run, char type) {
    RegisterHandle& d = run.device;
    run.send();
    run.fiscal = type == 'Z';
    int number = 0, document = 0, sign = 0;
    double s[24] = {0};
    VERDA_CALL(d, PrintReport, type, &number, &document, &sign, &s[0], &s[1], &s[2], &s[3], &s[4],
               &s[5], &s[6], &s[7], &s[8], &s[9], &s[10], &s[11], &s[12], &s[13], &s[14], &s[15],
               &s[16], &s[17], &s[18], &s[19], &s[20], &s[21], &s[22], &s[23]);
    return reportAnswer(type, number, document, sign, s);
}

json runCash(Run& run, bool in, double amount) {
    RegisterHandle& d = run.device;
    run.send();
    run.fiscal = true;
    CashTotals after;
    VERDA_CALL(d, ParishOrConsumption, in ? '0' : '1', amount, &after.cash, &after.in, &after.out);
    return committed({{"amount", money(amount)},
                      {"cash", money(after.cash)},
                      {"cash_in", money(after.in)},
                      {"cash_out", money(after.out)}});
}

json runText(Run& run, const std::vector<std::string>& lines) {
    RegisterHandle& d = run.device;
    run.send();
    int slip = 0;
    VERDA_CALL(d, OpenServiceInv, '0', &slip);
    try {
        for (const std::string& line : lines)
            VERDA_CALL(d, PrintFreeTextInServiceInv, line.c_str(), '0', '0', '0', '0', '0', '0');
    } catch (const Refused&) {
        freeRegister(d);
        throw;
    }
    VERDA_CALL(d, CloseServiceInv, &slip);
    return committed({{"document", slip}});
}

json runDrawer(Run& run) {
    run.send();
    VERDA_CALL(run.device, OpenCashDrawer, 0);
    return committed(json::object());
}

json runSetClock(Run& run, const std::string& datetime) {
    run.send();
    VERDA_CALL(run.device, SetDateTime, datetime.c_str());
    return committed({{"datetime", datetime}});
}

json runPutArticle(Run& run, int code, const ArticleOrder& a) {
    run.send();
    VERDA_CALL(run.device, PrgAndReadArticleP, code, taxCode(a.tax), a.department, a.group, '0',
               a.price, '0', a.quantity, a.barcode.c_str(), "", "", "", a.name.c_str(), "", "", "",
               "", 0, 0);
    return committed({{"code", code}});
}

json runDeleteArticle(Run& run, int code) {
    run.send();
    VERDA_CALL(run.device, PrgAndReadArticleD, code, code);
    return committed({{"code", code}});
}

json readClock(RegisterHandle& d) {
    char datetime[64] = "";
    VERDA_CALL(d, GetDateTime, datetime, sizeof datetime);
    return {{"datetime", datetime}};
}

json readJournalDocument(RegisterHandle& d, int number, bool byFiscalNumber) {
    json document = journalDocument(d, number, byFiscalNumber);
    const std::string sign = signOf(document);
    if (!sign.empty()) document["sign"] = sign;
    return document;
}

// The walk of the database: the first record, then each next one, until the
// register says there is none (or the codes stop rising).
json readArticles(RegisterHandle& d) {
    json out = json::array();
    int previous = 0;
    for (bool first = true;; first = false) {
        int code = 0, department = 0, group = 0;
        char tax = 0, priceType = 0;
        double price = 0, stock = 0, sold = 0, turnover = 0;
        char bars[4][32] = {"", "", "", ""}, name[160] = "";
        const int result =
            first ? verda_PrgAndReadArticleF(
                        d.handle(), &code, &tax, &department, &group, &priceType, &price, &stock,
                        &sold, &turnover, bars[0], sizeof bars[0], bars[1], sizeof bars[1], bars[2],
                        sizeof bars[2], bars[3], sizeof bars[3], name, sizeof name)
                  : verda_PrgAndReadArticleN(
                        d.handle(), &code, &tax, &department, &group, &priceType, &price, &stock,
                        &sold, &turnover, bars[0], sizeof bars[0], bars[1], sizeof bars[1], bars[2],
                        sizeof bars[2], bars[3], sizeof bars[3], name, sizeof name);
        if (result == kNoArticle) break;
        d.check(first ? "PrgAndReadArticleF" : "PrgAndReadArticleN", result);
        if (code <= previous) break;
        previous = code;
        json article = {{"code", code},
                        {"name", name},
                        {"price", money(price)},
                        {"tax", tax - '0'},
                        {"department", department},
                        {"group", group},
                        {"stock", stock},
                        {"sold", sold},
                        {"turnover", money(turnover)}};
        if (bars[0][0] != 0) article["barcode"] = bars[0];
        out.push_back(article);
    }
    return out;
}

}  // namespace server
