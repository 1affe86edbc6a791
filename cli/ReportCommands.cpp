// x-report, z-report and journal: the long operations, shown as working.
#include "api/CorteliaVERDA.h"
#include "cli/Commands.h"
#include "cli/Format.h"
#include "cli/Text.h"

namespace cli {

namespace {

const int kEndOfData = 100003;  // the register's "no more lines"

void runReport(Session& session, const CommandLine& line, char type) {
    line.expectOperands(0, 0);
    session.connect();
    int number = 0, document = 0, sign = 0;
    double sums[4][6] = {};
    bool ok = false;
    session.longRun(std::string("printing the ") + type + " report", [&] {
        ok = VERDA::PrintReport(
            type, number, document, sign, sums[0][0], sums[0][1], sums[0][2], sums[0][3],
            sums[0][4], sums[0][5], sums[1][0], sums[1][1], sums[1][2], sums[1][3], sums[1][4],
            sums[1][5], sums[2][0], sums[2][1], sums[2][2], sums[2][3], sums[2][4], sums[2][5],
            sums[3][0], sums[3][1], sums[3][2], sums[3][3], sums[3][4], sums[3][5]);
    });
    session.check(ok, "PrintReport");
    printPairs(session.out(), {{std::string(1, type) + " report", std::to_string(number)},
                               {"fiscal document", std::to_string(document)},
                               {"fiscal sign", std::to_string(sign)}});
    session.out() << '\n';
    static const char* const kRows[] = {"sales", "returns", "purchases", "purchase returns"};
    std::vector<std::vector<std::string>> grid{{"", "1", "2", "3", "4", "5", "6"}};
    for (int row = 0; row < 4; ++row) {
        grid.push_back({kRows[row]});
        for (double sum : sums[row]) grid.back().push_back(money(sum));
    }
    printGrid(session.out(), grid);
}

void runXReport(Session& session, const CommandLine& line) {
    runReport(session, line, 'X');
}

void runZReport(Session& session, const CommandLine& line) {
    runReport(session, line, 'Z');
}

// A document of the journal: chosen by number, or with --fd by its fiscal
// document number (the register's selector "1").
char journalSelector(const CommandLine& line) {
    return line.has("--fd") ? '1' : '0';
}

void showDocument(Session& session, int number, char selector) {
    int document = 0, shift = 0, lines = 0;
    std::string time;
    char kind = 0;
    session.check(VERDA::GetInfoFromEJ0(number, selector, document, shift, time, kind, lines),
                  "GetInfoFromEJ0");
    std::vector<std::string> text;
    session.longRun("reading the journal", [&] {
        // The lines come one by one until the register says there are no
        // more; its count bounds the loop all the same.
        for (int i = 0; i < lines; ++i) {
            std::string one;
            if (!VERDA::GetInfoFromEJ1(one)) {
                if (VERDA::LastResultCode() == kEndOfData) break;
                session.check(false, "GetInfoFromEJ1");
            }
            text.push_back(fromOneWay(one));
        }
    });
    printPairs(session.out(),
               {{"document", std::to_string(document)},
                {"shift", std::to_string(shift)},
                {"time", fromCp866(time)},
                {"kind", kind == 0 ? std::string() : fromCp866(std::string(1, kind))}});
    session.out() << '\n';
    for (const std::string& one : text) session.out() << one << '\n';
}

void runJournal(Session& session, const CommandLine& line) {
    const auto& operands = line.operands();
    if (operands.empty()) throw UsageError("journal doc, find or reprint?");
    const std::string& what = operands[0];
    if (what == "doc" || what == "reprint") {
        line.expectOperands(2, 2);
        const int number = toInt(operands[1], 1, 2147483647, "document number");
        session.connect();
        if (what == "doc") return showDocument(session, number, journalSelector(line));
        bool ok = false;
        session.longRun("printing a copy",
                        [&] { ok = VERDA::GetInfoFromEJ3(number, journalSelector(line)); });
        session.check(ok, "GetInfoFromEJ3");
        session.out() << "document " << number << " printed again\n";
        return;
    }
    if (what != "find") throw UsageError("unknown journal command " + what);
    line.expectOperands(3, 3);
    const std::string from = toText(operands[1], "FROM"), to = toText(operands[2], "TO");
    // The register's kinds: "1" fiscal receipts, "2" X and Z reports, "0" all.
    const char kind = line.has("--receipts") ? '1' : line.has("--reports") ? '2' : '0';
    session.connect();
    std::string first, last;
    int firstNumber = 0, lastNumber = 0;
    bool ok = false;
    session.longRun("searching the journal", [&] {
        ok = VERDA::GetDocInEJByDate(from, to, kind, first, last, firstNumber, lastNumber);
    });
    session.check(ok, "GetDocInEJByDate");
    printPairs(session.out(), {{"first", std::to_string(firstNumber) + "  " + fromCp866(first)},
                               {"last", std::to_string(lastNumber) + "  " + fromCp866(last)}});
}

}  // namespace

void addReportCommands(std::vector<Command>& table) {
    table.push_back({"x-report",
                     "print an X report and show its figures",
                     "Usage: verda ... x-report\n"
                     "Prints an X report (the shift so far) and shows its number and the\n"
                     "shift's sales, returns, purchases and purchase returns in the "
                     "register's\n"
                     "six columns (its tax groups).\n",
                     {},
                     {},
                     runXReport});
    table.push_back({"z-report",
                     "print the Z report, closing the shift",
                     "Usage: verda ... z-report\n"
                     "Prints the Z report, which closes the shift, and shows its number,\n"
                     "fiscal document and figures as x-report does.\n",
                     {},
                     {},
                     runZReport});
    table.push_back({"journal",
                     "read documents back from the electronic journal",
                     "Usage: verda ... journal doc N [--fd]\n"
                     "       verda ... journal reprint N [--fd]\n"
                     "       verda ... journal find FROM TO [--receipts|--reports]\n"
                     "doc shows document N as it was printed; reprint prints it again.\n"
                     "With --fd, N is a fiscal document number.\n"
                     "find shows the first and the last document between two times, given\n"
                     "as the register writes them (\"DD.MM.YYYY HH:MM:SS\").\n",
                     {"--fd", "--receipts", "--reports"},
                     {},
                     runJournal});
}

}  // namespace cli
