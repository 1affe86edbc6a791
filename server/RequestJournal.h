#ifndef VERDA_SERVER_REQUESTJOURNAL_H
#define VERDA_SERVER_REQUESTJOURNAL_H

// The journal: every request that changes a register, and each of its steps,
// in SQLite (WAL, synchronous writes). It is the only record of what was
// asked and what became of it; a request is written here before the register
// is touched, so that a server killed at any moment finds on its next start
// every request that may have reached a register.

#include <sqlite3.h>

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

namespace server {

using nlohmann::json;

// The states of a request (column requests.state); see Worker.cpp for the
// transitions.
namespace state {
inline const char kReceived[] = "received";
inline const char kSent[] = "sent";
inline const char kCommitted[] = "committed";
inline const char kRefused[] = "refused";
inline const char kAmbiguous[] = "ambiguous";
inline const char kNotCommitted[] = "not-committed";
inline const char kNotSent[] = "not-sent";
inline const char kNoReply[] = "no-reply";
}  // namespace state

// Whether nothing more will happen to a request in this state.
bool isFinal(const std::string& state);

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
    std::string state;
    int status = 0;  // HTTP status of the recorded answer; 0 while there is none
    json answer;     // null while there is none
    json witness;    // the register's counters before the first step that may fiscalise
    long long created = 0, updated = 0;
    std::vector<Step> steps;
};

struct RequestFilter {
    std::string device, state;
    long long since = 0, until = 0;  // ms since the epoch; 0: no bound
    int limit = 100;
};

class Journal {
  public:
    // Opens or creates the file; false with a message.
    bool open(const std::string& path, std::string& error);
    ~Journal();

    // Inserts a new request in state "received" with its first step, or,
    // when the key is known, returns the request as it stands (inserted
    // false).
    Request begin(const Request& request, bool& inserted);
    // Appends a step; with a state, also moves the request to it; with an
    // answer, records it.
    void step(const std::string& key, const std::string& step, const json& detail = nullptr,
              const std::string& newState = "", int status = 0, const json& answer = nullptr);
    // Records the witness (before the first step that may fiscalise) with the
    // step "sent".
    void sent(const std::string& key, const json& witness, const json& detail = nullptr);
    std::optional<Request> get(const std::string& key, bool withSteps = true);
    std::vector<Request> list(const RequestFilter& filter);
    // Requests of a register that are not final, oldest first.
    std::vector<Request> unsettled(const std::string& device);

    static long long now();

  private:
    void exec(const char* sql);
    void transaction(const std::function<void()>& body);
    Request read(sqlite3_stmt* row) const;
    // The statement of this text, prepared once and kept; under mutex_.
    sqlite3_stmt* prepared(const std::string& sql);

    sqlite3* db_ = nullptr;
    std::mutex mutex_;
    std::map<std::string, sqlite3_stmt*> prepared_;
    // Checkpoints, on a connection of their own.
    std::thread checkpointer_;
    std::mutex stopMutex_;
    std::condition_variable stop_;
    bool stopped_ = false;
};

}  // namespace server

#endif
