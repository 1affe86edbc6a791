// The read timeout of a C interface handle: one range whatever the link, so
// that a value taken before an open never makes the open fail afterwards.
#include <gtest/gtest.h>

#include <string>

#include "capi/verda.h"
#include "support/ScriptedDevice.h"

namespace {

using testing_device::ScriptedDevice;

int open(verda_device* d, const ScriptedDevice& device) {
    return device.kind() == ScriptedDevice::Tcp
               ? verda_open_socket(d, "127.0.0.1", device.port())
               : verda_open_serial(d, device.path().c_str(), 115200);
}

// Each value is set before the open and again on the open link, and must
// get the same answer both times; the register is then asked whether it is
// there. A refused value leaves the one set before it (1000).
TEST(CapiTimeout, AValueTakenBeforeAnOpenSuitsEitherLink) {
    const struct {
        int timeout;
        int code;
    } cases[] = {
        {500, VERDA_OK},
        {999, VERDA_OK},
        {1000, VERDA_OK},  // one second on TCP: the transport alone refuses it
        {2559, VERDA_OK},  // the longest wait of a serial line, 25.5 s
        {2560, VERDA_INVALID_ARGUMENT},
        {100000, VERDA_INVALID_ARGUMENT},
        {-1, VERDA_INVALID_ARGUMENT},
    };
    for (const ScriptedDevice::Kind kind : {ScriptedDevice::Tcp, ScriptedDevice::Pty}) {
        ScriptedDevice device(kind);
        device.replyAlways("0\t");
        for (const auto& c : cases) {
            SCOPED_TRACE((kind == ScriptedDevice::Tcp ? "TCP, " : "serial, ") +
                         std::to_string(c.timeout));
            verda_device* d = verda_device_new();
            ASSERT_NE(d, nullptr);
            ASSERT_EQ(verda_set_timeout(d, 1000), VERDA_OK);
            EXPECT_EQ(verda_set_timeout(d, c.timeout), c.code);
            EXPECT_EQ(open(d, device), VERDA_OK);
            EXPECT_EQ(verda_CheckConnection(d), VERDA_OK);
            EXPECT_EQ(verda_set_timeout(d, c.timeout), c.code);
            EXPECT_EQ(verda_CheckConnection(d), VERDA_OK);
            verda_device_free(d);
        }
    }
}

}  // namespace
