#ifndef VERDA_COMMON_FISCAL_HEALTH_H
#define VERDA_COMMON_FISCAL_HEALTH_H

// A register's fiscal health, for the technician: what stops a shop from
// selling before it does. Three steps, each of its own so that a program can
// take any of them alone:
//
//   read    four status reads through the C interface (GetDateTime,
//           GetStatusShift, GetStateFN, GetOFDandFNStatus): the fields as the
//           register gave them. A program that makes these reads itself
//           (verda-server's worker) fills a Reading instead.
//   decode  the fields in words and times: the drive's phase and each warning
//           flag with a stable code and an English text, the deadline and the
//           oldest unsent document as times, the shift's opening time as the
//           register reckons it (its clock minus the shift's age).
//   judge   a verdict, ok, attention or blocked, with its reasons, at any
//           moment after the reading: pure, the time given by the caller, so
//           that a reading held for a while is judged as it ages.
//
// The register answers with text that the driver does not interpret. The
// phases, the warning flags, the shift's age in minutes and the forms of
// dates and times are read here in the meanings of the simulated register
// (verda-sim), which are documented with the tables in FiscalHealth.cpp.
//
// Times. The register's clock shows its local time without a zone. Its
// times are kept as register seconds: seconds since 01.01.1970 00:00 as
// the register reckons (days and hours of its calendar, no zone). The host's
// time (time(nullptr)) is seconds since the epoch; epochOf converts a
// register time with the host's zone, for programs that export timestamps.

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "capi/verda.h"

namespace health {

using Seconds = std::int64_t;

// --- The thresholds of the verdict ------------------------------------------

const Seconds kHour = 3600;
const Seconds kDay = 24 * kHour;
// The register refuses to sell in a shift older than this.
const Seconds kShiftLimit = 24 * kHour;
// A shift this close to its limit wants closing (attention).
const Seconds kShiftWarning = 1 * kHour;
// A drive whose validity ends within this wants replacing (attention).
const Seconds kDeadlineWarning = 30 * kDay;
// A document that has waited longer for the data operator (attention).
const Seconds kUnsentWarning = 5 * kDay;

// --- Read: the fields as the register gave them -------------------------------

// One of the four reads: whether it was made, its result code (0, the
// register's refusal, or VERDA_EXCHANGE_FAILED when it did not answer), and
// its outputs.
template <class Fields>
struct Part {
    bool asked = false;
    int result = 0;
    Fields fields;
    bool ok() const { return asked && result == 0; }
};

struct ShiftFields {  // GetStatusShift
    bool open = false;
    bool over24h = false;
    int minutes = 0;  // the shift's age, minutes
};

struct DriveFields {  // GetStateFN
    std::string version, number, phase, shiftStatus, warnings, deadline, registrationsLeft;
    int shiftNumber = 0, receipts = 0, lastDocument = 0, firstUnsent = 0;
};

struct QueueFields {  // GetOFDandFNStatus
    bool shiftOpen = false, over24h = false;
    int shiftNumber = 0, lastDocument = 0, unsent = 0, firstUnsent = 0;
    std::string oldest;  // the time of the first unsent document
};

struct Reading {
    Seconds readAt = 0;       // host time, just after the clock was read
    Part<std::string> clock;  // GetDateTime: "DD.MM.YYYY HH:MM:SS"
    Part<ShiftFields> shift;  // GetStatusShift
    Part<DriveFields> drive;  // GetStateFN with selector '1'
    Part<QueueFields> queue;  // GetOFDandFNStatus
};

// The four reads on an open link, in the order above. After one that gets
// no answer the rest are not asked (each would only wait out the timeout
// again). None of them changes anything on the register or prints.
Reading read(verda_device* device);
// Each read alone, for a program that makes some more often than others.
Part<std::string> readClock(verda_device* device);
Part<ShiftFields> readShift(verda_device* device);
Part<DriveFields> readDrive(verda_device* device);
Part<QueueFields> readQueue(verda_device* device);

// The selector of GetStateFN that reads the drive's state without printing
// (selector '0' prints the diagnostic report on the simulated register).
const char kDriveStateSelector = '1';

// --- Decode -----------------------------------------------------------------------

// A meaning with a stable code, for a console to translate, and its text.
struct Meaning {
    std::string code;
    std::string text;
};

struct Shift {
    bool open = false;
    bool over24h = false;             // the register's own flag
    Seconds age = 0;                  // when read
    std::optional<Seconds> openedAt;  // register time: its clock minus the age
};

struct Drive {
    std::string number, version;
    std::string phaseValue;  // as sent
    Meaning phase;
    std::string flagsValue;           // as sent
    std::optional<unsigned> flags;    // when it reads as a number
    std::vector<Meaning> warnings;    // a meaning for each flag set
    std::string deadlineValue;        // as sent, "DD.MM.YYYY"
    std::optional<Seconds> deadline;  // register time: 00:00 of its last valid day
    // When its validity ends: the end of that day (register time).
    std::optional<Seconds> validityEnds() const {
        return deadline ? std::optional<Seconds>(*deadline + kDay) : std::nullopt;
    }
    std::string registrationsLeft;
    int lastDocument = 0;
};

struct Queue {
    int unsent = 0;
    int firstUnsent = 0;
    std::string oldestValue;        // as sent
    std::optional<Seconds> oldest;  // register time
};

// An operation that failed: the register refused it, or did not answer.
struct Failure {
    std::string operation;
    int code;
};

struct Health {
    Seconds readAt = 0;            // host time
    std::optional<Seconds> clock;  // register time when read
    std::optional<Shift> shift;
    std::optional<Drive> drive;
    std::optional<Queue> queue;
    std::vector<Failure> failures;
    bool linkLost = false;  // a read got no answer

    // The register's time at host time now: its clock moved on since the
    // reading (or the host's local time when the clock was not read).
    Seconds registerNow(Seconds now) const;
};

Health decode(const Reading& reading);

// The shift's opening time across readings. The register counts the shift's
// age in whole minutes, so a reading places the opening within the minute
// before its clock minus the age. The time held from earlier readings of the
// shift stays while a new reading agrees with it (a second's leeway for the
// time between the clock's read and the shift's); otherwise, a new shift or
// a clock set meanwhile, the new reading's time replaces it.
std::optional<Seconds> sameOpening(std::optional<Seconds> held, const Shift& shift);

Meaning phase(const std::string& value);
// The flags as a number (decimal, or hexadecimal after "0x"), or nothing.
std::optional<unsigned> flags(const std::string& value);
std::vector<Meaning> warnings(unsigned flags);

// --- Times --------------------------------------------------------------------------

// The register's "DD.MM.YYYY HH:MM:SS" and "DD.MM.YYYY" as register seconds;
// nothing for another text or a day that does not exist.
std::optional<Seconds> parseRegisterTime(const std::string& text);
std::optional<Seconds> parseRegisterDate(const std::string& text);
// "DD.MM.YYYY HH:MM:SS" and "DD.MM.YYYY".
std::string registerTimeText(Seconds time);
std::string registerDateText(Seconds time);
// "YYYY-MM-DDTHH:MM:SS" and "YYYY-MM-DD": ISO 8601 local time, no zone.
std::string isoTime(Seconds time);
std::string isoDate(Seconds time);
// A register time as host time, in the host's time zone.
Seconds epochOf(Seconds registerTime);
// The host's time as register seconds (its local time).
Seconds localOf(Seconds epoch);

// --- Judge ------------------------------------------------------------------------------

enum class Level { Ok = 0, Attention = 1, Blocked = 2 };
const char* levelName(Level level);  // "ok", "attention", "blocked"

struct Reason {
    std::string code;  // stable: see kReasons in FiscalHealth.cpp
    Level level;
    std::string text;  // English
};

// The reason of a code, or an empty code for one not known.
Reason reason(const std::string& code);

// What the caller knows beyond the register's own answers: verda-server
// knows whether its link, the register's identity and its journal hold.
struct Given {
    bool linkDown = false;
    bool registerReplaced = false;
    bool journalUnavailable = false;
};

struct Verdict {
    Level level = Level::Ok;
    std::vector<Reason> reasons;  // in a fixed order, the blocking ones first
    bool has(const std::string& code) const;
};

// now: the host's time (time(nullptr)) at which the reading is judged.
Verdict judge(const Health& health, Seconds now, const Given& given = Given());

// --- JSON ---------------------------------------------------------------------------------

// The decoded reading: times as the register reckons them, ISO 8601 without a
// zone; a part that was not read is null.
nlohmann::json toJson(const Health& health);
// {"verdict": "attention", "reasons": [{"code", "verdict", "text"}, ...]}
nlohmann::json toJson(const Verdict& verdict);

}  // namespace health

#endif
