#include "support/Requests.h"

std::vector<Sent> sentRequests(testing_device::ScriptedDevice& device) {
    std::vector<Sent> sent;
    for (const auto& request : device.requests()) sent.emplace_back(request.command, request.data);
    return sent;
}
