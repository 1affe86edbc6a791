#ifndef VERDA_TESTS_SIM_REGISTER_H
#define VERDA_TESTS_SIM_REGISTER_H

// The simulated register run in-process, with the driver connected to it as
// a client connects (VERDA::Init and an open transport), for tests that speak
// to it at protocol level through VR35::SendPMessage.

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "sim/Simulator.h"
#include "support/TestLog.h"

class SimTest : public ::testing::TestWithParam<testing_device::ScriptedDevice::Kind> {
  protected:
    void SetUp() override;
    void TearDown() override;
    // Options of the register started by SetUp; paper goes to a file.
    virtual void configure(sim::Options&) {}

    void startSimulator(const sim::Options& options);
    void stopSimulator();
    void connect();
    void disconnect();

    // One exchange; the reply's data, or "FAILED <code>" when it failed.
    std::string exchange(unsigned int command, const std::string& data);
    // The fields of a reply (each tab-ended).
    static std::vector<std::string> fields(const std::string& reply);
    // The fields after a first field of "0"; a failure when it is not "0".
    std::vector<std::string> ok(unsigned int command, const std::string& data);
    // The printed paper so far.
    std::string paper() const;

    TempDir home;
    sim::Options options;
    std::unique_ptr<sim::Simulator> simulator;
    std::thread thread;
};

// UTF-8 to the register's CP866.
std::string to866(const std::string& utf8);
// A request of tab-ended fields.
std::string request(const std::vector<std::string>& fields);

#endif
