#ifndef VERDA_SIM_OPTIONS_H
#define VERDA_SIM_OPTIONS_H

// The simulator's command line.

#include <string>
#include <vector>

#include "sim/Faults.h"
#include "sim/Link.h"
#include "sim/State.h"

namespace sim {

// A moment given on the command line: a time on the register's clock (as
// parseTime reads it), or an offset in seconds from where its clock stands
// when the simulator starts.
struct When {
    bool given = false;
    bool relative = false;
    long long seconds = 0;
    long long at(long long clock) const { return relative ? clock + seconds : seconds; }
};

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
    // The states the register starts in, set against its clock at the start
    // (Simulator::start): a shift open since then; the drive's last valid
    // day (into identity.fnDeadline); documents waiting for the data
    // operator, the oldest since then (-1: the queue as it stands).
    When shiftOpened, fnDeadline, unsentSince;
    int unsent = -1;
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
