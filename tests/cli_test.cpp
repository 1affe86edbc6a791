// The command-line tool: its text conversions, its checks of the command
// line, and its exit codes and messages against a scripted register and a
// dead link.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "cli/Text.h"
#include "support/CliRun.h"
#include "tools/codepages.h"

using testing_device::Request;
using testing_device::ScriptedDevice;

namespace {

const char kAllLetters[] = "АБВГДЕЖЗИЙКЛМНОПРСТУФХЦЧШЩЪЫЬЭЮЯабвгдежзийклмнопрстуфхцчшщъыьэюя";

TEST(CliText, TypedTextBecomesTheApplicationCodePage) {
    const struct {
        std::string typed, text;
    } cases[] = {
        {"Хлеб 1 кг", "\xD5\xEB\xE5\xE1 1 \xEA\xE3"},
        {"Ёлка ёж", "\xC5\xEB\xEA\xE0 \xE5\xE6"},  // Ё would print as a blank
        {"", ""},
    };
    for (const auto& c : cases) {
        std::string text, error;
        EXPECT_TRUE(cli::toApplication(c.typed, text, error)) << c.typed;
        EXPECT_EQ(text, c.text) << c.typed;
    }
}

TEST(CliText, TextTheRegisterCannotTakeIsRefusedWithAReason) {
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
        std::string text, error;
        EXPECT_FALSE(cli::toApplication(c.typed, text, error)) << c.typed;
        EXPECT_EQ(error, c.error);
    }
}

// Typed, converted for the register, and read back the way the library
// hands device text over: every letter comes back as typed.
TEST(CliText, CyrillicSurvivesTheLibrarysOneWayForm) {
    std::string text, error;
    const std::string typed = std::string(kAllLetters) + " 0-9 A-z,.";
    ASSERT_TRUE(cli::toApplication(typed, text, error));
    EXPECT_EQ(cli::fromOneWay(fromDOStoASCII(fromASCIItoDOS(text))), typed);
}

TEST(CliText, OneWayFormIsRestoredAndProperUtf8Kept) {
    EXPECT_EQ(cli::fromOneWay("\x90\x80\xB0\x8F\x01"), "Арая?");
    EXPECT_EQ(cli::fromOneWay("\x9F\xE0\x80 7"), "\x9F\xE0\x80 7");  // a byte from 0xC0 on: kept
    EXPECT_EQ(cli::fromOneWay("Нет ошибок"), "Нет ошибок");
    EXPECT_EQ(cli::fromOneWay("\x97"), "З");  // not DEL
}

TEST(CliText, Cp866IsReadWhole) {
    std::string high;
    for (int b = 0x80; b <= 0xFF; ++b) high += static_cast<char>(b);
    EXPECT_EQ(cli::fromCp866(high), std::string(kAllLetters).substr(0, 2 * 48) +
                                        "░▒▓│┤╡╢╖╕╣║╗╝╜╛┐└┴┬├─┼╞╟╚╔╩╦╠═╬╧╨╤╥╙╘╒╓╫╪┘┌█▄▌▐▀" +
                                        std::string(kAllLetters).substr(2 * 48) +
                                        "ЁёЄєЇїЎў°∙·√№¤■\xC2\xA0");
    EXPECT_EQ(cli::fromCp866(std::string("a\x1B[2Jb\x7F", 7)), "a?[2Jb?");
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
        {{"--serial"}, "--serial needs a value", ""},
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
        {{"--tcp", tcp, "receipt", "Хлеб=1", "--pay"}, "--pay needs a value", "receipt "},
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
    for (const char* command :
         {"check", "info", "status", "datetime", "param", "error", "shift", "receipt", "cash-in",
          "cash-out", "x-report", "z-report", "journal", "article", "text"}) {
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

// The register answers the check; then refuses it, and its own text for
// the refusal is shown, read back from its code page.
TEST_F(CliTest, CheckSucceedsOrShowsTheRegistersRefusal) {
    device.replyAlways("0\t");
    const CliResult ok = verda({"--tcp", address(), "check"});
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
        verda({"--tcp", address(), "receipt", "Хлеб=45.50x2", "Молоко=89,90:2:3", "--discount",
               "10%", "--pay", "card:100", "--pay", "100"});
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
