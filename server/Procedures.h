#ifndef VERDA_SERVER_PROCEDURES_H
#define VERDA_SERVER_PROCEDURES_H

// What each request does on its register, as a sequence of the library's
// operations, and how a request left in flight is settled from what the
// register shows afterwards. Everything here runs on the register's worker
// thread, with the link open.

#include <functional>
#include <string>

#include "RegisterHandle.h"
#include "RequestJournal.h"
#include "Orders.h"

namespace server {

// The journal as seen by one request while it runs.
class Run {
  public:
    Run(Device& device, std::function<void(const std::string&, const json&)> step,
        std::function<void(const json&)> sent)
        : device(device), step_(std::move(step)), sent_(std::move(sent)) {}
    Device& device;
    // Records a step of the request.
    void step(const std::string& name, const json& detail = nullptr) { step_(name, detail); }
    // Records the register's counters and the step "sent": called before the
    // first command that changes the register.
    void sent(const json& witness) { sent_(witness); }
    // Set just before a command that may fiscalise a document: a lost link
    // from then on leaves the request ambiguous.
    bool fiscal = false;

  private:
    std::function<void(const std::string&, const json&)> step_;
    std::function<void(const json&)> sent_;
};

// A refusal of a receipt's line carries the line's index.
struct LineRefused {
    Refused refusal;
    int line;
};

// The requests that change a register, by kind. Each returns the committed
// answer; a refusal, a lost link or a refused line comes out as Refused,
// LinkLost or LineRefused, after the register was left free (an open
// document cancelled) where the link allows.
json runReceipt(Run& run, const ReceiptOrder& order);
json runShiftOpen(Run& run, const std::string& cashier);
json runReport(Run& run, char type);  // 'X' or 'Z'
json runCash(Run& run, bool in, double amount);
json runText(Run& run, const std::vector<std::string>& lines);
json runDrawer(Run& run);
json runSetClock(Run& run, const std::string& datetime);
json runPutArticle(Run& run, int code, const ArticleOrder& article);
json runDeleteArticle(Run& run, int code);

// Reads that go through the register's queue but leave no trace in the journal.
json readClock(Device& device);
json readJournalDocument(Device& device, int number, bool byFiscalNumber);
json readArticles(Device& device);

// The register's counters that any fiscal step moves: the fiscal drive's
// last document number and the shift's cash in and out.
json witnessOfAny(Device& device);

// Whether a kind of request may fiscalise a document, so that a lost link
// in it must be settled from the register.
bool mayFiscalise(const std::string& kind);

// Settles a request left in flight (ambiguous, or interrupted by a restart)
// from the register: the committed answer, or null when the register shows
// that the request did not take effect. An open receipt or service document
// is closed. Throws LinkLost when the register stops answering.
json settle(Device& device, const Request& request);

// Closes a receipt or service document left open, so that the register is
// free again.
void freeRegister(Device& device);

// What the register shows: the reading behind GET /devices/{id}.
json readStatus(Device& device);

}  // namespace server

#endif
