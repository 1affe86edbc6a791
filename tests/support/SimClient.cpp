#include "support/SimClient.h"

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"

void SimClient::SetUp() {
    SimTest::SetUp();
    if (HasFatalFailure()) return;
    ASSERT_TRUE(VERDA::PrinterInit()) << g_ResultCode;
}

void SimClient::openShift() {
    int nFD = 0, sign = 0, shift = 0;
    ASSERT_TRUE(VERDA::OpenShift(1, "1", 1, "", "", "", "", nFD, sign, shift)) << g_ResultCode;
}

int SimClient::openReceipt(int type) {
    int slip = 0, doc = 0, shift = 0;
    EXPECT_TRUE(VERDA::OpenFiscalInv(1, "1", 1, type, "", "", "", "", slip, doc, shift))
        << g_ResultCode;
    return slip;
}

void SimClient::sell(const std::string& name, char tax, double price, double quantity,
                     char discountType, double discountValue) {
    int slip = 0;
    EXPECT_TRUE(VERDA::RegisterSale(cp1251(name), tax, price, quantity, 0, 1, discountType,
                                    discountValue, 0, 0, 0, 0, slip))
        << name << ": " << g_ResultCode;
}

std::pair<char, double> SimClient::pay(int mode, double amount, char change) {
    char status = 0;
    double rest = -1;
    int slip = 0;
    EXPECT_TRUE(VERDA::Total(static_cast<char>(mode), amount, change, status, rest, slip))
        << g_ResultCode;
    return {status, rest};
}

int SimClient::closeReceipt() {
    int slip = 0, nFD = 0, doc = 0, shift = 0;
    std::string sign;
    EXPECT_TRUE(VERDA::CloseFiscalInv(slip, nFD, sign, doc, shift)) << g_ResultCode;
    return nFD;
}

bool SimClient::report(char type, Report& out) {
    int nFD = 0, sign = 0;
    out.sums.assign(24, -1);
    double* s = &out.sums[0];
    return VERDA::PrintReport(type, out.number, nFD, sign, s[0], s[1], s[2], s[3], s[4], s[5], s[6],
                              s[7], s[8], s[9], s[10], s[11], s[12], s[13], s[14], s[15], s[16],
                              s[17], s[18], s[19], s[20], s[21], s[22], s[23]);
}

void moderateFaults(sim::Options& o) {
    o.faults.nak = 0.08;
    o.faults.drop = 0.08;
    o.faults.crc = 0.08;
    o.faults.noise = 0.2;
    o.faults.split = 0.2;
    o.faults.syn = 0.3;
    o.faults.delay = 0.1;
    o.faults.delayMs = 20;  // below the driver's patience of ten reads
    o.seed = 2024;
}

std::string cp1251(const std::string& utf8) {
    std::string out;
    for (std::string::size_type i = 0; i < utf8.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(utf8[i]);
        if ((c == 0xD0 || c == 0xD1) && i + 1 < utf8.size()) {
            // U+0410 to U+044F sit at 0xC0 to 0xFF in CP1251, Ё and ё apart.
            const unsigned int point = ((c & 0x1Fu) << 6) | (utf8[++i] & 0x3Fu);
            if (point == 0x401)
                out += '\xA8';
            else if (point == 0x451)
                out += '\xB8';
            else
                out += static_cast<char>(point - 0x410 + 0xC0);
        } else {
            out += static_cast<char>(c);
        }
    }
    return out;
}

std::string secondBytes(const std::string& utf8) {
    std::string out;
    for (char c : utf8)
        if (c != '\xD0' && c != '\xD1') out += c;
    return out;
}
