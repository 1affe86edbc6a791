#ifndef VERDA_SERVER_SHARED_H
#define VERDA_SERVER_SHARED_H

// What the server shares between its workers and its HTTP side.

#include <chrono>
#include <string>

#include "Config.h"
#include "Events.h"
#include "Metrics.h"
#include "RequestJournal.h"

namespace server {

using Clock = std::chrono::steady_clock;

struct Shared {
    const Config& config;
    RequestJournal& journal;
    Metrics& metrics;
    Events& events;

    // A move of a request in the journal (Lifecycle.h), and out as an event;
    // false when it was refused. JournalError when it cannot be written.
    bool move(const std::string& device, const std::string& key, State from, Event event,
              const json& detail = nullptr, const json& answer = nullptr,
              const json& witness = nullptr);
    // A step that changes no state, and its event.
    void step(const std::string& device, const std::string& key, const std::string& name,
              const json& detail = nullptr);
};

}  // namespace server

#endif
