#ifndef VERDA_CLI_ARGS_H
#define VERDA_CLI_ARGS_H

// The command line: the tool's global options, the options and operands of
// one command, and the checked reading of numbers and amounts. Every check
// here runs before anything is sent to the register.

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace cli {

// Bad input: shown with a pointer to --help, exit code 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The global options, before the command.
struct Global {
    std::string serial;             // --serial PATH
    int baud = 115200;              // --baud N
    std::string host;               // --tcp HOST:PORT, the host as a numeric IPv4 address
    int port = 0;                   //
    int timeoutMs = -1;             // --timeout MS; -1 keeps the library's default
    bool verbose = false;           // --verbose: the library's own lines on standard error
    bool help = false;              // --help
    bool version = false;           // --version
    std::string command;            // the command word, empty when none was given
    std::vector<std::string> args;  // what follows the command word

    bool hasTransport() const { return !serial.empty() || !host.empty(); }
};

// Reads the global options and the command word. Throws UsageError.
Global parseGlobal(const std::vector<std::string>& argv);

// The options and operands of one command.
class CommandLine {
  public:
    // flags: options without a value; valued: options with one, which may be
    // repeated. "--name=value" and "--name value" both work, "--" ends the
    // options, and -h stands for --help.
    CommandLine(const std::vector<std::string>& args, const std::vector<std::string>& flags,
                const std::vector<std::string>& valued);

    bool help() const { return has("--help"); }
    bool has(const std::string& option) const { return options_.count(option) != 0; }
    // The last value of a valued option, or fallback.
    std::string value(const std::string& option, const std::string& fallback) const;
    const std::vector<std::string>& values(const std::string& option) const;
    const std::vector<std::string>& operands() const { return operands_; }
    // Throws UsageError unless there are between least and most operands.
    void expectOperands(size_t least, size_t most) const;

  private:
    std::map<std::string, std::vector<std::string>> options_;
    std::vector<std::string> operands_;
};

// A whole decimal number from low to high; what names it in a message.
int toInt(const std::string& text, int low, int high, const std::string& what);
// A non-negative decimal amount with at most `decimals` places, "." or ","
// as the point, below a billion.
double toAmount(const std::string& text, int decimals, const std::string& what);
// One printable ASCII byte.
char toByte(const std::string& text, const std::string& what);
// Typed text for the library (see Text.h); throws UsageError.
std::string toText(const std::string& utf8, const std::string& what);

}  // namespace cli

#endif
