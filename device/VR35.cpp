#include "device/VR35.h"

#include <unistd.h>

#include <cstring>
#include <iostream>
#include <stdexcept>

#include "device/Command.h"
#include "tools/stdTools.h"
#include "transport/ComPort.h"
#include "transport/SocketPort.h"

VR35::VR35()
    : seq(0x20),
      lastCommand(0),
      firmwareRevision(0),  // meaningful only after the first DiagnosticInfo
      logEnabled(false),
      timeout(50),
      port(nullptr),
      status(new MyStatus()) {
    decimalPlaces = 0;
}

VR35::~VR35() {
    delete port;  // not closed: Close comes first, from the client
    delete status;
}

// --- Link -----------------------------------------------------------------

unsigned char VR35::getNextSeq() {
    if (seq >= 0x1F && seq <= 0x3C)
        ++seq;
    else
        seq = 0x20;
    return seq;
}

namespace {

const int kFailed = 100001;
const size_t kRxSize = 102400;
const int kMaxSends = 5;
const int kMaxEmptyPasses = 10;

// Wipes what was written to the receive buffer. Bytes past the received total
// are never read, so clearing only the written stretch keeps the whole buffer
// zero without touching 100 KiB on every send.
void wipe(unsigned char* buffer, size_t& written) {
    std::memset(buffer, 0, written);
    written = 0;
}

}  // namespace

int VR35::SendPMessage(unsigned int command, unsigned char* data, int length, std::string& reply) {
    if (port == nullptr) return kFailed;
    unsigned char buffer[kRxSize];
    size_t written = 0;
    lastCommand = static_cast<unsigned char>(command);
    getNextSeq();
    if (!port->isOpen()) return kFailed;

    const unsigned int lengthWord = MakeINT(length + frame::kRequestLengthBias);
    const unsigned int commandWord = MakeINT(command);
    const unsigned int sum = MakeCRC(lengthWord) + seq + MakeCRC(commandWord) +
                             MakeCRC(data, 0, static_cast<unsigned int>(length)) +
                             frame::kPostamble;

    for (int repeats = 0; repeats < kMaxSends; ++repeats) {
        wipe(buffer, written);
        if (repeats != 0) {
            if (logEnabled) logrotate(homeDir + kLogFileName, "REPEAT");
            std::cout << "REPEAT SEND!" << std::endl;
        }
        port->WriteChar(frame::kPreamble);
        port->WriteUInt(lengthWord);
        port->WriteUChar(seq);
        port->WriteUInt(commandWord);
        port->Write(data, static_cast<unsigned long>(length));
        port->WriteUChar(frame::kPostamble);
        port->WriteUInt(MakeINT(sum));
        port->WriteUChar(frame::kTerminator);

        size_t total = 0;
        int attempts = 0;
        bool nak = false;
        bool repeat = false;
        while (!nak && !repeat) {
            const long got = port->Read(buffer + total, kRxSize - total);
            const size_t fresh = got > 0 ? static_cast<size_t>(got) : 0;
            const size_t freshStart = total;
            if (fresh > 0) {
                total += fresh;
                attempts = 0;
                if (total > written) written = total;
            }

            bool validate = false;
            if (total != 0) {
                // NAK and SYN are looked for only outside a frame, in new bytes.
                if (total >= 2 && buffer[0] != frame::kPreamble && fresh > 0) {
                    if (std::memchr(buffer + freshStart, frame::kNak, fresh) != nullptr) {
                        nak = true;
                        break;
                    }
                    bool syn = false;
                    size_t k = freshStart;
                    while (k < total && buffer[k] != frame::kPreamble) {
                        if (buffer[k] == frame::kSyn) syn = true;
                        ++k;
                    }
                    if (k == total && syn) usleep(1000);
                }
                if (buffer[0] == frame::kPreamble) {
                    validate = total > 4;
                } else {
                    // Resynchronise on the next preamble, or keep the last byte.
                    const void* next = std::memchr(buffer + 1, frame::kPreamble, total - 1);
                    const size_t from =
                        next != nullptr
                            ? static_cast<size_t>(static_cast<const unsigned char*>(next) - buffer)
                            : total - 1;
                    if (from != 0) {
                        std::memmove(buffer, buffer + from, total - from);
                        total -= from;
                        usleep(20000);
                        validate = total > 4 && buffer[0] == frame::kPreamble;
                    }
                }
            }

            if (validate) {
                unsigned int word;
                std::memcpy(&word, buffer + 1, sizeof word);
                const unsigned short L =
                    static_cast<unsigned short>(uMakeINT(word) - frame::kLengthBias);
                if (total - 5 > L) {
                    std::memcpy(&word, buffer + 6, sizeof word);
                    if (buffer[5] != seq || uMakeINT(word) != lastCommand) {
                        repeat = true;
                        continue;
                    }
                    const unsigned int expected = MakeINT(MakeCRC(buffer, 1, L));
                    if (std::memcmp(&expected, buffer + L + 1, sizeof expected) != 0) {
                        wipe(buffer, written);
                        repeat = true;
                        continue;
                    }
                    // A length below 8 would put the status before the buffer:
                    // such a frame gets all-zero status bytes.
                    unsigned char noStatus[frame::kStatusBytes] = {};
                    status->SetStatus(L >= frame::kStatusBytes ? buffer + L - frame::kStatusBytes
                                                               : noStatus);
                    if (L < 19) throw std::length_error("reply frame shorter than its header");
                    reply.assign(reinterpret_cast<const char*>(buffer) + frame::kDataOffset,
                                 L - 19);
                    return reply.empty() ? kFailed : 0;
                }
            }

            // Attempt step.
            if (++attempts >= kMaxEmptyPasses) repeat = true;
        }
        if (nak) {
            if (logEnabled) logrotate(homeDir + kLogFileName, "NACK");
            usleep(1000);
        }
    }
    return kFailed;
}

// --- Lifecycle and transport ------------------------------------------------

bool VR35::OpenSerial(std::string name, int baudRate) {
    if (port != nullptr) {
        port->Close();
        delete port;
    }
    ComPort* com = new ComPort();
    com->portName = name;
    com->baudRate = baudRate;
    com->Close();  // on a fresh port this closes descriptor 0, as it always has
    bool ok = com->Open(com->portName) && com->Setup(0) &&
              com->SetTimeout(static_cast<unsigned long>(timeout));
    port = com;  // kept even when the open failed: exchanges then answer 100001
    return ok;
}

bool VR35::OpenCOMPort(int portNumber, int baudRate) {
    return OpenSerial(IntToStdStr(portNumber), baudRate);
}

bool VR35::CloseCOMPort() {
    if (port != nullptr) {
        port->Close();
        delete port;
        port = nullptr;
    }
    return true;
}

bool VR35::OpenSocket(std::string host, int portNumber) {
    if (port != nullptr) {
        port->Close();
        delete port;
    }
    SocketPort* socketPort = new SocketPort();
    bool ok = socketPort->Open(host.c_str(), portNumber) &&
              socketPort->SetTimeout(static_cast<unsigned long>(timeout));
    port = socketPort;
    return ok;
}

bool VR35::CloseSocket() {
    return CloseCOMPort();
}

// --- The abstract printer interface ------------------------------------------
// These fill the interface and touch no device.

bool VR35::isOk() {
    return true;
}
bool VR35::CashInOut(bool, double) {
    return true;
}
bool VR35::GetCashSum(double&) {
    return true;
}
bool VR35::PrintLine(std::wstring) {
    return true;
}

int VR35::GetLineLength() {
    // Only one model has the wide paper; the other two names are compared
    // as they always were, with no effect on the answer.
    if (model == "ЛАРН-1000 Ф") return 48;
    if (model == "ВЕРДА 35V-Ф") return 32;
    if (model == "ЛАРН-100 Ф") return 32;
    return 32;
}

// --- Connection ------------------------------------------------------------------

int VR35::CheckConnection() {
    return cmd::run(*this, "CheckConnection", 0x2D, cmd::Request(), cmd::noFields,
                    cmd::Plain{"CheckConnection"});
}
