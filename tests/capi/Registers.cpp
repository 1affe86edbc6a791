// The registers of the C interface's tests: the real simulator and the
// tests' scripted device, behind plain C functions.

#include "registers.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "sim/Simulator.h"
#include "support/DeadPort.h"
#include "support/ScriptedDevice.h"

namespace {

// A directory of its own, removed with what it holds.
class TempDir {
  public:
    TempDir() {
        char name[] = "/tmp/verda-capi-XXXXXX";
        if (mkdtemp(name) != nullptr) path_ = name;
    }
    ~TempDir() {
        if (!path_.empty()) std::system(("rm -rf '" + path_ + "'").c_str());
    }
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

}  // namespace

struct test_register {
    TempDir home;
    std::unique_ptr<sim::Simulator> simulator;
    std::thread thread;
    std::unique_ptr<testing_device::ScriptedDevice> scripted;
    std::string path;
};

namespace {

// The simulator as verda-sim runs it with transport (--tcp 0 or --pty).
test_register* simulated(const std::string& transport) {
    std::unique_ptr<test_register> r(new test_register());
    sim::Options options;
    std::string error;
    std::vector<std::string> args = {transport, "--paper", r->home.path() + "/paper.txt"};
    if (transport == "--tcp") args.insert(args.begin() + 1, "127.0.0.1:0");
    if (!sim::parseOptions(args, options, error)) return nullptr;
    r->simulator.reset(new sim::Simulator(options));
    if (!r->simulator->start(error)) return nullptr;
    r->path = r->simulator->address();
    sim::Simulator* simulator = r->simulator.get();
    r->thread = std::thread([simulator] {
        std::string ignored;
        simulator->run(ignored);
    });
    return r.release();
}

// A reply whose length word says 18 bytes: the header would end inside itself.
testing_device::Answer shortFrame(const testing_device::Request& request) {
    std::string counted = std::string("\x30\x30\x33\x32", 4) + static_cast<char>(request.seq) +
                          "\x30\x30\x32\x3D" + std::string("\x03\x00\x00\x00\x00\x00\x00\x00", 8) +
                          "\x05";
    unsigned sum = 0;
    for (unsigned char c : counted) sum += c;
    std::string check(4, '\0');
    for (int i = 0; i < 4; ++i) check[i] = static_cast<char>(0x30 + ((sum >> (12 - 4 * i)) & 0xF));
    return testing_device::Answer{{"\x01" + counted + check + "\x03", 0}};
}

std::vector<std::unique_ptr<TempDir>>& tempDirs() {
    static std::vector<std::unique_ptr<TempDir>> dirs;  // removed at exit
    return dirs;
}

}  // namespace

extern "C" {

test_register* test_register_tcp(void) {
    return simulated("--tcp");
}

test_register* test_register_pty(void) {
    return simulated("--pty");
}

int test_register_port(const test_register* r) {
    return r->scripted ? r->scripted->port() : r->simulator->port();
}

const char* test_register_path(const test_register* r) {
    return r->path.c_str();
}

void test_register_stop(test_register* r) {
    if (r == nullptr) return;
    if (r->simulator) r->simulator->stop();
    if (r->thread.joinable()) r->thread.join();
    delete r;
}

test_register* test_register_short_frames(void) {
    test_register* r = new test_register();
    r->scripted.reset(new testing_device::ScriptedDevice(testing_device::ScriptedDevice::Tcp));
    r->scripted->onRequest(shortFrame);
    return r;
}

int test_dead_port(void) {
    const std::string address = deadAddress();
    return std::stoi(address.substr(address.find(':') + 1));
}

const char* test_temp_dir(void) {
    tempDirs().emplace_back(new TempDir());
    return tempDirs().back()->path().c_str();
}

const char* test_file_text(const char* dir, const char* name) {
    static std::string text;
    std::ifstream in(std::string(dir) + "/" + name);
    text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return text.c_str();
}

}  // extern "C"
