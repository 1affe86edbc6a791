// log: the library's log, readable, for a technician at the shop.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <deque>
#include <thread>

#include "cli/Commands.h"
#include "common/Readable.h"

namespace cli {

namespace {

const char kLogName[] = "CorteliaVERDA.log";  // in the home folder, as the library writes it
// How often a followed log is looked at: a person reading it sees a line
// within this, and an idle tool costs nothing worth counting.
const auto kFollowPause = std::chrono::milliseconds(200);

struct LogArgs {
    std::vector<std::string> file;
    bool follow = false;
    std::string lines;  // -n: empty for all (or 10 with -f)
};

// A log file read piece by piece: complete lines go out readable, a line
// still being written waits for its end.
class Reader {
  public:
    Reader() = default;
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { close(); }

    // False with errno when the file cannot be opened.
    bool open(const std::string& path) {
        close();
        fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat info;
        if (fd_ >= 0 && fstat(fd_, &info) != 0) close();
        if (fd_ < 0) return false;
        device_ = info.st_dev, inode_ = info.st_ino, offset_ = 0;
        return true;
    }
    void close() {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
        pending_.clear();
    }
    bool isOpen() const { return fd_ >= 0; }

    // Reads what the file holds beyond what was read. The whole lines of it
    // are handed to show, the last piece kept until its line ends (or, with
    // atEnd, shown as it is).
    template <class Show>
    bool readOn(Show show, bool atEnd) {
        struct stat info;
        // A file cut shorter (emptied by hand) is read again from its start.
        if (fstat(fd_, &info) == 0 && info.st_size < offset_) {
            lseek(fd_, 0, SEEK_SET);
            offset_ = 0;
            pending_.clear();
        }
        char chunk[65536];
        ssize_t n = 0;
        while ((n = ::read(fd_, chunk, sizeof chunk)) > 0) {
            offset_ += n;
            pending_.append(chunk, static_cast<size_t>(n));
            const size_t end = pending_.rfind('\n');
            if (end == std::string::npos) continue;
            show(pending_.substr(0, end + 1));
            pending_.erase(0, end + 1);
        }
        if (atEnd && !pending_.empty()) {
            show(pending_ + "\n");
            pending_.clear();
        }
        return n == 0;
    }

    // The path now names another file than the one open (the library has
    // rotated the log to ".1"), or none.
    bool replaced(const std::string& path) const {
        struct stat info;
        return stat(path.c_str(), &info) != 0 || info.st_dev != device_ || info.st_ino != inode_;
    }

  private:
    int fd_ = -1;
    dev_t device_ = 0;
    ino_t inode_ = 0;
    off_t offset_ = 0;
    std::string pending_;
};

// Text of whole lines, readable, to out; false once out cannot take more.
bool show(std::ostream& out, const std::string& text) {
    out << readable::toUtf8(text) << std::flush;
    return static_cast<bool>(out);
}

// The last count lines of text (count < 0: all).
std::string lastLines(const std::string& text, long count) {
    if (count < 0) return text;
    size_t start = text.size();
    // A final line without its newline counts as a line too.
    if (start > 0 && text[start - 1] == '\n') --start;
    for (long found = 0; start > 0; --start)
        if (text[start - 1] == '\n' && ++found == count) break;
    return count == 0 ? std::string() : text.substr(start);
}

std::string systemError(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

// Follows the log as the library writes it, from where the reader stands,
// until the output is closed (or the tool is stopped). The library rotates
// by renaming the log to ".1" and starting a new one: what was written to
// the old file is read to its end first. A log that does not exist yet is
// waited for.
void follow(std::ostream& out, Reader& reader, const std::string& path) {
    bool ok = true;
    auto emit = [&](const std::string& text) { ok = ok && show(out, text); };
    while (ok) {
        if (reader.isOpen()) {
            reader.readOn(emit, false);
            if (reader.replaced(path)) {
                reader.readOn(emit, true);
                reader.close();
            }
        }
        if (!reader.isOpen() && reader.open(path)) continue;  // read the new one at once
        // Nothing to write meanwhile: a closed output shows only when written.
        if (!out.flush()) return;
        std::this_thread::sleep_for(kFollowPause);
    }
}

void runLog(Session& session, const LogArgs& args) {
    expectOperands(args.file, 0, 1);
    const std::string path =
        args.file.empty() ? session.environment().home + kLogName : args.file.front();
    const long count =
        args.lines.empty() ? (args.follow ? 10 : -1) : toInt(args.lines, 0, 1000000, "-n");
    std::string text;
    Reader reader;
    if (!reader.open(path)) {
        // Followed, a log not yet written is waited for; read, it is an error.
        if (!args.follow || errno != ENOENT) throw UsageError(systemError("cannot read " + path));
    } else if (!reader.readOn([&](const std::string& lines) { text += lines; }, !args.follow)) {
        throw UsageError(systemError("cannot read " + path));
    }
    if (!show(session.out(), lastLines(text, count))) return;
    if (args.follow) follow(session.out(), reader, path);
}

}  // namespace

void addLogCommands(Commands& commands) {
    auto log = std::make_shared<LogArgs>();
    CLI::App& command =
        commands.add("log", "show the library's log readable",
                     "Usage: verda log [-f] [-n N] [FILE]\n"
                     "Shows the library's log, FILE or by default ~/CorteliaVERDA.log of this\n"
                     "user, with its Russian text readable: names read from the register and\n"
                     "the application's text both come out as UTF-8. The file itself is not\n"
                     "changed. Needs no register. Exit status 2 when the file cannot be read.\n",
                     [log](Session& session) { runLog(session, *log); });
    operands(command, log->file);
    flag(command, "-f,--follow", log->follow,
         "go on showing lines as they are written, also after\n"
         "the library starts a new log (the old one becomes .1),\n"
         "until stopped with Ctrl-C");
    option(command, "-n,--lines", log->lines, "N",
           "only the last N lines (with -f, 10 unless given)");
}

}  // namespace cli
