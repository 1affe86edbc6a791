// verda: drives a fiscal register from a shell through libCorteliaVERDA.
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <iostream>
#include <streambuf>

#include "cli/Tool.h"

namespace {

// An output stream buffer over a file descriptor.
class FdBuffer : public std::streambuf {
  public:
    explicit FdBuffer(int fd) : fd_(fd) { setp(buffer_, buffer_ + sizeof buffer_); }
    ~FdBuffer() override { sync(); }

  protected:
    int overflow(int c) override {
        if (sync() != 0) return traits_type::eof();
        if (c != traits_type::eof()) sputc(static_cast<char>(c));
        return traits_type::not_eof(c);
    }
    int sync() override {
        const char* at = pbase();
        while (at < pptr()) {
            const ssize_t written = write(fd_, at, static_cast<size_t>(pptr() - at));
            if (written <= 0) {
                setp(buffer_, buffer_ + sizeof buffer_);
                return -1;
            }
            at += written;
        }
        setp(buffer_, buffer_ + sizeof buffer_);
        return 0;
    }

  private:
    int fd_;
    char buffer_[4096];
};

}  // namespace

int main(int argc, char** argv) {
    // Descriptors 0 to 2 must exist, so that nothing opened later lands on
    // them by accident: the library prints its own lines on descriptor 1.
    for (int fd = 0; fd < 3; ++fd)
        if (fcntl(fd, F_GETFD) == -1 && open("/dev/null", O_RDWR) != fd) return cli::kUsage;
    // A register that drops the connection must not end the tool.
    std::signal(SIGPIPE, SIG_IGN);

    // The tool's output goes to a copy of standard output; descriptor 1 then
    // carries only the library's lines, which go to standard error with
    // --verbose and nowhere without.
    const int outFd = fcntl(1, F_DUPFD_CLOEXEC, 3);
    if (outFd < 0) return cli::kUsage;
    FdBuffer outBuffer(outFd);
    std::ostream out(&outBuffer);
    cli::Environment environment{out, std::cerr, isatty(2) == 1, nullptr, cli::userHome()};
    environment.libraryOutput = [](bool verbose) {
        std::cout.flush();
        std::fflush(stdout);
        const int target = verbose ? 2 : open("/dev/null", O_WRONLY);
        if (target >= 0) dup2(target, 1);
        if (target > 2) close(target);
    };
    const int code = cli::run(std::vector<std::string>(argv + 1, argv + argc), environment);
    out.flush();
    return code;
}
