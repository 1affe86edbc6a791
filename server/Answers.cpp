#include "Answers.h"

#include "Lifecycle.h"

namespace server {

json errorBody(int code, const std::string& text, const json& field) {
    return {{"error", {{"code", code}, {"text", text}, {"field", field}}}};
}

Outcome refusal(const Refused& r, const json& field, int line) {
    json body = errorBody(r.code, r.text, field);
    body["error"]["operation"] = r.operation;
    if (line >= 0) body["error"]["line"] = line;
    body["state"] = stateName(State::Refused);
    return Outcome{422, body};
}

Outcome notSent(const std::string& device) {
    json body = errorBody(503, "the register " + device + " is offline; nothing was sent");
    body["state"] = stateName(State::NotSent);
    return Outcome{503, body};
}

json notCommitted(int code, const std::string& text) {
    json body = errorBody(code, text);
    body["state"] = stateName(State::NotCommitted);
    return body;
}

json noReply() {
    json body = errorBody(VERDA_EXCHANGE_FAILED, verda_error_text(VERDA_EXCHANGE_FAILED));
    body["state"] = stateName(State::NoReply);
    return body;
}

json pending(const std::string& key, const std::string& operation) {
    return {{"state", stateName(State::Ambiguous)}, {"key", key}, {"operation", operation}};
}

Outcome journalUnavailable(const std::string& cause) {
    json body = errorBody(503, "journal-unavailable: " + cause +
                                   "; nothing is sent to a register until it can be written");
    body["error"]["reason"] = "journal-unavailable";
    return Outcome{503, body};
}

Outcome queueFull(const std::string& device, int limit) {
    json body = errorBody(429, std::to_string(limit) + " requests wait for the register " + device +
                                   " already; nothing was recorded or sent");
    body["error"]["reason"] = "queue-full";
    return Outcome{429, body};
}

}  // namespace server
