#ifndef VERDA_TRANSPORT_PORT_H
#define VERDA_TRANSPORT_PORT_H

// Abstract byte stream to the register. Every operation is one system call:
// no buffering, no write-all loop, no retry. Framing and repeats live above.
class Port {
  public:
    int fd;       // descriptor; 0 means "none held"
    bool opened;  // the value isOpen() reports

    Port() : fd(0), opened(false) {}
    virtual ~Port() {}
    virtual bool Close() = 0;
    virtual bool isOpen() = 0;
    virtual long Write(const void* data, unsigned long size) = 0;
    virtual long WriteChar(signed char value) = 0;
    virtual long WriteUChar(unsigned char value) = 0;
    virtual long WriteUInt(unsigned int value) = 0;
    virtual long Read(void* buffer, unsigned long size) = 0;
};

#endif
