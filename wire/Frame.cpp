#include "wire/Frame.h"

#include <cstring>

unsigned int MakeINT(unsigned int value) {
    const unsigned char wire[4] = {
        static_cast<unsigned char>(0x30 + ((value >> 12) & 0xF)),
        static_cast<unsigned char>(0x30 + ((value >> 8) & 0xF)),
        static_cast<unsigned char>(0x30 + ((value >> 4) & 0xF)),
        static_cast<unsigned char>(0x30 + (value & 0xF)),
    };
    unsigned int packed;
    std::memcpy(&packed, wire, sizeof packed);
    return packed;
}

unsigned int uMakeINT(unsigned int packed) {
    unsigned char wire[4];
    std::memcpy(wire, &packed, sizeof wire);
    return ((wire[0] & 0xFu) << 12) | ((wire[1] & 0xFu) << 8) | ((wire[2] & 0xFu) << 4) |
           (wire[3] & 0xFu);
}

unsigned int MakeCRC(unsigned char* bytes, unsigned int start, unsigned int count) {
    unsigned int sum = 0;
    for (unsigned int i = 0; i < count; ++i) sum += bytes[start + i];
    return sum;
}

unsigned int MakeCRC(unsigned int value) {
    unsigned char bytes[4];
    std::memcpy(bytes, &value, sizeof bytes);
    return bytes[0] + bytes[1] + bytes[2] + bytes[3];
}
