// The handle's life and link, and the texts of the result codes.

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <string>

#include "capi/Wrapper.h"
#include "wire/ErrorCatalogue.h"
#include "transport/ComPort.h"
#include "transport/SocketPort.h"

namespace {

// The first IPv4 address of host, as the numeric text the transport takes.
bool resolve(const char* host, std::string& address) {
    addrinfo hints = addrinfo();
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(host, nullptr, &hints, &found) != 0 || found == nullptr) return false;
    char text[INET_ADDRSTRLEN] = {};
    const sockaddr_in* ipv4 = reinterpret_cast<const sockaddr_in*>(found->ai_addr);
    const bool ok = inet_ntop(AF_INET, &ipv4->sin_addr, text, sizeof text) != nullptr;
    freeaddrinfo(found);
    address = text;
    return ok;
}

// The longest read timeout: a serial line waits whole tenths of a second,
// at most 255 of them, so 2559 in its units of 10 ms; on TCP, in units of
// 1 ms, it is 2.559 s. One range for both, so that a timeout set before an
// open suits whichever link is opened.
const int kLongestTimeout = 2559;

// The timeout on the link that is open, whichever kind it is. On TCP the
// receive timeout is set here, in seconds and microseconds: the transport's
// own SetTimeout gives the system all of it as microseconds, which it
// refuses from one second on.
bool applyTimeout(Port* port, int timeout) {
    if (dynamic_cast<SocketPort*>(port) != nullptr) {
        timeval tv = timeval();
        tv.tv_sec = timeout / 1000;
        tv.tv_usec = static_cast<suseconds_t>(timeout % 1000) * 1000;
        return setsockopt(port->fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv) == 0;
    }
    if (ComPort* com = dynamic_cast<ComPort*>(port))
        return com->SetTimeout(static_cast<unsigned long>(timeout));
    return true;
}

}  // namespace

extern "C" {

verda_device* verda_device_new(void) {
    try {
        return new verda_device();  // VR35's own defaults: timeout 50, no log
    } catch (...) {
        return nullptr;
    }
}

void verda_device_free(verda_device* d) {
    if (d == nullptr) return;
    verda_close(d);
    delete d;
}

int verda_open_socket(verda_device* d, const char* host, int port) {
    if (!capi::given(host)) return VERDA_NULL_ARGUMENT;
    return capi::run(d, [&](VR35& device) -> int {
        if (port < 1 || port > 65535) return VERDA_INVALID_ARGUMENT;
        std::string address;
        if (!resolve(host, address)) return VERDA_UNKNOWN_HOST;
        // The transport reports a failed connect only through isOpen. Its own
        // setting of the timeout refuses a second and more; the handle's
        // timeout, which may be that long, is set again here.
        device.OpenSocket(address, port);
        if (!device.port->isOpen() || !applyTimeout(device.port, device.timeout))
            return VERDA_OPEN_FAILED;
        return VERDA_OK;
    });
}

int verda_open_serial(verda_device* d, const char* path, int baud) {
    if (!capi::given(path)) return VERDA_NULL_ARGUMENT;
    return capi::run(d, [&](VR35& device) -> int {
        // VR35::OpenSerial closes descriptor 0 of the process before it
        // opens, as the C++ interface always has; a library handle inside a
        // host program must not take its standard input, so the port is
        // opened here the same way without that step.
        if (device.port != nullptr) {
            device.port->Close();
            delete device.port;
            device.port = nullptr;
        }
        ComPort* com = new ComPort();
        com->portName = path;
        com->baudRate = baud;
        device.port = com;  // kept when the open fails: exchanges then give 100001
        if (!com->Open(com->portName) || !com->Setup(0) || !applyTimeout(com, device.timeout))
            return VERDA_OPEN_FAILED;
        return VERDA_OK;
    });
}

int verda_close(verda_device* d) {
    return capi::run(d, [&](VR35& device) -> int {
        device.CloseCOMPort();
        return VERDA_OK;
    });
}

int verda_set_timeout(verda_device* d, int timeout) {
    return capi::run(d, [&](VR35& device) -> int {
        if (timeout < 0 || timeout > kLongestTimeout) return VERDA_INVALID_ARGUMENT;
        if (device.port != nullptr && device.port->isOpen() && !applyTimeout(device.port, timeout))
            return VERDA_INVALID_ARGUMENT;
        device.timeout = timeout;
        return VERDA_OK;
    });
}

int verda_set_log_dir(verda_device* d, const char* dir) {
    return capi::run(d, [&](VR35& device) -> int {
        if (dir == nullptr) {
            device.logEnabled = false;
            return VERDA_OK;
        }
        struct stat info;
        if (dir[0] == '\0' || stat(dir, &info) != 0 || !S_ISDIR(info.st_mode))
            return VERDA_INVALID_ARGUMENT;
        device.homeDir = dir;
        if (device.homeDir.back() != '/') device.homeDir += '/';
        device.logEnabled = true;
        return VERDA_OK;
    });
}

int verda_link_counters(verda_device* d, unsigned long long* sent, unsigned long long* repeated,
                        unsigned long long* naks) {
    return capi::run(d, [&](VR35& device) -> int {
        if (sent != nullptr) *sent = device.framesSent;
        if (repeated != nullptr) *repeated = device.framesRepeated;
        if (naks != nullptr) *naks = device.naksReceived;
        return VERDA_OK;
    });
}

const char* verda_error_text(int code) {
    switch (code) {
        case VERDA_OK:
            return "Успешно";
        case VERDA_EMPTY_RESULT:
            return "Регистратор вернул пустое поле результата";
        case VERDA_LICENCE_REFUSED:
            return "Отказ проверки лицензии";
        case VERDA_NULL_ARGUMENT:
            return "Не задан дескриптор устройства, текст или указатель для результата (NULL)";
        case VERDA_INVALID_UTF8:
            return "Входной текст не в кодировке UTF-8";
        case VERDA_NOT_IN_CODE_PAGE:
            return "Символ текста не передаётся в кодовой странице регистратора";
        case VERDA_BUFFER_TOO_SMALL:
            return "Буфер для текста мал: текст обрезан";
        case VERDA_REPLY_TOO_SHORT:
            return "Ответ регистратора короче своего заголовка";
        case VERDA_OUT_OF_MEMORY:
            return "Недостаточно памяти";
        case VERDA_INVALID_ARGUMENT:
            return "Недопустимое значение аргумента";
        case VERDA_OPEN_FAILED:
            return "Не удалось открыть порт или установить соединение";
        case VERDA_UNKNOWN_HOST:
            return "Не найден IPv4-адрес узла";
        case VERDA_UNKNOWN_OPERATION:
            return "Нет операции с таким именем";
        case VERDA_INTERNAL_ERROR:
            return "Внутренняя ошибка библиотеки";
        default:
            break;
    }
    if (const char* text = errorText(code)) return text;
    return code > 0 ? "Неизвестная ошибка регистратора" : "Неизвестный код результата";
}

}  // extern "C"
