#ifndef VERDA_WIRE_PAUSE_H
#define VERDA_WIRE_PAUSE_H

// The one way the exchange waits: after a SYN, after resynchronising and
// after a NAK. It sleeps with usleep unless a program has put a function of
// its own in its place (a fuzz target replaying a line, for one, needs no
// pauses). Internal to the protocol core; not part of the library's
// interface.

namespace wire {

using PauseFunction = void (*)(unsigned int microseconds);

// Waits, through the function in place.
void pause(unsigned int microseconds);

// Puts pauses through function from now on, for the whole program; null
// puts usleep back. Returns the function that was in place.
PauseFunction setPause(PauseFunction function);

}  // namespace wire

#endif
