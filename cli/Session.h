#ifndef VERDA_CLI_SESSION_H
#define VERDA_CLI_SESSION_H

// One run of the tool against the register: its handle of the library's C
// interface, the link, opened on first use and closed at the end, the
// checking of each operation's result code, and the output streams.

#include <algorithm>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "capi/verda.h"
#include "cli/Args.h"

namespace cli {

// Exit codes, which scripts rely on.
enum ExitCode {
    kSuccess = 0,      // done
    kRefused = 1,      // the register refused (its own error number), or no such text
    kUsage = 2,        // bad input; nothing was sent
    kLinkFailure = 3,  // the port cannot be opened, or the register does not answer
};

// An operation that failed, or a link that cannot be opened.
struct Failure {
    std::string operation;  // the driver's operation, for the message
    int code;               // its result code
    std::string message;    // set instead of the code's text when there is no code
};

// What the tool runs in. main() gives the process's streams and the user's
// home; tests give string streams, hooks and a folder of their own.
struct Environment {
    std::ostream& out;
    std::ostream& err;
    bool terminal = false;  // err is a terminal: progress is animated
    // Called once the global options are read: main() sends the library's own
    // lines on standard output to standard error, or nowhere unless verbose.
    std::function<void(bool verbose)> libraryOutput;
    // The folder of the library's log, with a trailing "/": the user's home
    // directory, as VERDA::Init sets it (see userHome).
    std::string home;
};

// The home directory of the real user with a trailing "/", where the
// library keeps its log: "/" alone for a user without one.
std::string userHome();

// A text output of the C interface: a buffer that holds the longest, read
// back as UTF-8. Given to an inout text, it carries the value in.
class TextOut {
  public:
    TextOut() : buffer_(VERDA_TEXT_MAX, '\0') {}
    explicit TextOut(const std::string& value)
        : buffer_(std::max<size_t>(VERDA_TEXT_MAX, value.size() + 1), '\0') {
        value.copy(buffer_.data(), value.size());
    }
    char* data() { return buffer_.data(); }
    size_t size() const { return buffer_.size(); }
    std::string text() const { return buffer_.data(); }
    // The text as the terminal may show it (see shown in Format.h).
    std::string shown() const;

  private:
    std::vector<char> buffer_;
};

class Session {
  public:
    Session(Environment& environment, const Global& global);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    std::ostream& out() { return env_.out; }
    std::ostream& err() { return env_.err; }
    const Environment& environment() const { return env_; }
    const Global& global() const { return global_; }

    // The tool's handle, made on first use with its log in the environment's
    // home, where VERDA::Init puts the library's own.
    verda_device* device();

    // Opens the link on first use and, with init, runs PrinterInit, which the
    // driver needs before documents (firmware and model decide the form of
    // several requests). Throws UsageError without a transport, Failure when
    // the host is unknown or the link cannot be opened.
    verda_device* connect(bool init = true);

    // Throws Failure with code unless it is 0.
    void check(int code, const std::string& operation);

    // The text for a result code, through ReadingError: the register's own
    // when the link works, else the library's catalogue. Empty when neither
    // has one. Needs no link.
    std::string explain(int code);

    // Runs work and shows meanwhile that it is working: a spinner on a
    // terminal, one line otherwise.
    void longRun(const std::string& label, const std::function<void()>& work);

  private:
    void closeLink();

    Environment& env_;
    Global global_;
    verda_device* device_ = nullptr;
    bool opened_ = false;
    bool linkFailed_ = false;  // the last exchange failed
};

}  // namespace cli

#endif
