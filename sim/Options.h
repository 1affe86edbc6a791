#ifndef VERDA_SIM_OPTIONS_H
#define VERDA_SIM_OPTIONS_H

// The simulator's command line.

#include <string>
#include <vector>

#include "sim/Faults.h"
#include "sim/Link.h"
#include "sim/State.h"

namespace sim {

struct Options {
    enum Transport { None, Pty, Tcp } transport = None;
    std::string host = "127.0.0.1";
    int port = 0;             // 0: any free port
    std::string paper = "-";  // "-" standard output, "" nowhere
    std::string stateFile;    // empty: nothing is kept
    Identity identity;
    bool unfiscalized = false;  // a fresh register starts before fiscalization
    std::string serial;         // of a fresh register; empty keeps the default
    FaultRates faults;
    unsigned int seed = 1;
    long long clock = 0;  // with identity.clockStands: the time it stands at (parseTime)
    long baud = 0;        // 0: no pacing
    HangUp hangUp;
    bool help = false;     // --help: show usage() and stop
    bool version = false;  // --version
};

// Reads the arguments (without the program name). False with a message for
// bad input.
bool parseOptions(const std::vector<std::string>& args, Options& options, std::string& error);

// The text of --help.
std::string usage();

}  // namespace sim

#endif
