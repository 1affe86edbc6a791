// Status and device information: what state the register is in and what it is.
#include <string>

#include "device/OperationShape.h"
#include "device/VR35.h"
#include "tools/stdTools.h"

namespace {

// Status bytes beyond this many are not pictured.
const std::string::size_type kStatusPictureBytes = 6;

// ReadDeviceInfo1 and 2: five text fields, the first one included.
int readDeviceInfo(VR35& device, const char* name, const char* subCode, std::string& Field1,
                   std::string& Field2, std::string& Field3, std::string& Field4,
                   std::string& Field5) {
    return cmd::run(
        device, name, wire::Command::ReadDeviceInfo, cmd::Request().text(subCode),
        [&](cmd::Fields& f) {
            Field1 = f.text();
            Field2 = f.text();
            Field3 = f.text();
            Field4 = f.text();
            Field5 = f.text();
        },
        cmd::Plain{name}, cmd::FirstField::NotTested);
}

}  // namespace

// Whether the register answers: no data out, nothing but the result back.
int VR35::CheckConnection() {
    return cmd::run(*this, "CheckConnection", wire::Command::CheckConnection, cmd::Request(),
                    cmd::noFields, cmd::Plain{"CheckConnection"});
}

int VR35::GetStatusFP(std::string& StatusBytes) {
    return cmd::run(
        *this, "GetStatusFP", wire::Command::GetStatusFP, cmd::Request(),
        [&](cmd::Fields& f) {
            const std::string field = f.text();
            StatusBytes.clear();
            // Byte by byte, each from bit 7 down to bit 0.
            for (std::string::size_type i = 0; i < field.size() && i < kStatusPictureBytes; ++i)
                for (int bit = 7; bit >= 0; --bit)
                    StatusBytes += getBitVal(static_cast<unsigned char>(field[i]),
                                             static_cast<unsigned char>(bit))
                                       ? '1'
                                       : '0';
        },
        [&](std::ostream& log) { log << "GetStatusFP(StatusBytes=" << StatusBytes << ");"; });
}

int VR35::GetStatusShift(bool& ShiftIsOpen, bool& Shift24h, int& ShiftTime) {
    return cmd::run(
        *this, "GetStatusShift", wire::Command::GetStatusShift, cmd::Request(),
        [&](cmd::Fields& f) {
            ShiftIsOpen = f.flag();
            Shift24h = f.flag();
            ShiftTime = f.integer();
        },
        [&](std::ostream& log) {
            log << "GetStatusShift(ShiftIsOpen=" << (ShiftIsOpen ? 1 : 0)
                << ",Shift24h=" << (Shift24h ? 1 : 0) << ",ShiftTime=" << ShiftTime << ");";
        });
}

int VR35::FiscalTransactionsStatus(char& IsOpen, int& Number, int& Items, double& Amount,
                                   double& Paid) {
    IsOpen = '\0';
    Number = 0;
    Items = 0;
    Amount = 0.0;
    Paid = 0.0;
    return cmd::run(
        *this, "FiscalTransactionsStatus", wire::Command::FiscalTransactionsStatus, cmd::Request(),
        [&](cmd::Fields& f) {
            IsOpen = f.character(0);
            Number = f.integer();
            Items = f.integer();
            Amount = f.amount();
            Paid = f.amount();
        },
        [&](std::ostream& log) {
            log << "FiscalTransactionsStatus(IsOpen=" << IsOpen << ",Number=" << Number
                << ",Items=" << Items << ",Amount=" << Amount << ",Paid=" << Paid << ");";
        });
}

int VR35::InfoByCurrentInv(double& Value1, double& Value2, double& Value3, double& Value4,
                           double& Value5, double& Value6) {
    Value1 = Value2 = Value3 = Value4 = Value5 = Value6 = 0.0;
    return cmd::run(
        *this, "InfoByCurrentInv", wire::Command::InfoByCurrentInv, cmd::Request(),
        [&](cmd::Fields& f) {
            Value1 = f.amount();
            Value2 = f.amount();
            Value3 = f.amount();
            Value4 = f.amount();
            Value5 = f.amount();
            Value6 = f.amount();
        },
        cmd::Plain{"InfoByCurrentInv"});
}

int VR35::GetDateTime(std::string& DateTime) {
    return cmd::run(
        *this, "GetDateTime", wire::Command::GetDateTime, cmd::Request(),
        [&](cmd::Fields& f) { DateTime = f.text(); },
        [&](std::ostream& log) { log << "GetDateTime(DateTime=" << DateTime << ");"; });
}

int VR35::SetDateTime(std::string DateTime) {
    return cmd::run(*this, "SetDateTime", wire::Command::SetDateTime, cmd::Request().text(DateTime),
                    cmd::noFields,
                    [&](std::ostream& log) { log << "SetDateTime(DateTime=" << DateTime << ");"; });
}

int VR35::DiagnosticInfo(std::string& Name, std::string& FwRev, std::string& FwDate,
                         std::string& FwTime, std::string& Checksum, std::string& Sw,
                         std::string& DevNumber) {
    return cmd::run(
        *this, "DiagnosticInfo", wire::Command::DiagnosticInfo, cmd::Request().empty(),
        [&](cmd::Fields& f) {
            Name = fromDOStoASCII(f.text());
            FwRev = f.text();
            FwDate = f.text();
            FwTime = f.text();
            Checksum = f.text();
            Sw = f.text();
            DevNumber = f.text();
            // What the driver itself keeps about the device.
            model = Name;
            firmwareRevision = StdStrToInt(FwRev, false);
            deviceNumber = DevNumber;
        },
        [&](std::ostream& log) {
            log << "DiagnosticInfo(Name=" << Name << ",FwRev=" << FwRev << ",FwDate=" << FwDate
                << ",FwTime=" << FwTime << ",Checksum=" << Checksum << ",Sw=" << Sw
                << ",DevNumber=" << DevNumber << ");";
        });
}

int VR35::ReadDeviceInfo1(std::string& Field1, std::string& Field2, std::string& Field3,
                          std::string& Field4, std::string& Field5) {
    return readDeviceInfo(*this, "ReadDeviceInfo1", "1", Field1, Field2, Field3, Field4, Field5);
}

int VR35::ReadDeviceInfo2(std::string& Field1, std::string& Field2, std::string& Field3,
                          std::string& Field4, std::string& Field5) {
    return readDeviceInfo(*this, "ReadDeviceInfo2", "2", Field1, Field2, Field3, Field4, Field5);
}

int VR35::ReadDeviceInfo3(int& Field1, std::string& Field2, int& Field3, std::string& Field4,
                          int& Field5, std::string& Field6) {
    return cmd::run(
        *this, "ReadDeviceInfo3", wire::Command::ReadDeviceInfo, cmd::Request().text("3"),
        [&](cmd::Fields& f) {
            Field1 = f.integer();
            Field2 = f.text();
            Field3 = f.integer();
            Field4 = f.text();
            Field5 = f.integer();
            Field6 = f.text();
        },
        cmd::Plain{"ReadDeviceInfo3"}, cmd::FirstField::NotTested);
}

int VR35::PrintDiagnostic(char InfoType) {
    return cmd::run(*this, "PrintDiagnostic", wire::Command::PrintDiagnostic,
                    cmd::Request().byte(InfoType), cmd::noFields, [&](std::ostream& log) {
                        log << "PrintDiagnostic(InfoType=" << InfoType << ");";
                    });
}
