#include "common/FiscalHealth.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <limits>

namespace health {

namespace {

// --- The register's meanings ---------------------------------------------------

// The drive's phases, as the simulated register reports them in GetStateFN.
const struct {
    const char* value;
    const char* code;
    const char* text;
} kPhases[] = {
    {"1", "ready", "ready for fiscalization"},
    {"3", "fiscal", "fiscal mode"},
};

// The drive's warning flags, one bit each, as the simulated register reports
// them (verda-sim --fn-warnings sets them).
const struct {
    unsigned bit;
    const char* code;
    const char* text;
} kWarnings[] = {
    {0x01, "replace-urgent", "the drive must be replaced within 3 days"},
    {0x02, "resource-ending", "the drive's validity ends within 30 days"},
    {0x04, "memory-full", "the drive's memory is 90 % full"},
    {0x08, "operator-overdue", "the data operator has not confirmed documents in time"},
    {0x80, "critical", "critical error of the drive"},
};

// The reasons of a verdict, in the order a verdict lists them: what blocks
// first. The texts name the thresholds from their constants.
const std::vector<Reason>& reasons() {
    static const std::vector<Reason> kReasons = [] {
        auto days = [](Seconds s) { return std::to_string(s / kDay) + " days"; };
        auto hours = [](Seconds s) {
            return s == kHour ? std::string("an hour") : std::to_string(s / kHour) + " hours";
        };
        return std::vector<Reason>{
            {"link-down", Level::Blocked, "the register does not answer"},
            {"register-replaced", Level::Blocked, "another register answers in this one's place"},
            {"journal-unavailable", Level::Blocked,
             "the journal cannot be written: no request is taken"},
            {"shift-over-24h", Level::Blocked,
             "the shift has been open for more than " + std::to_string(kShiftLimit / kHour) +
                 " hours: the register refuses to sell until it is closed (Z report)"},
            {"drive-expired", Level::Blocked,
             "the fiscal drive's validity has ended: no fiscal document until it is replaced"},
            {"shift-near-24h", Level::Attention,
             "the shift reaches " + std::to_string(kShiftLimit / kHour) + " hours within " +
                 hours(kShiftWarning) +
                 ": close it (Z report) before the register refuses to sell"},
            {"drive-deadline-near", Level::Attention,
             "the fiscal drive's validity ends within " + days(kDeadlineWarning) +
                 ": replace it in time"},
            {"unsent-old", Level::Attention,
             "documents have waited more than " + days(kUnsentWarning) +
                 " for the data operator: check the register's connection to it"},
            {"drive-warnings", Level::Attention, "the fiscal drive reports warnings"},
        };
    }();
    return kReasons;
}

// --- Calendar arithmetic, without a zone -------------------------------------------

// Days since 01.01.1970 of a date of the proleptic Gregorian calendar.
Seconds daysFromCivil(Seconds y, unsigned m, unsigned d) {
    y -= m <= 2;
    const Seconds era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<Seconds>(doe) - 719468;
}

struct Civil {
    Seconds year;
    unsigned month, day, hour, minute, second;
};

Civil civilFromSeconds(Seconds t) {
    Seconds z = (t >= 0 ? t : t - kDay + 1) / kDay;
    const Seconds inDay = t - z * kDay;
    z += 719468;
    const Seconds era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    const unsigned month = mp < 10 ? mp + 3 : mp - 9;
    return Civil{static_cast<Seconds>(yoe) + era * 400 + (month <= 2),
                 month,
                 doy - (153 * mp + 2) / 5 + 1,
                 static_cast<unsigned>(inDay / kHour),
                 static_cast<unsigned>(inDay % kHour / 60),
                 static_cast<unsigned>(inDay % 60)};
}

// Reads digits at text[at..at+count) into value.
bool digits(const std::string& text, size_t at, size_t count, unsigned& value) {
    value = 0;
    for (size_t i = at; i < at + count; ++i) {
        if (i >= text.size() || text[i] < '0' || text[i] > '9') return false;
        value = value * 10 + static_cast<unsigned>(text[i] - '0');
    }
    return true;
}

// "DD.MM.YYYY" at the start of text.
std::optional<Seconds> date(const std::string& text) {
    unsigned d = 0, m = 0, y = 0;
    if (text.size() < 10 || text[2] != '.' || text[5] != '.' || !digits(text, 0, 2, d) ||
        !digits(text, 3, 2, m) || !digits(text, 6, 4, y) || m < 1 || m > 12 || d < 1)
        return std::nullopt;
    const Seconds t = daysFromCivil(y, m, d) * kDay;
    if (civilFromSeconds(t).day != d) return std::nullopt;  // 31.02 is no day
    return t;
}

std::string format(const char* pattern, const Civil& c) {
    char text[64];
    std::snprintf(text, sizeof text, pattern, c.day, c.month, static_cast<long long>(c.year),
                  c.hour, c.minute, c.second);
    return text;
}

// The host zone's offset now, for times the system's own calls cannot take
// (beyond 2038 where time_t has 32 bits).
Seconds offsetNow() {
    const std::time_t now = std::time(nullptr);
    std::tm local;
    localtime_r(&now, &local);
    return local.tm_gmtoff;
}

bool fitsTime(Seconds t) {
    return t >= static_cast<Seconds>(std::numeric_limits<std::time_t>::min()) &&
           t <= static_cast<Seconds>(std::numeric_limits<std::time_t>::max());
}

// --- Reading ------------------------------------------------------------------------

// A text output of the C interface.
struct Text {
    char data[256] = "";
    operator char*() { return data; }
};

template <class Fields, class Call>
Part<Fields> ask(Call call) {
    Part<Fields> part;
    part.asked = true;
    part.result = call(part.fields);
    // A cut text is still a reading; the register's texts here are short.
    if (part.result == VERDA_BUFFER_TOO_SMALL) part.result = 0;
    return part;
}

// The next read, unless the last one got no answer (each would only wait
// out the timeout again).
template <class Fields>
void askUnlessLost(Part<Fields>& part, bool& lost, Part<Fields> (*read)(verda_device*),
                   verda_device* d) {
    if (lost) return;
    part = read(d);
    lost = part.result == VERDA_EXCHANGE_FAILED;
}

}  // namespace

Part<std::string> readClock(verda_device* d) {
    return ask<std::string>([d](std::string& clock) {
        Text text;
        const int result = verda_GetDateTime(d, text, sizeof text.data);
        clock = text.data;
        return result;
    });
}

Part<ShiftFields> readShift(verda_device* d) {
    return ask<ShiftFields>(
        [d](ShiftFields& f) { return verda_GetStatusShift(d, &f.open, &f.over24h, &f.minutes); });
}

Part<DriveFields> readDrive(verda_device* d) {
    return ask<DriveFields>([d](DriveFields& f) {
        Text version, number, phase, shift, warnings, deadline, left;
        const int result = verda_GetStateFN(
            d, kDriveStateSelector, version, sizeof version.data, number, sizeof number.data, phase,
            sizeof phase.data, shift, sizeof shift.data, warnings, sizeof warnings.data, deadline,
            sizeof deadline.data, left, sizeof left.data, &f.shiftNumber, &f.receipts,
            &f.lastDocument, &f.firstUnsent);
        f.version = version.data, f.number = number.data, f.phase = phase.data;
        f.shiftStatus = shift.data, f.warnings = warnings.data, f.deadline = deadline.data;
        f.registrationsLeft = left.data;
        return result;
    });
}

Part<QueueFields> readQueue(verda_device* d) {
    return ask<QueueFields>([d](QueueFields& f) {
        Text oldest;
        const int result =
            verda_GetOFDandFNStatus(d, &f.shiftOpen, &f.over24h, &f.shiftNumber, &f.lastDocument,
                                    &f.unsent, &f.firstUnsent, oldest, sizeof oldest.data);
        f.oldest = oldest.data;
        return result;
    });
}

Reading read(verda_device* d) {
    Reading r;
    bool lost = false;
    askUnlessLost(r.clock, lost, readClock, d);
    r.readAt = std::time(nullptr);
    askUnlessLost(r.shift, lost, readShift, d);
    askUnlessLost(r.drive, lost, readDrive, d);
    askUnlessLost(r.queue, lost, readQueue, d);
    return r;
}

// --- Decode -----------------------------------------------------------------------

Meaning phase(const std::string& value) {
    for (const auto& p : kPhases)
        if (value == p.value) return Meaning{p.code, p.text};
    return Meaning{"unknown", "unknown phase \"" + value + "\""};
}

std::optional<unsigned> flags(const std::string& value) {
    const bool hex = value.size() > 2 && value[0] == '0' && (value[1] == 'x' || value[1] == 'X');
    const std::string number = hex ? value.substr(2) : value;
    if (number.empty() || number.size() > 8 ||
        number.find_first_not_of(hex ? "0123456789abcdefABCDEF" : "0123456789") !=
            std::string::npos)
        return std::nullopt;
    return static_cast<unsigned>(std::stoul(number, nullptr, hex ? 16 : 10));
}

std::vector<Meaning> warnings(unsigned flags) {
    std::vector<Meaning> found;
    for (unsigned bit = 1; bit != 0; bit <<= 1) {
        if ((flags & bit) == 0) continue;
        const auto known = std::find_if(std::begin(kWarnings), std::end(kWarnings),
                                        [bit](const auto& w) { return w.bit == bit; });
        char hex[16];
        std::snprintf(hex, sizeof hex, "0x%02x", bit);
        found.push_back(
            known != std::end(kWarnings)
                ? Meaning{known->code, known->text}
                : Meaning{std::string("flag-") + hex, std::string("unknown warning flag ") + hex});
    }
    return found;
}

Health decode(const Reading& r) {
    Health h;
    h.readAt = r.readAt;
    auto note = [&h](const char* operation, int asked, int result) {
        if (!asked || result == 0) return;
        h.failures.push_back(Failure{operation, result});
        if (result == VERDA_EXCHANGE_FAILED) h.linkLost = true;
    };
    note("GetDateTime", r.clock.asked, r.clock.result);
    note("GetStatusShift", r.shift.asked, r.shift.result);
    note("GetStateFN", r.drive.asked, r.drive.result);
    note("GetOFDandFNStatus", r.queue.asked, r.queue.result);
    if (r.clock.ok()) h.clock = parseRegisterTime(r.clock.fields);
    if (r.shift.ok()) {
        Shift s;
        s.open = r.shift.fields.open;
        s.over24h = r.shift.fields.over24h;
        // The simulated register counts the shift's age in minutes.
        s.age = s.open ? static_cast<Seconds>(r.shift.fields.minutes) * 60 : 0;
        if (s.open && h.clock) s.openedAt = *h.clock - s.age;
        h.shift = s;
    }
    if (r.drive.ok()) {
        const DriveFields& f = r.drive.fields;
        Drive d;
        d.number = f.number;
        d.version = f.version;
        d.phaseValue = f.phase;
        d.phase = phase(f.phase);
        d.flagsValue = f.warnings;
        d.flags = flags(f.warnings);
        if (d.flags)
            d.warnings = warnings(*d.flags);
        else if (!f.warnings.empty())
            d.warnings.push_back(
                Meaning{"unreadable", "warning flags that are no number: \"" + f.warnings + "\""});
        d.deadlineValue = f.deadline;
        d.deadline = parseRegisterDate(f.deadline);
        d.registrationsLeft = f.registrationsLeft;
        d.lastDocument = f.lastDocument;
        h.drive = d;
    }
    if (r.queue.ok()) {
        Queue q;
        q.unsent = r.queue.fields.unsent;
        q.firstUnsent = r.queue.fields.firstUnsent;
        q.oldestValue = r.queue.fields.oldest;
        if (q.unsent > 0) q.oldest = parseRegisterTime(q.oldestValue);
        h.queue = q;
    }
    return h;
}

std::optional<Seconds> sameOpening(std::optional<Seconds> held, const Shift& shift) {
    if (!shift.open || !shift.openedAt) return std::nullopt;
    const Seconds latest = *shift.openedAt, leeway = 1;
    if (held && *held <= latest + leeway && *held > latest - 60 - leeway) return held;
    return latest;
}

Seconds Health::registerNow(Seconds now) const {
    return clock ? *clock + (now - readAt) : localOf(now);
}

// --- Times --------------------------------------------------------------------------

std::optional<Seconds> parseRegisterTime(const std::string& text) {
    const std::optional<Seconds> day = date(text);
    unsigned h = 0, m = 0, s = 0;
    if (!day || (text.size() != 16 && text.size() != 19) || text[10] != ' ' || text[13] != ':' ||
        !digits(text, 11, 2, h) || !digits(text, 14, 2, m) || h > 23 || m > 59)
        return std::nullopt;
    if (text.size() == 19 && (text[16] != ':' || !digits(text, 17, 2, s) || s > 59))
        return std::nullopt;
    return *day + h * kHour + m * 60 + s;
}

std::optional<Seconds> parseRegisterDate(const std::string& text) {
    return text.size() == 10 ? date(text) : std::nullopt;
}

std::string registerTimeText(Seconds time) {
    return format("%02u.%02u.%04lld %02u:%02u:%02u", civilFromSeconds(time));
}

std::string registerDateText(Seconds time) {
    return format("%02u.%02u.%04lld", civilFromSeconds(time));
}

std::string isoTime(Seconds time) {
    const Civil c = civilFromSeconds(time);
    char text[64];
    std::snprintf(text, sizeof text, "%04lld-%02u-%02uT%02u:%02u:%02u",
                  static_cast<long long>(c.year), c.month, c.day, c.hour, c.minute, c.second);
    return text;
}

std::string isoDate(Seconds time) {
    return isoTime(time).substr(0, 10);
}

Seconds epochOf(Seconds registerTime) {
    const Civil c = civilFromSeconds(registerTime);
    std::tm t = std::tm();
    t.tm_year = static_cast<int>(c.year - 1900);
    t.tm_mon = static_cast<int>(c.month) - 1;
    t.tm_mday = static_cast<int>(c.day);
    t.tm_hour = static_cast<int>(c.hour);
    t.tm_min = static_cast<int>(c.minute);
    t.tm_sec = static_cast<int>(c.second);
    t.tm_isdst = -1;
    const std::time_t epoch = fitsTime(registerTime) ? std::mktime(&t) : -1;
    return epoch != -1 ? static_cast<Seconds>(epoch) : registerTime - offsetNow();
}

Seconds localOf(Seconds epoch) {
    if (!fitsTime(epoch)) return epoch + offsetNow();
    const std::time_t t = static_cast<std::time_t>(epoch);
    std::tm local;
    localtime_r(&t, &local);
    return epoch + local.tm_gmtoff;
}

// --- Judge ------------------------------------------------------------------------------

const char* levelName(Level level) {
    return level == Level::Blocked ? "blocked" : level == Level::Attention ? "attention" : "ok";
}

Reason reason(const std::string& code) {
    for (const Reason& r : reasons())
        if (r.code == code) return r;
    return Reason{"", Level::Ok, ""};
}

bool Verdict::has(const std::string& code) const {
    return std::any_of(reasons.begin(), reasons.end(),
                       [&code](const Reason& r) { return r.code == code; });
}

Verdict judge(const Health& h, Seconds now, const Given& given) {
    std::vector<std::string> found;
    if (given.linkDown || h.linkLost) found.push_back("link-down");
    if (given.registerReplaced) found.push_back("register-replaced");
    if (given.journalUnavailable) found.push_back("journal-unavailable");
    const Seconds at = h.registerNow(now);
    if (h.shift && h.shift->open) {
        const Seconds age = h.shift->age + std::max<Seconds>(0, now - h.readAt);
        if (h.shift->over24h || age > kShiftLimit)
            found.push_back("shift-over-24h");
        else if (age >= kShiftLimit - kShiftWarning)
            found.push_back("shift-near-24h");
    }
    if (h.drive && h.drive->deadline) {
        const Seconds ends = *h.drive->validityEnds();
        if (at >= ends)
            found.push_back("drive-expired");
        else if (ends - at <= kDeadlineWarning)
            found.push_back("drive-deadline-near");
    }
    if (h.queue && h.queue->unsent > 0 && h.queue->oldest && at - *h.queue->oldest > kUnsentWarning)
        found.push_back("unsent-old");
    if (h.drive && !h.drive->warnings.empty()) found.push_back("drive-warnings");

    Verdict v;
    for (const Reason& r : reasons())
        if (std::find(found.begin(), found.end(), r.code) != found.end()) {
            v.reasons.push_back(r);
            v.level = std::max(v.level, r.level);
        }
    return v;
}

// --- JSON ---------------------------------------------------------------------------------

namespace {

nlohmann::json meanings(const std::vector<Meaning>& list) {
    nlohmann::json j = nlohmann::json::array();
    for (const Meaning& m : list) j.push_back({{"code", m.code}, {"text", m.text}});
    return j;
}

template <class T, class F>
nlohmann::json orNull(const std::optional<T>& value, F form) {
    return value ? nlohmann::json(form(*value)) : nlohmann::json();
}

}  // namespace

nlohmann::json toJson(const Health& h) {
    using nlohmann::json;
    const auto same = [](auto v) { return v; };
    json j = {
        {"read_at", isoTime(localOf(h.readAt))},
        {"clock", orNull(h.clock, isoTime)},
        {"clock_ahead_seconds", orNull(h.clock, [&h](Seconds c) { return c - localOf(h.readAt); })},
        {"shift", json()},
        {"fiscal_drive", json()},
        {"unsent", json()},
        {"failures", json::array()}};
    if (h.shift)
        j["shift"] = {{"open", h.shift->open},
                      {"over_24h", h.shift->over24h},
                      {"minutes", h.shift->age / 60},
                      {"opened", orNull(h.shift->openedAt, isoTime)}};
    if (h.drive)
        j["fiscal_drive"] = {{"number", h.drive->number},
                             {"version", h.drive->version},
                             {"phase",
                              {{"value", h.drive->phaseValue},
                               {"code", h.drive->phase.code},
                               {"text", h.drive->phase.text}}},
                             {"warning_flags", orNull(h.drive->flags, same)},
                             {"warnings", meanings(h.drive->warnings)},
                             {"deadline", orNull(h.drive->deadline, isoDate)},
                             {"registrations_left", h.drive->registrationsLeft},
                             {"last_document", h.drive->lastDocument}};
    if (h.queue)
        j["unsent"] = {{"count", h.queue->unsent},
                       {"first", h.queue->unsent > 0 ? json(h.queue->firstUnsent) : json()},
                       {"oldest", orNull(h.queue->oldest, isoTime)}};
    for (const Failure& f : h.failures)
        j["failures"].push_back({{"operation", f.operation}, {"code", f.code}});
    return j;
}

nlohmann::json toJson(const Verdict& v) {
    nlohmann::json reasons = nlohmann::json::array();
    for (const Reason& r : v.reasons)
        reasons.push_back({{"code", r.code}, {"verdict", levelName(r.level)}, {"text", r.text}});
    return {{"verdict", levelName(v.level)}, {"reasons", reasons}};
}

}  // namespace health
