#ifndef VERDA_SIM_FAULTS_H
#define VERDA_SIM_FAULTS_H

// Line faults on demand, drawn from a seeded generator so that a run can be
// repeated.

#include <random>
#include <string>

namespace sim {

// Each rate is the chance, 0 to 1, that the fault hits one reply.
struct FaultRates {
    double nak = 0;    // a good request is answered with NAK and not executed
    double drop = 0;   // the request is executed and its reply lost
    double noise = 0;  // stray bytes before the reply
    double split = 0;  // the reply comes in pieces
    double syn = 0;    // SYN bytes while printing, before the reply
    double crc = 0;    // the reply's checksum is spoilt
    double delay = 0;  // the reply comes late, by delayMs
    int delayMs = 100;
};

class Faults {
  public:
    Faults(const FaultRates& rates, unsigned int seed) : rates_(rates), random_(seed) {}
    const FaultRates& rates() const { return rates_; }
    bool hit(double rate) {
        return rate > 0 && std::uniform_real_distribution<double>(0, 1)(random_) < rate;
    }
    int between(int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random_);
    }
    // Line noise: any byte but preamble, NAK and SYN, which would be signals.
    std::string noise(int count);

  private:
    FaultRates rates_;
    std::mt19937 random_;
};

}  // namespace sim

#endif
