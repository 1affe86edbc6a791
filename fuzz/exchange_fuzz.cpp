// Fuzz target: arbitrary bytes as the register's side of a run of exchanges.
// The input's first byte sets the run up (bit 0: the log on, bit 1: a
// firmware with the long article record); then each operation byte picks
// the next operation, whose reads take the records that follow (see
// fuzz/ReplayPort.h), until the input is used up.
//
// The operations cover every way a reply is cut: integers, amounts,
// characters at index 0 and 1, texts with and without code-page conversion,
// long records, and the bare exchange.
//
// The one exception that may leave an operation is std::length_error, for a
// reply whose length field is below the header's size; anything else thrown
// ends the run as a finding, as do the sanitizers' reports.
#include <unistd.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "fuzz/ReplayPort.h"
#include "wire/Pause.h"

namespace {

std::string logDir;

// Every argument an operation may hand back.
struct Outputs {
    int i[6] = {};
    double d[10] = {};
    char c[4] = {};
    std::string s[10];
};

using Operation = std::function<void(ReplayPort&, Outputs&)>;

// The bare exchange: a command and request bytes taken from the input.
void bareExchange(ReplayPort& port, Outputs& o) {
    const unsigned int command = port.take();
    unsigned char request[16];
    const int length = port.take() % sizeof request;
    for (int k = 0; k < length; ++k) request[k] = port.take();
    const int result = vr35->SendPMessage(command, request, length, o.s[0]);
    if (result != 0 && result != 100001) std::abort();
    if (result == 0 && o.s[0].empty()) std::abort();
}

const std::vector<Operation>& operations() {
    static const std::vector<Operation> table = {
        [](ReplayPort& port, Outputs& o) { bareExchange(port, o); },
        [](ReplayPort&, Outputs&) { VERDA::CheckConnection(); },
        // Texts with conversion, and the catalogue behind them.
        [](ReplayPort& port, Outputs& o) {
            VERDA::ReadingError(static_cast<signed char>(port.take()), o.i[0], o.s[0]);
        },
        // Integers.
        [](ReplayPort&, Outputs& o) { VERDA::PrgAndReadArticleI(o.i[0], o.i[1], o.i[2]); },
        [](ReplayPort&, Outputs& o) { VERDA::PrgAndReadArticleX(7, o.i[0]); },
        // The long record: characters at index 1, amounts, converted texts.
        [](ReplayPort&, Outputs& o) {
            VERDA::PrgAndReadArticleR(7, o.c[0], o.i[0], o.i[1], o.c[1], o.d[0], o.d[1], o.d[2],
                                      o.d[3], o.s[0], o.s[1], o.s[2], o.s[3], o.s[4], o.s[5],
                                      o.s[6], o.s[7], o.s[8], o.i[2], o.i[3]);
        },
        // The short record, texts unconverted, the PLU written back.
        [](ReplayPort&, Outputs& o) {
            VERDA::PrgAndReadArticleN(o.i[0], o.c[0], o.i[1], o.i[2], o.c[1], o.d[0], o.d[1],
                                      o.d[2], o.d[3], o.s[0], o.s[1], o.s[2], o.s[3], o.s[4]);
        },
        // Characters at index 0, a long, texts as the device sent them.
        [](ReplayPort&, Outputs& o) {
            VERDA::FiscalTransactionsStatus(o.c[0], o.i[0], o.i[1], o.d[0], o.d[1]);
        },
        [](ReplayPort&, Outputs& o) {
            long number = 0;
            VERDA::GetDepInfoInCheck(2, o.c[0], o.d[0], number, o.d[1], o.s[0]);
        },
        // A first field that is data, and one where empty means -1.
        [](ReplayPort&, Outputs& o) {
            VERDA::ReadDeviceInfo3(o.i[0], o.s[0], o.i[1], o.s[1], o.i[2], o.s[2]);
        },
        [](ReplayPort&, Outputs&) { VERDA::PowerOff(); },
        // The status bits of a reply of its own.
        [](ReplayPort&, Outputs& o) { VERDA::GetStatusFP(o.s[0]); },
        // Several exchanges in one call: the identity the driver keeps.
        [](ReplayPort&, Outputs&) { VERDA::PrinterInit(); },
        // A receipt: a nameless sale reads its department's name first.
        [](ReplayPort&, Outputs& o) {
            VERDA::OpenFiscalInv(1, "0000", 1, 0, "", "", "", "", o.i[0], o.i[1], o.i[2]);
        },
        [](ReplayPort& port, Outputs& o) {
            const std::string name = port.take() % 2 == 0 ? "" : "Хлеб";
            VERDA::RegisterSale(name, '1', 45.5, 1.0, 0, 1, '0', 0.0, 0.0, 45.5, 0, 0, o.i[0]);
        },
        [](ReplayPort&, Outputs& o) {
            VERDA::Subtotal('1', '0', '0', 0.0, o.i[0], o.d[0], o.d[1], o.d[2], o.d[3], o.d[4],
                            o.d[5], o.d[6]);
        },
        [](ReplayPort&, Outputs& o) { VERDA::Total(0, 50.0, '0', o.c[0], o.d[0], o.i[0]); },
        [](ReplayPort&, Outputs& o) {
            VERDA::CloseFiscalInv(o.i[0], o.i[1], o.s[0], o.i[2], o.i[3]);
        },
        // A request with every kind of field; no reply fields.
        [](ReplayPort&, Outputs&) {
            VERDA::PrgAndReadArticleP(7, '1', 1, 2, '0', 12.5, '0', 1.25, "4600000000000", "", "",
                                      "", "Хлеб", "шт", "", "0", "0", 3, 4);
        },
    };
    return table;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The exchange pauses after a SYN, after resynchronising and after a NAK;
    // a replayed line needs no pauses.
    wire::setPause([](unsigned int) {});
    // "REPEAT SEND!" on every repeat would only slow the run down.
    std::cout.setstate(std::ios::badbit);
    char dir[] = "/tmp/verda-fuzz-XXXXXX";
    if (mkdtemp(dir) == nullptr) std::abort();
    logDir = std::string(dir) + "/";
    std::atexit([] {
        std::remove((logDir + "CorteliaVERDA.log").c_str());
        std::remove((logDir + "CorteliaVERDA.log.1").c_str());
        rmdir(logDir.c_str());
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ReplayPort* port = new ReplayPort(data, size);
    VR35 device;
    device.homeDir = logDir;
    device.port = port;  // owned by the driver from here on
    const std::uint8_t setup = port->take();
    device.logEnabled = (setup & 1) != 0;
    device.firmwareRevision = (setup & 2) != 0 ? 944124 : 944123;
    vr35 = &device;

    Outputs outputs;
    try {
        do {
            const auto& table = operations();
            table[port->take() % table.size()](*port, outputs);
            // A result is 0, a positive number or -1; only the device's error
            // -2147483648 (or a number below it) stays negative, having no
            // positive counterpart.
            if (g_ResultCode < -1 && g_ResultCode != INT_MIN) std::abort();
        } while (!port->exhausted());
    } catch (const std::length_error&) {
        // A valid frame shorter than its header: the standard library's own
        // length error, which passes through to the client.
    }
    vr35 = nullptr;
    return 0;
}
