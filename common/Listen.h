#ifndef VERDA_COMMON_LISTEN_H
#define VERDA_COMMON_LISTEN_H

// The register's end of the driver's line, for our programs that play a
// register (the simulator and the tests' scripted device): a
// pseudo-terminal, or a TCP socket that listens. Not part of the library and
// not installed.

#include <cstddef>
#include <string>

namespace endpoint {

// A pseudo-terminal in raw mode. The driver opens path; the slave side is
// held open here, so that the terminal lives on between the driver's opens.
struct Pty {
    int master = -1;
    int slave = -1;
    std::string path;
};

// False, with a message in error, when the terminal cannot be made.
bool openPty(Pty& pty, std::string& error);

// A socket listening on host (a numeric IPv4 address) and port. Port 0 lets
// the system choose, and port then holds the one chosen. -1, with a message
// in error, when it cannot listen.
int listenTcp(const std::string& host, int& port, std::string& error);

// The next connection waiting on a listening socket, or -1.
int acceptConnection(int listenFd);

// Writes all of bytes, to a socket without raising SIGPIPE, and waits while
// the far side is full. False once the far side is gone.
bool writeAll(int fd, bool socket, const char* bytes, std::size_t count);

// Closes fd if it is open, and marks it closed.
void closeFd(int& fd);

}  // namespace endpoint

#endif
