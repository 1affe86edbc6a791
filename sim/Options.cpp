#include "sim/Options.h"

#include <cstring>

#include "wire/RegisterText.h"
#include "common/Help.h"
#include "sim/Formats.h"
#include "wire/Command.h"

namespace sim {

namespace {

const char kHead[] =
    "Usage: verda-sim (--pty | --tcp [HOST:]PORT) [OPTIONS]\n"
    "A simulated VERDA fiscal register for the CorteliaVERDA driver. It prints\n"
    "where to connect on its first line and serves until it is stopped.\n";

const char kDefaultModel[] = "ВЕРДА 35V-Ф";
const char kWideModel[] = "ЛАРН-1000 Ф";  // the model with 48 columns

bool number(const std::string& text, long long low, long long high, long long& value) {
    return parseInt(text, value) && value >= low && value <= high;
}

bool rate(const std::string& text, double& value) {
    long long millionths = 0;
    if (!parseFixed(text, 6, millionths) || millionths < 0 || millionths > 1000000) return false;
    value = static_cast<double>(millionths) / 1e6;
    return true;
}

// Each is the chance, 0 to 1, that its fault hits one reply.
const struct {
    const char* name;
    double FaultRates::*rate;
    const char* what;
} kRates[] = {
    {"--nak", &FaultRates::nak, "a good request is answered with NAK, not run"},
    {"--drop", &FaultRates::drop, "the request is run and its reply lost"},
    {"--noise", &FaultRates::noise, "stray bytes come before the reply"},
    {"--split", &FaultRates::split, "the reply comes in pieces"},
    {"--syn", &FaultRates::syn, "SYN bytes come before the reply"},
    {"--crc", &FaultRates::crc, "the reply's checksum is spoilt"},
    {"--delay", &FaultRates::delay, "the reply comes late, by --delay-ms"},
};
const int kRateCount = sizeof kRates / sizeof kRates[0];

// The options as typed; their values are checked after CLI11 has read them,
// so that every bad value gets the same message.
struct Typed {
    bool pty = false;
    std::string tcp, model = kDefaultModel, firmware, columns, baud, seed, delayMs, hangUpAfter,
                     hangUpMs, clock, shiftOpened, fnDeadline, fnWarnings, unsent, unsentSince;
    std::string rates[kRateCount];
};

// Declares every option; help formatter and values both come from here.
void declare(CLI::App& app, Options& o, Typed& t) {
    auto formatter = std::make_shared<help::Formatter>();
    formatter->head(&app, kHead);
    app.formatter(formatter);
    app.set_help_flag("--help", "this text");
    app.add_flag("--version", o.version, "the version");
    app.add_flag("--pty", t.pty, "make a pseudo-terminal and print its path");
    auto text = [&app](const char* name, std::string& value, const char* type, const char* what) {
        app.add_option(name, value, what)
            ->type_name(type)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    };
    text("--tcp", t.tcp, "[HOST:]PORT",
         "listen on HOST (127.0.0.1 by default); port 0 picks\none and prints HOST:PORT");
    text("--paper", o.paper, "FILE",
         "the printed paper, UTF-8 (\"-\", the default: standard\noutput)");
    text("--state", o.stateFile, "FILE",
         "keep the register's memory in FILE across runs, as\n"
         "JSON; a file of the older text form is converted");
    text("--model", t.model, "NAME", "model name (default \"ВЕРДА 35V-Ф\")");
    text("--firmware", t.firmware, "REV",
         "firmware revision (default 944124; 944123 takes the\n"
         "shorter receipt fields, 944123 and below the short\n"
         "article record)");
    text("--serial", o.serial, "TEXT", "serial number of a fresh register");
    text("--device-number", o.identity.deviceNumber, "TEXT", "device number");
    text("--fn-number", o.identity.fnNumber, "TEXT", "fiscal drive number");
    text("--columns", t.columns, "32|48", "paper width (default 48 for \"ЛАРН-1000 Ф\", else 32)");
    app.add_flag("--unfiscalized", o.unfiscalized, "a fresh register starts before fiscalization");
    app.add_flag_callback(
        "--ofd-offline", [&o] { o.identity.ofdOnline = false; },
        "documents stay in the queue for the data operator");
    text("--clock", t.clock, "TIME",
         "the clock stands at TIME, \"DD.MM.YYYY HH:MM:SS\", so\n"
         "that a run gives the same bytes each time;\n"
         "SetDateTime moves it (not with --state)");
    text("--shift-opened", t.shiftOpened, "WHEN",
         "a shift is open since WHEN (opened, without its\n"
         "document, if none is): past 24 hours the register\n"
         "refuses to sell");
    text("--fn-deadline", t.fnDeadline, "WHEN",
         "the fiscal drive's last valid day (default\n"
         "15.03.2029); after it no shift or receipt opens");
    text("--fn-warnings", t.fnWarnings, "N",
         "the drive's warning flags, 0 to 255: 1 replace\n"
         "within 3 days, 2 validity ends within 30 days,\n"
         "4 memory 90 % full, 8 the data operator overdue,\n"
         "128 critical error");
    text("--ofd-unsent", t.unsent, "N",
         "N documents wait for the data operator (the last\n"
         "N fiscal documents); implies --ofd-offline");
    text("--ofd-unsent-since", t.unsentSince, "WHEN",
         "with --ofd-unsent: the oldest of them since WHEN\n"
         "(default: the clock at the start)");
    text("--baud", t.baud, "N",
         "pace replies as on an 8N1 line at N bit/s; on a\n"
         "pty, a request sent at another speed is not heard");
    text("--seed", t.seed, "N", "seed of the fault generator (default 1)");
    for (int i = 0; i < kRateCount; ++i)
        text(kRates[i].name, t.rates[i], "P",
             (std::string("chance 0..1 per reply that ") + kRates[i].what).c_str());
    text("--delay-ms", t.delayMs, "N", "length of a delay (default 100)");
    text("--hang-up-after", t.hangUpAfter, "NAME[:N]",
         "once the Nth request (default 1) of the command NAME\n"
         "(an operation's name or the command's number) has\n"
         "been executed, hang up instead of replying (TCP), or\n"
         "fall silent (pty); once per run, the register keeps\n"
         "the effect. Operations that share a number share the\n"
         "count");
    text("--hang-up-ms", t.hangUpMs, "N", "how long a pty stays silent (default 3000)");
}

// The operations that --hang-up-after knows by name, with their command.
#define VERDA_SIM_COMMAND(name) \
    { #name, wire::Command::name }
const struct {
    const char* name;
    wire::Command command;
} kCommandNames[] = {
    VERDA_SIM_COMMAND(OpenFiscalInv),   {"OpenShift", wire::Command::OpenFiscalInv},
    VERDA_SIM_COMMAND(RegisterSale),    VERDA_SIM_COMMAND(RegisterArticleSale),
    VERDA_SIM_COMMAND(Subtotal),        VERDA_SIM_COMMAND(Total),
    VERDA_SIM_COMMAND(CloseFiscalInv),  VERDA_SIM_COMMAND(CancelFiscalInv),
    VERDA_SIM_COMMAND(PrintReport),     VERDA_SIM_COMMAND(ParishOrConsumption),
    VERDA_SIM_COMMAND(OpenServiceInv),  VERDA_SIM_COMMAND(PrintFreeTextInServiceInv),
    VERDA_SIM_COMMAND(CloseServiceInv), VERDA_SIM_COMMAND(OpenCashDrawer),
    VERDA_SIM_COMMAND(SetDateTime),     VERDA_SIM_COMMAND(GetStatusShift),
    VERDA_SIM_COMMAND(DiagnosticInfo),  VERDA_SIM_COMMAND(CheckConnection),
};
#undef VERDA_SIM_COMMAND

// NAME[:N], NAME an operation of kCommandNames or a command number.
bool hangUpAfter(const std::string& text, HangUp& hangUp) {
    const size_t colon = text.find(':');
    const std::string name = text.substr(0, colon);
    long long n = 1;
    if (colon != std::string::npos && !number(text.substr(colon + 1), 1, 1000000, n)) return false;
    hangUp.nth = static_cast<int>(n);
    if (number(name, 0, 255, n)) {
        hangUp.command = static_cast<int>(n);
        return true;
    }
    for (const auto& entry : kCommandNames)
        if (name == entry.name) {
            hangUp.command = static_cast<int>(wire::number(entry.command));
            return true;
        }
    return false;
}

// WHEN: "DD.MM.YYYY HH:MM:SS", "DD.MM.YYYY" (the start of the day), or a
// signed offset from the register's clock at the start, in days, hours,
// minutes and seconds: "-25h", "+20d", "-1d2h30m". With past, not after the
// clock; with day, a date or an offset.
bool when(const std::string& text, When& w, bool past, bool day) {
    if (!text.empty() && (text[0] == '+' || text[0] == '-')) {
        if (past && text[0] == '+') return false;
        long long total = 0;
        size_t i = 1;
        while (i < text.size()) {
            size_t end = i;
            while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
            if (end == i || end - i > 5 || end == text.size()) return false;
            const char* units = "dhms";
            const long long sizes[] = {24 * 3600, 3600, 60, 1};
            const char* unit = std::strchr(units, text[end]);
            if (unit == nullptr || *unit == 0) return false;
            total += std::stoll(text.substr(i, end - i)) * sizes[unit - units];
            i = end + 1;
        }
        if (i == 1) return false;
        w.given = w.relative = true;
        w.seconds = text[0] == '-' ? -total : total;
        return true;
    }
    bool dateOnly = false;
    if (!parseTime(text, false, w.seconds, dateOnly) || (day && !dateOnly)) return false;
    w.given = true;
    return true;
}

}  // namespace

std::string usage() {
    Options o;
    Typed t;
    CLI::App app("", "verda-sim");
    declare(app, o, t);
    return app.help();
}

bool parseOptions(const std::vector<std::string>& args, Options& o, std::string& error) {
    Typed t;
    CLI::App app("", "verda-sim");
    declare(app, o, t);
    try {
        std::vector<std::string> reversed = help::reversed(args);
        app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        o.help = true;
        return true;
    } catch (const CLI::ExtrasError&) {
        const std::vector<std::string> extra = app.remaining();
        error = extra.empty()                           ? std::string("unexpected arguments")
                : extra.front().compare(0, 1, "-") == 0 ? "unknown option " + extra.front()
                                                        : "unexpected argument " + extra.front();
        return false;
    } catch (const CLI::ParseError& e) {
        error = e.what();
        return false;
    }
    if (o.version) return true;
    auto bad = [&error](const std::string& name, const std::string& value) {
        error = "bad value for " + name + ": " + value;
        return false;
    };
    long long n = 0;
    if (t.pty) o.transport = Options::Pty;
    if (app.count("--tcp") != 0) {
        const size_t colon = t.tcp.rfind(':');
        if (colon != std::string::npos) o.host = t.tcp.substr(0, colon);
        if (!number(t.tcp.substr(colon == std::string::npos ? 0 : colon + 1), 0, 65535, n) ||
            o.host.empty())
            return bad("--tcp", t.tcp);
        o.port = static_cast<int>(n);
        o.transport = Options::Tcp;
    }
    if (app.count("--firmware") != 0) {
        if (!number(t.firmware, 0, 2147483647, n)) return bad("--firmware", t.firmware);
        o.identity.firmware = t.firmware;
    }
    if (app.count("--columns") != 0) {
        if (t.columns != "32" && t.columns != "48") return bad("--columns", t.columns);
        o.identity.columns = t.columns == "48" ? 48 : 32;
    } else {
        o.identity.columns = t.model == kWideModel ? 48 : 32;
    }
    if (app.count("--baud") != 0) {
        if (!number(t.baud, 50, 10000000, n)) return bad("--baud", t.baud);
        o.baud = static_cast<long>(n);
    }
    if (app.count("--seed") != 0) {
        if (!number(t.seed, 0, 4294967295LL, n)) return bad("--seed", t.seed);
        o.seed = static_cast<unsigned int>(n);
    }
    if (app.count("--delay-ms") != 0) {
        if (!number(t.delayMs, 0, 60000, n)) return bad("--delay-ms", t.delayMs);
        o.faults.delayMs = static_cast<int>(n);
    }
    if (app.count("--hang-up-after") != 0 && !hangUpAfter(t.hangUpAfter, o.hangUp))
        return bad("--hang-up-after", t.hangUpAfter);
    if (app.count("--clock") != 0) {
        bool dateOnly = false;
        if (!parseTime(t.clock, false, o.clock, dateOnly) || dateOnly)
            return bad("--clock", t.clock);
        if (!o.stateFile.empty()) {
            error = "--clock and --state do not go together";
            return false;
        }
        o.identity.clockStands = true;
    }
    if (app.count("--hang-up-ms") != 0) {
        if (!number(t.hangUpMs, 0, 600000, n)) return bad("--hang-up-ms", t.hangUpMs);
        o.hangUp.ms = static_cast<int>(n);
    }
    if (app.count("--shift-opened") != 0 && !when(t.shiftOpened, o.shiftOpened, true, false))
        return bad("--shift-opened", t.shiftOpened);
    if (app.count("--fn-deadline") != 0 && !when(t.fnDeadline, o.fnDeadline, false, true))
        return bad("--fn-deadline", t.fnDeadline);
    if (app.count("--fn-warnings") != 0) {
        if (!number(t.fnWarnings, 0, 255, n)) return bad("--fn-warnings", t.fnWarnings);
        o.identity.fnWarnings = static_cast<int>(n);
    }
    if (app.count("--ofd-unsent") != 0) {
        if (!number(t.unsent, 0, 10000, n)) return bad("--ofd-unsent", t.unsent);
        o.unsent = static_cast<int>(n);
        o.identity.ofdOnline = false;  // else the queue would be sent at once
    }
    if (app.count("--ofd-unsent-since") != 0) {
        if (o.unsent < 0) {
            error = "--ofd-unsent-since goes with --ofd-unsent";
            return false;
        }
        if (!when(t.unsentSince, o.unsentSince, true, false))
            return bad("--ofd-unsent-since", t.unsentSince);
    }
    for (int i = 0; i < kRateCount; ++i)
        if (app.count(kRates[i].name) != 0 && !rate(t.rates[i], o.faults.*kRates[i].rate))
            return bad(kRates[i].name, t.rates[i]);
    o.identity.model = wire::text::utf8ToCp866(t.model);
    if (o.transport == Options::None) {
        error = "choose --pty or --tcp";
        return false;
    }
    return true;
}

}  // namespace sim
