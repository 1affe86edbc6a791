#include "sim/Faults.h"

namespace sim {

std::string Faults::noise(int count) {
    std::string bytes;
    while (static_cast<int>(bytes.size()) < count) {
        const int b = between(0, 255);
        if (b != 0x01 && b != 0x15 && b != 0x16) bytes += static_cast<char>(b);
    }
    return bytes;
}

}  // namespace sim
