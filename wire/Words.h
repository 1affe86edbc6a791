#ifndef VERDA_WIRE_WORDS_H
#define VERDA_WIRE_WORDS_H

// The parts of a frame that both ends read the same way: nibble words and
// the sum. Internal to the protocol core.

#include <cstring>

#include "wire/Frame.h"

namespace wire {

// The value of the nibble word at bytes, from the low nibbles only.
inline unsigned int readWord(const unsigned char* bytes) {
    unsigned int packed;
    std::memcpy(&packed, bytes, sizeof packed);
    return uMakeINT(packed);
}

// Whether each of the word's four bytes lies in 0x30..0x3F.
inline bool wellFormedWord(const unsigned char* bytes) {
    for (unsigned int i = 0; i < kWordBytes; ++i)
        if ((bytes[i] & 0xF0) != 0x30) return false;
    return true;
}

// Whether the word behind offset last is the nibble word of the sum of the
// bytes from offset 1 through last. The four bytes are compared whole, high
// nibbles included.
inline bool sumMatches(const unsigned char* frame, unsigned int last) {
    const unsigned int expected =
        MakeINT(MakeCRC(const_cast<unsigned char*>(frame), kLengthOffset, last));
    return std::memcmp(&expected, frame + last + 1, sizeof expected) == 0;
}

}  // namespace wire

#endif
