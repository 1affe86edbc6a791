#include "JobQueue.h"

#include <algorithm>

namespace server {

bool JobQueue::reserve() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (stopping_ || places_ >= limit_) return false;
    ++places_;
    return true;
}

void JobQueue::release() {
    std::lock_guard<std::mutex> lock(mutex_);
    --places_;
}

std::optional<Outcome> JobQueue::submit(const std::shared_ptr<Job>& job) {
    std::unique_lock<std::mutex> lock(mutex_);
    if (stopping_) {
        --places_;
        return std::nullopt;
    }
    queue_.push_back(job);
    changed_.notify_all();
    // Until the deadline the job may still be taken; once taken, it runs to
    // its end, which the library's timeouts bound.
    changed_.wait_until(lock, job->deadline, [&] { return job->phase != Job::Queued; });
    if (job->phase == Job::Queued) {
        job->phase = Job::Expired;
        queue_.erase(std::remove(queue_.begin(), queue_.end(), job), queue_.end());
    }
    changed_.wait(lock, [&] { return job->phase == Job::Done || job->phase == Job::Expired; });
    --places_;
    if (job->phase == Job::Expired) return std::nullopt;
    return job->outcome;
}

std::shared_ptr<JobQueue::Job> JobQueue::take(bool changes, Clock::time_point until) {
    std::unique_lock<std::mutex> lock(mutex_);
    auto next = [&]() -> std::shared_ptr<Job> {
        for (auto it = queue_.begin(); it != queue_.end(); ++it) {
            if ((*it)->change && !changes) continue;
            std::shared_ptr<Job> job = *it;
            queue_.erase(it);
            job->phase = Job::Running;
            return job;
        }
        return nullptr;
    };
    for (;;) {
        if (stopping_) return nullptr;
        if (auto job = next()) return job;
        if (woken_) {
            woken_ = false;
            return nullptr;
        }
        // A job that comes with the timeout is still taken.
        if (changed_.wait_until(lock, until) == std::cv_status::timeout) return next();
    }
}

void JobQueue::finish(Job& job, Outcome outcome) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        job.outcome = std::move(outcome);
        job.phase = Job::Done;
    }
    changed_.notify_all();
}

bool JobQueue::pause(Clock::time_point until) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_until(lock, until, [&] { return stopping_ || woken_; });
    woken_ = false;
    return !stopping_;
}

void JobQueue::wake() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        woken_ = true;
    }
    changed_.notify_all();
}

void JobQueue::stop() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
        for (auto& job : queue_)
            if (job->phase == Job::Queued) job->phase = Job::Expired;
        queue_.clear();
    }
    changed_.notify_all();
}

bool JobQueue::stopping() {
    std::lock_guard<std::mutex> lock(mutex_);
    return stopping_;
}

int JobQueue::depth() {
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<int>(queue_.size());
}

bool JobQueue::idle() {
    std::lock_guard<std::mutex> lock(mutex_);
    return queue_.empty();
}

}  // namespace server
