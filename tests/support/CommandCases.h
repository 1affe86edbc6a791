#ifndef VERDA_TESTS_COMMAND_CASES_H
#define VERDA_TESTS_COMMAND_CASES_H

// Table-driven checks of device operations as a client sees them: the
// request that goes out, the result, and the two log lines.

#include <functional>
#include <string>
#include <vector>

#include "support/TestLog.h"

struct CommandCase {
    std::string label;
    std::function<bool()> call;  // the exported call
    unsigned int command;
    std::string data;   // the request's data bytes
    std::string start;  // the start line
    std::string close;  // the closing line of a success
};

class CommandTest : public DriverTest {
  protected:
    // Runs every case against a device that accepts with reply, then against
    // one that answers error 5: one request each with the case's command and
    // data, result codes 0 and 5, and the start and closing lines
    // (" ErrorCode: 5" appended on the refusal).
    void checkCommands(const std::vector<CommandCase>& cases, const std::string& reply = "0\t");
};

// The data of a reply: each field followed by a tab.
std::string tabbed(const std::vector<std::string>& fields);

#endif
