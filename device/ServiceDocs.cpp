// Service documents and printing: non-fiscal documents, bar codes, lines,
// stamps, duplicates and the paper.
#include <ostream>
#include <string>

#include "device/OperationShape.h"
#include "device/PrintText.h"
#include "device/VR35.h"

// SlipNumber stays 0 unless the device accepts.
int VR35::OpenServiceInv(char Extend, int& SlipNumber) {
    SlipNumber = 0;
    // Only "0" and "1" are sent; any other byte gives an empty request.
    cmd::Request request;
    if (Extend == '0' || Extend == '1') request.byte(Extend);
    return cmd::run(
        *this, "OpenServiceInv", wire::Command::OpenServiceInv, request,
        [&](cmd::Fields& f) { SlipNumber = f.integer(); },
        [&](std::ostream& log) {
            log << "OpenServiceInv(Extend=" << Extend << ",SlipNumber=" << SlipNumber << ")";
        });
}

int VR35::CloseServiceInv(int& SlipNumber) {
    SlipNumber = 0;
    return cmd::run(
        *this, "CloseServiceInv", wire::Command::CloseServiceInv, cmd::Request(),
        [&](cmd::Fields& f) { SlipNumber = f.integer(); },
        [&](std::ostream& log) { log << "CloseServiceInv(SlipNumber=" << SlipNumber << ")"; });
}

int VR35::PrintFreeTextInServiceInv(std::string Text, char Bold, char Italic, char DoubleH,
                                    char Underline, char alignment, char Extra) {
    return cmd::run(
        *this, "PrintFreeTextInServiceInv", wire::Command::PrintFreeTextInServiceInv,
        cmd::printTextRequest(model, Text, Bold, Italic, DoubleH, Underline, alignment, Extra),
        cmd::noFields, [&](std::ostream& log) {
            // The text as the caller gave it; Extra is not shown.
            log << "PrintFreeTextInServiceInv(Text=" << Text << ",Bold=" << Bold
                << ",Italic=" << Italic << ",DoubleH=" << DoubleH << ",Underline=" << Underline
                << ",alignment=" << alignment << ")";
        });
}

int VR35::PrintBarCode(char Type, std::string Data, int Option) {
    cmd::Request request;
    request.byte(Type).text(Data);
    if (Option > 0) request.number(Option);
    return cmd::run(*this, "PrintBarCode", wire::Command::PrintBarCode, request, cmd::noFields,
                    cmd::Plain{"PrintBarCode"});
}

int VR35::PrintDivideLine(char Type) {
    return cmd::run(*this, "PrintDivideLine", wire::Command::PrintDivideLine,
                    cmd::Request().byte(Type), cmd::noFields, cmd::Plain{"PrintDivideLine"});
}

int VR35::PrintStamp(char Type, std::string Data) {
    return cmd::run(*this, "PrintStamp", wire::Command::PrintStamp,
                    cmd::Request().byte(Type).text(Data), cmd::noFields, cmd::Plain{"PrintStamp"},
                    cmd::FirstField::EmptyIsMinusOne);
}

int VR35::PrintDublicateReceipt() {
    return cmd::run(*this, "PrintDublicateReceipt", wire::Command::PrintDublicateReceipt,
                    cmd::Request(), cmd::noFields, cmd::Plain{"PrintDublicateReceipt"});
}

int VR35::CutPaper() {
    return cmd::run(*this, "CutPaper", wire::Command::CutPaper, cmd::Request(), cmd::noFields,
                    cmd::Plain{"CutPaper"});
}

int VR35::FeedPaper(int count) {
    return cmd::run(*this, "FeedPaper", wire::Command::FeedPaper, cmd::Request().number(count),
                    cmd::noFields,
                    [&](std::ostream& log) { log << "FeedPaper(count=" << count << ");"; });
}
