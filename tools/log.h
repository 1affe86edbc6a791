#ifndef VERDA_TOOLS_LOG_H
#define VERDA_TOOLS_LOG_H

#include <string>

// The driver's log file, in the user's home directory.
extern const char* const kLogFileName;  // "CorteliaVERDA.log"

// Appends "[" asctime "] " line "\n" to path, opening and closing the file
// for every line. A file above 10485760 bytes is first renamed to path + ".1".
// When the file cannot be opened, one error line goes to standard error.
void logrotate(std::string path, std::string line);

// Size of the file in bytes (low 32 bits), or -1 when it cannot be opened.
int GetFileSize(std::string path);

#endif
