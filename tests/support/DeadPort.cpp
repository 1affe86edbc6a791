#include "support/DeadPort.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

std::string deadAddress() {
    // A port that was just free: bound, then released without listening.
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = sockaddr_in();
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    bind(fd, reinterpret_cast<sockaddr*>(&address), length);
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    close(fd);
    return "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}
