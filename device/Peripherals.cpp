// Peripherals: the customer display, the cash drawer and the buzzer. Display
// text goes out as the caller's bytes, with no code page and no length limit.
#include <ostream>
#include <string>

#include "device/OperationShape.h"
#include "device/VR35.h"

int VR35::DisplayLower(std::string Text) {
    return cmd::run(*this, "DisplayLower", wire::Command::DisplayLower, cmd::Request().text(Text),
                    cmd::noFields,
                    [&](std::ostream& log) { log << "DisplayLower(Text=" << Text << ")"; });
}

int VR35::DisplayUpper(std::string Text) {
    return cmd::run(*this, "DisplayUpper", wire::Command::DisplayUpper, cmd::Request().text(Text),
                    cmd::noFields,
                    [&](std::ostream& log) { log << "DisplayUpper(Text=" << Text << ");"; });
}

int VR35::DisplayClear() {
    // The start line has always named GetDateTime; log readers rely on the pair.
    return cmd::run(*this, "GetDateTime", wire::Command::DisplayClear, cmd::Request(),
                    cmd::noFields, [](std::ostream& log) { log << "DisplayClear()"; });
}

int VR35::OpenCashDrawer(int Value) {
    // 0 or below: an empty field, so the request is the single tab.
    cmd::Request request;
    if (Value > 0)
        request.number(Value);
    else
        request.empty();
    return cmd::run(*this, "OpenCashDrawer", wire::Command::OpenCashDrawer, request, cmd::noFields,
                    cmd::Plain{"OpenCashDrawer"});
}

int VR35::Beep(int Hz, int mSec) {
    return cmd::run(
        *this, "Beep", wire::Command::Beep, cmd::Request().number(Hz).number(mSec), cmd::noFields,
        [&](std::ostream& log) { log << "Beep(Hz=" << Hz << ",mSec=" << mSec << ");"; });
}
