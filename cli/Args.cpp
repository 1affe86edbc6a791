#include "cli/Args.h"

#include <algorithm>
#include <cmath>

#include "wire/RegisterText.h"

namespace cli {

Global checkGlobal(const GlobalText& typed) {
    Global g;
    g.verbose = typed.verbose;
    if (typed.serialGiven && typed.serial.empty()) throw UsageError("--serial needs a value");
    if (typed.tcpGiven && typed.tcp.empty()) throw UsageError("--tcp needs a value");
    g.serial = typed.serial;
    if (!typed.tcp.empty()) g.port = hostPort(typed.tcp, g.host);
    if (!g.serial.empty() && !g.host.empty())
        throw UsageError("give either --serial or --tcp, not both");
    if (!typed.baud.empty()) {
        if (g.serial.empty()) throw UsageError("--baud goes with --serial");
        g.baud = toInt(typed.baud, 1, 115200, "--baud");
        if (std::find(std::begin(kBaudRates), std::end(kBaudRates), g.baud) == std::end(kBaudRates))
            throw UsageError("--baud: the port cannot run at " + typed.baud +
                             " (1200, 1800, 2400, 4800, 9600, 19200, 38400, 57600, 115200)");
    }
    if (!typed.timeout.empty()) {
        // The library counts 1 ms on TCP, where the system refuses a second or
        // more, and 10 ms on a serial line, where a read waits whole tenths
        // of a second (at most 25.5 s).
        g.timeoutMs = g.serial.empty()
                          ? toInt(typed.timeout, 1, 999, "--timeout on TCP")
                          : toInt(typed.timeout, 100, 25500, "--timeout on a serial line");
    }
    return g;
}

int hostPort(const std::string& text, std::string& host) {
    const size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0)
        throw UsageError("--tcp wants HOST:PORT, not " + text);
    const int port = toInt(text.substr(colon + 1), 1, 65535, "--tcp port");
    host = text.substr(0, colon);
    return port;
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
    namespace rt = wire::text;
    const rt::Verdict verdict = rt::checkPrintable(utf8);
    switch (verdict.first) {
        case rt::Problem::None:
            return utf8;
        case rt::Problem::NotUtf8:
            throw UsageError(what + ": \"" + utf8 + "\" is not UTF-8 text");
        case rt::Problem::Control:
            throw UsageError(what + ": \"" + utf8 + "\" holds a control character");
        case rt::Problem::Unprintable:
            break;
    }
    std::string character;
    rt::appendUtf8(character, verdict.character);
    throw UsageError(what + ": the register cannot print \"" + character + "\" in \"" + utf8 +
                     "\"");
}

}  // namespace cli
