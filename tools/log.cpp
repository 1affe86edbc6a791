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
    time_t now = time(nullptr);
    std::string stamp = asctime(localtime(&now));
    stamp.erase(stamp.size() - 1);  // asctime's newline
    file << "[" << stamp << "] " << line << "\n";
    file.flush();
    file.close();
}
