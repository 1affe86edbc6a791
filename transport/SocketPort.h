#ifndef VERDA_TRANSPORT_SOCKETPORT_H
#define VERDA_TRANSPORT_SOCKETPORT_H

#include "transport/Port.h"

// One TCP connection to a register listening on a numeric IPv4 address.
class SocketPort : public Port {
  public:
    SocketPort();
    ~SocketPort() override;  // does not close the socket

    bool Close() override;
    bool isOpen() override;
    long Write(const void* data, unsigned long size) override;
    long WriteChar(signed char value) override;
    long WriteUChar(unsigned char value) override;
    long WriteUInt(unsigned int value) override;
    long Read(void* buffer, unsigned long size) override;

    bool Open(const char* host, int port);   // always true; see the .cpp
    bool SetTimeout(unsigned long timeout);  // receive timeout in milliseconds
};

#endif
