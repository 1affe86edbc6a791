#ifndef VERDA_DEVICE_OUTPUTS_H
#define VERDA_DEVICE_OUTPUTS_H

// The output arguments of an operation as one list, for the operations whose
// replies are long rows of values: clear some before the exchange, read them
// in reply order, write them as "Name=value" pairs in the closing line.
//
//   const cmd::Outputs outputs = {{"NRep", NRep}, {"Sum1", Sum1}, ...};
//   cmd::clear(outputs);
//   return cmd::runOutputs(*this, "X", 0x41, request, outputs, "X(",
//                          cmd::AmountLog::TwoDecimals);
//
// Internal to the library; not installed.

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "device/OperationShape.h"
#include "tools/stdTools.h"

namespace cmd {

// How a closing line writes amounts.
enum class AmountLog {
    Stream,       // the stream's default rule for a double
    TwoDecimals,  // FloatToStdStr at two decimals with "."
};

// One output argument: an integer, an amount, a flag ("1" is true) or a text.
// The name is its label in the closing line; outputs that are not logged
// need none.
class Output {
  public:
    Output(const char* name, int& value) : name_(name), integer_(&value) {}
    Output(const char* name, double& value) : name_(name), amount_(&value) {}
    Output(const char* name, bool& value) : name_(name), flag_(&value) {}
    Output(const char* name, std::string& value) : name_(name), text_(&value) {}
    Output(int& value) : Output(nullptr, value) {}
    Output(double& value) : Output(nullptr, value) {}

    void clear() const {
        if (integer_ != nullptr) *integer_ = 0;
        if (amount_ != nullptr) *amount_ = 0.0;
        if (flag_ != nullptr) *flag_ = false;
        if (text_ != nullptr) text_->clear();
    }

    void read(Fields& fields) const {
        if (integer_ != nullptr) *integer_ = fields.integer();
        if (amount_ != nullptr) *amount_ = fields.amount();
        if (flag_ != nullptr) *flag_ = fields.flag();
        if (text_ != nullptr) *text_ = fields.text();
    }

    void write(std::ostream& log, AmountLog amounts) const {
        log << (name_ != nullptr ? name_ : "") << '=';
        if (integer_ != nullptr) log << *integer_;
        if (amount_ != nullptr) {
            if (amounts == AmountLog::TwoDecimals)
                log << FloatToStdStr(*amount_, 2, '.');
            else
                log << *amount_;
        }
        if (flag_ != nullptr) log << (*flag_ ? 1 : 0);
        if (text_ != nullptr) log << *text_;
    }

  private:
    const char* name_;
    int* integer_ = nullptr;
    double* amount_ = nullptr;
    bool* flag_ = nullptr;
    std::string* text_ = nullptr;
};

using Outputs = std::vector<Output>;

// The first count outputs set to 0, 0.0, false or empty; all by default.
inline void clear(const Outputs& outputs, std::size_t count = static_cast<std::size_t>(-1)) {
    for (std::size_t i = 0; i < outputs.size() && i < count; ++i) outputs[i].clear();
}

// Each output from the next reply field, in order.
inline void read(Fields& fields, const Outputs& outputs) {
    for (const Output& output : outputs) output.read(fields);
}

// "Name=value" pairs with commas between them.
inline void write(std::ostream& log, const Outputs& outputs, AmountLog amounts) {
    const char* separator = "";
    for (const Output& output : outputs) {
        log << separator;
        output.write(log, amounts);
        separator = ",";
    }
}

// An operation whose reply is its outputs in order and whose closing line is
// head, the outputs as "Name=value" pairs, and ");". Fields past the outputs
// are left unread.
inline int runOutputs(VR35& device, const char* name, wire::Command command, const Request& request,
                      const Outputs& outputs, const std::string& head,
                      AmountLog amounts = AmountLog::Stream) {
    return run(
        device, name, command, request, [&](Fields& f) { read(f, outputs); },
        [&](std::ostream& log) {
            log << head;
            write(log, outputs, amounts);
            log << ");";
        });
}

}  // namespace cmd

#endif
