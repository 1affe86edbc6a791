// Serial and TCP transports, and the driver's open and close functions.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include "api/CorteliaVERDA.h"
#include "api/Globals.h"
#include "device/VR35.h"
#include "support/TestLog.h"
#include "transport/ComPort.h"
#include "transport/SocketPort.h"

using testing_device::ScriptedDevice;

namespace {

termios settingsOf(const std::string& path) {
    const int fd = open(path.c_str(), O_RDWR | O_NOCTTY);
    termios tio;
    tcgetattr(fd, &tio);
    close(fd);
    return tio;
}

TEST(GetBaudRate, MapsTheEightSpeedCodes) {
    const long rates[] = {1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200};
    for (long code = 0; code < 8; ++code) EXPECT_EQ(getBaudRate(code), rates[code]);
    EXPECT_EQ(getBaudRate(8), 0);
    EXPECT_EQ(getBaudRate(-1), 0);
    EXPECT_EQ(getBaudRate(115200), 0);
}

TEST(ComPort, ConstructionDefaults) {
    ComPort port;
    EXPECT_EQ(port.fd, 0);
    EXPECT_FALSE(port.isOpen());
    EXPECT_EQ(port.portName, std::string(1, '\x01'));
    EXPECT_EQ(port.baudRate, 115200);
}

TEST(ComPort, OpenOfAMissingPathPrintsAndFails) {
    ComPort port;
    std::string out =
        captureStdout([&] { EXPECT_FALSE(port.Open(std::string("/nonexistent/tty"))); });
    EXPECT_EQ(out, "Unable to open /nonexistent/tty\n");
    EXPECT_FALSE(port.isOpen());
    EXPECT_EQ(port.fd, -1);
}

TEST(ComPort, WideNameKeepsTheLowByteOfEachCharacter) {
    ComPort port;
    // U+016C has the low byte 0x6C, "l".
    EXPECT_TRUE(port.Open(std::wstring(L"/dev/nul\u016C")));
    EXPECT_TRUE(port.isOpen());
    EXPECT_TRUE(port.Close());
    EXPECT_FALSE(port.isOpen());
    EXPECT_EQ(port.fd, 0);
}

TEST(ComPort, SecondOpenClosesTheFirstDescriptor) {
    ComPort port;
    ASSERT_TRUE(port.Open(std::string("/dev/null")));
    const int first = port.fd;
    ASSERT_TRUE(port.Open(std::string("/dev/zero")));
    EXPECT_EQ(fcntl(first, F_GETFD) == -1 || first == port.fd, true);
    port.Close();
}

class SerialSettings : public ::testing::Test {
  protected:
    void SetUp() override { device.reset(new ScriptedDevice(ScriptedDevice::Pty)); }
    std::unique_ptr<ScriptedDevice> device;
};

TEST_F(SerialSettings, BaudRatesAndTheirMessages) {
    const struct {
        int baud;
        speed_t expected;
        std::string out;
    } cases[] = {
        {7, B115200, ""},
        {115200, B115200, ""},
        {0, B1200, ""},
        {3, B9600, ""},
        {1800, B1800, ""},
        {57600, B57600, ""},
        {8, B600, "Error set baud rate \"8\".\n"},  // no code, no known rate: 8 is B600's value
    };
    for (const auto& c : cases) {
        ComPort port;
        ASSERT_TRUE(port.Open(device->path()));
        port.baudRate = c.baud;
        std::string out = captureStdout([&] { EXPECT_TRUE(port.Setup(0)) << c.baud; });
        EXPECT_EQ(out, c.out) << c.baud;
        EXPECT_EQ(cfgetospeed(&static_cast<const termios&>(settingsOf(device->path()))), c.expected)
            << c.baud;
        port.Close();
    }
}

TEST_F(SerialSettings, ModeZeroMakesEightNoneOneAndLeavesTranslationAlone) {
    const int fd = open(device->path().c_str(), O_RDWR | O_NOCTTY);
    termios tio;
    tcgetattr(fd, &tio);
    tio.c_cflag |= PARENB | CSTOPB | CLOCAL;
    tio.c_cflag &= ~CSIZE;
    tio.c_cflag |= CS7;
    tio.c_lflag |= ICANON | ECHO | ECHOE | ISIG | IEXTEN;
    tio.c_iflag |= ICRNL;
    tio.c_oflag |= OPOST;
    tcsetattr(fd, TCSANOW, &tio);
    close(fd);

    ComPort port;
    ASSERT_TRUE(port.Open(device->path()));
    ASSERT_TRUE(port.Setup(0));
    termios after = settingsOf(device->path());
    EXPECT_EQ(after.c_cflag & (PARENB | CSTOPB | CSIZE), static_cast<tcflag_t>(CS8));
    EXPECT_NE(after.c_cflag & CLOCAL, 0u);  // other bits untouched
    EXPECT_EQ(after.c_lflag & (ICANON | ECHO | ECHOE | ISIG), 0u);
    EXPECT_NE(after.c_lflag & IEXTEN, 0u);
    EXPECT_NE(after.c_iflag & ICRNL, 0u);
    EXPECT_NE(after.c_oflag & OPOST, 0u);

    // Any other mode sets the speed only.
    ASSERT_TRUE(port.Open(device->path()));
    termios before = settingsOf(device->path());
    port.baudRate = 9600;
    ASSERT_TRUE(port.Setup(1));
    after = settingsOf(device->path());
    EXPECT_EQ(cfgetospeed(&after), static_cast<speed_t>(B9600));
    EXPECT_EQ(after.c_cflag & ~CBAUD, before.c_cflag & ~CBAUD);
    EXPECT_EQ(after.c_lflag, before.c_lflag);
    port.Close();
}

TEST_F(SerialSettings, TimeoutBecomesTenthsOfASecondInVtime) {
    const struct {
        unsigned long timeout;
        int vtime;
    } cases[] = {{50, 5}, {9, 0}, {10, 1}, {2550, 255}, {2560, 0}, {2570, 1}};
    ComPort port;
    ASSERT_TRUE(port.Open(device->path()));
    for (const auto& c : cases) {
        EXPECT_TRUE(port.SetTimeout(c.timeout));
        termios tio = settingsOf(device->path());
        EXPECT_EQ(tio.c_cc[VTIME], c.vtime) << c.timeout;
        EXPECT_EQ(tio.c_cc[VMIN], 0) << c.timeout;
    }
    port.Close();
}

TEST_F(SerialSettings, ReadUInt1ReportsATimeout) {
    ComPort port;
    ASSERT_TRUE(port.Open(device->path()));
    port.Setup(0);
    port.SetTimeout(0);  // VTIME 0: a read returns at once
    bool ok = true;
    EXPECT_EQ(port.ReadUInt1(&ok), 0u);
    EXPECT_FALSE(ok);
    device->send("\xA5");
    port.SetTimeout(10);
    EXPECT_EQ(port.ReadUInt1(&ok), 0xA5u);
    EXPECT_TRUE(ok);
    port.Close();
}

TEST(Driver, OpenSerialOnAMissingDeviceStillHoldsAPort) {
    VERDA::Init();
    TempDir home;
    vr35->homeDir = home.path();
    std::string out =
        captureStdout([] { EXPECT_FALSE(VERDA::OpenSerial("/nonexistent/ttyS9", 115200)); });
    EXPECT_EQ(out, "Unable to open /nonexistent/ttyS9\n");
    ASSERT_NE(vr35->port, nullptr);
    const unsigned char seq = vr35->seq;
    EXPECT_FALSE(VERDA::CheckConnection());
    EXPECT_EQ(g_ResultCode, 100001);
    EXPECT_EQ(vr35->seq, seq + 1);      // the sequence advanced before the open test
    EXPECT_TRUE(VERDA::CloseSocket());  // closes any kind of port
    EXPECT_EQ(vr35->port, nullptr);
    EXPECT_TRUE(VERDA::CloseSerial());  // and nothing at all
    // OpenCOMPort opens the port number as a relative path.
    out = captureStdout([] { EXPECT_FALSE(vr35->OpenCOMPort(3, 7)); });
    EXPECT_EQ(out, "Unable to open 3\n");
    VERDA::CloseSerial();
    VERDA::Done();
    vr35 = nullptr;
}

TEST(Driver, OpenSerialOnSomethingThatIsNoTerminal) {
    VERDA::Init();
    std::string out = captureStdout([] { EXPECT_FALSE(VERDA::OpenSerial("/dev/null", 9600)); });
    EXPECT_EQ(out, "Error read serial port config.\n");
    VERDA::CloseSerial();
    VERDA::Done();
    vr35 = nullptr;
}

TEST(Driver, NoPortMeansFailureWithoutLog) {
    VERDA::Init();
    TempDir home;
    vr35->homeDir = home.path();
    std::string reply = "kept";
    EXPECT_EQ(vr35->SendPMessage(0x2D, nullptr, 0, reply), 100001);
    EXPECT_EQ(reply, "kept");
    EXPECT_TRUE(logLines(home.path() + "CorteliaVERDA.log").empty());
    VERDA::Done();
    vr35 = nullptr;
}

class Socket : public ::testing::Test {
  protected:
    void SetUp() override {
        VERDA::Init();
        vr35->homeDir = home.path();
    }
    void TearDown() override {
        VERDA::CloseSocket();
        VERDA::Done();
        vr35 = nullptr;
    }
    TempDir home;
};

TEST_F(Socket, ConnectedSocketHasNoDelaySet) {
    ScriptedDevice device(ScriptedDevice::Tcp);
    std::string out =
        captureStdout([&] { EXPECT_TRUE(VERDA::OpenSocket("127.0.0.1", device.port())); });
    EXPECT_EQ(out, "Socket created\nConnected\n\n");
    int on = 0;
    socklen_t size = sizeof on;
    ASSERT_EQ(getsockopt(vr35->port->fd, IPPROTO_TCP, TCP_NODELAY, &on, &size), 0);
    EXPECT_NE(on, 0);
    device.replyAlways("0\t");
    EXPECT_TRUE(VERDA::CheckConnection());
}

TEST_F(Socket, PortNumberIsCutToSixteenBits) {
    ScriptedDevice device(ScriptedDevice::Tcp);
    captureStdout([&] { EXPECT_TRUE(VERDA::OpenSocket("127.0.0.1", device.port() + 65536)); });
    device.replyAlways("0\t");
    EXPECT_TRUE(VERDA::CheckConnection());
}

TEST_F(Socket, FailedConnectionStillReportsTrueAndExchangesFail) {
    // "localhost" is not a numeric address; a closed port refuses.
    int closedPort;
    {
        ScriptedDevice probe(ScriptedDevice::Tcp);
        closedPort = probe.port();
    }
    for (const std::string& host : {std::string("127.0.0.1"), std::string("localhost")}) {
        std::string err;
        std::string out = captureStdout([&] {
            err = captureStderr([&] { EXPECT_TRUE(VERDA::OpenSocket(host, closedPort)); });
        });
        EXPECT_EQ(out, "Socket created\n") << host;
        EXPECT_EQ(err.rfind("connect failed. Error: ", 0), 0u) << err;
        EXPECT_FALSE(VERDA::CheckConnection());
        EXPECT_EQ(g_ResultCode, 100001);
    }
}

TEST_F(Socket, TimeoutOfOneSecondOrMoreIsRefused) {
    ScriptedDevice device(ScriptedDevice::Tcp);
    VERDA::setTimeOut(999);
    captureStdout([&] { EXPECT_TRUE(VERDA::OpenSocket("127.0.0.1", device.port())); });
    VERDA::setTimeOut(1000);
    captureStdout([&] { EXPECT_FALSE(VERDA::OpenSocket("127.0.0.1", device.port())); });
    // The connection stays up, without a receive timeout.
    ASSERT_NE(vr35->port, nullptr);
    device.replyAlways("0\t");
    EXPECT_TRUE(VERDA::CheckConnection());
}

TEST_F(Socket, EitherTransportReplacesTheOther) {
    ScriptedDevice tcp(ScriptedDevice::Tcp);
    ScriptedDevice pty(ScriptedDevice::Pty);
    tcp.replyAlways("0\ttcp\t");
    pty.replyAlways("0\tpty\t");
    captureStdout([&] { ASSERT_TRUE(VERDA::OpenSocket("127.0.0.1", tcp.port())); });
    ASSERT_TRUE(VERDA::OpenSerial(pty.path(), 115200));
    EXPECT_TRUE(VERDA::CheckConnection());
    EXPECT_EQ(pty.requests().size(), 1u);
    captureStdout([&] { ASSERT_TRUE(VERDA::OpenSocket("127.0.0.1", tcp.port())); });
    EXPECT_TRUE(VERDA::CheckConnection());
    EXPECT_EQ(tcp.requests().size(), 1u);
    EXPECT_TRUE(VERDA::CloseSerial());
    EXPECT_EQ(vr35->port, nullptr);
}

}  // namespace
