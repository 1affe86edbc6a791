#ifndef VERDA_TESTS_REQUESTS_H
#define VERDA_TESTS_REQUESTS_H

#include <string>
#include <utility>
#include <vector>

#include "support/ScriptedDevice.h"

// A request as a test states it: command number and data bytes.
using Sent = std::pair<unsigned int, std::string>;

// The requests the device has received so far, in order.
std::vector<Sent> sentRequests(testing_device::ScriptedDevice& device);

#endif
