#include "support/TestLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"

TempDir::TempDir() {
    char name[] = "/tmp/verda-test-XXXXXX";
    if (mkdtemp(name) == nullptr) throw std::runtime_error("mkdtemp");
    path_ = std::string(name) + "/";
}

TempDir::~TempDir() {
    const std::string command = "rm -rf '" + path_ + "'";
    if (system(command.c_str()) != 0) {
    }
}

std::vector<std::string> logLines(const std::string& file) {
    std::vector<std::string> lines;
    std::ifstream in(file.c_str(), std::ios::binary);
    std::string line;
    while (std::getline(in, line)) {
        // "[Thu Nov 12 22:33:38 2026] " is 27 bytes.
        lines.push_back(line.size() >= 27 && line[0] == '[' && line[25] == ']' ? line.substr(27)
                                                                               : "?" + line);
    }
    return lines;
}

namespace {
std::string capture(FILE* stream, int fd, const std::function<void()>& run) {
    fflush(stream);
    std::cout.flush();
    std::cerr.flush();
    char name[] = "/tmp/verda-capture-XXXXXX";
    const int file = mkstemp(name);
    const int saved = dup(fd);
    dup2(file, fd);
    run();
    fflush(stream);
    std::cout.flush();
    std::cerr.flush();
    dup2(saved, fd);
    close(saved);
    std::ifstream in(name, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    close(file);
    unlink(name);
    return text;
}
}  // namespace

std::string captureStdout(const std::function<void()>& run) {
    return capture(stdout, 1, run);
}
std::string captureStderr(const std::function<void()>& run) {
    return capture(stderr, 2, run);
}

std::string tabbed(const std::vector<std::string>& fields) {
    std::string data;
    for (const std::string& field : fields) data += field + '\t';
    return data;
}

void DriverTest::SetUp() {
    device.reset(new testing_device::ScriptedDevice(GetParam()));
    VERDA::Init();
    vr35->homeDir = home.path();
    if (GetParam() == testing_device::ScriptedDevice::Tcp) {
        VERDA::setTimeOut(30);  // 30 ms per read
        captureStdout([&] { ASSERT_TRUE(VERDA::OpenSocket("127.0.0.1", device->port())); });
    } else {
        VERDA::setTimeOut(10);  // a tenth of a second per read
        ASSERT_TRUE(VERDA::OpenSerial(device->path(), 115200));
    }
}

void DriverTest::TearDown() {
    VERDA::CloseSocket();
    VERDA::Done();
    vr35 = nullptr;
    device.reset();
}

std::vector<std::string> DriverTest::log() const {
    return logLines(home.path() + "CorteliaVERDA.log");
}

std::vector<Sent> DriverTest::sent() {
    std::vector<Sent> requests;
    for (const auto& request : device->requests())
        requests.emplace_back(request.command, request.data);
    return requests;
}
