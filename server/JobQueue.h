#ifndef VERDA_SERVER_JOBQUEUE_H
#define VERDA_SERVER_JOBQUEUE_H

// A register's queue of jobs: the reads and changes that HTTP threads hand
// to its worker, each waited for by its HTTP thread until it has run or,
// still queued at its deadline, expired. Changes can be held back while
// reads go on; the queue takes at most a set number of jobs, so that clients
// of a register that does not answer cannot take every HTTP thread.

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "Answers.h"
#include "Shared.h"

namespace server {

class JobQueue {
  public:
    explicit JobQueue(int limit) : limit_(limit) {}

    struct Job {
        std::function<Outcome()> run;
        bool change = false;
        Clock::time_point deadline;
        enum Phase { Queued, Running, Expired, Done } phase = Queued;
        Outcome outcome;
    };

    // A place for one job; false when the queue is full. Each place is used
    // by submit() or given back by release().
    bool reserve();
    void release();
    // Queues the job on its place and waits: its outcome, or nothing when it
    // was still queued at its deadline (or the queue stopped).
    std::optional<Outcome> submit(const std::shared_ptr<Job>& job);

    // The worker's side: the first job that may run now (a read always, a
    // change only when changes is true), waiting until `until` at most, or
    // until wake() or stop(). Null when none.
    std::shared_ptr<Job> take(bool changes, Clock::time_point until);
    void finish(Job& job, Outcome outcome);
    // Waits until `until`, wake() or stop(); false once stopping.
    bool pause(Clock::time_point until);
    void wake();
    // Every queued job expires, and nothing more is taken.
    void stop();
    bool stopping();

    int depth();
    bool idle();  // nothing queued
    int limit() const { return limit_; }

  private:
    const int limit_;
    std::mutex mutex_;
    std::condition_variable changed_;  // the queue, a job's phase, a wake or the stop
    std::deque<std::shared_ptr<Job>> queue_;
    int places_ = 0;  // reserved and queued
    bool woken_ = false;
    bool stopping_ = false;
};

}  // namespace server

#endif
