#ifndef VERDA_CAPI_WRAPPER_H
#define VERDA_CAPI_WRAPPER_H

// What every C function of capi/verda.h shares: the handle, the lock, the
// guard that keeps exceptions inside, and the text conversions of inputs and
// outputs. The operations' wrappers (capi/OperationFunctions.cpp, generated) read
// like their members:
//
//   return capi::run(d, [&](VR35& device) {
//       capi::Inputs in;
//       std::string Name_, Value_;
//       in.text(Name, capi::Form::AsIs, Name_);
//       if (in.failed()) return in.code();
//       capi::Result result(device.X(Name_, Value_));
//       result.text(Value_, capi::Form::AsIs, Value, Value_size);
//       return result.code();
//   });
//
// Internal to the library; not installed.

#include <climits>
#include <cstddef>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>

#include "capi/verda.h"
#include "device/VR35.h"

struct verda_device {
    VR35 device;
    std::mutex lock;  // one call at a time on a handle
};

namespace capi {

// The forms in which a member takes or gives a text (capi/operations.txt).
enum class Form {
    AsIs,            // the register's code page, CP866, both ways
    FromASCIItoDOS,  // in: the application's code page, CP1251 Cyrillic
    FromDOStoASCII,  // out: Cyrillic letters as the second byte of their UTF-8
};

// given, UTF-8, to the text a member takes in form: 0, VERDA_INVALID_UTF8 or
// VERDA_NOT_IN_CODE_PAGE.
int toMember(const char* given, Form form, std::string& text);
// A member's text in form back to UTF-8.
std::string fromMember(const std::string& text, Form form);
// utf8 into buffer, NUL-terminated, cut at a character boundary to fit size
// bytes. False when it had to be cut.
bool copyOut(const std::string& utf8, char* buffer, std::size_t size);

// True when none of the pointers is NULL.
inline bool given() {
    return true;
}
template <class First, class... Rest>
bool given(const First* first, const Rest*... rest) {
    return first != nullptr && given(rest...);
}

// The input texts of one call, converted in order; the first failure stays.
class Inputs {
  public:
    void text(const char* utf8, Form form, std::string& text) {
        if (code_ == VERDA_OK) code_ = toMember(utf8, form, text);
    }
    bool failed() const { return code_ != VERDA_OK; }
    int code() const { return code_; }

  private:
    int code_ = VERDA_OK;
};

// An operation's result and what writing its text outputs did to it: a cut
// text turns a success into VERDA_BUFFER_TOO_SMALL; a failure stays itself.
class Result {
  public:
    explicit Result(int member) : code_(member) {}
    // An output text into the caller's buffer.
    void text(const std::string& value, Form form, char* buffer, std::size_t size) {
        if (!copyOut(fromMember(value, form), buffer, size)) cut_ = true;
    }
    // An inout text: written back only when the member changed it, so that a
    // text it kept stays as the caller wrote it.
    void inout(const std::string& before, const std::string& value, Form form, char* buffer,
               std::size_t size) {
        if (value != before) text(value, form, buffer, size);
    }
    int code() const { return code_ == VERDA_OK && cut_ ? VERDA_BUFFER_TOO_SMALL : code_; }

  private:
    int code_;
    bool cut_ = false;
};

// verda_call's values to the C functions' types, false when out of range,
// and back.
inline bool narrow(const verda_value& value, int& out) {
    if (value.integer < INT_MIN || value.integer > INT_MAX) return false;
    out = static_cast<int>(value.integer);
    return true;
}
inline bool narrow(const verda_value& value, long& out) {
    if (value.integer < LONG_MIN || value.integer > LONG_MAX) return false;
    out = static_cast<long>(value.integer);
    return true;
}
// A byte: as a signed or an unsigned number.
inline bool narrow(const verda_value& value, char& out) {
    if (value.integer < -128 || value.integer > 255) return false;
    out = static_cast<char>(static_cast<unsigned char>(value.integer & 0xFF));
    return true;
}
inline void widen(int value, verda_value& out) {
    out.integer = value;
}
inline void widen(long value, verda_value& out) {
    out.integer = value;
}
inline void widen(char value, verda_value& out) {
    out.integer = static_cast<unsigned char>(value);
}
inline void widen(bool value, verda_value& out) {
    out.integer = value ? 1 : 0;
}
inline void widen(double value, verda_value& out) {
    out.number = value;
}

// Runs body(device) under the handle's lock; no exception leaves it.
template <class Body>
int run(verda_device* d, Body body) noexcept {
    if (d == nullptr) return VERDA_NULL_ARGUMENT;
    try {
        std::lock_guard<std::mutex> hold(d->lock);
        return body(d->device);
    } catch (const std::length_error&) {
        return VERDA_REPLY_TOO_SHORT;  // the exchange's only exception
    } catch (const std::bad_alloc&) {
        return VERDA_OUT_OF_MEMORY;
    } catch (...) {
        return VERDA_INTERNAL_ERROR;
    }
}

}  // namespace capi

#endif
