// The article database: requests, the record's reply, the firmware threshold
// and the walks.
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/TestLog.h"

namespace {

// Every output of a record, preset to values no reply below produces.
struct Record {
    int PLU = 5;
    char TaxGr = '?';
    int Dep = -1, Group = -1;
    char PriceType = '?';
    double Price = -1, Value1 = -1, Value2 = -1, Value3 = -1;
    std::string Bar1 = "?", Bar2 = "?", Bar3 = "?", Bar4 = "?", Name = "?";
    std::string Units = "?", Id1C = "?", IsWeight = "?", Service = "?";
    int Extra1 = -1, Extra2 = -1;

    auto tie() const {
        return std::tie(PLU, TaxGr, Dep, Group, PriceType, Price, Value1, Value2, Value3, Bar1,
                        Bar2, Bar3, Bar4, Name, Units, Id1C, IsWeight, Service, Extra1, Extra2);
    }
};

// A record as the register sends it: characters in second place, the name
// "Кон" in its code page, then the six fields of newer firmware ("кг").
const std::string kRecordReply =
    "0\t42\t A\t3\t4\t B\t12.50\t1.5\t2.25\t-3\tb1\tb2\t\tb4\t\x8A\xAE\xAD\t"
    "\xAA\xA3\t1C-7\t1\t0\t5\t-6\t";
// What the short outputs receive from it; PLU is still the caller's.
const Record kShortRecord{5,    'A', 3,    4,    'B', 12.5, 1.5,
                          2.25, -3,  "b1", "b2", "",  "b4", "\x8A\xAE\xAD"};

bool callR(Record& r) {
    return VERDA::PrgAndReadArticleR(r.PLU, r.TaxGr, r.Dep, r.Group, r.PriceType, r.Price, r.Value1,
                                     r.Value2, r.Value3, r.Bar1, r.Bar2, r.Bar3, r.Bar4, r.Name,
                                     r.Units, r.Id1C, r.IsWeight, r.Service, r.Extra1, r.Extra2);
}

template <auto Walk>
bool callWalk(Record& r) {
    return Walk(r.PLU, r.TaxGr, r.Dep, r.Group, r.PriceType, r.Price, r.Value1, r.Value2, r.Value3,
                r.Bar1, r.Bar2, r.Bar3, r.Bar4, r.Name);
}

std::vector<std::string> startAndEnd(const std::string& name, const std::string& end) {
    return {"Start " + name + "();", end};
}

class Articles : public DriverTest {
  protected:
    // The log so far; the next lines start a fresh file.
    std::vector<std::string> takeLog() {
        const auto lines = log();
        std::remove((home.path() + "CorteliaVERDA.log").c_str());
        return lines;
    }
    std::string lastData() { return device->requests().back().data; }
};

// "Молоко" in the application's code page, then 34 more bytes.
const std::string kLongName = "\xCC\xEE\xEB\xEE\xEA\xEE" + std::string(34, 'x');

TEST_P(Articles, WritesTheShortRecordUpToTheThresholdAndTheLongOneAbove) {
    const std::string base = "P\t7\tA\t3\t4\tB\t1234567.89\t+\t0.125\t460\t461\t\tx y\t" +
                             ("\x8C\xAE\xAB\xAE\xAA\xAE" + std::string(26, 'x')) + "\t";
    const std::string endLine =
        "PrgAndReadArticleP(PLU=7,TaxGr='A',Dep=3,Group=4,PriceType='B',Price=1.23457e+06,"
        "AddQty='+',Quantity=0.125,Bar1=\" 460 \",Bar2=\"461\t\",Bar3=\"\",Bar4=\"x y\",Name=\"" +
        kLongName + "\",Units=\"\xEA\xE3\",Id1C=\"id-1\",IsWeight=\"1\",Service=\"0\");";
    struct Case {
        int firmware, extra1, extra2;
        std::string reply, request, errorCode;
    };
    const Case cases[] = {
        {0, 1, 2, "0\t", base, ""},
        {944123, 1, 2, "0\t", base, ""},
        {944124, 0, 3, "0\t", base + "\xAA\xA3\tid-1\t1\t0\t\t3\t", ""},
        {944124, 12, 0, "-103001\t", base + "\xAA\xA3\tid-1\t1\t0\t12\t\t", " ErrorCode: 103001"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.firmware);
        vr35->firmwareRevision = c.firmware;  // as DiagnosticInfo leaves it
        device->replyAlways(c.reply);
        EXPECT_EQ(VERDA::PrgAndReadArticleP(7, 'A', 3, 4, 'B', 1234567.891, '+', 0.125, " 460 ",
                                            "461\t", "", "x y", kLongName, "\xEA\xE3", "id-1", "1",
                                            "0", c.extra1, c.extra2),
                  c.errorCode.empty());
        EXPECT_EQ(device->requests().back().command, 0x6Bu);
        EXPECT_EQ(lastData(), c.request);
        EXPECT_EQ(takeLog(), startAndEnd("PrgAndReadArticleP", endLine + c.errorCode));
    }
    EXPECT_EQ(g_ResultCode, 103001);
}

TEST_P(Articles, SmallOperationsSendTheirFieldsAndReadTheirNumbers) {
    std::vector<int> out;
    struct Case {
        const char* name;
        std::function<bool()> call;
        std::string request, reply;
        std::vector<int> want;  // outputs after success
    };
    const Case cases[] = {
        {"PrgAndReadArticleI",
         [&] { return VERDA::PrgAndReadArticleI(out[0], out[1], out[2]); },
         "I\t",
         "0\t1\t-2\t30000\t",
         {1, -2, 30000}},
        {"PrgAndReadArticleA",
         [] { return VERDA::PrgAndReadArticleA(5, 1.5); },
         "A\t5\t1.500\t",
         "0\t",
         {-1, -1, -1}},
        {"PrgAndReadArticleD",
         [] { return VERDA::PrgAndReadArticleD(5, 5); },
         "D\t5\t",
         "0\t",
         {-1, -1, -1}},
        {"PrgAndReadArticleD",
         [] { return VERDA::PrgAndReadArticleD(7, 5); },
         "D\t7\t5\t",
         "0\t",
         {-1, -1, -1}},
        {"PrgAndReadArticleX",
         [&] { return VERDA::PrgAndReadArticleX(9, out[0]); },
         "X\t9\t",
         "0\t17\t",
         {17, -1, -1}},
        {"PrgAndReadArticleXX",
         [&] { return VERDA::PrgAndReadArticleXX(9, out[0]); },
         "x\t9\t",
         "0\t-4\t",
         {-4, -1, -1}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.request);
        device->replyAlways(c.reply);
        out.assign(3, -1);
        EXPECT_TRUE(c.call());
        EXPECT_EQ(out, c.want);
        EXPECT_EQ(lastData(), c.request);

        device->replyAlways("-111004\t1\t2\t3\t");
        out.assign(3, -1);
        EXPECT_FALSE(c.call());
        EXPECT_EQ(g_ResultCode, 111004);
        EXPECT_EQ(out, std::vector<int>(3, -1));
        const std::string name = c.name;
        EXPECT_EQ(takeLog(), (std::vector<std::string>{"Start " + name + "();", name + "();",
                                                       "Start " + name + "();",
                                                       name + "(); ErrorCode: 111004"}));
    }
}

TEST_P(Articles, ReadConvertsTheNameAndTakesTheLongFieldsOnlyAboveTheThreshold) {
    device->replyAlways(kRecordReply);
    for (int firmware : {0, 944123, 944124}) {
        SCOPED_TRACE(firmware);
        vr35->firmwareRevision = firmware;
        Record want = kShortRecord;
        want.Name = "\x9A\xBE\xBD";  // "Кон" in the form handed back
        want.Extra1 = want.Extra2 = 0;
        if (firmware > 944123) {
            std::tie(want.Units, want.Id1C, want.IsWeight, want.Service) =
                std::make_tuple("\xBA\xB3", "1C-7", "1", "0");
            std::tie(want.Extra1, want.Extra2) = std::make_tuple(5, -6);
        }
        Record got;
        EXPECT_TRUE(callR(got));
        EXPECT_EQ(got.tie(), want.tie());
        EXPECT_EQ(lastData(), "R\t5\t");
        EXPECT_EQ(takeLog(), startAndEnd("PrgAndReadArticleR", "PrgAndReadArticleR();"));
    }
}

TEST_P(Articles, ReadClearsOnlyExtraBeforeAFailureAndTakesDefaultsFromAShortReply) {
    vr35->firmwareRevision = 944124;
    Record want;
    want.Extra1 = want.Extra2 = 0;
    Record got;
    device->replyAlways("-111004\t" + kRecordReply.substr(2));
    EXPECT_FALSE(callR(got));
    EXPECT_EQ(g_ResultCode, 111004);
    EXPECT_EQ(got.tie(), want.tie());
    EXPECT_EQ(log().back(), "PrgAndReadArticleR(); ErrorCode: 111004");

    device->replyAlways("0\t1\tA\t");  // one character: nothing in second place
    EXPECT_TRUE(callR(got));
    const Record empty{5, '\0', 0, 0, '\0', 0, 0, 0, 0, "", "", "", "", "", "", "", "", "", 0, 0};
    EXPECT_EQ(got.tie(), empty.tie());
}

TEST_P(Articles, WalksReadTheShortRecordWithTheNameUnconverted) {
    struct Case {
        const char* name;
        bool (*call)(Record&);
        std::string request;
        bool plu;  // the record's PLU is handed back
    };
    const Case cases[] = {
        {"PrgAndReadArticleF", callWalk<VERDA::PrgAndReadArticleF>, "F\t5\t", true},
        {"PrgAndReadArticleL", callWalk<VERDA::PrgAndReadArticleL>, "L\t5\t", false},
        {"PrgAndReadArticleLL", callWalk<VERDA::PrgAndReadArticleLL>, "l\t5\t", false},
        {"PrgAndReadArticleN", callWalk<VERDA::PrgAndReadArticleN>, "N\t", true},
        {"PrgAndReadArticleNN", callWalk<VERDA::PrgAndReadArticleNN>, "n\t", true},
        {"PrgAndReadArticleFF", callWalk<VERDA::PrgAndReadArticleFF>, "f\t5\t", false},
    };
    vr35->firmwareRevision = 944124;  // changes nothing: the walks stop at the name
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        device->replyAlways(kRecordReply);
        Record got;
        Record want = kShortRecord;
        if (c.plu) want.PLU = 42;
        EXPECT_TRUE(c.call(got));
        EXPECT_EQ(got.tie(), want.tie());
        EXPECT_EQ(lastData(), c.request);
        EXPECT_EQ(takeLog(), startAndEnd(c.name, std::string(c.name) + "();"));

        device->replyAlways("-103000\t" + kRecordReply.substr(2));
        Record untouched;
        EXPECT_FALSE(c.call(untouched));
        EXPECT_EQ(g_ResultCode, 103000);
        EXPECT_EQ(untouched.tie(), Record().tie());
        EXPECT_EQ(takeLog(), startAndEnd(c.name, std::string(c.name) + "(); ErrorCode: 103000"));
    }
}

VERDA_BOTH_TRANSPORTS(Articles);

}  // namespace
