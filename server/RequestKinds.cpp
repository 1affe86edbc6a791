#include "RequestKinds.h"

#include <regex>

#include "OperationsByName.h"

namespace server {

namespace {

const char kOperationKind[] = "operation:";
const size_t kLongestKey = 200;  // characters of an Idempotency-Key
// Longer than any route of a register whose id is a configuration's; the
// routes' expressions are never run on more.
const size_t kLongestPath = 512;

Task receipt(const json& body, const std::vector<std::string>&, const DeviceConfig& device) {
    const ReceiptOrder order = readReceipt(body, device.paymentModes);
    return [order](Run& run) { return runReceipt(run, order); };
}

Task correction(const json& body, const std::vector<std::string>&, const DeviceConfig& device) {
    const CorrectionOrder order = readCorrection(body, device.paymentModes);
    return [order](Run& run) { return runCorrection(run, order); };
}

Task duplicate(const json& body, const std::vector<std::string>&, const DeviceConfig&) {
    readNothing(body);
    return [](Run& run) { return runDuplicate(run); };
}

Task shiftOpen(const json& body, const std::vector<std::string>&, const DeviceConfig&) {
    const receipt::Cashier cashier = readShiftCashier(body);
    return [cashier](Run& run) { return runShiftOpen(run, cashier); };
}

template <char type>
Task report(const json& body, const std::vector<std::string>&, const DeviceConfig&) {
    readNothing(body);
    return [](Run& run) { return runReport(run, type); };
}

template <bool in>
Task cash(const json& body, const std::vector<std::string>&, const DeviceConfig&) {
    const double amount = readCashAmount(body);
    return [amount](Run& run) { return runCash(run, in, amount); };
}

Task text(const json& body, const std::vector<std::string>&, const DeviceConfig&) {
    const auto lines = readTextLines(body);
    return [lines](Run& run) { return runText(run, lines); };
}

Task drawer(const json& body, const std::vector<std::string>&, const DeviceConfig&) {
    readNothing(body);
    return [](Run& run) { return runDrawer(run); };
}

Task clock(const json& body, const std::vector<std::string>&, const DeviceConfig&) {
    const std::string datetime = readDateTime(body);
    return [datetime](Run& run) { return runSetClock(run, datetime); };
}

// The code of /articles/{code}: its pattern lets through six digits.
int articleCode(const std::vector<std::string>& parameters) {
    const int code = std::stoi(parameters.at(0));
    if (code < 1) throw BadInput{"code", "a whole number from 1 to 999999"};
    return code;
}

Task putArticle(const json& body, const std::vector<std::string>& parameters, const DeviceConfig&) {
    const int code = articleCode(parameters);
    const ArticleOrder article = readArticle(body);
    return [code, article](Run& run) { return runPutArticle(run, code, article); };
}

Task deleteArticle(const json& body, const std::vector<std::string>& parameters,
                   const DeviceConfig&) {
    const int code = articleCode(parameters);
    readNothing(body);
    return [code](Run& run) { return runDeleteArticle(run, code); };
}

Task operation(const json& body, const std::vector<std::string>& parameters, const DeviceConfig&) {
    return prepareCall(parameters.at(0), body);
}

}  // namespace

const std::vector<RequestKind>& requestKinds() {
    static const std::vector<RequestKind> kinds = {
        {"POST", "/receipts", "/receipts", "receipt", Fiscal::Receipt, receipt},
        {"POST", "/corrections", "/corrections", kCorrectionKind, Fiscal::Receipt, correction},
        {"POST", "/duplicate", "/duplicate", "duplicate", Fiscal::No, duplicate},
        {"POST", "/shift/open", "/shift/open", "shift-open", Fiscal::ShiftOpen, shiftOpen},
        {"POST", "/x-report", "/x-report", "x-report", Fiscal::No, report<'X'>},
        {"POST", "/z-report", "/z-report", "z-report", Fiscal::ZReport, report<'Z'>},
        {"POST", "/cash-in", "/cash-in", "cash-in", Fiscal::CashIn, cash<true>},
        {"POST", "/cash-out", "/cash-out", "cash-out", Fiscal::CashOut, cash<false>},
        {"POST", "/text", "/text", "text", Fiscal::No, text},
        {"POST", "/drawer", "/drawer", "drawer", Fiscal::No, drawer},
        {"PUT", "/clock", "/clock", "clock", Fiscal::No, clock},
        {"PUT", "/articles/{code}", "/articles/([0-9]{1,6})", "article-put", Fiscal::No,
         putArticle},
        {"DELETE", "/articles/{code}", "/articles/([0-9]{1,6})", "article-delete", Fiscal::No,
         deleteArticle},
        {"POST", "/operations/{name}", "/operations/([A-Za-z0-9_]{1,64})", kOperationKind,
         Fiscal::ByName, operation},
    };
    return kinds;
}

std::string routePattern(const RequestKind& kind) {
    return std::string("/devices/([^/]+)") + kind.pattern;
}

std::string journalKind(const RequestKind& kind, const std::vector<std::string>& parameters) {
    if (kind.fiscal == Fiscal::ByName) return kind.kind + parameters.at(0);
    return kind.kind;
}

Fiscal fiscalOf(const std::string& journalKind) {
    if (journalKind.rfind(kOperationKind, 0) == 0) {
        const verda_operation* op =
            verda_find_operation(journalKind.substr(sizeof kOperationKind - 1).c_str());
        return op != nullptr && op->may_fiscalise != 0 ? Fiscal::ByName : Fiscal::No;
    }
    for (const RequestKind& kind : requestKinds())
        if (journalKind == kind.kind) return kind.fiscal;
    return Fiscal::No;
}

}  // namespace server

namespace server {

Order readOrder(const std::string& method, const std::string& path, const httplib::Headers& headers,
                const std::string& body, const DeviceOf& deviceOf) {
    // The routes as the HTTP server matches them.
    static const std::vector<std::regex> routes = [] {
        std::vector<std::regex> out;
        for (const RequestKind& kind : requestKinds()) out.emplace_back(routePattern(kind));
        return out;
    }();
    Order order;
    std::smatch match;
    if (path.size() <= kLongestPath)
        for (size_t i = 0; i < routes.size() && order.kind == nullptr; ++i)
            if (method == requestKinds()[i].method && std::regex_match(path, match, routes[i]))
                order.kind = &requestKinds()[i];
    if (order.kind == nullptr) throw BadInput{"route", "no request that changes a register"};
    order.device = match[1];
    for (size_t i = 2; i < match.size(); ++i) order.parameters.push_back(match[i]);

    const auto key = headers.find("Idempotency-Key");
    if (key == headers.end())
        throw BadInput{"Idempotency-Key",
                       "a request that changes the register needs an Idempotency-Key"};
    std::string why;
    if (key->second.empty() || !printable(key->second, why, kLongestKey))
        throw BadInput{"Idempotency-Key", "1 to 200 printable characters"};
    order.key = key->second;
    if (!body.empty()) {
        order.body = json::parse(body, nullptr, false);
        if (order.body.is_discarded()) throw BadInput{"body", "the body is not valid JSON"};
    }
    order.task = order.kind->prepare(order.body, order.parameters, deviceOf(order.device));
    return order;
}

}  // namespace server
