#include "cli/Args.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>

#include <algorithm>
#include <cmath>

#include "cli/Text.h"

namespace cli {

namespace {

const int kBaudRates[] = {1200, 1800, 2400, 4800, 9600, 19200, 38400, 57600, 115200};

// "--name=value" into name and value.
bool splitInline(const std::string& arg, std::string& name, std::string& value) {
    const size_t equals = arg.find('=');
    if (arg.compare(0, 2, "--") != 0 || equals == std::string::npos) return false;
    name = arg.substr(0, equals);
    value = arg.substr(equals + 1);
    return true;
}

// The library connects to a numeric IPv4 address only; a name is looked up
// here, so that "localhost" works as people expect.
std::string numericHost(const std::string& host) {
    in_addr address;
    if (inet_pton(AF_INET, host.c_str(), &address) == 1) return host;
    addrinfo hints = addrinfo();
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(host.c_str(), nullptr, &hints, &found) != 0 || found == nullptr)
        throw UsageError("--tcp: unknown host " + host);
    char text[INET_ADDRSTRLEN] = {0};
    inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in*>(found->ai_addr)->sin_addr, text,
              sizeof text);
    freeaddrinfo(found);
    return text;
}

}  // namespace

Global parseGlobal(const std::vector<std::string>& argv) {
    Global g;
    std::string baud, timeout;
    size_t i = 0;
    for (; i < argv.size(); ++i) {
        std::string name = argv[i], value;
        const bool inlineValue = splitInline(argv[i], name, value);
        if (name == "-h" || name == "--help") {
            g.help = true;
            continue;
        }
        if (name == "--version") {
            g.version = true;
            continue;
        }
        if (name == "-v" || name == "--verbose") {
            g.verbose = true;
            continue;
        }
        if (name == "--") {
            ++i;
            break;
        }
        if (name.empty() || name[0] != '-') break;
        if (name != "--serial" && name != "--baud" && name != "--tcp" && name != "--timeout")
            throw UsageError("unknown option " + name);
        if (!inlineValue) {
            if (i + 1 >= argv.size()) throw UsageError(name + " needs a value");
            value = argv[++i];
        }
        if (value.empty()) throw UsageError(name + " needs a value");
        if (name == "--serial") {
            g.serial = value;
        } else if (name == "--baud") {
            baud = value;
        } else if (name == "--timeout") {
            timeout = value;
        } else {
            const size_t colon = value.rfind(':');
            if (colon == std::string::npos || colon == 0)
                throw UsageError("--tcp wants HOST:PORT, not " + value);
            g.port = toInt(value.substr(colon + 1), 1, 65535, "--tcp port");
            g.host = numericHost(value.substr(0, colon));
        }
    }
    if (i < argv.size()) {
        g.command = argv[i];
        g.args.assign(argv.begin() + static_cast<std::ptrdiff_t>(i) + 1, argv.end());
    }
    if (!g.serial.empty() && !g.host.empty())
        throw UsageError("give either --serial or --tcp, not both");
    if (!baud.empty()) {
        if (g.serial.empty()) throw UsageError("--baud goes with --serial");
        g.baud = toInt(baud, 1, 115200, "--baud");
        if (std::find(std::begin(kBaudRates), std::end(kBaudRates), g.baud) == std::end(kBaudRates))
            throw UsageError("--baud: the port cannot run at " + baud +
                             " (1200, 1800, 2400, 4800, 9600, 19200, 38400, 57600, 115200)");
    }
    if (!timeout.empty()) {
        // The library counts 1 ms on TCP, where the system refuses a second or
        // more, and 10 ms on a serial line, where a read waits whole tenths
        // of a second (at most 25.5 s).
        g.timeoutMs = g.serial.empty() ? toInt(timeout, 1, 999, "--timeout on TCP")
                                       : toInt(timeout, 100, 25500, "--timeout on a serial line");
    }
    return g;
}

CommandLine::CommandLine(const std::vector<std::string>& args,
                         const std::vector<std::string>& flags,
                         const std::vector<std::string>& valued) {
    auto known = [](const std::vector<std::string>& list, const std::string& name) {
        return std::find(list.begin(), list.end(), name) != list.end();
    };
    bool optionsEnd = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        // A negative number is an operand, not an option.
        const bool option =
            !optionsEnd && arg.size() > 1 && arg[0] == '-' && !(arg[1] >= '0' && arg[1] <= '9');
        if (!option) {
            operands_.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnd = true;
            continue;
        }
        std::string name = arg == "-h" ? "--help" : arg, value;
        const bool inlineValue = splitInline(arg, name, value);
        if (name == "--help" || known(flags, name)) {
            if (inlineValue) throw UsageError(name + " takes no value");
            options_[name];
        } else if (known(valued, name)) {
            if (!inlineValue) {
                if (i + 1 >= args.size()) throw UsageError(name + " needs a value");
                value = args[++i];
            }
            options_[name].push_back(value);
        } else if (name == "--serial" || name == "--tcp" || name == "--baud" ||
                   name == "--timeout" || name == "--verbose") {
            throw UsageError(name + " goes before the command");
        } else {
            throw UsageError("unknown option " + name);
        }
    }
}

std::string CommandLine::value(const std::string& option, const std::string& fallback) const {
    const auto found = options_.find(option);
    return found == options_.end() || found->second.empty() ? fallback : found->second.back();
}

const std::vector<std::string>& CommandLine::values(const std::string& option) const {
    static const std::vector<std::string> none;
    const auto found = options_.find(option);
    return found == options_.end() ? none : found->second;
}

void CommandLine::expectOperands(size_t least, size_t most) const {
    if (operands_.size() < least) throw UsageError("too few arguments");
    if (operands_.size() > most) throw UsageError("unexpected argument " + operands_[most]);
}

int toInt(const std::string& text, int low, int high, const std::string& what) {
    const std::string range = " (" + std::to_string(low) + " to " + std::to_string(high) + ")";
    size_t i = text.size() > 1 && text[0] == '-' ? 1 : 0;
    if (i == text.size() || text.size() > 11) throw UsageError(what + ": not a number: " + text);
    long long value = 0;
    for (; i < text.size(); ++i) {
        if (text[i] < '0' || text[i] > '9') throw UsageError(what + ": not a number: " + text);
        value = value * 10 + (text[i] - '0');
    }
    if (text[0] == '-') value = -value;
    if (value < low || value > high)
        throw UsageError(what + ": out of range" + range + ": " + text);
    return static_cast<int>(value);
}

double toAmount(const std::string& text, int decimals, const std::string& what) {
    // Whole units and fraction are read as integers, so that "0.1" is exactly
    // what the register gets after rounding to its decimals.
    long long whole = 0, fraction = 0;
    int places = 0;
    size_t i = 0, digits = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i, ++digits)
        if (digits < 10) whole = whole * 10 + (text[i] - '0');
    const bool point = i < text.size() && (text[i] == '.' || text[i] == ',');
    if (point)
        for (++i; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i, ++places)
            if (places < 10) fraction = fraction * 10 + (text[i] - '0');
    if (digits + static_cast<size_t>(places) == 0 || i != text.size() || (point && places == 0))
        throw UsageError(what + ": not an amount: " + text);
    if (places > decimals)
        throw UsageError(what + ": at most " + std::to_string(decimals) + " decimals: " + text);
    if (digits > 9) throw UsageError(what + ": too large: " + text);
    return static_cast<double>(whole) + static_cast<double>(fraction) / std::pow(10.0, places);
}

char toByte(const std::string& text, const std::string& what) {
    if (text.size() != 1 || text[0] < 0x21 || text[0] > 0x7E)
        throw UsageError(what + ": one letter or digit, not " + text);
    return text[0];
}

std::string toText(const std::string& utf8, const std::string& what) {
    std::string text, error;
    if (!toApplication(utf8, text, error)) throw UsageError(what + ": " + error);
    return text;
}

}  // namespace cli
