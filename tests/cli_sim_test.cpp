// The command-line tool against the simulated register: a whole shift, the
// register's refusals, and Cyrillic text there and back.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "support/CliRun.h"
#include "support/Sim.h"

namespace {

class CliSim : public ::testing::Test {
  protected:
    void SetUp() override {
        sim::Options options;
        std::string error;
        ASSERT_TRUE(
            sim::parseOptions({"--tcp", "0", "--paper", home.path() + "paper.txt"}, options, error))
            << error;
        simulator.reset(new RunningSimulator(options));
        ASSERT_TRUE(simulator->started());
    }

    CliResult verda(std::vector<std::string> args) {
        args.insert(args.begin(), {"--tcp", simulator->address(), "--timeout", "500"});
        return runCli(args, home.path());
    }
    // verda, which must succeed.
    std::string ok(const std::vector<std::string>& args) {
        const CliResult result = verda(args);
        EXPECT_EQ(result.code, 0) << result.err;
        EXPECT_EQ(result.err, "");
        return result.out;
    }
    std::string paper() {
        std::ifstream in(home.path() + "paper.txt");
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

    TempDir home;
    std::unique_ptr<RunningSimulator> simulator;
};

// The value on the line of a label, in the tool's "label   value" output.
std::string value(const std::string& out, const std::string& label) {
    std::istringstream lines(out);
    std::string line;
    while (std::getline(lines, line))
        if (line.compare(0, label.size() + 2, label + "  ") == 0)
            return line.substr(line.find_first_not_of(' ', label.size()));
    return "(no " + label + ")";
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST_F(CliSim, AWholeShift) {
    const std::string info = ok({"info"});
    EXPECT_EQ(value(info, "model"), "ВЕРДА 35V-Ф");
    EXPECT_EQ(value(info, "decimal places"), "2");

    const std::string shift = ok({"shift", "open", "--cashier", "Иванова"});
    EXPECT_EQ(value(shift, "shift"), "1");
    EXPECT_TRUE(contains(ok({"status"}), "\nshift               open, 1, for 0 min\n"));

    // 2 x 45.50 + 89.90 = 180.90, less 10% = 162.81, paid 500 in cash.
    const std::string receipt = ok(
        {"receipt", "Хлеб ржаной=45.50x2", "Молоко=89,90:2", "--discount", "10%", "--pay", "500"});
    EXPECT_EQ(value(receipt, "receipt"), "1");
    EXPECT_EQ(value(receipt, "total"), "162.81");
    EXPECT_EQ(value(receipt, "cash"), "500.00");
    EXPECT_EQ(value(receipt, "change"), "337.19");
    const std::string fiscal = value(receipt, "fiscal document");
    EXPECT_TRUE(contains(paper(), "Хлеб ржаной"));

    // The receipt read back from the journal by its fiscal document.
    const CliResult journal = verda({"journal", "doc", fiscal, "--fd"});
    EXPECT_EQ(journal.code, 0) << journal.err;
    EXPECT_TRUE(contains(journal.out, "Хлеб ржаной")) << journal.out;
    EXPECT_TRUE(contains(journal.out, "Молоко")) << journal.out;
    EXPECT_EQ(journal.err, "verda: reading the journal...\n");

    EXPECT_EQ(value(ok({"cash-in", "1000"}), "cash in the drawer"), "1162.81");

    const CliResult x = verda({"x-report"});
    EXPECT_EQ(x.code, 0) << x.err;
    EXPECT_EQ(x.err, "verda: printing the X report...\n");
    EXPECT_EQ(value(x.out, "X report"), "1");
    // The receipt's discount is shared out over the two tax groups.
    EXPECT_TRUE(contains(x.out, "\nsales             81.90  80.91  0.00  0.00  0.00  0.00\n"))
        << x.out;
    const CliResult z = verda({"z-report"});
    EXPECT_EQ(z.code, 0) << z.err;
    EXPECT_EQ(value(z.out, "Z report"), "1");
    EXPECT_NE(value(z.out, "fiscal document"), "0");
    EXPECT_TRUE(contains(ok({"status"}), "\nshift               closed\n"));

    // The library's log, readable: the cashier as the tool gave it (CP1251),
    // the sale's name as the library read it back (its one-way form).
    const std::string log = ok({"log"});
    EXPECT_TRUE(contains(log, ",OperName=Иванова,")) << log;
    EXPECT_TRUE(contains(log, "RegisterSale(PluName=\"Хлеб ржаной\",")) << log;
}

TEST_F(CliSim, RefusalsShowTheRegistersTextAndLeaveItFree) {
    ok({"shift", "open"});
    const CliResult again = verda({"shift", "open"});
    EXPECT_EQ(again.code, 1);
    EXPECT_EQ(again.out, "");
    EXPECT_EQ(again.err.rfind("verda: OpenShift: error 110108: Ошибка устройства", 0), 0u)
        << again.err;

    // Paid short by card: the receipt is cancelled and the register is free.
    const CliResult shortPaid = verda({"receipt", "Чай=120", "--pay", "card:100"});
    EXPECT_EQ(shortPaid.code, 1);
    EXPECT_EQ(shortPaid.err,
              "verda: the payments fall short by 20.00\n"
              "verda: receipt 1 cancelled\n"
              "verda: the receipt is not paid in full\n");
    // More cash out than the drawer holds.
    const CliResult cashOut = verda({"cash-out", "5000"});
    EXPECT_EQ(cashOut.code, 1);
    EXPECT_EQ(cashOut.err.rfind("verda: ParishOrConsumption: error 111017: ", 0), 0u)
        << cashOut.err;
    EXPECT_TRUE(contains(ok({"status"}), "\ndocument            none\n"));
}

// The receipt's attributes reach the register: in the library's log as sent,
// and on the paper where the register prints them.
TEST_F(CliSim, AReceiptCarriesItsAttributes) {
    ok({"shift", "open", "--cashier", "Петрова", "--cashier-inn", "500100732259"});
    const std::string receipt = ok({"receipt", "Сок=99.90", "--cashier", "Петрова", "--cashier-inn",
                                    "500100732259", "--buyer", "buyer@example.ru", "--tax-system",
                                    "USN", "--unit", "796", "--subject", "1", "--method", "4"});
    EXPECT_EQ(value(receipt, "total"), "99.90");
    const std::string log = ok({"log"});
    EXPECT_TRUE(contains(log,
                         "OpenShift(OpCode=30,OpPwd=30,TillNmb=1,Buyer=,VatSystem=,"
                         "OperName=Петрова,OperInn=500100732259,"))
        << log;
    EXPECT_TRUE(contains(log,
                         ",Buyer=buyer@example.ru,VatSystem=USN,OperName=Петрова,"
                         "OperInn=500100732259,"))
        << log;
    EXPECT_TRUE(contains(log, ",Unit=796,")) << log;
    EXPECT_TRUE(contains(log, ",Sign=1,SignPay=4,")) << log;
    const std::string printed = paper();
    for (const char* line : {"ИНН КАССИРА 500100732259", "ПОКУПАТЕЛЬ buyer@example.ru", "СНО USN"})
        EXPECT_TRUE(contains(printed, line)) << line << "\n" << printed;
}

TEST_F(CliSim, AttributesTheRegisterCannotTakeAreRefusedBeforeSending) {
    ok({"shift", "open"});
    const struct {
        std::vector<std::string> args;
        std::string message;
    } cases[] = {
        {{"--cashier-inn", "12345"}, "--cashier-inn: 10 or 12 digits"},
        {{"--cashier-inn", "50010073225X"}, "--cashier-inn: 10 or 12 digits"},
        {{"--buyer", "покупатель@пример.рф"}, "--buyer: printable ASCII only"},
        {{"--tax-system", "a\tb"}, "--tax-system: printable ASCII only"},
        {{"--unit", "x"}, "--unit"},
        {{"--method", "1000"}, "--method"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> args{"receipt", "Сок=10"};
        args.insert(args.end(), c.args.begin(), c.args.end());
        const CliResult result = verda(args);
        EXPECT_EQ(result.code, 2) << c.message << ": " << result.err;
        EXPECT_TRUE(contains(result.err, c.message)) << result.err;
    }
    // Nothing reached the register: the next receipt is its first.
    EXPECT_EQ(value(ok({"receipt", "Сок=10"}), "receipt"), "1");
}

TEST_F(CliSim, CyrillicTravelsBothWays) {
    ok({"article", "add", "7", "Кофе зерновой Ёлка", "250", "--stock", "10", "--units", "кг"});
    ok({"article", "add", "9", "Чай", "99.90", "--tax", "2"});
    const std::string article = ok({"article", "get", "7"});
    EXPECT_EQ(value(article, "name"), "Кофе зерновой Елка");
    EXPECT_EQ(value(article, "units"), "кг");
    EXPECT_EQ(value(article, "price"), "250.00");
    const CliResult listed = verda({"article", "list"});
    EXPECT_EQ(listed.err, "verda: reading the articles...\n");
    const std::string& list = listed.out;
    EXPECT_TRUE(contains(list, "Кофе зерновой Елка\n")) << list;
    EXPECT_TRUE(contains(list, "\n9  99.90") || contains(list, "Чай\n")) << list;
    EXPECT_EQ(ok({"article", "delete", "7", "9"}), "articles 7 to 9 deleted\n");
    EXPECT_EQ(verda({"article", "list"}).out, "no articles\n");

    ok({"param", "set", "Header", "1", "ООО Ромашка"});
    EXPECT_EQ(ok({"param", "get", "Header", "1"}), "ООО Ромашка\n");

    EXPECT_EQ(ok({"text", "--center", "Привет, мир"}), "document 1 printed, 1 lines\n");
    EXPECT_TRUE(contains(paper(), "Привет, мир"));

    ok({"datetime", "set", "01.02.2030 10:00:00"});
    EXPECT_EQ(ok({"datetime"}).rfind("01.02.2030 10:0", 0), 0u);
}

}  // namespace
