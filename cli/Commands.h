#ifndef VERDA_CLI_COMMANDS_H
#define VERDA_CLI_COMMANDS_H

// The commands of the tool. Each area file adds its commands, with their
// help, to the table; a command reads all of its arguments before it first
// asks the session for the link.

#include <string>
#include <vector>

#include "cli/Args.h"
#include "cli/Session.h"

namespace cli {

struct Command {
    const char* name;
    const char* summary;  // one line for the overview
    const char* usage;    // the whole --help text
    std::vector<std::string> flags;
    std::vector<std::string> valued;
    void (*run)(Session& session, const CommandLine& line);
};

// By area, in the order of the overview.
void addDeviceCommands(std::vector<Command>& table);  // check, info, status, datetime, param, error
void addSellingCommands(std::vector<Command>& table);  // shift, receipt, cash-in, cash-out
void addReportCommands(std::vector<Command>& table);   // x-report, z-report, journal
void addArticleCommands(std::vector<Command>& table);  // article
void addTextCommands(std::vector<Command>& table);     // text

}  // namespace cli

#endif
