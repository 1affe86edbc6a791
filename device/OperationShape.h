#ifndef VERDA_DEVICE_OPERATIONSHAPE_H
#define VERDA_DEVICE_OPERATIONSHAPE_H

// The one shape of a device operation, shared by every VR35 command:
//
//   1. "Start X();" in the log
//   2. a request of tab-ended fields
//   3. SendPMessage
//   4. the first reply field is the device's result: "0" is success, anything
//      else is the absolute value of its number, and nothing more is read
//   5. on success the further fields go to the outputs
//   6. errorCode, then the closing line with " ErrorCode: N" when not 0
//
// An operation reads like its table:
//
//   return cmd::run(*this, "GetDateTime", wire::Command::GetDateTime, cmd::Request(),
//       [&](cmd::Fields& f) { DateTime = f.text(); },
//       [&](std::ostream& log) { log << "GetDateTime(DateTime=" << DateTime << ");"; });
//
// Internal to the library; not installed.

#include <ostream>
#include <sstream>
#include <string>

#include "device/VR35.h"
#include "tools/stdTools.h"
#include "wire/Command.h"
#include "wire/ResultCodes.h"

namespace cmd {

// An amount as the device and the log take it: fixed decimals, separator ".".
inline std::string amountText(double value, int decimals) {
    return FloatToStdStr(value, decimals, '.');
}

// A request: every field followed by one tab, the last one too.
class Request {
  public:
    Request& text(const std::string& field) {
        data_ += field;
        data_ += '\t';
        return *this;
    }
    // The first maxBytes bytes of field; the rest is dropped, never sent on.
    Request& text(const std::string& field, std::string::size_type maxBytes) {
        return text(field.substr(0, maxBytes));
    }
    Request& byte(char field) { return text(std::string(1, field)); }
    Request& number(int field) { return text(IntToStdStr(field)); }
    // Amounts at a fixed number of decimals with the separator ".".
    Request& amount(double field, int decimals) { return text(amountText(field, decimals)); }
    Request& empty() { return text(std::string()); }

    const std::string& data() const { return data_; }

  private:
    std::string data_;
};

// The fields of a reply, cut one by one. An exhausted reply gives empty
// fields, which parse to 0.
class Fields {
  public:
    explicit Fields(std::string& rest) : rest_(rest) {}
    std::string text() { return CutBeforeFirst(rest_, '\t'); }
    int integer() {
        std::string field = text();
        return StdStrToInt(field, false);
    }
    double amount() {
        std::string field = text();
        return StdStrToDouble(field, 0.0);
    }
    // The character at index of the field; 0 past its end.
    char character(std::string::size_type index) {
        const std::string field = text();
        return index < field.size() ? field[index] : '\0';
    }
    // True exactly for the text "1".
    bool flag() { return text() == "1"; }
    void skip() { text(); }

  private:
    std::string& rest_;
};

inline void noFields(Fields&) {}

// How the first reply field decides the result.
enum class FirstField {
    ErrorCode,        // "0" or the device's error number made positive
    EmptyIsMinusOne,  // the same, but an empty field gives -1
    NotTested,        // not a result: the fields are all outputs
};

// The device's error number made positive. -2147483648 has no positive
// counterpart and stays as it is.
inline int deviceError(std::string& field) {
    const int value = StdStrToInt(field, false);
    return value < 0 ? static_cast<int>(0u - static_cast<unsigned int>(value)) : value;
}

inline void log(VR35& device, const std::string& line) {
    if (device.logEnabled) logrotate(device.homeDir + kLogFileName, line);
}

// Steps 1 to 5: start line, request, exchange, first field, outputs.
template <class Fill>
int exchange(VR35& device, const char* startName, wire::Command command, const Request& request,
             Fill fill, FirstField rule = FirstField::ErrorCode) {
    if (device.logEnabled) log(device, std::string("Start ") + startName + "();");
    std::string reply;
    const std::string& data = request.data();
    // SendPMessage only reads the request bytes.
    unsigned char* bytes = reinterpret_cast<unsigned char*>(const_cast<char*>(data.data()));
    const int sent =
        device.SendPMessage(wire::number(command), bytes, static_cast<int>(data.size()), reply);
    if (sent != 0) return sent;
    Fields fields(reply);
    if (rule == FirstField::NotTested) {
        fill(fields);
        return 0;
    }
    std::string first = fields.text();
    if (first == "0") {
        fill(fields);
        return 0;
    }
    if (rule == FirstField::EmptyIsMinusOne && first.empty()) return VERDA_EMPTY_RESULT;
    return deviceError(first);
}

// Steps 6 and 7: errorCode and the closing line, written by close(stream).
template <class Close>
int finish(VR35& device, int result, Close close) {
    device.errorCode = result;
    if (device.logEnabled) {
        std::ostringstream line;
        close(static_cast<std::ostream&>(line));
        if (device.errorCode != 0) line << " ErrorCode: " << device.errorCode;
        log(device, line.str());
    }
    return result;
}

template <class Fill, class Close>
int run(VR35& device, const char* startName, wire::Command command, const Request& request,
        Fill fill, Close close, FirstField rule = FirstField::ErrorCode) {
    return finish(device, exchange(device, startName, command, request, fill, rule), close);
}

// The closing line of an operation that logs no values: "Name();".
struct Plain {
    const char* name;
    void operator()(std::ostream& log) const { log << name << "();"; }
};

}  // namespace cmd

#endif
