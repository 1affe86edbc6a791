#include "sim/Simulator.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <sstream>
#include <thread>

namespace sim {

namespace {

void closeFd(int& fd) {
    if (fd >= 0) close(fd);
    fd = -1;
}

std::string systemError(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

// A partial request older than this is given up: the driver has moved on.
const int kStaleMs = 1000;

}  // namespace

Simulator::Simulator(const Options& options) : options_(options) {}

Simulator::~Simulator() {
    for (int* fd : {&fd_, &slaveFd_, &listenFd_, &stopPipe_[0], &stopPipe_[1]}) closeFd(*fd);
    if (paperFile_ != nullptr && paperFile_ != stdout) std::fclose(paperFile_);
}

bool Simulator::start(std::string& error) {
    if (!load(error)) return false;
    if (options_.paper == "-") {
        paperFile_ = stdout;
    } else if (!options_.paper.empty()) {
        paperFile_ = std::fopen(options_.paper.c_str(), "a");
        if (paperFile_ == nullptr) {
            error = systemError("cannot open paper file " + options_.paper);
            return false;
        }
    }
    paper_.reset(new Paper(paperFile_));
    device_.reset(new Register(options_.identity, state_, *paper_));
    faults_.reset(new Faults(options_.faults, options_.seed));
    link_.reset(new Link(*device_, *faults_, options_.hangUp, [this] { persist(); }));
    if (pipe(stopPipe_) != 0) {
        error = systemError("pipe");
        return false;
    }
    fcntl(stopPipe_[1], F_SETFL, O_NONBLOCK);
    return options_.transport == Options::Pty ? openPty(error) : openTcp(error);
}

// --- State file -----------------------------------------------------------------

bool Simulator::load(std::string& error) {
    std::ifstream file(options_.stateFile.c_str(), std::ios::binary);
    if (options_.stateFile.empty() || !file) {
        // A fresh register: its clock shows local time.
        const std::time_t t = std::time(nullptr);
        std::tm local;
        localtime_r(&t, &local);
        state_.clockOffset = local.tm_gmtoff;
        state_.fiscalized = !options_.unfiscalized;
        if (!options_.serial.empty()) state_.serial = options_.serial;
        return true;
    }
    std::ostringstream text;
    text << file.rdbuf();
    if (!parse(text.str(), state_)) {
        error = "state file " + options_.stateFile + " is damaged or not a state file";
        return false;
    }
    saved_ = text.str();
    return true;
}

// Written whole to a new file, flushed to the disk and renamed over the old
// one, so that a kill at any moment leaves either the old or the new state.
void Simulator::persist() {
    if (options_.stateFile.empty()) return;
    const std::string text = serialize(state_);
    if (text == saved_) return;
    const std::string temporary = options_.stateFile + ".tmp";
    const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    bool ok = fd >= 0 && writeAll(fd, text.data(), text.size()) && fsync(fd) == 0;
    if (fd >= 0) ok = close(fd) == 0 && ok;
    ok = ok && std::rename(temporary.c_str(), options_.stateFile.c_str()) == 0;
    if (ok) {
        saved_ = text;
        saveFailed_ = false;
    } else if (!saveFailed_) {
        std::fprintf(stderr, "verda-sim: %s\n",
                     systemError("cannot write state file " + options_.stateFile).c_str());
        saveFailed_ = true;
    }
}

// --- Transports -------------------------------------------------------------------

bool Simulator::openPty(std::string& error) {
    fd_ = posix_openpt(O_RDWR | O_NOCTTY);
    if (fd_ < 0 || grantpt(fd_) != 0 || unlockpt(fd_) != 0 || ptsname(fd_) == nullptr) {
        error = systemError("cannot create a pseudo-terminal");
        return false;
    }
    ptyPath_ = ptsname(fd_);
    slaveFd_ = open(ptyPath_.c_str(), O_RDWR | O_NOCTTY);
    termios tio;
    if (slaveFd_ < 0 || tcgetattr(slaveFd_, &tio) != 0) {
        error = systemError("cannot open " + ptyPath_);
        return false;
    }
    cfmakeraw(&tio);
    tcsetattr(slaveFd_, TCSANOW, &tio);
    return true;
}

bool Simulator::openTcp(std::string& error) {
    sockaddr_in address;
    std::memset(&address, 0, sizeof address);
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<unsigned short>(options_.port));
    if (inet_pton(AF_INET, options_.host.c_str(), &address.sin_addr) != 1) {
        error = "not an IPv4 address: " + options_.host;
        return false;
    }
    listenFd_ = socket(AF_INET, SOCK_STREAM, 0);
    int on = 1;
    if (listenFd_ >= 0) setsockopt(listenFd_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (listenFd_ < 0 ||
        bind(listenFd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listenFd_, 4) != 0) {
        error = systemError("cannot listen on " + options_.host + ":" + str(options_.port));
        return false;
    }
    socklen_t size = sizeof address;
    getsockname(listenFd_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    return true;
}

std::string Simulator::address() const {
    return options_.transport == Options::Pty ? ptyPath_ : options_.host + ":" + str(port_);
}

void Simulator::stop() {
    const char wake = 0;
    if (write(stopPipe_[1], &wake, 1) < 0) {
        // the pipe is full: a stop is already pending
    }
}

// A new connection replaces the old one.
void Simulator::accept() {
    const int fd = ::accept(listenFd_, nullptr, nullptr);
    if (fd < 0) return;
    closeFd(fd_);
    fd_ = fd;
    link_->reset();
}

bool Simulator::run(std::string& error) {
    auto lastBytes = std::chrono::steady_clock::now();
    auto silentUntil = lastBytes;
    for (;;) {
        pollfd fds[3] = {{stopPipe_[0], POLLIN, 0}, {fd_, POLLIN, 0}, {listenFd_, POLLIN, 0}};
        const int ready = poll(fds, 3, 200);
        if (ready < 0 && errno != EINTR) {
            error = systemError("poll");
            return false;
        }
        if (fds[0].revents != 0) return true;
        if (fds[2].revents & POLLIN) accept();
        if (fd_ >= 0 && (fds[1].revents & (POLLIN | POLLHUP | POLLERR))) {
            char bytes[4096];
            const ssize_t got = read(fd_, bytes, sizeof bytes);
            if (got > 0 && std::chrono::steady_clock::now() < silentUntil) {
                // --hang-up-after on a pty: what arrives meanwhile is lost
            } else if (got > 0) {
                lastBytes = std::chrono::steady_clock::now();
                send(fd_, link_->receive(bytes, static_cast<size_t>(got)));
                if (link_->hangingUp() && listenFd_ >= 0) closeFd(fd_);
                if (link_->hangingUp() && listenFd_ < 0)
                    silentUntil = lastBytes + std::chrono::milliseconds(options_.hangUp.ms);
            } else if (listenFd_ >= 0) {
                closeFd(fd_);  // the client hung up
            } else {
                usleep(10000);  // a pty without a driver on it
            }
        }
        if (link_->pending() &&
            std::chrono::steady_clock::now() - lastBytes > std::chrono::milliseconds(kStaleMs))
            link_->dropPending();
    }
}

// Writes the chunks after their pauses; with --baud, each at the pace of the
// line: ten bit times a byte.
void Simulator::send(int fd, const std::vector<Chunk>& chunks) {
    for (const Chunk& chunk : chunks) {
        if (chunk.delayMs > 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(chunk.delayMs));
        if (options_.baud <= 0) {
            if (!writeAll(fd, chunk.bytes.data(), chunk.bytes.size())) return;
            continue;
        }
        const auto begin = std::chrono::steady_clock::now();
        const size_t perSlice = static_cast<size_t>(options_.baud / 1000) + 1;  // per 10 ms
        for (size_t at = 0; at < chunk.bytes.size(); at += perSlice) {
            const size_t count = std::min(perSlice, chunk.bytes.size() - at);
            if (!writeAll(fd, chunk.bytes.data() + at, count)) return;
            const long long micros =
                static_cast<long long>(at + count) * 10 * 1000000 / options_.baud;
            std::this_thread::sleep_until(begin + std::chrono::microseconds(micros));
        }
    }
}

bool Simulator::writeAll(int fd, const char* bytes, size_t count) {
    while (count > 0) {
        const ssize_t put = fd == fd_ && listenFd_ >= 0 ? ::send(fd, bytes, count, MSG_NOSIGNAL)
                                                        : write(fd, bytes, count);
        if (put < 0 && errno == EINTR) continue;
        if (put < 0 && errno == EAGAIN) {
            pollfd p = {fd, POLLOUT, 0};
            poll(&p, 1, 100);
            continue;
        }
        if (put <= 0) return false;
        bytes += put;
        count -= static_cast<size_t>(put);
    }
    return true;
}

}  // namespace sim
