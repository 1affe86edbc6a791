#include "HttpPool.h"

namespace server {

HttpPool::~HttpPool() {
    shutdown();
}

void HttpPool::enqueue(std::function<void()> task) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        tasks_.push_back(std::move(task));
        if (!stopping_ && tasks_.size() > idle_ && threads_.size() < most_)
            threads_.emplace_back([this] { work(); });
    }
    ready_.notify_one();
}

void HttpPool::shutdown() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (stopping_) return;
        stopping_ = true;
    }
    ready_.notify_all();
    for (std::thread& t : threads_) t.join();
}

// What is queued still runs at shut-down: each task closes its connection.
void HttpPool::work() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        ++idle_;
        ready_.wait(lock, [&] { return stopping_ || !tasks_.empty(); });
        --idle_;
        if (tasks_.empty()) return;
        std::function<void()> task = std::move(tasks_.front());
        tasks_.pop_front();
        lock.unlock();
        task();
        lock.lock();
    }
}

}  // namespace server
