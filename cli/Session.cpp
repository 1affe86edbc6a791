#include "cli/Session.h"

#include <pwd.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "cli/Text.h"

namespace cli {

std::string userHome() {
    // A user without a passwd entry has no home: the log then fails to open
    // and says so on standard error, and the driver works on.
    const passwd* user = getpwuid(getuid());
    return std::string(user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "") + "/";
}

Session::Session(Environment& environment, const Global& global)
    : env_(environment), global_(global) {}

Session::~Session() {
    closeLink();
}

VR35& Session::device() {
    if (!device_) {
        device_.reset(new VR35());
        device_->homeDir = env_.home;
        device_->logEnabled = true;
    }
    return *device_;
}

void Session::closeLink() {
    if (!opened_) return;
    opened_ = false;
    if (global_.serial.empty())
        device_->CloseSocket();
    else
        device_->CloseCOMPort();
}

VR35& Session::connect(bool init) {
    VR35& driver = device();
    if (opened_) return driver;
    if (!global_.hasTransport())
        throw UsageError("no register given: use --serial PATH or --tcp HOST:PORT");
    if (global_.timeoutMs >= 0)
        driver.timeout = global_.serial.empty() ? global_.timeoutMs : global_.timeoutMs / 10;
    if (!global_.serial.empty()) {
        opened_ = true;  // a failed open still leaves a port to close
        if (!driver.OpenSerial(global_.serial, global_.baud))
            throw Failure{"OpenSerial", VERDA_EXCHANGE_FAILED,
                          "cannot open the serial port " + global_.serial};
    } else {
        // The driver connects to a numeric address only; a name is looked up
        // here, so that "localhost" works as people expect.
        std::string error;
        const std::string address = numericHost(global_.host, error);
        if (address.empty()) throw Failure{"OpenSocket", VERDA_EXCHANGE_FAILED, error};
        opened_ = true;
        if (!driver.OpenSocket(address, global_.port)) {
            // A refused connection shows only in the first exchange; this is
            // the receive timeout being refused.
            throw Failure{"OpenSocket", VERDA_EXCHANGE_FAILED, "cannot set up the connection"};
        }
    }
    if (init) check(driver.PrinterInit(), "PrinterInit");
    return driver;
}

void Session::check(int code, const char* operation) {
    linkFailed_ = code == VERDA_EXCHANGE_FAILED;
    if (code != 0) throw Failure{operation, code, std::string()};
}

std::string Session::explain(int code) {
    // After a failed exchange the link is closed first: asking the register
    // again would only wait out the timeout once more, and without a port
    // ReadingError answers from its catalogue at once.
    VR35& driver = device();
    if (linkFailed_) closeLink();
    int deviceCode = 0;
    std::string message;
    driver.ReadingError(code, deviceCode, message);  // the text is there even on failure
    return fromOneWay(message);
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
