#include "ServerLog.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <mutex>

namespace server {

std::string isoTime(long long ms) {
    const std::time_t seconds = static_cast<std::time_t>(ms / 1000);
    std::tm t;
    gmtime_r(&seconds, &t);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", t.tm_year + 1900,
                  t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec,
                  static_cast<int>(ms % 1000));
    return text;
}

void logLine(const char* level, const std::string& message, nlohmann::json fields) {
    static std::mutex mutex;
    nlohmann::json line = fields.is_object() ? std::move(fields) : nlohmann::json::object();
    const long long now = std::chrono::duration_cast<std::chrono::milliseconds>(
                              std::chrono::system_clock::now().time_since_epoch())
                              .count();
    line["time"] = isoTime(now);
    line["level"] = level;
    line["msg"] = message;
    // Text that is not UTF-8 (a client's bytes) is replaced, never thrown on.
    const std::string text = line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    std::lock_guard<std::mutex> lock(mutex);
    std::fprintf(stderr, "%s\n", text.c_str());
    std::fflush(stderr);
}

}  // namespace server
