#include "wire/Pause.h"

#include <unistd.h>

namespace wire {

namespace {

void sleep(unsigned int microseconds) {
    usleep(microseconds);
}

PauseFunction current = sleep;

}  // namespace

void pause(unsigned int microseconds) {
    current(microseconds);
}

PauseFunction setPause(PauseFunction function) {
    const PauseFunction before = current;
    current = function != nullptr ? function : sleep;
    return before;
}

}  // namespace wire
