#include "cli/Session.h"

#include <pwd.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <thread>

#include "cli/Format.h"

namespace cli {

std::string userHome() {
    // A user without a passwd entry has no home: the log then fails to open
    // and says so on standard error, and the driver works on.
    const passwd* user = getpwuid(getuid());
    return std::string(user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "") + "/";
}

std::string TextOut::shown() const {
    return cli::shown(text());
}

Session::Session(Environment& environment, const Global& global)
    : env_(environment), global_(global) {}

Session::~Session() {
    closeLink();
    verda_device_free(device_);
}

verda_device* Session::device() {
    if (device_ == nullptr) {
        device_ = verda_device_new();
        if (device_ == nullptr) throw std::bad_alloc();
        // A home that is no folder leaves the library without a log.
        verda_set_log_dir(device_, env_.home.c_str());
    }
    return device_;
}

void Session::closeLink() {
    if (!opened_) return;
    opened_ = false;
    verda_close(device_);
}

verda_device* Session::connect(bool init) {
    verda_device* d = device();
    if (opened_) return d;
    if (!global_.hasTransport())
        throw UsageError("no register given: use --serial PATH or --tcp HOST:PORT");
    if (global_.timeoutMs >= 0)
        check(verda_set_timeout(
                  d, global_.serial.empty() ? global_.timeoutMs : global_.timeoutMs / 10),
              "verda_set_timeout");
    if (!global_.serial.empty()) {
        opened_ = true;  // a failed open still leaves a port to close
        if (verda_open_serial(d, global_.serial.c_str(), global_.baud) != VERDA_OK)
            throw Failure{"OpenSerial", VERDA_EXCHANGE_FAILED,
                          "cannot open the serial port " + global_.serial};
    } else {
        const int opened = verda_open_socket(d, global_.host.c_str(), global_.port);
        if (opened == VERDA_UNKNOWN_HOST)
            throw Failure{"OpenSocket", VERDA_EXCHANGE_FAILED,
                          "cannot find the host " + global_.host + ": no IPv4 address"};
        opened_ = true;
        // A connection refused is left to the first exchange, which then
        // fails at once, as with any register that does not answer.
        if (opened != VERDA_OPEN_FAILED) check(opened, "OpenSocket");
    }
    if (init) check(verda_PrinterInit(d), "PrinterInit");
    return d;
}

void Session::check(int code, const std::string& operation) {
    linkFailed_ = code == VERDA_EXCHANGE_FAILED;
    if (code != 0) throw Failure{operation, code, std::string()};
}

std::string Session::explain(int code) {
    // After a failed exchange the link is closed first: asking the register
    // again would only wait out the timeout once more, and without a link
    // ReadingError answers from its catalogue at once.
    verda_device* d = device();
    if (linkFailed_) closeLink();
    int deviceCode = 0;
    TextOut message;
    // The text is there even on failure.
    verda_ReadingError(d, code, &deviceCode, message.data(), message.size());
    return message.shown();
}

void Session::longRun(const std::string& label, const std::function<void()>& work) {
    if (!env_.terminal) {
        env_.err << "verda: " << label << "...\n" << std::flush;
        work();
        return;
    }
    std::mutex mutex;
    std::condition_variable done;
    bool finished = false;
    std::thread spinner([&] {
        static const char kFrames[] = "|/-\\";
        std::unique_lock<std::mutex> lock(mutex);
        for (int i = 0; !finished; ++i) {
            env_.err << '\r' << label << "... " << kFrames[i % 4] << std::flush;
            done.wait_for(lock, std::chrono::milliseconds(120));
        }
        env_.err << "\r\033[K" << std::flush;
    });
    auto stop = [&] {
        {
            std::lock_guard<std::mutex> lock(mutex);
            finished = true;
        }
        done.notify_one();
        spinner.join();
    };
    try {
        work();
    } catch (...) {
        stop();
        throw;
    }
    stop();
}

}  // namespace cli
