// The status picture, the device's identity, parameters and printer
// initialisation.
#include <gtest/gtest.h>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/TestLog.h"

using testing_device::reply;
using testing_device::Request;

namespace {

class DeviceInfo : public DriverTest {
  protected:
    void next(const std::string& data) {
        device->then([data](const Request& request) { return reply(request, data); });
    }
    const std::string diagnostic = "0\tVR\x80\t944123\t01.01.26\t12:00\tCS\tsw\tN42\t";
};

TEST_P(DeviceInfo, StatusPictureRunsFromBitSevenOfEachByte) {
    const std::pair<std::string, std::string> cases[] = {
        {"\x80\x01", "1000000000000001"},
        {std::string(6, '\xFF') + std::string(2, '\0'), std::string(48, '1')},  // 6 bytes at most
        {"", ""},
        {"\x01\x09\x02", "00000001"},  // a tab byte ends the field
    };
    for (const auto& c : cases) {
        device->replyAlways("0\t" + c.first + "\t");
        std::string bits = "keep";
        EXPECT_TRUE(VERDA::GetStatusFP(bits));
        EXPECT_EQ(bits, c.second);
        EXPECT_EQ(log().back(), "GetStatusFP(StatusBytes=" + c.second + ");");
    }
    EXPECT_EQ(sent().back(), Sent(0x4A, ""));
}

TEST_P(DeviceInfo, DiagnosticInfoRefreshesTheDriverOnlyOnSuccess) {
    next(diagnostic);
    next("-2\tOther\t1\t");
    std::string name, rev, date, time, sum, sw, number;
    EXPECT_TRUE(VERDA::DiagnosticInfo(name, rev, date, time, sum, sw, number));
    EXPECT_EQ(name, "VR\x90");  // converted; nothing else is
    EXPECT_EQ(rev + date + time + sum + sw + number, "94412301.01.2612:00CSswN42");
    EXPECT_EQ(sent(), (std::vector<Sent>{{0x5A, "\t"}}));
    EXPECT_EQ(log().back(),
              "DiagnosticInfo(Name=VR\x90,FwRev=944123,FwDate=01.01.26,FwTime=12:00,Checksum=CS,"
              "Sw=sw,DevNumber=N42);");
    EXPECT_FALSE(VERDA::DiagnosticInfo(name, rev, date, time, sum, sw, number));
    EXPECT_EQ(vr35->model, "VR\x90");
    EXPECT_EQ(vr35->firmwareRevision, 944123);
    EXPECT_EQ(vr35->deviceNumber, "N42");
    EXPECT_EQ(vr35->GetLineLength(), 32);
}

TEST_P(DeviceInfo, ProgrammingReadsIntoAnEmptyValueAndWritesAnyOther) {
    next("0\t\x8A\xA0\t");
    next("0\tignored\t");
    next("0\t");
    std::string value;
    EXPECT_TRUE(VERDA::Programming("Dept_name", "4", value));
    EXPECT_EQ(value, "\x9A\xB0");  // the letters' second UTF-8 bytes
    std::string written = "\xCA\t1";
    EXPECT_TRUE(VERDA::Programming("Dept_name", "4", written));
    EXPECT_EQ(written, "\xCA\t1");
    std::string empty;
    EXPECT_TRUE(VERDA::Programming("X", "", empty));
    EXPECT_EQ(empty, "");
    EXPECT_EQ(sent(), (std::vector<Sent>{{0xFF, "Dept_name\t4\t\t"},
                                                        {0xFF, "Dept_name\t4\t\x8A?1\t"},
                                                        {0xFF, "X\t\t\t"}}));
    EXPECT_EQ(log()[1], "Programming(Name=Dept_name,Index=4,read Value=\x9A\xB0);");
    EXPECT_EQ(log()[3], "Programming(Name=Dept_name,Index=4,write Value=\xCA\t1);");
}

TEST_P(DeviceInfo, TaxInspectorPasswordIsMaskedInTheLogOnly) {
    device->replyAlways("0\tsecret\t");
    std::string value;
    EXPECT_TRUE(VERDA::Programming("TaxInspPass", "0", value));
    std::string password = "1234";
    device->replyAlways("-9\t");
    EXPECT_FALSE(VERDA::Programming("TaxInspPass", "1", password));
    EXPECT_EQ(sent().back(), Sent(0xFF, "TaxInspPass\t1\t1234\t"));
    EXPECT_EQ(log(), (std::vector<std::string>{
                         "Start Programming();", "Programming(Name=XXXX,Index=0,readValue=XXXX);",
                         "Start Programming();",
                         "Programming(Name=XXXX,Index=1,writeValue=XXXX); ErrorCode: 9"}));
}

TEST_P(DeviceInfo, EmptyFirstFieldIsMinusOneForUploadsAndPower) {
    device->replyAlways("\tanswer\t");
    std::string answer = "keep";
    EXPECT_FALSE(VERDA::UploadImage("img", answer));
    EXPECT_EQ(g_ResultCode, -1);
    EXPECT_FALSE(VERDA::UploadStamp("stamp", answer));
    EXPECT_FALSE(VERDA::PowerOff());
    EXPECT_FALSE(VERDA::Restart());
    EXPECT_EQ(g_ResultCode, -1);
    EXPECT_EQ(answer, "keep");
    EXPECT_EQ(log()[7], "PowerOff(); ErrorCode: -1");
    // Elsewhere an empty first field parses to 0: success, nothing read.
    std::string dateTime = "keep";
    EXPECT_TRUE(VERDA::GetDateTime(dateTime));
    EXPECT_EQ(dateTime, "keep");
}

TEST_P(DeviceInfo, FreeTextLineIsWiderOnlyOnTheWideModel) {
    device->replyAlways("0\t");
    vr35->model = "ВЕРДА 700V-Ф";
    EXPECT_TRUE(VERDA::PrintFreeTextInFiscalInv(std::string(60, 'w'), 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(sent().back().second.find('\t'), 48u);
}

TEST_P(DeviceInfo, PrinterInitReadsDecimalPlacesThenTheIdentity) {
    next("0\t258\t");
    next(diagnostic);
    EXPECT_TRUE(VERDA::PrinterInit());
    EXPECT_EQ(vr35->decimalPlaces, 2);  // the low byte of 258
    EXPECT_EQ(vr35->firmwareRevision, 944123);
    EXPECT_EQ(sent(),
              (std::vector<Sent>{{0xFF, "DecimalPoint\t0\t\t"}, {0x5A, "\t"}}));

    next("0\tx\t");  // does not parse: 0, and the identity is still read
    next("-4\t");
    EXPECT_FALSE(VERDA::PrinterInit());
    EXPECT_EQ(g_ResultCode, 4);
    EXPECT_EQ(vr35->decimalPlaces, 0);
    EXPECT_EQ(vr35->model, "VR\x90");

    next("");  // a failed read stops it
    EXPECT_FALSE(VERDA::PrinterInit());
    EXPECT_EQ(g_ResultCode, 100001);
    EXPECT_EQ(sent().size(), 5u);
}

VERDA_BOTH_TRANSPORTS(DeviceInfo);

}  // namespace
