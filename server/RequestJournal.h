#ifndef VERDA_SERVER_REQUESTJOURNAL_H
#define VERDA_SERVER_REQUESTJOURNAL_H

// The request journal: every request that changes a register, and each of
// its steps, in SQLite (WAL, synchronous writes). It is the only record of
// what was asked and what became of it; a request is written here before
// the register is touched, so that a server killed at any moment finds on
// its next start every request that may have reached a register. A request
// changes its state only by a move of the table in Lifecycle.h.

#include <sqlite3.h>
#include <sys/types.h>

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

#include "Lifecycle.h"

namespace server {

using nlohmann::json;

// The journal cannot be written or read (disk full, an I/O error), or its
// file is no longer the one at the configured path.
struct JournalError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Step {
    std::string step;
    long long at = 0;  // ms since the epoch
    json detail;
};

struct Request {
    std::string key;
    std::string device;
    std::string method;
    std::string route;
    std::string kind;  // receipt, shift-open, z-report, cash-in, ...
    std::string hash;
    json body;
    State state = State::Received;
    int status = 0;  // HTTP status of the recorded answer; 0 while there is none
    json answer;     // null while there is none
    json witness;    // the register and its counters, written with "sent"
    long long created = 0, updated = 0;
    std::vector<Step> steps;
};

struct RequestFilter {
    std::string device, state;
    long long since = 0, until = 0;  // ms since the epoch; 0: no bound
    int limit = 100;
};

// Whether the journal can take writes, and why not.
struct JournalHealth {
    bool writable = true;
    bool lost = false;  // deleted or replaced: only a restart brings it back
    std::string cause;  // "disk full", "I/O error", "deleted", ...
};

class RequestJournal {
  public:
    // Opens or creates the file; false with a message. ":memory:" keeps the
    // journal in memory, with no file to watch (for the tests).
    bool open(const std::string& path, std::string& error);
    ~RequestJournal();

    // Inserts a new request in "received" with its first step, or, when the
    // key is known, returns the request as it stands (inserted false).
    Request begin(const Request& request, bool& inserted);
    // The move of the table's row (from, event): its step with detail, the
    // new state, the answer (which must have the row's shape; cleared by a
    // row without one) and, for Send, the witness; one synchronous commit.
    // False with nothing written when there is no such row or the answer has
    // another shape (a defect), or when the request is no longer in from.
    bool move(const std::string& key, State from, Event event, const json& detail = nullptr,
              const json& answer = nullptr, const json& witness = nullptr);
    // A step that changes no state (a receipt's "closing", a settlement that
    // could not decide).
    void step(const std::string& key, const std::string& step, const json& detail = nullptr);
    std::optional<Request> get(const std::string& key, bool withSteps = true);
    std::vector<Request> list(const RequestFilter& filter);
    // Requests of a register that are not final, oldest first.
    std::vector<Request> unsettled(const std::string& device);
    // Requests of registers other than these that are not final.
    std::vector<Request> unsettledElsewhere(const std::set<std::string>& devices);

    // Whether changes may be written; checks that the file at the path is
    // still the one open (a deleted or replaced journal is lost for good).
    JournalHealth health();
    // Synchronous commits so far.
    unsigned long long commits();
    // Called when the journal fails or becomes writable again.
    void onHealthChange(std::function<void(const JournalHealth&)> listener);

    static long long now();

  private:
    void exec(const char* sql);
    void transaction(const std::function<void()>& body);
    Request read(sqlite3_stmt* row) const;
    sqlite3_stmt* prepared(const std::string& sql);
    void failed(int code, const std::string& message);
    void succeeded();
    bool stillThere();
    void probe();

    sqlite3* db_ = nullptr;
    std::string path_;
    std::mutex mutex_;
    std::map<std::string, sqlite3_stmt*> prepared_;
    unsigned long long commits_ = 0;
    // The files at the path when it was opened: the journal and its log.
    struct FileId {
        dev_t device = 0;
        ino_t inode = 0;
    } file_, log_;
    bool watched_ = false;
    std::mutex healthMutex_;  // health_ and listener_; never held around a write
    JournalHealth health_;
    std::function<void(const JournalHealth&)> listener_;
    // Checkpoints, on a connection of their own; and, while the journal
    // cannot be written, a write that tries again.
    std::thread checkpointer_;
    std::mutex stopMutex_;
    std::condition_variable stop_;
    bool stopped_ = false;
};

}  // namespace server

#endif
