// Opening receipts and shifts, and the sale line with its field rules.
#include <gtest/gtest.h>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/TestLog.h"

using testing_device::reply;
using testing_device::Request;

namespace {

class Receipts : public DriverTest {
  protected:
    // Answers the next request with data, ahead of any standing reply.
    void next(const std::string& data) {
        device->then([data](const Request& request) { return reply(request, data); });
    }
};

TEST_P(Receipts, OpeningRequestFollowsOperatorNameInnAndFirmware) {
    struct Case {
        int firmware;
        int OpCode;
        std::string OperName, OperInn, request;
    };
    const std::string head = "1\t2\tbuyer\tosn\t";  // till, type, buyer, tax system
    const Case cases[] = {
        {0, 7, "", "123", "7\tpw\t" + head + "\t"},  // empty name keeps its tab, short INN none
        {0, 7, "", "1234", "7\tpw\t" + head + "\t1234\t"},
        {0, 7, "Ivan", "", "30\t30\t" + head + "Ivan\t"},  // a named operator is operator 30
        {0, 7, std::string(40, '\xC0'), std::string(40, '9'),
         "30\t30\t" + head + std::string(30, '\x80') + "\t" + std::string(30, '9') + "\t"},
        {944123, 7, "Ivan", "1234", "30\t30\t" + head},
        {944123, 7, "", "1234", "7\tpw\t" + head},
    };
    device->replyAlways("0\t11\t12\t13\t");
    for (const Case& c : cases) {
        vr35->firmwareRevision = c.firmware;
        int slip = 0, doc = 0, shift = 0;
        EXPECT_TRUE(VERDA::OpenFiscalInv(c.OpCode, "pw", 1, 2, "buyer", "osn", c.OperName,
                                         c.OperInn, slip, doc, shift));
        EXPECT_EQ(sent().back(), Sent(0x30, c.request)) << c.OperName;
        EXPECT_EQ(slip * 10000 + doc * 100 + shift, 111213);
    }
    EXPECT_EQ(log()[5],
              "OpenFiscalInv(OpCode=30,OpPwd=30,TillNmb=1,ReceiptType=2,Buyer=buyer,"
              "VatSystem=osn,OperName=Ivan,OperInn=,SlipNumber=11,nDoc=12,nShift=13);");
}

TEST_P(Receipts, OnlyOpenShiftReadsTheNumbersOfAShiftOpening) {
    device->replyAlways("0\t11\t12\t13\t");
    int slip = -1, doc = -1, shift = -1;
    EXPECT_TRUE(VERDA::OpenFiscalInv(5, "pw", 1, 4, "b", "v", "", "", slip, doc, shift));
    EXPECT_EQ(slip + doc + shift, 0);
    int fd = 0, signFP = 0;
    EXPECT_TRUE(VERDA::OpenShift(5, "pw", 1, "b", "v", "", "", fd, signFP, shift));
    EXPECT_EQ(fd, 11);
    EXPECT_EQ(signFP, 12);
    EXPECT_EQ(shift, 13);
    const auto requests = sent();
    EXPECT_EQ(requests[0], Sent(0x30, "5\tpw\t1\t4\tb\tv\t\t"));
    EXPECT_EQ(requests[1], requests[0]);
    EXPECT_EQ(log().back(),
              "OpenShift(OpCode=5,OpPwd=pw,TillNmb=1,Buyer=b,VatSystem=v,OperName=,OperInn=,"
              "nFD=11,SignFP=12,nShift=13);");
}

TEST_P(Receipts, SaleLineFieldsInWireOrder) {
    struct Case {
        int firmware;
        std::string name;
        char discountType;
        double discountValue, discSum;
        int unit, sign, signPay;
        std::string request;
    };
    const std::string tail = "\t1.00\t0.500\t";  // price, quantity
    const Case cases[] = {
        // A value below 0.000001 is no discount: the kind goes as "0".
        {0, "\xD5\xEB\xE5\xE1", '2', 0.0000001, 0, 0, 0, 0,
         "\x95\xAB\xA5\xA1\tA" + tail + "0\t0.00\t3\t\t\t\t\t\t"},
        {0, "Milk", '2', 0.000001, 0.001, 796, 1, 4,
         "Milk\tA" + tail + "2\t0.00\t3\t796\t0.00\t\t1\t4\t"},
        {0, std::string(70, 'n'), '%', -5, 0, 0, 0, 0,
         std::string(64, 'n') + "\tA" + tail + "%\t-5.00\t3\t\t\t\t\t\t"},
        {944123, std::string(70, 'n'), '0', 0, 2.5, 1, 1, 1,
         std::string(32, 'n') + "\tA" + tail + "0\t0.00\t3\t"},
        {0, "a\nb", '0', 0, 0, 0, 0, 0, "a?b\tA" + tail + "0\t0.00\t3\t\t\t\t\t\t"},
    };
    device->replyAlways("0\t5\t");
    for (const Case& c : cases) {
        vr35->firmwareRevision = c.firmware;
        int slip = 0;
        EXPECT_TRUE(VERDA::RegisterSale(c.name, 'A', 1, 0.5, c.unit, 3, c.discountType,
                                        c.discountValue, c.discSum, 100, c.sign, c.signPay, slip));
        EXPECT_EQ(sent().back(), Sent(0x31, c.request));
        EXPECT_EQ(slip, 5);
    }
    EXPECT_EQ(log()[1],
              "RegisterSale(PluName=\"\xA5\xBB\xB5\xB1\",TaxCd='A',Price=1.00,Quantity=0.500,"
              "Unit=0,Department=3,DiscountType='0',DiscountValue=0.00,DiscSum=0.00,Sum=100.00,"
              "Sign=0,SignPay=0,SlipNumber=5);");
}

TEST_P(Receipts, NamelessSaleTakesTheDepartmentNameAsReadBack) {
    next("0\t\x8A\xA0\xE1\xE1\xA0\t");  // the name in device text
    next("0\t6\t");
    int slip = 0;
    EXPECT_TRUE(VERDA::RegisterSale("", '1', 10, 1, 0, 3, '0', 0, 0, 0, 0, 0, slip));
    EXPECT_EQ(slip, 6);
    // Sent on as Programming handed it back, not converted once more.
    EXPECT_EQ(sent(),
              (std::vector<Sent>{
                  {0xFF, "Dept_name\t2\t\t"},
                  {0x31, "\x9A\xB0\x81\x81\xB0\t1\t10.00\t1.000\t0\t0.00\t3\t\t\t\t\t\t"}}));
    const auto lines = log();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[1], "Programming(Name=Dept_name,Index=2,read Value=\x9A\xB0\x81\x81\xB0);");
    EXPECT_EQ(lines[2], "Start RegisterSale();");
    const std::string name = "RegisterSale(PluName=\"\xAA \x91\x91 \",";
    EXPECT_EQ(lines[3].substr(0, name.size()), name);
}

TEST_P(Receipts, NamelessSaleWithoutADepartmentNameSellsUnderscore) {
    next("");  // the read fails
    next("0\t7\t");
    next("0\t");  // the read succeeds with nothing
    next("0\t8\t");
    int slip = -1;
    EXPECT_TRUE(VERDA::RegisterSale("", '1', 1, 1, 0, 0, '0', 0, 0, 0, 0, 0, slip));
    EXPECT_EQ(slip, 7);
    EXPECT_TRUE(VERDA::RegisterSale("", '1', 1, 1, 0, 1, '0', 0, 0, 0, 0, 0, slip));
    const std::string line = "_\t1\t1.00\t1.000\t0\t0.00\t";
    EXPECT_EQ(sent(), (std::vector<Sent>{{0xFF, "Dept_name\t-1\t\t"},
                                                        {0x31, line + "0\t\t\t\t\t\t"},
                                                        {0xFF, "Dept_name\t0\t\t"},
                                                        {0x31, line + "1\t\t\t\t\t\t"}}));
}

VERDA_BOTH_TRANSPORTS(Receipts);

}  // namespace
