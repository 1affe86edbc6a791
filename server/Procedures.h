#ifndef VERDA_SERVER_PROCEDURES_H
#define VERDA_SERVER_PROCEDURES_H

// What each request does on its register, as a sequence of the library's
// operations. Everything here runs on the register's worker thread, with the
// link open.

#include <functional>
#include <string>

#include "Orders.h"
#include "RegisterHandle.h"

namespace server {

// A request as it runs: its register, and its part in the journal.
class Run {
  public:
    Run(RegisterHandle& device, std::function<void()> send,
        std::function<void(const std::string&, const json&)> step)
        : device(device), send_(std::move(send)), step_(std::move(step)) {}
    RegisterHandle& device;
    // Reads the witness of the request's kind from the register and records
    // it with the step "sent": called before the first command that changes
    // the register, which is never sent unless this returned.
    void send() { send_(); }
    // Records a step of the request.
    void step(const std::string& name, const json& detail = nullptr) { step_(name, detail); }
    // Set just before a command that may fiscalise a document: a lost link
    // from then on leaves the request ambiguous.
    bool fiscal = false;

  private:
    std::function<void()> send_;
    std::function<void(const std::string&, const json&)> step_;
};

// A refusal of a part of a receipt names the part ("lines[2]",
// "payments[0]", "text[1]"); a refused line also carries its index.
struct LineRefused {
    Refused refusal;
    int line;  // -1 for a part other than a sale line
    std::string field;
};

// The requests that change a register, by kind. Each returns the committed
// answer; a refusal, a lost link or a refused line comes out as Refused,
// LinkLost or LineRefused, after the register was left free (an open
// document cancelled) where the link allows.
json runReceipt(Run& run, const ReceiptOrder& order);
json runCorrection(Run& run, const CorrectionOrder& correction);
json runDuplicate(Run& run);  // the last receipt printed again
json runShiftOpen(Run& run, const receipt::Cashier& cashier);
json runReport(Run& run, char type);  // 'X' or 'Z'
json runCash(Run& run, bool in, double amount);
json runText(Run& run, const std::vector<std::string>& lines);
json runDrawer(Run& run);
json runSetClock(Run& run, const std::string& datetime);
json runPutArticle(Run& run, int code, const ArticleOrder& article);
json runDeleteArticle(Run& run, int code);

// Reads that go through the register's queue but leave no trace in the journal.
json readClock(RegisterHandle& device);
// A document of the electronic journal: number, shift, time, kind, lines and,
// for a fiscal one, its sign.
json readJournalDocument(RegisterHandle& device, int number, bool byFiscalNumber);
json readArticles(RegisterHandle& device);

// Closes a receipt or service document left open, so that the register is
// free again.
void freeRegister(RegisterHandle& device);

// Amounts as the register counts them: kopecks.
double money(double value);

// The shift's cash: in the drawer, put in and taken out.
struct CashTotals {
    double cash = 0, in = 0, out = 0;
};
CashTotals cashTotals(RegisterHandle& device);

// {..., "state": "committed"}.
json committed(json answer);

}  // namespace server

#endif
