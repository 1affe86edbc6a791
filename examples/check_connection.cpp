// The smallest client: asks the register whether it answers.
//
//   check_connection tcp HOST PORT
//   check_connection serial DEVICE [BAUD]

#include <cstdio>
#include <cstdlib>
#include <string>

#include "api/CorteliaVERDA.h"

int main(int argc, char** argv) {
    const std::string transport = argc > 1 ? argv[1] : "";
    if (!((transport == "tcp" && argc == 4) ||
          (transport == "serial" && (argc == 3 || argc == 4)))) {
        std::fprintf(stderr, "usage: %s tcp HOST PORT | serial DEVICE [BAUD]\n", argv[0]);
        return 2;
    }
    VERDA::Init();
    const bool tcp = transport == "tcp";
    const bool open = tcp ? VERDA::OpenSocket(argv[2], std::atoi(argv[3]))
                          : VERDA::OpenSerial(argv[2], argc == 4 ? std::atoi(argv[3]) : 115200);
    const bool answers = open && VERDA::CheckConnection();
    // Close the port before Done: deleting the driver does not close it.
    if (tcp)
        VERDA::CloseSocket();
    else
        VERDA::CloseSerial();
    VERDA::Done();
    std::puts(answers ? "the register answers" : "the register does not answer");
    return answers ? 0 : 1;
}
