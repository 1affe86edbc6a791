#include "sim/Faults.h"

#include "wire/Frame.h"

namespace sim {

std::string Faults::noise(int count) {
    std::string bytes;
    while (static_cast<int>(bytes.size()) < count) {
        const unsigned char b = static_cast<unsigned char>(between(0, 255));
        if (b != wire::kPreamble && b != wire::kNak && b != wire::kSyn)
            bytes += static_cast<char>(b);
    }
    return bytes;
}

}  // namespace sim
