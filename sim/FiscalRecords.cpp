// Reports, fiscal memory, fiscal drive and electronic journal of the
// simulated register.
#include "sim/Register.h"

#include "wire/Documents.h"

namespace sim {

namespace {

const int kFiscalMemorySize = 2000;
const int kRegistrations = 12;  // registrations a fiscal drive allows
const char* const kKindNames[kKinds] = {"ПРИХОД", "ВОЗВРАТ ПРИХОДА", "РАСХОД", "ВОЗВРАТ РАСХОДА"};

// A date or time of a request, refused as a wrong format.
long long timeField(const std::string& text, bool endOfDay) {
    long long time = 0;
    bool dateOnly = false;
    if (!parseTime(text, endOfDay, time, dateOnly)) throw Refusal{err::kWrongFormat};
    return time;
}

bool isFiscalReceipt(char type) {
    return type == 'S' || type == 'R' || type == 'P' || type == 'Q' || type == 'K';
}

Money sum6(const Money (&values)[kTaxGroups]) {
    Money total = 0;
    for (Money v : values) total += v;
    return total;
}

}  // namespace

// --- X and Z ----------------------------------------------------------------------

Lines Register::totalsReport(const std::string& title, int number) const {
    const ShiftTotals& t = state_.totals;
    Lines doc = documentHeader(title);
    doc.push_back(layout_.pair(dev("СМЕНА №"), str(state_.shift)));
    doc.push_back(layout_.pair(dev("ОТЧЕТ №"), str(number)));
    for (int k = 0; k < kKinds; ++k) {
        doc.push_back(layout_.rule('-'));
        doc.push_back(layout_.left(dev(kKindNames[k])));
        doc.push_back(
            layout_.pair(dev("ЧЕКОВ ") + str(t.receipts[k].count), money(t.receipts[k].sum)));
        for (int g = 0; g < kTaxGroups; ++g)
            if (t.byTax[k][g] != 0)
                doc.push_back(
                    layout_.pair(dev("  ГРУППА ") + std::string(1, static_cast<char>('A' + g)),
                                 money(t.byTax[k][g])));
        for (int m = 0; m < kPayModes; ++m)
            if (t.byPayment[k][m] != 0)
                doc.push_back(layout_.pair("  " + param("PayName", m), money(t.byPayment[k][m])));
    }
    doc.push_back(layout_.rule('-'));
    const struct {
        const char* name;
        const Counted& c;
    } rows[] = {{"АННУЛИРОВАНО", t.cancelled}, {"СКИДКИ", t.discounts}, {"НАДБАВКИ", t.surcharges},
                {"КОРРЕКЦИИ", t.corrections},  {"ВНЕСЕНИЯ", t.cashIn},  {"ВЫПЛАТЫ", t.cashOut}};
    for (const auto& row : rows)
        doc.push_back(layout_.pair(dev(row.name) + " " + str(row.c.count), money(row.c.sum)));
    doc.push_back(layout_.pair(dev("НАЛИЧНЫХ В КАССЕ"), money(state_.cash)));
    doc.push_back(layout_.pair(dev("НЕОБНУЛ. ИТОГ"), money(state_.grand[Sale])));
    return doc;
}

// "X" or "Z". The answer: report number, fiscal document and its sign (0 for
// an X report), sales, returns, purchases and returned purchases by tax
// group, and the cash in the drawer.
void Register::PrintReport(const Args& in, Reply& out) {
    in.expect(1, 1);
    const char type = in.byte(0);
    if (type != 'X' && type != 'Z') throw Refusal{err::kSyntax};
    requireNoDocument();
    int number = 0, fd = 0;
    if (type == 'X') {
        number = ++state_.xReports;
        printDocument(wire::document::kXReport, 0, totalsReport(dev("X-ОТЧЕТ"), number));
    } else {
        if (!state_.shiftOpen) throw Refusal{err::kShiftClosed};
        number = state_.shift;
        fd = nextFiscalDocument(now());
        printDocument(wire::document::kZReport, fd, totalsReport(dev("Z-ОТЧЕТ"), number));
    }
    out << number << fd << (fd != 0 ? fiscalSign(fd) : 0);
    for (const auto& row : state_.totals.byTax)
        for (Money v : row) out.amount(v);
    out.amount(state_.cash);
    if (type == 'X') return;

    FiscalRecord& record = addFiscalRecord('Z');
    record.number = number;
    for (int g = 0; g < kTaxGroups; ++g) {
        record.sums[g] = state_.totals.byTax[Sale][g];
        record.returns[g] = state_.totals.byTax[Return][g];
    }
    state_.totals = ShiftTotals();
    state_.shiftOpen = false;
    state_.xReports = 0;
    for (auto& article : state_.articles) article.second.sold = article.second.turnover = 0;
}

// The answer: the Z report after which the rates were set, the six rates,
// and the date they were set.
void Register::ReportOnTaxRates(const Args&, Reply& out) {
    out << state_.ratesSetInZ;
    for (Money rate : state_.taxRates) out.amount(rate);
    out << (state_.ratesSetAt != 0 ? dateText(state_.ratesSetAt) : std::string());
}

// The last Z record of the fiscal memory: its number, sales by tax group
// (returns when RecType is "1") and its time.
void Register::LatestFiscalRecord(const Args& in, Reply& out) {
    in.expect(2, 2);
    const bool returns = in.byte(1) == '1';
    for (auto record = state_.fiscalMemory.rbegin(); record != state_.fiscalMemory.rend();
         ++record) {
        if (record->type != 'Z') continue;
        out << record->number;
        for (int g = 0; g < kTaxGroups; ++g)
            out.amount(returns ? record->returns[g] : record->sums[g]);
        out << timeText(record->time);
        return;
    }
    throw Refusal{err::kNoRecords};
}

// The shift so far by tax group; Type "0" sales, "1" returns, "2" purchases,
// "3" returned purchases.
void Register::AmountOfSavingsPerDay(const Args& in, Reply& out) {
    in.expect(1, 1);
    const char type = in.byte(0);
    if (type < '0' || type > '3') throw Refusal{err::kSyntax};
    out << state_.shift;
    for (Money v : state_.totals.byTax[type - '0']) out.amount(v);
}

namespace {
const char* const kOperatorRows[7] = {"ПРИХОД",          "ВОЗВРАТ ПРИХОДА", "РАСХОД",
                                      "ВОЗВРАТ РАСХОДА", "АННУЛИРОВАНО",    "ВНЕСЕНИЯ",
                                      "ВЫПЛАТЫ"};
}

// Operators From to To; the type byte is printed in the title.
void Register::OperatorReport(const Args& in, Reply&) {
    in.expect(3, 3);
    const long long from = in.integer(0), to = in.integer(1);
    requireNoDocument();
    Lines doc = documentHeader(dev("ОТЧЕТ ПО КАССИРАМ ") + in.text(2));
    for (const auto& op : state_.totals.byOperator) {
        if (op.first < from || op.first > to) continue;
        doc.push_back(layout_.left(dev("КАССИР ") + str(op.first)));
        for (size_t i = 0; i < op.second.size(); ++i)
            if (op.second[i].count != 0)
                doc.push_back(
                    layout_.pair("  " + dev(kOperatorRows[i]) + " " + str(op.second[i].count),
                                 money(op.second[i].sum)));
    }
    printDocument('D', 0, doc);
}

// Articles From to To with what was sold of them in the shift.
void Register::ReportByArticle(const Args& in, Reply&) {
    in.expect(3, 3);
    const long long from = in.integer(1), to = in.integer(2);
    requireNoDocument();
    Lines doc = documentHeader(dev("ОТЧЕТ ПО ТОВАРАМ ") + in.text(0));
    for (const auto& a : state_.articles) {
        if (a.first < from || a.first > to) continue;
        doc.push_back(layout_.left(str(a.first) + " " + a.second.name));
        doc.push_back(layout_.pair("  " + formatFixed(a.second.sold, 3), money(a.second.turnover)));
    }
    printDocument('D', 0, doc);
}

// Command 0x70 is two things: "0", From, To reads fiscal memory records as
// text ("number:type:time:sales;" each); an operator's number alone gives
// that operator's seven pairs of count and sum: sales, returns, purchases,
// returned purchases, cancelled receipts, cash in, cash out.
void Register::ReportByOperatorsOrBlock(const Args& in, Reply& out) {
    if (in.size() == 3 && in.text(0) == "0") {
        const long long from = in.integer(1), to = in.integer(2);
        std::string block;
        for (const FiscalRecord& r : state_.fiscalMemory)
            if (r.number >= from && r.number <= to)
                block += str(r.number) + ":" + std::string(1, r.type) + ":" + timeText(r.time) +
                         ":" + money(sum6(r.sums)) + ";";
        if (block.empty()) throw Refusal{err::kEmptyRange};
        out << block;
        return;
    }
    in.expect(1, 1);
    const long long op = in.integer(0);
    const auto found = state_.totals.byOperator.find(static_cast<int>(op));
    for (int i = 0; i < 7; ++i) {
        const bool known = found != state_.totals.byOperator.end() &&
                           static_cast<size_t>(i) < found->second.size();
        const Counted c = known ? found->second[i] : Counted();
        out << c.count;
        out.amount(c.sum);
    }
}

// Sub-codes: "0" sales by payment mode 0 to 5 and their total; "1" the same
// for returns; "2" cancelled receipts (count, sum); "3" receipts of the four
// kinds (count, sum each); "4" cash in and cash out; "5" discounts,
// surcharges, corrections and cancelled receipts.
void Register::DailyReportByTypesOfPayment(const Args& in, Reply& out) {
    in.expect(1, 1);
    const ShiftTotals& t = state_.totals;
    const std::string& sub = in.text(0);
    std::vector<const Counted*> pairs;
    if (sub == "0" || sub == "1") {
        const Money(&row)[kPayModes] = t.byPayment[sub == "0" ? Sale : Return];
        for (Money v : row) out.amount(v);
        out.amount(sum6(row));
        return;
    }
    if (sub == "2")
        pairs = {&t.cancelled};
    else if (sub == "3")
        pairs = {&t.receipts[0], &t.receipts[1], &t.receipts[2], &t.receipts[3]};
    else if (sub == "4")
        pairs = {&t.cashIn, &t.cashOut};
    else if (sub == "5")
        pairs = {&t.discounts, &t.surcharges, &t.corrections, &t.cancelled};
    else
        throw Refusal{err::kSyntax};
    for (const Counted* c : pairs) {
        out << c->count;
        out.amount(c->sum);
    }
}

// --- Fiscal memory -------------------------------------------------------------------

void Register::requireInspector(const std::string& password) const {
    if (password != param("TaxInspPass", 0)) throw Refusal{err::kServicePassword};
}

// Serial number (empty keeps the present one), tax number, registration
// number, the inspector's password (parameter TaxInspPass).
void Register::Fiscalization(const Args& in, Reply&) {
    in.expect(4, 4);
    if (state_.fiscalized) throw Refusal{err::kFiscalized};
    requireInspector(in.text(3));
    if (in.text(1).empty() || in.text(2).empty()) throw Refusal{err::kWrongData};
    if (!in.text(0).empty()) state_.serial = in.text(0);
    state_.taxNumber = in.text(1);
    state_.regNumber = in.text(2);
    state_.fiscalized = true;
    const int fd = nextFiscalDocument(addFiscalRecord('F').time);
    Lines doc = documentHeader(dev("ОТЧЕТ О РЕГИСТРАЦИИ"));
    doc.push_back(layout_.pair(dev("РН ККТ"), state_.regNumber));
    doc.push_back(layout_.pair(dev("ФН"), identity_.fnNumber));
    printDocument('F', fd, doc);
}

void Register::SetTAXNumber(const Args& in, Reply&) {
    in.expect(1, 1);
    if (state_.fiscalized) throw Refusal{err::kFiscalized};
    state_.taxNumber = in.text(0);
}

void Register::GetTAXNumber(const Args&, Reply& out) {
    out << state_.taxNumber;
}

// Only a register that is not yet fiscalized takes a serial number; the
// answer repeats it.
void Register::SetManufacturersSerialNumber(const Args& in, Reply& out) {
    in.expect(1, 1);
    if (state_.fiscalized) throw Refusal{err::kForbidden};
    state_.serial = in.text(0);
    out << state_.serial;
}

// Type, then From and To: dates for the report by date, Z numbers for the
// report by number. Prints the Z records between them and answers
// "Z first-last: sales total".
void Register::fiscalReport(const Args& in, bool byDate, Reply& out) {
    in.expect(3, 3);
    in.byte(0);
    const long long from = byDate ? timeField(in.text(1), false) : in.integer(1);
    const long long to = byDate ? timeField(in.text(2), true) : in.integer(2);
    std::vector<const FiscalRecord*> records;
    for (const FiscalRecord& r : state_.fiscalMemory) {
        const long long key = byDate ? r.time : r.number;
        if (r.type == 'Z' && key >= from && key <= to) records.push_back(&r);
    }
    if (records.empty()) throw Refusal{err::kEmptyRange};
    requireNoDocument();
    Lines doc = documentHeader(dev("ФИСКАЛЬНЫЙ ОТЧЕТ"));
    Money total = 0;
    for (const FiscalRecord* r : records) {
        doc.push_back(
            layout_.pair("Z " + str(r->number) + " " + dateText(r->time), money(sum6(r->sums))));
        total += sum6(r->sums);
    }
    doc.push_back(layout_.pair(dev("ИТОГО"), money(total)));
    printDocument('D', 0, doc);
    out << "Z " + str(records.front()->number) + "-" + str(records.back()->number) + ": " +
               money(total);
}

void Register::FiscalReportByDate(const Args& in, Reply& out) {
    fiscalReport(in, true, out);
}

void Register::FiscalReportByNumber(const Args& in, Reply& out) {
    fiscalReport(in, false, out);
}

// The answer is the number of records in the fiscal memory.
void Register::TestFiscalMemory(const Args& in, Reply& out) {
    in.expect(1, 1);
    out << static_cast<int>(state_.fiscalMemory.size());
}

void Register::FreeFieldsByFiscalMemory(const Args&, Reply& out) {
    out << kFiscalMemorySize - static_cast<int>(state_.fiscalMemory.size());
}

void Register::DateOfLastEntryByFiscalMemory(const Args&, Reply& out) {
    if (state_.fiscalMemory.empty()) throw Refusal{err::kNoRecords};
    out << timeText(state_.fiscalMemory.back().time);
}

// --- Fiscal drive and data operator ----------------------------------------------

// Command 0x47: selector "0" prints the diagnostic report; every selector is
// answered with the drive's state: version, number, phase ("3" fiscal mode,
// "1" ready for fiscalization), shift open, warning flags (a number, as
// --fn-warnings set them: 1 replace within 3 days, 2 validity ends within 30
// days, 4 memory 90 % full, 8 the data operator overdue, 128 critical
// error), last valid day, registrations left, shift number, receipts in the
// shift, last fiscal document, first document not yet sent (0 for none).
// common/FiscalHealth.cpp reads phases and flags in these meanings.
void Register::StateFN(const Args& in, Reply& out) {
    in.expect(1, 1);
    if (in.byte(0) == '0') {
        Lines doc = documentHeader(dev("ДИАГНОСТИКА"));
        doc.push_back(layout_.pair(dev("МОДЕЛЬ"), identity_.model));
        doc.push_back(layout_.pair(dev("ПРОШИВКА"), identity_.firmware));
        doc.push_back(layout_.pair(dev("ФН"), identity_.fnNumber));
        doc.push_back(
            layout_.pair(dev("НЕ ОТПРАВЛЕНО"), str(static_cast<long long>(state_.unsent.size()))));
        print(doc);
    }
    int registrations = 0;
    for (const FiscalRecord& r : state_.fiscalMemory)
        registrations += r.type == 'F' || r.type == 'G';
    out << std::string("FN-1.1M") << identity_.fnNumber
        << std::string(state_.fiscalized ? "3" : "1") << std::string(state_.shiftOpen ? "1" : "0")
        << identity_.fnWarnings << identity_.fnDeadline << kRegistrations - registrations
        << state_.shift << state_.receiptsInShift << state_.fds
        << (state_.unsent.empty() ? 0 : state_.unsent.front().fd);
}

// Shift open, older than 24 hours, shift number, last fiscal document,
// documents waiting, the first of them and its time.
void Register::GetOFDandFNStatus(const Args&, Reply& out) {
    const bool over24h = state_.shiftOpen && now() - state_.shiftOpenedAt > 24 * 3600;
    out << std::string(state_.shiftOpen ? "1" : "0") << std::string(over24h ? "1" : "0")
        << state_.shift << state_.fds << static_cast<int>(state_.unsent.size());
    if (state_.unsent.empty())
        out << 0 << std::string();
    else
        out << state_.unsent.front().fd << timeText(state_.unsent.front().time);
}

// Types 1 to 4 and 31 register a change and answer with the fiscal
// document and its sign; other types are accepted without a document.
void Register::ChangeOFDRegistration(const Args& in, Reply& out) {
    in.expect(2, 2);
    const long long type = in.integer(0);
    if (!state_.fiscalized) throw Refusal{err::kNotFiscalized};
    requireInspector(in.text(1));
    requireNoDocument();
    if (state_.shiftOpen) throw Refusal{err::kCloseShift};
    if (!(type >= 1 && type <= 4) && type != 31) return;
    const int fd = nextFiscalDocument(addFiscalRecord('G').time);
    Lines doc = documentHeader(dev("ИЗМЕНЕНИЕ РЕГИСТРАЦИИ"));
    doc.push_back(layout_.pair(dev("ПРИЧИНА"), str(type)));
    printDocument('G', fd, doc);
    out << fd << fiscalSign(fd);
}

// --- Electronic journal -------------------------------------------------------------

// Documents from DateFrom to DateTo; Type "1" takes fiscal receipts only,
// "2" X and Z reports only, any other every document. The answer: time of
// the first and the last, and their numbers.
void Register::GetDocInEJByDate(const Args& in, Reply& out) {
    in.expect(3, 3);
    const long long from = timeField(in.text(0), false), to = timeField(in.text(1), true);
    const char type = in.byte(2);
    const JournalDoc* first = nullptr;
    const JournalDoc* last = nullptr;
    for (const JournalDoc& doc : state_.journal) {
        if (doc.time < from || doc.time > to) continue;
        if (type == '1' && !isFiscalReceipt(doc.type)) continue;
        if (type == '2' && doc.type != 'X' && doc.type != 'Z') continue;
        if (first == nullptr) first = &doc;
        last = &doc;
    }
    if (first == nullptr) throw Refusal{err::kNoJournalRecords};
    out << timeText(first->time) << timeText(last->time) << first->number << last->number;
}

// Sub-code "0", Number, Type: chooses a document (Type "1": by fiscal
// document number, otherwise by document number) and answers its number,
// shift, time, journal type letter and number of lines. "1" and "2" then give
// its lines one by one, "3" prints it again.
void Register::GetInfoFromEJ(const Args& in, Reply& out) {
    const std::string& sub = in.text(0);
    if (sub == "1" || sub == "2") {
        in.expect(1, 1);
        const JournalDoc* chosen = nullptr;
        for (const JournalDoc& doc : state_.journal)
            if (doc.number == state_.journalDoc) chosen = &doc;
        if (chosen == nullptr) throw Refusal{err::kNoJournalRecords};
        if (state_.journalLine >= static_cast<int>(chosen->lines.size()))
            throw Refusal{err::kEndOfData};
        out << chosen->lines[state_.journalLine++];
        return;
    }
    if (sub != "0" && sub != "3") throw Refusal{err::kSyntax};
    in.expect(3, 3);
    const long long number = in.integer(1);
    const bool byFd = in.byte(2) == '1';
    for (const JournalDoc& doc : state_.journal) {
        if ((byFd ? doc.fd : doc.number) != number || (byFd && number == 0)) continue;
        if (sub == "3") {
            requireNoDocument();
            Lines copy{layout_.center(dev("КОПИЯ"))};
            copy.insert(copy.end(), doc.lines.begin(), doc.lines.end());
            print(copy);
            return;
        }
        state_.journalDoc = doc.number;
        state_.journalLine = 0;
        out << doc.number << doc.shift << timeText(doc.time) << std::string(1, doc.type)
            << static_cast<int>(doc.lines.size());
        return;
    }
    throw Refusal{err::kNoJournalRecords};
}

}  // namespace sim
