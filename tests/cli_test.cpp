// The command-line tool: its text conversions, its checks of the command
// line, and its exit codes and messages against a scripted register and a
// dead link.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "cli/Args.h"
#include "cli/Format.h"
#include "common/Readable.h"
#include "wire/RegisterText.h"
#include "support/CliRun.h"
#include "tools/unicode.h"

using testing_device::Request;
using testing_device::ScriptedDevice;

namespace {

// Typed text goes to the library as it was typed, once the register is
// known to print it; otherwise the reason is named.
TEST(CliText, TextTheRegisterCannotTakeIsRefusedWithAReason) {
    EXPECT_EQ(cli::toText("Ёлка 1 кг", "name"), "Ёлка 1 кг");
    const struct {
        std::string typed, error;
    } cases[] = {
        {"a\tb", "\"a\tb\" holds a control character"},
        {"кофе €", "the register cannot print \"€\" in \"кофе €\""},
        {"\xD0", "\"\xD0\" is not UTF-8 text"},
        {"\xC0\x80", "\"\xC0\x80\" is not UTF-8 text"},          // overlong
        {"\xED\xA0\x80", "\"\xED\xA0\x80\" is not UTF-8 text"},  // surrogate
    };
    for (const auto& c : cases) {
        try {
            cli::toText(c.typed, "name");
            ADD_FAILURE() << c.typed;
        } catch (const cli::UsageError& error) {
            EXPECT_EQ(std::string(error.what()), "name: " + c.error);
        }
    }
}

// Text from the register reaches the terminal without the control
// characters, which would steer it, whichever form it came in.
TEST(CliText, ControlCharactersAreNotShown) {
    EXPECT_EQ(cli::shown(wire::text::oneWayToUtf8("\x90\x80\x01\x1B[2J")), "Ар??[2J");
    EXPECT_EQ(cli::shown(wire::text::cp866ToUtf8(std::string("a\x1B[2Jb\x7F", 7))), "a?[2Jb?");
    EXPECT_EQ(cli::shownByte('\x85'), "Е");
}

// The library's text, as its log holds it: Cyrillic read from the register
// in the one-way form, the application's CP1251, its own UTF-8, side by side.
TEST(ReadableText, EachFormComesOutAsUtf8) {
    const struct {
        std::string written, shown;
    } cases[] = {
        {"\xA5\xBB\xB5\xB1 \x80\xB6\xB0\xBD\xBE\xB9", "Хлеб ржаной"},  // one-way
        {"\x90\x80\xB0\x8F \x97", "Арая З"},  // 0x97 is the register's DEL mark
        {"\xC8\xE2\xE0\xED\xEE\xE2\xE0 \xA8\xEB\xEA\xE0", "Иванова Ёлка"},  // CP1251
        {"Нет ошибок", "Нет ошибок"},                                       // UTF-8 kept
        {"[Thu Nov 12 22:33:38 2026] OpenShift(OperName=\xCF\xE5\xF2\xF0\xEE\xE2,"
         "PluName=\"\xA7\xB0\xB9\") \xD0\x9E\xD1\x88\xD0\xB8\xD0\xB1\xD0\xBA\xD0\xB0",
         "[Thu Nov 12 22:33:38 2026] OpenShift(OperName=Петров,PluName=\"Чай\") Ошибка"},
        {"", ""},
    };
    for (const auto& c : cases) EXPECT_EQ(readable::toUtf8(c.written), c.shown) << c.shown;
}

// CP1251's upper quarter as the C library's converter reads it (0x98 has
// no character there), and whatever the bytes, the output is UTF-8.
TEST(ReadableText, Cp1251AgreesWithIconvAndAnyBytesGiveUtf8) {
    for (int b = 0x80; b < 0xC0; ++b) {
        const std::string text = std::string("\xC0") + static_cast<char>(b);
        EXPECT_EQ(readable::toUtf8(text),
                  b == 0x98 ? "А\xEF\xBF\xBD" : iConvert(text, "CP1251", "UTF-8"))
            << b;
    }
    for (int first = 0; first < 256; ++first)
        for (int second = 0; second < 256; ++second) {
            const std::string bytes{static_cast<char>(first), static_cast<char>(second)};
            ASSERT_TRUE(wire::text::isUtf8(readable::toUtf8(bytes))) << first << " " << second;
        }
}

// A test directory for the library's log and the address of a scripted
// register on TCP.
class CliTest : public ::testing::Test {
  protected:
    CliResult verda(std::vector<std::string> args) { return runCli(args, home.path()); }
    std::string address() { return "127.0.0.1:" + std::to_string(device.port()); }
    std::vector<std::string> log() { return logLines(home.path() + "CorteliaVERDA.log"); }

    TempDir home;
    ScriptedDevice device{ScriptedDevice::Tcp};
};

// Bad input is named, with a pointer to the help, and nothing reaches the
// register.
TEST_F(CliTest, BadInputIsRefusedBeforeAnythingIsSent) {
    const std::string tcp = address();
    const struct {
        std::vector<std::string> args;
        std::string message;
        std::string hint;  // the command whose help is offered
    } cases[] = {
        {{}, "no command given", ""},
        {{"--tcp", tcp, "frobnicate"}, "unknown command frobnicate", ""},
        {{"check"}, "no register given: use --serial PATH or --tcp HOST:PORT", "check "},
        {{"--tcp", "127.0.0.1", "check"}, "--tcp wants HOST:PORT, not 127.0.0.1", ""},
        {{"--tcp", "127.0.0.1:0", "check"}, "--tcp port: out of range (1 to 65535): 0", ""},
        {{"--serial", "/dev/null", "--tcp", tcp, "check"},
         "give either --serial or --tcp, not both",
         ""},
        {{"--baud", "9600", "--tcp", tcp, "check"}, "--baud goes with --serial", ""},
        {{"--serial", "/dev/null", "--baud", "300", "check"},
         "--baud: the port cannot run at 300 (1200, 1800, 2400, 4800, 9600, 19200, 38400, 57600, "
         "115200)",
         ""},
        {{"--tcp", tcp, "--timeout", "1000", "check"},
         "--timeout on TCP: out of range (1 to 999): 1000",
         ""},
        {{"--serial", "/dev/null", "--timeout", "50", "check"},
         "--timeout on a serial line: out of range (100 to 25500): 50",
         ""},
        {{"--frob"}, "unknown option --frob", ""},
        {{"--tcp", tcp, "check", "--tcp", tcp}, "--tcp goes before the command", "check "},
        {{"--tcp", tcp, "check", "now"}, "unexpected argument now", "check "},
        {{"--tcp", tcp, "receipt"}, "no sale lines", "receipt "},
        {{"--tcp", tcp, "receipt", "Хлеб"},
         "a sale line goes as NAME=PRICE[xQTY][:TAX[:DEPT]], not Хлеб",
         "receipt "},
        {{"--tcp", tcp, "receipt", "Хлеб=4o"}, "price of Хлеб=4o: not an amount: 4o", "receipt "},
        {{"--tcp", tcp, "receipt", "Хлеб=1.234"},
         "price of Хлеб=1.234: at most 2 decimals: 1.234",
         "receipt "},
        {{"--tcp", tcp, "receipt", "Хлеб=1x0"}, "quantity of Хлеб=1x0: must not be 0", "receipt "},
        {{"--tcp", tcp, "receipt", "Хлеб=1:AB"},
         "tax code of Хлеб=1:AB: one letter or digit, not AB",
         "receipt "},
        {{"--tcp", tcp, "receipt", "Хлеб=1", "--pay", "bitcoin:5"},
         "payment mode: not a number: bitcoin",
         "receipt "},
        {{"--tcp", tcp, "receipt", "Хлеб=1", "--discount", "5", "--surcharge", "1"},
         "give --discount or --surcharge, not both",
         "receipt "},
        {{"--tcp", tcp, "receipt", "Хлеб=1", "--discount", "120%"},
         "--discount: above 100%",
         "receipt "},
        {{"--tcp", tcp, "cash-in", "0"}, "the amount must not be 0", "cash-in "},
        {{"--tcp", tcp, "cash-out", "-5"}, "amount: not an amount: -5", "cash-out "},
        {{"--tcp", tcp, "article", "add", "1", "Кофе€", "1"},
         "name: the register cannot print \"€\" in \"Кофе€\"",
         "article "},
        {{"--tcp", tcp, "article", "add", "0", "Кофе", "1"},
         "PLU: out of range (1 to 999999): 0",
         "article "},
        {{"--tcp", tcp, "article", "delete", "9", "3"},
         "the range ends before it starts",
         "article "},
        {{"--tcp", tcp, "article", "sell"}, "unknown article command sell", "article "},
        {{"--tcp", tcp, "datetime", "set", "tomorrow"},
         "the time goes as DD.MM.YYYY HH:MM:SS",
         "datetime "},
        {{"--tcp", tcp, "param", "set", "Header", ""}, "the value must not be empty", "param "},
        {{"--tcp", tcp, "shift", "close"},
         "unknown shift command close (a shift is closed by z-report)",
         "shift "},
        {{"--tcp", tcp, "journal", "doc", "x"}, "document number: not a number: x", "journal "},
        {{"--tcp", tcp, "text"}, "no lines", "text "},
        {{"--tcp", tcp, "error", "1e5"}, "result code: not a number: 1e5", "error "},
        {{"doctor"}, "no register given: use --serial PATH or --tcp HOST:PORT", "doctor "},
        {{"--tcp", tcp, "doctor", "now"}, "unexpected argument now", "doctor "},
        {{"--tcp", tcp, "discover"},
         "discover takes its ports after the command: discover --serial PATH",
         "discover "},
        {{"discover", "--tcp", "127.0.0.1"}, "--tcp wants HOST:PORT, not 127.0.0.1", "discover "},
        {{"discover", "--serial", "/dev/null", "--baud", "300"},
         "--baud: the port cannot run at 300",
         "discover "},
        {{"discover", "--baud", "fast"}, "--baud: not a number: fast", "discover "},
    };
    for (const auto& c : cases) {
        const CliResult result = verda(c.args);
        EXPECT_EQ(result.code, 2) << c.message;
        EXPECT_EQ(result.err, "verda: " + c.message + "\nTry 'verda " + c.hint + "--help'.\n");
        EXPECT_EQ(result.out, "");
    }
    EXPECT_TRUE(device.requests().empty());
    EXPECT_TRUE(log().empty());
}

TEST_F(CliTest, EveryCommandHasItsHelp) {
    const CliResult overview = verda({"--help"});
    EXPECT_EQ(overview.code, 0);
    EXPECT_NE(overview.out.find("Exit status:\n  0  success\n"), std::string::npos);
    for (const char* command : {"check", "info", "status", "datetime", "param", "error", "shift",
                                "receipt", "cash-in", "cash-out", "x-report", "z-report", "journal",
                                "article", "text", "log", "doctor", "discover", "help"}) {
        EXPECT_NE(overview.out.find(std::string("\n  ") + command + " "), std::string::npos)
            << command;
        const CliResult help = verda({"--tcp", address(), command, "--help"});
        EXPECT_EQ(help.code, 0);
        EXPECT_EQ(help.out.rfind(std::string("Usage: verda "), 0), 0u) << command;
        EXPECT_NE(help.out.find(std::string(" ") + command), std::string::npos) << command;
        EXPECT_EQ(verda({"help", command}).out, help.out);
    }
    EXPECT_TRUE(device.requests().empty());
}

TEST_F(CliTest, ErrorTextsComeFromTheCatalogueWithoutARegister) {
    const CliResult known = verda({"error", "111003"});
    EXPECT_EQ(known.code, 0);
    EXPECT_EQ(known.out, "111003 Ошибка режима регистрации: Операция невозможна\n");
    const CliResult unknown = verda({"error", "101002"});
    EXPECT_EQ(unknown.code, 1);
    EXPECT_EQ(unknown.err, "verda: no text for 101002\n");
}

// The register, named by its host name, answers the check; then refuses
// it, and its own text for the refusal is shown, read back from its code
// page.
TEST_F(CliTest, CheckSucceedsOrShowsTheRegistersRefusal) {
    device.replyAlways("0\t");
    const CliResult ok = verda({"--tcp", "localhost:" + std::to_string(device.port()), "check"});
    EXPECT_EQ(ok.code, 0);
    EXPECT_EQ(ok.out, "the register answers\n");
    EXPECT_EQ(ok.err, "");

    device.onRequest([](const Request& r) {
        // "Занят" in CP866.
        return testing_device::reply(
            r, r.command == 0x64 ? "0\t112003\t\x87\xA0\xAD\xEF\xE2\t" : "-112003\t");
    });
    const CliResult refused = verda({"--tcp", address(), "check"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err, "verda: CheckConnection: error 112003: Занят\n");
    EXPECT_EQ(device.requests().back().data, "-112003\t");  // the code the register is asked about
}

// A port on which nothing listens: the failed exchange is shown with the
// catalogue's text, without asking the silent register for it.
TEST_F(CliTest, DeadLinkIsALinkFailure) {
    const std::string dead = deadAddress();
    const struct {
        std::vector<std::string> command;
        std::string operation;
    } cases[] = {
        {{"check"}, "CheckConnection"},
        {{"status"}, "PrinterInit"},
        {{"receipt", "Хлеб=45.50"}, "PrinterInit"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> args{"--tcp", dead, "--timeout", "20"};
        args.insert(args.end(), c.command.begin(), c.command.end());
        const CliResult result = verda(args);
        EXPECT_EQ(result.code, 3) << c.operation;
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "verda: " + c.operation +
                                  ": error 100001: Ошибка ввода/вывода, устройство не отвечает\n");
    }
    const CliResult serial = verda({"--serial", home.path() + "no-such-port", "check"});
    EXPECT_EQ(serial.code, 3);
    EXPECT_EQ(serial.err, "verda: cannot open the serial port " + home.path() + "no-such-port\n");
    // A name no resolver knows: nothing can be reached, as with a dead port,
    // and the library is not even asked.
    const size_t logged = log().size();
    const CliResult unknown = verda({"--tcp", "no-such-host.invalid:4999", "check"});
    EXPECT_EQ(unknown.code, 3);
    EXPECT_EQ(unknown.err.rfind("verda: cannot find the host no-such-host.invalid: ", 0), 0u)
        << unknown.err;
    EXPECT_EQ(log().size(), logged);
}

// The library's log, or any copy of it, shown readable; the file is left as
// it is.
TEST_F(CliTest, LogIsShownReadable) {
    const std::string written =
        "[Thu Nov 12 22:33:38 2026] Start OpenShift();\n"
        "[Thu Nov 12 22:33:38 2026] OpenShift(OperName=\xCF\xE5\xF2\xF0\xEE\xE2);\n"
        "[Thu Nov 12 22:33:39 2026] RegisterSale(PluName=\"\xA7\xB0\xB9\") ErrorCode: 111005";
    const std::string shown =
        "[Thu Nov 12 22:33:38 2026] Start OpenShift();\n"
        "[Thu Nov 12 22:33:38 2026] OpenShift(OperName=Петров);\n"
        "[Thu Nov 12 22:33:39 2026] RegisterSale(PluName=\"Чай\") ErrorCode: 111005\n";
    const std::string copy = home.path() + "shop.log";
    std::ofstream(copy) << written;
    std::ofstream(home.path() + "CorteliaVERDA.log") << written;
    const struct {
        std::vector<std::string> args;
        std::string out;
    } cases[] = {
        {{"log", copy}, shown},
        {{"log"}, shown},  // the user's own log
        {{"log", "-n", "2", copy}, shown.substr(shown.find('\n') + 1)},
        {{"log", "--lines=0", copy}, ""},
    };
    for (const auto& c : cases) {
        const CliResult result = verda(c.args);
        EXPECT_EQ(result.code, 0) << result.err;
        EXPECT_EQ(result.out, c.out);
    }
    std::ifstream in(copy);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()),
              written);
    const CliResult missing = verda({"log", home.path() + "none.log"});
    EXPECT_EQ(missing.code, 2);
    EXPECT_EQ(missing.err, "verda: cannot read " + home.path() +
                               "none.log: No such file or directory\nTry 'verda log --help'.\n");
}

// A register that opens, sells and pays as the script says; each command's
// answer is looked up by its number, and Total answers in turn.
class CliReceipt : public CliTest {
  protected:
    void SetUp() override {
        device.onRequest([this](const Request& r) {
            if (r.command == 0x35) return testing_device::reply(r, payments.at(paid++));
            if (r.command == 0x31 && refuseSale && ++sales == 2)
                return testing_device::reply(r, "-111005\t");
            if (r.command == 0x31 && silentSale) return testing_device::Answer();
            const auto answer = answers.find(r.command);
            return answer == answers.end() ? testing_device::Answer()
                                           : testing_device::reply(r, answer->second);
        });
    }
    std::vector<std::string> sent(unsigned int command) {
        std::vector<std::string> data;
        for (const auto& request : device.requests())
            if (request.command == command) data.push_back(request.data);
        return data;
    }

    std::map<unsigned int, std::string> answers{
        {0xFF, "0\t2\t"},
        {0x5A, "0\tVERDA\t944124\t15.03.2026\t12:00\t5A3C\t1.0.7\t1\t"},
        {0x30, "0\t7\t20\t3\t"},
        {0x31, "0\t7\t"},
        {0x33, "0\t7\t162.81\t0\t0\t0\t0\t0\t0\t"},
        {0x38, "0\t7\t21\t123456\t20\t3\t"},
        {0x3C, "0\t7\t"},
        {0x64, "0\t111005\t\t"},  // no text of its own: the catalogue's
    };
    std::vector<std::string> payments{"0\tD\t62.81\t7\t", "0\tR\t37.19\t7\t"};
    size_t paid = 0;
    int sales = 0;
    bool refuseSale = false, silentSale = false;
};

TEST_F(CliReceipt, TheCommandLineBecomesTheRequests) {
    const CliResult result =
        verda({"--tcp", address(), "receipt", "--pay", "card:100", "Хлеб=45.50x2", "--discount",
               "10%", "Молоко=89,90:2:3", "--pay", "100"});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out,
              "receipt          7\n"
              "total            162.81\n"
              "card             100.00\n"
              "cash             100.00\n"
              "change           37.19\n"
              "fiscal document  21\n"
              "fiscal sign      123456\n"
              "shift            3\n");
    // Operator 1 with its password, till 1, a sale receipt; the names in the
    // register's code page; a 10% discount is kind 1; card is mode 1.
    EXPECT_EQ(sent(0x30), (std::vector<std::string>{"1\t1\t1\t0\t\t\t\t"}));
    EXPECT_EQ(sent(0x31),
              (std::vector<std::string>{
                  "\x95\xAB\xA5\xA1\t1\t45.50\t2.000\t0\t0.00\t1\t\t\t\t\t\t",
                  "\x8C\xAE\xAB\xAE\xAA\xAE\t2\t89.90\t1.000\t0\t0.00\t3\t\t\t\t\t\t"}));
    EXPECT_EQ(sent(0x33), (std::vector<std::string>{"1\t0\t1\t10.00\t"}));
    EXPECT_EQ(sent(0x35), (std::vector<std::string>{"1\t100.00\t1\t", "0\t100.00\t1\t"}));
    EXPECT_EQ(sent(0x38).size(), 1u);
    EXPECT_TRUE(sent(0x3C).empty());
}

TEST_F(CliReceipt, ARefusedLineCancelsTheReceipt) {
    refuseSale = true;
    const CliResult result = verda({"--tcp", address(), "receipt", "Хлеб=45.50", "Чай=1:Z"});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(
        result.err,
        "verda: receipt 7 cancelled\n"
        "verda: RegisterSale: error 111005: Ошибка режима регистрации: Ставка НДС запрещена\n");
    EXPECT_EQ(sent(0x3C).size(), 1u);
    EXPECT_TRUE(sent(0x33).empty());
}

// A payment of what is due is sent as the total the register gave; a
// refusal while closing cancels the receipt like any other.
TEST_F(CliReceipt, WhatIsDueIsPaidAsTheRegisterSaysAndARefusedCloseIsCancelled) {
    const struct {
        std::vector<std::string> pay;
        std::string sent, shown;
    } cases[] = {
        {{}, "0\t162.81\t1\t", "cash             162.81\n"},
        {{"--pay", "card:0"}, "1\t162.81\t1\t", "card             162.81\n"},
        {{"--pay", "5:0"}, "5\t162.81\t1\t", "payment 5        162.81\n"},
    };
    for (const auto& c : cases) {
        payments = {"0\t0\t0.00\t7\t"};
        paid = 0;
        const size_t before = sent(0x35).size();
        std::vector<std::string> args{"--tcp", address(), "receipt", "Хлеб=45.50x2",
                                      "Молоко=89,90"};
        args.insert(args.end(), c.pay.begin(), c.pay.end());
        const CliResult result = verda(args);
        EXPECT_EQ(result.code, 0) << result.err;
        EXPECT_NE(result.out.find("total            162.81\n" + c.shown), std::string::npos)
            << result.out;
        ASSERT_EQ(sent(0x35).size(), before + 1);
        EXPECT_EQ(sent(0x35).back(), c.sent);
    }
    answers[0x38] = "-111018\t";
    payments = {"0\t0\t0.00\t7\t"};
    paid = 0;
    const CliResult refused = verda({"--tcp", address(), "receipt", "Хлеб=45.50"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(
        refused.err.rfind("verda: receipt 7 cancelled\nverda: CloseFiscalInv: error 111018", 0), 0u)
        << refused.err;
    EXPECT_EQ(sent(0x3C).size(), 1u);
}

// After a lost link nothing more is tried: a cancel would wait as long again.
TEST_F(CliReceipt, ALostLinkLeavesTheReceiptAlone) {
    silentSale = true;
    const CliResult result =
        verda({"--tcp", address(), "--timeout", "10", "receipt", "Хлеб=45.50"});
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(result.err,
              "verda: the receipt may still be open on the register\n"
              "verda: RegisterSale: error 100001: Ошибка ввода/вывода, устройство не отвечает\n");
    EXPECT_TRUE(sent(0x3C).empty());
    EXPECT_TRUE(sent(0x64).empty());
}

}  // namespace
