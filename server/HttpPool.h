#ifndef VERDA_SERVER_HTTPPOOL_H
#define VERDA_SERVER_HTTPPOOL_H

// The HTTP server's threads: one for each connection, made when a
// connection comes and no thread is free, up to a most; kept for the next
// connection once made. A client that is slow to send, or that waits for its
// register, holds its own thread and nobody else's, as long as fewer than
// the most are open at once; past it, a connection waits for a free thread.

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include <httplib.h>

namespace server {

class HttpPool : public httplib::TaskQueue {
  public:
    explicit HttpPool(size_t most) : most_(most) {}
    ~HttpPool() override;
    void enqueue(std::function<void()> task) override;
    void shutdown() override;

  private:
    void work();

    const size_t most_;
    std::mutex mutex_;
    std::condition_variable ready_;
    std::deque<std::function<void()>> tasks_;
    std::vector<std::thread> threads_;
    size_t idle_ = 0;
    bool stopping_ = false;
};

}  // namespace server

#endif
