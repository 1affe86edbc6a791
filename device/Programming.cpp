// Device programming: named parameters, service settings, tax rates, images,
// power, and the trading group and department queries.
#include <string>

#include "device/OperationShape.h"
#include "device/VR35.h"
#include "tools/stdTools.h"

namespace {

// The power requests share the image upload's command; the device tells them
// apart by the text of the one field.

// The one field of a power request; the answer carries nothing more.
int power(VR35& device, const char* request) {
    // Restart logs exactly as PowerOff does.
    return cmd::run(device, "PowerOff", wire::Command::UploadImage, cmd::Request().text(request),
                    cmd::noFields, cmd::Plain{"PowerOff"}, cmd::FirstField::EmptyIsMinusOne);
}

// An upload of one whole text in one frame; the device's answer goes to Answer.
int upload(VR35& device, const char* name, wire::Command command, const std::string& content,
           std::string& Answer) {
    return cmd::run(
        device, name, command, cmd::Request().text(content),
        [&](cmd::Fields& f) { Answer = f.text(); }, cmd::Plain{name},
        cmd::FirstField::EmptyIsMinusOne);
}

}  // namespace

int VR35::Programming(std::string Name, std::string Index, std::string& Value) {
    const bool read = Value.empty();
    return cmd::run(
        *this, "Programming", wire::Command::Programming,
        cmd::Request().text(Name).text(Index).text(fromASCIItoDOS(Value)),
        [&](cmd::Fields& f) {
            if (read) Value = fromDOStoASCII(f.text());
        },
        [&](std::ostream& log) {
            const char* direction = read ? "read" : "write";
            // The tax inspector's password never reaches the log.
            if (Name == "TaxInspPass")
                log << "Programming(Name=XXXX,Index=" << Index << "," << direction
                    << "Value=XXXX);";
            else
                log << "Programming(Name=" << Name << ",Index=" << Index << "," << direction
                    << " Value=" << Value << ");";
        });
}

int VR35::SetServiceParam(std::string Type, std::string Value, std::string Param3,
                          std::string& Code, std::string& Answer) {
    return cmd::run(
        *this, "SetServiceParam", wire::Command::SetServiceParam,
        cmd::Request().text(Type).text(Value).text(Param3),
        [&](cmd::Fields& f) {
            Code = f.text();
            Answer = f.text();
        },
        [&](std::ostream& log) {
            log << "SetServiceParam(Type=" << Type << ",Value=" << Value << ",Code=" << Code
                << ",Answer=" << Answer << ");";
        });
}

int VR35::SetTaxRates(double Tax1, double Tax2, double Tax3, double Tax4, double Tax5, double Tax6,
                      char Point, int& RemainingChanges) {
    RemainingChanges = 0;
    return cmd::run(
        *this, "SetTaxRates", wire::Command::SetTaxRates,
        cmd::Request()
            .amount(Tax1, 2)
            .amount(Tax2, 2)
            .amount(Tax3, 2)
            .amount(Tax4, 2)
            .amount(Tax5, 2)
            .amount(Tax6, 2)
            .byte(Point),
        [&](cmd::Fields& f) { RemainingChanges = f.integer(); },
        [&](std::ostream& log) {
            log << "SetTaxRates(Tax1=" << Tax1 << ", Tax2=" << Tax2 << ", Tax3=" << Tax3
                << ", Tax4=" << Tax4 << ", Tax5=" << Tax5 << ", Tax6=" << Tax6 << ", Point='"
                << Point << "' (" << static_cast<int>(static_cast<signed char>(Point))
                << "), RemainingChanges=" << RemainingChanges << ");";
        });
}

int VR35::SetOperatorPassword(std::string OperField1, std::string OperField2,
                              std::string OperField3) {
    // None of the three reaches the log: they hold the password.
    return cmd::run(*this, "SetOperatorPassword", wire::Command::SetOperatorPassword,
                    cmd::Request().text(OperField1).text(OperField2).text(OperField3),
                    cmd::noFields, cmd::Plain{"SetOperatorPassword"});
}

int VR35::UploadImage(std::string Image, std::string& Answer) {
    return upload(*this, "UploadImage", wire::Command::UploadImage, Image, Answer);
}

int VR35::UploadStamp(std::string Stamp, std::string& Answer) {
    return upload(*this, "UploadStamp", wire::Command::UploadStamp, Stamp, Answer);
}

int VR35::PowerOff() {
    return power(*this, "POWEROFF");
}

int VR35::Restart() {
    return power(*this, "RESTART");
}

int VR35::CheckUpdate() {
    return cmd::run(*this, "CheckUpdate", wire::Command::CheckUpdate, cmd::Request(), cmd::noFields,
                    cmd::Plain{"CheckUpdate"});
}

int VR35::GetTradingGroupInfo(int Group, int& GroupNumber, double& GroupAmount,
                              std::string& GroupText) {
    return cmd::run(
        *this, "GetTradingGroupInfo", wire::Command::GetTradingGroupInfo,
        cmd::Request().number(Group),
        [&](cmd::Fields& f) {
            GroupNumber = f.integer();
            GroupAmount = f.amount();
            GroupText = f.text();  // device bytes, not converted
        },
        cmd::Plain{"GetTradingGroupInfo"});
}

int VR35::GetDepInfoInCheck(int Dep, char& DepChar, double& DepAmount1, long& DepNumber,
                            double& DepAmount2, std::string& DepText) {
    return cmd::run(
        *this, "GetDepInfoInCheck", wire::Command::GetDepInfoInCheck, cmd::Request().number(Dep),
        [&](cmd::Fields& f) {
            DepChar = f.character(0);
            DepAmount1 = f.amount();
            DepNumber = f.integer();
            DepAmount2 = f.amount();
            DepText = f.text();  // device bytes, not converted
        },
        cmd::Plain{"GetDepInfoInCheck"});
}
