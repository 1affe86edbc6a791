// check, info, status, datetime, param and error: what the register is and
// what state it is in.
#include <ctime>

#include "cli/Commands.h"
#include "cli/Format.h"

namespace cli {

namespace {

void runCheck(Session& session) {
    verda_device* d = session.connect(false);
    session.check(verda_CheckConnection(d), "CheckConnection");
    session.out() << "the register answers\n";
}

void runInfo(Session& session) {
    verda_device* d = session.connect();
    TextOut name, revision, date, time, checksum, software, number, places;
    session.check(verda_DiagnosticInfo(
                      d, name.data(), name.size(), revision.data(), revision.size(), date.data(),
                      date.size(), time.data(), time.size(), checksum.data(), checksum.size(),
                      software.data(), software.size(), number.data(), number.size()),
                  "DiagnosticInfo");
    session.check(verda_Programming(d, "DecimalPoint", "0", places.data(), places.size()),
                  "Programming");
    printPairs(session.out(), {{"model", name.shown()},
                               {"firmware", revision.shown()},
                               {"firmware date", shown(date.text() + " " + time.text())},
                               {"checksum", checksum.shown()},
                               {"software", software.shown()},
                               {"device number", number.shown()},
                               {"decimal places", places.shown()}});
}

std::string bits(const std::string& picture) {
    std::string grouped;
    for (size_t i = 0; i < picture.size(); i += 8)
        grouped += (i == 0 ? "" : " ") + picture.substr(i, 8);
    return grouped;
}

void runStatus(Session& session) {
    verda_device* d = session.connect();
    TextOut picture;
    session.check(verda_GetStatusFP(d, picture.data(), picture.size()), "GetStatusFP");
    bool shiftOpen = false, over24h = false;
    int minutes = 0;
    session.check(verda_GetStatusShift(d, &shiftOpen, &over24h, &minutes), "GetStatusShift");
    char kind = 0;
    int slip = 0, items = 0;
    double amount = 0, paid = 0;
    session.check(verda_FiscalTransactionsStatus(d, &kind, &slip, &items, &amount, &paid),
                  "FiscalTransactionsStatus");
    // Selector "1" reads the drive's state; "0" would print a diagnostic.
    TextOut version, drive, phase, driveShift, warnings, deadline, registrations;
    int shiftNumber = 0, receipts = 0, lastDocument = 0, firstUnsent = 0;
    session.check(
        verda_GetStateFN(d, '1', version.data(), version.size(), drive.data(), drive.size(),
                         phase.data(), phase.size(), driveShift.data(), driveShift.size(),
                         warnings.data(), warnings.size(), deadline.data(), deadline.size(),
                         registrations.data(), registrations.size(), &shiftNumber, &receipts,
                         &lastDocument, &firstUnsent),
        "GetStateFN");
    bool operatorShift = false, operator24h = false;
    int operatorShiftNumber = 0, documents = 0, unsent = 0, oldest = 0;
    TextOut oldestTime;
    session.check(
        verda_GetOFDandFNStatus(d, &operatorShift, &operator24h, &operatorShiftNumber, &documents,
                                &unsent, &oldest, oldestTime.data(), oldestTime.size()),
        "GetOFDandFNStatus");

    std::string shift = shiftOpen ? "open, " + std::to_string(shiftNumber) + ", for " +
                                        std::to_string(minutes) + " min"
                                  : "closed";
    if (over24h) shift += ", over 24 hours: close it with z-report";
    // The register's open document (an OpenDocument); another kind is shown
    // as it came.
    std::string document = "none";
    if (kind == VERDA_DOCUMENT_RECEIPT || kind == VERDA_DOCUMENT_SERVICE)
        document = std::string(kind == VERDA_DOCUMENT_RECEIPT ? "receipt " : "service document ") +
                   std::to_string(slip) + ", " + std::to_string(items) + " lines, total " +
                   money(amount) + ", paid " + money(paid);
    else if (kind != VERDA_DOCUMENT_NONE && kind != 0)
        document = std::string("kind ") + kind + ", number " + std::to_string(slip);
    printPairs(session.out(),
               {{"status bits", bits(picture.text())},
                {"shift", shift},
                {"document", document},
                {"fiscal drive", drive.shown() + " (" + version.shown() + "), phase " +
                                     phase.shown() + ", valid until " + deadline.shown()},
                {"drive warnings", warnings.shown()},
                {"registrations left", registrations.shown()},
                {"receipts in shift", std::to_string(receipts)},
                {"last document", std::to_string(lastDocument)},
                {"data operator", unsent == 0
                                      ? std::string("all documents sent")
                                      : std::to_string(unsent) + " unsent, the first " +
                                            std::to_string(oldest) + " of " + oldestTime.shown()}});
}

// The register's clock reads and takes "DD.MM.YYYY HH:MM:SS".
bool isDateTime(const std::string& text) {
    const char kPattern[] = "00.00.0000 00:00:00";
    if (text.size() != sizeof kPattern - 1) return false;
    for (size_t i = 0; i < text.size(); ++i)
        if (kPattern[i] == '0' ? text[i] < '0' || text[i] > '9' : text[i] != kPattern[i])
            return false;
    return true;
}

void runDateTime(Session& session, const std::vector<std::string>& operands) {
    expectOperands(operands, 0, 2);
    if (operands.empty()) {
        verda_device* d = session.connect();
        TextOut now;
        session.check(verda_GetDateTime(d, now.data(), now.size()), "GetDateTime");
        session.out() << now.shown() << '\n';
        return;
    }
    if (operands[0] != "set") throw UsageError("unknown datetime command " + operands[0]);
    std::string wanted;
    if (operands.size() == 2) {
        wanted = operands[1];
        if (!isDateTime(wanted)) throw UsageError("the time goes as DD.MM.YYYY HH:MM:SS");
    } else {
        const std::time_t now = std::time(nullptr);
        std::tm local = std::tm();
        localtime_r(&now, &local);
        char text[32];
        std::strftime(text, sizeof text, "%d.%m.%Y %H:%M:%S", &local);
        wanted = text;
    }
    verda_device* d = session.connect();
    session.check(verda_SetDateTime(d, wanted.c_str()), "SetDateTime");
    session.out() << "the register's clock is set to " << wanted << '\n';
}

void runParam(Session& session, const std::vector<std::string>& operands) {
    if (operands.empty()) throw UsageError("param get or param set?");
    const bool set = operands[0] == "set";
    if (!set && operands[0] != "get") throw UsageError("unknown param command " + operands[0]);
    expectOperands(operands, set ? 3 : 2, set ? 4 : 3);
    const std::string name = toText(operands[1], "parameter name");
    const bool indexed = operands.size() == (set ? 4u : 3u);
    const std::string index = indexed ? std::to_string(toInt(operands[2], 0, 9999, "index")) : "0";
    // An empty value would make the write a read.
    TextOut value(set ? toText(operands.back(), "value") : std::string());
    if (set && value.text().empty()) throw UsageError("the value must not be empty");
    verda_device* d = session.connect();
    session.check(verda_Programming(d, name.c_str(), index.c_str(), value.data(), value.size()),
                  "Programming");
    if (set)
        session.out() << operands[1] << '[' << index << "] set\n";
    else
        session.out() << value.shown() << '\n';
}

void runError(Session& session, const std::vector<std::string>& operands) {
    expectOperands(operands, 1, 1);
    const int code = toInt(operands[0], -2147483647, 2147483647, "result code");
    // With a register given, it is asked for its own text first.
    if (session.global().hasTransport()) session.connect(false);
    const std::string text = session.explain(code);
    if (text.empty()) throw Failure{"ReadingError", 0, "no text for " + std::to_string(code)};
    session.out() << code << ' ' << text << '\n';
}

}  // namespace

void addDeviceCommands(Commands& commands) {
    commands.add("check", "does the register answer?",
                 "Usage: verda --serial PATH|--tcp HOST:PORT check\n"
                 "Asks the register whether it is there. Nothing is printed on paper.\n",
                 runCheck);
    commands.add("info", "model, firmware and decimal places",
                 "Usage: verda ... info\n"
                 "Initialises the register as a till does (decimal places, model, firmware)\n"
                 "and shows what it reports about itself.\n",
                 runInfo);
    commands.add("status", "status bits, shift, open document, fiscal drive",
                 "Usage: verda ... status\n"
                 "Shows the status bits, the shift, the document in progress, the fiscal\n"
                 "drive and the documents waiting for the fiscal data operator.\n",
                 runStatus);
    auto words = std::make_shared<std::vector<std::string>>();
    operands(commands.add("datetime", "read or set the register's clock",
                          "Usage: verda ... datetime\n"
                          "       verda ... datetime set [\"DD.MM.YYYY HH:MM:SS\"]\n"
                          "Shows the register's clock, or sets it to the given time or, without\n"
                          "one, to this computer's local time.\n",
                          [words](Session& session) { runDateTime(session, *words); }),
             *words);
    words = std::make_shared<std::vector<std::string>>();
    operands(commands.add("param", "read or write a register parameter",
                          "Usage: verda ... param get NAME [INDEX]\n"
                          "       verda ... param set NAME [INDEX] VALUE\n"
                          "Reads or writes a named parameter of the register, such as\n"
                          "DecimalPoint, Dept_name, Header, Footer, PayName or OperName.\n"
                          "INDEX defaults to 0; Dept_name 0 is department 1.\n",
                          [words](Session& session) { runParam(session, *words); }),
             *words);
    words = std::make_shared<std::vector<std::string>>();
    operands(commands.add("error", "the text for a result code",
                          "Usage: verda [--serial PATH|--tcp HOST:PORT] error CODE\n"
                          "Shows the text for a result code. With a register given, the register\n"
                          "is asked first; without one, the library's catalogue answers.\n"
                          "Exit status 1 when no text is known.\n",
                          [words](Session& session) { runError(session, *words); }),
             *words);
}

}  // namespace cli
