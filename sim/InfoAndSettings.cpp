// Device information, settings and peripherals of the simulated register.

#include "sim/Register.h"

namespace sim {

namespace {

// The named parameters of Programming: how many indexes each has, and what
// a fresh register holds.
struct ParamSpec {
    const char* name;
    int count;
};
const ParamSpec kParams[] = {
    {"DecimalPoint", 1},
    {"Dept_name", kDepartments},
    {"Header", 4},
    {"Footer", 2},
    {"PayName", kPayModes},
    {"TaxInspPass", 1},
    {"OperName", kOperators + 1},
};

const char* const kPayNames[kPayModes] = {"НАЛИЧНЫМИ", "КАРТОЙ",   "КРЕДИТ",
                                          "АВАНС",     "ВСТРЕЧНО", "ТАРА"};

std::string defaultParam(const std::string& name, int index) {
    if (name == "DecimalPoint") return "2";
    if (name == "Dept_name") return dev("Отдел ") + str(index + 1);
    if (name == "PayName") return dev(kPayNames[index]);
    if (name == "TaxInspPass") return "000000";
    if (name == "OperName") return dev("Кассир ") + str(index);
    return std::string();
}

const ParamSpec& paramSpec(const std::string& name) {
    for (const ParamSpec& entry : kParams)
        if (name == entry.name) return entry;
    throw Refusal{err::kWrongParameters};
}

}  // namespace

std::string Register::param(const std::string& name, int index) const {
    const auto found = state_.params.find(name + "\t" + str(index));
    return found != state_.params.end() ? found->second : defaultParam(name, index);
}

void Register::CheckConnection(const Args&, Reply&) {}

void Register::Display(const Args&, Reply&) {}

void Register::Silent(const Args&, Reply&) {}

void Register::DiagnosticInfo(const Args& in, Reply& out) {
    in.expect(0, 1);
    out << identity_.model << identity_.firmware << identity_.firmwareDate << identity_.firmwareTime
        << identity_.checksum << identity_.software << identity_.deviceNumber;
}

// Command 0x7B answers without a result field: its first field is data.
// 1: serial, drive, tax and registration numbers, device number;
// 2: firmware revision, date and time, paper columns, model;
// 3: shift number, shift open ("1"/"0"), receipts in the shift, time of the
//    last document, documents waiting for the data operator, the operator's
//    address.
void Register::ReadDeviceInfo(const Args& in, Reply& out) {
    in.expect(1, 1);
    const std::string& which = in.text(0);
    if (which == "1") {
        out << state_.serial << identity_.fnNumber << state_.taxNumber << state_.regNumber
            << identity_.deviceNumber;
    } else if (which == "2") {
        out << identity_.firmware << identity_.firmwareDate << identity_.firmwareTime
            << identity_.columns << identity_.model;
    } else if (which == "3") {
        out << state_.shift << (state_.shiftOpen ? "1" : "0") << state_.receiptsInShift
            << timeText(state_.lastDocTime) << static_cast<int>(state_.unsent.size())
            << std::string("ofd.example:7777");
    } else {
        throw Refusal{err::kSyntax};
    }
}

// Date and time are "DD.MM.YYYY HH:MM:SS". The clock never goes back past the
// last document.
void Register::SetDateTime(const Args& in, Reply&) {
    in.expect(1, 1);
    long long wanted = 0;
    bool dateOnly = false;
    if (!parseTime(in.text(0), false, wanted, dateOnly) || dateOnly)
        throw Refusal{err::kWrongDateTime};
    if (wanted < state_.lastDocTime) throw Refusal{err::kWrongTime};
    state_.clockOffset = wanted - hostTime();
}

void Register::GetDateTime(const Args&, Reply& out) {
    out << timeText(now());
}

// The first six status bytes, raw.
void Register::GetStatusFP(const Args&, Reply& out) {
    out << status().substr(0, 6);
}

// Shift open, older than 24 hours, and its age in minutes.
void Register::GetStatusShift(const Args&, Reply& out) {
    const long long age = state_.shiftOpen ? now() - state_.shiftOpenedAt : 0;
    out << (state_.shiftOpen ? "1" : "0") << (age > 24 * 3600 ? "1" : "0") << age / 60;
}

// Document open ("0" none, "1" fiscal receipt, "2" service document), its
// number, its lines, its total and what has been paid.
void Register::FiscalTransactionsStatus(const Args&, Reply& out) {
    const Receipt& r = state_.receipt;
    out << (r.state == Receipt::Fiscal    ? "1"
            : r.state == Receipt::Service ? "2"
                                          : "0")
        << r.slip << static_cast<int>(r.lines.size());
    out.amount(r.state == Receipt::Fiscal ? receiptTotal() : 0).amount(receiptPaid());
}

// Of the open receipt: the lines' sum, the discounts and surcharges, the
// total, what was paid, what is still due, and the change.
void Register::InfoByCurrentInv(const Args&, Reply& out) {
    Money lines = 0;
    for (const Line& line : state_.receipt.lines) lines += line.amount;
    const Money total = state_.receipt.state == Receipt::Fiscal ? receiptTotal() : 0;
    const Money paid = receiptPaid();
    out.amount(lines).amount(total - lines).amount(total).amount(paid);
    out.amount(total > paid ? total - paid : 0).amount(paid > total ? paid - total : 0);
}

void Register::Programming(const Args& in, Reply& out) {
    in.expect(3, 3);
    const ParamSpec& entry = paramSpec(in.text(0));
    const long long index = in.integer(1);
    if (index < 0 || index >= entry.count) throw Refusal{err::kWrongIndex};
    const std::string key = in.text(0) + "\t" + str(index);
    if (in.text(2).empty()) {
        out << param(in.text(0), static_cast<int>(index));
        return;
    }
    long long places = 0;
    if (in.text(0) == "DecimalPoint" && (!parseInt(in.text(2), places) || places < 0 || places > 3))
        throw Refusal{err::kWrongData};
    state_.params[key] = in.text(2);
}

// Service parameters are kept by name; the answer is code "0" and the value.
void Register::SetServiceParam(const Args& in, Reply& out) {
    in.expect(3, 3);
    state_.serviceParams[in.text(0)] = in.text(1);
    out << std::string("0") << in.text(1);
}

void Register::SetTaxRates(const Args& in, Reply& out) {
    in.expect(7, 7);
    requireNoDocument();
    if (state_.shiftOpen) throw Refusal{err::kCloseShift};
    Money rates[kTaxGroups];
    for (int i = 0; i < kTaxGroups; ++i) {
        rates[i] = in.amount(i);
        if (rates[i] < 0 || rates[i] > 9999) throw Refusal{err::kWrongData};
    }
    if (state_.rateChangesLeft <= 0) throw Refusal{err::kFiscalMemoryFull};
    FiscalRecord& record = addFiscalRecord('T');
    Lines doc = documentHeader(dev("НАЛОГОВЫЕ СТАВКИ"));
    for (int i = 0; i < kTaxGroups; ++i) {
        state_.taxRates[i] = record.sums[i] = rates[i];
        doc.push_back(layout_.pair(dev("НДС ") + std::string(1, static_cast<char>('A' + i)),
                                   money(rates[i]) + "%"));
    }
    state_.taxPoint = in.text(6).empty() ? '2' : in.text(6)[0];
    state_.ratesSetInZ = state_.shift;
    state_.ratesSetAt = record.time;
    out << --state_.rateChangesLeft;
    printDocument('T', 0, doc);
}

// Operator number, current password, new password.
void Register::SetOperatorPassword(const Args& in, Reply&) {
    in.expect(3, 3);
    requireOperator(in, 0, 1);
    state_.operatorPasswords[in.integer(0)] = in.text(2);
}

// Command 0xCA also carries the words POWEROFF and RESTART, which a simulator
// takes and otherwise ignores; an image is answered with its size.
void Register::UploadImage(const Args& in, Reply& out) {
    in.expect(1, 1);
    if (in.text(0) == "POWEROFF" || in.text(0) == "RESTART") return;
    out << static_cast<long long>(in.text(0).size());
}

void Register::UploadStamp(const Args& in, Reply& out) {
    in.expect(1, 1);
    out << static_cast<long long>(in.text(0).size());
}

// The request is the number with a minus sign; the answer is the number and
// the register's text for it, empty for a number it does not know.
void Register::ReadingError(const Args& in, Reply& out) {
    in.expect(1, 1);
    const long long code = in.integer(0);
    const int positive = static_cast<int>(code < 0 ? -code : code);
    out << positive << errorText(positive);
}

// Trading groups are the tax groups 1 to 6: lines sold in the shift, their
// sum, and the rate.
void Register::GetTradingGroupInfo(const Args& in, Reply& out) {
    in.expect(1, 1);
    const long long group = in.integer(0);
    if (group < 1 || group > kTaxGroups) throw Refusal{err::kWrongIndex};
    out << state_.totals.lines[group - 1];
    out.amount(state_.totals.byTax[Sale][group - 1]) << money(state_.taxRates[group - 1]) + "%";
}

// A department in the open receipt: tax letter of its last line ("0" when it
// has none), its sum, its lines, its discounts and surcharges, and its name.
void Register::GetDepInfoInCheck(const Args& in, Reply& out) {
    in.expect(1, 1);
    const long long dep = in.integer(0);
    if (dep < 1 || dep > kDepartments) throw Refusal{err::kDepartmentRange};
    char letter = '0';
    Money amount = 0, adjustment = 0;
    int count = 0;
    for (const Line& line : state_.receipt.lines) {
        if (line.department != dep) continue;
        letter = static_cast<char>('A' + line.tax);
        amount += line.amount;
        adjustment += line.adjustment;
        ++count;
    }
    out << std::string(1, letter);
    out.amount(amount) << count;
    out.amount(adjustment) << param("Dept_name", static_cast<int>(dep - 1));
}

}  // namespace sim
