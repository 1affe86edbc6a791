#ifndef VERDA_CLI_ARGS_H
#define VERDA_CLI_ARGS_H

// The values of the command line, which CLI11 reads (cli/Tool.cpp): the
// tool's global options, and the checked reading of numbers, amounts and
// text. Every check here runs before anything is sent to the register.

#include <stdexcept>
#include <string>

namespace cli {

// Bad input: shown with a pointer to --help, exit code 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The global options, before the command.
struct Global {
    std::string serial;    // --serial PATH
    int baud = 115200;     // --baud N
    std::string host;      // --tcp HOST:PORT, the host as given: a name or an IPv4 address
    int port = 0;          //
    int timeoutMs = -1;    // --timeout MS; -1 keeps the library's default
    bool verbose = false;  // --verbose: the library's own lines on standard error

    bool hasTransport() const { return !serial.empty() || !host.empty(); }
};

// The global options as typed; an empty text is one not given.
struct GlobalText {
    std::string serial, baud, tcp, timeout;
    bool serialGiven = false, tcpGiven = false;
    bool verbose = false;
};

// Checks the global options. Throws UsageError.
Global checkGlobal(const GlobalText& typed);

// The numeric IPv4 address of a host name or address, which is what the
// library connects to. Empty, with a message in error, when it has none.
std::string numericHost(const std::string& host, std::string& error);

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
