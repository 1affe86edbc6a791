#ifndef VERDA_CLI_TOOL_H
#define VERDA_CLI_TOOL_H

#include <string>
#include <vector>

#include "cli/Session.h"

namespace cli {

// Runs the tool on its arguments (without the program name) and gives the
// exit code.
int run(const std::vector<std::string>& args, Environment& environment);

}  // namespace cli

#endif
