#include "RegisterLink.h"

#include <algorithm>

#include "ServerLog.h"

namespace server {

namespace {

const auto kShortestBackoff = std::chrono::milliseconds(100);
const auto kLongestBackoff = std::chrono::milliseconds(10000);

}  // namespace

RegisterLink::RegisterLink(const DeviceConfig& config, Shared& shared, const std::string& logDir)
    : config_(config),
      shared_(shared),
      handle_(new RegisterHandle(config, logDir, shared.metrics)),
      backoff_(kShortestBackoff),
      since_(RequestJournal::now()) {}

void RegisterLink::setState(const std::string& state, const std::string& error) {
    bool changed = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        changed = state_ != state;
        const bool wasOnline = state_ == "online";
        state_ = state;
        if (state == "online" || (wasOnline && state != "online")) since_ = RequestJournal::now();
        if (!error.empty()) error_ = error;
        if (state == "online") error_.clear(), attempts_ = 0;
    }
    if (changed) {
        shared_.events.publish("device", {{"id", config_.id}, {"link", state}});
        if (state != "reconnecting")
            logInfo("register " + state, {{"device", config_.id}, {"error", error}});
    }
}

bool RegisterLink::connect() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ++attempts_;
    }
    setState("reconnecting");
    std::string error;
    if (handle_->open(config_.host, config_.port, error)) {
        shared_.metrics.reconnect(config_.id);
        remember();
        backoff_ = kShortestBackoff;
        setState("online");
        return true;
    }
    setState("offline", error);
    return false;
}

Clock::time_point RegisterLink::nextAttempt() {
    const auto at = Clock::now() + backoff_;
    backoff_ = std::min(backoff_ * 2, kLongestBackoff);
    return at;
}

bool RegisterLink::reconnect(Clock::time_point deadline,
                             const std::function<bool(Clock::time_point)>& pause) {
    while (!handle_->isOpen()) {
        if (connect()) return true;
        if (!pause(std::min(deadline, nextAttempt())) || Clock::now() >= deadline) return false;
    }
    return true;
}

void RegisterLink::remember() {
    std::lock_guard<std::mutex> lock(mutex_);
    model_ = handle_->model;
    firmware_ = handle_->firmware;
    serial_ = handle_->serial;
    identity_ = handle_->identity;
}

void RegisterLink::lost(const std::string& operation) {
    setState("offline", "no answer (" + operation + ")");
}

void RegisterLink::note(const std::string& error) {
    std::lock_guard<std::mutex> lock(mutex_);
    error_ = error;
}

json RegisterLink::describe() {
    std::lock_guard<std::mutex> lock(mutex_);
    json link = {{"state", state_}, {"since", isoTime(since_)}};
    if (!error_.empty()) link["error"] = error_;
    if (state_ != "online") link["attempts"] = attempts_;
    auto text = [](const std::string& s) { return s.empty() ? json() : json(s); };
    return {{"link", link},
            {"model", text(model_)},
            {"firmware", text(firmware_)},
            {"serial", text(serial_)},
            {"identity", identity_.known() ? identity_.toJson() : json()}};
}

bool RegisterLink::online() {
    std::lock_guard<std::mutex> lock(mutex_);
    return state_ == "online";
}

}  // namespace server
