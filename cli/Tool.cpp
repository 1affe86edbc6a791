#include "cli/Tool.h"

#include <algorithm>

#include "cli/Commands.h"

namespace cli {

namespace {

const char kHead[] =
    "Usage: verda [OPTIONS] COMMAND [ARGUMENTS...]\n"
    "Drives a fiscal register through libCorteliaVERDA. 'verda COMMAND --help'\n"
    "or 'verda help COMMAND' tells about a command.\n";

const char kFooter[] =
    "Text is read and written as UTF-8. The library logs every operation to\n"
    "~/CorteliaVERDA.log; 'verda log' shows it readable.\n"
    "\n"
    "Exit status:\n"
    "  0  success\n"
    "  1  the register refused the operation\n"
    "  2  bad input; nothing was sent to the register\n"
    "  3  the port cannot be opened, the host is unknown, or the register does\n"
    "     not answer";

// The global options, which go before the command.
const char* const kGlobalOptions[] = {"--serial",  "--baud",    "--tcp",
                                      "--timeout", "--verbose", "-v"};

void declareGlobal(CLI::App& app, GlobalText& typed, bool& version) {
    option(app, "--serial", typed.serial, "PATH",
           "the register on a serial line, such as /dev/ttyUSB0");
    option(app, "--baud", typed.baud, "N", "speed of the serial line (default 115200)");
    option(app, "--tcp", typed.tcp, "HOST:PORT",
           "the register on TCP; HOST is a name or an IPv4 address");
    option(app, "--timeout", typed.timeout, "MS",
           "wait for each read: 1 to 999 ms on TCP (default 50),\n"
           "100 to 25500 ms in steps of 100 on a serial line\n"
           "(default 500)");
    flag(app, "-v,--verbose", typed.verbose,
         "show the library's own messages (connection, repeats)");
    flag(app, "--version", version, "the version");
}

int usageError(Environment& env, const std::string& message, const std::string& command) {
    env.err << "verda: " << message << '\n'
            << "Try 'verda " << (command.empty() ? "" : command + " ") << "--help'.\n";
    return kUsage;
}

// CLI11's word for an argument it did not expect, in the terms of the
// tool: an unknown command or option, a global option after the command, or
// one operand too many.
std::string unexpected(const std::string& word, const std::string& command) {
    if (!command.empty() && std::find(std::begin(kGlobalOptions), std::end(kGlobalOptions),
                                      word.substr(0, word.find('='))) != std::end(kGlobalOptions))
        return word.substr(0, word.find('=')) + " goes before the command";
    if (word.size() > 1 && word[0] == '-')
        return "unknown option " + word.substr(0, word.find('='));
    return command.empty() ? "unknown command " + word : "unexpected argument " + word;
}

// help [COMMAND]: the overview, or one command's help.
void addHelpCommand(Commands& commands, CLI::App& app) {
    auto command = std::make_shared<std::vector<std::string>>();
    CLI::App& help =
        commands.add("help", "the help of the tool or of one command",
                     "Usage: verda help [COMMAND]\n"
                     "Shows the help of COMMAND, or without one the overview of every command.\n",
                     [command, &app](Session& session) {
                         expectOperands(*command, 0, 1);
                         const CLI::App* about = &app;
                         if (!command->empty()) {
                             about = app.get_subcommand_ptr(command->front()).get();
                             if (about == nullptr)
                                 throw UsageError("unknown command " + command->front());
                         }
                         session.out() << about->help("", CLI::AppFormatMode::Normal);
                     });
    operands(help, *command);
}

}  // namespace

CLI::App& Commands::add(const char* name, const char* summary, const std::string& head, Run run) {
    CLI::App* command = app_.add_subcommand(name, summary);
    command->group("Commands");
    command->footer("");  // the overview's alone
    help_.head(command, head);
    runs_.emplace_back(command, std::move(run));
    return *command;
}

Commands::Run Commands::chosen() const {
    for (const auto& run : runs_)
        if (run.first->parsed()) return run.second;
    return Run();
}

void option(CLI::App& command, const char* name, std::string& value, const char* type,
            const std::string& what) {
    command.add_option(name, value, what)
        ->type_name(type)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

void repeatable(CLI::App& command, const char* name, std::vector<std::string>& values,
                const char* type, const std::string& what) {
    // One value each time it is given: the words after it are operands.
    command.add_option(name, values, what)
        ->type_name(type)
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void flag(CLI::App& command, const char* name, bool& value, const std::string& what) {
    command.add_flag(name, value, what);
}

CLI::App& operands(CLI::App& command, std::vector<std::string>& values) {
    command.add_option("operands", values)->group("");
    return command;
}

void expectOperands(const std::vector<std::string>& operands, size_t least, size_t most) {
    if (operands.size() < least) throw UsageError("too few arguments");
    if (operands.size() > most) throw UsageError("unexpected argument " + operands[most]);
}

int run(const std::vector<std::string>& args, Environment& env) {
    CLI::App app("", "verda");
    auto help = std::make_shared<help::Formatter>();
    help->head(&app, kHead);
    app.formatter(help);
    app.footer(kFooter);
    app.set_help_flag("-h,--help", "this text");
    app.require_subcommand(0, 1);  // one command; after it, no word is taken for another
    GlobalText typed;
    bool version = false;
    declareGlobal(app, typed, version);

    Commands commands(app, *help);
    addDeviceCommands(commands);
    addSellingCommands(commands);
    addReportCommands(commands);
    addArticleCommands(commands);
    addTextCommands(commands);
    addLogCommands(commands);
    addHealthCommands(commands);
    addHelpCommand(commands, app);
    // Added after the commands, so that it is the tool's alone.
    app.set_help_all_flag("--help-all", "this text and the help of every command");

    std::string command;  // the command given, for the pointer to its help
    auto given = [&app] {
        const auto chosen = app.get_subcommands();
        return chosen.empty() ? std::string() : chosen.front()->get_name();
    };
    try {
        try {
            std::vector<std::string> reversed = help::reversed(args);
            app.parse(reversed);
        } catch (const CLI::CallForHelp&) {
            env.out << app.help();
            return kSuccess;
        } catch (const CLI::CallForAllHelp&) {
            env.out << app.help("", CLI::AppFormatMode::All);
            return kSuccess;
        } catch (const CLI::ExtrasError&) {
            command = given();
            const std::vector<std::string> extra = app.remaining(true);
            throw UsageError(extra.empty() ? "unexpected arguments"
                                           : unexpected(extra.front(), command));
        } catch (const CLI::ParseError& error) {
            command = given();
            throw UsageError(error.what());
        }
        typed.serialGiven = app.count("--serial") != 0;
        typed.tcpGiven = app.count("--tcp") != 0;
        const Global global = checkGlobal(typed);
        command = given();
        if (env.libraryOutput) env.libraryOutput(global.verbose);
        if (version) {
            env.out << "verda (CorteliaVERDA) " << VERDA_VERSION << '\n';
            return kSuccess;
        }
        const Commands::Run chosen = commands.chosen();
        if (!chosen) return usageError(env, "no command given", "");
        Session session(env, global);
        try {
            chosen(session);
            return kSuccess;
        } catch (const Failure& failure) {
            env.err << "verda: ";
            if (!failure.message.empty()) {
                env.err << failure.message << '\n';
            } else {
                // The C interface's own codes are not the register's to explain.
                const std::string text = failure.code < VERDA_EMPTY_RESULT
                                             ? verda_error_text(failure.code)
                                             : session.explain(failure.code);
                env.err << failure.operation << ": error " << failure.code
                        << (text.empty() ? "" : ": " + text) << '\n';
            }
            return failure.code == VERDA_EXCHANGE_FAILED ? kLinkFailure : kRefused;
        }
    } catch (const UsageError& error) {
        return usageError(env, error.what(), command);
    }
}

}  // namespace cli
