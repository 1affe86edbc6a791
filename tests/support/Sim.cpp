#include "support/Sim.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "wire/RegisterText.h"
#include "device/VR35.h"

RunningSimulator::RunningSimulator(const sim::Options& options) {
    // The driver's serial open closes descriptor 0: keep something harmless
    // there, so that the simulator takes none of its files.
    if (fcntl(0, F_GETFD) == -1) open("/dev/null", O_RDONLY);
    std::unique_ptr<sim::Simulator> simulator(new sim::Simulator(options));
    std::string error;
    if (!simulator->start(error)) {
        ADD_FAILURE() << error;
        return;
    }
    simulator_ = std::move(simulator);
    thread_ = std::thread([this] {
        std::string runError;
        EXPECT_TRUE(simulator_->run(runError)) << runError;
    });
}

RunningSimulator::~RunningSimulator() {
    if (!simulator_) return;
    simulator_->stop();
    thread_.join();
}

SimLine::SimLine(int port) : fd_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address = sockaddr_in();
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<unsigned short>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("cannot connect to the simulated register");
}

SimLine::~SimLine() {
    close(fd_);
}

std::string SimLine::talk(const std::string& bytes) {
    if (write(fd_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) return "";
    std::string got;
    // A reply's length word is its data's size and 0x33; the frame is 25
    // bytes more than the data.
    auto whole = [&got] {
        if (got == "\x15\x15") return true;
        if (got.size() < 5 || got[0] != '\x01') return false;
        size_t word = 0;
        for (int i = 1; i < 5; ++i) word = word * 16 + (static_cast<unsigned char>(got[i]) & 0xF);
        return word >= 0x33 && got.size() >= word - 0x33 + 25;
    };
    pollfd ready = {fd_, POLLIN, 0};
    while (!whole() && poll(&ready, 1, 1000) > 0) {
        char chunk[4096];
        const ssize_t n = read(fd_, chunk, sizeof chunk);
        if (n <= 0) break;
        got.append(chunk, static_cast<size_t>(n));
    }
    return got;
}

void SimTest::SetUp() {
    // The register a user starts: "verda-sim --tcp 0" or "verda-sim --pty".
    std::vector<std::string> args{"--paper", home.path() + "paper.txt", "--pty"};
    if (GetParam() == testing_device::ScriptedDevice::Tcp)
        args.back() = "--tcp", args.push_back("0");
    std::string error;
    ASSERT_TRUE(sim::parseOptions(args, options, error)) << error;
    configure(options);
    startSimulator();
    connect();
}

void SimTest::TearDown() {
    disconnect();
    stopSimulator();
}

void SimTest::startSimulator() {
    simulator.reset(new RunningSimulator(options));
    ASSERT_TRUE(simulator->started());
}

void SimTest::stopSimulator() {
    simulator.reset();
}

void SimTest::connect() {
    if (fcntl(0, F_GETFD) == -1) open("/dev/null", O_RDONLY);  // see RunningSimulator
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

void SimTest::converse(const std::vector<Exchange>& exchanges) {
    for (const Exchange& e : exchanges)
        EXPECT_EQ(exchange(e.command, e.data), e.reply)
            << "command 0x" << std::hex << e.command << ": " << e.data;
}

std::string SimTest::paper() const {
    std::ifstream in(options.paper.c_str(), std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void SimTest::openShift() {
    int nFD = 0, sign = 0, shift = 0;
    ASSERT_TRUE(VERDA::OpenShift(1, "1", 1, "", "", "", "", nFD, sign, shift)) << g_ResultCode;
}

void SimTest::sell(const std::string& name, double price, double quantity) {
    int slip = 0;
    EXPECT_TRUE(
        VERDA::RegisterSale(cp1251(name), 'A', price, quantity, 0, 1, '0', 0, 0, 0, 0, 0, slip))
        << name << ": " << g_ResultCode;
}

std::pair<char, double> SimTest::pay(int mode, double amount, char change) {
    char status = 0;
    double rest = -1;
    int slip = 0;
    EXPECT_TRUE(VERDA::Total(static_cast<char>(mode), amount, change, status, rest, slip))
        << g_ResultCode;
    return {status, rest};
}

std::string to866(const std::string& utf8) {
    return wire::text::utf8ToCp866(utf8);
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
