#include "device/VR35.h"

#include <cstddef>
#include <iostream>
#include <stdexcept>

#include "tools/stdTools.h"
#include "transport/ComPort.h"
#include "transport/SocketPort.h"
#include "wire/Pause.h"
#include "wire/ReplyScanner.h"
#include "wire/ResultCodes.h"

VR35::VR35()
    : seq(0x20),
      lastCommand(0),
      firmwareRevision(0),  // meaningful only after the first DiagnosticInfo
      logEnabled(false),
      timeout(50),
      port(nullptr),
      status(new MyStatus()),
      framesSent(0),
      framesRepeated(0),
      naksReceived(0) {
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

const std::size_t kReceiveBufferSize = 102400;
const int kMaxSends = 5;
const unsigned int kNakPause = 1000;  // us

}  // namespace

// Sends the frame and reads until the scanner has a complete reply, sending
// again on a NAK, a frame of another request, a wrong sum or a silence: at
// most five sends.
int VR35::SendPMessage(unsigned int command, unsigned char* data, int length, std::string& reply) {
    if (port == nullptr) return VERDA_EXCHANGE_FAILED;
    unsigned char buffer[kReceiveBufferSize];
    wire::ReplyScanner scanner(buffer, sizeof buffer);
    lastCommand = static_cast<unsigned char>(command);
    getNextSeq();
    if (!port->isOpen()) return VERDA_EXCHANGE_FAILED;

    const unsigned int lengthWord = MakeINT(length + wire::kRequestLengthBias);
    const unsigned int commandWord = MakeINT(command);
    const unsigned int sum = MakeCRC(lengthWord) + seq + MakeCRC(commandWord) +
                             MakeCRC(data, 0, static_cast<unsigned int>(length)) + wire::kPostamble;

    for (int sends = 0; sends < kMaxSends; ++sends) {
        scanner.expect(seq, lastCommand);
        ++framesSent;
        if (sends != 0) {
            ++framesRepeated;
            if (logEnabled) logrotate(homeDir + kLogFileName, "REPEAT");
            std::cout << "REPEAT SEND!" << std::endl;
        }
        port->WriteChar(wire::kPreamble);
        port->WriteUInt(lengthWord);
        port->WriteUChar(seq);
        port->WriteUInt(commandWord);
        port->Write(data, static_cast<unsigned long>(length));
        port->WriteUChar(wire::kPostamble);
        port->WriteUInt(MakeINT(sum));
        port->WriteUChar(wire::kTerminator);

        wire::ReplyScanner::Verdict verdict;
        do verdict = scanner.feed(port->Read(scanner.space(), scanner.room()));
        while (verdict == wire::ReplyScanner::Verdict::NeedMore);

        if (verdict == wire::ReplyScanner::Verdict::Complete) {
            status->SetStatus(scanner.status());
            if (scanner.dataSize() < 0)
                throw std::length_error("reply frame shorter than its header");
            reply.assign(scanner.data(), static_cast<std::size_t>(scanner.dataSize()));
            return reply.empty() ? VERDA_EXCHANGE_FAILED : VERDA_OK;
        }
        if (verdict == wire::ReplyScanner::Verdict::Nak) {
            ++naksReceived;
            if (logEnabled) logrotate(homeDir + kLogFileName, "NACK");
            wire::pause(kNakPause);
        }
    }
    return VERDA_EXCHANGE_FAILED;
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
