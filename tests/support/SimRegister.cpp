#include "support/SimRegister.h"

#include <fcntl.h>

#include <fstream>
#include <sstream>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "common/Cp866.h"
#include "device/VR35.h"

void SimTest::SetUp() {
    // OpenSerial closes descriptor 0 before it opens; keep something
    // harmless there, so that it takes none of the simulator's files.
    if (fcntl(0, F_GETFD) == -1) open("/dev/null", O_RDONLY);
    options.paper = home.path() + "paper.txt";
    options.transport =
        GetParam() == testing_device::ScriptedDevice::Tcp ? sim::Options::Tcp : sim::Options::Pty;
    configure(options);
    startSimulator(options);
    connect();
}

void SimTest::TearDown() {
    disconnect();
    stopSimulator();
}

void SimTest::startSimulator(const sim::Options& chosen) {
    simulator.reset(new sim::Simulator(chosen));
    std::string error;
    ASSERT_TRUE(simulator->start(error)) << error;
    thread = std::thread([this] {
        std::string runError;
        EXPECT_TRUE(simulator->run(runError)) << runError;
    });
}

void SimTest::stopSimulator() {
    if (!simulator) return;
    simulator->stop();
    if (thread.joinable()) thread.join();
    simulator.reset();
}

void SimTest::connect() {
    if (fcntl(0, F_GETFD) == -1) open("/dev/null", O_RDONLY);
    VERDA::Init();
    vr35->homeDir = home.path();
    if (GetParam() == testing_device::ScriptedDevice::Tcp) {
        VERDA::setTimeOut(30);
        ASSERT_TRUE(VERDA::OpenSocket("127.0.0.1", simulator->port()));
    } else {
        VERDA::setTimeOut(10);
        ASSERT_TRUE(VERDA::OpenSerial(simulator->address(), 115200));
    }
}

void SimTest::disconnect() {
    if (vr35 == nullptr) return;
    VERDA::CloseSocket();
    VERDA::Done();
    vr35 = nullptr;
}

std::string SimTest::exchange(unsigned int command, const std::string& data) {
    std::string reply;
    std::string bytes = data;
    const int result = vr35->SendPMessage(command, reinterpret_cast<unsigned char*>(&bytes[0]),
                                          static_cast<int>(bytes.size()), reply);
    return result == 0 ? reply : "FAILED " + std::to_string(result);
}

std::vector<std::string> SimTest::fields(const std::string& reply) {
    std::vector<std::string> out;
    std::string::size_type start = 0;
    for (std::string::size_type tab; (tab = reply.find('\t', start)) != std::string::npos;
         start = tab + 1)
        out.push_back(reply.substr(start, tab - start));
    if (start < reply.size()) out.push_back(reply.substr(start));
    return out;
}

std::vector<std::string> SimTest::ok(unsigned int command, const std::string& data) {
    std::vector<std::string> all = fields(exchange(command, data));
    EXPECT_FALSE(all.empty());
    if (all.empty()) return all;
    EXPECT_EQ(all[0], "0") << "command 0x" << std::hex << command;
    all.erase(all.begin());
    return all;
}

std::string SimTest::paper() const {
    std::ifstream in(options.paper.c_str(), std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string to866(const std::string& utf8) {
    return cp866::fromUtf8(utf8);
}

std::string request(const std::vector<std::string>& fields) {
    std::string data;
    for (const std::string& field : fields) data += field + "\t";
    return data;
}
