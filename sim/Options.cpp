#include "sim/Options.h"

#include "sim/Text.h"
#include "wire/Command.h"

namespace sim {

const char kUsage[] =
    "usage: verda-sim (--pty | --tcp [HOST:]PORT) [options]\n"
    "\n"
    "  --pty                 make a pseudo-terminal and print its path\n"
    "  --tcp [HOST:]PORT     listen on HOST (127.0.0.1 by default); port 0 picks one\n"
    "                        and prints HOST:PORT\n"
    "  --paper FILE          the printed paper, UTF-8 (\"-\", the default: standard output)\n"
    "  --state FILE          keep the register's memory in FILE across runs\n"
    "  --model NAME          model name (default \"ВЕРДА 35V-Ф\")\n"
    "  --firmware REV        firmware revision (default 944124; 944123 takes the\n"
    "                        shorter receipt fields, 944123 and below the short\n"
    "                        article record)\n"
    "  --serial TEXT         serial number of a fresh register\n"
    "  --device-number TEXT  device number\n"
    "  --fn-number TEXT      fiscal drive number\n"
    "  --columns 32|48       paper width (default 48 for \"ЛАРН-1000 Ф\", else 32)\n"
    "  --unfiscalized        a fresh register starts before fiscalization\n"
    "  --ofd-offline         documents stay in the queue for the data operator\n"
    "  --baud N              pace replies as on an 8N1 line at N bit/s\n"
    "  --seed N              seed of the fault generator (default 1)\n"
    "  --nak P, --drop P, --noise P, --split P, --syn P, --crc P, --delay P\n"
    "                        chance 0..1 of each fault per reply\n"
    "  --delay-ms N          length of a delay (default 100)\n"
    "  --hang-up-after NAME[:N]\n"
    "                        once the Nth request (default 1) of the command NAME (an\n"
    "                        operation's name or the command's number) has been\n"
    "                        executed, hang up instead of replying (TCP), or fall\n"
    "                        silent (pty); once per run, the register keeps the effect.\n"
    "                        Operations that share a number share the count\n"
    "  --hang-up-ms N        how long a pty stays silent (default 3000)\n"
    "  --help                this text\n";

namespace {

bool number(const std::string& text, long long low, long long high, long long& value) {
    return parseInt(text, value) && value >= low && value <= high;
}

bool rate(const std::string& text, double& value) {
    long long millionths = 0;
    if (!parseFixed(text, 6, millionths) || millionths < 0 || millionths > 1000000) return false;
    value = static_cast<double>(millionths) / 1e6;
    return true;
}

const struct {
    const char* name;
    double FaultRates::*rate;
} kRates[] = {{"--nak", &FaultRates::nak},     {"--drop", &FaultRates::drop},
              {"--noise", &FaultRates::noise}, {"--split", &FaultRates::split},
              {"--syn", &FaultRates::syn},     {"--crc", &FaultRates::crc},
              {"--delay", &FaultRates::delay}};

double FaultRates::*rateOption(const std::string& name) {
    for (const auto& option : kRates)
        if (name == option.name) return option.rate;
    return nullptr;
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

}  // namespace

bool parseOptions(const std::vector<std::string>& args, Options& o, std::string& error) {
    bool columnsGiven = false;
    std::string model = "ВЕРДА 35V-Ф";
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& name = args[i];
        if (name == "--help") {
            o.help = true;
            continue;
        }
        if (name == "--pty") {
            o.transport = Options::Pty;
            continue;
        }
        if (name == "--unfiscalized") {
            o.unfiscalized = true;
            continue;
        }
        if (name == "--ofd-offline") {
            o.identity.ofdOnline = false;
            continue;
        }
        static const char* const kValued[] = {
            "--tcp",           "--paper",      "--state",   "--model", "--firmware", "--serial",
            "--device-number", "--fn-number",  "--columns", "--baud",  "--seed",     "--delay-ms",
            "--hang-up-after", "--hang-up-ms", "--nak",     "--drop",  "--noise",    "--split",
            "--syn",           "--crc",        "--delay"};
        bool valued = false;
        for (const char* known : kValued) valued = valued || name == known;
        if (!valued) {
            error = "unknown option " + name;
            return false;
        }
        if (i + 1 >= args.size()) {
            error = name + " needs a value";
            return false;
        }
        const std::string& value = args[++i];
        long long n = 0;
        bool ok = true;
        if (name == "--tcp") {
            const size_t colon = value.rfind(':');
            if (colon != std::string::npos) o.host = value.substr(0, colon);
            ok = number(value.substr(colon == std::string::npos ? 0 : colon + 1), 0, 65535, n) &&
                 !o.host.empty();
            o.port = static_cast<int>(n);
            o.transport = Options::Tcp;
        } else if (name == "--paper") {
            o.paper = value;
        } else if (name == "--state") {
            o.stateFile = value;
        } else if (name == "--model") {
            model = value;
        } else if (name == "--firmware") {
            ok = number(value, 0, 2147483647, n);
            o.identity.firmware = value;
        } else if (name == "--serial") {
            o.serial = value;
        } else if (name == "--device-number") {
            o.identity.deviceNumber = value;
        } else if (name == "--fn-number") {
            o.identity.fnNumber = value;
        } else if (name == "--columns") {
            ok = value == "32" || value == "48";
            o.identity.columns = value == "48" ? 48 : 32;
            columnsGiven = true;
        } else if (name == "--baud") {
            ok = number(value, 50, 10000000, n);
            o.baud = static_cast<long>(n);
        } else if (name == "--seed") {
            ok = number(value, 0, 4294967295LL, n);
            o.seed = static_cast<unsigned int>(n);
        } else if (name == "--hang-up-after") {
            ok = hangUpAfter(value, o.hangUp);
        } else if (name == "--hang-up-ms") {
            ok = number(value, 0, 600000, n);
            o.hangUp.ms = static_cast<int>(n);
        } else if (name == "--delay-ms") {
            ok = number(value, 0, 60000, n);
            o.faults.delayMs = static_cast<int>(n);
        } else {
            ok = rate(value, o.faults.*rateOption(name));
        }
        if (!ok) {
            error = "bad value for " + name + ": " + value;
            return false;
        }
    }
    o.identity.model = utf8ToCp866(model);
    if (!columnsGiven) o.identity.columns = model == "ЛАРН-1000 Ф" ? 48 : 32;
    if (!o.help && o.transport == Options::None) {
        error = "choose --pty or --tcp";
        return false;
    }
    return true;
}

}  // namespace sim
