#ifndef VERDA_TESTS_CLI_RUN_H
#define VERDA_TESTS_CLI_RUN_H

// Runs the command-line tool in the test's own process, as a shell would run
// it, and keeps what it wrote and its exit code.

#include <string>
#include <vector>

#include "support/DeadPort.h"
#include "support/TestLog.h"

struct CliResult {
    int code;
    std::string out;
    std::string err;
};

// The tool with args; its library log goes to logDir instead of the home
// directory. The library's own lines on standard output are dropped.
CliResult runCli(const std::vector<std::string>& args, const std::string& logDir);

#endif
