// The exchange loop allocates nothing: operator new is counted on this
// thread around a run of exchanges, repeats included. A program of its own,
// since it replaces the global allocation functions.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/TestLog.h"

namespace {
thread_local bool counting = false;
thread_local long allocations = 0;
}  // namespace

void* operator new(std::size_t size) {
    if (counting) ++allocations;
    if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

namespace {

using testing_device::Answer;
using testing_device::Request;

TEST(Allocation, ExchangesAllocateNothing) {
    testing_device::ScriptedDevice device(testing_device::ScriptedDevice::Tcp);
    // Every third frame is answered only with a frame of a sequence number
    // that the driver never sends, and the driver sends it again: a repeat.
    // One frame answers each frame sent, so that nothing is left in the line
    // for a later request to take, however the bytes arrive.
    const unsigned char kNoSequence = 0x7E;
    int n = 0;
    device.onRequest([&n, kNoSequence](const Request& r) {
        if (++n % 3 == 0)
            return Answer{{testing_device::replyFrame(kNoSequence, r.command, "0\t"), 0}};
        return testing_device::reply(r, "0\tsome reply data\t");
    });
    VERDA::Init();
    vr35->logEnabled = false;
    VERDA::setTimeOut(900);  // no read waits it out; generous for a slow, shared machine
    captureStdout([&] { ASSERT_TRUE(VERDA::OpenSocket("127.0.0.1", device.port())); });

    std::string reply;
    reply.reserve(256);
    unsigned char request[] = "1\t2\t3\t";
    std::string out = captureStdout([&] {
        counting = true;
        for (int i = 0; i < 60; ++i) ASSERT_EQ(vr35->SendPMessage(0x31, request, 6, reply), 0);
        counting = false;
    });
    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(reply, "0\tsome reply data\t");
    EXPECT_NE(out.find("REPEAT SEND!"), std::string::npos);  // the repeats did happen

    VERDA::CloseSocket();
    VERDA::Done();
    vr35 = nullptr;
}

}  // namespace
