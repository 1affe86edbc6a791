#include "support/ChildRun.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

std::string runInChild(const std::function<std::string()>& body) {
    int ends[2];
    if (pipe(ends) != 0) return "no pipe";
    const pid_t child = fork();
    if (child < 0) return "no fork";
    if (child == 0) {
        close(ends[0]);
        std::string result;
        try {
            result = body();
        } catch (const std::invalid_argument& e) {
            result = std::string("invalid_argument: ") + e.what();
        } catch (const std::runtime_error& e) {
            result = std::string("runtime_error: ") + e.what();
        } catch (...) {
            result = "other exception";
        }
        for (std::string::size_type done = 0; done < result.size();) {
            const ssize_t n = write(ends[1], result.data() + done, result.size() - done);
            if (n <= 0) break;
            done += static_cast<std::string::size_type>(n);
        }
        _exit(0);  // no test framework teardown in the child
    }
    close(ends[1]);
    std::string result;
    char chunk[256];
    ssize_t n;
    while ((n = read(ends[0], chunk, sizeof chunk)) > 0)
        result.append(chunk, static_cast<std::string::size_type>(n));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? result : "died";
}

RusLocale::RusLocale() {
    const std::string target = dir_.path() + "rus";
    const std::string command = "localedef -c -i ru_RU -f CP1251 '" + target + "' >/dev/null 2>&1";
    const int status = std::system(command.c_str());
    struct stat info;
    if (stat((target + "/LC_CTYPE").c_str(), &info) != 0)
        failure_ = "localedef could not build ru_RU.CP1251 (exit status " + std::to_string(status) +
                   "); the package 'locales' provides its sources";
}
