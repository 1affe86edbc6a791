#include "sim/Register.h"

#include <ctime>

#include "wire/Documents.h"
#include "wire/Firmware.h"

namespace sim {

// --- Request fields ------------------------------------------------------------

void Args::expect(size_t least, size_t most) const {
    if (fields_.size() < least || fields_.size() > most) throw Refusal{err::kSyntax};
}

const std::string& Args::text(size_t i) const {
    static const std::string empty;
    return i < fields_.size() ? fields_[i] : empty;
}

char Args::byte(size_t i) const {
    if (text(i).size() != 1) throw Refusal{err::kSyntax};
    return text(i)[0];
}

long long Args::integer(size_t i) const {
    long long value = 0;
    if (!parseInt(text(i), value)) throw Refusal{err::kSyntax};
    return value;
}

Money Args::amount(size_t i) const {
    long long value = 0;
    if (!parseFixed(text(i), 2, value)) throw Refusal{err::kSyntax};
    return value;
}

Milli Args::quantity(size_t i) const {
    long long value = 0;
    if (!parseFixed(text(i), 3, value)) throw Refusal{err::kSyntax};
    return value;
}

// --- Commands --------------------------------------------------------------------

const Register::Entry Register::kCommands[] = {
    {wire::Command::DisplayClear, &Register::Display},
    {wire::Command::DisplayLower, &Register::Display},
    {wire::Command::OpenServiceInv, &Register::OpenServiceInv},
    {wire::Command::CloseServiceInv, &Register::CloseServiceInv},
    {wire::Command::PrintFreeTextInServiceInv, &Register::PrintFreeTextInServiceInv},
    {wire::Command::FeedPaper, &Register::FeedPaper},
    {wire::Command::CheckConnection, &Register::CheckConnection},
    {wire::Command::CutPaper, &Register::CutPaper},
    {wire::Command::DisplayUpper, &Register::Display},
    {wire::Command::OpenFiscalInv, &Register::OpenFiscalInv},
    {wire::Command::RegisterSale, &Register::RegisterSale},
    {wire::Command::ReportOnTaxRates, &Register::ReportOnTaxRates},
    {wire::Command::Subtotal, &Register::Subtotal},
    {wire::Command::TotalCorrecion, &Register::TotalCorrecion},
    {wire::Command::Total, &Register::Total},
    {wire::Command::PrintFreeTextInFiscalInv, &Register::PrintFreeTextInFiscalInv},
    {wire::Command::CloseFiscalInv, &Register::CloseFiscalInv},
    {wire::Command::SetFiscalInvParam, &Register::SetFiscalInvParam},
    {wire::Command::RegisterArticleSale, &Register::RegisterArticleSale},
    {wire::Command::CancelFiscalInv, &Register::CancelFiscalInv},
    {wire::Command::SetDateTime, &Register::SetDateTime},
    {wire::Command::GetDateTime, &Register::GetDateTime},
    {wire::Command::LatestFiscalRecord, &Register::LatestFiscalRecord},
    {wire::Command::AmountOfSavingsPerDay, &Register::AmountOfSavingsPerDay},
    {wire::Command::FreeFieldsByFiscalMemory, &Register::FreeFieldsByFiscalMemory},
    {wire::Command::PrintReport, &Register::PrintReport},
    {wire::Command::ParishOrConsumption, &Register::ParishOrConsumption},
    {wire::Command::PrintDiagnostic, &Register::StateFN},
    {wire::Command::Fiscalization, &Register::Fiscalization},
    {wire::Command::GetStatusFP, &Register::GetStatusFP},
    {wire::Command::GetStatusShift, &Register::GetStatusShift},
    {wire::Command::FiscalTransactionsStatus, &Register::FiscalTransactionsStatus},
    {wire::Command::GetOFDandFNStatus, &Register::GetOFDandFNStatus},
    {wire::Command::Beep, &Register::Silent},
    {wire::Command::SetTaxRates, &Register::SetTaxRates},
    {wire::Command::PrintBarCode, &Register::PrintBarCode},
    {wire::Command::DateOfLastEntryByFiscalMemory, &Register::DateOfLastEntryByFiscalMemory},
    {wire::Command::GetTradingGroupInfo, &Register::GetTradingGroupInfo},
    {wire::Command::GetDepInfoInCheck, &Register::GetDepInfoInCheck},
    {wire::Command::TestFiscalMemory, &Register::TestFiscalMemory},
    {wire::Command::DiagnosticInfo, &Register::DiagnosticInfo},
    {wire::Command::SetManufacturersSerialNumber, &Register::SetManufacturersSerialNumber},
    {wire::Command::PrintDivideLine, &Register::PrintDivideLine},
    {wire::Command::FiscalReportByDate, &Register::FiscalReportByDate},
    {wire::Command::FiscalReportByNumber, &Register::FiscalReportByNumber},
    {wire::Command::SetTAXNumber, &Register::SetTAXNumber},
    {wire::Command::GetTAXNumber, &Register::GetTAXNumber},
    {wire::Command::ReadingError, &Register::ReadingError},
    {wire::Command::SetOperatorPassword, &Register::SetOperatorPassword},
    {wire::Command::InfoByCurrentInv, &Register::InfoByCurrentInv},
    {wire::Command::OperatorReport, &Register::OperatorReport},
    {wire::Command::OpenCashDrawer, &Register::Silent},
    {wire::Command::PrgAndReadArticle, &Register::ArticleDatabase},
    {wire::Command::PrintDublicateReceipt, &Register::PrintDublicateReceipt},
    {wire::Command::DailyReportByTypesOfPayment, &Register::DailyReportByTypesOfPayment},
    {wire::Command::ReportByArticle, &Register::ReportByArticle},
    {wire::Command::ReportByOperators, &Register::ReportByOperatorsOrBlock},
    {wire::Command::ReadDeviceInfo, &Register::ReadDeviceInfo},
    {wire::Command::GetDocInEJByDate, &Register::GetDocInEJByDate},
    {wire::Command::GetInfoFromEJ, &Register::GetInfoFromEJ},
    {wire::Command::PrintStamp, &Register::PrintStamp},
    {wire::Command::ChangeOFDRegistration, &Register::ChangeOFDRegistration},
    {wire::Command::CheckUpdate, &Register::Silent},
    {wire::Command::UploadImage, &Register::UploadImage},
    {wire::Command::UploadStamp, &Register::UploadStamp},
    {wire::Command::SetServiceParam, &Register::SetServiceParam},
    {wire::Command::Programming, &Register::Programming},
};

Register::Register(const Identity& identity, State& state, Paper& paper)
    : identity_(identity), state_(state), paper_(paper), layout_(identity.columns) {}

std::string Register::execute(unsigned int command, const std::string& data) {
    printed_ = lastRefused_ = lastUnknown_ = false;
    if (identity_.ofdOnline && !state_.unsent.empty()) state_.unsent.erase(state_.unsent.begin());
    Handler handler = nullptr;
    for (const Entry& entry : kCommands)
        if (wire::number(entry.command) == command) handler = entry.handler;
    std::vector<std::string> fields;
    // A refused command leaves no trace: the state goes back to where it stood.
    const State before = state_;
    try {
        if (handler == nullptr) {
            lastUnknown_ = true;
            throw Refusal{err::kUnknownCommand};
        }
        if (!splitFields(data, fields)) throw Refusal{err::kSyntax};
        Reply out;
        (this->*handler)(Args(fields), out);
        // ReadDeviceInfo answers without a result field (InfoAndSettings.cpp).
        return command == wire::number(wire::Command::ReadDeviceInfo) ? out.data()
                                                                      : "0\t" + out.data();
    } catch (const Refusal& refusal) {
        state_ = before;
        paper_.discard();
        lastRefused_ = true;
        return "-" + str(refusal.code) + "\t";
    }
}

// The status bytes:
//   byte 0: bit 0 the last command was refused, bit 1 it was unknown
//   byte 1: bit 0 a fiscal receipt is open, bit 1 a service document is open,
//           bit 2 payment has begun, bit 3 the receipt is paid in full
//   byte 2: bit 0 the shift is open, bit 1 it is older than 24 hours
//   byte 3: bit 0 the register is fiscalized, bit 1 documents wait for the
//           data operator
//   byte 4: bit 0 the last command printed
//   bytes 5 to 7: always 0
std::string Register::status() const {
    std::string bytes(8, '\0');
    const Receipt& r = state_.receipt;
    bytes[0] = static_cast<char>((lastRefused_ ? 1 : 0) | (lastUnknown_ ? 2 : 0));
    const Money paid = receiptPaid();
    bytes[1] = static_cast<char>(
        (r.state == Receipt::Fiscal ? 1 : 0) | (r.state == Receipt::Service ? 2 : 0) |
        (paid > 0 ? 4 : 0) |
        (r.state == Receipt::Fiscal && paid > 0 && paid >= receiptTotal() ? 8 : 0));
    const bool over24h = state_.shiftOpen && now() - state_.shiftOpenedAt > 24 * 3600;
    bytes[2] = static_cast<char>((state_.shiftOpen ? 1 : 0) | (over24h ? 2 : 0));
    bytes[3] = static_cast<char>((state_.fiscalized ? 1 : 0) | (state_.unsent.empty() ? 0 : 2));
    bytes[4] = static_cast<char>(printed_ ? 1 : 0);
    return bytes;
}

// --- Shared steps ------------------------------------------------------------------

long long Register::hostTime(const Identity& identity) {
    return identity.clockStands ? 0 : static_cast<long long>(std::time(nullptr));
}

long long Register::clock(const Identity& identity, const State& state) {
    return hostTime(identity) + state.clockOffset;
}

std::string Register::timeText(long long time) const {
    return formatTime(time);
}

std::string Register::dateText(long long time) const {
    return timeText(time).substr(0, 10);
}

void Register::print(const Lines& lines) {
    paper_.print(lines);
    printed_ = true;
    if (state_.receipt.state != Receipt::None)
        state_.receipt.printed.insert(state_.receipt.printed.end(), lines.begin(), lines.end());
}

int Register::nextDocument() {
    return ++state_.documents;
}

int Register::nextFiscalDocument(long long time) {
    ++state_.fds;
    state_.unsent.push_back(Unsent{state_.fds, time});
    return state_.fds;
}

// Records are numbered in order; a Z record carries the shift's number
// instead.
FiscalRecord& Register::addFiscalRecord(char type) {
    FiscalRecord record;
    record.type = type;
    record.number = static_cast<int>(state_.fiscalMemory.size()) + 1;
    record.time = now();
    state_.fiscalMemory.push_back(record);
    return state_.fiscalMemory.back();
}

long long Register::fiscalSign(int fd) const {
    // FNV-1a over the drive's number and the document's: nine digits.
    unsigned int hash = 2166136261u;
    for (char c : identity_.fnNumber + "/" + str(fd))
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    return 100000000 + hash % 900000000u;
}

Lines Register::documentHeader(const std::string& title) const {
    Lines lines;
    for (int i = 0; i < 4; ++i) {
        const std::string header = param("Header", i);
        if (!header.empty()) lines.push_back(layout_.center(header));
    }
    lines.push_back(
        layout_.pair(dev("ЗН ККТ ") + state_.serial, dev("ДОК № ") + str(state_.documents + 1)));
    lines.push_back(layout_.pair(timeText(now()).substr(0, 16), dev("ИНН ") + state_.taxNumber));
    lines.push_back(layout_.center(title));
    return lines;
}

void Register::printDocument(char type, int fd, const Lines& lines) {
    JournalDoc doc;
    doc.number = nextDocument();
    doc.shift = state_.shift;
    doc.fd = fd;
    doc.type = type;
    doc.time = now();
    doc.lines = lines;
    if (fd != 0)
        doc.lines.push_back(layout_.pair(dev(wire::document::kFiscalNumberLabel) + " " +
                                             dev(wire::document::kNumberSign) + " " + str(fd),
                                         dev(wire::document::kSignMark) + str(fiscalSign(fd))));
    paper_.print(doc.lines);
    printed_ = true;
    state_.lastDocTime = doc.time;
    state_.journal.push_back(doc);
}

void Register::requireNoDocument() const {
    if (state_.receipt.state == Receipt::Fiscal) throw Refusal{err::kFiscalReceiptOpen};
    if (state_.receipt.state == Receipt::Service) throw Refusal{err::kServiceDocOpen};
}

void Register::requireShiftOpen() const {
    if (!state_.shiftOpen) throw Refusal{err::kShiftClosed};
    if (now() - state_.shiftOpenedAt > 24 * 3600) throw Refusal{err::kShiftOver24h};
}

// The drive makes fiscal documents through the last day of its validity; a
// Z report still closes the shift after it.
void Register::requireDriveValid() const {
    long long lastDay = 0;
    bool dateOnly = false;
    if (parseTime(identity_.fnDeadline, true, lastDay, dateOnly) && now() > lastDay)
        throw Refusal{err::kDriveExpired};
}

void Register::requireFiscalReceipt() const {
    if (state_.receipt.state == Receipt::Service) throw Refusal{err::kServiceDocOpen};
    if (state_.receipt.state != Receipt::Fiscal) throw Refusal{err::kReceiptClosed};
}

void Register::requireOperator(const Args& in, size_t number, size_t password) const {
    const long long op = in.integer(number);
    if (op < 1 || op > kOperators || state_.operatorPasswords[op] != in.text(password))
        throw Refusal{err::kWrongPassword};
}

int Register::taxGroup(char code) const {
    if (code >= '1' && code <= '6') return code - '1';
    if (code >= 'A' && code <= 'F') return code - 'A';
    throw Refusal{err::kTaxForbidden};
}

// The firmware generation is told as the driver tells it; a revision that is
// not a number counts as 0.
long long Register::firmwareRevision() const {
    long long revision = 0;
    return parseInt(identity_.firmware, revision) ? revision : 0;
}

bool Register::shortReceiptFields() const {
    return wire::shortReceiptFields(firmwareRevision());
}

bool Register::longArticleRecord() const {
    return wire::longArticleRecord(firmwareRevision());
}

Money Register::receiptTotal() const {
    if (state_.receipt.corrected) return receiptPaid();
    Money total = state_.receipt.receiptAdjustment;
    for (const Line& line : state_.receipt.lines) total += line.amount + line.adjustment;
    return total;
}

Money Register::receiptPaid() const {
    Money paid = 0;
    for (Money p : state_.receipt.payments) paid += p;
    return paid;
}

Counted& Register::operatorTotal(int op, int slot) {
    std::vector<Counted>& row = state_.totals.byOperator[op];
    row.resize(7);
    return row[slot];
}

}  // namespace sim
