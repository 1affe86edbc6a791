#ifndef VERDA_SERVER_REGISTERLINK_H
#define VERDA_SERVER_REGISTERLINK_H

// The link to one register: opened, lost and opened again with a back-off
// that doubles from 100 ms to 10 s, and what the last open read of the
// register (model, firmware, serial, identity). Its state is read by HTTP
// threads; the handle only by the worker.

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "RegisterHandle.h"
#include "Shared.h"

namespace server {

class RegisterLink {
  public:
    RegisterLink(const DeviceConfig& config, Shared& shared, const std::string& logDir);

    RegisterHandle& handle() { return *handle_; }
    bool isOpen() const { return handle_->isOpen(); }

    // One attempt to open the link; false when the register does not answer.
    bool connect();
    // Opens the link again, pausing between attempts with the back-off,
    // until it is open or the deadline has passed; pause() returns false to
    // give up (the server stops).
    bool reconnect(Clock::time_point deadline, const std::function<bool(Clock::time_point)>& pause);
    // The pause before the next attempt, which doubles it.
    Clock::time_point nextAttempt();
    // A failed exchange closed the link.
    void lost(const std::string& operation);
    // A refusal outside a request, shown with the link.
    void note(const std::string& error);
    void close() { handle_->close(); }
    // Keeps what the handle now knows of the register, for describe().
    void remember();

    json describe();
    bool online();

  private:
    void setState(const std::string& state, const std::string& error = "");

    const DeviceConfig& config_;
    Shared& shared_;
    std::unique_ptr<RegisterHandle> handle_;
    std::chrono::milliseconds backoff_;

    std::mutex mutex_;  // what follows
    std::string state_ = "offline";
    long long since_ = 0;
    std::string error_;
    int attempts_ = 0;
    std::string model_, firmware_, serial_;
    Identity identity_;
};

}  // namespace server

#endif
