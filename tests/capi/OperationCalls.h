#ifndef VERDA_TESTS_CAPI_OPERATION_CALLS_H
#define VERDA_TESTS_CAPI_OPERATION_CALLS_H

// Every operation called two ways with the same arguments: its C function
// verda_<Name> and its VR35 member. capi/generate.py writes the calls
// (OperationCalls.cpp) from capi/operations.txt, so that a test can run every
// operation without a list of its own.

#include <cstddef>
#include <string>
#include <vector>

#include "capi/verda.h"
#include "device/VR35.h"

namespace operation_calls {

// One argument: the field of its parameter's kind is the one passed, by
// value to an input, by address (or reference) to an output.
struct Argument {
    int integer = 0;    // int
    long wide = 0;      // long
    double number = 0;  // double
    char byte = 0;      // char
    bool flag = false;  // bool
    // A text: to the member, in the form it takes or gives it; to the C
    // function, an input in UTF-8.
    std::string text;
    // The C function's output or inout text: the buffer, NUL-terminated, and
    // its size, which is passed as the text's size.
    std::vector<char> buffer;
    // The C function gets NULL instead of this text or output.
    bool absent = false;

    // What the C function gets for a text input, a text output, or a value
    // output in field.
    const char* input() const { return absent ? nullptr : text.c_str(); }
    char* output() { return absent ? nullptr : buffer.data(); }
    template <class T>
    T* address(T& field) {
        return absent ? nullptr : &field;
    }
};

struct Calls {
    const char* name;
    int (*function)(verda_device* d, Argument* arguments);
    // The member's int result, or 1 and 0 for a bool member's true and false.
    int (*member)(VR35& device, Argument* arguments);
    bool boolean;  // the member gives a bool, true for success
};

// In the order of capi/operations.txt.
extern const Calls kCalls[];
extern const std::size_t kCallCount;

}  // namespace operation_calls

#endif
