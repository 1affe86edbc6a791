#ifndef VERDA_CLI_COMMANDS_H
#define VERDA_CLI_COMMANDS_H

// The commands of the tool. Each area file declares its commands on CLI11
// (arguments and options, each with its explanation) and binds its run to
// the values they fill; a command reads all of its arguments before it first
// asks the session for the link.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cli/Args.h"
#include "cli/Session.h"
#include "common/Help.h"

namespace cli {

class Commands {
  public:
    using Run = std::function<void(Session&)>;

    Commands(CLI::App& app, help::Formatter& help) : app_(app), help_(help) {}

    // A command: summary is its line in the overview, head the start of its
    // --help (the "Usage: verda ..." lines and what it does).
    CLI::App& add(const char* name, const char* summary, const std::string& head, Run run);

    // The run of the command that was given, or null.
    Run chosen() const;

  private:
    CLI::App& app_;
    help::Formatter& help_;
    std::vector<std::pair<CLI::App*, Run>> runs_;
};

// The declarations every command uses. A valued option given twice keeps
// its last value.
void option(CLI::App& command, const char* name, std::string& value, const char* type,
            const std::string& what);
void repeatable(CLI::App& command, const char* name, std::vector<std::string>& values,
                const char* type, const std::string& what);
void flag(CLI::App& command, const char* name, bool& value, const std::string& what);
// The command's words after its name (operands), which the usage lines at
// the head of its help explain.
CLI::App& operands(CLI::App& command, std::vector<std::string>& values);
// Throws UsageError unless there are between least and most operands.
void expectOperands(const std::vector<std::string>& operands, size_t least, size_t most);

// By area, in the order of the overview.
void addDeviceCommands(Commands& commands);   // check, info, status, datetime, param, error
void addSellingCommands(Commands& commands);  // shift, receipt, cash-in, cash-out
void addReportCommands(Commands& commands);   // x-report, z-report, journal
void addArticleCommands(Commands& commands);  // article
void addTextCommands(Commands& commands);     // text
void addLogCommands(Commands& commands);      // log
void addHealthCommands(Commands& commands);   // doctor, discover

}  // namespace cli

#endif
