#ifndef VERDA_TESTS_GOLDEN_H
#define VERDA_TESTS_GOLDEN_H

// The golden sessions: runs of the exported functions as a program makes
// them, each recorded once from a fresh verda-sim (tests/golden/record.cpp)
// into tests/golden/NAME.session and replayed by golden_test.cpp: against
// the driver, which must send the recorded requests and hand back the
// recorded outputs and log lines, and against the simulator, which must give
// the recorded replies.

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

// A session: its file's name, what it does (the file's first comment), the
// options of its register beyond those of every session, and its calls.
struct Session {
    std::string name;
    std::string about;
    std::vector<std::string> options;
    std::vector<Call> calls;
};

// Every session, by area: a shift, the article database, the electronic
// journal read back, fiscal memory and its reports, service documents and
// printing, a shift on the older firmware with its short fields.
std::vector<Session> sessions();

// The simulated register a session is recorded from: "verda-sim --tcp 0",
// paper to nowhere, its clock standing at a fixed time, and the session's
// options: a fresh register without faults.
sim::Options registerOptions(const Session& session);

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
bool write(const std::string& path, const Session& session, const std::vector<Step>& steps);

}  // namespace golden

#endif
