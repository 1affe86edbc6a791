#ifndef VERDA_TESTS_COMMAND_CASES_H
#define VERDA_TESTS_COMMAND_CASES_H

// Table-driven checks of device operations as a client sees them: the
// requests that go out, the results and the log lines.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "support/TestLog.h"

using Lines = std::vector<std::string>;

struct CommandCase {
    std::function<bool()> call;  // the exported call
    Sent request;
    std::string start;  // the start line
    std::string close;  // the closing line of a success
};

class CommandTest : public DriverTest {
  protected:
    // Runs every case against a device that accepts with reply, then against
    // one that answers error 5: one request each as the case says, result
    // codes 0 and 5, and the start and closing lines (" ErrorCode: 5"
    // appended on the refusal).
    void checkCommands(const std::vector<CommandCase>& cases, const std::string& reply = "0\t");
};

#endif
