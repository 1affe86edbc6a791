#include "transport/SocketPort.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

SocketPort::SocketPort() {
    fd = 0;
}

SocketPort::~SocketPort() {}

bool SocketPort::Close() {
    shutdown(fd, 2);
    close(fd);
    return true;  // fd keeps its value
}

bool SocketPort::isOpen() {
    return opened;
}

long SocketPort::Write(const void* data, unsigned long size) {
    return send(fd, data, size, 0);
}

long SocketPort::WriteChar(signed char value) {
    return Write(&value, 1);
}

long SocketPort::WriteUChar(unsigned char value) {
    return Write(&value, 1);
}

long SocketPort::WriteUInt(unsigned int value) {
    return Write(&value, sizeof value);
}

long SocketPort::Read(void* buffer, unsigned long size) {
    return recv(fd, buffer, size, 0);
}

// Open reports true whatever happens; a failed connection shows up in the
// exchanges. The open flag is what SendPMessage tests before it sends, so it
// must not be left to chance: it is set here to whether the connection was
// made. A port whose connect failed then ends every exchange with 100001 at
// once, instead of sending into a dead socket and waiting out every repeat.
bool SocketPort::Open(const char* host, int port) {
    fd = socket(AF_INET, SOCK_STREAM, 0);
    if (fd == -1) printf("Could not create socket");
    puts("Socket created");

    sockaddr_in address;
    std::memset(&address, 0, sizeof address);
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(host);
    address.sin_port = htons(static_cast<unsigned short>(port & 0xFFFF));

    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) < 0) {
        perror("connect failed. Error");
        opened = false;
    } else {
        puts("Connected\n");
        opened = true;
        // A frame leaves in eight writes; without this, every write after the
        // first waits for the peer's delayed acknowledgement (tens of ms).
        int on = 1;
        setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    return true;
}

bool SocketPort::SetTimeout(unsigned long timeout) {
    // Not split into seconds: from 1000 on the microseconds are out of range
    // and the system refuses the value.
    timeval tv;
    std::memset(&tv, 0, sizeof tv);
    tv.tv_sec = 0;
    tv.tv_usec = static_cast<suseconds_t>(timeout * 1000);
    return setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv) == 0;
}
