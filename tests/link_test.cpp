// The framed exchange, driven through CheckConnection and SendPMessage.
#include <gtest/gtest.h>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/TestLog.h"

using testing_device::Answer;
using testing_device::replyFrame;
using testing_device::Request;

namespace {

class Link : public DriverTest {};

TEST_P(Link, CheckConnectionSendsTheWorkedExampleFrame) {
    device->replyAlways("0\t");
    EXPECT_TRUE(VERDA::CheckConnection());
    EXPECT_EQ(g_ResultCode, 0);
    auto requests = device->requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].raw,
              std::string("\x01\x30\x30\x32\x3A\x21\x30\x30\x32\x3D\x05\x30\x31\x3C\x31\x03", 16));
    EXPECT_EQ(log(), (std::vector<std::string>{"Start CheckConnection();", "CheckConnection();"}));
}

TEST_P(Link, DeviceErrorIsMadePositiveAndLogged) {
    device->replyAlways("-17\t");
    EXPECT_FALSE(VERDA::CheckConnection());
    EXPECT_EQ(g_ResultCode, 17);
    EXPECT_EQ(vr35->errorCode, 17);
    EXPECT_EQ(log().back(), "CheckConnection(); ErrorCode: 17");
}

VERDA_BOTH_TRANSPORTS(Link);

}  // namespace
