// Fiscal memory and fiscalization: the device's fiscal identity and the
// reports and blocks of its fiscal memory. Texts go both ways as they stand.
#include <ostream>
#include <string>

#include "device/OperationShape.h"
#include "device/VR35.h"

// The inspector's password reaches the log in clear, as service staff expect.
int VR35::Fiscalization(std::string SerialNumber, std::string TAXnumber, std::string REGnumber,
                        std::string InspPssword) {
    return cmd::run(
        *this, "Fiscalization", wire::Command::Fiscalization,
        cmd::Request().text(SerialNumber).text(TAXnumber).text(REGnumber).text(InspPssword),
        cmd::noFields, [&](std::ostream& log) {
            log << "Fiscalization(SerialNumber=" << SerialNumber << ",TAXnumber=" << TAXnumber
                << ",REGnumber=" << REGnumber << ",InspPssword=" << InspPssword << ");";
        });
}

int VR35::SetTAXNumber(std::string TAXnumber) {
    return cmd::run(*this, "SetTAXNumber", wire::Command::SetTAXNumber,
                    cmd::Request().text(TAXnumber), cmd::noFields, cmd::Plain{"SetTAXNumber"});
}

int VR35::GetTAXNumber(std::string& TAXnumber) {
    return cmd::run(
        *this, "GetTAXNumber", wire::Command::GetTAXNumber, cmd::Request(),
        [&](cmd::Fields& f) { TAXnumber = f.text(); }, cmd::Plain{"GetTAXNumber"});
}

int VR35::SetManufacturersSerialNumber(std::string Serial, std::string& ReplyText) {
    return cmd::run(
        *this, "SetManufacturersSerialNumber", wire::Command::SetManufacturersSerialNumber,
        cmd::Request().text(Serial), [&](cmd::Fields& f) { ReplyText = f.text(); },
        [&](std::ostream& log) {
            log << "SetManufacturersSerialNumber(Serial=" << Serial << ");";
        });
}

int VR35::FiscalReportByDate(char Type, std::string DateFrom, std::string DateTo,
                             std::string& TextData) {
    return cmd::run(
        *this, "FiscalReportByDate", wire::Command::FiscalReportByDate,
        cmd::Request().byte(Type).text(DateFrom).text(DateTo),
        [&](cmd::Fields& f) { TextData = f.text(); }, cmd::Plain{"FiscalReportByDate"});
}

int VR35::FiscalReportByNumber(char Type, int From, int To, std::string& TextData) {
    // A negative bound sends the type alone: neither number goes out.
    cmd::Request request;
    request.byte(Type);
    if (From >= 0 && To >= 0) request.number(From).number(To);
    return cmd::run(
        *this, "FiscalReportByNumber", wire::Command::FiscalReportByNumber, request,
        [&](cmd::Fields& f) { TextData = f.text(); },
        [&](std::ostream& log) {
            log << "FiscalReportByNumber(Type=" << Type << ",TextData=" << TextData << ");";
        });
}

// Shares 0x70 with ReportByOperators: the literal "0" and two numbers, which
// go out as written, negative ones too.
int VR35::ReadFiscalMemoryBlock(int From, int To, std::string& Block) {
    return cmd::run(
        *this, "ReadFiscalMemoryBlock", wire::Command::ReportByOperators,
        cmd::Request().text("0").number(From).number(To), [&](cmd::Fields& f) { Block = f.text(); },
        cmd::Plain{"ReadFiscalMemoryBlock"});
}

int VR35::TestFiscalMemory(char Write, int& Records) {
    Records = 0;
    return cmd::run(
        *this, "TestFiscalMemory", wire::Command::TestFiscalMemory, cmd::Request().byte(Write),
        [&](cmd::Fields& f) { Records = f.integer(); },
        [&](std::ostream& log) {
            // The blanks around "=" are this line's own.
            log << "TestFiscalMemory(Write = " << Write << ", Records = " << Records << ");";
        });
}

int VR35::FreeFieldsByFiscalMemory(int& FreeFields) {
    return cmd::run(
        *this, "FreeFieldsByFiscalMemory", wire::Command::FreeFieldsByFiscalMemory, cmd::Request(),
        [&](cmd::Fields& f) { FreeFields = f.integer(); }, cmd::Plain{"FreeFieldsByFiscalMemory"});
}

int VR35::DateOfLastEntryByFiscalMemory(std::string& EntryDate) {
    return cmd::run(
        *this, "DateOfLastEntryByFiscalMemory", wire::Command::DateOfLastEntryByFiscalMemory,
        cmd::Request(), [&](cmd::Fields& f) { EntryDate = f.text(); },
        cmd::Plain{"DateOfLastEntryByFiscalMemory"});
}
