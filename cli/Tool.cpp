#include "cli/Tool.h"

#include "cli/Commands.h"

namespace cli {

namespace {

const char kUsageHead[] =
    "Usage: verda [OPTIONS] COMMAND [ARGUMENTS...]\n"
    "Drives a fiscal register through libCorteliaVERDA.\n"
    "\n"
    "Options:\n"
    "  --serial PATH     the register on a serial line, such as /dev/ttyUSB0\n"
    "  --baud N          speed of the serial line (default 115200)\n"
    "  --tcp HOST:PORT   the register on TCP\n"
    "  --timeout MS      wait for each read: 1 to 999 ms on TCP (default 50),\n"
    "                    100 to 25500 ms in steps of 100 on a serial line (default 500)\n"
    "  -v, --verbose     show the library's own messages (connection, repeats)\n"
    "  -h, --help        this text; 'verda COMMAND --help' tells about a command\n"
    "  --version         the version\n"
    "\n"
    "Commands:\n";

const char kUsageTail[] =
    "\n"
    "Text is read and written as UTF-8. The library logs every operation to\n"
    "~/CorteliaVERDA.log.\n"
    "\n"
    "Exit status:\n"
    "  0  success\n"
    "  1  the register refused the operation\n"
    "  2  bad input; nothing was sent to the register\n"
    "  3  the port cannot be opened, or the register does not answer\n";

const std::vector<Command>& table() {
    static const std::vector<Command> commands = [] {
        std::vector<Command> t;
        addDeviceCommands(t);
        addSellingCommands(t);
        addReportCommands(t);
        addArticleCommands(t);
        addTextCommands(t);
        return t;
    }();
    return commands;
}

const Command* find(const std::string& name) {
    for (const Command& command : table())
        if (name == command.name) return &command;
    return nullptr;
}

void overview(std::ostream& out) {
    out << kUsageHead;
    for (const Command& command : table()) {
        std::string name = command.name;
        name.resize(12, ' ');
        out << "  " << name << command.summary << '\n';
    }
    out << kUsageTail;
}

int usageError(Environment& env, const std::string& message, const std::string& command) {
    env.err << "verda: " << message << '\n'
            << "Try 'verda " << (command.empty() ? "" : command + " ") << "--help'.\n";
    return kUsage;
}

}  // namespace

int run(const std::vector<std::string>& args, Environment& env) {
    std::string command;
    try {
        const Global global = parseGlobal(args);
        command = global.command;
        if (env.libraryOutput) env.libraryOutput(global.verbose);
        if (global.version) {
            env.out << "verda (CorteliaVERDA) " << VERDA_VERSION << '\n';
            return kSuccess;
        }
        if (command == "help" && global.args.size() <= 1) {
            command = global.args.empty() ? "" : global.args[0];
            const Command* found = command.empty() ? nullptr : find(command);
            if (!command.empty() && found == nullptr)
                return usageError(env, "unknown command " + command, "");
            if (found != nullptr)
                env.out << found->usage;
            else
                overview(env.out);
            return kSuccess;
        }
        if (command.empty()) {
            if (global.help) {
                overview(env.out);
                return kSuccess;
            }
            return usageError(env, "no command given", "");
        }
        const Command* found = find(command);
        if (found == nullptr) {
            const std::string unknown = command;
            command.clear();
            return usageError(env, "unknown command " + unknown, "");
        }
        const CommandLine line(global.args, found->flags, found->valued);
        if (line.help() || global.help) {
            env.out << found->usage;
            return kSuccess;
        }
        Session session(env, global);
        try {
            found->run(session, line);
            return kSuccess;
        } catch (const Failure& failure) {
            env.err << "verda: ";
            if (!failure.message.empty()) {
                env.err << failure.message << '\n';
            } else {
                const std::string text = session.explain(failure.code);
                env.err << failure.operation << ": error " << failure.code
                        << (text.empty() ? "" : ": " + text) << '\n';
            }
            return failure.code == kNoAnswer ? kLinkFailure : kRefused;
        }
    } catch (const UsageError& error) {
        return usageError(env, error.what(), command);
    }
}

}  // namespace cli
