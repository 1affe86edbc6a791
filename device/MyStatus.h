#ifndef VERDA_DEVICE_MYSTATUS_H
#define VERDA_DEVICE_MYSTATUS_H

#include <string>

// Bit helpers. getBitVal/setBitVal count bits of one byte from the least
// significant; testBit/setBit treat a byte string as a run of bits whose
// index 0 is the most significant bit of the first byte.
bool getBitVal(unsigned char value, unsigned char bit);
unsigned char setBitVal(unsigned char value, unsigned char bit, bool on);
bool testBit(const unsigned char* bytes, unsigned char index);
void setBit(unsigned char* bytes, unsigned char index, bool on);

// The eight status bytes of the last valid reply frame, as 64 flags:
// bit b of status byte i is flags[8 * i + b]. A passive record.
class MyStatus {
  public:
    bool flags[64];

    MyStatus();
    void SetStatus(unsigned char* bytes);
    // 48 characters "0"/"1": bit 0 of bytes 0..5, then bit 1 of bytes 0..5, ...
    std::string getStatus();
};

#endif
