#ifndef VERDA_SERVER_ANSWERS_H
#define VERDA_SERVER_ANSWERS_H

// The answers that the server gives and records, each shape written once.

#include <string>

#include <nlohmann/json.hpp>

#include "RegisterHandle.h"

namespace server {

using nlohmann::json;

// An HTTP answer.
struct Outcome {
    int status = 0;
    json body;
    bool replayed = false;  // the recorded answer of an earlier run
};

// {"error": {"code", "text", "field"}}.
json errorBody(int code, const std::string& text, const json& field = nullptr);

// The register refused: 422, its code, text and operation; a line's index.
Outcome refusal(const Refused& refused, const json& field = nullptr, int line = -1);
// Nothing was sent before the deadline (503, "not-sent").
Outcome notSent(const std::string& device);
// The request did not take effect; the text says why (503, "not-committed").
json notCommitted(int code, const std::string& text);
// The link failed in a request that cannot fiscalise: outcome unknown (504, "no-reply").
json noReply();
// The outcome is not known yet: settled from the register (202, "ambiguous").
json pending(const std::string& key, const std::string& operation);
// The journal cannot be written: nothing more is sent (503).
Outcome journalUnavailable(const std::string& cause);
// Too many requests wait for the register already (429).
Outcome queueFull(const std::string& device, int limit);

}  // namespace server

#endif
