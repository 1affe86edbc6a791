// Every operation of the C interface called once by name (verda_call) and
// once by its own C function, each against the same operation called on its
// VR35 member. Four simulated registers, their clocks stopped at one moment,
// go through the operation table in step, each side on a register of its own:
//
//   A  verda_call: numeric outputs start at 0, as verda_call starts them
//   B  the member, its outputs starting at 0 likewise
//   C  the C function: outputs preset to values no register gives, each
//      output text in a buffer that cuts it by one character or just holds it
//   D  the member, its outputs preset alike
//
// A must give what B gives, and C what D gives: the result, every numeric
// output set or left as the member sets or leaves it, every text in UTF-8
// from the member's form, cut at a character boundary to its buffer. At the
// end the four registers must hold one state and have printed one paper: the
// C interface sent the member's very requests.
//
// Then every way of calling an operation wrongly (a NULL handle, text or
// output, text that is not UTF-8 or has no place in the code page, a number
// out of range, a wrong count) must be refused with its code before anything
// is sent; and every result code must have a text of its own.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "OperationCalls.h"
#include "sim/Simulator.h"
#include "sim/StateFile.h"
#include "wire/RegisterText.h"

namespace {

using operation_calls::Argument;
using operation_calls::Calls;

const char kClock[] = "01.06.2026 10:00:00";
// No read timeout: however slow the machine, the driver never sends again.
const int kTimeout = 0;

// What no register gives, for the outputs of C and D.
const int kPresetInt = 770077;
const long kPresetLong = 77007700;
const double kPresetDouble = -77.25;
const char kPresetChar = 'Z';

// A folder of its own, removed with what it holds.
class TempDir {
  public:
    TempDir() {
        char name[] = "/tmp/verda-operations-XXXXXX";
        if (mkdtemp(name) != nullptr) path_ = name;
    }
    ~TempDir() {
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
    }
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

std::string fileText(const std::string& path) {
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A simulated register with a stopped clock, serving in a thread of its own,
// its paper in a file.
class Register {
  public:
    explicit Register(const std::string& paper) {
        sim::Options options;
        std::string error;
        EXPECT_TRUE(sim::parseOptions({"--tcp", "127.0.0.1:0", "--paper", paper, "--clock", kClock},
                                      options, error))
            << error;
        simulator_.reset(new sim::Simulator(options));
        EXPECT_TRUE(simulator_->start(error)) << error;
        thread_ = std::thread([this] {
            std::string ignored;
            simulator_->run(ignored);
        });
    }
    ~Register() { stop(); }
    int port() const { return simulator_->port(); }
    // Ends its service; its state is then the test's to read.
    void stop() {
        simulator_->stop();
        if (thread_.joinable()) thread_.join();
    }
    std::string state() const { return sim::stateToJson(simulator_->state()); }

  private:
    std::unique_ptr<sim::Simulator> simulator_;
    std::thread thread_;
};

// A handle of the C interface connected to port.
struct Handle {
    explicit Handle(int port) : d(verda_device_new()) {
        EXPECT_EQ(verda_set_timeout(d, kTimeout), VERDA_OK);
        EXPECT_EQ(verda_open_socket(d, "127.0.0.1", port), VERDA_OK);
    }
    ~Handle() { verda_device_free(d); }
    unsigned long long sent() const {
        unsigned long long frames = 0;
        verda_link_counters(d, &frames, nullptr, nullptr);
        return frames;
    }
    verda_device* d;
};

// A driver of the C++ interface connected to port.
struct Member {
    explicit Member(int port) {
        device.timeout = kTimeout;
        EXPECT_TRUE(device.OpenSocket("127.0.0.1", port));
    }
    ~Member() { device.CloseCOMPort(); }
    VR35 device;
};

// --- Texts ------------------------------------------------------------------

bool isText(const verda_parameter& p) {
    return p.type == VERDA_TYPE_TEXT;
}
bool reads(const verda_parameter& p) {
    return p.direction != VERDA_OUT;
}
bool writes(const verda_parameter& p) {
    return p.direction != VERDA_IN;
}
// The form of a text on its way in or out ("A>B" for an inout one).
std::string form(const verda_parameter& p, bool out) {
    const std::string both = p.form;
    const size_t arrow = both.find('>');
    if (arrow == std::string::npos) return both;
    return out ? both.substr(arrow + 1) : both.substr(0, arrow);
}

// An input text in UTF-8 as its member takes it: CP866 as-is; for
// fromASCIItoDOS the application's code page, Cyrillic as in CP1251, where
// the interface writes Ё and ё as Е and е.
std::string memberInput(const std::string& utf8, const std::string& inForm) {
    if (inForm == "as-is") return wire::text::utf8ToCp866(utf8);
    std::string bytes;
    return wire::text::toApplication(utf8, bytes).ok() ? bytes : "?";
}

// A member's output text as the interface gives it, in UTF-8: CP866 as-is;
// for fromDOStoASCII UTF-8 already (the library's own texts), or Cyrillic
// letters whose first UTF-8 byte the member dropped.
std::string utf8Output(const std::string& member, const std::string& outForm) {
    if (outForm == "as-is") return wire::text::cp866ToUtf8(member);
    return wire::text::oneWayToUtf8(member);
}

// text cut to fit size bytes with its NUL, at a character boundary.
std::string fit(const std::string& text, size_t size) {
    if (text.size() < size) return text;
    size_t length = size - 1;
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;
    return text.substr(0, length);
}

// --- One operation's arguments --------------------------------------------

// The input of parameter i, the same on every side: numbers that differ from
// one parameter to the next, so that two parameters swapped show, and texts
// with Cyrillic letters in the form's range.
struct Input {
    long long integer;  // int, long; a char's byte
    double number;
    std::string text;  // UTF-8
};

Input input(const verda_parameter& p, size_t i) {
    const std::string n = std::to_string(i + 1);
    const std::string text = form(p, false) == "as-is" ? "Щ" + n : "Ёж " + n;
    const long long integer = p.type == VERDA_TYPE_CHAR ? '0' + (i + 1) % 10 : i + 1;
    return Input{integer, 1.25 * static_cast<double>(i + 1), isText(p) && reads(p) ? text : ""};
}

// An input given as text: a number, a char's one byte, or the text itself.
struct Given {
    const char* parameter;
    std::string value;
};

Input given(const verda_parameter& p, const std::string& value) {
    Input in{0, 0, ""};
    if (p.type == VERDA_TYPE_TEXT)
        in.text = value;
    else if (p.type == VERDA_TYPE_CHAR)
        in.integer = static_cast<unsigned char>(value.at(0));
    else if (p.type == VERDA_TYPE_DOUBLE)
        in.number = std::stod(value);
    else
        in.integer = std::stoll(value);
    return in;
}

// Every field of a's at what no register gives (C and D), or at 0 (B, as
// verda_call starts its numeric outputs).
void preset(Argument& a, bool preset) {
    a.integer = preset ? kPresetInt : 0;
    a.wide = preset ? kPresetLong : 0;
    a.number = preset ? kPresetDouble : 0;
    a.byte = preset ? kPresetChar : '\0';
    a.flag = preset;
}

// An input into every field of a, a text in the form its member takes.
void setInput(const verda_parameter& p, const Input& in, Argument& a) {
    a.integer = static_cast<int>(in.integer);
    a.wide = static_cast<long>(in.integer);
    a.number = in.number;
    a.byte = static_cast<char>(in.integer);
    if (isText(p)) a.text = memberInput(in.text, form(p, false));
}

// A buffer of size bytes that holds text, NUL-terminated (size > its length).
std::vector<char> buffer(const std::string& text, size_t size) {
    std::vector<char> out(size, '\0');
    std::copy(text.begin(), text.end(), out.begin());
    return out;
}

// One operation called on the four sides.
struct Call {
    const verda_operation& operation;
    std::vector<Input> inputs;
    std::vector<verda_value> values;            // A
    std::vector<std::vector<char>> valueTexts;  // A's texts, in and out
    std::vector<Argument> zeroed;               // B
    std::vector<Argument> function;             // C
    std::vector<Argument> preset;               // D

    // Every input as input() makes it, but those that givens name.
    Call(const verda_operation& op, const std::vector<Given>& givens)
        : operation(op),
          values(op.parameter_count),
          valueTexts(op.parameter_count),
          zeroed(op.parameter_count),
          function(op.parameter_count),
          preset(op.parameter_count) {
        for (size_t i = 0; i < op.parameter_count; ++i) {
            const verda_parameter& p = op.parameters[i];
            inputs.push_back(input(p, i));
            for (const Given& g : givens)
                if (std::strcmp(g.parameter, p.name) == 0) inputs.back() = given(p, g.value);
            const Input& in = inputs.back();
            ::preset(zeroed[i], false);
            ::preset(function[i], true);
            ::preset(preset[i], true);
            verda_value& v = values[i];
            v.integer = v.number = 999;  // not read for an output
            if (reads(p)) {
                for (Argument* a : {&zeroed[i], &function[i], &preset[i]}) setInput(p, in, *a);
                v.integer = in.integer;
                v.number = in.number;
            }
            if (!isText(p)) continue;
            function[i].text = in.text;
            valueTexts[i] = buffer(in.text, writes(p) ? VERDA_TEXT_MAX : in.text.size() + 1);
            v.text = valueTexts[i].data();
            v.text_size = valueTexts[i].size();
        }
    }

    // The text that output i must hold, in UTF-8, after the member left its
    // text in member: converted from the member's form; an inout text only
    // when the member changed it.
    std::string expected(size_t i, const std::vector<Argument>& member) const {
        const verda_parameter& p = operation.parameters[i];
        if (reads(p) && member[i].text == memberInput(inputs[i].text, form(p, false)))
            return inputs[i].text;
        return utf8Output(member[i].text, form(p, true));
    }

    // C's text buffers, sized by what D's member gave (D runs first): every
    // other text output cut by its last character, the others just fitting,
    // so that a size passed for another text shows. Filler where the
    // interface must write, the input of an inout text where it may not.
    void sizeTexts() {
        size_t outputs = 0;
        for (size_t i = 0; i < operation.parameter_count; ++i) {
            const verda_parameter& p = operation.parameters[i];
            if (!isText(p) || !writes(p)) continue;
            const size_t length = expected(i, preset).size();
            size_t size = std::max<size_t>(1, length + outputs++ % 2);
            if (reads(p)) size = std::max(size, inputs[i].text.size() + 1);
            function[i].buffer =
                buffer(reads(p) ? inputs[i].text : std::string(size - 1, 'Z'), size);
        }
    }
};

// --- Checks -------------------------------------------------------------------

// The C side's result and outputs against the member's. values is A's (or
// nullptr for C, whose outputs are in function).
void compare(const Call& call, const Calls& calls, int memberResult, const VR35& device,
             const std::vector<Argument>& member, int result, const verda_value* values,
             const std::vector<Argument>* function) {
    const verda_operation& op = call.operation;
    int expected = memberResult;
    if (calls.boolean) expected = memberResult == 1 ? VERDA_OK : device.errorCode;
    bool cut = false;
    for (size_t i = 0; i < op.parameter_count; ++i) {
        const verda_parameter& p = op.parameters[i];
        if (!writes(p)) continue;
        SCOPED_TRACE(p.name);
        const Argument& m = member[i];
        if (isText(p)) {
            const std::string want = call.expected(i, member);
            const size_t size = values ? values[i].text_size : (*function)[i].buffer.size();
            const std::string got = values ? values[i].text : (*function)[i].buffer.data();
            EXPECT_EQ(got, fit(want, size));
            cut |= want.size() >= size;
            continue;
        }
        if (values) {
            const verda_value& v = values[i];
            switch (p.type) {
                case VERDA_TYPE_INT:
                    EXPECT_EQ(v.integer, m.integer);
                    break;
                case VERDA_TYPE_LONG:
                    EXPECT_EQ(v.integer, m.wide);
                    break;
                case VERDA_TYPE_DOUBLE:
                    EXPECT_EQ(v.number, m.number);
                    break;
                case VERDA_TYPE_CHAR:
                    EXPECT_EQ(v.integer, static_cast<unsigned char>(m.byte));
                    break;
                case VERDA_TYPE_BOOL:
                    EXPECT_EQ(v.integer, m.flag ? 1 : 0);
                    break;
                default:
                    ADD_FAILURE() << "a kind of output the test does not know";
            }
        } else {
            const Argument& c = (*function)[i];
            EXPECT_EQ(c.integer, m.integer);
            EXPECT_EQ(c.wide, m.wide);
            EXPECT_EQ(c.number, m.number);
            EXPECT_EQ(c.byte, m.byte);
            EXPECT_EQ(c.flag, m.flag);
        }
    }
    if (expected == VERDA_OK && cut) expected = VERDA_BUFFER_TOO_SMALL;
    EXPECT_EQ(result, expected);
    // After a failure every output text is empty, but the catalogue's text
    // that ReadingError gives for a number the register does not know, and
    // an inout text, which stays as the caller wrote it.
    if (expected == VERDA_OK || expected == VERDA_BUFFER_TOO_SMALL ||
        std::strcmp(op.name, "ReadingError") == 0)
        return;
    for (size_t i = 0; i < op.parameter_count; ++i) {
        const verda_parameter& p = op.parameters[i];
        if (!isText(p) || !writes(p)) continue;
        EXPECT_EQ(call.expected(i, member), reads(p) ? call.inputs[i].text : "") << p.name;
    }
}

// What each register holds before the operations run, so that they have
// figures to give that differ from one output to the next: a shift with a
// paid receipt of lines in two tax groups, paid in two ways, and an article
// sold; three articles, their price types bytes above 0x7F; cash paid in.
void prepare(int port) {
    Member member(port);
    VR35& r = member.device;
    int fd = 0, sign = 0, shift = 0, slip = 0, doc = 0;
    std::string closingSign;
    char status = 0;
    double rest = 0, cash = 0, in = 0, out = 0;
    ASSERT_EQ(r.PrinterInit(), 0);
    ASSERT_EQ(r.OpenShift(1, "1", 1, "", "", "", "", fd, sign, shift), 0);
    for (int plu = 1; plu <= 3; ++plu)
        ASSERT_EQ(r.PrgAndReadArticleP(plu, static_cast<char>('A' + plu - 1), plu, 0,
                                       static_cast<char>(0xA0 + plu), 10.5 * plu, '0', 100,
                                       "460000000001" + std::to_string(plu), "", "", "",
                                       "Article " + std::to_string(plu), "pc", "", "", "", 0, 0),
                  0);
    ASSERT_EQ(r.OpenFiscalInv(1, "1", 1, 0, "", "", "", "", slip, doc, shift), 0);
    ASSERT_EQ(r.RegisterSale("Bread", 'A', 45.5, 2, 0, 1, '0', 0, 0, 0, 0, 0, slip), 0);
    ASSERT_EQ(r.RegisterSale("Milk", 'B', 12.25, 3, 0, 2, '0', 0, 0, 0, 0, 0, slip), 0);
    ASSERT_EQ(r.RegisterArticleSale(1, 1.5, '0', 0, slip), 0);
    ASSERT_EQ(r.Total(1, 50, '0', status, rest, slip), 0);
    ASSERT_EQ(r.Total(0, 0, '0', status, rest, slip), 0);
    ASSERT_EQ(r.CloseFiscalInv(slip, fd, closingSign, doc, shift), 0);
    ASSERT_EQ(r.ParishOrConsumption('0', 250, cash, in, out), 0);
}

const Calls* callsOf(const char* name) {
    for (size_t i = 0; i < operation_calls::kCallCount; ++i)
        if (std::strcmp(operation_calls::kCalls[i].name, name) == 0)
            return &operation_calls::kCalls[i];
    return nullptr;
}

// The lines of a log without their time stamps, "[Thu Nov 12 22:33:38 2026] ".
std::vector<std::string> logLines(const std::string& folder) {
    std::istringstream in(fileText(folder + "/CorteliaVERDA.log"));
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(line.rfind("] ", 26) == 25 ? line.substr(27) : line);
    return lines;
}

// Two logs line by line; the first line that differs is named.
void expectSameLog(const std::vector<std::string>& got, const std::vector<std::string>& want,
                   const char* sides) {
    for (size_t i = 0; i < got.size() && i < want.size(); ++i)
        if (got[i] != want[i]) {
            ADD_FAILURE() << sides << ": line " << i + 1 << " is\n  " << got[i] << "\nnot\n  "
                          << want[i];
            return;
        }
    EXPECT_EQ(got.size(), want.size()) << sides;
}

// An output shape: the member's type, the direction, a text's form.
std::string shape(const verda_parameter& p) {
    return std::string(p.cpp_type) + " " + (p.direction == VERDA_OUT ? "out " : "inout ") + p.form;
}

// The four sides, each on a register of its own, the registers prepared
// alike, each side logging into a folder of its own.
class Sides {
  public:
    Sides() {
        for (const char* side : kSides) {
            std::filesystem::create_directory(folder(side));
            registers_.emplace_back(new Register(folder(side) + "/paper.txt"));
            prepare(registers_.back()->port());
        }
        a_.reset(new Handle(registers_[0]->port()));
        b_.reset(new Member(registers_[1]->port()));
        c_.reset(new Handle(registers_[2]->port()));
        d_.reset(new Member(registers_[3]->port()));
        EXPECT_EQ(verda_set_log_dir(a_->d, folder("A").c_str()), VERDA_OK);
        EXPECT_EQ(verda_set_log_dir(c_->d, folder("C").c_str()), VERDA_OK);
        for (Member* m : {b_.get(), d_.get()}) m->device.logEnabled = true;
        b_->device.homeDir = folder("B") + "/";
        d_->device.homeDir = folder("D") + "/";
    }

    // Runs the operation on the four sides; A must give what B gives, C what D
    // gives. Its result by name.
    int run(const char* name, const std::vector<Given>& givens = {}) {
        SCOPED_TRACE(name);
        const verda_operation* op = verda_find_operation(name);
        const Calls* calls = callsOf(name);
        if (op == nullptr || calls == nullptr) {
            ADD_FAILURE() << "no operation " << name;
            return VERDA_UNKNOWN_OPERATION;
        }
        for (const Given& g : givens) {
            bool known = false;
            for (size_t i = 0; i < op->parameter_count; ++i)
                known |= std::strcmp(op->parameters[i].name, g.parameter) == 0;
            EXPECT_TRUE(known) << "no parameter " << g.parameter;
        }
        Call call(*op, givens);
        const int byName = verda_call(a_->d, name, call.values.data(), call.values.size());
        const int zeroed = calls->member(b_->device, call.zeroed.data());
        compare(call, *calls, zeroed, b_->device, call.zeroed, byName, call.values.data(), nullptr);

        const int preset = calls->member(d_->device, call.preset.data());
        call.sizeTexts();
        const int direct = calls->function(c_->d, call.function.data());
        compare(call, *calls, preset, d_->device, call.preset, direct, nullptr, &call.function);
        if (direct == VERDA_OK || direct == VERDA_BUFFER_TOO_SMALL) noteShown(call);
        return byName;
    }

    // Ends the registers' service; their states, papers and logs must be one,
    // A's log B's and C's D's: the members got the same arguments.
    void finish() {
        a_.reset();
        b_.reset();
        c_.reset();
        d_.reset();
        for (auto& r : registers_) r->stop();
        for (size_t i = 1; i < registers_.size(); ++i) {
            EXPECT_EQ(registers_[i]->state(), registers_[0]->state()) << kSides[i];
            EXPECT_EQ(fileText(folder(kSides[i]) + "/paper.txt"),
                      fileText(folder("A") + "/paper.txt"))
                << kSides[i];
        }
        expectSameLog(logLines(folder("A")), logLines(folder("B")), "A and B");
        expectSameLog(logLines(folder("C")), logLines(folder("D")), "C and D");
        EXPECT_FALSE(logLines(folder("A")).empty());
    }

    // The output shapes that some successful call of C set (changed from
    // what it was before).
    const std::set<std::string>& shown() const { return shown_; }

  private:
    static constexpr const char* kSides[] = {"A", "B", "C", "D"};
    std::string folder(const char* side) const { return dir_.path() + "/" + side; }

    void noteShown(const Call& call) {
        for (size_t i = 0; i < call.operation.parameter_count; ++i) {
            const verda_parameter& p = call.operation.parameters[i];
            if (!writes(p)) continue;
            const Argument& after = call.function[i];
            Argument before;
            preset(before, true);
            if (reads(p)) setInput(p, call.inputs[i], before);
            const bool changed =
                isText(p) ? std::string(after.buffer.data()) !=
                                (reads(p) ? call.inputs[i].text
                                          : std::string(after.buffer.size() - 1, 'Z'))
                          : after.integer != before.integer || after.wide != before.wide ||
                                after.number != before.number || after.byte != before.byte ||
                                after.flag != before.flag;
            if (changed) shown_.insert(shape(p));
        }
    }

    TempDir dir_;
    std::vector<std::unique_ptr<Register>> registers_;
    std::unique_ptr<Handle> a_, c_;
    std::unique_ptr<Member> b_, d_;
    std::set<std::string> shown_;
};

// The run-time list and the generated calls are one table.
TEST(CapiOperations, TheListAndTheCallsAreOneTable) {
    ASSERT_EQ(verda_operation_count(), operation_calls::kCallCount);
    for (size_t i = 0; i < verda_operation_count(); ++i)
        EXPECT_STREQ(verda_operation_at(i)->name, operation_calls::kCalls[i].name);
}

// After the table, what its order and the inputs above do not make: a
// receipt from its opening to its closing, a report, a parameter written and
// read back, the clock set, the fiscal memory and the journal read by date.
const struct {
    const char* operation;
    std::vector<Given> givens;
} kDay[] = {
    {"OpenShift", {}},
    {"OpenFiscalInv", {{"ReceiptType", "0"}}},
    {"RegisterSale", {{"TaxCd", "A"}, {"DiscountType", "0"}}},
    {"RegisterArticleSale", {{"PluCode", "3"}, {"DiscountType", "0"}}},
    {"PrintFreeTextInFiscalInv", {}},
    {"Subtotal", {{"DiscountType", "1"}}},
    {"Total", {{"PaidMode", "1"}}},
    {"Total", {{"PaidMode", "0"}, {"Amount", "0"}}},
    {"CloseFiscalInv", {}},
    {"PrgAndReadArticleR", {{"PLU", "3"}}},
    {"PrintReport", {{"Type", "X"}}},
    {"Programming", {{"Name", "PayName"}, {"Index", "1"}, {"Value", "Картой"}}},
    {"Programming", {{"Name", "PayName"}, {"Index", "1"}, {"Value", ""}}},
    {"SetDateTime", {{"DateTime", "01.06.2026 10:30:00"}}},
    {"FiscalReportByDate", {{"DateFrom", "01.06.2026"}, {"DateTo", "01.06.2026"}}},
    {"GetDocInEJByDate", {{"DateFrom", "01.06.2026"}, {"DateTo", "01.06.2026"}}},
};

TEST(CapiOperations, EachGivesWhatItsMemberGives) {
    Sides sides;
    if (HasFatalFailure()) return;
    int succeeded = 0;
    for (size_t i = 0; i < verda_operation_count(); ++i)
        succeeded += sides.run(verda_operation_at(i)->name) == VERDA_OK;
    for (const auto& step : kDay) EXPECT_EQ(sides.run(step.operation, step.givens), VERDA_OK);
    RecordProperty("succeeded", succeeded);
    sides.finish();

    // Every shape of output was set by a call that succeeded: the comparisons
    // above were not all of outputs left alone.
    std::set<std::string> shapes;
    for (size_t i = 0; i < verda_operation_count(); ++i) {
        const verda_operation& op = *verda_operation_at(i);
        for (size_t k = 0; k < op.parameter_count; ++k)
            if (writes(op.parameters[k])) shapes.insert(shape(op.parameters[k]));
    }
    for (const std::string& s : shapes) EXPECT_EQ(sides.shown().count(s), 1u) << s;
}

// Every way of calling an operation wrongly is refused with its code before
// anything goes to the register: a NULL handle; a NULL text or output, each
// in turn; an input text that is not UTF-8, or holds a character that its
// form cannot carry; through verda_call also a number out of its parameter's
// range, a missing text, a wrong count and missing values.
TEST(CapiOperations, WrongCallsAreRefusedBeforeAnythingIsSent) {
    TempDir dir;
    Register simulated(dir.path() + "/paper.txt");
    Handle h(simulated.port());
    const unsigned long long sent = h.sent();
    const struct {
        const char* text;
        int code;
    } badTexts[] = {
        {"\xD0", VERDA_INVALID_UTF8},              // cut
        {"\xC0\xB1", VERDA_INVALID_UTF8},          // overlong
        {"a\tb", VERDA_NOT_IN_CODE_PAGE},          // a tab would split the request's fields
        {"\xE2\x82\xAC", VERDA_NOT_IN_CODE_PAGE},  // €, in neither form
    };
    for (size_t i = 0; i < verda_operation_count(); ++i) {
        const verda_operation& op = *verda_operation_at(i);
        SCOPED_TRACE(op.name);
        const Calls& calls = *callsOf(op.name);
        Call call(op, {});
        call.sizeTexts();
        EXPECT_EQ(calls.function(nullptr, call.function.data()), VERDA_NULL_ARGUMENT);
        EXPECT_EQ(verda_call(h.d, op.name, call.values.data(), op.parameter_count + 1),
                  VERDA_INVALID_ARGUMENT);
        if (op.parameter_count > 0) {
            EXPECT_EQ(verda_call(h.d, op.name, nullptr, op.parameter_count), VERDA_NULL_ARGUMENT);
        }
        for (size_t k = 0; k < op.parameter_count; ++k) {
            const verda_parameter& p = op.parameters[k];
            SCOPED_TRACE(p.name);
            if (isText(p) || writes(p)) {
                call.function[k].absent = true;
                EXPECT_EQ(calls.function(h.d, call.function.data()), VERDA_NULL_ARGUMENT);
                call.function[k].absent = false;
            }
            if (isText(p)) {
                char* text = call.values[k].text;
                call.values[k].text = nullptr;
                EXPECT_EQ(verda_call(h.d, op.name, call.values.data(), op.parameter_count),
                          VERDA_NULL_ARGUMENT);
                call.values[k].text = text;
            }
            if (isText(p) && reads(p)) {
                for (const auto& bad : badTexts) {
                    SCOPED_TRACE(bad.text);
                    Call wrong(op, {{p.name, bad.text}});
                    wrong.sizeTexts();
                    EXPECT_EQ(calls.function(h.d, wrong.function.data()), bad.code);
                    EXPECT_EQ(verda_call(h.d, op.name, wrong.values.data(), op.parameter_count),
                              bad.code);
                }
            }
            if (reads(p) && (p.type == VERDA_TYPE_INT || p.type == VERDA_TYPE_CHAR)) {
                const long long limit = p.type == VERDA_TYPE_INT ? 2147483647LL : 255;
                const long long low = p.type == VERDA_TYPE_INT ? -2147483648LL : -128;
                for (const long long out : {limit + 1, low - 1}) {
                    const long long kept = call.values[k].integer;
                    call.values[k].integer = out;
                    EXPECT_EQ(verda_call(h.d, op.name, call.values.data(), op.parameter_count),
                              VERDA_INVALID_ARGUMENT)
                        << out;
                    call.values[k].integer = kept;
                }
            }
        }
    }
    EXPECT_EQ(h.sent(), sent);
    EXPECT_EQ(verda_CheckConnection(h.d), VERDA_OK);  // the link is still in step
}

// Every result code of an operation has a text of its own: the interface's
// codes, success, the empty result and the licence refusal; the register's
// errors have the catalogue's, and a code that none of them knows one of two
// fallbacks.
TEST(CapiResultTexts, EveryCodeHasItsOwn) {
    const int codes[] = {VERDA_OK,
                         VERDA_EMPTY_RESULT,
                         VERDA_LICENCE_REFUSED,
                         VERDA_EXCHANGE_FAILED,
                         VERDA_NULL_ARGUMENT,
                         VERDA_INVALID_UTF8,
                         VERDA_NOT_IN_CODE_PAGE,
                         VERDA_BUFFER_TOO_SMALL,
                         VERDA_REPLY_TOO_SHORT,
                         VERDA_OUT_OF_MEMORY,
                         VERDA_INVALID_ARGUMENT,
                         VERDA_OPEN_FAILED,
                         VERDA_UNKNOWN_HOST,
                         VERDA_UNKNOWN_OPERATION,
                         VERDA_INTERNAL_ERROR};
    const std::string unknownRegisterError = verda_error_text(999999);
    const std::string unknownCode = verda_error_text(-999);
    EXPECT_NE(unknownRegisterError, unknownCode);
    std::set<std::string> texts;
    for (const int code : codes) {
        const std::string text = verda_error_text(code);
        EXPECT_TRUE(!text.empty() && wire::text::isUtf8(text)) << code;
        EXPECT_NE(text, unknownRegisterError) << code;
        EXPECT_NE(text, unknownCode) << code;
        EXPECT_TRUE(texts.insert(text).second) << code << ": " << text;
    }
    EXPECT_EQ(verda_error_text(VERDA_INTERNAL_ERROR - 1), unknownCode);
}

}  // namespace
