#include "tools/log.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>

const char* const kLogFileName = "CorteliaVERDA.log";

namespace {
const int kRotateAbove = 10485760;
}

int GetFileSize(std::string path) {
    std::ifstream file(path.c_str(), std::ios::in | std::ios::binary | std::ios::ate);
    return static_cast<int>(static_cast<long long>(file.tellg()));
}

void logrotate(std::string path, std::string line) {
    if (GetFileSize(path) > kRotateAbove) rename(path.c_str(), (path + ".1").c_str());

    std::ofstream file(path.c_str(), std::ios::out | std::ios::app);
    if (!file.is_open()) {
        std::cerr << "Error: " << strerror(errno) << " " << path << std::endl;
        return;
    }
    // The reentrant forms give the same text; handles of the C interface log
    // from several threads at once.
    time_t now = time(nullptr);
    tm parts;
    char text[64];
    std::string stamp = asctime_r(localtime_r(&now, &parts), text);
    stamp.erase(stamp.size() - 1);  // asctime's newline
    file << "[" << stamp << "] " << line << "\n";
    file.flush();
    file.close();
}
