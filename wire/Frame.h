#ifndef VERDA_WIRE_FRAME_H
#define VERDA_WIRE_FRAME_H

// The frame format of the register's link, shared by the driver and the
// simulated register.
//
// Request: 01 | len(4) | seq | cmd(4) | data | 05 | sum(4) | 03
// Reply:   01 | len(4) | seq | cmd(4) | data | sep | status(8) | postamble | sum(4) | term
//
// Four-byte words are "nibble words": a 16-bit value as four bytes, most
// significant nibble first, each byte the nibble plus 0x30. The length word of a
// request is n + 0x2A (n data bytes), of a reply n + 0x33; the sum is the low 16
// bits of the plain byte sum from the first length byte through the postamble.
//
// In a reply, L (the length word less 0x20) is the postamble's offset: the
// data is L - 19 bytes at offset 10, the status bytes stand at L - 8, the sum
// covers offsets 1 to L and its word stands at L + 1. The driver never looks
// at a reply's separator, postamble or terminator.

namespace wire {
const unsigned char kPreamble = 0x01;
const unsigned char kPostamble = 0x05;
const unsigned char kTerminator = 0x03;
const unsigned char kNak = 0x15;
const unsigned char kSyn = 0x16;
const unsigned int kRequestLengthBias = 0x2A;  // n + 10 counted bytes + 0x20
const unsigned int kReplyLengthBias = 0x33;    // n + 19 counted bytes + 0x20
const unsigned int kLengthBias = 0x20;
const unsigned int kLengthOffset = 1;
const unsigned int kSeqOffset = 5;
const unsigned int kCommandOffset = 6;
const unsigned int kDataOffset = 10;
const unsigned int kWordBytes = 4;
const unsigned int kStatusBytes = 8;
const unsigned int kReplyHeader = 19;  // L of a reply without data
}  // namespace wire

// Nibble word of the low 16 bits of value, packed so that its lowest-addressed
// byte is the first on the wire.
unsigned int MakeINT(unsigned int value);
// Inverse of MakeINT: the low nibble of each byte; the high nibbles are ignored.
unsigned int uMakeINT(unsigned int packed);
// Sum of bytes[start] .. bytes[start + count - 1]; 0 when count is 0.
unsigned int MakeCRC(unsigned char* bytes, unsigned int start, unsigned int count);
// Sum of the four bytes of value.
unsigned int MakeCRC(unsigned int value);

#endif
