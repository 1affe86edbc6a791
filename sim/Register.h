#ifndef VERDA_SIM_REGISTER_H
#define VERDA_SIM_REGISTER_H

// The simulated register's command layer: one request's data in, one reply's
// data out. A request is a row of tab-ended fields; the reply's first field
// is "0" or the negative number of a refusal (Errors.h), and on "0" the
// command's fields follow, each ended by a tab.

#include <string>
#include <vector>

#include "sim/Errors.h"
#include "sim/Paper.h"
#include "sim/State.h"
#include "wire/Command.h"

namespace sim {

// The fields of a request, read with the register's own rules: a field that
// does not parse is a syntax error (Refusal), not a zero.
class Args {
  public:
    explicit Args(std::vector<std::string> fields) : fields_(std::move(fields)) {}
    size_t size() const { return fields_.size(); }
    void expect(size_t least, size_t most) const;
    bool has(size_t i) const { return i < fields_.size() && !fields_[i].empty(); }
    const std::string& text(size_t i) const;
    char byte(size_t i) const;  // a field of exactly one byte
    long long integer(size_t i) const;
    Money amount(size_t i) const;
    Milli quantity(size_t i) const;

  private:
    std::vector<std::string> fields_;
};

// The fields of a reply after the leading "0".
class Reply {
  public:
    Reply& operator<<(const std::string& field) {
        data_ += field;
        data_ += '\t';
        return *this;
    }
    Reply& operator<<(long long value) { return *this << str(value); }
    Reply& operator<<(int value) { return *this << str(value); }
    Reply& amount(Money value) { return *this << money(value); }
    const std::string& data() const { return data_; }

  private:
    std::string data_;
};

class Register {
  public:
    // state is kept by the caller and changed in place.
    Register(const Identity& identity, State& state, Paper& paper);

    // Executes one command and gives the reply's data.
    std::string execute(unsigned int command, const std::string& data);
    // The eight status bytes after the last command (see Register.cpp).
    std::string status() const;
    // Whether the last command printed.
    bool printed() const { return printed_; }
    // Device time, seconds since the epoch.
    long long now() const { return clock(identity_, state_); }
    // What the clock runs by: the host's time, or 0 when it stands.
    long long hostTime() const { return hostTime(identity_); }
    static long long hostTime(const Identity& identity);
    // The time a register of this identity and state shows.
    static long long clock(const Identity& identity, const State& state);

  private:
    typedef void (Register::*Handler)(const Args&, Reply&);
    struct Entry {
        wire::Command command;
        Handler handler;
    };
    static const Entry kCommands[];

    // Shared steps.
    void print(const Lines& lines);
    void printDocument(char type, int fd, const Lines& lines);  // a whole document
    int nextDocument();
    int nextFiscalDocument(long long time);
    FiscalRecord& addFiscalRecord(char type);
    long long fiscalSign(int fd) const;
    std::string timeText(long long time) const;
    std::string dateText(long long time) const;
    Lines documentHeader(const std::string& title) const;
    void requireNoDocument() const;
    void requireShiftOpen() const;
    void requireDriveValid() const;
    void requireFiscalReceipt() const;
    void requireOperator(const Args& in, size_t number, size_t password) const;
    int taxGroup(char code) const;
    long long firmwareRevision() const;
    bool shortReceiptFields() const;  // the opening and the sale line
    bool longArticleRecord() const;
    Money receiptTotal() const;
    Money receiptPaid() const;
    std::string param(const std::string& name, int index) const;
    Counted& operatorTotal(int op, int slot);

    // Device information and settings (InfoAndSettings.cpp).
    void CheckConnection(const Args&, Reply&);
    void Display(const Args&, Reply&);
    void Silent(const Args&, Reply&);
    void DiagnosticInfo(const Args&, Reply&);
    void ReadDeviceInfo(const Args&, Reply&);
    void SetDateTime(const Args&, Reply&);
    void GetDateTime(const Args&, Reply&);
    void GetStatusFP(const Args&, Reply&);
    void GetStatusShift(const Args&, Reply&);
    void FiscalTransactionsStatus(const Args&, Reply&);
    void InfoByCurrentInv(const Args&, Reply&);
    void Programming(const Args&, Reply&);
    void SetServiceParam(const Args&, Reply&);
    void SetTaxRates(const Args&, Reply&);
    void SetOperatorPassword(const Args&, Reply&);
    void UploadImage(const Args&, Reply&);
    void UploadStamp(const Args&, Reply&);
    void ReadingError(const Args&, Reply&);
    void GetTradingGroupInfo(const Args&, Reply&);
    void GetDepInfoInCheck(const Args&, Reply&);

    // Shifts, receipts and printing (Receipts.cpp).
    void OpenFiscalInv(const Args&, Reply&);
    void OpenShift(Reply&);
    void RegisterSale(const Args&, Reply&);
    void RegisterArticleSale(const Args&, Reply&);
    void addLine(Line line, char discountType, const std::string& discountValue);
    void PrintFreeTextInFiscalInv(const Args&, Reply&);
    void SetFiscalInvParam(const Args&, Reply&);
    void Subtotal(const Args&, Reply&);
    void Total(const Args&, Reply&);
    void TotalCorrecion(const Args&, Reply&);
    void CloseFiscalInv(const Args&, Reply&);
    void CancelFiscalInv(const Args&, Reply&);
    void ParishOrConsumption(const Args&, Reply&);
    void OpenServiceInv(const Args&, Reply&);
    void PrintFreeTextInServiceInv(const Args&, Reply&);
    void CloseServiceInv(const Args&, Reply&);
    void PrintBarCode(const Args&, Reply&);
    void PrintDivideLine(const Args&, Reply&);
    void PrintStamp(const Args&, Reply&);
    void FeedPaper(const Args&, Reply&);
    void CutPaper(const Args&, Reply&);
    void PrintDublicateReceipt(const Args&, Reply&);
    std::string formattedText(const Args& in) const;
    void endReceipt(char journalType, int fd);

    // Reports, fiscal memory, fiscal drive and journal (FiscalRecords.cpp).
    void PrintReport(const Args&, Reply&);
    void ReportOnTaxRates(const Args&, Reply&);
    void LatestFiscalRecord(const Args&, Reply&);
    void AmountOfSavingsPerDay(const Args&, Reply&);
    void OperatorReport(const Args&, Reply&);
    void ReportByArticle(const Args&, Reply&);
    void ReportByOperatorsOrBlock(const Args&, Reply&);
    void DailyReportByTypesOfPayment(const Args&, Reply&);
    void Fiscalization(const Args&, Reply&);
    void SetTAXNumber(const Args&, Reply&);
    void GetTAXNumber(const Args&, Reply&);
    void SetManufacturersSerialNumber(const Args&, Reply&);
    void FiscalReportByDate(const Args&, Reply&);
    void FiscalReportByNumber(const Args&, Reply&);
    void TestFiscalMemory(const Args&, Reply&);
    void FreeFieldsByFiscalMemory(const Args&, Reply&);
    void DateOfLastEntryByFiscalMemory(const Args&, Reply&);
    void StateFN(const Args&, Reply&);
    void GetOFDandFNStatus(const Args&, Reply&);
    void ChangeOFDRegistration(const Args&, Reply&);
    void GetDocInEJByDate(const Args&, Reply&);
    void GetInfoFromEJ(const Args&, Reply&);
    Lines totalsReport(const std::string& title, int number) const;
    void fiscalReport(const Args& in, bool byDate, Reply& out);
    void requireInspector(const std::string& password) const;

    // The article database (ArticleDatabase.cpp).
    void ArticleDatabase(const Args&, Reply&);
    void writeArticle(const Args& in);
    void articleRecord(int plu, const Article& article, bool longForm, Reply& out) const;
    int walkArticle(char letter, int from) const;

    Identity identity_;
    State& state_;
    Paper& paper_;
    Layout layout_;
    bool printed_ = false;
    bool lastRefused_ = false;
    bool lastUnknown_ = false;
};

}  // namespace sim

#endif
