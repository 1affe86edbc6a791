#include "support/Golden.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "support/Sim.h"

namespace golden {

namespace {

// Outputs in the order of the call's arguments, each after a space.
template <typename... Outputs>
std::string values(const Outputs&... outputs) {
    std::ostringstream out;
    out.precision(12);
    (void)std::initializer_list<int>{(out << ' ' << outputs, 0)...};
    return out.str();
}

// A call's result ("true", or "false" and the result code) and its outputs.
template <typename... Outputs>
std::string said(bool ok, const Outputs&... outputs) {
    return (ok ? "true" : "false " + std::to_string(g_ResultCode)) + values(outputs...);
}

std::string receipt() {
    int slip = -1, doc = -1, shift = -1;
    return said(VERDA::OpenFiscalInv(1, "1", 1, 0, "", "", "", "", slip, doc, shift), slip, doc,
                shift);
}

std::string sale(const std::string& name, char tax, double price, double quantity,
                 char discountType = '0', double discount = 0) {
    int slip = -1;
    return said(VERDA::RegisterSale(cp1251(name), tax, price, quantity, 0, 1, discountType,
                                    discount, 0, 0, 0, 0, slip),
                slip);
}

std::string pay(char mode, double amount, char change) {
    char status = '?';
    double rest = -1;
    int slip = -1;
    return said(VERDA::Total(mode, amount, change, status, rest, slip), status, rest, slip);
}

std::string close() {
    int slip = -1, fd = -1, doc = -1, shift = -1;
    std::string sign = "?";
    return said(VERDA::CloseFiscalInv(slip, fd, sign, doc, shift), slip, fd, sign, doc, shift);
}

std::string cash(char type, double amount) {
    double sum = -1, in = -1, out = -1;
    return said(VERDA::ParishOrConsumption(type, amount, sum, in, out), sum, in, out);
}

std::string report(char type) {
    int n[3] = {-1, -1, -1};
    double s[24];
    std::fill(s, s + 24, -1);
    const bool ok = VERDA::PrintReport(
        type, n[0], n[1], n[2], s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8], s[9], s[10],
        s[11], s[12], s[13], s[14], s[15], s[16], s[17], s[18], s[19], s[20], s[21], s[22], s[23]);
    std::string sums;
    for (double sum : s) sums += values(sum);
    return said(ok, n[0], n[1], n[2]) + sums;
}

// Counts and amounts of the daily reports and an operator's, in turn.
using Figures = std::function<bool(int*, double*)>;
std::string figures(const Figures& call) {
    int n[7] = {-1, -1, -1, -1, -1, -1, -1};
    double a[7] = {-1, -1, -1, -1, -1, -1, -1};
    const bool ok = call(n, a);
    std::string pairs;
    for (int i = 0; i < 7; ++i) pairs += values(n[i], a[i]);
    return said(ok) + pairs;
}

}  // namespace

std::vector<Call> shift() {
    using namespace VERDA;
    return {
        {"PrinterInit", [] { return said(PrinterInit()); }},
        {"OpenShift",
         [] {
             int fd = -1, sign = -1, shift = -1;
             return said(OpenShift(1, "1", 1, "", "", cp1251("Иванова"), "", fd, sign, shift), fd,
                         sign, shift);
         }},
        {"ParishOrConsumption", [] { return cash('0', 1000); }},
        // Two lines, 10 % off the first, 1.90 off the receipt; 50.00 by card
        // and the rest in cash, with change.
        {"OpenFiscalInv", receipt},
        {"RegisterSale", [] { return sale("Молоко", 'A', 45.50, 2, '1', 10); }},
        {"RegisterSale", [] { return sale("Хлеб", 'B', 30.00, 1); }},
        {"Subtotal",
         [] {
             int slip = -1;
             double sum = -1, t[6] = {-1, -1, -1, -1, -1, -1};
             return said(
                 Subtotal('1', '0', '2', 1.90, slip, sum, t[0], t[1], t[2], t[3], t[4], t[5]), slip,
                 sum, t[0], t[1], t[2], t[3], t[4], t[5]);
         }},
        {"Total", [] { return pay(1, 50.00, ' '); }},
        {"Total", [] { return pay(0, 100.00, '1'); }},
        {"CloseFiscalInv", close},
        // A line the register refuses, and its reason; 20.00 off the next
        // line; paid by card and in cash exactly.
        {"OpenFiscalInv", receipt},
        {"RegisterSale", [] { return sale("Сыр", 'Z', 120.00, 1); }},
        {"ReadingError",
         [] {
             int code = -1;
             std::string text;
             return said(ReadingError(g_ResultCode, code, text), code, text);
         }},
        {"RegisterSale", [] { return sale("Сыр", 'A', 120.00, 1, '2', 20); }},
        {"Total", [] { return pay(1, 40.00, ' '); }},
        {"Total", [] { return pay(0, 60.00, '0'); }},
        {"CloseFiscalInv", close},
        // A receipt cancelled, cash out, the reports.
        {"OpenFiscalInv", receipt},
        {"RegisterSale", [] { return sale("Чай", 'A', 10.00, 3); }},
        {"CancelFiscalInv",
         [] {
             int slip = -1;
             return said(CancelFiscalInv(slip), slip);
         }},
        {"ParishOrConsumption", [] { return cash('1', 100); }},
        {"PrintReport", [] { return report('X'); }},
        {"DailyReportByTypesOfPayment0",
         [] {
             return figures([](int*, double* a) {
                 return DailyReportByTypesOfPayment0(a[0], a[1], a[2], a[3], a[4], a[5], a[6]);
             });
         }},
        {"DailyReportByTypesOfPayment3",
         [] {
             return figures([](int* n, double* a) {
                 return DailyReportByTypesOfPayment3(n[0], a[0], n[1], a[1], n[2], a[2], n[3],
                                                     a[3]);
             });
         }},
        {"DailyReportByTypesOfPayment4",
         [] {
             return figures([](int* n, double* a) {
                 return DailyReportByTypesOfPayment4(n[0], a[0], n[1], a[1]);
             });
         }},
        {"DailyReportByTypesOfPayment5",
         [] {
             return figures([](int* n, double* a) {
                 return DailyReportByTypesOfPayment5(n[0], a[0], n[1], a[1], n[2], a[2], n[3],
                                                     a[3]);
             });
         }},
        {"ReportByOperators",
         [] {
             return figures([](int* n, double* a) {
                 return ReportByOperators(1, n[0], a[0], n[1], a[1], n[2], a[2], n[3], a[3], n[4],
                                          a[4], n[5], a[5], n[6], a[6]);
             });
         }},
        {"PrintReport", [] { return report('Z'); }},
        {"PrintReport", [] { return report('Z'); }},  // refused: the shift is closed
        {"GetStatusShift",
         [] {
             bool open = true, over = true;
             int minutes = -1;
             return said(GetStatusShift(open, over, minutes), open, over, minutes);
         }},
    };
}

sim::Options registerOptions() {
    sim::Options options;
    std::string error;
    sim::parseOptions({"--tcp", "0", "--paper", "/dev/null"}, options, error);
    return options;
}

namespace {

const std::string kHex = "0123456789abcdef";

std::string hex(const std::string& bytes) {
    std::string out;
    for (unsigned char c : bytes) out += {kHex[c >> 4], kHex[c & 15]};
    return out;
}

// Hex digits to bytes; false for anything else.
bool unhex(const std::string& text, std::string& bytes) {
    bytes.clear();
    for (size_t i = 0; i + 1 < text.size(); i += 2) {
        const size_t high = kHex.find(text[i]), low = kHex.find(text[i + 1]);
        if (high == std::string::npos || low == std::string::npos) return false;
        bytes += static_cast<char>(high * 16 + low);
    }
    return text.size() % 2 == 0;
}

// Text with every byte outside printable ASCII, and the backslash, as \xNN.
std::string escape(const std::string& text) {
    std::string out;
    for (unsigned char c : text)
        out += c >= 0x20 && c < 0x7F && c != '\\' ? std::string(1, c) : "\\x" + hex({char(c)});
    return out;
}

std::string unescape(const std::string& text) {
    std::string out, byte;
    for (size_t i = 0; i < text.size(); ++i) {
        const bool escaped = text.compare(i, 2, "\\x") == 0 && unhex(text.substr(i + 2, 2), byte);
        out += escaped ? byte : std::string(1, text[i]);
        if (escaped) i += 3;
    }
    return out;
}

}  // namespace

// The file, line by line: "# " a comment; "= OPERATION -> OUTPUTS" a call and
// what it handed back; "REQUEST REPLY # ..." one of its exchanges, the bytes
// in hex; "log LINE" a line it added to the log, without the stamp.
std::vector<Step> read(const std::string& path, std::string& error) {
    std::ifstream in(path.c_str(), std::ios::binary);
    if (!in) error = "cannot read " + path;
    std::vector<Step> steps;
    std::string line, request, reply, sharp, requestBytes, replyBytes;
    for (int number = 1; error.empty() && std::getline(in, line); ++number) {
        std::istringstream words(line);
        const size_t arrow = line.find(" -> ");
        if (line.empty() || line[0] == '#') continue;
        if (line.compare(0, 2, "= ") == 0 && arrow != std::string::npos)
            steps.push_back(
                Step{line.substr(2, arrow - 2), unescape(line.substr(arrow + 4)), {}, {}});
        else if (steps.empty())
            error = "a line before the first call";
        else if (line.compare(0, 4, "log ") == 0)
            steps.back().log.push_back(unescape(line.substr(4)));
        else if ((words >> request >> reply >> sharp) && sharp == "#" &&
                 unhex(request, requestBytes) && unhex(reply, replyBytes))
            steps.back().exchanges.emplace_back(requestBytes, replyBytes);
        else
            error = "not \"REQUEST REPLY # OPERATION\"";
        if (!error.empty()) error = path + ":" + std::to_string(number) + ": " + error;
    }
    return error.empty() ? steps : std::vector<Step>();
}

bool write(const std::string& path, const std::vector<Step>& steps) {
    std::ofstream out(path.c_str(), std::ios::binary);
    out << "# A whole shift on verda-sim through the library's exported functions: the\n"
           "# shift opened by a named cashier, cash in, two receipts with discounts paid by\n"
           "# card and in cash, a sale refused and its reason, a receipt cancelled, cash\n"
           "# out, the X report and the day's figures, the Z report, a second one refused.\n"
           "# Recorded by scripts/record-golden.sh, replayed by tests/golden_test.cpp.\n"
           "#\n"
           "# \"= OPERATION -> RESULT OUTPUTS...\" is a call and what it handed back, in the\n"
           "# order of its arguments; then a line per exchange, the request's and the\n"
           "# reply's bytes in hex; then the lines the call added to the library's log.\n"
           "# Bytes outside printable ASCII stand as \\xNN.\n";
    for (const Step& step : steps) {
        out << "\n= " << step.operation << " -> " << escape(step.outputs) << "\n";
        for (const auto& exchange : step.exchanges) {
            const std::string& request = exchange.first;  // the command's low byte at 8 and 9
            const char command =
                static_cast<char>((request.at(8) & 15) << 4 | (request.at(9) & 15));
            out << hex(request) << " " << hex(exchange.second) << " # " << step.operation
                << ", command 0x" << hex(std::string(1, command)) << "\n";
        }
        for (const std::string& line : step.log) out << "log " << escape(line) << "\n";
    }
    out.close();
    return !out.fail();
}

}  // namespace golden
