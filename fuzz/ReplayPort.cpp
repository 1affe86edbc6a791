#include "fuzz/ReplayPort.h"

#include <algorithm>
#include <cstring>

namespace {

void nibbleWord(std::string& out, unsigned int value) {
    for (int shift = 12; shift >= 0; shift -= 4)
        out += static_cast<char>(0x30 + ((value >> shift) & 0xF));
}

unsigned int readWord(const unsigned char* bytes) {
    unsigned int value = 0;
    for (int i = 0; i < 4; ++i) value = (value << 4) | (bytes[i] & 0xFu);
    return value;
}

}  // namespace

ReplayPort::ReplayPort(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {
    opened = true;
}

bool ReplayPort::Close() {
    opened = false;
    return true;
}

bool ReplayPort::isOpen() {
    return opened;
}

void ReplayPort::put(const void* data, unsigned long size) {
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    for (unsigned long i = 0; i < size && headerSize_ < sizeof header_; ++i)
        header_[headerSize_++] = bytes[i];
}

long ReplayPort::Write(const void* data, unsigned long size) {
    put(data, size);
    return static_cast<long>(size);
}

long ReplayPort::WriteChar(signed char value) {
    if (value == 0x01) headerSize_ = 0;  // a new request frame begins
    put(&value, 1);
    return 1;
}

long ReplayPort::WriteUChar(unsigned char value) {
    put(&value, 1);
    return 1;
}

long ReplayPort::WriteUInt(unsigned int value) {
    put(&value, sizeof value);
    return sizeof value;
}

std::uint8_t ReplayPort::take() {
    return at_ < size_ ? data_[at_++] : 0;
}

// Builds the reply that record tag describes into pending_.
void ReplayPort::frame(unsigned int tag) {
    const bool spoilt = tag % 4 == 3;
    const unsigned int fault = spoilt ? (tag / 4) % 4 : 4;
    std::size_t dataSize = take();
    dataSize |= static_cast<std::size_t>(take()) << 8;
    const unsigned int lengthByte = fault == 3 ? take() : 0;
    dataSize = std::min(dataSize, size_ - at_);

    unsigned char seq = header_[5];
    unsigned int command = headerSize_ == sizeof header_ ? readWord(header_ + 6) : 0;
    if (fault == 0) seq = seq == 0x20 ? 0x3D : seq - 1;  // the one before, in the cycle
    if (fault == 1) command ^= 0x80;
    unsigned int length = static_cast<unsigned int>(dataSize) + 0x33;
    if (fault == 3) length = lengthByte;

    std::string counted;
    nibbleWord(counted, length);
    counted += static_cast<char>(seq);
    nibbleWord(counted, command);
    counted.append(reinterpret_cast<const char*>(data_ + at_), dataSize);
    at_ += dataSize;
    counted += '\x04';  // separator
    for (int i = 0; i < 8; ++i) counted += static_cast<char>(take());
    counted += '\x05';  // postamble
    // The sum covers what the length field claims, as the driver reads it.
    const std::size_t claimed =
        fault == 3 ? std::min<std::size_t>(counted.size(), (length - 0x20) & 0xFFFF)
                   : counted.size();
    unsigned int sum = 0;
    for (std::size_t i = 0; i < claimed; ++i) sum += static_cast<unsigned char>(counted[i]);
    if (fault == 2) sum += 1;

    pending_ = "\x01" + counted.substr(0, claimed);
    nibbleWord(pending_, sum & 0xFFFF);
    pending_ += counted.substr(claimed);
    pending_ += '\x03';
    pendingAt_ = 0;
    piece_ = spoilt ? 0 : tag / 4;
}

long ReplayPort::Read(void* buffer, unsigned long size) {
    if (pendingAt_ == pending_.size()) {
        if (exhausted()) return 0;
        const unsigned int tag = take();
        switch (tag % 4) {
            case 0: {
                std::size_t count = std::min<std::size_t>(take(), size_ - at_);
                count = std::min<std::size_t>(count, size);
                std::memcpy(buffer, data_ + at_, count);
                at_ += count;
                return static_cast<long>(count);
            }
            case 2:
                return 0;
            default:
                frame(tag);
        }
    }
    std::size_t count = pending_.size() - pendingAt_;
    if (piece_ != 0) count = std::min(count, piece_);
    count = std::min<std::size_t>(count, size);
    std::memcpy(buffer, pending_.data() + pendingAt_, count);
    pendingAt_ += count;
    return static_cast<long>(count);
}
