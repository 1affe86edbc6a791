#ifndef VERDA_SERVER_EVENTS_H
#define VERDA_SERVER_EVENTS_H

// Live updates for GET /events (server-sent events): changes of a
// register's link or reading, and each step of a request. The last events
// are kept, so that a client that reconnects with Last-Event-ID misses none
// of them.

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace server {

struct LiveEvent {
    unsigned long long id = 0;
    std::string type;  // "device" or "request"
    nlohmann::json data;
};

class Events {
  public:
    void publish(const std::string& type, nlohmann::json data);
    // Events after id, waiting up to waitMs for one to come; empty when none came.
    std::vector<LiveEvent> after(unsigned long long id, int waitMs);
    unsigned long long last();
    void close();  // wakes every waiting reader for shut-down
    bool closed();

  private:
    static const size_t kKept = 1000;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<LiveEvent> events_;
    unsigned long long next_ = 1;
    bool closed_ = false;
};

}  // namespace server

#endif
