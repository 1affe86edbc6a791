#ifndef VERDA_SIM_FORMATS_H
#define VERDA_SIM_FORMATS_H

// Text and number tools of the simulated register. The register keeps its
// text in CP866, as the real one does; UTF-8 appears only at its edges (the
// command line, the paper stream and the state file), converted by
// wire/RegisterText.h.

#include <string>
#include <vector>

namespace sim {

// Money in kopecks and quantities in thousandths: the register counts in
// integers so that its totals add up exactly.
typedef long long Money;
typedef long long Milli;

// Reads a decimal text such as "12.5", "-3" or "0.125" as a whole number of
// 1/10^decimals, rounding half away from zero. False for anything else.
bool parseFixed(const std::string& text, int decimals, long long& value);
// Writes value / 10^decimals with exactly that many decimals and a ".".
std::string formatFixed(long long value, int decimals);
inline std::string money(Money value) {
    return formatFixed(value, 2);
}
// a * b / divisor, rounded half away from zero.
long long mulDivRound(long long a, long long b, long long divisor);

// Reads a plain decimal integer (optional sign, digits only). False otherwise.
bool parseInt(const std::string& text, long long& value);
std::string str(long long value);

// The register's time text "DD.MM.YYYY HH:MM:SS", or a bare "DD.MM.YYYY",
// which stands for the start of its day, or its end with endOfDay. Seconds
// since the epoch, years 2000 to 2037. False for anything else.
bool parseTime(const std::string& text, bool endOfDay, long long& time, bool& dateOnly);

// A time as the register shows it, "DD.MM.YYYY HH:MM:SS", from the seconds
// that parseTime gives.
std::string formatTime(long long time);

// The fields of a request: each ends in a tab. False when the data does not
// end in one (an empty request has no fields).
bool splitFields(const std::string& data, std::vector<std::string>& fields);

}  // namespace sim

#endif
