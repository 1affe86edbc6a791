// x-report, z-report and journal: the long operations, shown as working.
#include "cli/Commands.h"
#include "cli/Format.h"

namespace cli {

namespace {

const int kEndOfData = 100003;  // the register's "no more lines"

void runReport(Session& session, char type) {
    verda_device* d = session.connect();
    int number = 0, document = 0, sign = 0;
    double sums[4][6] = {};
    int code = 0;
    session.longRun(std::string("printing the ") + type + " report", [&] {
        code = verda_PrintReport(d, type, &number, &document, &sign, &sums[0][0], &sums[0][1],
                                 &sums[0][2], &sums[0][3], &sums[0][4], &sums[0][5], &sums[1][0],
                                 &sums[1][1], &sums[1][2], &sums[1][3], &sums[1][4], &sums[1][5],
                                 &sums[2][0], &sums[2][1], &sums[2][2], &sums[2][3], &sums[2][4],
                                 &sums[2][5], &sums[3][0], &sums[3][1], &sums[3][2], &sums[3][3],
                                 &sums[3][4], &sums[3][5]);
    });
    session.check(code, "PrintReport");
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

struct JournalArgs {
    std::vector<std::string> operands;
    bool fd = false, receipts = false, reports = false;
};

// A document of the journal: chosen by number, or with --fd by its fiscal
// document number (the register's selector "1").
char journalSelector(const JournalArgs& args) {
    return args.fd ? '1' : '0';
}

void showDocument(Session& session, verda_device* d, int number, char selector) {
    int document = 0, shift = 0, lines = 0;
    TextOut time;
    char kind = 0;
    session.check(verda_GetInfoFromEJ0(d, number, selector, &document, &shift, time.data(),
                                       time.size(), &kind, &lines),
                  "GetInfoFromEJ0");
    std::vector<std::string> text;
    session.longRun("reading the journal", [&] {
        // The lines come one by one until the register says there are no
        // more; its count bounds the loop all the same.
        TextOut one;
        for (int i = 0; i < lines; ++i) {
            const int code = verda_GetInfoFromEJ1(d, one.data(), one.size());
            if (code == kEndOfData) break;
            session.check(code, "GetInfoFromEJ1");
            text.push_back(one.shown());
        }
    });
    printPairs(session.out(), {{"document", std::to_string(document)},
                               {"shift", std::to_string(shift)},
                               {"time", time.shown()},
                               {"kind", kind == 0 ? std::string() : shownByte(kind)}});
    session.out() << '\n';
    for (const std::string& one : text) session.out() << one << '\n';
}

void runJournal(Session& session, const JournalArgs& args) {
    const auto& operands = args.operands;
    if (operands.empty()) throw UsageError("journal doc, find or reprint?");
    const std::string& what = operands[0];
    if (what == "doc" || what == "reprint") {
        expectOperands(operands, 2, 2);
        const int number = toInt(operands[1], 1, 2147483647, "document number");
        verda_device* d = session.connect();
        if (what == "doc") return showDocument(session, d, number, journalSelector(args));
        int code = 0;
        session.longRun("printing a copy",
                        [&] { code = verda_GetInfoFromEJ3(d, number, journalSelector(args)); });
        session.check(code, "GetInfoFromEJ3");
        session.out() << "document " << number << " printed again\n";
        return;
    }
    if (what != "find") throw UsageError("unknown journal command " + what);
    expectOperands(operands, 3, 3);
    const std::string from = toText(operands[1], "FROM"), to = toText(operands[2], "TO");
    // The register's kinds: "1" fiscal receipts, "2" X and Z reports, "0" all.
    const char kind = args.receipts ? '1' : args.reports ? '2' : '0';
    verda_device* d = session.connect();
    TextOut first, last;
    int firstNumber = 0, lastNumber = 0;
    int code = 0;
    session.longRun("searching the journal", [&] {
        code = verda_GetDocInEJByDate(d, from.c_str(), to.c_str(), kind, first.data(), first.size(),
                                      last.data(), last.size(), &firstNumber, &lastNumber);
    });
    session.check(code, "GetDocInEJByDate");
    printPairs(session.out(), {{"first", std::to_string(firstNumber) + "  " + first.shown()},
                               {"last", std::to_string(lastNumber) + "  " + last.shown()}});
}

}  // namespace

void addReportCommands(Commands& commands) {
    commands.add("x-report", "print an X report and show its figures",
                 "Usage: verda ... x-report\n"
                 "Prints an X report (the shift so far) and shows its number and the\n"
                 "shift's sales, returns, purchases and purchase returns in the register's\n"
                 "six columns (its tax groups).\n",
                 [](Session& session) { runReport(session, 'X'); });
    commands.add("z-report", "print the Z report, closing the shift",
                 "Usage: verda ... z-report\n"
                 "Prints the Z report, which closes the shift, and shows its number,\n"
                 "fiscal document and figures as x-report does.\n",
                 [](Session& session) { runReport(session, 'Z'); });
    auto journal = std::make_shared<JournalArgs>();
    CLI::App& command =
        commands.add("journal", "read documents back from the electronic journal",
                     "Usage: verda ... journal doc N [--fd]\n"
                     "       verda ... journal reprint N [--fd]\n"
                     "       verda ... journal find FROM TO [--receipts|--reports]\n"
                     "doc shows document N as it was printed; reprint prints it again.\n"
                     "find shows the first and the last document between two times, given\n"
                     "as the register writes them (\"DD.MM.YYYY HH:MM:SS\").\n",
                     [journal](Session& session) { runJournal(session, *journal); });
    operands(command, journal->operands);
    flag(command, "--fd", journal->fd, "N is a fiscal document number (doc, reprint)");
    flag(command, "--receipts", journal->receipts, "only fiscal receipts (find)");
    flag(command, "--reports", journal->reports, "only X and Z reports (find)");
}

}  // namespace cli
