#include "support/ScriptedDevice.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>

#include "common/Listen.h"

namespace testing_device {

namespace {

// Written independently of the library's own framing code, so that the
// tests check it rather than repeat it.
std::string nibbleWord(unsigned int value) {
    std::string word(4, '\0');
    for (int i = 0; i < 4; ++i) word[i] = static_cast<char>(0x30 + ((value >> (12 - 4 * i)) & 0xF));
    return word;
}

unsigned int readWord(const std::string& bytes, size_t at) {
    unsigned int value = 0;
    for (size_t i = 0; i < 4; ++i)
        value = (value << 4) | (static_cast<unsigned char>(bytes[at + i]) & 0xF);
    return value;
}

unsigned int byteSum(const std::string& bytes) {
    unsigned int sum = 0;
    for (unsigned char c : bytes) sum += c;
    return sum;
}

}  // namespace

std::string requestFrame(unsigned char seq, unsigned int command, const std::string& data) {
    std::string counted = nibbleWord(static_cast<unsigned int>(data.size()) + 0x2A);
    counted += static_cast<char>(seq);
    counted += nibbleWord(command);
    counted += data;
    counted += '\x05';
    return "\x01" + counted + nibbleWord(byteSum(counted) & 0xFFFF) + "\x03";
}

std::string replyFrame(unsigned char seq, unsigned int command, const std::string& data,
                       const std::string& status) {
    std::string counted = nibbleWord(static_cast<unsigned int>(data.size()) + 0x33);
    counted += static_cast<char>(seq);
    counted += nibbleWord(command);
    counted += data;
    counted += '\x04';  // separator
    counted += status.substr(0, 8);
    counted += '\x05';  // postamble
    return "\x01" + counted + nibbleWord(byteSum(counted) & 0xFFFF) + "\x03";
}

Answer reply(const Request& request, const std::string& data, const std::string& status) {
    return Answer{{replyFrame(request.seq, request.command, data, status), 0}};
}

ScriptedDevice::ScriptedDevice(Kind kind) : kind_(kind) {
    // The driver's serial open closes descriptor 0: never hold it here.
    if (fcntl(0, F_GETFD) == -1) open("/dev/null", O_RDONLY);
    if (pipe(wakeFd_) != 0) throw std::runtime_error("pipe");
    std::string error;
    if (kind == Tcp) {
        listenFd_ = endpoint::listenTcp("127.0.0.1", port_, error);
        if (listenFd_ < 0) throw std::runtime_error(error);
    } else {
        endpoint::Pty pty;
        const bool ok = endpoint::openPty(pty, error);
        fd_ = pty.master;
        slaveFd_ = pty.slave;
        path_ = pty.path;
        if (!ok) throw std::runtime_error(error);
    }
    thread_ = std::thread([this] { serve(); });
}

ScriptedDevice::~ScriptedDevice() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    char wake = 0;
    if (write(wakeFd_[1], &wake, 1) < 0) {
    }
    thread_.join();
    for (int fd : {fd_, listenFd_, slaveFd_, wakeFd_[0], wakeFd_[1]})
        if (fd >= 0) close(fd);
}

void ScriptedDevice::onRequest(Script script) {
    std::lock_guard<std::mutex> lock(mutex_);
    script_ = std::move(script);
}

void ScriptedDevice::then(Script script) {
    std::lock_guard<std::mutex> lock(mutex_);
    queue_.push_back(std::move(script));
}

void ScriptedDevice::replyAlways(const std::string& data) {
    onRequest([data](const Request& request) { return reply(request, data); });
}

std::vector<Request> ScriptedDevice::requests() {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

bool ScriptedDevice::waitForRequests(size_t n, int timeoutMs) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                             [&] { return requests_.size() >= n; });
}

std::string ScriptedDevice::stray() {
    std::lock_guard<std::mutex> lock(mutex_);
    return stray_;
}

void ScriptedDevice::send(const std::string& bytes) {
    writeAll(bytes);
}

void ScriptedDevice::hangUp() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (kind_ == Tcp) {
        if (fd_ >= 0) shutdown(fd_, SHUT_RDWR);
    } else {
        if (slaveFd_ >= 0) close(slaveFd_);
        slaveFd_ = -1;
        if (fd_ >= 0) shutdown(fd_, SHUT_RDWR);
        close(fd_);
        fd_ = -1;
    }
}

void ScriptedDevice::writeAll(const std::string& bytes) {
    endpoint::writeAll(fd_, kind_ == Tcp, bytes.data(), bytes.size());
}

void ScriptedDevice::answer(const Request& request) {
    Script script;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        requests_.push_back(request);
        if (!queue_.empty()) {
            script = queue_.front();
            queue_.pop_front();
        } else {
            script = script_;
        }
    }
    changed_.notify_all();
    if (!script) return;
    for (const Chunk& chunk : script(request)) {
        if (chunk.delayMs > 0) usleep(static_cast<useconds_t>(chunk.delayMs) * 1000);
        writeAll(chunk.bytes);
    }
}

void ScriptedDevice::serve() {
    std::string pending;
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (stopping_) return;
        }
        const bool listening = kind_ == Tcp && fd_ < 0;
        pollfd fds[2] = {{listening ? listenFd_ : fd_, POLLIN, 0}, {wakeFd_[0], POLLIN, 0}};
        if (fds[0].fd < 0) fds[0].events = 0;
        if (poll(fds, 2, 200) <= 0) continue;
        if (fds[1].revents != 0) return;
        if (listening) {
            fd_ = endpoint::acceptConnection(listenFd_);
            pending.clear();
            continue;
        }
        if (fds[0].revents == 0) continue;
        char chunk[4096];
        const ssize_t n = read(fd_, chunk, sizeof chunk);
        if (n <= 0) {
            if (kind_ == Tcp) {
                close(fd_);
                fd_ = -1;
            } else {
                usleep(10000);
            }
            continue;
        }
        pending.append(chunk, static_cast<size_t>(n));
        // Cut complete request frames off the front of what has arrived.
        for (;;) {
            const size_t start = pending.find('\x01');
            if (start != 0) {
                std::lock_guard<std::mutex> lock(mutex_);
                stray_ += pending.substr(0, start);
                pending.erase(0, start == std::string::npos ? pending.size() : start);
            }
            if (pending.size() < 5) break;
            const unsigned int word = readWord(pending, 1);
            if (word < 0x2A) {  // not a request: drop the preamble
                std::lock_guard<std::mutex> lock(mutex_);
                stray_ += pending[0];
                pending.erase(0, 1);
                continue;
            }
            const size_t size = word - 0x2A + 16;
            if (pending.size() < size) break;
            Request request;
            request.raw = pending.substr(0, size);
            request.seq = static_cast<unsigned char>(request.raw[5]);
            request.command = readWord(request.raw, 6);
            request.data = request.raw.substr(10, size - 16);
            pending.erase(0, size);
            answer(request);
        }
    }
}

}  // namespace testing_device
