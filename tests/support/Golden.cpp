#include "support/Golden.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "support/Sim.h"

namespace golden {

namespace {

using namespace VERDA;

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

// --- Selling -------------------------------------------------------------------

std::string printerInit() {
    return said(PrinterInit());
}

std::string shiftBy(const std::string& cashier, const std::string& taxNumber = "") {
    int fd = -1, sign = -1, shift = -1;
    return said(OpenShift(1, "1", 1, "", "", cp1251(cashier), taxNumber, fd, sign, shift), fd, sign,
                shift);
}

std::string receipt() {
    int slip = -1, doc = -1, shift = -1;
    return said(OpenFiscalInv(1, "1", 1, 0, "", "", "", "", slip, doc, shift), slip, doc, shift);
}

std::string sale(const std::string& name, char tax, double price, double quantity,
                 char discountType = '0', double discount = 0) {
    int slip = -1;
    return said(RegisterSale(cp1251(name), tax, price, quantity, 0, 1, discountType, discount, 0, 0,
                             0, 0, slip),
                slip);
}

std::string subtotal(char discountType, double discount) {
    int slip = -1;
    double sum = -1, t[6] = {-1, -1, -1, -1, -1, -1};
    return said(
        Subtotal('1', '0', discountType, discount, slip, sum, t[0], t[1], t[2], t[3], t[4], t[5]),
        slip, sum, t[0], t[1], t[2], t[3], t[4], t[5]);
}

std::string pay(char mode, double amount, char change) {
    char status = '?';
    double rest = -1;
    int slip = -1;
    return said(Total(mode, amount, change, status, rest, slip), status, rest, slip);
}

std::string close() {
    int slip = -1, fd = -1, doc = -1, shift = -1;
    std::string sign = "?";
    return said(CloseFiscalInv(slip, fd, sign, doc, shift), slip, fd, sign, doc, shift);
}

std::string cash(char type, double amount) {
    double sum = -1, in = -1, out = -1;
    return said(ParishOrConsumption(type, amount, sum, in, out), sum, in, out);
}

// The text of the last result code, from the register or the catalogue.
std::string reason() {
    int code = -1;
    std::string text;
    return said(ReadingError(g_ResultCode, code, text), code, text);
}

// --- Reports -------------------------------------------------------------------

std::string report(char type) {
    int n[3] = {-1, -1, -1};
    double s[24];
    std::fill(s, s + 24, -1);
    const bool ok = PrintReport(type, n[0], n[1], n[2], s[0], s[1], s[2], s[3], s[4], s[5], s[6],
                                s[7], s[8], s[9], s[10], s[11], s[12], s[13], s[14], s[15], s[16],
                                s[17], s[18], s[19], s[20], s[21], s[22], s[23]);
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

// A report number, six sums and, for the fiscal memory's records, a date.
using Sums = std::function<bool(int&, double*, std::string&)>;
std::string sums(const Sums& call) {
    int number = -1;
    double s[6] = {-1, -1, -1, -1, -1, -1};
    std::string date = "?";
    const bool ok = call(number, s, date);
    return said(ok, number, s[0], s[1], s[2], s[3], s[4], s[5], date);
}

// --- Articles ------------------------------------------------------------------

// The record of the walks, every output at a value the register never gives.
struct Record {
    char tax = '?', priceType = '?';
    int dep = -1, group = -1;
    double price = -1, value1 = -1, value2 = -1, value3 = -1;
    std::string bar1 = "?", bar2 = "?", bar3 = "?", bar4 = "?", name = "?";
};

// A walk from plu: member(plu, record's outputs...); plu is an output of F,
// N and NN.
template <typename Member>
std::string walk(int plu, Member member) {
    Record r;
    const bool ok = member(plu, r.tax, r.dep, r.group, r.priceType, r.price, r.value1, r.value2,
                           r.value3, r.bar1, r.bar2, r.bar3, r.bar4, r.name);
    return said(ok, plu, r.tax, r.dep, r.group, r.priceType, r.price, r.value1, r.value2, r.value3,
                r.bar1, r.bar2, r.bar3, r.bar4, r.name);
}

std::string writeArticle(int plu, char tax, int dep, double price, double quantity,
                         const std::string& bar, const std::string& name, const std::string& units,
                         int extra1, int extra2) {
    return said(PrgAndReadArticleP(plu, tax, dep, 0, '0', price, '0', quantity, bar, "", "", "",
                                   cp1251(name), cp1251(units), "1C-" + std::to_string(plu), "0",
                                   "0", extra1, extra2));
}

std::string readArticle(int plu) {
    Record r;
    std::string units = "?", id1c = "?", isWeight = "?", service = "?";
    int extra1 = -1, extra2 = -1;
    const bool ok = PrgAndReadArticleR(plu, r.tax, r.dep, r.group, r.priceType, r.price, r.value1,
                                       r.value2, r.value3, r.bar1, r.bar2, r.bar3, r.bar4, r.name,
                                       units, id1c, isWeight, service, extra1, extra2);
    return said(ok, r.tax, r.dep, r.group, r.priceType, r.price, r.value1, r.value2, r.value3,
                r.bar1, r.bar2, r.bar3, r.bar4, r.name, units, id1c, isWeight, service, extra1,
                extra2);
}

std::string articleFigures() {
    int count = -1, capacity = -1, last = -1;
    return said(PrgAndReadArticleI(count, capacity, last), count, capacity, last);
}

std::string articleValue(bool sold, int plu) {
    int value = -1;
    return said(sold ? PrgAndReadArticleXX(plu, value) : PrgAndReadArticleX(plu, value), value);
}

// --- Fiscal memory, journal, printing -------------------------------------------

std::string freeFields() {
    int free = -1;
    return said(FreeFieldsByFiscalMemory(free), free);
}

std::string lastEntry() {
    std::string date = "?";
    return said(DateOfLastEntryByFiscalMemory(date), date);
}

std::string journalByDate(const std::string& from, const std::string& to, char type) {
    std::string first = "?", last = "?";
    int firstNumber = -1, lastNumber = -1;
    return said(GetDocInEJByDate(from, to, type, first, last, firstNumber, lastNumber), first, last,
                firstNumber, lastNumber);
}

std::string journalDocument(int number, char type) {
    int value1 = -1, value2 = -1, value3 = -1;
    std::string text = "?";
    char flag = '?';
    return said(GetInfoFromEJ0(number, type, value1, value2, text, flag, value3), value1, value2,
                text, flag, value3);
}

std::string journalLine(bool converted) {
    std::string text = "?";
    return said(converted ? GetInfoFromEJ1(text) : GetInfoFromEJ2(text), text);
}

std::string openService(char extend) {
    int slip = -1;
    return said(OpenServiceInv(extend, slip), slip);
}

std::string closeService() {
    int slip = -1;
    return said(CloseServiceInv(slip), slip);
}

std::string serviceText(const std::string& text, char bold, char alignment) {
    return said(PrintFreeTextInServiceInv(cp1251(text), bold, '0', '0', '0', alignment, '0'));
}

// A name longer than the register's fields: cut to 32 bytes, or 64 where the
// field takes more.
const char kLongName[] = "Молоко пастеризованное 3,2% ультрапастеризованное в пакете";

}  // namespace

std::vector<Session> sessions() {
    std::vector<Session> all;
    all.push_back(Session{
        "shift",
        "A whole shift on verda-sim through the library's exported functions: the\n"
        "shift opened by a named cashier, cash in, two receipts with discounts paid by\n"
        "card and in cash, a sale refused and its reason, a receipt cancelled, cash\n"
        "out, the X report and the day's figures, the Z report, a second one refused.",
        {},
        {
            {"PrinterInit", printerInit},
            {"OpenShift", [] { return shiftBy("Иванова"); }},
            {"ParishOrConsumption", [] { return cash('0', 1000); }},
            // Two lines, 10 % off the first, 1.90 off the receipt; 50.00 by
            // card and the rest in cash, with change.
            {"OpenFiscalInv", receipt},
            {"RegisterSale", [] { return sale("Молоко", 'A', 45.50, 2, '1', 10); }},
            {"RegisterSale", [] { return sale("Хлеб", 'B', 30.00, 1); }},
            {"Subtotal", [] { return subtotal('2', 1.90); }},
            {"Total", [] { return pay(1, 50.00, ' '); }},
            {"Total", [] { return pay(0, 100.00, '1'); }},
            {"CloseFiscalInv", close},
            // A line the register refuses, and its reason; 20.00 off the
            // next line; paid by card and in cash exactly.
            {"OpenFiscalInv", receipt},
            {"RegisterSale", [] { return sale("Сыр", 'Z', 120.00, 1); }},
            {"ReadingError", reason},
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
                     return ReportByOperators(1, n[0], a[0], n[1], a[1], n[2], a[2], n[3], a[3],
                                              n[4], a[4], n[5], a[5], n[6], a[6]);
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
        }});

    all.push_back(Session{
        "articles",
        "The article database on verda-sim through the library's exported functions:\n"
        "articles written with the long record (a long name cut, a bar code that\n"
        "another article has, refused, and its reason), stock added, the record read\n"
        "back and one that is not there, the walks over every article and over those\n"
        "sold, an article sold by its code, the figures of one article, the report by\n"
        "article, deletions (one refused: the article has turnover).",
        {},
        {
            {"PrinterInit", printerInit},
            {"PrgAndReadArticleI", articleFigures},
            {"PrgAndReadArticleP",
             [] {
                 return writeArticle(1, 'A', 1, 45.50, 10, "4600000000017", kLongName, "шт", 0, 3);
             }},
            {"PrgAndReadArticleP",
             [] { return writeArticle(2, 'B', 2, 30.00, 5, "4600000000024", "Хлеб", "шт", 7, 0); }},
            {"PrgAndReadArticleP",
             [] { return writeArticle(10, 'A', 1, 120.00, 2.5, "", "Сыр", "кг", 0, 0); }},
            {"PrgAndReadArticleP",
             [] { return writeArticle(11, 'A', 1, 1.00, 1, "4600000000017", "Чай", "шт", 0, 0); }},
            {"ReadingError", reason},
            {"PrgAndReadArticleA", [] { return said(PrgAndReadArticleA(1, 2.5)); }},
            {"PrgAndReadArticleR", [] { return readArticle(1); }},
            {"PrgAndReadArticleR", [] { return readArticle(99); }},
            {"PrgAndReadArticleF",
             [] {
                 return walk(0, [](int& plu, auto&... o) { return PrgAndReadArticleF(plu, o...); });
             }},
            {"PrgAndReadArticleN",
             [] {
                 return walk(-1,
                             [](int& plu, auto&... o) { return PrgAndReadArticleN(plu, o...); });
             }},
            {"PrgAndReadArticleN",
             [] {
                 return walk(-1,
                             [](int& plu, auto&... o) { return PrgAndReadArticleN(plu, o...); });
             }},
            {"PrgAndReadArticleL",
             [] {
                 return walk(5, [](int& plu, auto&... o) { return PrgAndReadArticleL(plu, o...); });
             }},
            {"PrgAndReadArticleX", [] { return articleValue(false, 1); }},
            {"OpenShift", [] { return shiftBy("Иванова"); }},
            {"OpenFiscalInv", receipt},
            {"RegisterArticleSale",
             [] {
                 int slip = -1;
                 return said(RegisterArticleSale(1, 2, '0', 0, slip), slip);
             }},
            {"RegisterArticleSale",
             [] {
                 int slip = -1;
                 return said(RegisterArticleSale(99, 1, '0', 0, slip), slip);
             }},
            {"Total", [] { return pay(0, 100.00, '1'); }},
            {"CloseFiscalInv", close},
            {"PrgAndReadArticleXX", [] { return articleValue(true, 1); }},
            {"PrgAndReadArticleFF",
             [] {
                 return walk(0,
                             [](int& plu, auto&... o) { return PrgAndReadArticleFF(plu, o...); });
             }},
            {"PrgAndReadArticleLL",
             [] {
                 return walk(99,
                             [](int& plu, auto&... o) { return PrgAndReadArticleLL(plu, o...); });
             }},
            {"PrgAndReadArticleNN",
             [] {
                 return walk(-1,
                             [](int& plu, auto&... o) { return PrgAndReadArticleNN(plu, o...); });
             }},
            {"ReportByArticle", [] { return said(ReportByArticle('0', 1, 99)); }},
            {"PrgAndReadArticleD", [] { return said(PrgAndReadArticleD(2, 2)); }},
            {"PrgAndReadArticleD", [] { return said(PrgAndReadArticleD(1, 10)); }},
            {"ReadingError", reason},
            {"PrgAndReadArticleD", [] { return said(PrgAndReadArticleD(10, 11)); }},
            {"PrgAndReadArticleI", articleFigures},
        }});

    all.push_back(Session{
        "journal",
        "The electronic journal on verda-sim read back through the library's exported\n"
        "functions: a line read before any document is chosen (refused), a shift with\n"
        "a receipt, a service document and the X report, then the documents found by\n"
        "date (all, receipts only, reports only, none), one chosen by its number and\n"
        "one by its fiscal document number, their lines converted and as sent, one\n"
        "printed again, and a number that is not there.",
        {},
        {
            {"PrinterInit", printerInit},
            {"GetInfoFromEJ1", [] { return journalLine(true); }},
            {"OpenShift", [] { return shiftBy("Петрова"); }},
            {"OpenFiscalInv", receipt},
            {"RegisterSale", [] { return sale("Молоко", 'A', 45.50, 2); }},
            {"RegisterSale", [] { return sale("Хлеб", 'B', 30.00, 1); }},
            {"Total", [] { return pay(0, 200.00, '1'); }},
            {"CloseFiscalInv", close},
            {"OpenServiceInv", [] { return openService('0'); }},
            {"PrintFreeTextInServiceInv", [] { return serviceText("Сдача смены", '1', '1'); }},
            {"CloseServiceInv", closeService},
            {"PrintReport", [] { return report('X'); }},
            {"GetDocInEJByDate", [] { return journalByDate("01.03.2026", "01.03.2026", '0'); }},
            {"GetDocInEJByDate", [] { return journalByDate("01.03.2026", "01.03.2026", '1'); }},
            {"GetDocInEJByDate", [] { return journalByDate("01.03.2026", "01.03.2026", '2'); }},
            {"GetDocInEJByDate", [] { return journalByDate("01.01.2026", "31.01.2026", '0'); }},
            {"ReadingError", reason},
            {"GetInfoFromEJ0", [] { return journalDocument(2, '0'); }},
            {"GetInfoFromEJ1", [] { return journalLine(true); }},
            {"GetInfoFromEJ1", [] { return journalLine(true); }},
            {"GetInfoFromEJ2", [] { return journalLine(false); }},
            {"GetInfoFromEJ2", [] { return journalLine(false); }},
            {"GetInfoFromEJ0", [] { return journalDocument(2, '1'); }},
            {"GetInfoFromEJ2", [] { return journalLine(false); }},
            {"GetInfoFromEJ3", [] { return said(GetInfoFromEJ3(2, '0')); }},
            {"GetInfoFromEJ0", [] { return journalDocument(99, '0'); }},
            {"GetInfoFromEJ3", [] { return said(GetInfoFromEJ3(99, '0')); }},
        }});

    all.push_back(Session{
        "fiscal-memory",
        "Fiscal memory and its reports on verda-sim through the library's exported\n"
        "functions: a register before fiscalization, its serial and tax numbers set,\n"
        "fiscalization refused for a wrong password and done, the tax rates changed,\n"
        "two shifts with their Z reports, then the latest records, the day's sums,\n"
        "the fiscal reports by date and by number (one sends its type alone), a block\n"
        "of the memory, its test, free fields and last date, and the fiscal drive's\n"
        "state.",
        {"--unfiscalized"},
        {
            {"PrinterInit", printerInit},
            {"FreeFieldsByFiscalMemory", freeFields},
            {"DateOfLastEntryByFiscalMemory", lastEntry},
            {"SetManufacturersSerialNumber",
             [] {
                 std::string reply = "?";
                 return said(SetManufacturersSerialNumber("VS00000042", reply), reply);
             }},
            {"SetTAXNumber", [] { return said(SetTAXNumber("7701234567")); }},
            {"GetTAXNumber",
             [] {
                 std::string number = "?";
                 return said(GetTAXNumber(number), number);
             }},
            {"Fiscalization",
             [] { return said(Fiscalization("", "7701234567", "0000000002012345", "123456")); }},
            {"ReadingError", reason},
            {"Fiscalization",
             [] { return said(Fiscalization("", "7701234567", "0000000002012345", "000000")); }},
            {"SetTaxRates",
             [] {
                 int left = -1;
                 return said(SetTaxRates(20, 10, 0, 0, 0, 0, '2', left), left);
             }},
            {"ReportOnTaxRates",
             [] {
                 int z = -1;
                 double r[6] = {-1, -1, -1, -1, -1, -1};
                 std::string date = "?";
                 return said(ReportOnTaxRates(z, r[0], r[1], r[2], r[3], r[4], r[5], date), z, r[0],
                             r[1], r[2], r[3], r[4], r[5], date);
             }},
            {"OpenShift", [] { return shiftBy("Иванова"); }},
            {"OpenFiscalInv", receipt},
            {"RegisterSale", [] { return sale("Молоко", 'A', 45.50, 2); }},
            {"RegisterSale", [] { return sale("Хлеб", 'B', 30.00, 1); }},
            {"Total", [] { return pay(0, 121.00, '0'); }},
            {"CloseFiscalInv", close},
            {"AmountOfSavingsPerDay",
             [] {
                 return sums([](int& n, double* s, std::string&) {
                     return AmountOfSavingsPerDay('0', n, s[0], s[1], s[2], s[3], s[4], s[5]);
                 });
             }},
            {"PrintReport", [] { return report('Z'); }},
            {"OpenShift", [] { return shiftBy("Иванова"); }},
            {"OpenFiscalInv", receipt},
            {"RegisterSale", [] { return sale("Сыр", 'A', 120.00, 1); }},
            {"Total", [] { return pay(1, 120.00, '0'); }},
            {"CloseFiscalInv", close},
            {"PrintReport", [] { return report('Z'); }},
            {"LatestFiscalRecord",
             [] {
                 return sums([](int& n, double* s, std::string& date) {
                     return LatestFiscalRecord('0', '0', n, s[0], s[1], s[2], s[3], s[4], s[5],
                                               date);
                 });
             }},
            {"LatestFiscalRecord",
             [] {
                 return sums([](int& n, double* s, std::string& date) {
                     return LatestFiscalRecord('0', '1', n, s[0], s[1], s[2], s[3], s[4], s[5],
                                               date);
                 });
             }},
            {"FiscalReportByDate",
             [] {
                 std::string text = "?";
                 return said(FiscalReportByDate('0', "01.03.2026", "01.03.2026", text), text);
             }},
            {"FiscalReportByDate",
             [] {
                 std::string text = "?";
                 return said(FiscalReportByDate('0', "01.01.2026", "02.01.2026", text), text);
             }},
            {"FiscalReportByNumber",
             [] {
                 std::string text = "?";
                 return said(FiscalReportByNumber('0', 1, 2, text), text);
             }},
            {"FiscalReportByNumber",
             [] {
                 std::string text = "?";
                 return said(FiscalReportByNumber('0', -1, 2, text), text);
             }},
            {"ReadFiscalMemoryBlock",
             [] {
                 std::string block = "?";
                 return said(ReadFiscalMemoryBlock(1, 4, block), block);
             }},
            {"TestFiscalMemory",
             [] {
                 int records = -1;
                 return said(TestFiscalMemory('0', records), records);
             }},
            {"FreeFieldsByFiscalMemory", freeFields},
            {"DateOfLastEntryByFiscalMemory", lastEntry},
            {"GetStateFN",
             [] {
                 std::string t[7] = {"?", "?", "?", "?", "?", "?", "?"};
                 int n[4] = {-1, -1, -1, -1};
                 return said(GetStateFN('1', t[0], t[1], t[2], t[3], t[4], t[5], t[6], n[0], n[1],
                                        n[2], n[3]),
                             t[0], t[1], t[2], t[3], t[4], t[5], t[6], n[0], n[1], n[2], n[3]);
             }},
            {"GetOFDandFNStatus",
             [] {
                 bool open = true, over = true;
                 int n[4] = {-1, -1, -1, -1};
                 std::string time = "?";
                 return said(GetOFDandFNStatus(open, over, n[0], n[1], n[2], n[3], time), open,
                             over, n[0], n[1], n[2], n[3], time);
             }},
        }});

    all.push_back(Session{
        "printing",
        "Service documents and printing on verda-sim through the library's exported\n"
        "functions: a service document with a line longer than the paper, one opened\n"
        "with a kind byte that is not sent, a close with none open (refused) and its\n"
        "reason, bar codes with and without their option, a dividing line, a stamp, a\n"
        "receipt printed again, the paper cut and fed, the diagnostic report, and the\n"
        "customer display, cash drawer and buzzer.",
        {},
        {
            {"PrinterInit", printerInit},
            {"OpenServiceInv", [] { return openService('1'); }},
            {"PrintFreeTextInServiceInv",
             [] { return serviceText("Добро пожаловать в наш магазин у дома на углу", '1', '1'); }},
            {"PrintFreeTextInServiceInv", [] { return serviceText("Спасибо", '0', '0'); }},
            {"CloseServiceInv", closeService},
            {"OpenServiceInv", [] { return openService('2'); }},
            {"CloseServiceInv", closeService},
            {"CloseServiceInv", closeService},
            {"ReadingError", reason},
            {"PrintBarCode", [] { return said(PrintBarCode('2', "4600000000017", 0)); }},
            {"PrintBarCode", [] { return said(PrintBarCode('7', "https://example.ru/r/1", 3)); }},
            {"PrintDivideLine", [] { return said(PrintDivideLine('1')); }},
            {"PrintStamp", [] { return said(PrintStamp('1', "PAID 01.03.2026")); }},
            {"PrintDublicateReceipt", [] { return said(PrintDublicateReceipt()); }},
            {"OpenShift", [] { return shiftBy("Иванова"); }},
            {"OpenFiscalInv", receipt},
            {"RegisterSale", [] { return sale("Хлеб", 'B', 30.00, 1); }},
            {"PrintFreeTextInFiscalInv",
             [] {
                 return said(PrintFreeTextInFiscalInv(cp1251("Приходите ещё"), '0', '0', '0', '0',
                                                      '1', '0'));
             }},
            {"Total", [] { return pay(0, 30.00, '0'); }},
            {"CloseFiscalInv", close},
            {"PrintDublicateReceipt", [] { return said(PrintDublicateReceipt()); }},
            {"CutPaper", [] { return said(CutPaper()); }},
            {"FeedPaper", [] { return said(FeedPaper(3)); }},
            {"FeedPaper", [] { return said(FeedPaper(0)); }},
            {"PrintDiagnostic", [] { return said(PrintDiagnostic('0')); }},
            {"DisplayUpper", [] { return said(DisplayUpper("TOTAL 30.00")); }},
            {"DisplayLower", [] { return said(DisplayLower("THANK YOU")); }},
            {"DisplayClear", [] { return said(DisplayClear()); }},
            {"OpenCashDrawer", [] { return said(OpenCashDrawer(0)); }},
            {"Beep", [] { return said(Beep(2000, 100)); }},
        }});

    all.push_back(Session{
        "older-firmware",
        "A shift on verda-sim of the older firmware 944123, through the library's\n"
        "exported functions: the cashier's name and tax number not sent, a sale line\n"
        "of seven fields with its name cut to 32 bytes (unit, discount sum and signs\n"
        "not sent), a receipt paid and closed, an article written and read back in\n"
        "the short record, and the Z report.",
        {"--firmware", "944123"},
        {
            {"PrinterInit", printerInit},
            {"OpenShift", [] { return shiftBy("Иванова", "770123456789"); }},
            {"OpenFiscalInv", receipt},
            {"RegisterSale",
             [] {
                 int slip = -1;
                 return said(RegisterSale(cp1251(kLongName), 'A', 45.50, 2, 796, 1, '1', 10, 9.10,
                                          81.90, 1, 4, slip),
                             slip);
             }},
            {"RegisterSale", [] { return sale("Хлеб", 'B', 30.00, 1); }},
            {"Subtotal", [] { return subtotal('0', 0); }},
            {"Total", [] { return pay(0, 200.00, '1'); }},
            {"CloseFiscalInv", close},
            {"PrgAndReadArticleP",
             [] {
                 return writeArticle(5, 'A', 1, 12.00, 3, "4600000000055", kLongName, "шт", 1, 2);
             }},
            {"PrgAndReadArticleR", [] { return readArticle(5); }},
            {"PrintReport", [] { return report('Z'); }},
        }});
    return all;
}

namespace {

// What every session's register has: a free port, no paper, a clock that
// stands, so that what it answers is the same at every recording.
const std::vector<std::string> kEveryRegister = {"--tcp",     "0",       "--paper",
                                                 "/dev/null", "--clock", "01.03.2026 10:00:00"};

}  // namespace

sim::Options registerOptions(const Session& session) {
    std::vector<std::string> args = kEveryRegister;
    args.insert(args.end(), session.options.begin(), session.options.end());
    sim::Options options;
    std::string error;
    if (!sim::parseOptions(args, options, error)) throw std::invalid_argument(error);
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

bool write(const std::string& path, const Session& session, const std::vector<Step>& steps) {
    std::ofstream out(path.c_str(), std::ios::binary);
    std::istringstream about(session.about);
    for (std::string line; std::getline(about, line);) out << "# " << line << "\n";
    std::string options;
    std::vector<std::string> args = kEveryRegister;
    args.insert(args.end(), session.options.begin(), session.options.end());
    for (const std::string& arg : args)
        options += arg.find(' ') == std::string::npos ? " " + arg : " \"" + arg + "\"";
    out << "# The register: verda-sim" << options
        << ".\n"
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
