// Electronic journal: a search by date and the four sub-codes of command
// 0x7D. Nothing is cleared and no value is logged.
#include <string>

#include "device/OperationShape.h"
#include "device/VR35.h"
#include "tools/stdTools.h"

int VR35::GetDocInEJByDate(std::string DateFrom, std::string DateTo, char Type, std::string& Text1,
                           std::string& Text2, int& Number1, int& Number2) {
    return cmd::run(
        *this, "GetDocInEJByDate", wire::Command::GetDocInEJByDate,
        cmd::Request().text(DateFrom).text(DateTo).byte(Type),
        [&](cmd::Fields& f) {
            Text1 = f.text();
            Text2 = f.text();
            Number1 = f.integer();
            Number2 = f.integer();
        },
        cmd::Plain{"GetDocInEJByDate"});
}

int VR35::GetInfoFromEJ0(int Number, char Type, int& Value1, int& Value2, std::string& Text,
                         char& Flag, int& Value3) {
    return cmd::run(
        *this, "GetInfoFromEJ0", wire::Command::GetInfoFromEJ,
        cmd::Request().text("0").number(Number).byte(Type),
        [&](cmd::Fields& f) {
            Value1 = f.integer();
            Value2 = f.integer();
            Text = f.text();
            Flag = f.character(0);  // an empty field gives byte 0
            Value3 = f.integer();
        },
        cmd::Plain{"GetInfoFromEJ0"});
}

// Sub-codes 1 and 2 answer alike; only the text of 1 is turned into the
// application's code page.
int VR35::GetInfoFromEJ1(std::string& Text) {
    return cmd::run(
        *this, "GetInfoFromEJ1", wire::Command::GetInfoFromEJ, cmd::Request().text("1"),
        [&](cmd::Fields& f) { Text = fromDOStoASCII(f.text()); }, cmd::Plain{"GetInfoFromEJ1"});
}

int VR35::GetInfoFromEJ2(std::string& Text) {
    return cmd::run(
        *this, "GetInfoFromEJ2", wire::Command::GetInfoFromEJ, cmd::Request().text("2"),
        [&](cmd::Fields& f) { Text = f.text(); }, cmd::Plain{"GetInfoFromEJ2"});
}

int VR35::GetInfoFromEJ3(int Number, char Type) {
    return cmd::run(*this, "GetInfoFromEJ3", wire::Command::GetInfoFromEJ,
                    cmd::Request().text("3").number(Number).byte(Type), cmd::noFields,
                    cmd::Plain{"GetInfoFromEJ3"});
}
