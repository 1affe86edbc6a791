#ifndef VERDA_SERVER_SETTLEMENT_H
#define VERDA_SERVER_SETTLEMENT_H

// Settlement: what became of a request that may have reached the register
// when its reply was lost (or the server stopped), found out from the
// register itself, before the register takes any new change.
//
// - The witness, written with "sent" before the register is touched, holds
//   the register's identity (its device number and fiscal drive) and the
//   counters that the request's kind moves: the drive's last fiscal
//   document; for cash in and out the register's last document of any kind
//   and the shift's cash sums.
// - A register of another identity at the address never settles anything:
//   the request stays ambiguous, and the register is reported replaced.
// - A counter that did not move: the request did not take effect; a
//   receipt or service document left open is closed (not-committed).
// - A counter that moved: the document right past the witness is read back
//   from the electronic journal. It is the request's only when its kind and
//   total are the request's; then its number and sign are recorded
//   (committed). Another document (printed meanwhile by someone else) leaves
//   the request ambiguous, for a person to settle.
// - A request that cannot fiscalise: the register is freed, and the outcome
//   stays unknown (no-reply).
// While anything is left unsettled the register takes no new change; the
// settlement is tried again with a back-off (100 ms, doubling to 10 s).

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "Answers.h"
#include "RequestKinds.h"
#include "Shared.h"

namespace server {

// The register's counters that a request of this kind would move, with the
// register's identity: read right before "sent".
json readWitness(RegisterHandle& device, Fiscal fiscal);

// What the register shows about a request left in flight.
struct Finding {
    enum Verdict { Committed, NotCommitted, NoReply, Undecided } verdict = Undecided;
    json answer;            // Committed: the request's answer
    json detail;            // for the journal: the outcome, and what was found
    bool replaced = false;  // another register is at the address
};

// Reads the register; throws LinkLost or Refused when it will not tell.
Finding examine(RegisterHandle& device, const Request& request);

class Settlement {
  public:
    Settlement(Shared& shared, const std::string& device);

    // Why the register takes no new change.
    enum class Hold {
        None,
        Settling,      // the register has not told yet (a refusal, the link): tried again
        Replaced,      // another register at the address
        NeedsAPerson,  // another document past the witness, or an operation by name
        Journal,       // the journal cannot be written
    };

    // Settles what the journal holds in flight for the register, if a pass
    // is due. True when nothing is left and changes may run. LinkLost comes
    // out, for the worker to open the link again.
    bool pass(RegisterHandle& device);
    // Applies a finding to a request in from; false when the request is left
    // unsettled. JournalError when it cannot be written.
    bool apply(const Request& request, State from, const Finding& finding);
    // Something may be left in flight: the next pass looks, at once.
    void mark();
    // A request in "received" whose run ended without sending anything.
    void abandon(const std::string& key);
    // When the next pass is due, while changes are held.
    Clock::time_point due();

    bool held();
    bool replaced();
    // {"state": "open" | "settling" | "replaced" | "needs-a-person" |
    //  "journal-unavailable", "unsettled": [keys], "expected", "found"}.
    json describe();

  private:
    void hold(Hold reason, Clock::time_point now);

    Shared& shared_;
    std::string device_;
    std::mutex mutex_;
    bool pending_ = true;  // the journal may hold requests of this register in flight
    Hold hold_ = Hold::None;
    Clock::time_point due_;
    std::chrono::milliseconds backoff_;
    std::set<std::string> abandoned_;
    std::vector<std::string> unsettled_;
    json expected_, found_;                  // when replaced
    std::map<std::string, json> lastFound_;  // what each request's last pass found
};

}  // namespace server

#endif
