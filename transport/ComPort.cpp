#include "transport/ComPort.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cstring>
#include <iostream>

namespace {

// The speed table shared by getBaudRate and CheckBaudRate.
const long kSpeedByCode[8] = {1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200};

speed_t speedConstant(int baudRate, bool& known) {
    known = true;
    switch (baudRate) {
        case 1200:
            return B1200;
        case 1800:
            return B1800;
        case 2400:
            return B2400;
        case 4800:
            return B4800;
        case 9600:
            return B9600;
        case 19200:
            return B19200;
        case 38400:
            return B38400;
        case 57600:
            return B57600;
        case 115200:
            return B115200;
        default:
            known = false;
            // An unknown rate is handed to cfsetospeed as if it were a constant.
            return static_cast<speed_t>(baudRate);
    }
}

}  // namespace

long getBaudRate(long code) {
    return (code >= 0 && code <= 7) ? kSpeedByCode[code] : 0;
}

ComPort::ComPort() : portName(1, '\x01'), baudRate(115200) {
    fd = 0;
    opened = false;
}

ComPort::~ComPort() {}

bool ComPort::Close() {
    // Closes whatever fd holds, descriptor 0 of a fresh port included.
    if (close(fd) == -1) {
        fd = 0;
        return false;
    }
    opened = false;
    fd = 0;
    return true;
}

bool ComPort::isOpen() {
    return opened;
}

long ComPort::Write(const void* data, unsigned long size) {
    return write(fd, data, size);
}

long ComPort::WriteChar(signed char value) {
    return Write(&value, 1);
}

long ComPort::WriteUChar(unsigned char value) {
    return Write(&value, 1);
}

long ComPort::WriteUInt(unsigned int value) {
    return Write(&value, sizeof value);
}

long ComPort::Read(void* buffer, unsigned long size) {
    return read(fd, buffer, size);
}

bool ComPort::Open(std::string name) {
    if (fd != 0) Close();
    fd = open(name.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    if (fd == -1) {
        std::cout << "Unable to open " << name << std::endl;
        opened = false;
        return false;
    }
    fcntl(fd, F_SETFL, 0);  // back to blocking reads, bounded by VTIME
    opened = true;
    return true;
}

bool ComPort::Open(std::wstring name) {
    std::string narrow(name.size(), '\0');
    for (size_t i = 0; i < name.size(); ++i)
        narrow[i] = static_cast<char>(static_cast<unsigned int>(name[i]) & 0xFF);
    return Open(narrow);
}

void ComPort::CheckBaudRate() {
    if (baudRate >= 0 && baudRate <= 7) baudRate = static_cast<int>(kSpeedByCode[baudRate]);
}

bool ComPort::Setup(int mode) {
    CheckBaudRate();
    termios tio;
    std::memset(&tio, 0, sizeof tio);
    if (tcgetattr(fd, &tio) != 0) {
        std::cout << "Error read serial port config." << std::endl;
        return false;
    }
    bool known = false;
    const speed_t speed = speedConstant(baudRate, known);
    if (cfsetospeed(&tio, speed) == -1 || !known)
        std::cout << "Error set baud rate \"" << baudRate << "\"." << std::endl;
    if (mode == 0) {
        tio.c_cflag &= ~(PARENB | CSTOPB | CSIZE);
        tio.c_cflag |= CS8;
        tio.c_lflag &= ~(ICANON | ECHO | ECHOE | ISIG);
    }
    // c_iflag, c_oflag and the other c_cflag bits stay as the terminal had them.
    if (tcsetattr(fd, TCSANOW, &tio) != 0) std::cout << "Error set attributes." << std::endl;
    return true;
}

bool ComPort::SetTimeout(unsigned long timeout) {
    termios tio;
    std::memset(&tio, 0, sizeof tio);
    tcgetattr(fd, &tio);
    tio.c_cc[VMIN] = 0;
    // Tenths of a second, truncated; only the low 8 bits fit VTIME, so 2560 gives 0.
    // Integer division truncates exactly as the conversion from timeout / 10.0 would.
    tio.c_cc[VTIME] = static_cast<cc_t>((timeout / 10) & 0xFF);
    tcsetattr(fd, TCSANOW, &tio);
    return true;
}

long ComPort::WriteString(std::string text) {
    return Write(text.data(), text.size());
}

unsigned int ComPort::ReadUInt1(bool* ok) {
    unsigned char byte = 0;
    *ok = Read(&byte, 1) == 1;
    return byte;
}
