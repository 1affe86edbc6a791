#include "device/MyStatus.h"

bool getBitVal(unsigned char value, unsigned char bit) {
    // For bits 8..31 the low byte of the mask is 0 and so always matches.
    const unsigned char mask = static_cast<unsigned char>(1u << (bit & 31));
    return (value & mask) == mask;
}

unsigned char setBitVal(unsigned char value, unsigned char bit, bool on) {
    const unsigned char mask = static_cast<unsigned char>(1u << (bit & 31));
    return on ? static_cast<unsigned char>(value | mask)
              : static_cast<unsigned char>(value & ~mask);
}

bool testBit(const unsigned char* bytes, unsigned char index) {
    return (bytes[index / 8] & (0x80 >> (index % 8))) != 0;
}

void setBit(unsigned char* bytes, unsigned char index, bool on) {
    const unsigned char mask = static_cast<unsigned char>(0x80 >> (index % 8));
    if (on)
        bytes[index / 8] |= mask;
    else
        bytes[index / 8] &= static_cast<unsigned char>(~mask);
}

// Flags 48..63 (status bytes 6 and 7) are set by the first SetStatus; until
// then they are cleared here too, since nothing should read chance values.
MyStatus::MyStatus() : flags() {}

void MyStatus::SetStatus(unsigned char* bytes) {
    for (int i = 0; i < 8; ++i)
        for (int b = 0; b < 8; ++b)
            flags[8 * i + b] = getBitVal(bytes[i], static_cast<unsigned char>(b));
}

std::string MyStatus::getStatus() {
    std::string text;
    text.reserve(48);
    for (int b = 0; b < 8; ++b)
        for (int i = 0; i < 6; ++i) text += flags[8 * i + b] ? '1' : '0';
    return text;
}
