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

// The speeds the driver can set a serial line to.
inline constexpr int kBaudRates[] = {1200, 1800, 2400, 4800, 9600, 19200, 38400, 57600, 115200};

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

// The HOST:PORT of --tcp: the port, and the host as given into host.
int hostPort(const std::string& text, std::string& host);
// A whole decimal number from low to high; what names it in a message.
int toInt(const std::string& text, int low, int high, const std::string& what);
// A non-negative decimal amount with at most `decimals` places, "." or ","
// as the point, below a billion.
double toAmount(const std::string& text, int decimals, const std::string& what);
// One printable ASCII byte.
char toByte(const std::string& text, const std::string& what);
// Typed text for the register, which the library takes as UTF-8: printable
// ASCII and the Russian letters (Ё and ё are printed as Е and е, since the
// register has no place for them). Throws UsageError, naming what, for text
// that is not UTF-8, holds a control character (a tab would split a request
// field), or holds a character the register cannot print.
std::string toText(const std::string& utf8, const std::string& what);

}  // namespace cli

#endif
