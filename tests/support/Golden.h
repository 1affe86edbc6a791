#ifndef VERDA_TESTS_GOLDEN_H
#define VERDA_TESTS_GOLDEN_H

// A whole shift as a point-of-sale program drives it, recorded once from
// verda-sim (tests/golden/record.cpp) into tests/golden/shift.session and
// replayed by golden_test.cpp: against the driver, which must send the
// recorded requests and hand back the recorded outputs and log lines, and
// against the simulator, which must give the recorded replies.

#include <functional>
#include <string>
#include <vector>

#include "sim/Options.h"

namespace golden {

// One call of the exported functions; it returns its result and outputs as
// text ("true nFD=1 ...").
struct Call {
    std::string operation;
    std::function<std::string()> run;
};
// The shift's calls, in order.
std::vector<Call> shift();

// The simulated register the session is recorded from: "verda-sim --tcp 0",
// a fresh register of the default identity without faults.
sim::Options registerOptions();

// What one call did: its exchanges (request and reply bytes), what it handed
// back and the lines it added to the library's log.
struct Step {
    std::string operation;
    std::string outputs;
    std::vector<std::pair<std::string, std::string>> exchanges;
    std::vector<std::string> log;
};

// The session file: its steps, or an empty list and a message.
std::vector<Step> read(const std::string& path, std::string& error);
bool write(const std::string& path, const std::vector<Step>& steps);

}  // namespace golden

#endif
