#ifndef VERDA_TESTS_DEAD_PORT_H
#define VERDA_TESTS_DEAD_PORT_H

#include <string>

// "127.0.0.1:PORT" of a TCP port on which nothing listens.
std::string deadAddress();

#endif
