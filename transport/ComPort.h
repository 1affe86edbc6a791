#ifndef VERDA_TRANSPORT_COMPORT_H
#define VERDA_TRANSPORT_COMPORT_H

#include <string>

#include "transport/Port.h"

// Baud rate of speed code 0..7 (1200..115200); 0 for any other code.
long getBaudRate(long code);

// A POSIX terminal device driven through termios.
class ComPort : public Port {
  public:
    std::string portName;  // a single 0x01 byte until set; Open() does not read it
    int baudRate;          // a baud rate, or a speed code 0..7

    ComPort();
    ~ComPort() override;  // does not close the descriptor

    bool Close() override;
    bool isOpen() override;
    long Write(const void* data, unsigned long size) override;
    long WriteChar(signed char value) override;
    long WriteUChar(unsigned char value) override;
    long WriteUInt(unsigned int value) override;
    long Read(void* buffer, unsigned long size) override;

    bool Open(std::string name);
    bool Open(std::wstring name);  // keeps the low 8 bits of each character
    void CheckBaudRate();
    bool Setup(int mode);
    bool SetTimeout(unsigned long timeout);
    long WriteString(std::string text);
    unsigned int ReadUInt1(bool* ok);
};

#endif
