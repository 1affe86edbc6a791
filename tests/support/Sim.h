#ifndef VERDA_TESTS_SIM_H
#define VERDA_TESTS_SIM_H

// The simulated register run in-process: on its own, behind a plain TCP
// connection, or with the driver connected to it as a client connects.

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "sim/Simulator.h"
#include "support/TestLog.h"

// A simulator serving in a thread of its own until it is destroyed.
class RunningSimulator {
  public:
    // Fails the test (and leaves it unstarted) when it cannot start.
    explicit RunningSimulator(const sim::Options& options);
    ~RunningSimulator();
    bool started() const { return simulator_ != nullptr; }
    int port() const { return simulator_->port(); }
    std::string address() const { return simulator_->address(); }

  private:
    std::unique_ptr<sim::Simulator> simulator_;
    std::thread thread_;
};

// A plain TCP connection to a simulated register, for tests of the wire.
class SimLine {
  public:
    explicit SimLine(int port);
    ~SimLine();
    // Writes bytes and reads what comes back: a whole reply frame (cut by
    // its length field), a pair of NAKs, or whatever came within a second.
    std::string talk(const std::string& bytes);

  private:
    int fd_ = -1;
};

// The driver connected to a simulated register over the transport of the
// parameter (VERDA::Init and an open port), for tests at protocol level
// through VR35::SendPMessage and through the exported functions.
class SimTest : public ::testing::TestWithParam<testing_device::ScriptedDevice::Kind> {
  protected:
    void SetUp() override;
    void TearDown() override;
    // Options of the register started by SetUp; paper goes to a file.
    virtual void configure(sim::Options&) {}

    void startSimulator();
    void stopSimulator();
    void connect();
    void disconnect();

    // One exchange; the reply's data, or "FAILED <code>" when it failed.
    std::string exchange(unsigned int command, const std::string& data);
    // The fields of a reply (each tab-ended).
    static std::vector<std::string> fields(const std::string& reply);
    // The fields after a first field of "0"; a failure when it is not "0".
    std::vector<std::string> ok(unsigned int command, const std::string& data);
    // Exchanges in turn, each of which must bring its reply's data.
    struct Exchange {
        unsigned int command;
        std::string data, reply;
    };
    void converse(const std::vector<Exchange>& exchanges);
    // The printed paper so far.
    std::string paper() const;

    // Shift and receipt steps through the exported functions, which must
    // succeed; each checks its own result.
    void openShift();
    void sell(const std::string& name, double price, double quantity);
    // A payment: the status letter and the amount still due or to give back.
    std::pair<char, double> pay(int mode, double amount, char change = ' ');

    TempDir home;
    sim::Options options;
    std::unique_ptr<RunningSimulator> simulator;
};

using Fields = std::vector<std::string>;

// UTF-8 to the register's CP866.
std::string to866(const std::string& utf8);
// Application text: the Cyrillic letters of a UTF-8 text as CP1251 bytes.
std::string cp1251(const std::string& utf8);

#endif
