#include "bench/Line.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <stdexcept>

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

sockaddr_in loopback(int port) {
    sockaddr_in address;
    std::memset(&address, 0, sizeof address);
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<unsigned short>(port));
    return address;
}

void noDelay(int fd) {
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

// Waits until the moment: asleep until shortly before it, then spinning, so
// that the line's pace does not take on the sleep's lateness.
void waitUntil(Clock::time_point moment) {
    std::this_thread::sleep_until(moment - std::chrono::microseconds(100));
    while (Clock::now() < moment) {
    }
}

}  // namespace

Line::Line(int registerPort, long baud) : baud_(baud) {
    listenFd_ = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback(0);
    if (bind(listenFd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listenFd_, 1) != 0)
        throw std::runtime_error("line: listen");
    socklen_t size = sizeof address;
    getsockname(listenFd_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);

    registerFd_ = socket(AF_INET, SOCK_STREAM, 0);
    address = loopback(registerPort);
    if (connect(registerFd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("line: connect");
    noDelay(registerFd_);
    // The driver connects once the line is made; the first direction waits
    // for it.
    toRegister_ = std::thread([this] {
        driverFd_ = accept(listenFd_, nullptr, nullptr);
        if (driverFd_ < 0) return;
        noDelay(driverFd_);
        toDriver_ = std::thread([this] { carry(registerFd_, driverFd_); });
        carry(driverFd_, registerFd_);
    });
}

// The driver has closed its end by now: the direction towards the register
// ends with that, the other one with the shutdown here.
Line::~Line() {
    shutdown(listenFd_, SHUT_RDWR);
    shutdown(registerFd_, SHUT_RDWR);
    toRegister_.join();
    if (toDriver_.joinable()) toDriver_.join();
    for (int fd : {listenFd_, registerFd_, driverFd_})
        if (fd >= 0) close(fd);
}

// Each piece leaves when the line would have carried its last bit: the line
// is busy from the piece's arrival, or from the end of the one before.
void Line::carry(int from, int to) {
    char bytes[4096];
    Clock::time_point free = Clock::now();
    for (;;) {
        const ssize_t got = read(from, bytes, sizeof bytes);
        if (got <= 0) return;
        const Clock::time_point arrived = Clock::now();
        if (free < arrived) free = arrived;
        free += std::chrono::microseconds(got * 10 * 1000000LL / baud_);
        waitUntil(free);
        const long long late =
            std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - free).count();
        bytes_ += got;
        for (ssize_t at = 0; at < got;) {
            const ssize_t put = write(to, bytes + at, static_cast<size_t>(got - at));
            if (put <= 0) return;
            at += put;
        }
        // The lateness of the last piece of a message is what the other side
        // waits for; a piece with more behind it passes its lateness on.
        pollfd more = {from, POLLIN, 0};
        if (poll(&more, 1, 0) == 0) lateMicros_ += late;
    }
}

}  // namespace bench
