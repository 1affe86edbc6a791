// Fuzz target: the server's reading of a request that changes a register
// (server::readOrder), from the route, the headers and the body a client
// sends to a validated order or its refusal, without HTTP, a journal or a
// register.
//
// The input is a request as HTTP writes it, loosely: the first line
// "METHOD PATH", then header lines "Name: value" up to an empty line, then
// the body (all of the rest). Whatever it is, the reading must end in an
// Order or in BadInput that names a field and says why; any other
// exception, a crash, a sanitizer report, a hang or memory without bound is
// a finding. An order is checked against what was sent: its kind takes the
// method, its key is the header's, and its body can be written back (the
// journal keeps it and hashes it).
#include <cstdint>
#include <cstdlib>
#include <string>

#include "server/RequestKinds.h"

namespace {

std::string cutLine(const std::string& input, size_t& at) {
    const size_t end = input.find('\n', at);
    std::string line = input.substr(at, end == std::string::npos ? std::string::npos : end - at);
    at = end == std::string::npos ? input.size() : end + 1;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

void check(bool holds) {
    if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    size_t at = 0;
    const std::string first = cutLine(input, at);
    const size_t space = first.find(' ');
    const std::string method = first.substr(0, space);
    const std::string path = space == std::string::npos ? "" : first.substr(space + 1);
    httplib::Headers headers;
    while (at < input.size()) {
        const std::string line = cutLine(input, at);
        if (line.empty()) break;
        const size_t colon = line.find(':');
        std::string value = colon == std::string::npos ? "" : line.substr(colon + 1);
        value.erase(0, value.find_first_not_of(' '));
        headers.emplace(line.substr(0, colon), value);
    }
    const std::string body = input.substr(at);
    try {
        // Any id names a register with the default configuration.
        static const server::DeviceConfig device;
        const server::Order order = server::readOrder(
            method, path, headers, body,
            [](const std::string&) -> const server::DeviceConfig& { return device; });
        check(order.kind != nullptr && method == order.kind->method);
        check(!order.device.empty() && static_cast<bool>(order.task));
        check(order.key == headers.find("Idempotency-Key")->second);
        check(!body.empty() || order.body.is_null());
        check(!order.body.dump().empty());
        check(!server::journalKind(*order.kind, order.parameters).empty());
    } catch (const server::BadInput& refused) {
        check(!refused.field.empty() && !refused.text.empty());
    }
    return 0;
}
