#ifndef VERDA_SERVER_WORKER_H
#define VERDA_SERVER_WORKER_H

// One register's worker: its own thread, queue and link. Registers work in
// parallel; a slow one holds up nobody else. See Worker.cpp for the life of
// a request.

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "Config.h"
#include "RegisterHandle.h"
#include "Events.h"
#include "RequestJournal.h"
#include "Metrics.h"
#include "Procedures.h"

namespace sim {
class Simulator;
}

namespace server {

using Clock = std::chrono::steady_clock;

// What the server shares between its workers and its HTTP side.
struct Shared {
    const Config& config;
    Journal& journal;
    Metrics& metrics;
    Events& events;
    // A step of a request into the journal, and out as an event.
    void record(const std::string& device, const std::string& key, const std::string& step,
                const json& detail = nullptr, const std::string& newState = "", int status = 0,
                const json& answer = nullptr);
};

// An HTTP answer.
struct Outcome {
    int status = 0;
    json body;
};

// The answer of a request that did not start before its deadline.
Outcome notSent(const std::string& device);
// {"error": {...}} with a code, text and field.
json errorBody(int code, const std::string& text, const json& field = nullptr);

class Worker {
  public:
    Worker(const DeviceConfig& config, Shared& shared, const std::string& stateDir);
    ~Worker();
    void start();
    void stop();

    const std::string& id() const { return config_.id; }
    bool simulated() const { return config_.kind == DeviceConfig::Simulated; }
    const std::string& paperFile() const { return paperFile_; }

    // A read on the register through its queue. 503 when it could not start
    // before the deadline, 504 when the register did not answer.
    Outcome read(std::function<json(Device&)> task, Clock::time_point deadline);
    // A request recorded in the journal ("received"), run on the register.
    Outcome perform(const Request& request, std::function<json(Run&)> task,
                    Clock::time_point deadline);

    // The last reading, without waiting for the register.
    json describe();
    int queueDepth();
    bool online();

  private:
    struct Job;
    void loop();
    bool connect();
    bool reconnect(Clock::time_point deadline);
    void setLink(const std::string& state, const std::string& error = "");
    void refresh();
    void settleAll();
    void settleOne(const Request& request);
    void execute(Job& job);
    Outcome runRequest(Job& job);
    void finish(Job& job, Outcome outcome);
    Outcome submit(std::shared_ptr<Job> job);

    DeviceConfig config_;
    Shared& shared_;
    std::string paperFile_, simStateFile_;
    std::unique_ptr<sim::Simulator> simulator_;
    std::thread simThread_;
    std::string host_;
    int port_ = 0;
    std::unique_ptr<Device> device_;

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::shared_ptr<Job>> queue_;
    std::set<std::string> active_;  // keys of the requests queued or running here
    bool stopping_ = false;
    bool unsettled_ = true;  // the journal may hold requests of this register left in flight
    std::thread thread_;

    // The reading, guarded by mutex_.
    std::string link_ = "offline";
    long long linkSince_ = 0;
    std::string linkError_;
    std::string model_, firmware_, serial_;
    int attempts_ = 0;
    json reading_;
    long long readingAt_ = 0;
    Clock::time_point lastRefresh_;
    bool readingDue_ = false;  // a reading follows the change just answered
    std::condition_variable readingDone_;
    std::chrono::milliseconds backoff_{100};
};

}  // namespace server

#endif
