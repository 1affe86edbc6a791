#ifndef VERDA_SERVER_WORKER_H
#define VERDA_SERVER_WORKER_H

// One register's worker: its own thread, made of three parts, the link with
// its back-off (RegisterLink.h), the queue of jobs (JobQueue.h) and the
// settlement of what was left in flight (Settlement.h). Registers work in
// parallel; a slow one holds up nobody else. A request that changes the
// register moves through the lifecycle of Lifecycle.h.

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "JobQueue.h"
#include "Reading.h"
#include "RegisterLink.h"
#include "RequestKinds.h"
#include "Settlement.h"

namespace server {

class Worker {
  public:
    // paperFile: a simulated register's paper, for GET /devices/{id}/paper.
    Worker(const DeviceConfig& config, Shared& shared, const std::string& stateDir,
           const std::string& paperFile = "");
    ~Worker();
    void start();
    void stop();

    const std::string& id() const { return config_.id; }
    const DeviceConfig& config() const { return config_; }
    bool simulated() const { return config_.kind == DeviceConfig::Simulated; }
    const std::string& paperFile() const { return paperFile_; }

    // A read on the register through its queue. 503 when it could not start
    // before the deadline, 504 when the register did not answer, 429 when
    // the queue is full.
    Outcome read(std::function<json(RegisterHandle&)> task, Clock::time_point deadline);
    // A request that changes the register, from the journal on: a new key is
    // recorded ("received") and run; a repeat gets the recorded answer, or
    // runs again when the first did not take effect.
    Outcome change(const Request& request, const Task& task, Clock::time_point deadline);
    // A request of this register was settled by hand: the worker looks again.
    void wake();

    // The last reading, without waiting for the register (but for a reading
    // that follows a change just answered, unless told not to).
    json describe(bool waitForReading = true);
    // The gauges of GET /metrics: the link, the queue, the fiscal health.
    Metrics::DeviceGauges gauges();
    int queueDepth();
    bool online();
    // Whether the register takes no new change now, and why (Settlement).
    json changes();
    bool held();
    bool replaced();

  private:
    void loop();
    // Reads the status, and the fiscal health with it when full or due.
    void refresh(bool full = false);
    health::Given given();
    void execute(JobQueue::Job& job);
    Outcome run(const Request& request, const Task& task, Clock::time_point deadline);
    std::optional<Outcome> submit(std::function<Outcome()> run, bool change,
                                  Clock::time_point deadline);
    bool pause(Clock::time_point until) { return queue_.pause(until); }

    DeviceConfig config_;
    Shared& shared_;
    std::string paperFile_;
    RegisterLink link_;
    JobQueue queue_;
    Settlement settlement_;
    std::thread thread_;

    // The reading, guarded by mutex_.
    std::mutex mutex_;
    RegisterReading reading_;
    Clock::time_point lastRefresh_;
    bool readingDue_ = false;  // a reading follows the change just answered
    std::condition_variable readingDone_;
};

}  // namespace server

#endif
