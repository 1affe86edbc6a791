#ifndef VERDA_SERVER_READING_H
#define VERDA_SERVER_READING_H

// What a worker reads of its register while it is idle, and what GET
// /devices/{id} shows of it. Two kinds of reading:
//   status  every refresh_ms: the register's clock, its shift and the
//           document open on it;
//   health  with a status reading every health_ms, after each opening of the
//           link and after each change: the fiscal drive's state and the
//           queue to the data operator as well.
// Together they make the register's fiscal health (common/FiscalHealth.h),
// judged whenever it is shown, with what the server knows beside it.

#include <nlohmann/json.hpp>
#include <optional>

#include "RegisterHandle.h"
#include "common/FiscalHealth.h"

namespace server {

using json = nlohmann::json;

struct RegisterReading {
    health::Reading parts;   // each part as last read: the drive and queue may be older
    health::Health health;   // the parts decoded
    long long at = 0;        // server time (ms) of the last status reading; 0: none yet
    long long healthAt = 0;  // of the last health reading
    json document;           // the document open on the register
    // The shift's opening time, held for the shift (health::sameOpening).
    std::optional<health::Seconds> openedAt;
};

// Reads the status, and with full the drive and the queue, into reading.
// LinkLost when the register stops answering (the link is then closed);
// Refused when it refuses a status read. A refused drive or queue read is
// kept in the reading as a failure.
void readRegister(RegisterHandle& device, RegisterReading& reading, bool full);

// The members of GET /devices/{id} that the reading gives: shift, document,
// fiscal_drive, unsent and health, and the verdict, judged at host time now.
json readingJson(const RegisterReading& reading, health::Seconds now, const health::Given& given);

}  // namespace server

#endif
