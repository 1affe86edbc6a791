// Receipt lifecycle: opening a receipt or a shift, its parameters, closing and
// cancelling. The device alone knows whether a receipt is open.
#include <string>

#include "device/OperationShape.h"
#include "device/VR35.h"
#include "tools/stdTools.h"
#include "wire/Firmware.h"

namespace {

const int kShiftOpening = 4;  // the receipt type that opens a shift
const std::string::size_type kOperatorTextBytes = 30;
// A tax number this short is not sent at all.
const std::string::size_type kShortestOperInn = 4;

// The request of both openings. A named operator always works through the
// device's operator 30, whatever number and password the caller gave, and the
// name travels as text.
cmd::Request opening(const VR35& device, int& OpCode, std::string& OpPwd, int TillNmb,
                     int ReceiptType, const std::string& Buyer, const std::string& VatSystem,
                     const std::string& OperName, const std::string& OperInn) {
    if (!OperName.empty()) {
        OpCode = 30;
        OpPwd = "30";
    }
    cmd::Request request;
    request.number(OpCode)
        .text(OpPwd)
        .number(TillNmb)
        .number(ReceiptType)
        .text(Buyer)
        .text(VatSystem);
    if (device.shortFieldsFirmware()) return request;
    request.text(fromASCIItoDOS(OperName), kOperatorTextBytes);
    if (OperInn.size() >= kShortestOperInn)
        request.text(fromASCIItoDOS(OperInn), kOperatorTextBytes);
    return request;
}

// The three numbers that follow the result of an opening.
void openingNumbers(cmd::Fields& f, int& first, int& second, int& third) {
    first = f.integer();
    second = f.integer();
    third = f.integer();
}

}  // namespace

bool VR35::shortFieldsFirmware() const {
    return wire::shortReceiptFields(firmwareRevision);
}

int VR35::OpenFiscalInv(int OpCode, std::string OpPwd, int TillNmb, int ReceiptType,
                        std::string Buyer, std::string VatSystem, std::string OperName,
                        std::string OperInn, int& SlipNumber, int& nDoc, int& nShift) {
    SlipNumber = nDoc = nShift = 0;
    const cmd::Request request =
        opening(*this, OpCode, OpPwd, TillNmb, ReceiptType, Buyer, VatSystem, OperName, OperInn);
    return cmd::run(
        *this, "OpenFiscalInv", wire::Command::OpenFiscalInv, request,
        [&](cmd::Fields& f) {
            // OpenShift is the one that reads a shift opening's numbers.
            if (ReceiptType != kShiftOpening) openingNumbers(f, SlipNumber, nDoc, nShift);
        },
        [&](std::ostream& log) {
            log << "OpenFiscalInv(OpCode=" << OpCode << ",OpPwd=" << OpPwd << ",TillNmb=" << TillNmb
                << ",ReceiptType=" << ReceiptType << ",Buyer=" << Buyer
                << ",VatSystem=" << VatSystem << ",OperName=" << OperName << ",OperInn=" << OperInn
                << ",SlipNumber=" << SlipNumber << ",nDoc=" << nDoc << ",nShift=" << nShift << ");";
        });
}

int VR35::OpenShift(int OpCode, std::string OpPwd, int TillNmb, std::string Buyer,
                    std::string VatSystem, std::string OperName, std::string OperInn, int& nFD,
                    int& SignFP, int& nShift) {
    nFD = SignFP = nShift = 0;
    const cmd::Request request =
        opening(*this, OpCode, OpPwd, TillNmb, kShiftOpening, Buyer, VatSystem, OperName, OperInn);
    return cmd::run(
        *this, "OpenShift", wire::Command::OpenFiscalInv, request,
        [&](cmd::Fields& f) { openingNumbers(f, nFD, SignFP, nShift); },
        [&](std::ostream& log) {
            log << "OpenShift(OpCode=" << OpCode << ",OpPwd=" << OpPwd << ",TillNmb=" << TillNmb
                << ",Buyer=" << Buyer << ",VatSystem=" << VatSystem << ",OperName=" << OperName
                << ",OperInn=" << OperInn << ",nFD=" << nFD << ",SignFP=" << SignFP
                << ",nShift=" << nShift << ");";
        });
}

int VR35::CloseFiscalInv(int& SlipNumber, int& nFD, std::string& SignFP, int& nDoc, int& nShift) {
    SlipNumber = 0;
    nFD = 0;
    SignFP.clear();
    nDoc = 0;
    nShift = 0;
    return cmd::run(
        *this, "CloseFiscalInv", wire::Command::CloseFiscalInv, cmd::Request(),
        [&](cmd::Fields& f) {
            SlipNumber = f.integer();
            nFD = f.integer();
            SignFP = f.text();
            // Older devices leave out the last two; an empty field parses to
            // 0 anyway, so they read the same either way.
            nDoc = f.integer();
            nShift = f.integer();
        },
        [&](std::ostream& log) {
            log << "CloseFiscalInv(SlipNumber=" << SlipNumber << ",nFD=" << nFD
                << ",SignFP=" << SignFP << ",nDoc=" << nDoc << ",nShift=" << nShift << ");";
        });
}

int VR35::CancelFiscalInv(int& SlipNumber) {
    SlipNumber = 0;
    return cmd::run(
        *this, "CancelFiscalInv", wire::Command::CancelFiscalInv, cmd::Request(),
        [&](cmd::Fields& f) { SlipNumber = f.integer(); },
        [&](std::ostream& log) { log << "CancelFiscalInv(SlipNumber=" << SlipNumber << ");"; });
}

int VR35::SetFiscalInvParam(int Type, std::string Data) {
    cmd::Request request;
    request.number(Type);
    if (Type == 0)
        request.text(Data, 16);
    else if (Type == 1)
        request.text(Data, 64);
    else
        request.text(fromASCIItoDOS(Data), 128);
    return cmd::run(*this, "SetFiscalInvParam", wire::Command::SetFiscalInvParam, request,
                    cmd::noFields, [&](std::ostream& log) {
                        log << "SetFiscalInvParam(Type=" << Type << ",Data=" << Data << ")";
                    });
}
