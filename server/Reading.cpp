#include "Reading.h"

#include "Procedures.h"
#include "common/Codes.h"
#include "RequestJournal.h"

namespace server {

namespace {

// The open document's name; a register that gives no field has none open.
const char* openName(char open) {
    const char* name = codes::nameOf(codes::kOpenDocument, open);
    return name != nullptr ? name : codes::nameOf(codes::kOpenDocument, VERDA_DOCUMENT_NONE);
}

// A part of the reading, checked as every call of the register is: a lost
// link comes out as LinkLost; a refusal is thrown when refusing matters.
template <class Fields>
void take(RegisterHandle& d, const char* operation, health::Part<Fields>& into,
          health::Part<Fields> read, bool refusalThrown) {
    try {
        d.check(operation, read.result);
    } catch (const Refused&) {
        if (refusalThrown) throw;
    }
    into = std::move(read);
}

json readDocument(RegisterHandle& d) {
    char open = 0;
    int number = 0, items = 0;
    double amount = 0, paid = 0;
    VERDA_CALL(d, FiscalTransactionsStatus, &open, &number, &items, &amount, &paid);
    return {
        {"open", openName(open)},
        {"number",
         open == VERDA_DOCUMENT_RECEIPT || open == VERDA_DOCUMENT_SERVICE ? json(number) : json()},
        {"lines", items},
        {"total", money(amount)},
        {"paid", money(paid)}};
}

}  // namespace

void readRegister(RegisterHandle& d, RegisterReading& r, bool full) {
    take(d, "GetDateTime", r.parts.clock, health::readClock(d.handle()), false);
    r.parts.readAt = std::time(nullptr);
    take(d, "GetStatusShift", r.parts.shift, health::readShift(d.handle()), true);
    r.document = readDocument(d);
    if (full) {
        take(d, "GetStateFN", r.parts.drive, health::readDrive(d.handle()), false);
        take(d, "GetOFDandFNStatus", r.parts.queue, health::readQueue(d.handle()), false);
    }
    r.health = health::decode(r.parts);
    r.openedAt = r.health.shift ? health::sameOpening(r.openedAt, *r.health.shift) : std::nullopt;
    if (r.health.shift) r.health.shift->openedAt = r.openedAt;
    r.at = RequestJournal::now();
    if (full) r.healthAt = r.at;
}

json readingJson(const RegisterReading& r, health::Seconds now, const health::Given& given) {
    const health::DriveFields& drive = r.parts.drive.fields;
    const health::QueueFields& queue = r.parts.queue.fields;
    const health::ShiftFields& shift = r.parts.shift.fields;
    json out = {
        {"shift",
         {{"open", shift.open},
          {"number", drive.shiftNumber},
          {"over_24h", shift.over24h},
          {"minutes", shift.open ? json(shift.minutes) : json()},
          {"receipts", drive.receipts}}},
        {"document", r.document},
        {"fiscal_drive",
         {{"number", drive.number},
          {"version", drive.version},
          {"phase", drive.phase},
          {"deadline", drive.deadline},
          {"warnings", drive.warnings},
          {"registrations_left", drive.registrationsLeft},
          {"last_document", drive.lastDocument}}},
        {"unsent",
         {{"count", queue.unsent},
          {"first", queue.unsent > 0 ? json(queue.firstUnsent) : json()},
          {"since", queue.unsent > 0 ? json(queue.oldest) : json()}}},
        {"health", health::toJson(r.health)},
        {"verdict", health::toJson(health::judge(r.health, now, given))},
    };
    // The register's own time of the opening, as its clock shows it (no zone).
    if (r.openedAt) out["shift"]["opened_at"] = health::isoTime(*r.openedAt);
    return out;
}

}  // namespace server
