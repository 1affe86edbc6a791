#ifndef VERDA_FUZZ_REPLAY_PORT_H
#define VERDA_FUZZ_REPLAY_PORT_H

// A Port whose far side is a byte string: every Read takes the next record
// of the string, and once it is used up every Read answers 0, as a silent
// line does at its timeout. Writes go nowhere, but the port remembers the
// sequence and command of the last request frame, so that a record can ask
// for a well-formed reply to it.
//
// A record is a tag byte and what the tag says follows:
//
//   tag % 4 == 0  raw bytes: a count byte, then that many bytes, handed over
//                 in one Read
//   tag % 4 == 1  a good reply: two bytes of little-endian data size, the
//                 data, then eight status bytes; framed with the request's
//                 sequence and command and a right checksum. tag / 4 is the
//                 size of the pieces it arrives in (0: all at once)
//   tag % 4 == 2  a Read that brings nothing
//   tag % 4 == 3  a spoilt reply: as a good one, but (tag / 4) % 4 selects
//                 the fault: 0 the previous sequence (a late reply), 1 another
//                 command, 2 a wrong checksum, 3 a length field taken from
//                 the next byte, with a checksum that fits it
//
// Whatever the input says, what a Read hands over fits the size asked for.

#include <cstddef>
#include <cstdint>
#include <string>

#include "transport/Port.h"

class ReplayPort : public Port {
  public:
    ReplayPort(const std::uint8_t* data, std::size_t size);

    bool Close() override;
    bool isOpen() override;
    long Write(const void* data, unsigned long size) override;
    long WriteChar(signed char value) override;
    long WriteUChar(unsigned char value) override;
    long WriteUInt(unsigned int value) override;
    long Read(void* buffer, unsigned long size) override;

    // Takes one byte of the input for the caller's own use; 0 once it is
    // used up.
    std::uint8_t take();
    bool exhausted() const { return at_ == size_; }

  private:
    void frame(unsigned int tag);
    void put(const void* data, unsigned long size);

    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
    std::string pending_;  // reply bytes not handed over yet
    std::size_t pendingAt_ = 0;
    std::size_t piece_ = 0;          // size of the pieces of pending_, 0: whole
    unsigned char header_[10] = {};  // start of the last request frame
    std::size_t headerSize_ = 0;
};

#endif
