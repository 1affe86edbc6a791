#include "common/Listen.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace endpoint {

namespace {

std::string systemError(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

const int kListenBacklog = 4;
const int kFullWaitMs = 100;

}  // namespace

bool openPty(Pty& pty, std::string& error) {
    pty.master = posix_openpt(O_RDWR | O_NOCTTY);
    if (pty.master < 0 || grantpt(pty.master) != 0 || unlockpt(pty.master) != 0 ||
        ptsname(pty.master) == nullptr) {
        error = systemError("cannot create a pseudo-terminal");
        return false;
    }
    pty.path = ptsname(pty.master);
    pty.slave = open(pty.path.c_str(), O_RDWR | O_NOCTTY);
    termios tio;
    if (pty.slave < 0 || tcgetattr(pty.slave, &tio) != 0) {
        error = systemError("cannot open " + pty.path);
        return false;
    }
    cfmakeraw(&tio);
    tcsetattr(pty.slave, TCSANOW, &tio);
    return true;
}

int listenTcp(const std::string& host, int& port, std::string& error) {
    sockaddr_in address;
    std::memset(&address, 0, sizeof address);
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<unsigned short>(port));
    if (inet_pton(AF_INET, host.c_str(), &address.sin_addr) != 1) {
        error = "not an IPv4 address: " + host;
        return -1;
    }
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    int on = 1;
    if (fd >= 0) setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(fd, kListenBacklog) != 0) {
        error = systemError("cannot listen on " + host + ":" + std::to_string(port));
        closeFd(fd);
        return -1;
    }
    socklen_t size = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    port = ntohs(address.sin_port);
    return fd;
}

int acceptConnection(int listenFd) {
    int fd;
    do fd = accept(listenFd, nullptr, nullptr);
    while (fd < 0 && errno == EINTR);
    return fd;
}

bool writeAll(int fd, bool socket, const char* bytes, std::size_t count) {
    while (count > 0) {
        const ssize_t put = socket ? send(fd, bytes, count, MSG_NOSIGNAL) : write(fd, bytes, count);
        if (put < 0 && errno == EINTR) continue;
        if (put < 0 && errno == EAGAIN) {
            pollfd p = {fd, POLLOUT, 0};
            poll(&p, 1, kFullWaitMs);
            continue;
        }
        if (put <= 0) return false;
        bytes += put;
        count -= static_cast<std::size_t>(put);
    }
    return true;
}

void closeFd(int& fd) {
    if (fd >= 0) close(fd);
    fd = -1;
}

}  // namespace endpoint
