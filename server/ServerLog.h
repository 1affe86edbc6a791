#ifndef VERDA_SERVER_SERVERLOG_H
#define VERDA_SERVER_SERVERLOG_H

// The server's own log: one JSON object per line on standard error, with
// the time, a level, a message and any fields.

#include <string>

#include <nlohmann/json.hpp>

namespace server {

void logLine(const char* level, const std::string& message, nlohmann::json fields = nullptr);
inline void logInfo(const std::string& message, nlohmann::json fields = nullptr) {
    logLine("info", message, std::move(fields));
}
inline void logWarn(const std::string& message, nlohmann::json fields = nullptr) {
    logLine("warn", message, std::move(fields));
}
inline void logError(const std::string& message, nlohmann::json fields = nullptr) {
    logLine("error", message, std::move(fields));
}

// Milliseconds since the epoch as RFC 3339 UTC text, e.g. 2026-01-31T12:00:00.250Z.
std::string isoTime(long long ms);

}  // namespace server

#endif
