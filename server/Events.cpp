#include "Events.h"

#include <chrono>

namespace server {

void Events::publish(const std::string& type, nlohmann::json data) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        events_.push_back(LiveEvent{next_++, type, std::move(data)});
        if (events_.size() > kKept) events_.pop_front();
    }
    changed_.notify_all();
}

std::vector<LiveEvent> Events::after(unsigned long long id, int waitMs) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, std::chrono::milliseconds(waitMs),
                      [&] { return closed_ || next_ - 1 > id; });
    std::vector<LiveEvent> out;
    for (const LiveEvent& e : events_)
        if (e.id > id) out.push_back(e);
    return out;
}

unsigned long long Events::last() {
    std::lock_guard<std::mutex> lock(mutex_);
    return next_ - 1;
}

void Events::close() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        closed_ = true;
    }
    changed_.notify_all();
}

bool Events::closed() {
    std::lock_guard<std::mutex> lock(mutex_);
    return closed_;
}

}  // namespace server
