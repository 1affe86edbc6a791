#ifndef VERDA_SIM_STATEFILE_H
#define VERDA_SIM_STATEFILE_H

// The --state file: the register's memory as JSON that a person can read
// (indented, fields by name, texts in UTF-8, amounts as "162.81", times as
// the register shows them), replaced whole and atomically on every change.

#include <string>

#include "sim/State.h"

namespace sim {

// The JSON text of a state.
std::string stateToJson(const State& state);

// Reads the file at path into state. found is false, and state untouched,
// when there is no such file; converted is true when it was of the older
// text form. False with a message naming the file and what is wrong for a
// file that cannot be read or holds no valid state.
bool loadStateFile(const std::string& path, State& state, bool& found, bool& converted,
                   std::string& error);

// Replaces the file at path by text, so that a kill or a crash at any moment
// leaves either the old file or the new one, whole: a temporary file in the
// same folder, written and flushed to the disk, renamed over the old one,
// and the folder flushed so that the rename itself survives a power cut.
bool replaceFile(const std::string& path, const std::string& text, std::string& error);

}  // namespace sim

#endif
